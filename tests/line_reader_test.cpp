// SERV_GetLine, SERV_GetLineToW and SERV_PutLine.
//
// One table of texts and the calls' expected results, lines and stream
// positions runs on every kind of stream (see support/line_test_streams.h),
// and on the step-by-step reference reader, which the fuzz target and the
// random differential test below hold the library to.
#include <gtest/gtest.h>
#include <unistd.h>

#include <random>
#include <string>
#include <vector>

#include "cadserv/lines.h"
#include "support/code_page_scope.h"
#include "support/compound_file_tools.h"
#include "support/file_stream_helpers.h"
#include "support/line_test_streams.h"
#include "support/memory_test_stream.h"
#include "support/reference_getline.h"

namespace {

using cadserv_test::LineStreamKind;
using cadserv_test::LineStreamKinds;
using cadserv_test::MemoryTestStream;
using cadserv_test::OpenedStream;
using cadserv_test::ReferenceGetLine;

struct Call {
  int32_t result;
  std::string line;
  uint32_t position;  // of the stream after the call
};

struct LineCase {
  const char* name;
  std::string text;
  uint32_t size;
  BOOL skipEmpty;
  std::vector<Call> calls;  // the last one returns -1
};

std::string Repeat(const std::string& piece, int count) {
  std::string out;
  for (int i = 0; i < count; ++i) out += piece;
  return out;
}

const std::string kLong200 = Repeat("0123456789", 20);
const std::string kLong5000 = Repeat("abcdefghij", 500);

// Streams are written with \r, \n, \x1A (SUB) and \0 (NUL).
// clang-format off
const std::vector<LineCase> kLineCases = {
    {"CrLf", "ab\r\ncd", 64, 0, {{4, "ab", 4}, {2, "cd", 6}, {-1, "", 6}}},
    {"LfCr", "ab\n\rcd", 64, 0, {{4, "ab", 4}, {2, "cd", 6}, {-1, "", 6}}},
    {"LoneCr", "ab\rcd\r", 64, 0, {{3, "ab", 3}, {3, "cd", 6}, {-1, "", 6}}},
    {"LoneLf", "ab\ncd\n", 64, 0, {{3, "ab", 3}, {3, "cd", 6}, {-1, "", 6}}},
    {"CrCrIsTwoEnds", "ab\r\rcd", 64, 0, {{3, "ab", 3}, {1, "", 4}, {2, "cd", 6}, {-1, "", 6}}},
    {"LfLfIsTwoEnds", "ab\n\ncd", 64, 0, {{3, "ab", 3}, {1, "", 4}, {2, "cd", 6}, {-1, "", 6}}},
    {"LfCrLf", "a\n\r\nb", 64, 0, {{3, "a", 3}, {1, "", 4}, {1, "b", 5}, {-1, "", 5}}},
    {"CrLfCrLfSkipped", "\r\n\r\nab\r\n", 64, 1, {{4, "ab", 8}, {-1, "", 8}}},
    {"EmptyLinesKept", "\n\nx", 64, 0, {{1, "", 1}, {1, "", 2}, {1, "x", 3}, {-1, "", 3}}},
    {"EmptyLinesSkipped", "\n\n\nabc\ndef", 64, 1, {{4, "abc", 7}, {3, "def", 10}, {-1, "", 10}}},
    {"OnlyEmptyLinesSkipped", "\n\n", 64, 1, {{2, "", 2}, {-1, "", 2}}},
    {"SkipEmptyTestsTheLowByteOnly", "\nx", 64, 0x100, {{1, "", 1}, {1, "x", 2}, {-1, "", 2}}},
    {"SkipEmptyAnyLowBit", "\nx", 64, 0x180, {{2, "x", 2}, {-1, "", 2}}},
    {"ManyEmptyLinesSkipped", Repeat("\n", 100) + "abc\n", 4096, 1, {{4, "abc", 104}, {-1, "", 104}}},
    {"EmptyLinesFillTheWindow", Repeat("\n", 10) + "abc\n", 8, 1, {{7, "", 7}, {4, "abc", 14}, {-1, "", 14}}},
    {"NoFinalLineEnd", "abc", 64, 0, {{3, "abc", 3}, {-1, "", 3}}},
    {"EmptyStream", "", 64, 0, {{-1, "", 0}}},
    {"SubEndsTheText", "abc\x1Axyz", 64, 0, {{3, "abc", 3}, {-1, "", 7}}},
    {"SubFirstConsumesTheRead", "\x1A" "abc", 64, 0, {{-1, "", 4}, {-1, "", 4}}},
    {"SubFirstSmallWindow", "\x1A" "abcdef", 3, 0, {{-1, "", 2}, {2, "bc", 4}, {2, "de", 6}, {1, "f", 7}, {-1, "", 7}}},
    {"SubInsideLine", "ab\x1A" "cd\n", 64, 0, {{2, "ab", 2}, {-1, "", 6}}},
    {"SubAfterLineEnd", "ab\n\x1A", 64, 0, {{3, "ab", 3}, {-1, "", 4}}},
    {"SubAfterEmptyLinesSkipped", "\n\n\x1A", 64, 1, {{2, "", 2}, {-1, "", 3}}},
    {"SubRightAfterEmptyLine", "\n\x1A", 64, 0, {{1, "", 1}, {-1, "", 2}}},
    {"NulConsumesTheRead", std::string("ab\0cd\n", 6), 64, 0, {{6, "ab", 6}, {-1, "", 6}}},
    {"NulAfterLineEnd", std::string("ab\n\0cd", 6), 64, 0, {{3, "ab", 3}, {3, "", 6}, {-1, "", 6}}},
    {"NulAfterEmptyLineSkipped", std::string("\n\0abc", 5), 64, 1, {{5, "", 5}, {-1, "", 5}}},
    {"NulWindowIsBounded", std::string("a\0bcdef", 7), 4, 0, {{3, "a", 3}, {3, "cde", 6}, {1, "f", 7}, {-1, "", 7}}},
    {"LongLineInPieces", "abcdefg\n", 4, 0, {{3, "abc", 3}, {3, "def", 6}, {2, "g", 8}, {-1, "", 8}}},
    {"LineFillsTheWindow", "abc\ndef", 4, 0, {{3, "abc", 3}, {1, "", 4}, {3, "def", 7}, {-1, "", 7}}},
    {"TerminatorEndsTheWindow", "abc\ndef", 5, 0, {{4, "abc", 4}, {3, "def", 7}, {-1, "", 7}}},
    {"CrLfSplitByTheWindow", "ab\r\nx", 4, 0, {{3, "ab", 3}, {1, "", 4}, {1, "x", 5}, {-1, "", 5}}},
    {"CrLfSplitByTheWindowSkipped", "ab\r\nx", 4, 1, {{3, "ab", 3}, {2, "x", 5}, {-1, "", 5}}},
    {"SizeOneReadsNothing", "abc\n", 1, 0, {{-1, "", 0}}},
    {"SizeTwo", "ab\r\n", 2, 0, {{1, "a", 1}, {1, "b", 2}, {1, "", 3}, {1, "", 4}, {-1, "", 4}}},
    // Texts of 16 bytes and more take the reader's one-block path.
    {"DxfCrLf", "  0\r\nSECTION\r\n  2\r\nENTITIES\r\n", 256, 0, {{5, "  0", 5}, {9, "SECTION", 14}, {5, "  2", 19}, {10, "ENTITIES", 29}, {-1, "", 29}}},
    {"BlockLfCr", "abc\n\rdefghijklmnopqrst", 256, 0, {{5, "abc", 5}, {17, "defghijklmnopqrst", 22}, {-1, "", 22}}},
    {"BlockLoneCr", "abc\rdefghijklmnopqrstu", 256, 0, {{4, "abc", 4}, {18, "defghijklmnopqrstu", 22}, {-1, "", 22}}},
    {"BlockCrCr", "abc\r\rdefghijklmnopqrstu", 256, 0, {{4, "abc", 4}, {1, "", 5}, {18, "defghijklmnopqrstu", 23}, {-1, "", 23}}},
    {"EndOnLastByteOfBlock", "abcdefghijklmno\r\nxyz", 256, 0, {{17, "abcdefghijklmno", 17}, {3, "xyz", 20}, {-1, "", 20}}},
    {"NulInBlock", std::string("ab\0cdefghijklmnopqrstuvwxyz\n", 28), 64, 0, {{28, "ab", 28}, {-1, "", 28}}},
    {"SubInBlock", "ab\x1A" "cdefghijklmnopqrstuvwxyz", 64, 0, {{2, "ab", 2}, {-1, "", 27}}},
    {"EmptyLineFirstInBlockSkipped", "\nabcdefghijklmnopqrstuvwxyz\n", 64, 1, {{27, "abcdefghijklmnopqrstuvwxyz", 28}, {-1, "", 28}}},
    {"EmptyLineFirstInBlockKept", "\nabcdefghijklmnopqrstuvwxyz\n", 64, 0, {{1, "", 1}, {27, "abcdefghijklmnopqrstuvwxyz", 28}, {-1, "", 28}}},
    {"LineLongerThanFirstPieces", kLong200 + "\r\nx", 4096, 0, {{202, kLong200, 202}, {1, "x", 203}, {-1, "", 203}}},
    {"LineLongerThanTheBuffer", kLong5000 + "\n", 4096, 0, {{4095, kLong5000.substr(0, 4095), 4095}, {906, kLong5000.substr(4095), 5001}, {-1, "", 5001}}},
};
// clang-format on

void PrintTo(const LineCase& c, std::ostream* out) {
  *out << c.name;
}

// Runs a case's calls with `getLine`, checking results, lines and positions.
template <typename GetLine>
void RunCalls(const LineCase& c, IServStream* stream, GetLine getLine) {
  std::vector<char> buffer(c.size + 8);
  for (size_t i = 0; i < c.calls.size(); ++i) {
    SCOPED_TRACE("call " + std::to_string(i + 1));
    memset(buffer.data(), 'Z', buffer.size());
    int32_t result = getLine(stream, buffer.data(), c.size, c.skipEmpty);
    EXPECT_EQ(result, c.calls[i].result);
    EXPECT_EQ(std::string(buffer.data()), c.calls[i].line);
    EXPECT_EQ(cadserv_test::StreamPosition(stream), c.calls[i].position);
    // Nothing is written past the buffer's size.
    for (size_t j = c.size; j < buffer.size(); ++j) ASSERT_EQ(buffer[j], 'Z') << "byte " << j;
  }
}

class GetLineTable : public testing::TestWithParam<std::tuple<LineStreamKind, LineCase>> {};

TEST_P(GetLineTable, ResultsLinesAndPositions) {
  const auto& [kind, c] = GetParam();
  OpenedStream stream = kind.open(c.text);
  ASSERT_NE(stream.get(), nullptr);
  RunCalls(c, stream.get(), SERV_GetLine);
}

INSTANTIATE_TEST_SUITE_P(AllStreams, GetLineTable,
                         testing::Combine(testing::ValuesIn(LineStreamKinds()),
                                          testing::ValuesIn(kLineCases)),
                         [](const testing::TestParamInfo<GetLineTable::ParamType>& info) {
                           return std::string(std::get<0>(info.param).name) + "_" +
                                  std::get<1>(info.param).name;
                         });

// The yardstick itself answers the table.
TEST(ReferenceGetLine, AnswersTheTable) {
  for (const LineCase& c : kLineCases) {
    SCOPED_TRACE(c.name);
    MemoryTestStream stream(c.text);
    RunCalls(c, &stream, ReferenceGetLine);
  }
}

TEST(GetLine, FailingReadGivesMinusOneAndAnEmptyLine) {
  for (bool view : {false, true}) {
    MemoryTestStream stream("abc\n", view);
    stream.failRead = true;
    char buffer[16];
    memset(buffer, 'Z', sizeof buffer);
    EXPECT_EQ(SERV_GetLine(&stream, buffer, sizeof buffer, 0), -1);
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(stream.position(), 0u);
  }
}

// With Seek failing, the stream stays after everything the one read of
// size - 1 bytes takes; results and lines are as with a working Seek.
TEST(GetLine, FailingSeekLeavesTheStreamAfterTheWholeRead) {
  struct Case {
    std::string text;
    uint32_t size;
    BOOL skipEmpty;
    std::vector<Call> calls;
  };
  const Case cases[] = {
      {"ab\ncd\n", 64, 0, {{3, "ab", 6}, {-1, "", 6}}},
      {"ab\x1A"
       "cd",
       64,
       0,
       {{2, "ab", 5}, {-1, "", 5}}},
      {"\n\nab\ncd\n", 64, 1, {{3, "ab", 8}, {-1, "", 8}}},
      {kLong200 + "\nabc", 4096, 0, {{201, kLong200, 204}, {-1, "", 204}}},
      {"ab\ncdefghijklmnopqrstuvwxyz\n", 64, 0, {{3, "ab", 28}, {-1, "", 28}}},
  };
  for (const Case& c : cases) {
    for (bool view : {false, true}) {
      MemoryTestStream stream(c.text, view);
      stream.failSeek = true;
      LineCase asTable{"", c.text, c.size, c.skipEmpty, c.calls};
      RunCalls(asTable, &stream, SERV_GetLine);
      MemoryTestStream reference(c.text, view);
      reference.failSeek = true;
      RunCalls(asTable, &reference, ReferenceGetLine);
    }
  }
}

TEST(GetLine, SizeZeroTouchesNothing) {
  MemoryTestStream stream("abc\n");
  char buffer[4] = {'Z', 'Z', 'Z', 'Z'};
  EXPECT_EQ(SERV_GetLine(&stream, buffer, 0, 0), -1);
  EXPECT_EQ(buffer[0], 'Z');
  EXPECT_EQ(stream.reads, 0u);
  EXPECT_EQ(stream.position(), 0u);
}

TEST(GetLine, NullStreamGivesMinusOne) {
  char buffer[8] = "xyz";
  EXPECT_EQ(SERV_GetLine(nullptr, buffer, sizeof buffer, 0), -1);
  EXPECT_EQ(buffer[0], '\0');
  EXPECT_EQ(SERV_GetLine(nullptr, nullptr, 8, 0), -1);
}

// The cost follows the line: a short line copies far less than the buffer.
TEST(GetLine, ReadsLittleMoreThanTheLine) {
  MemoryTestStream stream("  0\r\nSECTION\r\n" + std::string(8000, 'x'));
  std::vector<char> buffer(4096);
  EXPECT_EQ(SERV_GetLine(&stream, buffer.data(), 4096, 0), 5);
  EXPECT_LE(stream.bytesRead, 128u);
}

// Random texts from the bytes that matter, random buffer sizes, seek
// failures and views: the library and the reference agree call by call.
TEST(GetLine, AgreesWithTheReferenceOnRandomTexts) {
  std::mt19937 random(20240611);
  // Stop bytes first: drawing from a prefix of the alphabet makes lines
  // shorter or longer.
  const char alphabet[] = {'\r', '\n', '\0', '\x1A', 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
  for (int round = 0; round < 3000; ++round) {
    std::string text(random() % 120, ' ');
    size_t rare = random() % 2 == 0 ? 2 : 0;  // NUL and SUB in half the texts
    for (char& c : text) {
      size_t i = random() % 12;
      c = alphabet[i == 2 || i == 3 ? (rare ? i : 4) : i];
    }
    bool view = random() % 2 == 0;
    MemoryTestStream fast(text, view), slow(text, view);
    for (int call = 0; call < 200; ++call) {
      uint32_t size = 1 + random() % (random() % 2 == 0 ? 12 : 80);
      BOOL skipEmpty = random() % 2;
      fast.failSeek = slow.failSeek = random() % 8 == 0;
      std::vector<char> a(size, 'A'), b(size, 'B');
      int32_t ra = SERV_GetLine(&fast, a.data(), size, skipEmpty);
      int32_t rb = ReferenceGetLine(&slow, b.data(), size, skipEmpty);
      ASSERT_EQ(ra, rb) << "round " << round << " call " << call;
      ASSERT_STREQ(a.data(), b.data()) << "round " << round << " call " << call;
      ASSERT_EQ(fast.position(), slow.position()) << "round " << round << " call " << call;
      if (ra == -1 && fast.position() == text.size()) break;
    }
  }
}

uint32_t PositionOf(IServStream* stream) {
  uint32_t position = 0;
  stream->Seek(0, SERV_SEEK_CUR, &position);
  return position;
}

// The library reads its own mapped files in place in the common case:
// the answers must still be the reference's, call by call, on texts of
// short lines, long lines and the rare bytes.
TEST(GetLine, AgreesWithTheReferenceOnMappedFiles) {
  std::mt19937 random(20261123);
  const char* const kPieces[] = {"\r\n",      "\n",         "\r",
                                 "\n\r",      "  0",        "LINE",
                                 "12.500000", "AcDbEntity", "a-much-longer-value-than-one-block",
                                 "\0",        "\x1A",       ""};
  cadserv_test::TempDir dir;
  for (int round = 0; round < 200; ++round) {
    std::string text;
    bool rare = round % 4 == 0;
    while (text.size() < 20 + random() % 400) {
      size_t piece = random() % (rare ? 11 : 9);
      text += piece == 9 ? std::string(1, '\0') : std::string(kPieces[piece]);
    }
    std::string path = dir.Write("round.dxf", text.data(), text.size());
    cadserv_test::StreamRef file;
    ASSERT_EQ(cadserv_test::OpenStream(path, SERV_MODE_READ, &file), SERV_OK);
    ASSERT_NE(file->GetBuffer(), nullptr) << "a file opened for reading is mapped";
    MemoryTestStream slow(text, false);
    for (int call = 0; call < 400; ++call) {
      uint32_t size = 1 + random() % (random() % 4 == 0 ? 16 : 300);
      BOOL skipEmpty = random() % 3 == 0;
      std::vector<char> a(size, 'A'), b(size, 'B');
      int32_t ra = SERV_GetLine(file.get(), a.data(), size, skipEmpty);
      int32_t rb = ReferenceGetLine(&slow, b.data(), size, skipEmpty);
      ASSERT_EQ(ra, rb) << "round " << round << " call " << call;
      ASSERT_STREQ(a.data(), b.data()) << "round " << round << " call " << call;
      ASSERT_EQ(PositionOf(file.get()), slow.position()) << "round " << round << " call " << call;
      if (ra == -1 && slow.position() == text.size()) break;
    }
  }
}

// A mapped file cut short under the stream: the lines before the cut read
// as they are, and where a read reaches the missing pages the call fails
// (-1, an empty line) instead of ending the process.
TEST(GetLine, AMappedFileCutShortFailsAtTheCut) {
  cadserv_test::TempDir dir;
  std::string text;
  while (text.size() < 3 * 4096) text += " 10\r\n";
  std::string path = dir.Write("cut.dxf", text.data(), text.size());
  cadserv_test::StreamRef file;
  ASSERT_EQ(cadserv_test::OpenStream(path, SERV_MODE_READ, &file), SERV_OK);
  ASSERT_EQ(truncate(path.c_str(), 4096), 0);
  char buffer[256];
  int lines = 0;
  int32_t result;
  while ((result = SERV_GetLine(file.get(), buffer, sizeof buffer, 0)) != -1) {
    ASSERT_EQ(result, 5);
    ASSERT_STREQ(buffer, " 10");
    ++lines;
  }
  EXPECT_STREQ(buffer, "");
  EXPECT_LE(PositionOf(file.get()), 4096u);
  // Every line that ends before the cut with a block of bytes to spare.
  EXPECT_GE(lines, (4096 - 32) / 5);
  EXPECT_EQ(SERV_GetLine(file.get(), buffer, sizeof buffer, 0), -1);
}

TEST(GetLineToW, WidensTheLineFromTheAnsiCodePage) {
  cadserv_test::AnsiCodePage ansi(1252);
  MemoryTestStream stream(
      "\x80"
      "ab\r\ncd");
  WCHAR buffer[16];
  EXPECT_EQ(SERV_GetLineToW(&stream, reinterpret_cast<char*>(buffer), 16, 0), 5);
  EXPECT_EQ(std::u16string(buffer), u"\u20ACab");
  EXPECT_EQ(stream.position(), 5u);
  EXPECT_EQ(SERV_GetLineToW(&stream, reinterpret_cast<char*>(buffer), 16, 0), 2);
  EXPECT_EQ(std::u16string(buffer), u"cd");
  // At the end the buffer still becomes an (empty) UTF-16 string.
  buffer[0] = buffer[1] = u'Z';
  EXPECT_EQ(SERV_GetLineToW(&stream, reinterpret_cast<char*>(buffer), 16, 0), -1);
  EXPECT_EQ(buffer[0], 0);
}

TEST(GetLineToW, CountsStreamBytesAndSkipsEmptyLines) {
  cadserv_test::AnsiCodePage ansi(1250);
  MemoryTestStream stream("\n\n\x8A\xE8\n");
  WCHAR buffer[8];
  EXPECT_EQ(SERV_GetLineToW(&stream, reinterpret_cast<char*>(buffer), 8, 1), 3);
  EXPECT_EQ(std::u16string(buffer), u"\u0160\u010D");
}

TEST(PutLine, WritesTheTextAndALineFeed) {
  MemoryTestStream stream;
  EXPECT_EQ(SERV_PutLine(&stream, "abc"), 0);
  EXPECT_EQ(SERV_PutLine(&stream, ""), 0);
  EXPECT_EQ(stream.content(), "abc\n\n");
}

TEST(PutLine, NullTextWritesNothing) {
  MemoryTestStream stream;
  EXPECT_EQ(SERV_PutLine(&stream, nullptr), -1);
  EXPECT_EQ(stream.writes, 0u);
  EXPECT_EQ(SERV_PutLine(nullptr, "abc"), -1);
}

TEST(PutLine, ShortWritesFail) {
  MemoryTestStream textCut;
  textCut.capacity = 2;
  EXPECT_EQ(SERV_PutLine(&textCut, "abc"), -1);
  EXPECT_EQ(textCut.content(), "ab");
  EXPECT_EQ(textCut.writes, 1u);  // no line feed after a short text
  MemoryTestStream lineFeedCut;
  lineFeedCut.capacity = 3;
  EXPECT_EQ(SERV_PutLine(&lineFeedCut, "abc"), -1);
  EXPECT_EQ(lineFeedCut.content(), "abc");
  MemoryTestStream failing;
  failing.failWrite = true;
  EXPECT_EQ(SERV_PutLine(&failing, "abc"), -1);
}

// Only the counts decide, not the Write results.
TEST(PutLine, CountsDecideNotResults) {
  MemoryTestStream stream;
  stream.writeReportsFailure = true;
  EXPECT_EQ(SERV_PutLine(&stream, "abc"), 0);
  EXPECT_EQ(stream.content(), "abc\n");
}

// What PutLine writes, GetLine reads back.
TEST(PutLine, RoundTripsThroughGetLine) {
  MemoryTestStream stream;
  const char* lines[] = {"  0", "SECTION", "", "  2", "ENTITIES"};
  for (const char* line : lines) ASSERT_EQ(SERV_PutLine(&stream, line), 0);
  stream.set_position(0);
  char buffer[256];
  for (const char* line : lines) {
    EXPECT_EQ(SERV_GetLine(&stream, buffer, sizeof buffer, 0),
              static_cast<int32_t>(strlen(line) + 1));
    EXPECT_STREQ(buffer, line);
  }
  EXPECT_EQ(SERV_GetLine(&stream, buffer, sizeof buffer, 0), -1);
}

// The same through files: written by a file stream, read back mapped.
TEST(PutLine, RoundTripsThroughAFile) {
  cadserv_test::TempDir dir;
  std::u16string path = cadserv_test::Widen(dir.path() + "/out.dxf");
  IServStream* stream = nullptr;
  ASSERT_EQ(SERV_OpenFile(path.c_str(), SERV_MODE_WRITE, &stream, nullptr), SERV_OK);
  EXPECT_EQ(SERV_PutLine(stream, "  0"), 0);
  EXPECT_EQ(SERV_PutLine(stream, "EOF"), 0);
  stream->Release();
  ASSERT_EQ(SERV_OpenFile(path.c_str(), SERV_MODE_READ, &stream, nullptr), SERV_OK);
  char buffer[16];
  EXPECT_EQ(SERV_GetLine(stream, buffer, sizeof buffer, 0), 4);
  EXPECT_STREQ(buffer, "  0");
  EXPECT_EQ(SERV_GetLine(stream, buffer, sizeof buffer, 0), 4);
  EXPECT_STREQ(buffer, "EOF");
  EXPECT_EQ(SERV_GetLine(stream, buffer, sizeof buffer, 0), -1);
  // A stream that cannot be written (the mapped reader) takes no line.
  EXPECT_EQ(SERV_PutLine(stream, "more"), -1);
  stream->Release();
}

}  // namespace
