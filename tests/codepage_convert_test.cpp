// Code page conversion: the tables, one character, and strings in place.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "cadserv/codepage.h"
#include "platform/platform.h"
#include "text/codepage_bytemap.h"
#include "text/codepage_tables.h"

namespace {

using cadserv::platform::SetAnsiCodePageForTesting;

constexpr int32_t kTablePages[] = {437, 850, 852, 1250, 1251, 1252, 1253, 1254};
constexpr int32_t kUnicode = SERV_CP_UNICODE;

int32_t FromUnicode(int32_t unit, int32_t codePage) {
  return SERV_CodePageConvert(unit, kUnicode, codePage);
}
int32_t ToUnicode(int32_t byte, int32_t codePage) {
  return SERV_CodePageConvert(byte, codePage, kUnicode);
}

// Suites whose tests may set the platform's ANSI code page: it is put back
// after each test.
class ResetsAnsiCodePage : public testing::Test {
 protected:
  void TearDown() override { SetAnsiCodePageForTesting(0); }
};
class CodePageConvertDefault : public ResetsAnsiCodePage {};
class CodePageConvertStr : public ResetsAnsiCodePage {};

// ---------------------------------------------------------------------------
// The tables

struct TellingRow {
  int32_t unit;
  uint8_t bytes[8];  // in the order of kTablePages
};

constexpr TellingRow kTellingRows[] = {
    {0x00A0, {0xFF, 0xFF, 0xFF, 0xA0, 0xA0, 0xA0, 0xA0, 0xA0}},
    {0x00A9, {0x63, 0xB8, 0x63, 0xA9, 0xA9, 0xA9, 0xA9, 0xA9}},
    {0x00C4, {0x8E, 0x8E, 0x8E, 0xC4, 0x41, 0xC4, 0x41, 0xC4}},
    {0x0100, {0x41, 0x41, 0x41, 0x41, 0x41, 0x41, 0x41, 0x41}},
    {0x010C, {0x43, 0x43, 0xAC, 0xC8, 0x43, 0x43, 0x43, 0x43}},
    {0x0160, {0x53, 0x53, 0xE6, 0x8A, 0x53, 0x8A, 0x53, 0x8A}},
    {0x0192, {0x9F, 0x9F, 0x66, 0x66, 0x3F, 0x83, 0x83, 0x83}},
    {0x03A9, {0xEA, 0x4F, 0x3F, 0x3F, 0x3F, 0x4F, 0xD9, 0x3F}},
    {0x0410, {0x3F, 0x3F, 0x3F, 0x3F, 0xC0, 0x3F, 0x3F, 0x3F}},
    {0x2013, {0x2D, 0x2D, 0x2D, 0x96, 0x96, 0x96, 0x96, 0x96}},
    {0x2018, {0x60, 0x27, 0x27, 0x91, 0x91, 0x91, 0x91, 0x91}},
    {0x201C, {0x22, 0x22, 0x22, 0x93, 0x93, 0x93, 0x93, 0x93}},
    {0x2022, {0x07, 0x07, 0x07, 0x95, 0x95, 0x95, 0x95, 0x95}},
    {0x2026, {0x2E, 0x2E, 0x07, 0x85, 0x85, 0x85, 0x85, 0x85}},
    {0x20AC, {0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F}},
    {0x2122, {0x54, 0x54, 0x74, 0x99, 0x99, 0x99, 0x99, 0x99}},
    {0x221E, {0xEC, 0x38, 0x3F, 0x3F, 0x3F, 0x38, 0x3F, 0x3F}},
    {0x2500, {0xC4, 0xC4, 0xC4, 0xA6, 0x2D, 0x2D, 0x2D, 0xA6}},
    {0x2502, {0xB3, 0xB3, 0xB3, 0x2D, 0xA6, 0xA6, 0xA6, 0x2D}},
    {0x2550, {0xCD, 0xCD, 0xCD, 0x3D, 0x3D, 0x2D, 0x3D, 0x3D}},
    {0x2588, {0xDB, 0xDB, 0xDB, 0x2D, 0x2D, 0xA6, 0x2D, 0x2D}},
    {0x2591, {0xB0, 0xB0, 0xB0, 0x2D, 0x2D, 0xA6, 0x2D, 0x2D}},
    {0xF8F9, {0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0xAA, 0x3F}},
};

TEST(CodePageTables, TellingRows) {
  for (const TellingRow& row : kTellingRows) {
    for (int i = 0; i < 8; ++i) {
      EXPECT_EQ(FromUnicode(row.unit, kTablePages[i]), row.bytes[i])
          << std::hex << "U+" << row.unit << " to " << std::dec << kTablePages[i];
    }
  }
}

TEST(CodePageTables, EveryHighByteComesBackThroughUnicode) {
  for (int32_t codePage : kTablePages) {
    for (int32_t byte = 0x80; byte <= 0xFF; ++byte) {
      EXPECT_EQ(FromUnicode(ToUnicode(byte, codePage), codePage), byte)
          << codePage << " byte " << std::hex << byte;
    }
  }
}

struct Difference {
  int32_t codePage;
  std::vector<int32_t> ownValue;                   // bytes that map to U+00xx of their value
  std::vector<std::pair<int32_t, int32_t>> other;  // byte -> unit
};

const std::vector<Difference>& Differences() {
  static const std::vector<Difference> kDifferences = {
      {437, {}, {}},
      {850, {}, {}},
      {852, {}, {}},
      {1250, {0x80, 0x81, 0x83, 0x88, 0x90, 0x98}, {}},
      {1251, {0x88, 0x98}, {}},
      {1252, {0x80, 0x81, 0x8D, 0x8E, 0x8F, 0x90, 0x9D, 0x9E}, {}},
      {1253,
       {0x80, 0x81, 0x88, 0x8A, 0x8C, 0x8D, 0x8E, 0x8F, 0x90, 0x98, 0x9A, 0x9C, 0x9D, 0x9E, 0x9F},
       {{0xAA, 0xF8F9}, {0xD2, 0xF8FA}, {0xFF, 0xF8FB}}},
      {1254, {0x80, 0x81, 0x8D, 0x8E, 0x8F, 0x90, 0x9D, 0x9E}, {}},
  };
  return kDifferences;
}

bool IsDifference(const Difference& difference, int32_t byte) {
  for (int32_t own : difference.ownValue) {
    if (own == byte) return true;
  }
  for (const auto& other : difference.other) {
    if (other.first == byte) return true;
  }
  return false;
}

TEST(CodePageTables, DifferencesFromThePublishedMappings) {
  for (const Difference& difference : Differences()) {
    for (int32_t byte : difference.ownValue) {
      EXPECT_EQ(ToUnicode(byte, difference.codePage), byte) << difference.codePage;
    }
    for (auto [byte, unit] : difference.other) {
      EXPECT_EQ(ToUnicode(byte, difference.codePage), unit) << difference.codePage;
    }
  }
}

// glibc's iconv, through the platform layer, is an independent reading of
// the published mappings.
TEST(CodePageTables, AgreeWithIconvExceptForTheDifferences) {
  for (const Difference& difference : Differences()) {
    for (int32_t byte = 1; byte <= 0xFF; ++byte) {
      if (IsDifference(difference, byte)) continue;
      WCHAR unit = 0;
      ASSERT_TRUE(cadserv::platform::ConvertByteToUnit(difference.codePage, byte, &unit))
          << difference.codePage << " byte " << std::hex << byte;
      EXPECT_EQ(ToUnicode(byte, difference.codePage), unit)
          << difference.codePage << " byte " << std::hex << byte;
    }
  }
}

TEST(CodePageTables, GeneralPunctuationSpacesAndHyphens) {
  for (int32_t codePage : kTablePages) {
    bool latin = codePage != 1251 && codePage != 1253;
    for (int32_t unit = 0x2000; unit <= 0x2006; ++unit) {
      EXPECT_EQ(FromUnicode(unit, codePage), latin ? ' ' : '?') << codePage << " " << unit;
    }
    for (int32_t unit : {0x2010, 0x2011}) {
      EXPECT_EQ(FromUnicode(unit, codePage), latin ? '-' : '?') << codePage << " " << unit;
    }
  }
}

TEST(CodePageTables, PureAsciiSpellsLatinLettersWithoutAccents) {
  const std::string expected =
      std::string(0x40, '?') + "AAAAAA?CEEEEIIII?NOOOOO?OUUUUY??aaaaaa?ceeeeiiii?nooooo?ouuuuy?y" +
      "??AaAaCc????CcDdDd??????EeEe??Gg????????????????I????????Ll??Ll??LlNn??Nn???????Oo??Rr??Rr"
      "Ss??SsSsTtTt????????UuUu??????YZzZzZz?";
  ASSERT_EQ(expected.size(), 0x100u);
  for (int32_t unit = 0x80; unit < 0x180; ++unit) {
    EXPECT_EQ(FromUnicode(unit, SERV_CP_PURE_ASCII), expected[unit - 0x80]) << std::hex << unit;
  }
  // Every other block is "?".
  const uint8_t* table = cadserv::text::FromUnicodeTable(SERV_CP_PURE_ASCII);
  for (int index = 0x100; index < cadserv::text::kFromUnicodeEntries; ++index) {
    EXPECT_EQ(table[index], '?') << index;
  }
}

TEST(CodePageTables, BlocksCoverTheirRangesOnly) {
  // First and last unit of each covered range, at "unit - offset".
  struct Range {
    uint32_t first, last;
    int offset;
  };
  for (Range range :
       {Range{0x80, 0x1FF, 0x80}, Range{0x280, 0x2FF, 0x100}, Range{0x380, 0x4FF, 0x180},
        Range{0x2000, 0x217F, 0x1C80}, Range{0x2200, 0x227F, 0x1D00}, Range{0x2300, 0x237F, 0x1D80},
        Range{0x2500, 0x25FF, 0x1F00}, Range{0xF880, 0xF8FF, 0xF180}}) {
    EXPECT_EQ(cadserv::text::FromUnicodeIndex(range.first), int(range.first) - range.offset);
    EXPECT_EQ(cadserv::text::FromUnicodeIndex(range.last), int(range.last) - range.offset);
  }
  // Units just outside: "?" in every table, whatever a look-alike might be.
  for (int32_t unit : {0x200, 0x27F, 0x300, 0x37F, 0x500, 0x1FFF, 0x2180, 0x2190, 0x21FF, 0x2280,
                       0x22FF, 0x2380, 0x24FF, 0x2600, 0xF87F, 0xF900, 0xFFFF}) {
    for (int32_t codePage : kTablePages) EXPECT_EQ(FromUnicode(unit, codePage), '?') << unit;
    EXPECT_EQ(FromUnicode(unit, SERV_CP_PURE_ASCII), '?') << unit;
  }
}

// ---------------------------------------------------------------------------
// One character

TEST(CodePageConvert, LowAndNegativeCharactersPassUnchanged) {
  const int32_t pages[] = {
      437, 1250, 1253, SERV_CP_PURE_ASCII, kUnicode, CP_SYMBOL, SERV_CP_DEFAULT, 866};
  for (int32_t from : pages) {
    for (int32_t to : pages) {
      for (int32_t c : {0, 1, 0x1F, 0x20, 0x41, 0x7F, -1, -0x7F, -0x80, -0x1000}) {
        EXPECT_EQ(SERV_CodePageConvert(c, from, to), c) << c << " " << from << "->" << to;
      }
    }
  }
}

TEST(CodePageConvert, BetweenTableCodePages) {
  EXPECT_EQ(SERV_CodePageConvert(0x8E, 437, 1252), 0xC4);  // A with diaeresis
  EXPECT_EQ(SERV_CodePageConvert(0xC4, 437, 1252), '-');   // box light horizontal
  EXPECT_EQ(SERV_CodePageConvert(0x8A, 1250, 437), 'S');   // S with caron
  EXPECT_EQ(SERV_CodePageConvert(0x8A, 1250, SERV_CP_PURE_ASCII), 'S');
  EXPECT_EQ(SERV_CodePageConvert(0xE9, 1250, SERV_CP_PURE_ASCII), 'e');
}

TEST(CodePageConvert, CharactersAboveAByteFromATableCodePageGiveQuestionMark) {
  for (int32_t codePage : kTablePages) {
    EXPECT_EQ(SERV_CodePageConvert(0x100, codePage, kUnicode), '?');
    EXPECT_EQ(SERV_CodePageConvert(0x20AC, codePage, SERV_CP_PURE_ASCII), '?');
  }
}

TEST(CodePageConvert, PureAsciiAsSourceDropsTheTopBit) {
  EXPECT_EQ(ToUnicode(0xC9, SERV_CP_PURE_ASCII), 'I');
  EXPECT_EQ(ToUnicode(0x85, SERV_CP_PURE_ASCII), '?');  // 0x05 is a control
  EXPECT_EQ(ToUnicode(0xA0, SERV_CP_PURE_ASCII), ' ');
  EXPECT_EQ(ToUnicode(0x9F, SERV_CP_PURE_ASCII), '?');
}

TEST(CodePageConvert, SymbolUsesThePrivateUseArea) {
  EXPECT_EQ(ToUnicode(0xE0, CP_SYMBOL), 0xF0E0);
  EXPECT_EQ(FromUnicode(0xF0E0, CP_SYMBOL), 0xE0);
  EXPECT_EQ(FromUnicode(0x0160, CP_SYMBOL), 0x60);  // low 8 bits
}

TEST(CodePageConvert, EuroSignIsQuestionMarkInEveryTable) {
  for (int32_t codePage : kTablePages) EXPECT_EQ(FromUnicode(0x20AC, codePage), '?') << codePage;
  EXPECT_EQ(FromUnicode(0x20AC, SERV_CP_PURE_ASCII), '?');
  EXPECT_EQ(FromUnicode(0x20AC, SERV_CP_DEFAULT), '?');
}

TEST(CodePageConvert, EqualCodePagesReturnTheCharacterAsItIs) {
  EXPECT_EQ(SERV_CodePageConvert(0x1234, 1252, 1252), 0x1234);
  EXPECT_EQ(SERV_CodePageConvert(0x2500, kUnicode, kUnicode), 0x2500);
  EXPECT_EQ(SERV_CodePageConvert(0x80, SERV_CP_DEFAULT, SERV_CP_DEFAULT), 0x80);
}

TEST(CodePageConvert, CodePageWithoutATableConvertsThroughThePlatform) {
  EXPECT_EQ(ToUnicode(0x80, 866), 0x0410);  // Cyrillic A
  EXPECT_EQ(SERV_CodePageConvert(0x80, 866, 1251), 0xC0);
  EXPECT_EQ(SERV_CodePageConvert(0x80, 866, 1252), '?');
  EXPECT_EQ(SERV_CodePageConvert(0xFF, 866, 1252), 0xA0);  // no-break space
  // A code page the platform does not know: the byte is taken as the unit.
  EXPECT_EQ(ToUnicode(0xE9, 12345), 0xE9);
}

TEST(CodePageConvert, OtherTargetsKeepLatin1AndSpellTheRestAs1250) {
  EXPECT_EQ(SERV_CodePageConvert(0xE9, 1252, 866), 0xE9);
  EXPECT_EQ(SERV_CodePageConvert(0x8A, 1252, 866), 0x8A);    // S with caron in 1250
  EXPECT_EQ(SERV_CodePageConvert(0xC0, 1251, 866), '?');     // Cyrillic A
  EXPECT_EQ(SERV_CodePageConvert(0x96, 1252, 12345), 0x96);  // en dash
}

TEST_F(CodePageConvertDefault, TargetUsesThe1250TableWhateverTheAnsiCodePage) {
  for (int32_t ansi : {1250, 1251, 1252, 1253, 866, 932}) {
    SetAnsiCodePageForTesting(ansi);
    EXPECT_EQ(FromUnicode(0x00E9, SERV_CP_DEFAULT), 0xE9) << ansi;
    EXPECT_EQ(FromUnicode(0x0160, SERV_CP_DEFAULT), 0x8A) << ansi;
  }
}

TEST_F(CodePageConvertDefault, SourceIsTheAnsiCodePage) {
  SetAnsiCodePageForTesting(1251);
  EXPECT_EQ(ToUnicode(0xC0, SERV_CP_DEFAULT), 0x0410);
  SetAnsiCodePageForTesting(1252);
  EXPECT_EQ(ToUnicode(0xC0, SERV_CP_DEFAULT), 0x00C0);
  SetAnsiCodePageForTesting(866);
  EXPECT_EQ(ToUnicode(0x80, SERV_CP_DEFAULT), 0x0410);
  // Resolved after the test for equal code pages: 866 to 866 as the target
  // without a table spells Cyrillic A as "?".
  EXPECT_EQ(SERV_CodePageConvert(0x80, SERV_CP_DEFAULT, 866), '?');
}

// ---------------------------------------------------------------------------
// Strings

std::string Converted(std::string text, int32_t from, int32_t to) {
  EXPECT_EQ(SERV_CodePageConvertStr(text.data(), from, to), 0);
  return text;
}

TEST_F(CodePageConvertStr, EqualCodePagesLeaveTheStringAlone) {
  char text[] = "\x8E\xC4";
  EXPECT_EQ(SERV_CodePageConvertStr(text, 437, 437), 0);
  EXPECT_STREQ(text, "\x8E\xC4");
  EXPECT_EQ(SERV_CodePageConvertStr(nullptr, 1252, 1252), 0);
}

TEST_F(CodePageConvertStr, NullStringFails) {
  EXPECT_EQ(SERV_CodePageConvertStr(nullptr, 437, 1252), -1);
}

TEST_F(CodePageConvertStr, EmptyStringSucceeds) {
  char text[] = "";
  EXPECT_EQ(SERV_CodePageConvertStr(text, 437, 1252), 0);
}

TEST_F(CodePageConvertStr, ConvertsUpToTheTerminatorOnly) {
  EXPECT_EQ(Converted(std::string("\x8E\xC4x\0\x8E", 5), 437, 1252),
            std::string("\xC4-x\0\x8E", 5));
}

// 437's 0xC4 is U+2500, whose low byte is 0: the string still ends where it
// ended before, on the short and on the long path.
TEST_F(CodePageConvertStr, ByteConvertedToZeroDoesNotEndTheString) {
  for (size_t repeat : {size_t{1}, cadserv::text::kByteMapMinLength}) {
    std::string text;
    std::string expected;
    for (size_t i = 0; i < repeat; ++i) {
      text += "\xC4\x8E";
      expected += std::string("\0\xC4", 2);
    }
    EXPECT_EQ(Converted(text, 437, kUnicode), expected) << repeat;
  }
}

TEST_F(CodePageConvertStr, SourceDefaultIsTheAnsiCodePage) {
  SetAnsiCodePageForTesting(1251);
  EXPECT_EQ(Converted("\xC0\xE9", SERV_CP_DEFAULT, 1252), "??");
  SetAnsiCodePageForTesting(1252);
  EXPECT_EQ(Converted("\xC0\xE9", SERV_CP_DEFAULT, 1251), "Ae");  // accents dropped
}

// Every pair, every non-zero byte: the string path (long strings go through
// byte maps) gives exactly what converting byte by byte gives.
void ExpectStringPathMatchesCharacters(const std::vector<int32_t>& pages) {
  for (int32_t from : pages) {
    for (int32_t to : pages) {
      std::string text;
      while (text.size() < 2 * cadserv::text::kByteMapMinLength) {
        for (int byte = 1; byte <= 0xFF; ++byte) text += static_cast<char>(byte);
      }
      for (size_t length : {size_t{255}, text.size()}) {
        std::string expected = text.substr(0, length);
        if (from != to) {
          for (char& c : expected) {
            c = static_cast<char>(SERV_CodePageConvert(static_cast<unsigned char>(c), from, to));
          }
        }
        ASSERT_EQ(Converted(text.substr(0, length), from, to), expected)
            << from << "->" << to << " length " << length;
      }
    }
  }
}

const std::vector<int32_t> kAllKinds = {437,
                                        850,
                                        852,
                                        1250,
                                        1251,
                                        1252,
                                        1253,
                                        1254,
                                        866,
                                        kUnicode,
                                        SERV_CP_DEFAULT,
                                        CP_SYMBOL,
                                        SERV_CP_PURE_ASCII};

TEST_F(CodePageConvertStr, StringPathMatchesCharacterPathForEveryPair) {
  for (int32_t ansi : {1252, 1251, 866}) {
    SetAnsiCodePageForTesting(ansi);
    ExpectStringPathMatchesCharacters(kAllKinds);
  }
}

TEST_F(CodePageConvertStr, ThreadsConvertingAtOnceAgree) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] { ExpectStringPathMatchesCharacters({437, 1250, 852, kUnicode}); });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
