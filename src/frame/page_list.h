// The object that names the Text Mapping property page to a host.
#ifndef CADSERV_FRAME_PAGE_LIST_H
#define CADSERV_FRAME_PAGE_LIST_H

#include "cadserv/com.h"

namespace cadserv::frame {

class TextMappingPageList final : public ISpecifyPropertyPages {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;
  // One class id, CLSID_TextMappingPage, in a block of the COM task allocator.
  HRESULT STDMETHODCALLTYPE GetPages(CAUUID* pages) override;

 private:
  ULONG refCount_ = 0;  // the first QueryInterface raises it to 1
};

}  // namespace cadserv::frame

#endif  // CADSERV_FRAME_PAGE_LIST_H
