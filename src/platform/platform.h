// The one interface between cadserv and the operating system.
//
// Everything the library needs from the OS goes through the functions here;
// src/platform/posix/ implements them on Linux and src/platform/win32/ on
// the real Win32 API. Nothing outside src/platform/ includes an OS header.
// Each function is shaped after what the library needs, not after the full
// Win32 signature it stands in for (named in its comment).
#ifndef CADSERV_PLATFORM_PLATFORM_H
#define CADSERV_PLATFORM_PLATFORM_H

#include <stddef.h>
#include <stdint.h>

#include <mutex>

#include "cadserv/com.h"

namespace cadserv::platform {

// ---------------------------------------------------------------------------
// Process and module

// The module handle of the library itself (on POSIX: the dlopen handle of
// the shared object, or of the program that linked the library statically).
using ModuleHandle = void*;

// A recursive lock, as a Win32 critical section is.
class CriticalSection {
 public:
  void Enter() { mutex_.lock(); }
  void Leave() { mutex_.unlock(); }

 private:
  std::recursive_mutex mutex_;
};

// Holds a CriticalSection for the life of a scope.
class CriticalSectionGuard {
 public:
  explicit CriticalSectionGuard(CriticalSection& section) : section_(section) { section_.Enter(); }
  ~CriticalSectionGuard() { section_.Leave(); }
  CriticalSectionGuard(const CriticalSectionGuard&) = delete;
  CriticalSectionGuard& operator=(const CriticalSectionGuard&) = delete;

 private:
  CriticalSection& section_;
};

// The backend calls cadserv::frame::ProcessAttach(module) when the library is
// loaded (DllMain's process attach; on POSIX the shared object's constructor)
// and cadserv::frame::ProcessDetach() when it is unloaded.

// ---------------------------------------------------------------------------
// Memory handed to callers

// CoTaskMemAlloc / CoTaskMemFree.
void* TaskMemAlloc(size_t bytes);
void TaskMemFree(void* block);
// LocalAlloc(LMEM_FIXED) / LocalFree.
void* LocalHeapAlloc(size_t bytes);
void LocalHeapFree(void* block);

// ---------------------------------------------------------------------------
// Code pages

// GetACP: the ANSI code page of the process. On POSIX it follows the process
// locale (LC_ALL, LC_CTYPE, LANG) as Wine maps it: cs_CZ -> 1250,
// ru_RU -> 1251, el_GR -> 1253, tr_TR -> 1254, ja_JP -> 932, C/POSIX/en -> 1252.
int32_t AnsiCodePage();

// Converts the single byte `byte` of code page `codePage` to one UTF-16 unit
// (MultiByteToWideChar, flags 0, one byte in, one unit out). False when the
// platform does not know the code page or the byte has no single-unit form.
bool ConvertByteToUnit(uint32_t codePage, uint8_t byte, WCHAR* unit);

// ---------------------------------------------------------------------------
// Code page conversion (GetCPInfo, MultiByteToWideChar, WideCharToMultiByte,
// CharNextA)
//
// Every function here that takes a code page resolves 0 (CP_ACP) and 3
// (CP_THREAD_ACP) to AnsiCodePage() and 1 (CP_OEMCP) to OemCodePage(). The
// library's own identifiers (SERV_CP_DEFAULT, SERV_CP_PURE_ASCII, ...) are not
// platform code pages: the platform does not know them.

// MB_PRECOMPOSED: the only flag the library passes to MultiByteToWide.
constexpr uint32_t kMbPrecomposed = 1;

// GetOEMCP: the OEM (MS-DOS) code page that goes with the ANSI code page.
int32_t OemCodePage();

// GetCPInfo, reduced to what the library asks: whether the platform knows
// the code page and the most bytes one character takes in it (1 for the
// single-byte code pages, 2 for 932, 936, 949 and 950, 4 for UTF-8 65001 and
// GB18030 54936). Returns false, leaving *maxCharSize alone, for a code page
// the platform does not know. `maxCharSize` may be null.
bool CodePageInfo(uint32_t codePage, uint32_t* maxCharSize);

// MultiByteToWideChar(codePage, flags, bytes, byteCount, units, unitCount).
// Converts exactly `byteCount` bytes (a zero byte is converted like any
// other). With `units` null or `unitCount` 0 it returns the number of units
// the conversion needs; else it writes at most `unitCount` units and returns
// the number written, or 0 (with the units written so far left in place)
// when they do not fit. Returns 0 for an unknown code page, a negative count,
// and, as Windows does, for flags other than 0 in the code pages that accept
// none (UTF-8 65001 and GB18030 54936 among them).
// Bytes that start no character of the code page do not fail the call (no
// MB_ERR_INVALID_CHARS): each becomes one replacement unit, U+FFFD in UTF-8
// and GB18030, the code page's default character U+30FB in 932, 936, 949 and
// 950 (a lead byte and the non-zero byte after it give one), and the unit of
// the same value in the single-byte code pages. A lead byte before a zero
// byte or at the end of the input stands alone: the zero byte is never
// taken as a trail byte.
int32_t MultiByteToWide(uint32_t codePage, uint32_t flags, const char* bytes, int32_t byteCount,
                        WCHAR* units, int32_t unitCount);

// WideCharToMultiByte(codePage, 0, units, unitCount, bytes, byteCount, NULL,
// NULL). Converts exactly `unitCount` units; the output rules are those of
// MultiByteToWide. A character the code page cannot hold, and an unpaired
// surrogate, become the default character '?' (in UTF-8: U+FFFD), one per
// unit; there is no best-fit mapping.
int32_t WideToMultiByte(uint32_t codePage, const WCHAR* units, int32_t unitCount, char* bytes,
                        int32_t byteCount);

// CharNextA: the next character of a zero-terminated string in the ANSI
// code page. A lead byte of 932, 936, 949 or 950 steps over its trail byte
// too, unless that is the terminator; at the terminator the pointer stays.
const char* NextCharAnsi(const char* text);

// True when `byte` is a lead byte of a double-byte character in `codePage`.
bool IsLeadByte(uint32_t codePage, uint8_t byte);

// ---------------------------------------------------------------------------
// Module resources (FindResourceExW, LoadResource, SizeofResource, LoadStringA)
//
// A resource type or name is either a number in the integer-resource form
// (ResourceId(n), as MAKEINTRESOURCEW makes it) or a zero-terminated UTF-16
// name, matched without regard to case. A null module means the program's
// main module. On POSIX a module's resources are the directory that its
// resource script compiled into (src/platform/resource_directory.h).

// MAKEINTRESOURCEW / IS_INTRESOURCE.
inline const WCHAR* ResourceId(uint16_t id) {
  return reinterpret_cast<const WCHAR*>(static_cast<uintptr_t>(id));
}
inline bool IsResourceId(const WCHAR* typeOrName) {
  return (reinterpret_cast<uintptr_t>(typeOrName) >> 16) == 0;
}

// A found resource (HRSRC); null when none.
using ResourceInfo = const void*;

// FindResourceExW. Language: the exact language first; then the same
// primary language with SUBLANG_NEUTRAL; then LANG_NEUTRAL; and when the
// language asked for is LANG_NEUTRAL, English (United States) and at last
// any language.
ResourceInfo FindModuleResource(ModuleHandle module, const WCHAR* type, const WCHAR* name,
                                uint16_t language);
// LoadResource + LockResource: the resource's bytes, read-only, valid while
// the module stays loaded. Null for a null `info`.
const uint8_t* LoadModuleResource(ModuleHandle module, ResourceInfo info);
// SizeofResource; 0 for a null `info`.
uint32_t ModuleResourceSize(ModuleHandle module, ResourceInfo info);

// LoadStringA: string `id` of the module's string table (language neutral,
// as above) in the ANSI code page, cut to `size` - 1 bytes and terminated.
// Returns the bytes copied without the terminator; 0 (with an empty buffer
// when `size` > 0) when the string does not exist or is empty.
int32_t LoadModuleString(ModuleHandle module, uint32_t id, char* buffer, int32_t size);

// ---------------------------------------------------------------------------
// Finding files (FindFirstFileW on one name, then FindClose)

struct FoundFile {
  uint64_t size = 0;        // nFileSizeHigh:nFileSizeLow
  bool isDirectory = false;
};

// Looks for `path` (UTF-16; `\\` and `/` both separate folders): the exact
// name first, then a case-insensitive match of the last component in its
// folder, since drawings made on Windows name files in any case. On success
// fills `found` (may be null) and returns true.
bool FindFile(const WCHAR* path, FoundFile* found);

// ---------------------------------------------------------------------------
// Test hooks: let a test reach paths that depend on the platform's answers.

// Overrides the ANSI code page (0: back to the process locale).
void SetAnsiCodePageForTesting(int32_t codePage);

// Makes the platform answer as if it did not know `codePage` (true) or as it
// really does (false), so that tests reach the paths for unknown code pages.
void SetCodePageUnknownForTesting(uint32_t codePage, bool unknown);

}  // namespace cadserv::platform

#endif  // CADSERV_PLATFORM_PLATFORM_H
