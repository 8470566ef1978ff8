// The item document through the C interface, as a C host sees it: loading from UTF-8
// text and getting the document back as UTF-8, at 3,000 and 30,000 items.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "bench_support.h"
#include "vexqom.h"

namespace {

using vexqom::bench::evict_caches;

// One part with three prices, in the document's own layout.
std::string item_xml(int i) {
  const std::string n = std::to_string(i);
  return "<Item><ItemStatus>ORDER</ItemStatus><ItemGroup>" + std::to_string(i % 100) +
         "</ItemGroup><Manufacturer>Northline</Manufacturer><LineCode>NLN</LineCode>"
         "<ItemNumber>41-" + n + "</ItemNumber><Description>Spark Plug " + std::to_string(i % 50) +
         "</Description><Comment>Gap .060 &amp; platinum &lt;tip&gt;</Comment>"
         "<Prices><Count>3</Count><Collection><Price><Location>JOBBER</Location>"
         "<QuantityToOrder>2</QuantityToOrder><Cost>3.27</Cost><List>5.49</List></Price>"
         "<Price><Location>LOCAL</Location><Available>12</Available><Cost>3.1</Cost></Price>"
         "<Price><Location>MSRP</Location><List>7.99</List></Price></Collection></Prices>"
         "</Item>";
}

// One selection through the C interface.
struct Collection {
  vq_object* col = nullptr;
  int32_t xml = 0;
  int32_t clear = 0;
  Collection() {
    vq_create("vexqom_PLUMEK2.ICatItemCol", &col);
    vq_get_dispid(col, "XML", &xml);
    vq_get_dispid(col, "Clear", &clear);
  }
  ~Collection() { vq_release(col); }
  void load(std::string& text) {
    vq_value arg{};
    arg.kind = VQ_TEXT;
    arg.text = text.data();
    arg.text_len = text.size();
    vq_value result{};
    if (vq_invoke(col, xml, VQ_LET, &arg, 1, &result) != 0) std::abort();
    vq_value_clear(&result);
  }
  std::string written() {
    vq_value result{};
    if (vq_invoke(col, xml, VQ_GET, nullptr, 0, &result) != 0) std::abort();
    std::string text(result.text, result.text_len);
    vq_value_clear(&result);
    return text;
  }
  size_t write() {
    vq_value result{};
    if (vq_invoke(col, xml, VQ_GET, nullptr, 0, &result) != 0) std::abort();
    const size_t n = result.text_len;
    vq_value_clear(&result);
    return n;
  }
  void empty() {
    vq_value result{};
    vq_invoke(col, clear, VQ_METHOD, nullptr, 0, &result);
    vq_value_clear(&result);
  }
};

// The document the library itself writes for such a selection.
std::string selection(int items) {
  static std::map<int, std::string> made;
  auto found = made.find(items);
  if (found != made.end()) return found->second;
  std::string text = "<Items><Count>" + std::to_string(items) + "</Count><Collection>";
  for (int i = 0; i < items; ++i) text += item_xml(i);
  text += "</Collection><Vehicle><Year>2001</Year><Make>Ford</Make></Vehicle></Items>";
  Collection c;
  c.load(text);
  return made.emplace(items, c.written()).first->second;
}

void BM_CLoad(benchmark::State& state) {
  std::string text = selection(static_cast<int>(state.range(0)));
  Collection c;
  for (auto _ : state) {
    state.PauseTiming();
    c.empty();
    evict_caches();
    state.ResumeTiming();
    c.load(text);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_CWrite(benchmark::State& state) {
  std::string text = selection(static_cast<int>(state.range(0)));
  Collection c;
  c.load(text);
  for (auto _ : state) {
    state.PauseTiming();
    evict_caches();
    state.ResumeTiming();
    benchmark::DoNotOptimize(c.write());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

VEXQOM_DOCUMENT_BENCHMARK(BM_CLoad);
VEXQOM_DOCUMENT_BENCHMARK(BM_CWrite);

}  // namespace

BENCHMARK_MAIN();
