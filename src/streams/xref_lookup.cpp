// SERV_LocateXRefW and SERV_LocateXRefA: where is the drawing that a
// drawing refers to? Where the stored path names it, or else as a .dwg of
// the same name beside the referring drawing. Only looks; opens nothing.
#include <string.h>

#include "cadserv/text.h"
#include "cadserv/xref.h"
#include "platform/platform.h"
#include "streams/split_path.h"

namespace {

using cadserv::streams::kMaxPath;

}  // namespace

SERVRESULT SERV_LocateXRefW(uint32_t /*reserved*/, const WCHAR* hostPath, WCHAR* xrefPath) {
  using namespace cadserv;
  if (xrefPath == nullptr) return SERV_E_NOTFOUND;
  if (platform::FindFile(xrefPath, nullptr)) return SERV_OK;
  if (hostPath == nullptr) return SERV_E_NOTFOUND;

  // The host's drive and folder, the reference's file name, and "dwg"
  // always in place of the reference's own extension. A path that would not
  // fit in MAX_PATH units is not looked for, and xrefPath is only written
  // once the file is found, so on failure it holds what it held.
  streams::PathParts reference, host;
  if (!streams::SplitPath(xrefPath, &reference) || !streams::SplitPath(hostPath, &host)) {
    return SERV_E_NOTFOUND;
  }
  WCHAR candidate[kMaxPath];
  if (!streams::MakePath(candidate, kMaxPath, host.drive, host.dir, reference.fileName, u"dwg") ||
      !platform::FindFile(candidate, nullptr)) {
    return SERV_E_NOTFOUND;
  }
  size_t i = 0;
  do {
    xrefPath[i] = candidate[i];
  } while (candidate[i++] != 0);
  return SERV_OK;
}

SERVRESULT SERV_LocateXRefA(uint32_t reserved, const char* hostPath, char* xrefPath) {
  if (xrefPath == nullptr) return SERV_E_NOTFOUND;
  // Both paths are limited to MAX_PATH - 1 characters; longer ones would not
  // fit the UTF-16 buffers.
  if (strlen(xrefPath) >= kMaxPath || (hostPath != nullptr && strlen(hostPath) >= kMaxPath)) {
    return SERV_E_NOTFOUND;
  }
  // Code page 0: the ANSI code page. Each string widens into at most as many
  // units as it has bytes, terminator included.
  WCHAR wideHost[kMaxPath] = {0};
  WCHAR wideReference[kMaxPath] = {0};
  if (hostPath != nullptr) SERV_StrToWideStr(hostPath, wideHost, 0);
  SERV_StrToWideStr(xrefPath, wideReference, 0);
  SERVRESULT result =
      SERV_LocateXRefW(reserved, hostPath != nullptr ? wideHost : nullptr, wideReference);

  // Narrowed back whatever the result: a unit may take two bytes, so the
  // path is narrowed aside first and written only if it fits xrefPath's
  // MAX_PATH bytes (a found path that does not is not reported found).
  char narrow[2 * kMaxPath] = {0};
  SERV_WideStrToStr(wideReference, narrow, 0);
  size_t length = strnlen(narrow, sizeof narrow);
  if (length >= kMaxPath) return SERV_E_NOTFOUND;
  memcpy(xrefPath, narrow, length + 1);
  return result;
}
