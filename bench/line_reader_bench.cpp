// SERV_GetLine against its peers on a 100 MB DXF-like text (group codes and
// values on alternate lines), once with CR LF and once with LF line ends:
//   - SERV_GetLine with a 4096-byte buffer on the library's file stream
//     (SERV_OpenFile for reading maps the file);
//   - a plain memchr line splitter over the same mapping (the limit: it only
//     finds the line ends, copies nothing and keeps no stream position);
//   - glibc getline on a FILE* of the same file.
// Targets: at least half the splitter's throughput, and more than getline's.
// A table with the three figures side by side and the ratios ends the run.
// Its last column is SERV_GetLine on the tests' in-memory stream over the
// same bytes: a stream the library does not know, read through the
// interface's Read and Seek, where the library's mapped file is read in
// place.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <string>

#include "../tests/support/memory_test_stream.h"
#include "cadserv/lines.h"
#include "cadserv/stream.h"

namespace {

constexpr size_t kFileBytes = 100u << 20;
constexpr uint32_t kBufferSize = 4096;

// A generated file, mapped for the whole run.
struct TextFile {
  std::string path;
  const char* bytes = nullptr;
  size_t size = 0;
};

uint64_t NextRandom(uint64_t& state) {
  state ^= state << 13;
  state ^= state >> 7;
  state ^= state << 17;
  return state;
}

// Entities as a DXF ENTITIES section holds them: each group code right-
// aligned in three columns, each value on the line after it.
void WriteDxfLike(FILE* file, const char* lineEnd, size_t bytes) {
  static const char* const kEntities[] = {"LINE", "CIRCLE", "ARC", "TEXT", "LWPOLYLINE"};
  static const char* const kLayers[] = {"0", "WALLS", "DOORS", "DIM", "TEXT-2"};
  uint64_t state = 0x9E3779B97F4A7C15u;
  size_t written = 0;
  char chunk[1 << 16];
  size_t used = 0;
  auto pair = [&](int code, const char* value) {
    used += snprintf(chunk + used, sizeof chunk - used, "%3d%s%s%s", code, lineEnd, value, lineEnd);
  };
  char number[32];
  while (written < bytes) {
    while (used < sizeof chunk - 512) {
      pair(0, kEntities[NextRandom(state) % 5]);
      snprintf(number, sizeof number, "%X", static_cast<unsigned>(NextRandom(state) & 0xFFFFF));
      pair(5, number);
      pair(100, "AcDbEntity");
      pair(8, kLayers[NextRandom(state) % 5]);
      for (int code : {10, 20, 30, 11, 21, 31}) {
        snprintf(number, sizeof number, "%.6f",
                 static_cast<double>(NextRandom(state) % 100000000) / 1000.0);
        pair(code, number);
      }
    }
    size_t take = used < bytes - written ? used : bytes - written;
    fwrite(chunk, 1, take, file);
    written += take;
    used = 0;
  }
}

TextFile MakeFile(const std::string& folder, const char* name, const char* lineEnd) {
  TextFile text;
  text.path = folder + "/" + name;
  FILE* file = fopen(text.path.c_str(), "wb");
  if (file == nullptr) abort();
  WriteDxfLike(file, lineEnd, kFileBytes);
  fclose(file);
  int fd = open(text.path.c_str(), O_RDONLY);
  struct stat info;
  if (fd < 0 || fstat(fd, &info) != 0) abort();
  text.size = static_cast<size_t>(info.st_size);
  void* view = mmap(nullptr, text.size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
  if (view == MAP_FAILED) abort();
  close(fd);
  text.bytes = static_cast<const char*>(view);
  return text;
}

struct Files {
  std::string folder;
  TextFile crlf, lf;
  Files() {
    const char* tmp = getenv("TMPDIR");
    std::string pattern = std::string(tmp != nullptr ? tmp : "/tmp") + "/cadserv-lines-XXXXXX";
    if (mkdtemp(&pattern[0]) == nullptr) abort();
    folder = pattern;
    crlf = MakeFile(folder, "crlf.dxf", "\r\n");
    lf = MakeFile(folder, "lf.dxf", "\n");
  }
  ~Files() {
    for (TextFile* text : {&crlf, &lf}) {
      munmap(const_cast<char*>(text->bytes), text->size);
      unlink(text->path.c_str());
    }
    rmdir(folder.c_str());
  }
};

Files& TheFiles() {
  static Files files;
  return files;
}

const TextFile& FileFor(int variant) {
  return variant == 0 ? TheFiles().crlf : TheFiles().lf;
}

std::u16string Utf16(const std::string& ascii) {
  return std::u16string(ascii.begin(), ascii.end());
}

// Reads the whole stream line by line, as often as the benchmark asks.
void ReadAllLines(benchmark::State& state, IServStream* stream, size_t bytes) {
  static char buffer[kBufferSize];
  for (auto _ : state) {
    stream->Seek(0, SERV_SEEK_SET, nullptr);
    uint64_t sum = 0;
    int32_t result;
    while ((result = SERV_GetLine(stream, buffer, kBufferSize, 0)) != -1) {
      sum += static_cast<uint32_t>(result) + static_cast<uint8_t>(buffer[0]);
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

void GetLine(benchmark::State& state) {
  const TextFile& text = FileFor(static_cast<int>(state.range(0)));
  IServStream* stream = nullptr;
  if (SERV_OpenFile(Utf16(text.path).c_str(), SERV_MODE_READ, &stream, nullptr) != SERV_OK ||
      stream->GetBuffer() == nullptr) {
    state.SkipWithError("cannot map the file through SERV_OpenFile");
    return;
  }
  ReadAllLines(state, stream, text.size);
  stream->Release();
}

void GetLineMemory(benchmark::State& state) {
  const TextFile& text = FileFor(static_cast<int>(state.range(0)));
  cadserv_test::MemoryTestStream stream(std::string(text.bytes, text.size), true);
  ReadAllLines(state, &stream, text.size);
}

void MemchrSplit(benchmark::State& state) {
  const TextFile& text = FileFor(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    uint64_t sum = 0;
    const char* p = text.bytes;
    const char* end = text.bytes + text.size;
    while (p < end) {
      const char* lineEnd = static_cast<const char*>(memchr(p, '\n', static_cast<size_t>(end - p)));
      if (lineEnd == nullptr) lineEnd = end;
      size_t length = static_cast<size_t>(lineEnd - p);
      if (length != 0 && p[length - 1] == '\r') --length;
      sum += length + static_cast<uint8_t>(p[0]);
      p = lineEnd + 1;
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size));
}

void GlibcGetline(benchmark::State& state) {
  const TextFile& text = FileFor(static_cast<int>(state.range(0)));
  FILE* file = fopen(text.path.c_str(), "rb");
  char* line = nullptr;
  size_t capacity = 0;
  for (auto _ : state) {
    rewind(file);
    uint64_t sum = 0;
    ssize_t length;
    while ((length = getline(&line, &capacity, file)) != -1) {
      sum += static_cast<uint64_t>(length) + static_cast<uint8_t>(line[0]);
    }
    benchmark::DoNotOptimize(sum);
  }
  free(line);
  fclose(file);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size));
}

BENCHMARK(GetLine)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(GetLineMemory)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(MemchrSplit)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(GlibcGetline)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->MinTime(1.0);

// Keeps each run's throughput for the closing table.
class TableReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      auto found = run.counters.find("bytes_per_second");
      if (found != run.counters.end())
        megabytesPerSecond[run.benchmark_name()] = found->second / 1e6;
    }
  }
  std::map<std::string, double> megabytesPerSecond;
};

void PrintTable(const std::map<std::string, double>& mbps) {
  auto at = [&](const std::string& name) {
    auto found = mbps.find(name);
    return found == mbps.end() ? 0.0 : found->second;
  };
  printf("\nDXF-like text, 100 MB, buffer %u bytes (MB/s)\n", kBufferSize);
  printf("%-6s %14s %14s %14s %16s %16s %14s\n", "ends", "SERV_GetLine", "memchr split",
         "glibc getline", "GetLine/memchr", "GetLine/getline", "(test stream)");
  const char* const kVariants[] = {"CR LF", "LF"};
  for (int variant = 0; variant < 2; ++variant) {
    std::string arg = "/" + std::to_string(variant) + "/min_time:1.000";
    double ours = at("GetLine" + arg), split = at("MemchrSplit" + arg);
    double glibc = at("GlibcGetline" + arg), memory = at("GetLineMemory" + arg);
    if (ours == 0 || split == 0 || glibc == 0) continue;
    double toSplit = ours / split, toGlibc = ours / glibc;
    printf("%-6s %14.0f %14.0f %14.0f %15.2fx %15.2fx %14.0f  %s\n", kVariants[variant], ours,
           split, glibc, toSplit, toGlibc, memory,
           toSplit >= 0.5 && toGlibc > 1.0 ? "targets met" : "BELOW TARGET");
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  TableReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  PrintTable(reporter.megabytesPerSecond);
  benchmark::Shutdown();
  return 0;
}
