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

}  // namespace cadserv::platform

#endif  // CADSERV_PLATFORM_PLATFORM_H
