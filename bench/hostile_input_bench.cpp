// Hostile documents of 1, 10 and 100 MB given to the item collection's XML let and, as
// UTF-8 the way the tool reads a file, to prettify and to the well-formedness check: they
// load or fail, in time linear in their size and in memory a small multiple of it.
// Counters: seconds per MB, peak resident memory (VmHWM, reset before each run) in MB and
// as a multiple of the input's size in bytes (the input itself included).
//
//   deep          "<a>" nested without end
//   tiny          millions of empty elements under one root
//   unterminated  start tags and values that never close
//   binary        arbitrary bytes, NULs and lone surrogates
//   items         a selection of many small items on one line (the let builds one record
//                 per item: 1 and 10 MB only there, as 100 MB of records is a memory test
//                 of its own)
//   values        one item whose description and one attribute value take half the text
//                 each (past the parser's default limits from 10 MB on)
#include <benchmark/benchmark.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>

#include "frame/diagnostics.h"
#include "vexqom/ICatItemCol.h"
#include "vexqom/xml_text.h"

namespace {

using vexqom::Text;

enum Kind { kDeep, kTiny, kUnterminated, kBinary, kItems, kValues };

Text repeat_to(const Text& head, const Text& unit, size_t bytes, const Text& tail = Text()) {
  Text out = head;
  out.reserve(bytes + tail.size());
  while (out.size() + unit.size() + tail.size() <= bytes) out += unit;
  out += tail;
  return out;
}

// One UTF-16 unit per input byte, as the engine counts text.
Text hostile(Kind kind, size_t bytes) {
  switch (kind) {
    case kDeep:
      return repeat_to(u"<Items><Count>1</Count>", u"<Item><Prices>", bytes);
    case kTiny:
      return repeat_to(u"<Items><Count>2</Count><Item><LineCode>A</LineCode></Item>", u"<e/>",
                       bytes, u"</Items>");
    case kUnterminated:
      return repeat_to(u"<Items><Count>3</Count>", u"<Item><LineCode>x<ItemNumber>&amp", bytes);
    case kBinary: {
      std::mt19937 random(42);
      Text out = u"<Items><Count>4</Count><Item>";
      out.reserve(bytes);
      while (out.size() < bytes) {
        const uint32_t r = random();
        const char16_t unit = (r & 0x700) == 0 ? char16_t{0} : (r & 0x7000) == 0 ? char16_t{0xD800}
                                                              : static_cast<char16_t>(r & 0xFF);
        out.push_back(unit);
      }
      return out;
    }
    case kItems: {
      const Text unit = u"<Item><LineCode>A</LineCode><ItemNumber>1</ItemNumber></Item>";
      const size_t count = bytes / unit.size();
      Text head = u"<Items><Count>" + vexqom::from_utf8(std::to_string(count)) + u"</Count>";
      return repeat_to(head, unit, bytes, u"</Items>");
    }
    case kValues: {
      const Text half(bytes / 2 - 64, u'v');
      return u"<Items><Count>1</Count><Item a='" + half + u"'><Description>" + half +
             u"</Description></Item></Items>";
    }
  }
  return Text();
}

long vm_hwm_kb() {
  std::ifstream status("/proc/self/status");
  std::string key;
  long value = 0;
  while (status >> key) {
    if (key == "VmHWM:") {
      status >> value;
      return value;
    }
  }
  return -1;
}

void reset_hwm() {
  std::ofstream clear("/proc/self/clear_refs");
  clear << "5";
}

void init_logs() {
  static const bool done = [] {
    ::mkdir("/tmp/vexqom-bench", 0700);
    vexqom::diag::set_library_file_override("/tmp/vexqom-bench/libvexqom_PLUMEK2.so");
    return true;
  }();
  (void)done;
}

// The document as a load takes it: UTF-16 text, or the UTF-8 bytes of a file.
template <class Input>
Input document(Kind kind, size_t bytes) {
  if constexpr (std::is_same_v<Input, Text>) {
    return hostile(kind, bytes);
  } else {
    return vexqom::to_utf8(hostile(kind, bytes));
  }
}

template <class Input, class Load>
void run(benchmark::State& state, Load&& load) {
  init_logs();
  const auto kind = static_cast<Kind>(state.range(0));
  const size_t megabytes = static_cast<size_t>(state.range(1));
  const Input text = document<Input>(kind, megabytes << 20);
  long peak_kb = 0;
  int failed = 0;
  for (auto _ : state) {
    reset_hwm();
    try {
      load(text);
    } catch (const vexqom::Error&) {
      ++failed;
    }
    peak_kb = std::max(peak_kb, vm_hwm_kb());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(megabytes << 20));
  state.counters["peak_MB"] = static_cast<double>(peak_kb) / 1024.0;
  state.counters["peak_per_input_byte"] =
      static_cast<double>(peak_kb) * 1024.0 / static_cast<double>(megabytes << 20);
  state.counters["s_per_MB"] = benchmark::Counter(
      static_cast<double>(megabytes) * static_cast<double>(state.iterations()),
      benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["failed"] = failed > 0 ? 1 : 0;
}

void BM_ItemColLet(benchmark::State& state) {
  run<Text>(state, [](const Text& text) {
    auto col = vexqom::create<vexqom::ICatItemCol>();
    col->put_XML(text);
    benchmark::DoNotOptimize(col->get_Count());
  });
}

void BM_Prettify(benchmark::State& state) {
  run<std::string>(state, [](const std::string& text) {
    benchmark::DoNotOptimize(vexqom::prettify_xml(std::string_view(text)));
  });
}

void BM_Validate(benchmark::State& state) {
  run<std::string>(state, [](const std::string& text) {
    vexqom::validate_xml(std::string_view(text));
  });
}

void sizes(benchmark::internal::Benchmark* b, bool all_items) {
  for (int kind : {kDeep, kTiny, kUnterminated, kBinary, kItems, kValues}) {
    for (int mb : {1, 10, 100}) {
      if (kind == kItems && mb == 100 && !all_items) continue;
      b->Args({kind, mb});
    }
  }
  b->ArgNames({"kind", "MB"})->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();
}

BENCHMARK(BM_ItemColLet)->Apply([](benchmark::internal::Benchmark* b) { sizes(b, false); });
BENCHMARK(BM_Prettify)->Apply([](benchmark::internal::Benchmark* b) { sizes(b, true); });
BENCHMARK(BM_Validate)->Apply([](benchmark::internal::Benchmark* b) { sizes(b, true); });

}  // namespace

BENCHMARK_MAIN();
