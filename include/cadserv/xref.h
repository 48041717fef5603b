// External reference lookup.
#ifndef CADSERV_XREF_H
#define CADSERV_XREF_H

#include <stdint.h>

#include "cadserv/com.h"
#include "cadserv/export.h"
#include "cadserv/stream.h"

// 0 when `xrefPath` names an existing file, or when a .dwg of its file name
// lies in the folder of `hostPath` (xrefPath then holds that path, up to 260
// units with terminator); else SERV_E_NOTFOUND with xrefPath as it was.
CADSERV_CAPI SERVRESULT SERV_LocateXRefW(uint32_t reserved, const WCHAR* hostPath, WCHAR* xrefPath);
// The same for paths in the ANSI code page (each at most 259 characters).
CADSERV_CAPI SERVRESULT SERV_LocateXRefA(uint32_t reserved, const char* hostPath, char* xrefPath);

#endif  // CADSERV_XREF_H
