// The class factory behind DllGetClassObject: one factory class serves every
// class id and makes the object that matches the interface asked of it.
#ifndef CADSERV_FRAME_CLASS_FACTORY_H
#define CADSERV_FRAME_CLASS_FACTORY_H

#include "cadserv/com.h"

namespace cadserv::frame {

class ClassFactory final : public IClassFactory {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** object) override;
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

 private:
  ULONG refCount_ = 0;  // the first QueryInterface raises it to 1
};

}  // namespace cadserv::frame

#endif  // CADSERV_FRAME_CLASS_FACTORY_H
