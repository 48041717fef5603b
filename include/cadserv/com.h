// The platform's COM types that cadserv's interfaces are built from.
//
// On Windows these come from the SDK. Elsewhere this header supplies the few
// types, interfaces and published identifiers that the library needs, with
// the same sizes and virtual-function slot order, so that filter sources
// compile unchanged. WCHAR is a 16-bit code unit on every platform.
#ifndef CADSERV_COM_H
#define CADSERV_COM_H

#include "cadserv/export.h"

#if defined(_WIN32)
#include <objbase.h>
#include <ocidl.h>
#include <olectl.h>
#else
#include <stddef.h>
#include <stdint.h>
#include <string.h>

typedef int32_t HRESULT;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef uint32_t DWORD;
typedef uint32_t UINT;
typedef int32_t BOOL;
typedef uint16_t WORD;
typedef uint8_t BYTE;
typedef uint32_t LCID;
typedef size_t SIZE_T;
typedef char16_t WCHAR;
typedef WCHAR* LPOLESTR;
typedef const WCHAR* LPCOLESTR;
typedef void* HWND;
typedef void* HMODULE;
typedef void* HINSTANCE;
typedef void* HLOCAL;
typedef intptr_t LPARAM;
typedef uintptr_t WPARAM;

#ifndef TRUE
#define TRUE 1
#define FALSE 0
#endif

#define STDMETHODCALLTYPE
#define STDAPICALLTYPE

#define S_OK ((HRESULT)0)
#define S_FALSE ((HRESULT)1)
#define E_NOTIMPL ((HRESULT)0x80004001)
#define E_NOINTERFACE ((HRESULT)0x80004002)
#define E_POINTER ((HRESULT)0x80004003)
#define E_FAIL ((HRESULT)0x80004005)
#define E_UNEXPECTED ((HRESULT)0x8000FFFF)
#define E_OUTOFMEMORY ((HRESULT)0x8007000E)
#define E_INVALIDARG ((HRESULT)0x80070057)
#define CLASS_E_NOAGGREGATION ((HRESULT)0x80040110)
#define SUCCEEDED(hr) (((HRESULT)(hr)) >= 0)
#define FAILED(hr) (((HRESULT)(hr)) < 0)

#define LMEM_FIXED 0u

typedef struct _GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
} GUID;
typedef GUID IID;
typedef GUID CLSID;

#ifdef __cplusplus
typedef const GUID& REFGUID;
typedef const IID& REFIID;
typedef const CLSID& REFCLSID;
inline bool IsEqualGUID(REFGUID a, REFGUID b) { return memcmp(&a, &b, sizeof(GUID)) == 0; }
inline bool operator==(REFGUID a, REFGUID b) { return IsEqualGUID(a, b); }
inline bool operator!=(REFGUID a, REFGUID b) { return !IsEqualGUID(a, b); }
#endif

typedef struct tagRECT {
  LONG left, top, right, bottom;
} RECT, *LPRECT;
typedef const RECT* LPCRECT;
typedef struct tagSIZE {
  LONG cx, cy;
} SIZE;
typedef struct tagPOINT {
  LONG x, y;
} POINT;
typedef struct tagMSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
} MSG, *LPMSG;
typedef struct tagCAUUID {
  ULONG cElems;
  GUID* pElems;
} CAUUID;
typedef struct tagPROPPAGEINFO {
  ULONG cb;
  LPOLESTR pszTitle;
  SIZE size;
  LPOLESTR pszDocString;
  LPOLESTR pszHelpFile;
  DWORD dwHelpContext;
} PROPPAGEINFO;

// Published identifiers of the platform's interfaces.
#ifdef __cplusplus
constexpr IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr IID IID_IClassFactory = {0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr IID IID_ISpecifyPropertyPages = {
    0xB196B28B, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
constexpr IID IID_IPropertyPageSite = {
    0xB196B28C, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
constexpr IID IID_IPropertyPage = {
    0xB196B28D, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};

// Interfaces: abstract classes whose virtual functions stand in the
// published slot order. None has a virtual destructor, as in the SDK.
struct IUnknown {
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) = 0;
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE Release() = 0;
};

struct IClassFactory : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid,
                                                   void** object) = 0;
  virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) = 0;
};

struct ISpecifyPropertyPages : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetPages(CAUUID* pages) = 0;
};

struct IPropertyPageSite : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE OnStatusChange(DWORD flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetLocaleID(LCID* locale) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetPageContainer(IUnknown** container) = 0;
  virtual HRESULT STDMETHODCALLTYPE TranslateAccelerator(MSG* msg) = 0;
};

struct IPropertyPage : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE SetPageSite(IPropertyPageSite* site) = 0;
  virtual HRESULT STDMETHODCALLTYPE Activate(HWND parent, LPCRECT rect, BOOL modal) = 0;
  virtual HRESULT STDMETHODCALLTYPE Deactivate() = 0;
  virtual HRESULT STDMETHODCALLTYPE GetPageInfo(PROPPAGEINFO* info) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetObjects(ULONG count, IUnknown** objects) = 0;
  virtual HRESULT STDMETHODCALLTYPE Show(UINT cmdShow) = 0;
  virtual HRESULT STDMETHODCALLTYPE Move(LPCRECT rect) = 0;
  virtual HRESULT STDMETHODCALLTYPE IsPageDirty() = 0;
  virtual HRESULT STDMETHODCALLTYPE Apply() = 0;
  virtual HRESULT STDMETHODCALLTYPE Help(LPCOLESTR helpDir) = 0;
  virtual HRESULT STDMETHODCALLTYPE TranslateAccelerator(MSG* msg) = 0;
};
#endif  // __cplusplus

// The COM task allocator and the local heap. On Windows they are the
// system's; here cadserv provides them, malloc-backed, so that a caller can
// free what the library hands out (the class id array of GetPages, the name
// block of SERV_CodePageConvertInfo) with the same calls as on Windows.
CADSERV_CAPI void* CoTaskMemAlloc(SIZE_T bytes);
CADSERV_CAPI void CoTaskMemFree(void* block);
CADSERV_CAPI HLOCAL LocalAlloc(UINT flags, SIZE_T bytes);
CADSERV_CAPI HLOCAL LocalFree(HLOCAL block);

#endif  // !_WIN32

#endif  // CADSERV_COM_H
