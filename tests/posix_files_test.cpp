// The POSIX backend's files: Windows share modes between processes and
// within one, the fault guard around copies from mappings, the FILETIME to
// MS-DOS conversion, and the CreateFileW/SetFilePointer stand-ins.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <string>
#include <thread>

#include "cadserv/stream.h"
#include "platform/platform.h"
#include "support/compound_file_builder.h"
#include "support/file_stream_helpers.h"

namespace {

using namespace cadserv_test;
namespace platform = cadserv::platform;

// What opening in `second` gives while an open in `first` holds the file:
// the share modes let readers share with readers, and a writer with nobody.
SERVRESULT ExpectedWhileHeld(uint32_t first, uint32_t second) {
  if (first == SERV_MODE_READ && second == SERV_MODE_READ) return SERV_OK;
  return second == SERV_MODE_READ ? SERV_E_SHARING : SERV_E_OPENWRITE;
}

constexpr uint32_t kModes[] = {SERV_MODE_READ, SERV_MODE_WRITE, SERV_MODE_READWRITE,
                               SERV_MODE_APPEND};

TEST(PosixFiles, ShareModesHoldBetweenOpensInOneProcess) {
  TempDir dir;
  std::string path = dir.Write("shared.dxf", "content", 7);
  for (uint32_t first : kModes) {
    for (uint32_t second : kModes) {
      StreamRef holder;
      ASSERT_EQ(OpenStream(path, first, &holder), SERV_OK) << first;
      StreamRef other;
      EXPECT_EQ(OpenStream(path, second, &other), ExpectedWhileHeld(first, second))
          << "mode " << second << " while mode " << first << " holds the file";
      other.reset();
      holder.reset();
      // Once the holder is gone, the file opens again.
      EXPECT_EQ(OpenStream(path, second, &other), SERV_OK) << second;
      WriteFileBytes(path, "content");
    }
  }
}

// Opens `path` in `mode` in a child process and keeps it open until told.
class ChildHolder {
 public:
  ChildHolder(const std::string& path, uint32_t mode) {
    int ready[2];
    int release[2];
    if (pipe(ready) != 0 || pipe(release) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      close(ready[0]);
      close(release[1]);
      IServStream* stream = nullptr;
      char result = SERV_OpenFile(Widen(path).c_str(), mode, &stream, nullptr) == SERV_OK;
      if (write(ready[1], &result, 1) != 1) _exit(2);
      char go;
      if (read(release[0], &go, 1) < 0) _exit(2);
      _exit(0);  // the process's end closes the file
    }
    close(ready[1]);
    close(release[0]);
    releaseFd_ = release[1];
    char result = 0;
    opened_ = read(ready[0], &result, 1) == 1 && result == 1;
    close(ready[0]);
  }
  ~ChildHolder() {
    if (pid_ <= 0) return;
    close(releaseFd_);
    int status = 0;
    waitpid(pid_, &status, 0);
  }
  bool opened() const { return opened_; }

 private:
  pid_t pid_ = -1;
  int releaseFd_ = -1;
  bool opened_ = false;
};

TEST(PosixFiles, ShareModesHoldBetweenProcesses) {
  TempDir dir;
  std::string path = dir.Write("shared.dxf", "content", 7);
  for (uint32_t first : kModes) {
    for (uint32_t second : kModes) {
      {
        ChildHolder child(path, first);
        ASSERT_TRUE(child.opened()) << first;
        StreamRef stream;
        EXPECT_EQ(OpenStream(path, second, &stream), ExpectedWhileHeld(first, second))
            << "mode " << second << " while another process holds mode " << first;
      }
      WriteFileBytes(path, "content");
    }
  }
}

TEST(PosixFiles, RefusedWriterLeavesTheFileAsItWas) {
  TempDir dir;
  std::string path = dir.Write("kept.dxf", "content", 7);
  ChildHolder reader(path, SERV_MODE_READ);
  ASSERT_TRUE(reader.opened());
  StreamRef stream;
  EXPECT_EQ(OpenStream(path, SERV_MODE_WRITE, &stream), SERV_E_OPENWRITE);
  EXPECT_EQ(FileBytes(path), "content");
}

// Truncates the file through a descriptor of its own, as another program would.
void TruncateBehindTheStream(const std::string& path, off_t size) {
  int descriptor = open(path.c_str(), O_WRONLY);
  ASSERT_GE(descriptor, 0);
  ASSERT_EQ(ftruncate(descriptor, size), 0);
  close(descriptor);
}

TEST(PosixFiles, ReadingAMappingTheFileNoLongerBacksFailsWithReadError) {
  TempDir dir;
  std::vector<uint8_t> content = PatternBytes(1 << 20, 3);
  std::string path = dir.Write("shrinking.dxf", content.data(), content.size());
  StreamRef stream;
  ASSERT_EQ(OpenStream(path, SERV_MODE_READ, &stream), SERV_OK);
  ASSERT_NE(stream->GetBuffer(), nullptr);
  TruncateBehindTheStream(path, 8192);

  std::vector<uint8_t> buffer(65536);
  uint32_t count = 0xDEADBEEF;
  ASSERT_EQ(stream->Read(buffer.data(), 8192, &count), SERV_OK);  // still backed
  EXPECT_EQ(count, 8192u);
  EXPECT_TRUE(std::equal(buffer.begin(), buffer.begin() + 8192, content.begin()));
  count = 0xDEADBEEF;
  EXPECT_EQ(stream->Read(buffer.data(), 65536, &count), SERV_E_READ);
  EXPECT_EQ(count, 0u);
  // The guard stays armed after a fault, and works on any thread.
  EXPECT_EQ(stream->Read(buffer.data(), 1, &count), SERV_E_READ);
  SERVRESULT onThread = SERV_OK;
  std::thread([&] { onThread = stream->Read(buffer.data(), 100, &count); }).join();
  EXPECT_EQ(onThread, SERV_E_READ);
  // A read that ends before the missing pages still succeeds.
  ASSERT_EQ(stream->Seek(4096, SERV_SEEK_SET, nullptr), SERV_OK);
  EXPECT_EQ(stream->Read(buffer.data(), 4096, &count), SERV_OK);
  EXPECT_EQ(count, 4096u);
}

// A view of `size` bytes whose file is then cut to `kept` bytes, so that
// the pages after `kept` are gone. Unmapped and closed when destroyed.
class CutMapping {
 public:
  CutMapping(const std::string& path, uint32_t size, off_t kept) {
    file_ = platform::OpenFile(Widen(path).c_str(), platform::FileOpen::kReadExisting, nullptr);
    mapping_ = platform::CreateReadOnlyMapping(file_, size);
    view_ = platform::MapView(mapping_);
    TruncateBehindTheStream(path, kept);
  }
  ~CutMapping() {
    platform::UnmapView(mapping_, view_);
    platform::CloseMapping(mapping_);
    platform::CloseFile(file_);
  }
  const uint8_t* view() const { return view_; }

 private:
  platform::FileHandle file_;
  platform::FileMapping* mapping_;
  const uint8_t* view_;
};

TEST(PosixFiles, CopiesOfEverySizeFailExactlyWhereThePagesAreGone) {
  TempDir dir;
  std::vector<uint8_t> content = PatternBytes(3 * 4096, 8);
  std::string path = dir.Write("cut.dxf", content.data(), content.size());
  CutMapping cut(path, 3 * 4096, 4096);
  ASSERT_NE(cut.view(), nullptr);
  // Short copies take another road than long ones: both end at the cut.
  struct Copy {
    size_t offset, count;
    bool succeeds;
  };
  const Copy kCopies[] = {
      {0, 1, true},      {4095, 1, true},    {4096, 1, false},  {4080, 16, true},
      {4081, 16, false}, {4064, 32, true},   {4065, 32, false}, {4000, 96, true},
      {3840, 256, true}, {3841, 256, false}, {3839, 257, true}, {3840, 257, false},
      {0, 4096, true},   {1, 4096, false},   {4100, 5, false},  {2000, 15, true},
  };
  for (const Copy& copy : kCopies) {
    std::vector<uint8_t> out(copy.count, 0xEE);
    EXPECT_EQ(platform::CopyFromMappedView(out.data(), cut.view() + copy.offset, copy.count),
              copy.succeeds)
        << copy.offset << "+" << copy.count;
    if (copy.succeeds) {
      EXPECT_TRUE(std::equal(out.begin(), out.end(), content.begin() + copy.offset))
          << copy.offset << "+" << copy.count;
    }
  }
#if defined(CADSERV_HAVE_MAPPED_BLOCK_LOAD)
  for (size_t offset : {size_t{0}, size_t{4080}, size_t{4081}, size_t{4095}, size_t{5000}}) {
    bool faulted = false;
    alignas(16) uint8_t block[16];
    _mm_store_si128(reinterpret_cast<__m128i*>(block),
                    platform::LoadBlockFromMappedView(cut.view() + offset, &faulted));
    bool backed = offset + 16 <= 4096;
    EXPECT_EQ(faulted, !backed) << offset;
    std::vector<uint8_t> expected(16, 0);
    if (backed) expected.assign(content.begin() + offset, content.begin() + offset + 16);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), block)) << offset;
    // Without a flag to set, a fault still gives zeros.
    _mm_store_si128(reinterpret_cast<__m128i*>(block),
                    platform::LoadBlockFromMappedView(cut.view() + offset, nullptr));
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), block)) << offset;
  }
#endif
}

TEST(PosixFilesDeathTest, AFaultOnTheCopysDestinationIsNotTheGuardsBusiness) {
  TempDir dir;
  std::vector<uint8_t> content = PatternBytes(4096, 9);
  std::string path = dir.Write("whole.dxf", content.data(), content.size());
  for (size_t count : {size_t{16}, size_t{4096}}) {
    EXPECT_DEATH(
        {
          CutMapping cut(path, 4096, 4096);
          void* nowhere = reinterpret_cast<void*>(uintptr_t{64});
          platform::CopyFromMappedView(nowhere, cut.view(), count);
          fprintf(stderr, "a bad destination went unnoticed\n");
          _exit(0);
        },
        "")
        << count;
  }
}

TEST(PosixFilesDeathTest, FaultsOutsideAGuardedCopyStillEndTheProcess) {
  TempDir dir;
  std::vector<uint8_t> content = PatternBytes(65536, 5);
  std::string path = dir.Write("gone.dxf", content.data(), content.size());
  EXPECT_DEATH(
      {
        platform::FileHandle file =
            platform::OpenFile(Widen(path).c_str(), platform::FileOpen::kReadExisting, nullptr);
        platform::FileMapping* mapping = platform::CreateReadOnlyMapping(file, 65536);
        const volatile uint8_t* view = platform::MapView(mapping);
        TruncateBehindTheStream(path, 0);
        uint8_t byte;
        if (platform::CopyFromMappedView(&byte, const_cast<const uint8_t*>(view), 1)) abort();
        fprintf(stderr, "guarded copy failed as it should\n");
        byte = view[100];  // no guard: the fault goes on to the default action
        fprintf(stderr, "survived %d\n", byte);
        _exit(0);
      },
      "guarded copy failed as it should");
}

TEST(PosixFiles, FileTimeToDosDateTimeUsesTheFieldsWithinItsYears) {
  struct Case {
    int year, month, day, hour, minute, second;
    bool expressible;
    uint16_t date, time;
  };
  const Case cases[] = {
      {1980, 1, 1, 0, 0, 0, true, 0x0021, 0x0000},
      {1980, 1, 1, 0, 0, 1, true, 0x0021, 0x0000},
      {2107, 12, 31, 23, 59, 59, true, 0xFF9F, 0xBF7D},
      {2000, 2, 29, 12, 30, 45, true, 0x285D, 0x63D6},
      {2100, 3, 1, 0, 0, 2, true, 0xF061, 0x0001},
      {1979, 12, 31, 23, 59, 59, false, 0, 0},
      {2108, 1, 1, 0, 0, 0, false, 0, 0},
      {1601, 1, 1, 0, 0, 0, false, 0, 0},
  };
  for (const Case& c : cases) {
    uint64_t fileTime =
        FileTimeOf(UtcSeconds(c.year, c.month, c.day, c.hour, c.minute, c.second)) + 9999999;
    uint16_t date = 0xAAAA;
    uint16_t time = 0xBBBB;
    EXPECT_EQ(platform::FileTimeToDosDateTime(fileTime, &date, &time), c.expressible) << c.year;
    EXPECT_EQ(date, c.expressible ? c.date : 0xAAAA) << c.year << "-" << c.month << "-" << c.day;
    EXPECT_EQ(time, c.expressible ? c.time : 0xBBBB) << c.hour << ":" << c.minute;
  }
}

TEST(PosixFiles, FileTimeToDosDateTimeAgreesWithTheCLibraryCalendar) {
  std::mt19937_64 random(20240229);
  const int64_t first = UtcSeconds(1980, 1, 1, 0, 0, 0);
  const int64_t last = UtcSeconds(2107, 12, 31, 23, 59, 59);
  for (int i = 0; i < 20000; ++i) {
    int64_t seconds = first + static_cast<int64_t>(random() % uint64_t(last - first + 1));
    time_t t = static_cast<time_t>(seconds);
    struct tm fields;
    gmtime_r(&t, &fields);
    uint16_t date = 0;
    uint16_t time = 0;
    ASSERT_TRUE(platform::FileTimeToDosDateTime(FileTimeOf(seconds), &date, &time)) << seconds;
    ASSERT_EQ(uint32_t{date} << 16 | time,
              DosDateTimeOf(fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday,
                            fields.tm_hour, fields.tm_min, fields.tm_sec))
        << seconds;
  }
}

// The process's time zone, set for one test and put back after it.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* zone) {
    const char* old = getenv("TZ");
    hadOld_ = old != nullptr;
    if (hadOld_) old_ = old;
    setenv("TZ", zone, 1);
    tzset();
  }
  ~ScopedTimeZone() {
    if (hadOld_) {
      setenv("TZ", old_.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

 private:
  bool hadOld_ = false;
  std::string old_;
};

TEST(PosixFiles, DosDateTimeOfAFileIsItsUtcTimeInAnyTimeZone) {
  TempDir dir;
  std::string path = dir.Write("timed.dxf", "x", 1);
  const int64_t written = UtcSeconds(2023, 12, 31, 22, 10, 40);
  SetModifiedTime(path, written);
  // Five and a half hours east of UTC: local time is already 2024-01-01.
  ScopedTimeZone zone("CSV-05:30");
  time_t t = static_cast<time_t>(written);
  struct tm local;
  localtime_r(&t, &local);
  ASSERT_EQ(local.tm_year + 1900, 2024) << "the time zone did not take effect";

  StreamRef stream;
  ASSERT_EQ(OpenStream(path, SERV_MODE_READ, &stream), SERV_OK);
  ServStreamInfo info{};
  ASSERT_EQ(stream->GetInfo(&info), SERV_OK);
  EXPECT_EQ(info.DosDateTime, DosDateTimeOf(2023, 12, 31, 22, 10, 40));
}

TEST(PosixFiles, FilesBeforeTheDosEpochHaveNoDosTime) {
  TempDir dir;
  std::string path = dir.Write("old.dxf", "x", 1);
  SetModifiedTime(path, UtcSeconds(1975, 5, 5, 5, 5, 5));
  StreamRef stream;
  ASSERT_EQ(OpenStream(path, SERV_MODE_READ, &stream), SERV_OK);
  ServStreamInfo info{0, 0, 0xDEADBEEF, 0};
  ASSERT_EQ(stream->GetInfo(&info), SERV_OK);
  EXPECT_EQ(info.DosDateTime, 0u);
}

TEST(PosixFiles, SetFilePointerMovesWithin32BitsAndFailsInPlace) {
  TempDir dir;
  std::string path = dir.Write("pointer.bin", "0123456789", 10);
  platform::FileError error = platform::FileError::kOther;
  platform::FileHandle file =
      platform::OpenFile(Widen(path).c_str(), platform::FileOpen::kReadWriteAlways, &error);
  ASSERT_NE(file, platform::kInvalidFile);
  EXPECT_EQ(error, platform::FileError::kNone);
  EXPECT_EQ(platform::SetFilePointer(file, 4, 0), 4u);
  EXPECT_EQ(platform::SetFilePointer(file, -5, 1), platform::kInvalidSetFilePointer);
  EXPECT_EQ(platform::SetFilePointer(file, 0, 3), platform::kInvalidSetFilePointer);
  EXPECT_EQ(platform::SetFilePointer(file, 0, 1), 4u);  // the failures left it
  EXPECT_EQ(platform::SetFilePointer(file, 90, 2), 100u);
  EXPECT_EQ(platform::SetFilePointer(file, INT32_MAX, 1), 100u + INT32_MAX);
  EXPECT_EQ(platform::SetFilePointer(file, INT32_MAX, 1), platform::kInvalidSetFilePointer);
  EXPECT_EQ(platform::SetFilePointer(file, -10, 2), 0u);
  char buffer[16];
  uint32_t count = 0;
  ASSERT_TRUE(platform::ReadFile(file, buffer, sizeof buffer, &count));
  EXPECT_EQ(std::string(buffer, count), "0123456789");
  ASSERT_TRUE(platform::ReadFile(file, buffer, sizeof buffer, &count));
  EXPECT_EQ(count, 0u);
  platform::FileInformation information;
  ASSERT_TRUE(platform::GetFileInformation(file, &information));
  EXPECT_EQ(information.size, 10u);
  EXPECT_EQ(platform::CreateReadOnlyMapping(file, 0), nullptr);
  platform::CloseFile(file);
  EXPECT_EQ(platform::SetFilePointer(platform::kInvalidFile, 0, 0),
            platform::kInvalidSetFilePointer);
  EXPECT_FALSE(platform::GetFileInformation(platform::kInvalidFile, &information));
}

TEST(PosixFiles, NamesReachTheFileSystemAsUtf8) {
  TempDir dir;
  // "Zeichnung-äß€𝄞.dxf": two-, three- and four-byte forms, one a surrogate pair.
  std::string utf8 = dir.path() + "/Zeichnung-\xC3\xA4\xC3\x9F\xE2\x82\xAC\xF0\x9D\x84\x9E.dxf";
  WriteFileBytes(utf8, "drawing");
  std::u16string name = Widen(dir.path()) + u"/Zeichnung-\u00E4\u00DF\u20AC\U0001D11E.dxf";
  StreamRef stream;
  ASSERT_EQ(OpenStream(name, SERV_MODE_READ, &stream), SERV_OK);
  EXPECT_EQ(ReadToEnd(stream.get()), std::vector<uint8_t>({'d', 'r', 'a', 'w', 'i', 'n', 'g'}));
  EXPECT_EQ(std::u16string(stream->GetName()), name);
}

}  // namespace
