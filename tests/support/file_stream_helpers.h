// Helpers of the file stream suites: opening streams into owning pointers,
// files' bytes and modification times, and the FILETIME of a calendar time.
#ifndef CADSERV_TESTS_SUPPORT_FILE_STREAM_HELPERS_H
#define CADSERV_TESTS_SUPPORT_FILE_STREAM_HELPERS_H

#include <stdint.h>
#include <time.h>

#include <string>
#include <vector>

#include "cadserv/stream.h"
#include "support/compound_file_tools.h"

namespace cadserv_test {

using StreamRef = Ref<IServStream>;

// A pointer no call should leave in an out-parameter it did not write.
inline IServStream* Sentinel() {
  return reinterpret_cast<IServStream*>(0xDEADBEEF);
}

// SERV_OpenFile into `*stream` (the out-parameter preset to Sentinel()).
SERVRESULT OpenStream(const std::string& path, uint32_t mode, StreamRef* stream,
                      IServStream* parent = nullptr);
SERVRESULT OpenStream(const std::u16string& name, uint32_t mode, StreamRef* stream,
                      IServStream* parent = nullptr);

// Reads the stream to its end in pieces of `piece` bytes; stops at an error.
std::vector<uint8_t> ReadToEnd(IServStream* stream, uint32_t piece = 4096);

// A file's bytes ("" for a missing file), and whether it exists.
std::string FileBytes(const std::string& path);
bool FileExists(const std::string& path);
void WriteFileBytes(const std::string& path, const std::string& bytes);

// Sets a file's modification time to `unixSeconds` (UTC).
void SetModifiedTime(const std::string& path, int64_t unixSeconds);

// Seconds since 1970 (UTC) of a calendar time, and the FILETIME of that.
int64_t UtcSeconds(int year, int month, int day, int hour, int minute, int second);
uint64_t FileTimeOf(int64_t unixSeconds);

// The DOS date << 16 | time of a calendar time, built from its fields.
uint32_t DosDateTimeOf(int year, int month, int day, int hour, int minute, int second);

}  // namespace cadserv_test

#endif  // CADSERV_TESTS_SUPPORT_FILE_STREAM_HELPERS_H
