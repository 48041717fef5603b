// The COM server entry points, the class factory and the page list.
#include <gtest/gtest.h>

#include "cadserv/cadserv.h"
#include "frame/module_state.h"

namespace {

using cadserv::frame::ObjectCount;
using cadserv::frame::ServerLockCount;

// Any class id, published by the library or not, yields a working factory.
constexpr CLSID kForeignClass = {0x12345678, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 8}};

IClassFactory* GetFactory(REFCLSID clsid = kForeignClass) {
  void* object = reinterpret_cast<void*>(0xDEADBEEF);
  EXPECT_EQ(DllGetClassObject(clsid, IID_IClassFactory, &object), S_OK);
  return static_cast<IClassFactory*>(object);
}

TEST(DllGetClassObject, AnyClassIdYieldsAFactoryWithOneReference) {
  for (const CLSID& clsid : {kForeignClass, CLSID_TextMappingPage, CLSID_TextMappingSettings}) {
    IClassFactory* factory = GetFactory(clsid);
    ASSERT_NE(factory, nullptr);
    EXPECT_EQ(factory->AddRef(), 2u);
    EXPECT_EQ(factory->Release(), 1u);
    EXPECT_EQ(factory->Release(), 0u);
  }
}

TEST(DllGetClassObject, AnswersIUnknownToo) {
  void* object = nullptr;
  ASSERT_EQ(DllGetClassObject(kForeignClass, IID_IUnknown, &object), S_OK);
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(static_cast<IUnknown*>(object)->Release(), 0u);
}

TEST(DllGetClassObject, OtherInterfacesGetNoInterfaceAndANullTarget) {
  for (const IID& iid : {IID_IPropertyPage, IID_ISpecifyPropertyPages, IID_IServStream}) {
    void* object = reinterpret_cast<void*>(0xDEADBEEF);
    EXPECT_EQ(DllGetClassObject(kForeignClass, iid, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
  }
}

TEST(ClassFactory, QueryInterfaceAnswersOnlyItsOwnInterfaces) {
  IClassFactory* factory = GetFactory();
  void* object = reinterpret_cast<void*>(0xDEADBEEF);
  EXPECT_EQ(factory->QueryInterface(IID_ISpecifyPropertyPages, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  ASSERT_EQ(factory->QueryInterface(IID_IUnknown, &object), S_OK);
  EXPECT_EQ(object, static_cast<void*>(factory));
  EXPECT_EQ(factory->Release(), 1u);
  EXPECT_EQ(factory->Release(), 0u);
}

TEST(ClassFactory, RefusesAggregation) {
  IClassFactory* factory = GetFactory();
  void* object = reinterpret_cast<void*>(0xDEADBEEF);
  EXPECT_EQ(factory->CreateInstance(factory, IID_ISpecifyPropertyPages, &object),
            CLASS_E_NOAGGREGATION);
  EXPECT_EQ(object, nullptr);
  factory->Release();
}

TEST(ClassFactory, UnofferedInterfacesGetNoInterface) {
  IClassFactory* factory = GetFactory();
  int32_t before = ObjectCount();
  // IID_IPropertyPage names a class this build does not have yet;
  // IID_IServMemoryStream and IID_IClassFactory no class at all.
  for (const IID& iid :
       {IID_IPropertyPage, IID_IServMemoryStream, IID_IClassFactory, IID_IUnknown}) {
    void* object = reinterpret_cast<void*>(0xDEADBEEF);
    EXPECT_EQ(factory->CreateInstance(nullptr, iid, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
  }
  EXPECT_EQ(ObjectCount(), before);
  factory->Release();
}

TEST(ClassFactory, PageListIsCountedUntilItsLastRelease) {
  IClassFactory* factory = GetFactory();
  int32_t before = ObjectCount();
  void* object = nullptr;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_ISpecifyPropertyPages, &object), S_OK);
  auto* list = static_cast<ISpecifyPropertyPages*>(object);
  EXPECT_EQ(ObjectCount(), before + 1);
  EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  EXPECT_EQ(list->AddRef(), 2u);
  EXPECT_EQ(list->Release(), 1u);
  EXPECT_EQ(ObjectCount(), before + 1);
  EXPECT_EQ(list->Release(), 0u);
  EXPECT_EQ(ObjectCount(), before);
  factory->Release();
}

// The file stream counts itself with each AddRef and Release: the factory
// adds nothing, and the count is back where it was after the last Release.
TEST(ClassFactory, FileStreamIsAnUnopenedStreamCountedByItsReferences) {
  IClassFactory* factory = GetFactory();
  int32_t before = ObjectCount();
  void* object = reinterpret_cast<void*>(0xDEADBEEF);
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_IServFileStream, &object), S_OK);
  auto* stream = static_cast<IServFileStream*>(object);
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(ObjectCount(), before + 1);
  EXPECT_EQ(DllCanUnloadNow(), S_FALSE);

  // Not open: a name of its own is empty, and there is nothing to read.
  EXPECT_EQ(stream->GetName()[0], u'\0');
  char byte;
  uint32_t count = 0xDEADBEEF;
  EXPECT_EQ(stream->Read(&byte, 1, &count), SERV_E_READ);
  EXPECT_EQ(count, 0u);
  ServStreamInfo info{};
  EXPECT_EQ(stream->GetInfo(&info), SERV_E_NOINFO);
  EXPECT_EQ(stream->Open(nullptr, SERV_MODE_READ, nullptr), SERV_E_INVALIDARG);

  EXPECT_EQ(stream->AddRef(), 2u);
  EXPECT_EQ(ObjectCount(), before + 2);
  EXPECT_EQ(stream->Release(), 1u);
  EXPECT_EQ(stream->Release(), 0u);
  EXPECT_EQ(ObjectCount(), before);
  factory->Release();
}

TEST(TextMappingPageList, GetPagesNamesThePageInTaskMemory) {
  IClassFactory* factory = GetFactory();
  void* object = nullptr;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_ISpecifyPropertyPages, &object), S_OK);
  auto* list = static_cast<ISpecifyPropertyPages*>(object);

  CAUUID pages{0xDEADBEEF, nullptr};
  ASSERT_EQ(list->GetPages(&pages), S_OK);
  ASSERT_EQ(pages.cElems, 1u);
  ASSERT_NE(pages.pElems, nullptr);
  EXPECT_TRUE(IsEqualGUID(pages.pElems[0], CLSID_TextMappingPage));
  CoTaskMemFree(pages.pElems);

  EXPECT_EQ(list->GetPages(nullptr), E_POINTER);

  void* unknown = nullptr;
  ASSERT_EQ(list->QueryInterface(IID_IUnknown, &unknown), S_OK);
  EXPECT_EQ(unknown, object);
  void* other = reinterpret_cast<void*>(0xDEADBEEF);
  EXPECT_EQ(list->QueryInterface(IID_IClassFactory, &other), E_NOINTERFACE);
  EXPECT_EQ(other, nullptr);
  EXPECT_EQ(list->Release(), 1u);
  EXPECT_EQ(list->Release(), 0u);
  factory->Release();
}

TEST(DllCanUnloadNow, FollowsServerLocksAndTreatsNegativeCountsAsZero) {
  ASSERT_EQ(ObjectCount(), 0) << "another test left an object alive";
  ASSERT_EQ(DllCanUnloadNow(), S_OK);
  IClassFactory* factory = GetFactory();
  int32_t locks = ServerLockCount();
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  EXPECT_EQ(factory->LockServer(FALSE), S_OK);
  EXPECT_EQ(DllCanUnloadNow(), S_OK);

  // More unlocks than locks: the lock count goes below zero and the answer
  // depends on the object count alone.
  EXPECT_EQ(factory->LockServer(FALSE), S_OK);
  EXPECT_EQ(factory->LockServer(FALSE), S_OK);
  EXPECT_EQ(ServerLockCount(), locks - 2);
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
  void* object = nullptr;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_ISpecifyPropertyPages, &object), S_OK);
  EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  static_cast<IUnknown*>(object)->Release();
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
  factory->LockServer(TRUE);
  factory->LockServer(TRUE);
  EXPECT_EQ(ServerLockCount(), locks);
  factory->Release();
}

}  // namespace
