// Map3D's point array mapping against memcpy over the same bytes: 10 million
// points (240 MB) mapped by a rotation about a centre followed by an offset,
//   - MapPointArrayInPlace on one array;
//   - MapPointArray from one array into another;
//   - memcpy from one array into another (the limit: the same bytes moved,
//     nothing computed).
// Target: each mapping at least half memcpy's bytes per second. A table
// with the three figures and the ratios ends the run. (That the arrays'
// results are the formula's to the bit is a test, map3d_mapping_test.cpp.)
#include <benchmark/benchmark.h>
#include <stdio.h>
#include <string.h>

#include <map>
#include <string>
#include <vector>

#include "cadserv/map3d.h"

namespace {

constexpr int kPoints = 10 * 1000 * 1000;
constexpr size_t kBytes = static_cast<size_t>(kPoints) * sizeof(sol_point);

// Both arrays are filled (so every page is present) before any timing.
struct Arrays {
  std::vector<sol_point> source, destination;
  Arrays() : source(kPoints), destination(kPoints) {
    for (int i = 0; i < kPoints; ++i) source[i] = sol_point(i % 1000, i % 777, i % 333);
  }
};

Arrays& TheArrays() {
  static Arrays arrays;
  return arrays;
}

// Rotation and offset keep repeatedly mapped points finite and normal.
Map3D TheMap() {
  Map3D map;
  map.RotateXY(30, 50, 60, 0);
  map.RotateYZ(-45, 0, 10, 20);
  map.Offset(1, -2, 0.5);
  return map;
}

void MapPointArrayInPlace(benchmark::State& state) {
  Arrays& arrays = TheArrays();
  const Map3D map = TheMap();
  for (auto _ : state) {
    map.MapPointArrayInPlace(arrays.source.data(), kPoints);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBytes));
}

void MapPointArray(benchmark::State& state) {
  Arrays& arrays = TheArrays();
  const Map3D map = TheMap();
  for (auto _ : state) {
    map.MapPointArray(arrays.source.data(), arrays.destination.data(), kPoints);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBytes));
}

void Memcpy(benchmark::State& state) {
  Arrays& arrays = TheArrays();
  for (auto _ : state) {
    memcpy(arrays.destination.data(), arrays.source.data(), kBytes);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBytes));
}

BENCHMARK(Memcpy)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(MapPointArrayInPlace)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(MapPointArray)->Unit(benchmark::kMillisecond)->MinTime(1.0);

// Keeps each run's throughput for the closing table.
class TableReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      auto found = run.counters.find("bytes_per_second");
      if (found != run.counters.end()) bytesPerSecond[run.benchmark_name()] = found->second;
    }
  }
  std::map<std::string, double> bytesPerSecond;
};

void PrintTable(const std::map<std::string, double>& bps) {
  auto at = [&](const std::string& name) {
    auto found = bps.find(name);
    return found == bps.end() ? 0.0 : found->second;
  };
  const double limit = at("Memcpy/min_time:1.000");
  if (limit == 0) return;
  printf("\n%d points, %zu bytes a pass\n", kPoints, kBytes);
  printf("%-22s %16s %16s %10s\n", "", "bytes/s", "memcpy bytes/s", "ratio");
  for (const char* name : {"MapPointArrayInPlace", "MapPointArray"}) {
    const double ours = at(std::string(name) + "/min_time:1.000");
    if (ours == 0) continue;
    const double ratio = ours / limit;
    printf("%-22s %16.4g %16.4g %9.2fx  %s\n", name, ours, limit, ratio,
           ratio >= 0.5 ? "target met" : "BELOW TARGET");
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  TableReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  PrintTable(reporter.bytesPerSecond);
  benchmark::Shutdown();
  return 0;
}
