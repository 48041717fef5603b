// Whole-string conversion between code pages and UTF-16, and the blank
// tests: SERV_StrToWideStr, SERV_WideStrToStr, SERV_hasPrintableCharacters(W).
#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include "cadserv/cadserv.h"
#include "support/code_page_scope.h"

namespace {

using cadserv_test::AnsiCodePage;
using cadserv_test::Guarded;
using cadserv_test::kByteSentinel;
using cadserv_test::kUnitSentinel;
using cadserv_test::UnknownCodePage;

// Sample text with its bytes in each double-byte code page (the bytes come
// from Python's codecs, not from the converter under test).
struct Sample {
  uint32_t codePage;
  const char* bytes;
  std::u16string text;
};
const Sample kSamples[] = {
    {932, "\x93\xFA\x96\x7B\x8C\xEA\x82\xCC\x83\x65\x83\x4C\x83\x58\x83\x67", u"日本語のテキスト"},
    {936, "\xD6\xD0\xCE\xC4\xCE\xC4\xB1\xBE", u"中文文本"},
    {950, "\xA4\xA4\xA4\xE5\xA6\x72\xAB\xAC", u"中文字型"},
    {949, "\xC7\xD1\xB1\xB9\xBE\xEE", u"한국어"},
};

std::u16string Units(const char16_t* text, size_t count) {
  return std::u16string(text, count);
}

// A buffer for an in-place conversion of `bytes`: 2 x (length + 1) bytes
// that a call may use, then guard bytes.
Guarded<char> InPlaceBuffer(const std::string& bytes) {
  Guarded<char> buffer(2 * (bytes.size() + 1), kByteSentinel);
  memcpy(buffer.data(), bytes.c_str(), bytes.size() + 1);
  return buffer;
}

const char16_t* AsUnits(Guarded<char>& buffer) {
  return reinterpret_cast<const char16_t*>(buffer.data());
}

TEST(StrToWideStr, NullSourceReturnsZeroAndWritesNothing) {
  Guarded<char16_t> out(4, kUnitSentinel);
  EXPECT_EQ(SERV_StrToWideStr(nullptr, out.data(), 1252), 0);
  EXPECT_EQ(SERV_StrToWideStr(nullptr, nullptr, 932), 0);
  EXPECT_TRUE(out.Untouched());
}

TEST(StrToWideStr, KnownCodePageIntoAnotherBufferCountsTheTerminator) {
  Guarded<char16_t> out(4, kUnitSentinel);
  EXPECT_EQ(SERV_StrToWideStr("abc", out.data(), 1252), 4);
  EXPECT_EQ(Units(out.data(), 4), Units(u"abc", 4));
  EXPECT_TRUE(out.GuardIntact());
}

TEST(StrToWideStr, SizeQueryCountsUnitsOnlyForTheCjkCodePagesThatAskThePlatform) {
  EXPECT_EQ(SERV_StrToWideStr("abc", nullptr, 1252), 3);
  EXPECT_EQ(SERV_StrToWideStr("", nullptr, 1252), 0);
  EXPECT_EQ(SERV_StrToWideStr("abc", nullptr, SERV_CP_PURE_ASCII), 3);
  for (const Sample& sample : kSamples) {
    int32_t expected = sample.codePage == 949 ? static_cast<int32_t>(strlen(sample.bytes))
                                              : static_cast<int32_t>(sample.text.size());
    EXPECT_EQ(SERV_StrToWideStr(sample.bytes, nullptr, sample.codePage), expected)
        << sample.codePage;
  }
  // The platform's count of an empty string is its failure: 0.
  EXPECT_EQ(SERV_StrToWideStr("", nullptr, 932), 0);
  UnknownCodePage hidden(932);
  EXPECT_EQ(SERV_StrToWideStr(kSamples[0].bytes, nullptr, 932), 0);
}

TEST(StrToWideStr, DoubleByteSamplesConvertAndComeBack) {
  for (const Sample& sample : kSamples) {
    SCOPED_TRACE(sample.codePage);
    size_t length = strlen(sample.bytes);
    Guarded<char16_t> wide(length + 1, kUnitSentinel);
    ASSERT_EQ(SERV_StrToWideStr(sample.bytes, wide.data(), sample.codePage),
              static_cast<int32_t>(sample.text.size() + 1));
    EXPECT_EQ(std::u16string(wide.data()), sample.text);
    EXPECT_TRUE(wide.GuardIntact());

    Guarded<char> back(2 * (sample.text.size() + 1), kByteSentinel);
    ASSERT_EQ(SERV_WideStrToStr(wide.data(), back.data(), sample.codePage),
              static_cast<int32_t>(length + 1));
    EXPECT_STREQ(back.data(), sample.bytes);
    EXPECT_TRUE(back.GuardIntact());

    // In place: the same units in the string's own buffer.
    Guarded<char> buffer = InPlaceBuffer(sample.bytes);
    EXPECT_EQ(
        SERV_StrToWideStr(buffer.data(), reinterpret_cast<WCHAR*>(buffer.data()), sample.codePage),
        static_cast<int32_t>(sample.text.size() + 1));
    EXPECT_EQ(std::u16string(AsUnits(buffer)), sample.text);
    EXPECT_TRUE(buffer.GuardIntact());
  }
}

TEST(StrToWideStr, InPlaceSingleByteConvertsEveryByteAndTheTerminator) {
  Guarded<char> buffer = InPlaceBuffer(
      "\x8A"
      "a");
  EXPECT_EQ(SERV_StrToWideStr(buffer.data(), reinterpret_cast<WCHAR*>(buffer.data()), 1250), 3);
  EXPECT_EQ(Units(AsUnits(buffer), 3), Units(u"\u0160a", 3));
  EXPECT_TRUE(buffer.GuardIntact());

  // Every byte of each single-byte code page: in place gives the units that
  // a conversion into another buffer gives.
  std::string all;
  for (int byte = 1; byte < 256; ++byte) all += static_cast<char>(byte);
  for (uint32_t codePage : {437u, 850u, 852u, 866u, 1250u, 1251u, 1252u, 1253u, 1254u, 1257u}) {
    SCOPED_TRACE(codePage);
    Guarded<char16_t> apart(all.size() + 1, kUnitSentinel);
    ASSERT_EQ(SERV_StrToWideStr(all.c_str(), apart.data(), codePage), 256);
    Guarded<char> inPlace = InPlaceBuffer(all);
    EXPECT_EQ(SERV_StrToWideStr(inPlace.data(), reinterpret_cast<WCHAR*>(inPlace.data()), codePage),
              256);
    EXPECT_EQ(Units(AsUnits(inPlace), 256), Units(apart.data(), 256));
    EXPECT_TRUE(inPlace.GuardIntact());
  }
}

TEST(StrToWideStr, AnsiCodePageZeroFollowsTheProcess) {
  AnsiCodePage ansi(1250);
  Guarded<char16_t> out(3, kUnitSentinel);
  EXPECT_EQ(SERV_StrToWideStr("\x8A"
                              "a",
                              out.data(), 0),
            3);
  EXPECT_EQ(Units(out.data(), 3), Units(u"\u0160a", 3));
}

TEST(StrToWideStr, Utf8IsRetriedWithoutPrecomposedIntoAnotherBuffer) {
  // The platform refuses MB_PRECOMPOSED for UTF-8; the retry with no flags
  // converts.
  Guarded<char16_t> out(4, kUnitSentinel);
  EXPECT_EQ(SERV_StrToWideStr("\xC3\xA9"
                              "x",
                              out.data(), 65001),
            3);
  EXPECT_EQ(Units(out.data(), 3), Units(u"\u00E9x", 3));
  EXPECT_TRUE(out.GuardIntact());
  // The size query of a code page other than 932, 936 and 950 is the byte count.
  EXPECT_EQ(SERV_StrToWideStr("\xC3\xA9"
                              "x",
                              nullptr, 65001),
            3);
}

TEST(StrToWideStr, Utf8InPlaceHasNoRetryAndLeavesTheBytes) {
  // In place, a code page of more than one byte per character is converted
  // with MB_PRECOMPOSED only; UTF-8 refuses it, the result is 0 and the
  // string stays as it was.
  Guarded<char> buffer = InPlaceBuffer("\xC3\xA9");
  EXPECT_EQ(SERV_StrToWideStr(buffer.data(), reinterpret_cast<WCHAR*>(buffer.data()), 65001), 0);
  EXPECT_STREQ(buffer.data(), "\xC3\xA9");
  EXPECT_TRUE(buffer.GuardIntact());
}

TEST(StrToWideStr, BadDoubleByteInputGivesReplacementsAndKeepsTheTerminator) {
  struct Case {
    uint32_t codePage;
    const char* bytes;
    std::u16string units;
  };
  const Case cases[] = {
      {932, "\x82", u"\u30FB"},    // a lead byte before the terminator
      {932, "a\x82", u"a\u30FB"},  //
      {932, "\x82 b",
       u"\u30FB"
       u"b"},                      // an invalid trail: the pair is one
      {936, "\x81", u"\u30FB"},    //
      {950, "\xA4", u"\u30FB"},    //
      {65001, "\xC3", u"\uFFFD"},  // a cut-off UTF-8 sequence
      {65001,
       "\xFF"
       "a",
       u"\uFFFD"
       u"a"},                                          // a byte that starts nothing
      {65001, "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},  // an encoded surrogate
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.bytes) + " in " + std::to_string(c.codePage));
    size_t length = strlen(c.bytes);
    Guarded<char16_t> out(length + 1, kUnitSentinel);
    EXPECT_EQ(SERV_StrToWideStr(c.bytes, out.data(), c.codePage),
              static_cast<int32_t>(c.units.size() + 1));
    EXPECT_EQ(std::u16string(out.data()), c.units);
    EXPECT_TRUE(out.GuardIntact());
  }
}

TEST(StrToWideStr, UnknownCodePage932PacksLeadAndTrailBytes) {
  UnknownCodePage hidden(932);
  struct Case {
    const char* bytes;
    std::u16string units;
  };
  const Case cases[] = {
      {"\x82\xA0"
       "A",
       {0x82A0, 0x0041}},
      {"\xE0\x41\xEF\x40", {0xE041, 0xEF40}},
      {"\xF0\x41\x80\xA0", {0x00F0, 0x0041, 0x0080, 0x00A0}},  // not lead bytes here
      {"\x81", {0x8100}},  // a lead byte takes the terminator as trail
      {"ab\x9F", {0x0061, 0x0062, 0x9F00}},
      {"", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(std::string(c.bytes)));
    size_t length = strlen(c.bytes);
    Guarded<char16_t> out(length + 1, kUnitSentinel);
    EXPECT_EQ(SERV_StrToWideStr(c.bytes, out.data(), 932), static_cast<int32_t>(c.units.size()));
    EXPECT_EQ(Units(out.data(), c.units.size() + 1), c.units + u'\0');
    EXPECT_TRUE(out.GuardIntact());

    Guarded<char> buffer = InPlaceBuffer(c.bytes);
    EXPECT_EQ(SERV_StrToWideStr(buffer.data(), reinterpret_cast<WCHAR*>(buffer.data()), 932),
              static_cast<int32_t>(c.units.size()));
    EXPECT_EQ(Units(AsUnits(buffer), c.units.size() + 1), c.units + u'\0');
    EXPECT_TRUE(buffer.GuardIntact());
  }
}

TEST(StrToWideStr, UnknownCodePagesGoThroughTheCharacterConversion) {
  Guarded<char16_t> out(4, kUnitSentinel);
  EXPECT_EQ(SERV_StrToWideStr("abc", out.data(), SERV_CP_PURE_ASCII), 3);
  EXPECT_EQ(Units(out.data(), 4), Units(u"abc", 4));

  // Pure ASCII drops the top bit; the symbol code page moves to U+F0xx.
  Guarded<char> buffer = InPlaceBuffer("a\xC9");
  EXPECT_EQ(
      SERV_StrToWideStr(buffer.data(), reinterpret_cast<WCHAR*>(buffer.data()), SERV_CP_PURE_ASCII),
      2);
  EXPECT_EQ(Units(AsUnits(buffer), 3), Units(u"aI", 3));
  EXPECT_TRUE(buffer.GuardIntact());

  Guarded<char16_t> symbol(3, kUnitSentinel);
  EXPECT_EQ(SERV_StrToWideStr("\xE0"
                              "x",
                              symbol.data(), CP_SYMBOL),
            2);
  EXPECT_EQ(Units(symbol.data(), 3), Units(u"\uF0E0x", 3));

  // A code page the platform does not know and the library has no table
  // for: each byte keeps its value.
  UnknownCodePage hidden(866);
  Guarded<char16_t> raw(3, kUnitSentinel);
  EXPECT_EQ(SERV_StrToWideStr("\x80\xFF", raw.data(), 866), 2);
  EXPECT_EQ(Units(raw.data(), 3), Units(u"\u0080\u00FF", 3));
  EXPECT_TRUE(raw.GuardIntact());
}

TEST(StrToWideStr, UnknownTableCodePageUsesTheLibrarysTable) {
  UnknownCodePage hidden(1250);
  Guarded<char> buffer = InPlaceBuffer("\x8A\x61\x80");
  EXPECT_EQ(SERV_StrToWideStr(buffer.data(), reinterpret_cast<WCHAR*>(buffer.data()), 1250), 3);
  // The library's 1250 table has no euro sign: 0x80 keeps its value.
  EXPECT_EQ(Units(AsUnits(buffer), 4), Units(u"\u0160a\u0080", 4));
  EXPECT_TRUE(buffer.GuardIntact());
}

TEST(WideStrToStr, NullSourceAndSizeQuery) {
  Guarded<char> out(4, kByteSentinel);
  EXPECT_EQ(SERV_WideStrToStr(nullptr, out.data(), 1252), 0);
  EXPECT_TRUE(out.Untouched());
  for (uint32_t codePage : {1252u, 932u, 65001u, static_cast<uint32_t>(SERV_CP_PURE_ASCII), 4u}) {
    EXPECT_EQ(SERV_WideStrToStr(u"日本x", nullptr, codePage), 3);
    EXPECT_EQ(SERV_WideStrToStr(u"", nullptr, codePage), 0);
  }
}

TEST(WideStrToStr, KnownCodePageIntoAnotherBuffer) {
  Guarded<char> out(8, kByteSentinel);  // 2 x (3 + 1)
  EXPECT_EQ(SERV_WideStrToStr(u"abc", out.data(), 1252), 4);
  EXPECT_STREQ(out.data(), "abc");
  EXPECT_TRUE(out.GuardIntact());

  // No best fit: what the code page lacks is '?', one per unit, surrogate
  // halves included.
  Guarded<char> lacking(10, kByteSentinel);
  EXPECT_EQ(SERV_WideStrToStr(u"\u0100\U0001F600", lacking.data(), 1252), 4);
  EXPECT_STREQ(lacking.data(), "???");
}

TEST(WideStrToStr, UnitsNeedingMoreThanTwoBytesEachFailAtTheBufferLimit) {
  // UTF-8 writes three bytes for each of these units, and the platform is
  // given 2 x (units + 1) = 6 bytes: it fails and writes nothing beyond.
  Guarded<char> out(6, kByteSentinel);
  EXPECT_EQ(SERV_WideStrToStr(u"日本", out.data(), 65001), 0);
  EXPECT_TRUE(out.GuardIntact());
  Guarded<char> fits(8, kByteSentinel);
  EXPECT_EQ(SERV_WideStrToStr(u"é日", fits.data(), 65001), 6);
  EXPECT_STREQ(fits.data(), "\xC3\xA9\xE6\x97\xA5");
}

TEST(WideStrToStr, InPlaceStoresOneBytePerUnit) {
  char16_t buffer[4] = {0x0160, 0x0041, 0, kUnitSentinel};
  char* bytes = reinterpret_cast<char*>(buffer);
  EXPECT_EQ(SERV_WideStrToStr(buffer, bytes, 1250), 2);
  EXPECT_EQ(std::string(bytes, 3), std::string("\x8A\x41\0", 3));
  EXPECT_EQ(buffer[3], kUnitSentinel);

  // A character that takes two bytes in the code page has no one-byte form.
  char16_t japanese[] = u"日a本";
  bytes = reinterpret_cast<char*>(japanese);
  EXPECT_EQ(SERV_WideStrToStr(japanese, bytes, 932), 3);
  EXPECT_STREQ(bytes, "?a?");
}

TEST(WideStrToStr, UnknownCodePageGoesThroughTheCharacterConversion) {
  // Symbol: the low byte of the unit; a code page without a platform
  // converter or a table: units below 0x100 as they are.
  Guarded<char> symbol(3, kByteSentinel);
  EXPECT_EQ(SERV_WideStrToStr(u"\uF0E0x", symbol.data(), CP_SYMBOL), 2);
  EXPECT_STREQ(symbol.data(), "\xE0x");
  EXPECT_TRUE(symbol.GuardIntact());

  UnknownCodePage hidden(866);
  Guarded<char> raw(3, kByteSentinel);  // exactly units + 1 bytes
  EXPECT_EQ(SERV_WideStrToStr(u"\u00E9z", raw.data(), 866), 2);
  EXPECT_STREQ(raw.data(), "\xE9z");
  EXPECT_TRUE(raw.GuardIntact());
  // Units from U+0100 up are spelled as code page 1250 spells them.
  Guarded<char> above(3, kByteSentinel);
  EXPECT_EQ(SERV_WideStrToStr(u"\u0160\u2190", above.data(), 866), 2);
  EXPECT_STREQ(above.data(), "\x8A?");
  EXPECT_TRUE(above.GuardIntact());

  // A table code page the platform does not know: the library's table.
  UnknownCodePage hidden1250(1250);
  char16_t units[] = u"\u0160\u00E9\u20AC";
  char* bytes = reinterpret_cast<char*>(units);
  EXPECT_EQ(SERV_WideStrToStr(units, bytes, 1250), 3);
  EXPECT_STREQ(bytes, "\x8A\xE9?");  // no euro sign in the library's 1250
}

TEST(HasPrintableCharacters, SpacesAreSkippedAndAControlCharacterEndsTheSearch) {
  EXPECT_FALSE(SERV_hasPrintableCharacters(""));
  EXPECT_FALSE(SERV_hasPrintableCharacters("   "));
  EXPECT_TRUE(SERV_hasPrintableCharacters("  x"));
  EXPECT_FALSE(SERV_hasPrintableCharacters(" \tx"));
  EXPECT_FALSE(SERV_hasPrintableCharacters("\r\n"));
  EXPECT_TRUE(SERV_hasPrintableCharacters(" \xA0"));  // any byte above 0x20
  EXPECT_TRUE(SERV_hasPrintableCharacters("!"));
  EXPECT_FALSE(SERV_hasPrintableCharacters(nullptr));
  EXPECT_EQ(SERV_hasPrintableCharacters("x"), 1);
}

TEST(HasPrintableCharacters, DoubleByteAnsiCodePage) {
  AnsiCodePage ansi(932);
  EXPECT_TRUE(SERV_hasPrintableCharacters("  \x81\x40"));  // ideographic space is a character
  EXPECT_TRUE(SERV_hasPrintableCharacters(" \x82"));
  EXPECT_FALSE(SERV_hasPrintableCharacters("  "));
}

TEST(HasPrintableCharactersW, EveryUnitUpToTheBlankIsSkipped) {
  EXPECT_TRUE(SERV_hasPrintableCharactersW(u" \tx"));
  EXPECT_FALSE(SERV_hasPrintableCharactersW(u""));
  EXPECT_FALSE(SERV_hasPrintableCharactersW(u" \t\r\n\x01 "));
  EXPECT_TRUE(SERV_hasPrintableCharactersW(u"\x21"));
  EXPECT_TRUE(SERV_hasPrintableCharactersW(u"\u3000"));
  EXPECT_FALSE(SERV_hasPrintableCharactersW(nullptr));
  EXPECT_EQ(SERV_hasPrintableCharactersW(u"x"), 1);
}

}  // namespace
