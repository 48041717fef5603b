#include "frame/page_list.h"

#include "cadserv/guids.h"
#include "frame/module_state.h"
#include "platform/platform.h"

namespace cadserv::frame {

HRESULT TextMappingPageList::QueryInterface(REFIID riid, void** object) {
  *object = nullptr;
  if (riid != IID_IUnknown && riid != IID_ISpecifyPropertyPages) return E_NOINTERFACE;
  AddRef();
  *object = static_cast<ISpecifyPropertyPages*>(this);
  return S_OK;
}

ULONG TextMappingPageList::AddRef() { return ++refCount_; }

ULONG TextMappingPageList::Release() {
  if (--refCount_ != 0) return refCount_;
  RemoveObject();
  delete this;
  return 0;
}

HRESULT TextMappingPageList::GetPages(CAUUID* pages) {
  if (pages == nullptr) return E_POINTER;
  pages->cElems = 1;
  pages->pElems = static_cast<GUID*>(platform::TaskMemAlloc(sizeof(GUID)));
  if (pages->pElems == nullptr) return E_OUTOFMEMORY;
  *pages->pElems = CLSID_TextMappingPage;
  return S_OK;
}

}  // namespace cadserv::frame
