#include "support/file_stream_helpers.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>

namespace cadserv_test {

SERVRESULT OpenStream(const std::u16string& name, uint32_t mode, StreamRef* stream,
                      IServStream* parent) {
  stream->reset();
  IServStream* out = Sentinel();
  SERVRESULT result = SERV_OpenFile(name.c_str(), mode, &out, parent);
  stream->reset(out == Sentinel() ? nullptr : out);
  if (out == Sentinel()) ADD_FAILURE() << "SERV_OpenFile left its out-parameter alone";
  return result;
}

SERVRESULT OpenStream(const std::string& path, uint32_t mode, StreamRef* stream,
                      IServStream* parent) {
  return OpenStream(Widen(path), mode, stream, parent);
}

std::vector<uint8_t> ReadToEnd(IServStream* stream, uint32_t piece) {
  std::vector<uint8_t> bytes;
  std::vector<uint8_t> buffer(piece);
  for (;;) {
    uint32_t count = 0;
    if (stream->Read(buffer.data(), piece, &count) != SERV_OK || count == 0) break;
    bytes.insert(bytes.end(), buffer.begin(), buffer.begin() + count);
  }
  return bytes;
}

std::string FileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

bool FileExists(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0;
}

void WriteFileBytes(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void SetModifiedTime(const std::string& path, int64_t unixSeconds) {
  struct timespec times[2];
  times[0].tv_sec = static_cast<time_t>(unixSeconds);
  times[0].tv_nsec = 0;
  times[1] = times[0];
  utimensat(AT_FDCWD, path.c_str(), times, 0);
}

int64_t UtcSeconds(int year, int month, int day, int hour, int minute, int second) {
  struct tm fields = {};
  fields.tm_year = year - 1900;
  fields.tm_mon = month - 1;
  fields.tm_mday = day;
  fields.tm_hour = hour;
  fields.tm_min = minute;
  fields.tm_sec = second;
  return static_cast<int64_t>(timegm(&fields));
}

uint64_t FileTimeOf(int64_t unixSeconds) {
  return static_cast<uint64_t>(unixSeconds + 11644473600) * 10000000u;
}

uint32_t DosDateTimeOf(int year, int month, int day, int hour, int minute, int second) {
  uint32_t date = static_cast<uint32_t>((year - 1980) << 9 | month << 5 | day);
  uint32_t time = static_cast<uint32_t>(hour << 11 | minute << 5 | second / 2);
  return date << 16 | time;
}

}  // namespace cadserv_test
