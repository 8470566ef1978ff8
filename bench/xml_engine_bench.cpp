// The XML text engine: building n elements, reading elements 1..n of one tag in order,
// and the per-record pattern the collections run once per item.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "vexqom/text.h"
#include "xml/clsXML.h"

namespace vexqom {
namespace {

Text price_value(int64_t i) { return u"12." + from_utf8(std::to_string(i % 100)) + u" & up"; }

Text build_prices(int64_t n) {
  Ref<clsXML> x = create<clsXML>();
  x->put_Snippet(true);
  x->put_Compress(true);
  x->put_ZeroSuppress(true);
  x->Add(u"PriceList", u"", true);
  for (int64_t i = 0; i < n; ++i) x->Add(u"Price", price_value(i));
  x->EndGroup();
  return x->get_XML();
}

void BM_BuildElements(benchmark::State& state) {
  const int64_t n = state.range(0);
  for (auto _ : state) benchmark::DoNotOptimize(build_prices(n));
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_BuildElements)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// Element numbers are 16-bit: 32767 is the largest document one tag can be read from.
void BM_ReadSequential(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0));
  const Text xml = build_prices(n);
  for (auto _ : state) {
    Ref<clsXML> x = create<clsXML>();
    x->put_XML(xml);
    for (int32_t i = 1; i <= n; ++i) {
      benchmark::DoNotOptimize(x->get_Value(u"Price", static_cast<int16_t>(i)));
    }
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_ReadSequential)->Arg(1000)->Arg(10000)->Arg(32767)->Unit(benchmark::kMillisecond);

void BM_ReadBlocksSequential(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0));
  const Text xml = build_prices(n);
  for (auto _ : state) {
    Ref<clsXML> x = create<clsXML>();
    x->put_XML(xml);
    for (int32_t i = 1; i <= n; ++i) {
      benchmark::DoNotOptimize(x->get_Block(u"Price", static_cast<int16_t>(i)));
    }
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_ReadBlocksSequential)->Arg(1000)->Arg(10000)->Arg(32767)->Unit(benchmark::kMillisecond);

// One engine per record, as the records and collections use it.
Text record_xml(int64_t i) {
  Ref<clsXML> x = create<clsXML>();
  x->put_Snippet(true);
  x->put_Compress(true);
  x->put_ZeroSuppress(true);
  x->Add(u"Item", u"", true);
  x->Add(u"PartNumber", u"PN-" + from_utf8(std::to_string(i)));
  x->Add(u"Description", u"Brake pad <front> & rear");
  x->Add(u"Quantity", u"2");
  x->Add(u"Core", u"0");
  x->Add(u"Note", u"");
  x->AddXML(u"<Price><List>10.5</List></Price>");
  x->EndGroup();
  return x->get_XML();
}

void BM_RecordPattern(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0));
  for (auto _ : state) {
    Ref<clsXML> col = create<clsXML>();
    col->put_Snippet(true);
    col->Add(u"Items", u"", true);
    for (int32_t i = 0; i < n; ++i) col->AddXML(record_xml(i));
    const Text all = col->get_XML();

    Ref<clsXML> load = create<clsXML>();
    load->put_XML(all);
    for (int32_t i = 1; i <= n; ++i) {
      Ref<clsXML> rec = create<clsXML>();
      rec->put_XML(load->get_Block(u"Item", static_cast<int16_t>(i)));
      benchmark::DoNotOptimize(rec->get_Value(u"PartNumber", 1));
      benchmark::DoNotOptimize(rec->get_Value(u"Description", 1));
      benchmark::DoNotOptimize(rec->get_Value(u"Quantity", 1));
      benchmark::DoNotOptimize(rec->get_Block(u"Price", 1));
    }
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_RecordPattern)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vexqom

BENCHMARK_MAIN();
