// The file stream over plain files: the mapped and plain states, each open
// mode with its failure results, names, interfaces and reference counting.
#include <gtest/gtest.h>

#include <string>

#include "cadserv/cadserv.h"
#include "frame/module_state.h"
#include "support/compound_file_builder.h"
#include "support/file_stream_helpers.h"

namespace {

using namespace cadserv_test;

std::string Pattern(size_t size) {
  std::vector<uint8_t> bytes = PatternBytes(size, 7);
  return std::string(bytes.begin(), bytes.end());
}

class FileStream : public ::testing::Test {
 protected:
  void SetUp() override {
    content_ = Pattern(10000);
    path_ = dir_.Write("drawing.dxf", content_.data(), content_.size());
  }
  TempDir dir_;
  std::string content_;
  std::string path_;
};

TEST_F(FileStream, MappedFileReadsItsBytesAndHandsOutTheView) {
  StreamRef stream;
  ASSERT_EQ(OpenStream(path_, SERV_MODE_READ, &stream), SERV_OK);
  ASSERT_NE(stream->GetBuffer(), nullptr);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(stream->GetBuffer()), content_.size()),
            content_);

  std::string got(12000, '\0');
  uint32_t count = 0;
  ASSERT_EQ(stream->Read(&got[0], 4000, &count), SERV_OK);
  EXPECT_EQ(count, 4000u);
  // More than remains: the rest; then nothing, and still no failure.
  ASSERT_EQ(stream->Read(&got[4000], 8000, &count), SERV_OK);
  EXPECT_EQ(count, 6000u);
  EXPECT_EQ(got.substr(0, 10000), content_);
  count = 0xDEADBEEF;
  EXPECT_EQ(stream->Read(&got[0], 1, &count), SERV_OK);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(stream->Read(&got[0], 1, nullptr), SERV_OK);  // countRead may be null
}

TEST_F(FileStream, MappedFileSeeksWithinItsContent) {
  StreamRef stream;
  ASSERT_EQ(OpenStream(path_, SERV_MODE_READ, &stream), SERV_OK);
  struct Case {
    int32_t offset;
    uint32_t origin;
    SERVRESULT result;
    uint32_t position;  // reported, and where the stream then is
  };
  const Case cases[] = {
      {0, SERV_SEEK_END, SERV_OK, 10000},           {1, SERV_SEEK_END, SERV_E_SEEK, 10000},
      {-10000, SERV_SEEK_END, SERV_OK, 0},          {-1, SERV_SEEK_SET, SERV_E_SEEK, 0},
      {300, SERV_SEEK_SET, SERV_OK, 300},           {200, SERV_SEEK_CUR, SERV_OK, 500},
      {-501, SERV_SEEK_CUR, SERV_E_SEEK, 500},      {INT32_MAX, SERV_SEEK_CUR, SERV_E_SEEK, 500},
      {INT32_MIN, SERV_SEEK_END, SERV_E_SEEK, 500}, {10000, SERV_SEEK_SET, SERV_OK, 10000},
  };
  for (const Case& c : cases) {
    uint32_t position = 0xDEADBEEF;
    EXPECT_EQ(stream->Seek(c.offset, c.origin, &position), c.result)
        << c.offset << " from " << c.origin;
    EXPECT_EQ(position, c.position) << c.offset << " from " << c.origin;
  }
  uint32_t position = 0xDEADBEEF;
  EXPECT_EQ(stream->Seek(0, 3, &position), SERV_E_INVALIDARG);
  EXPECT_EQ(position, 0xDEADBEEF);

  ASSERT_EQ(stream->Seek(-16, SERV_SEEK_END, nullptr), SERV_OK);
  char tail[32];
  uint32_t count = 0;
  ASSERT_EQ(stream->Read(tail, sizeof tail, &count), SERV_OK);
  EXPECT_EQ(std::string(tail, count), content_.substr(10000 - 16));
}

TEST_F(FileStream, MappedFileRefusesEveryByteWritten) {
  StreamRef stream;
  ASSERT_EQ(OpenStream(path_, SERV_MODE_READ, &stream), SERV_OK);
  uint32_t count = 0xDEADBEEF;
  EXPECT_EQ(stream->Write("x", 1, &count), SERV_E_WRITE);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(stream->Write("", 0, &count), SERV_OK);
  EXPECT_EQ(count, 0u);
  stream.reset();
  EXPECT_EQ(FileBytes(path_), content_);
}

TEST_F(FileStream, GetInfoGivesSizeAndDosTimeAndLeavesReservedAlone) {
  SetModifiedTime(path_, UtcSeconds(2021, 6, 15, 13, 45, 31));
  for (uint32_t mode : {SERV_MODE_READ, SERV_MODE_READWRITE}) {
    StreamRef stream;
    ASSERT_EQ(OpenStream(path_, mode, &stream), SERV_OK);
    ServStreamInfo info{0xDEADBEEF, 0xDEADBEEF, 0xDEADBEEF, 0xDEADBEEF};
    ASSERT_EQ(stream->GetInfo(&info), SERV_OK);
    EXPECT_EQ(info.SizeLow, 10000u);
    EXPECT_EQ(info.SizeHigh, 0u);
    // 2021-06-15: (41 << 9 | 6 << 5 | 15); 13:45:31 -> 13 << 11 | 45 << 5 | 15.
    EXPECT_EQ(info.DosDateTime, 0x52CF6DAFu);
    EXPECT_EQ(info.Reserved, 0xDEADBEEFu);
    EXPECT_EQ(stream->GetInfo(nullptr), SERV_E_INVALIDARG);
  }
}

TEST_F(FileStream, EmptyFileReadsThroughItsHandle) {
  std::string empty = dir_.Write("empty.txt", "", 0);
  StreamRef stream;
  ASSERT_EQ(OpenStream(empty, SERV_MODE_READ, &stream), SERV_OK);
  EXPECT_EQ(stream->GetBuffer(), nullptr);
  char byte;
  uint32_t count = 0xDEADBEEF;
  EXPECT_EQ(stream->Read(&byte, 1, &count), SERV_OK);
  EXPECT_EQ(count, 0u);
  // The handle's rules now: positions past the end are allowed, writing is not.
  uint32_t position = 0;
  EXPECT_EQ(stream->Seek(5, SERV_SEEK_SET, &position), SERV_OK);
  EXPECT_EQ(position, 5u);
  EXPECT_EQ(stream->Write("x", 1, &count), SERV_E_WRITE);
  EXPECT_EQ(count, 0u);
  ServStreamInfo info{};
  ASSERT_EQ(stream->GetInfo(&info), SERV_OK);
  EXPECT_EQ(info.SizeLow, 0u);
}

TEST_F(FileStream, NamesOfUpTo261UnitsOpenAndKeepTheirForm) {
  // dir/ddd.../nnn...: exactly 261 units, each component within NAME_MAX.
  std::string base = dir_.path() + "/" + std::string(40, 'd') + "/";
  ASSERT_EQ(system(("mkdir '" + base + "'").c_str()), 0);
  ASSERT_TRUE(base.size() >= 261 - 255 && base.size() < 261) << base;
  std::string name261 = base + std::string(261 - base.size(), 'n');
  ASSERT_EQ(name261.size(), 261u);
  WriteFileBytes(name261, "abc");
  StreamRef stream;
  ASSERT_EQ(OpenStream(name261, SERV_MODE_READ, &stream), SERV_OK);
  EXPECT_EQ(std::u16string(stream->GetName()), Widen(name261));

  std::string name262 = name261 + "n";
  EXPECT_EQ(OpenStream(name262, SERV_MODE_WRITE, &stream), SERV_E_INVALIDARG);
  EXPECT_EQ(stream, nullptr);
  EXPECT_FALSE(FileExists(name262));

  IServStream* out = Sentinel();
  EXPECT_EQ(SERV_OpenFile(nullptr, SERV_MODE_READ, &out, nullptr), SERV_E_INVALIDARG);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(SERV_OpenFile(Widen(path_).c_str(), SERV_MODE_READ, nullptr, nullptr),
            SERV_E_INVALIDARG);

  // The name as passed, not a full or cleaned-up path.
  std::string roundabout = dir_.path() + "/./sub/../drawing.dxf";
  ASSERT_EQ(system(("mkdir -p '" + dir_.path() + "/sub'").c_str()), 0);
  ASSERT_EQ(OpenStream(roundabout, SERV_MODE_READ, &stream), SERV_OK);
  EXPECT_EQ(std::u16string(stream->GetName()), Widen(roundabout));
}

TEST_F(FileStream, AnswersItsInterfacesWithOneMoreReference) {
  StreamRef stream;
  ASSERT_EQ(OpenStream(path_, SERV_MODE_READ, &stream), SERV_OK);
  for (const IID* iid : {&IID_IUnknown, &IID_IServStream, &IID_IServFileStream}) {
    void* object = nullptr;
    ASSERT_EQ(stream->QueryInterface(iid, &object), S_OK);
    EXPECT_EQ(object, static_cast<void*>(stream.get()));
    EXPECT_EQ(stream->Release(), 1u);
  }
  for (const IID* iid : {&IID_IServMemoryStream, &IID_IClassFactory, &IID_IExportSupport}) {
    void* object = Sentinel();
    EXPECT_EQ(stream->QueryInterface(iid, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
  }
  void* object = Sentinel();
  EXPECT_EQ(stream->QueryInterface(nullptr, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
}

TEST_F(FileStream, EveryReferenceIsCountedUntilTheLastRelease) {
  const int32_t before = cadserv::frame::ObjectCount();
  IServStream* stream = nullptr;
  ASSERT_EQ(SERV_OpenFile(Widen(path_).c_str(), SERV_MODE_READ, &stream, nullptr), SERV_OK);
  EXPECT_EQ(cadserv::frame::ObjectCount(), before + 1);
  EXPECT_EQ(stream->AddRef(), 2u);
  EXPECT_EQ(cadserv::frame::ObjectCount(), before + 2);
  EXPECT_EQ(stream->Release(), 1u);
  EXPECT_EQ(stream->Release(), 0u);
  EXPECT_EQ(cadserv::frame::ObjectCount(), before);

  // A failed open releases its half-made stream.
  stream = Sentinel();
  EXPECT_EQ(
      SERV_OpenFile(Widen(dir_.path() + "/missing").c_str(), SERV_MODE_READ, &stream, nullptr),
      SERV_E_OPENREAD);
  EXPECT_EQ(stream, nullptr);
  EXPECT_EQ(cadserv::frame::ObjectCount(), before);
}

TEST_F(FileStream, OpenedThroughTheClassFactoryWorksAsFromSERVOpenFile) {
  IClassFactory* factory = nullptr;
  ASSERT_EQ(DllGetClassObject(CLSID_TextMappingPage, IID_IClassFactory,
                              reinterpret_cast<void**>(&factory)),
            S_OK);
  IServFileStream* stream = nullptr;
  ASSERT_EQ(
      factory->CreateInstance(nullptr, IID_IServFileStream, reinterpret_cast<void**>(&stream)),
      S_OK);
  factory->Release();
  ASSERT_EQ(stream->Open(Widen(path_).c_str(), SERV_MODE_READ, nullptr), SERV_OK);
  EXPECT_EQ(ReadToEnd(stream), std::vector<uint8_t>(content_.begin(), content_.end()));
  // A second Open starts afresh on the new file.
  std::string other = dir_.Write("other.txt", "other", 5);
  ASSERT_EQ(stream->Open(Widen(other).c_str(), SERV_MODE_READ, nullptr), SERV_OK);
  EXPECT_EQ(std::u16string(stream->GetName()), Widen(other));
  EXPECT_EQ(ReadToEnd(stream), std::vector<uint8_t>({'o', 't', 'h', 'e', 'r'}));
  EXPECT_EQ(stream->Release(), 0u);
}

class FileStreamModes : public FileStream {};

TEST_F(FileStreamModes, AccessBitsOutsideOneToFourOpenNothing) {
  std::string missing = dir_.path() + "/new.dxf";
  for (uint32_t mode : {0u, 5u, 6u, 15u, 0x10u, SERV_MODE_ISSTORAGE}) {
    StreamRef stream;
    EXPECT_EQ(OpenStream(missing, mode, &stream), SERV_E_OPENWRITE) << mode;
    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(OpenStream(path_, mode, &stream), SERV_E_OPENWRITE) << mode;
  }
  EXPECT_FALSE(FileExists(missing));
  EXPECT_EQ(FileBytes(path_), content_);
}

TEST_F(FileStreamModes, MissingFilesAndFoldersFailByMode) {
  std::string missing = dir_.path() + "/missing.dxf";
  StreamRef stream;
  EXPECT_EQ(OpenStream(missing, SERV_MODE_READ, &stream), SERV_E_OPENREAD);
  EXPECT_EQ(OpenStream(missing, SERV_MODE_APPEND, &stream), SERV_E_OPENWRITE);
  EXPECT_FALSE(FileExists(missing));
  EXPECT_EQ(OpenStream(dir_.path(), SERV_MODE_READ, &stream), SERV_E_OPENREAD);
  EXPECT_EQ(OpenStream(dir_.path(), SERV_MODE_READWRITE, &stream), SERV_E_OPENWRITE);
  EXPECT_EQ(OpenStream(dir_.path() + "/no/such/folder/x", SERV_MODE_WRITE, &stream),
            SERV_E_OPENWRITE);
  // A plain file with the storage flag of its own is no storage.
  EXPECT_EQ(OpenStream(path_, SERV_MODE_READ | SERV_MODE_ISSTORAGE, &stream), SERV_E_OPENREAD);
}

TEST_F(FileStreamModes, WriteCreatesOrTruncatesAndCannotRead) {
  StreamRef stream;
  ASSERT_EQ(OpenStream(path_, SERV_MODE_WRITE, &stream), SERV_OK);
  EXPECT_EQ(FileBytes(path_), "");
  EXPECT_EQ(stream->GetBuffer(), nullptr);
  uint32_t count = 0;
  ASSERT_EQ(stream->Write("abc", 3, &count), SERV_OK);
  EXPECT_EQ(count, 3u);
  char byte;
  count = 0xDEADBEEF;
  EXPECT_EQ(stream->Read(&byte, 1, &count), SERV_E_READ);
  EXPECT_EQ(count, 0u);
  uint32_t position = 0;
  EXPECT_EQ(stream->Seek(0, SERV_SEEK_CUR, &position), SERV_OK);
  EXPECT_EQ(position, 3u);
  stream.reset();
  EXPECT_EQ(FileBytes(path_), "abc");

  std::string fresh = dir_.path() + "/fresh.dxf";
  ASSERT_EQ(OpenStream(fresh, SERV_MODE_WRITE, &stream), SERV_OK);
  ASSERT_EQ(stream->Write("0\nSECTION\n", 10, nullptr), SERV_OK);
  stream.reset();
  EXPECT_EQ(FileBytes(fresh), "0\nSECTION\n");
}

TEST_F(FileStreamModes, ReadWriteOpensOrCreatesAndSeeksPastTheEnd) {
  StreamRef stream;
  ASSERT_EQ(OpenStream(path_, SERV_MODE_READWRITE, &stream), SERV_OK);
  EXPECT_EQ(stream->GetBuffer(), nullptr);  // only SERV_MODE_READ maps
  char head[4];
  uint32_t count = 0;
  ASSERT_EQ(stream->Read(head, 4, &count), SERV_OK);
  EXPECT_EQ(std::string(head, count), content_.substr(0, 4));

  uint32_t position = 0;
  ASSERT_EQ(stream->Seek(100, SERV_SEEK_END, &position), SERV_OK);
  EXPECT_EQ(position, 10100u);
  ASSERT_EQ(stream->Write("end", 3, &count), SERV_OK);
  position = 0xDEADBEEF;
  EXPECT_EQ(stream->Seek(-10104, SERV_SEEK_CUR, &position), SERV_E_SEEK);
  EXPECT_EQ(position, 0xDEADBEEF);  // not written on failure
  EXPECT_EQ(stream->Seek(0, 7, &position), SERV_E_INVALIDARG);
  stream.reset();
  EXPECT_EQ(FileBytes(path_), content_ + std::string(100, '\0') + "end");

  std::string fresh = dir_.path() + "/fresh.dxf";
  ASSERT_EQ(OpenStream(fresh, SERV_MODE_READWRITE, &stream), SERV_OK);
  EXPECT_TRUE(FileExists(fresh));
  ASSERT_EQ(stream->Write("abcdef", 6, nullptr), SERV_OK);
  ASSERT_EQ(stream->Seek(2, SERV_SEEK_SET, nullptr), SERV_OK);
  ASSERT_EQ(stream->Read(head, 4, &count), SERV_OK);
  EXPECT_EQ(std::string(head, count), "cdef");
}

TEST_F(FileStreamModes, AppendStartsAtTheEndOfAnExistingFile) {
  WriteFileBytes(path_, "hello");
  StreamRef stream;
  ASSERT_EQ(OpenStream(path_, SERV_MODE_APPEND, &stream), SERV_OK);
  uint32_t position = 0;
  ASSERT_EQ(stream->Seek(0, SERV_SEEK_CUR, &position), SERV_OK);
  EXPECT_EQ(position, 5u);
  ASSERT_EQ(stream->Write(" world", 6, nullptr), SERV_OK);
  // The end is only where writing starts: a seek moves it as in any file.
  ASSERT_EQ(stream->Seek(0, SERV_SEEK_SET, nullptr), SERV_OK);
  ASSERT_EQ(stream->Write("J", 1, nullptr), SERV_OK);
  char byte;
  EXPECT_EQ(stream->Read(&byte, 1, nullptr), SERV_E_READ);
  stream.reset();
  EXPECT_EQ(FileBytes(path_), "Jello world");
}

}  // namespace
