// SERV_CodePageConvertStr on long strings, 437 to 1252, beside glibc iconv
// doing the same conversion (CP437 to CP1252 with transliteration).
// Targets: at least 1 GB/s, and at least 5 times iconv's rate.
#include <benchmark/benchmark.h>
#include <iconv.h>
#include <stdio.h>
#include <string.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "cadserv/codepage.h"

namespace {

constexpr int64_t kSizes[] = {1 << 20, 16 << 20};

// Text as an old drawing holds it: words and numbers in ASCII with accented
// letters, box drawing and symbols (bytes 0x80-0xFF) in between; `highShare`
// is the share of high bytes. No zero byte; the terminator follows.
std::vector<char> MakeText(size_t length, double highShare) {
  std::mt19937 random(437);
  std::uniform_real_distribution<double> coin(0.0, 1.0);
  std::uniform_int_distribution<int> ascii(0x20, 0x7E);
  std::uniform_int_distribution<int> high(0x80, 0xFF);
  std::vector<char> text(length + 1, '\0');
  for (size_t i = 0; i < length; ++i) {
    text[i] = static_cast<char>(coin(random) < highShare ? high(random) : ascii(random));
  }
  return text;
}

void ConvertStr(benchmark::State& state, double highShare) {
  const size_t length = static_cast<size_t>(state.range(0));
  const std::vector<char> original = MakeText(length, highShare);
  std::vector<char> text = original;
  for (auto _ : state) {
    state.PauseTiming();
    memcpy(text.data(), original.data(), original.size());
    state.ResumeTiming();
    benchmark::DoNotOptimize(SERV_CodePageConvertStr(text.data(), 437, 1252));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void Iconv(benchmark::State& state, double highShare) {
  const size_t length = static_cast<size_t>(state.range(0));
  std::vector<char> input = MakeText(length, highShare);
  std::vector<char> output(4 * length);  // transliterations may be longer
  iconv_t cd = iconv_open("CP1252//TRANSLIT", "CP437");
  if (cd == reinterpret_cast<iconv_t>(-1)) {
    state.SkipWithError("iconv has no CP437 to CP1252");
    return;
  }
  for (auto _ : state) {
    char* in = input.data();
    size_t inLeft = length;
    char* out = output.data();
    size_t outLeft = output.size();
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    iconv(cd, &in, &inLeft, &out, &outLeft);
    if (inLeft != 0) {
      state.SkipWithError("iconv stopped before the end of the input");
      break;
    }
    benchmark::ClobberMemory();
  }
  iconv_close(cd);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void RegisterAll() {
  // Mostly ASCII (as in real drawings) and all-high (every byte looked up).
  for (auto [name, share] : {std::pair<const char*, double>{"Text", 0.1}, {"HighBytes", 1.0}}) {
    for (int64_t size : kSizes) {
      std::string suffix = std::string(name);
      benchmark::RegisterBenchmark(("CodePageConvertStr_437_1252/" + suffix).c_str(),
                                   [share = share](benchmark::State& s) { ConvertStr(s, share); })
          ->Arg(size)
          ->Unit(benchmark::kMillisecond);
      benchmark::RegisterBenchmark(("Iconv_CP437_CP1252_TRANSLIT/" + suffix).c_str(),
                                   [share = share](benchmark::State& s) { Iconv(s, share); })
          ->Arg(size)
          ->Unit(benchmark::kMillisecond);
    }
  }
}

// Prints, after the usual table, each case's rate beside iconv's.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      auto rate = run.counters.find("bytes_per_second");
      if (run.error_occurred || rate == run.counters.end()) continue;
      const std::string& name = run.run_name.function_name;
      std::string input = name.substr(name.find('/') + 1) + "/" + run.run_name.args;
      (name.rfind("Iconv", 0) == 0 ? iconv_ : ours_)[input] = rate->second.value;
    }
  }

  void PrintSummary() const {
    printf("\n%-18s %14s %14s %8s\n", "input", "cadserv GB/s", "iconv GB/s", "ratio");
    for (const auto& [input, ours] : ours_) {
      auto peer = iconv_.find(input);
      if (peer == iconv_.end()) continue;
      printf("%-18s %14.2f %14.3f %7.1fx\n", input.c_str(), ours / 1e9, peer->second / 1e9,
             ours / peer->second);
    }
  }

 private:
  std::map<std::string, double> ours_;
  std::map<std::string, double> iconv_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RegisterAll();
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintSummary();
  benchmark::Shutdown();
  return 0;
}
