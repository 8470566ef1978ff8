// Appending n small pieces to one buffer: the time should grow linearly with n even
// though the reported buffer size grows by exact fit on every append.
#include <benchmark/benchmark.h>

#include "frame/CString.h"

namespace {

void BM_AppendPieces(benchmark::State& state) {
  const auto pieces = state.range(0);
  for (auto _ : state) {
    vexqom::Ref<vexqom::CString> s = vexqom::create<vexqom::CString>();
    for (int64_t i = 0; i < pieces; ++i) s->AppendBytes("abcdefgh");
    benchmark::DoNotOptimize(s->data());
  }
  state.SetComplexityN(pieces);
  state.SetBytesProcessed(state.iterations() * pieces * 8);
}
BENCHMARK(BM_AppendPieces)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMicrosecond)
    ->Complexity(benchmark::oN);

// The same through the text path (code page conversion per piece).
void BM_AppendTextPieces(benchmark::State& state) {
  const auto pieces = state.range(0);
  const vexqom::Text piece = u"abcdefgh";
  for (auto _ : state) {
    vexqom::Ref<vexqom::CString> s = vexqom::create<vexqom::CString>();
    for (int64_t i = 0; i < pieces; ++i) s->Append(vexqom::TextView(piece));
    benchmark::DoNotOptimize(s->data());
  }
  state.SetComplexityN(pieces);
}
BENCHMARK(BM_AppendTextPieces)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMicrosecond)
    ->Complexity(benchmark::oN);

}  // namespace

BENCHMARK_MAIN();
