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
#include <string>
#include <vector>

#if defined(__x86_64__)
#include <emmintrin.h>
#endif

#include "cadserv/com.h"
#include "cadserv/registry.h"

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
  uint64_t size = 0;  // nFileSizeHigh:nFileSizeLow
  bool isDirectory = false;
};

// Looks for `path` (UTF-16; `\\` and `/` both separate folders): the exact
// name first, then a case-insensitive match of the last component in its
// folder, since drawings made on Windows name files in any case. On success
// fills `found` (may be null) and returns true.
bool FindFile(const WCHAR* path, FoundFile* found);

// ---------------------------------------------------------------------------
// Files (CreateFileW, ReadFile, WriteFile, SetFilePointer, GetFileSize,
// GetFileInformationByHandle, FileTimeToDosDateTime, CreateFileMappingW,
// MapViewOfFile, UnmapViewOfFile, CloseHandle)
//
// Names are UTF-16 and reach the file system as UTF-8, unit for unit as
// given (no folder separators are rewritten). Windows share modes hold
// between processes and between opens in one process: see OpenFile.

// A handle of an opened file (on POSIX the descriptor).
using FileHandle = intptr_t;
constexpr FileHandle kInvalidFile = -1;  // INVALID_HANDLE_VALUE

// The four ways the file stream opens a file, as the CreateFileW arguments
// (access, share mode, disposition) that each stands for.
enum class FileOpen {
  kReadExisting,     // GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING
  kWriteTruncate,    // GENERIC_WRITE, no sharing, CREATE_ALWAYS
  kReadWriteAlways,  // GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, OPEN_ALWAYS
  kWriteExisting,    // GENERIC_WRITE, FILE_SHARE_READ, OPEN_EXISTING
};

// Why OpenFile failed (GetLastError: ERROR_SHARING_VIOLATION or another).
enum class FileError { kNone, kSharingViolation, kOther };

// CreateFileW(path, access, share, null, disposition, FILE_ATTRIBUTE_NORMAL,
// null) for one of the four ways above. Returns the handle, or kInvalidFile
// with the reason in `error` (may be null). A folder never opens. A file that
// another open holds in a way the share modes exclude fails with
// kSharingViolation before anything changes (CREATE_ALWAYS truncates only
// once the file is held). Since none of the four ways shares writing, the
// Windows rule comes down to: reading opens share with each other, and an
// open for writing excludes every other open of the file.
FileHandle OpenFile(const WCHAR* path, FileOpen how, FileError* error);

// CloseHandle on a file handle; releases its share.
void CloseFile(FileHandle file);

// ReadFile: up to `count` bytes at the file pointer, which moves past them;
// `*countRead` (may be null) gets the bytes read, 0 at the end of the file.
// False on failure (a handle not open for reading, an I/O error).
bool ReadFile(FileHandle file, void* buffer, uint32_t count, uint32_t* countRead);

// WriteFile: `count` bytes at the file pointer, which moves past them.
// False on failure (a handle not open for writing, a full disk).
bool WriteFile(FileHandle file, const void* buffer, uint32_t count, uint32_t* countWritten);

// SetFilePointer(file, offset, null, origin) with origin 0 FILE_BEGIN,
// 1 FILE_CURRENT, 2 FILE_END: the new position, or 0xFFFFFFFF when the move
// fails (bad handle or origin, a target before the start or beyond 32 bits;
// the pointer then stays). Targets past the end of the file are allowed.
constexpr uint32_t kInvalidSetFilePointer = 0xFFFFFFFFu;
uint32_t SetFilePointer(FileHandle file, int32_t offset, uint32_t origin);

// GetFileSize / GetFileInformationByHandle: the file's size and its last
// write time as a FILETIME (100 ns units since 1601-01-01 UTC). False for a
// bad handle.
struct FileInformation {
  uint64_t size = 0;
  uint64_t lastWriteFileTime = 0;
};
bool GetFileInformation(FileHandle file, FileInformation* information);

// FileTimeToDosDateTime: the calendar fields of the FILETIME itself (no time
// zone is applied) in MS-DOS form: date = (year - 1980) << 9 | month << 5 |
// day, time = hour << 11 | minute << 5 | second / 2. False, leaving both
// alone, for a time outside the years 1980 to 2107.
bool FileTimeToDosDateTime(uint64_t fileTime, uint16_t* dosDate, uint16_t* dosTime);

// A read-only mapping object of a file (CreateFileMappingW with
// PAGE_READONLY | SEC_COMMIT).
struct FileMapping;

// CreateFileMappingW(file, null, PAGE_READONLY | SEC_COMMIT, 0, size, null):
// a mapping of the first `size` bytes, or null. A size of 0 fails, as
// Windows refuses to map an empty file.
FileMapping* CreateReadOnlyMapping(FileHandle file, uint32_t size);

// MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, size): the whole mapping as
// read-only memory, or null.
const uint8_t* MapView(FileMapping* mapping);

// UnmapViewOfFile for a view of `mapping`, which must still be open.
void UnmapView(FileMapping* mapping, const uint8_t* view);

// CloseHandle on a mapping.
void CloseMapping(FileMapping* mapping);

// memcpy from a mapped view under a guard against in-page errors (the
// __try / __except(EXCEPTION_IN_PAGE_ERROR) around such a copy): false when
// reading `source` faulted, as it does when the file shrank under the
// mapping or its medium failed; the destination may then hold part of the
// bytes. Faults outside the source range are not handled here.
bool CopyFromMappedView(void* destination, const void* source, size_t count);

#if defined(__x86_64__) && defined(__linux__)
#define CADSERV_HAVE_MAPPED_BLOCK_LOAD 1
// The 16 bytes at `source` in a view from MapView, read under the same guard
// and returned in a register, for scanners that look at a few bytes per call
// (the line reader), where even a short copy's store and reload would be
// most of the cost. On a fault, returns zeros and sets `*faulted` unless
// `faulted` is null: a caller that sends blocks holding a NUL to a path
// that reads through the guarded copy needs no flag. A call without setup;
// where the backend has none, CADSERV_HAVE_MAPPED_BLOCK_LOAD is not defined
// and callers copy instead.
__m128i LoadBlockFromMappedView(const void* source, bool* faulted);
#endif

// ---------------------------------------------------------------------------
// Structured storage (StgIsStorageFile, StgOpenStorage, IStorage, IStream)
//
// Read-only access to compound files. On POSIX the backend reads the file
// format itself (src/platform/posix/compound_*); on Windows these wrap the
// system's structured storage.

// An opened stream element of a compound file (IStream). Reference-counted.
class StorageStream {
 public:
  virtual void AddRef() = 0;
  virtual void Release() = 0;
  // IStream::Read: up to `count` bytes from the current position; `*countRead`
  // (may be null) gets the bytes read (0 at the end). False on a read failure.
  virtual bool Read(void* buffer, uint32_t count, uint32_t* countRead) = 0;
  // IStream::Seek: origin 0 set, 1 current, 2 end; false (position unchanged)
  // when the target is negative or the origin unknown. Positions past the end
  // are allowed, as IStream allows them. `newPosition` may be null.
  virtual bool Seek(int64_t offset, uint32_t origin, uint64_t* newPosition) = 0;
  // IStream::Stat(STATFLAG_NONAME): size and modification time (FILETIME,
  // 100 ns since 1601; 0 when none).
  virtual bool Stat(uint64_t* size, uint64_t* modifiedFileTime) = 0;

 protected:
  virtual ~StorageStream() = default;
};

// One element of a storage, as IStorage::EnumElements describes it.
struct StorageElement {
  std::basic_string<WCHAR> name;
  bool isStorage = false;         // a storage; otherwise a stream
  uint64_t size = 0;              // bytes of a stream; 0 for a storage
  uint64_t createdFileTime = 0;   // FILETIME; 0 when none
  uint64_t modifiedFileTime = 0;  // FILETIME; 0 when none
};

// A storage of a compound file (IStorage), the root or a nested one.
// Reference-counted; an element keeps the file open.
class Storage {
 public:
  virtual void AddRef() = 0;
  virtual void Release() = 0;
  // IStorage::OpenStream(name, STGM_READ | STGM_SHARE_EXCLUSIVE): null when
  // there is no stream element of that name (case-insensitive as in CFB) or
  // it is already open.
  virtual StorageStream* OpenStream(const WCHAR* name) = 0;
  // IStorage::OpenStorage(name, STGM_READ | STGM_SHARE_EXCLUSIVE): null when
  // there is no storage element of that name or it is already open.
  virtual Storage* OpenStorage(const WCHAR* name) = 0;
  // IStorage::EnumElements: the elements of this storage in the file's order
  // (for inspection tools). False when they cannot be listed.
  virtual bool ListElements(std::vector<StorageElement>* elements) = 0;

 protected:
  virtual ~Storage() = default;
};

// StgIsStorageFile: true when the file exists and starts with the compound
// file signature.
bool IsStorageFile(const WCHAR* path);

// StgOpenStorage(path, STGM_READ | STGM_SHARE_DENY_WRITE): the root storage
// with one reference, or null (no such file, not a valid compound file, or a
// writer holds it). On POSIX the deny-write share is a shared flock() on the
// file for as long as any object of it lives: a writer that takes an
// exclusive flock cannot get it meanwhile, and a file a writer holds so
// cannot be opened.
Storage* OpenStorageFile(const WCHAR* path);

// ---------------------------------------------------------------------------
// Per-user settings (RegCreateKeyExW, RegOpenKeyExW, RegQueryValueExW,
// RegSetValueExW, RegCloseKey under HKEY_CURRENT_USER)
//
// Keys are HKEY handles; HKEY_CURRENT_USER is the root. Results are the
// registry's codes (ERROR_SUCCESS, ERROR_FILE_NOT_FOUND, ERROR_MORE_DATA,
// ...; see cadserv/registry.h). On POSIX the store is a text file under
// the XDG config folder, written by atomic replace under an advisory lock,
// so that saves from several processes at once all land and a crash in the
// middle of one leaves the old file or the new one; a file that cannot be
// read or parsed reads as empty.

// RegCreateKeyExW(parent, path, 0, "", options, access, null, key, null):
// opens `path` below `parent`, creating what is missing.
int32_t CreateSettingsKey(HKEY parent, const WCHAR* path, uint32_t options, uint32_t access,
                          HKEY* key, bool* created);

// RegOpenKeyExW(parent, path, 0, access, key): ERROR_FILE_NOT_FOUND when
// the key does not exist.
int32_t OpenSettingsKey(HKEY parent, const WCHAR* path, uint32_t access, HKEY* key);

// RegQueryValueExW(key, name, null, type, data, size), as documented there.
int32_t QuerySettingsValue(HKEY key, const WCHAR* name, uint32_t* type, uint8_t* data,
                           uint32_t* size);

// RegSetValueExW(key, name, 0, type, data, size).
int32_t SetSettingsValue(HKEY key, const WCHAR* name, uint32_t type, const uint8_t* data,
                         uint32_t size);

// RegCloseKey.
int32_t CloseSettingsKey(HKEY key);

// Where the store lives, for people (tools): on POSIX the file's path,
// empty when neither XDG_CONFIG_HOME nor a home folder is known.
std::string SettingsStoreLocation();

// ---------------------------------------------------------------------------
// Test hooks: let a test reach paths that depend on the platform's answers.

// Overrides the ANSI code page (0: back to the process locale).
void SetAnsiCodePageForTesting(int32_t codePage);

// Makes the platform answer as if it did not know `codePage` (true) or as it
// really does (false), so that tests reach the paths for unknown code pages.
void SetCodePageUnknownForTesting(uint32_t codePage, bool unknown);

}  // namespace cadserv::platform

#endif  // CADSERV_PLATFORM_PLATFORM_H
