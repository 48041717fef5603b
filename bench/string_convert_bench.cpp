// Whole-string conversion against glibc iconv called directly.
//
// Drawing text is short: the 20-byte cases show what a call costs beyond the
// conversion itself (the library keeps a converter per code page and thread,
// so no call pays for opening one; the "iconv_open each call" case shows
// what that saves). The 1 MiB cases show throughput.
#include <benchmark/benchmark.h>
#include <iconv.h>
#include <string.h>

#include <string>
#include <vector>

#include "cadserv/text.h"

namespace {

// 20 bytes of Western European text in code page 1252, and Japanese in 932.
const std::string kShort1252 =
    "Stra\xDF"
    "enbahn Z\xFCrich 12";
const std::string kShort932 =
    "\x93\xFA\x96\x7B\x8C\xEA\x82\xCC\x83\x65\x83\x4C\x83\x58\x83\x67"
    "ABCD";

std::string Large(const std::string& piece) {
  std::string text;
  while (text.size() + piece.size() <= (1u << 20)) text += piece;
  return text;
}

const char* IconvName(uint32_t codePage) {
  return codePage == 932 ? "CP932" : "CP1252";
}
const std::string& Short(uint32_t codePage) {
  return codePage == 932 ? kShort932 : kShort1252;
}

void RoundTrip(benchmark::State& state, const std::string& text, uint32_t codePage) {
  std::vector<WCHAR> wide(text.size() + 1);
  std::vector<char> narrow(2 * (text.size() + 1));
  for (auto _ : state) {
    SERV_StrToWideStr(text.c_str(), wide.data(), codePage);
    SERV_WideStrToStr(wide.data(), narrow.data(), codePage);
    benchmark::DoNotOptimize(narrow.data());
  }
  if (std::string(narrow.data()) != text) state.SkipWithError("the round trip changed the text");
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

// The same two conversions with iconv, converters opened once.
void IconvRoundTrip(benchmark::State& state, const std::string& text, uint32_t codePage) {
  iconv_t toUnits = iconv_open("UTF-16LE", IconvName(codePage));
  iconv_t fromUnits = iconv_open(IconvName(codePage), "UTF-16LE");
  std::vector<char> wide(2 * (text.size() + 1));
  std::vector<char> narrow(2 * (text.size() + 1));
  for (auto _ : state) {
    char* in = const_cast<char*>(text.c_str());
    size_t inLeft = text.size() + 1;
    char* out = wide.data();
    size_t outLeft = wide.size();
    iconv(toUnits, &in, &inLeft, &out, &outLeft);
    in = wide.data();
    inLeft = wide.size() - outLeft;
    out = narrow.data();
    outLeft = narrow.size();
    iconv(fromUnits, &in, &inLeft, &out, &outLeft);
    benchmark::DoNotOptimize(narrow.data());
  }
  iconv_close(toUnits);
  iconv_close(fromUnits);
  if (std::string(narrow.data()) != text) state.SkipWithError("the round trip changed the text");
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

// What every call would cost if it opened its converters.
void IconvOpenEachCall(benchmark::State& state, const std::string& text, uint32_t codePage) {
  std::vector<char> wide(2 * (text.size() + 1));
  for (auto _ : state) {
    iconv_t toUnits = iconv_open("UTF-16LE", IconvName(codePage));
    char* in = const_cast<char*>(text.c_str());
    size_t inLeft = text.size() + 1;
    char* out = wide.data();
    size_t outLeft = wide.size();
    iconv(toUnits, &in, &inLeft, &out, &outLeft);
    iconv_close(toUnits);
    benchmark::DoNotOptimize(wide.data());
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_Short_Library(benchmark::State& state) {
  uint32_t codePage = static_cast<uint32_t>(state.range(0));
  RoundTrip(state, Short(codePage), codePage);
}
void BM_Short_Iconv(benchmark::State& state) {
  uint32_t codePage = static_cast<uint32_t>(state.range(0));
  IconvRoundTrip(state, Short(codePage), codePage);
}
void BM_Short_IconvOpenEachCall(benchmark::State& state) {
  uint32_t codePage = static_cast<uint32_t>(state.range(0));
  IconvOpenEachCall(state, Short(codePage), codePage);
}
void BM_1MiB_Library(benchmark::State& state) {
  uint32_t codePage = static_cast<uint32_t>(state.range(0));
  static const std::string large1252 = Large(kShort1252), large932 = Large(kShort932);
  RoundTrip(state, codePage == 932 ? large932 : large1252, codePage);
}
void BM_1MiB_Iconv(benchmark::State& state) {
  uint32_t codePage = static_cast<uint32_t>(state.range(0));
  static const std::string large1252 = Large(kShort1252), large932 = Large(kShort932);
  IconvRoundTrip(state, codePage == 932 ? large932 : large1252, codePage);
}

// In place in a single-byte code page the bytes go one at a time.
void BM_Short_LibraryInPlace(benchmark::State& state) {
  const std::string& text = kShort1252;
  std::vector<char> buffer(2 * (text.size() + 1));
  for (auto _ : state) {
    memcpy(buffer.data(), text.c_str(), text.size() + 1);
    SERV_StrToWideStr(buffer.data(), reinterpret_cast<WCHAR*>(buffer.data()), 1252);
    benchmark::DoNotOptimize(buffer.data());
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(BM_Short_Library)->Arg(1252)->Arg(932);
BENCHMARK(BM_Short_Iconv)->Arg(1252)->Arg(932);
BENCHMARK(BM_Short_IconvOpenEachCall)->Arg(1252)->Arg(932);
BENCHMARK(BM_Short_LibraryInPlace);
BENCHMARK(BM_1MiB_Library)->Arg(1252)->Arg(932);
BENCHMARK(BM_1MiB_Iconv)->Arg(1252)->Arg(932);

}  // namespace

BENCHMARK_MAIN();
