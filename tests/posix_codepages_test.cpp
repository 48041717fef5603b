// The platform's code page functions on POSIX: GetCPInfo, MultiByteToWideChar,
// WideCharToMultiByte and CharNextA as the library sees them.
#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <thread>
#include <vector>

#include "platform/platform.h"
#include "support/code_page_scope.h"

namespace {

using namespace cadserv::platform;
using cadserv_test::AnsiCodePage;
using cadserv_test::Guarded;
using cadserv_test::kByteSentinel;
using cadserv_test::kUnitSentinel;
using cadserv_test::UnknownCodePage;

int32_t Length(const char* text) {
  return static_cast<int32_t>(strlen(text));
}

TEST(PosixCodePages, InfoReportsWhatIsKnownAndTheMaximumCharacterSize) {
  struct Case {
    uint32_t codePage;
    uint32_t maxCharSize;
  };
  for (const Case& c : {Case{437, 1}, Case{1252, 1}, Case{866, 1}, Case{28591, 1}, Case{932, 2},
                        Case{936, 2}, Case{949, 2}, Case{950, 2}, Case{65001, 4}, Case{54936, 4}}) {
    uint32_t size = 99;
    EXPECT_TRUE(CodePageInfo(c.codePage, &size)) << c.codePage;
    EXPECT_EQ(size, c.maxCharSize) << c.codePage;
  }
  for (uint32_t unknown : {32769u, 32770u, 32772u, 42u, 12345u, 0xFFFFFFFFu}) {
    uint32_t size = 99;
    EXPECT_FALSE(CodePageInfo(unknown, &size)) << unknown;
    EXPECT_EQ(size, 99u);
  }
}

TEST(PosixCodePages, SymbolicCodePagesResolve) {
  AnsiCodePage ansi(932);
  uint32_t size = 0;
  ASSERT_TRUE(CodePageInfo(0, &size));  // CP_ACP
  EXPECT_EQ(size, 2u);
  WCHAR unit = 0;
  EXPECT_EQ(MultiByteToWide(0, 0, "\x93\xFA", 2, &unit, 1), 1);
  EXPECT_EQ(unit, u'日');
  ASSERT_TRUE(CodePageInfo(1, &size));  // CP_OEMCP: 932 serves as both
  EXPECT_EQ(size, 2u);
}

TEST(PosixCodePages, TheTestHookHidesACodePageUntilRestored) {
  {
    UnknownCodePage hidden(1250);
    EXPECT_FALSE(CodePageInfo(1250, nullptr));
    WCHAR unit;
    EXPECT_EQ(MultiByteToWide(1250, 0, "a", 1, &unit, 1), 0);
    EXPECT_EQ(WideToMultiByte(1250, u"a", 1, reinterpret_cast<char*>(&unit), 2), 0);
    EXPECT_FALSE(ConvertByteToUnit(1250, 0x8A, &unit));
    EXPECT_TRUE(CodePageInfo(1252, nullptr));
  }
  EXPECT_TRUE(CodePageInfo(1250, nullptr));
}

TEST(PosixCodePages, MultiByteToWideCountsAndBoundsItsOutput) {
  const char* text =
      "\x93\xFA\x96\x7B"
      "abc";  // two ideographs, three letters
  EXPECT_EQ(MultiByteToWide(932, kMbPrecomposed, text, Length(text), nullptr, 0), 5);
  Guarded<char16_t> out(5, kUnitSentinel);
  EXPECT_EQ(MultiByteToWide(932, kMbPrecomposed, text, Length(text), out.data(), 5), 5);
  EXPECT_EQ(std::u16string(out.data(), 5), u"日本abc");
  EXPECT_TRUE(out.GuardIntact());

  // Too small a buffer: 0, and nothing beyond the units allowed.
  Guarded<char16_t> small(3, kUnitSentinel);
  EXPECT_EQ(MultiByteToWide(932, 0, text, Length(text), small.data(), 3), 0);
  EXPECT_TRUE(small.GuardIntact());

  // A zero byte converts like any other; nothing is read past the count.
  WCHAR units[4] = {1, 1, 1, 1};
  EXPECT_EQ(MultiByteToWide(1252, 0, "a\0b", 3, units, 4), 3);
  EXPECT_EQ(std::u16string(units, 3), std::u16string(u"a\0b", 3));

  EXPECT_EQ(MultiByteToWide(1252, 0, "a", 0, units, 4), 0);
  EXPECT_EQ(MultiByteToWide(1252, 0, "a", -1, units, 4), 0);
  EXPECT_EQ(MultiByteToWide(1252, 0, nullptr, 1, units, 4), 0);
}

TEST(PosixCodePages, FlagsAreRefusedWhereWindowsRefusesThem) {
  WCHAR unit = 0;
  EXPECT_EQ(MultiByteToWide(65001, kMbPrecomposed, "a", 1, &unit, 1), 0);
  EXPECT_EQ(MultiByteToWide(54936, kMbPrecomposed, "a", 1, &unit, 1), 0);
  EXPECT_EQ(MultiByteToWide(65001, 0, "a", 1, &unit, 1), 1);
  EXPECT_EQ(MultiByteToWide(1252, 0x8, "a", 1, &unit, 1), 0);  // MB_ERR_INVALID_CHARS: not ours
  EXPECT_EQ(MultiByteToWide(1252, kMbPrecomposed, "a", 1, &unit, 1), 1);
}

TEST(PosixCodePages, UndefinedSingleBytesKeepTheirValue) {
  // 0x81 has no character in 1252 and 0x98 none in 1251.
  WCHAR units[2] = {};
  EXPECT_EQ(MultiByteToWide(1252, 0, "\x81\x80", 2, units, 2), 2);
  EXPECT_EQ(units[0], 0x0081);
  EXPECT_EQ(units[1], 0x20AC);
  EXPECT_EQ(MultiByteToWide(1251, 0, "\x98", 1, units, 2), 1);
  EXPECT_EQ(units[0], 0x0098);
}

TEST(PosixCodePages, HeldBackCharactersAreReleasedAtTheEnd) {
  // glibc's 1258 decoder waits for a combining mark after a base letter.
  WCHAR units[4] = {};
  EXPECT_EQ(MultiByteToWide(1258, 0, "a", 1, units, 4), 1);
  EXPECT_EQ(units[0], u'a');
  EXPECT_EQ(MultiByteToWide(1258, 0, "ab", 2, nullptr, 0), 2);
  EXPECT_EQ(MultiByteToWide(1258, 0, "a\x81", 2, units, 4), 2);  // undefined after a base letter
  EXPECT_EQ(units[0], u'a');
}

TEST(PosixCodePages, WideToMultiByteReplacesWhatTheTargetLacks) {
  char bytes[16];
  const char16_t lone[] = {u'a', 0x0100, 0xD800, u'b'};  // an unpaired high surrogate
  EXPECT_EQ(WideToMultiByte(1252, lone, 4, bytes, sizeof bytes), 4);
  EXPECT_EQ(std::string(bytes, 4), "a??b");
  const char16_t low[] = {0xDC00, u'x'};
  EXPECT_EQ(WideToMultiByte(65001, low, 2, bytes, sizeof bytes), 4);
  EXPECT_EQ(std::string(bytes, 4), "\xEF\xBF\xBDx");
  EXPECT_EQ(WideToMultiByte(65001, u"\U0001F600", 2, bytes, sizeof bytes), 4);
  EXPECT_EQ(std::string(bytes, 4), "\xF0\x9F\x98\x80");
  EXPECT_EQ(WideToMultiByte(932, u"日x", 2, nullptr, 0), 3);

  Guarded<char> small(2, kByteSentinel);
  EXPECT_EQ(WideToMultiByte(932, u"日x", 2, small.data(), 2), 0);
  EXPECT_TRUE(small.GuardIntact());
}

TEST(PosixCodePages, LeadBytesOfTheDoubleByteCodePages) {
  struct Case {
    uint32_t codePage;
    uint8_t byte;
    bool lead;
  };
  const Case cases[] = {
      {932, 0x80, false},  {932, 0x81, true},    {932, 0x9F, true},  {932, 0xA0, false},
      {932, 0xDF, false},  {932, 0xE0, true},    {932, 0xFC, true},  {932, 0xFD, false},
      {936, 0x80, false},  {936, 0x81, true},    {936, 0xFE, true},  {936, 0xFF, false},
      {949, 0x81, true},   {949, 0xFE, true},    {950, 0x80, false}, {950, 0xA4, true},
      {1252, 0x81, false}, {65001, 0xC3, false}, {932, 0x41, false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(IsLeadByte(c.codePage, c.byte), c.lead) << c.codePage << " " << int(c.byte);
  }
}

TEST(PosixCodePages, NextCharStepsWholeCharactersButNeverPastTheTerminator) {
  const char* text =
      "\x82\xA0"
      "a\x82";
  {
    AnsiCodePage ansi(932);
    EXPECT_EQ(NextCharAnsi(text), text + 2);
    EXPECT_EQ(NextCharAnsi(text + 2), text + 3);
    EXPECT_EQ(NextCharAnsi(text + 3), text + 4);  // lead byte before the terminator
    EXPECT_EQ(NextCharAnsi(text + 4), text + 4);
  }
  AnsiCodePage ansi(1252);
  EXPECT_EQ(NextCharAnsi(text), text + 1);
}

TEST(PosixCodePages, EachThreadConvertsWithItsOwnConverters) {
  struct Job {
    uint32_t codePage;
    const char* bytes;
    std::u16string text;
  };
  const Job jobs[] = {{932, "\x93\xFA\x96\x7B", u"日本"},
                      {936, "\xD6\xD0\xCE\xC4", u"中文"},
                      {1251, "\xC0\xE1", u"Аб"},
                      {1250, "\x8A\xE8", u"Šč"}};
  std::vector<std::thread> threads;
  std::vector<int> failures(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < 200; ++round) {
        // Each thread walks the four code pages in its own order.
        const Job& job = jobs[(t + round) % 4];
        WCHAR units[8];
        int32_t n = MultiByteToWide(job.codePage, 0, job.bytes, Length(job.bytes), units, 8);
        char bytes[8];
        int32_t m = WideToMultiByte(job.codePage, units, n, bytes, 8);
        if (std::u16string(units, n) != job.text || std::string(bytes, m) != job.bytes) {
          ++failures[t];
        }
        if (round % 50 == 0) {  // now and then more code pages than the cache holds
          for (uint32_t extra = 28591; extra < 28600; ++extra) CodePageInfo(extra, nullptr);
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, std::vector<int>(4, 0));
}

}  // namespace
