// Loading and writing the item document at 3,000 and 30,000 items (three prices each),
// against a general XML parser parsing and printing the same text.
//
//   item_document_bench                 the benchmarks, then the derived ratios
//   item_document_bench --peak-memory   peak memory of one 30,000-item load
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <pugixml.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "bench_support.h"
#include "frame/diagnostics.h"
#include "vexqom/ICatItemCol.h"

namespace {

using namespace vexqom;

// A realistic selection: parts with three prices each and a filled vehicle.
Text make_selection(int items) {
  auto col = create<ICatItemCol>();
  for (int i = 0; i < items; ++i) {
    auto item = create<ICatItem>();
    const Text n = integer_text(i);
    item->put_LineCode(u"ACD");
    item->put_ItemNumber(u"41-" + n);
    item->put_ManufacturerName(u"AC Delco");
    item->put_Description(u"Spark Plug " + integer_text(i % 50));
    item->put_PartTypeCode(u"07210");
    item->put_ItemStatus(Variant(i % 3 == 0 ? u"ORDER" : u"HOLD"));
    item->put_ItemGroup(static_cast<int16_t>(i % 100));
    item->put_ImageFileName(u"img/acd41-" + n + u".jpg");
    item->put_QuantityPerCar(Currency::from_whole(4));
    item->put_YearRange(u"1998-2004");
    item->put_Comment(u"Gap .060 & platinum <tip>");
    auto prices = item->get_PriceCol();
    auto jobber = prices->get_Item(Variant(u"JOBBER"));
    jobber->put_QuantityToOrder(Variant(int32_t{2}));
    jobber->put_Cost(Currency::from_double(3.27));
    jobber->put_List(Currency::from_double(5.49));
    jobber->put_DeliveryTime(u"1 day");
    auto local = prices->get_Item(Variant(u"LOCAL"));
    local->put_Available(Variant(u"12"));
    local->put_Cost(Currency::from_double(3.1));
    local->put_Rank(u"1");
    auto msrp = prices->get_Item(Variant(u"MSRP"));
    msrp->put_List(Currency::from_double(7.99));
    col->Add(item, item->UniqueKey());
  }
  auto vehicle = col->get_Vehicle();
  vehicle->put_Year(u"2001");
  vehicle->put_Make(u"Ford");
  vehicle->put_Model(u"Taurus");
  vehicle->put_Engine(u"3.0L V6");
  return col->get_XML();
}

using bench::evict_caches;

const Text& selection(int items) {
  static std::map<int, Text> made;
  auto it = made.find(items);
  if (it == made.end()) it = made.emplace(items, make_selection(items)).first;
  return it->second;
}

void BM_Load(benchmark::State& state) {
  const Text& text = selection(static_cast<int>(state.range(0)));
  auto col = create<ICatItemCol>();
  for (auto _ : state) {
    state.PauseTiming();
    col->Clear();  // releasing the previous load is not part of this one
    evict_caches();
    state.ResumeTiming();
    col->put_XML(text);
    benchmark::DoNotOptimize(col->get_Count());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_Write(benchmark::State& state) {
  const Text& text = selection(static_cast<int>(state.range(0)));
  auto col = create<ICatItemCol>();
  col->put_XML(text);
  for (auto _ : state) {
    state.PauseTiming();
    evict_caches();
    state.ResumeTiming();
    benchmark::DoNotOptimize(col->get_XML());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_LoadWrite(benchmark::State& state) {
  const Text& text = selection(static_cast<int>(state.range(0)));
  auto col = create<ICatItemCol>();
  for (auto _ : state) {
    state.PauseTiming();
    col->Clear();
    evict_caches();
    state.ResumeTiming();
    col->put_XML(text);
    benchmark::DoNotOptimize(col->get_XML());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The reference's work: a general parser building its tree from the text and printing it.
void parse_and_print(const std::string& utf8, benchmark::State& state) {
    pugi::xml_document doc;
    pugi::xml_parse_result ok = doc.load_buffer(utf8.data(), utf8.size());
    if (!ok) state.SkipWithError("reference parser refused the document");
    std::ostringstream out;
    doc.save(out, "", pugi::format_raw | pugi::format_no_declaration);
    benchmark::DoNotOptimize(out.str());
}

// The reference on the same text.
void BM_ReferenceParsePrint(benchmark::State& state) {
  const std::string utf8 = to_utf8(selection(static_cast<int>(state.range(0))));
  for (auto _ : state) {
    state.PauseTiming();
    evict_caches();
    state.ResumeTiming();
    parse_and_print(utf8, state);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The reference once more, each run just after an untimed load and write of the same
// selection: the parser then finds the memory our work left behind, already faulted in,
// and is at its fastest. A stricter comparison than the one above.
void BM_ReferenceAfterLoadWrite(benchmark::State& state) {
  const Text& text = selection(static_cast<int>(state.range(0)));
  const std::string utf8 = to_utf8(text);
  for (auto _ : state) {
    state.PauseTiming();
    {
      auto col = create<ICatItemCol>();
      col->put_XML(text);
      benchmark::DoNotOptimize(col->get_XML());
    }
    evict_caches();
    state.ResumeTiming();
    parse_and_print(utf8, state);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

VEXQOM_DOCUMENT_BENCHMARK(BM_Load);
VEXQOM_DOCUMENT_BENCHMARK(BM_Write);
VEXQOM_DOCUMENT_BENCHMARK(BM_LoadWrite);
VEXQOM_DOCUMENT_BENCHMARK(BM_ReferenceParsePrint);
VEXQOM_DOCUMENT_BENCHMARK(BM_ReferenceAfterLoadWrite);

// Keeps each benchmark's median real time per iteration (or its single run's) so that
// the ratios can be printed at the end.
class RecordingReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) continue;
      const std::string key = run.run_name.function_name + "/" + run.run_name.args;
      const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
      if (median || (run.run_type == Run::RT_Iteration && !seconds.count(key))) {
        seconds[key] = run.GetAdjustedRealTime();
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> seconds;  // in the runs' time unit
};

long status_kib(const char* field) {
  std::ifstream in("/proc/self/status");
  std::string line;
  const size_t len = std::strlen(field);
  while (std::getline(in, line)) {
    if (line.compare(0, len, field) == 0) return std::stol(line.substr(len + 1));
  }
  return -1;
}

int peak_memory() {
  const Text text = make_selection(30000);
  const double text_bytes = static_cast<double>(to_utf8(text).size());
  malloc_trim(0);
  const size_t in_use_before = mallinfo2().uordblks;
  const long rss_before = status_kib("VmRSS:");
  // Resets the peak resident size to the present one (Linux 4.0 and later).
  { std::ofstream("/proc/self/clear_refs") << "5"; }
  const long hwm_reset = status_kib("VmHWM:");
  {
    auto col = create<ICatItemCol>();
    col->put_XML(text);
    const size_t in_use_after = mallinfo2().uordblks;
    const long hwm = status_kib("VmHWM:");
    std::printf("document: %d items, %.1f MB as UTF-8 (%.1f MB as held Text)\n",
                col->get_Count(), text_bytes / 1e6, text_bytes * 2 / 1e6);
    std::printf("peak resident growth during the load: %.1f MB = %.2f x the document%s\n",
                (hwm - rss_before) / 1024.0, (hwm - rss_before) * 1024.0 / text_bytes,
                hwm_reset <= rss_before + 1024 ? "" : " (peak reset not supported)");
    std::printf("heap held by the loaded selection: %.1f MB = %.2f x the document\n",
                static_cast<double>(in_use_after - in_use_before) / 1e6,
                static_cast<double>(in_use_after - in_use_before) / text_bytes);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "--peak-memory") == 0) return peak_memory();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RecordingReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();

  auto& t = reporter.seconds;
  auto ratio = [&](const std::string& a, const std::string& b) {
    return t.count(a) && t.count(b) && t[b] > 0 ? t[a] / t[b] : 0.0;
  };
  std::printf("\n10x items costs (linear means about 10):\n");
  for (const char* name : {"BM_Load", "BM_Write", "BM_LoadWrite", "BM_ReferenceParsePrint"}) {
    const std::string n(name);
    std::printf("  %-24s %.2fx\n", name, ratio(n + "/30000", n + "/3000"));
  }
  std::printf("load+write / reference parse+print at 30000 items: %.2f\n",
              ratio("BM_LoadWrite/30000", "BM_ReferenceParsePrint/30000"));
  std::printf("load+write / reference run just after a load and write: %.2f\n",
              ratio("BM_LoadWrite/30000", "BM_ReferenceAfterLoadWrite/30000"));
  return 0;
}
