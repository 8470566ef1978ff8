// What the benchmark programs share: a cache sweep between timed iterations, and the
// repetitions a document benchmark runs with.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <vector>

namespace vexqom::bench {

// Each timed iteration starts with caches that hold none of the data, at either size:
// otherwise the small case stays cache-resident between iterations and the comparison
// of sizes measures the cache, not the code.
inline void evict_caches() {
  static std::vector<char> sweep(64u << 20);
  for (std::size_t i = 0; i < sweep.size(); i += 64) {
    sweep[i] = static_cast<char>(sweep[i] + 1);
  }
  benchmark::ClobberMemory();
}

}  // namespace vexqom::bench

// 3,000 and 30,000 items, medians of three repetitions: the timings are ratios of
// seconds-long runs on shared machines.
#define VEXQOM_DOCUMENT_BENCHMARK(fn)                                                  \
  BENCHMARK(fn)->Arg(3000)->Arg(30000)->Unit(benchmark::kMillisecond)->Repetitions(3) \
      ->ReportAggregatesOnly(true)
