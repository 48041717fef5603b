// The in-process COM server entry points.
#include <new>

#include "cadserv/server.h"
#include "frame/class_factory.h"
#include "frame/module_state.h"

HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID, REFIID riid, void** object) {
  *object = nullptr;
  if (riid != IID_IUnknown && riid != IID_IClassFactory) return E_NOINTERFACE;
  // The class id is not examined: one kind of factory serves every class and
  // decides what to make by the interface asked of CreateInstance.
  auto* factory = new (std::nothrow) cadserv::frame::ClassFactory();
  if (factory == nullptr) return E_OUTOFMEMORY;
  return factory->QueryInterface(riid, object);
}

HRESULT STDAPICALLTYPE DllCanUnloadNow(void) {
  using namespace cadserv::frame;
  return (ObjectCount() > 0 || ServerLockCount() > 0) ? S_FALSE : S_OK;
}
