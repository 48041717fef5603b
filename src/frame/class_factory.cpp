#include "frame/class_factory.h"

#include <new>

#include "cadserv/guids.h"
#include "frame/module_state.h"
#include "frame/page_list.h"
#include "streams/file_stream.h"

namespace cadserv::frame {

HRESULT ClassFactory::QueryInterface(REFIID riid, void** object) {
  *object = nullptr;
  if (riid != IID_IUnknown && riid != IID_IClassFactory) return E_NOINTERFACE;
  AddRef();
  *object = static_cast<IClassFactory*>(this);
  return S_OK;
}

ULONG ClassFactory::AddRef() {
  return ++refCount_;
}

ULONG ClassFactory::Release() {
  if (--refCount_ != 0) return refCount_;
  delete this;
  return 0;
}

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID riid, void** object) {
  *object = nullptr;
  if (outer != nullptr) return CLASS_E_NOAGGREGATION;

  if (riid == IID_IServFileStream) {
    // An unopened file stream; its owner opens it through IServFileStream.
    // A stream counts itself in the object count with every AddRef and
    // Release, so nothing is added here.
    IServFileStream* stream = streams::NewFileStream();
    if (stream == nullptr) return E_OUTOFMEMORY;
    return stream->QueryInterface(&riid, object);
  }
  if (riid == IID_ISpecifyPropertyPages) {
    auto* list = new (std::nothrow) TextMappingPageList();
    if (list == nullptr) return E_OUTOFMEMORY;
    HRESULT result = list->QueryInterface(riid, object);
    if (SUCCEEDED(result)) {
      AddObject();
    } else {
      delete list;
    }
    return result;
  }
  if (riid == IID_IPropertyPage) {
    // The Text Mapping page is not part of this build yet; until it is, no
    // class of the library offers this interface.
    return E_NOINTERFACE;
  }
  return E_NOINTERFACE;
}

HRESULT ClassFactory::LockServer(BOOL lock) {
  if (lock) {
    AddServerLock();
  } else {
    RemoveServerLock();
  }
  return S_OK;
}

}  // namespace cadserv::frame
