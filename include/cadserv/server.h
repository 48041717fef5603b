// The in-process COM server entry points.
#ifndef CADSERV_SERVER_H
#define CADSERV_SERVER_H

#include "cadserv/com.h"

// Makes a new class factory for any class id and answers it for IID_IUnknown
// or IID_IClassFactory; any other interface: E_NOINTERFACE, *object null.
// The factory's CreateInstance chooses the object by the interface asked:
// IID_IServFileStream, IID_ISpecifyPropertyPages or IID_IPropertyPage.
CADSERV_CAPI HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID clsid, REFIID riid, void** object);

// S_FALSE while objects handed out or server locks are alive, else S_OK.
CADSERV_CAPI HRESULT STDAPICALLTYPE DllCanUnloadNow(void);

#endif  // CADSERV_SERVER_H
