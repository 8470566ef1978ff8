// Removing members from the keyed collection one at a time, by key and by position, and
// a Summarize that drops most of a selection: each should cost about the same per
// member at 3,000 and at 30,000 members (10x the members, about 10x the time).
#include <benchmark/benchmark.h>

#include "bench_support.h"

#include <vector>

#include "vexqom/Collection.h"
#include "vexqom/ICatItemCol.h"

namespace {

using namespace vexqom;

using bench::evict_caches;

Text key_of(int64_t i) { return u"K" + integer_text(static_cast<int32_t>(i)); }

Ref<Collection> filled(int64_t n) {
  auto c = create<Collection>();
  for (int64_t i = 0; i < n; ++i) c->Add(Variant(static_cast<int32_t>(i)), Variant(key_of(i)));
  return c;
}

void BM_RemoveByKeyInOrder(benchmark::State& state) {
  const int64_t n = state.range(0);
  for (auto _ : state) {
    state.PauseTiming();
    Ref<Collection> c = filled(n);
    std::vector<Variant> keys;
    for (int64_t i = 0; i < n; ++i) keys.emplace_back(key_of(i));
    evict_caches();
    state.ResumeTiming();
    for (const Variant& k : keys) c->Remove(k);
    benchmark::DoNotOptimize(c->Count());
  }
  state.SetItemsProcessed(state.iterations() * n);
}

void BM_RemoveFirstPosition(benchmark::State& state) {
  const int64_t n = state.range(0);
  const Variant first(int32_t{1});
  for (auto _ : state) {
    state.PauseTiming();
    Ref<Collection> c = filled(n);
    evict_caches();
    state.ResumeTiming();
    // Reading by position between removals is the host's usual walk.
    while (c->Count() > 0) {
      benchmark::DoNotOptimize(c->Item(first));
      c->Remove(first);
    }
  }
  state.SetItemsProcessed(state.iterations() * n);
}

void BM_SummarizeDropsMost(benchmark::State& state) {
  const int64_t n = state.range(0);
  for (auto _ : state) {
    state.PauseTiming();
    auto col = create<ICatItemCol>();
    for (int64_t i = 0; i < n; ++i) {
      auto item = create<ICatItem>();
      item->put_ItemNumber(key_of(i));
      item->put_ItemStatus(Variant(i % 10 == 0 ? u"ORDER" : u""));
      col->Add(item, item->UniqueKey());
    }
    evict_caches();
    state.ResumeTiming();
    col->Summarize(u"");
    benchmark::DoNotOptimize(col->get_Count());
  }
  state.SetItemsProcessed(state.iterations() * n);
}

BENCHMARK(BM_RemoveByKeyInOrder)->Arg(3000)->Arg(30000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RemoveFirstPosition)->Arg(3000)->Arg(30000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SummarizeDropsMost)->Arg(3000)->Arg(30000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
