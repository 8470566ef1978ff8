#!/usr/bin/env bash
# Fuzzing campaign: builds every fuzz/*_fuzz.cpp target (XML engine, DOM and prettify,
# collections, the C interface as a hostile host) with clang (-DVEXQOM_FUZZ=ON) in its
# own build folder, then runs each target in turn, sharing a total time budget equally.
#
#   fuzz/run_all.sh [TOTAL_SECONDS]        (default 1800)
#
# Environment:
#   VEXQOM_FUZZ_BUILD   build folder (default: <repo>/build-fuzz-campaign)
#   VEXQOM_FUZZ_WORK    work folder for corpus copies, logs and findings
#                       (default: <repo>/fuzz/corpus-work, ignored by git)
#   VEXQOM_FUZZ_JOBS    build parallelism (default 2)
#
# Each target runs over a copy of fuzz/corpus/<name>, so the saved corpus only changes when a
# person copies new inputs back. Per target it prints the executions done and any finding
# (crash-*, leak-*, timeout-*, oom-* files written by libFuzzer). Exit status is 1 if any
# target found something, 0 otherwise.
set -euo pipefail
repo="$(cd "$(dirname "$0")/.." && pwd)"
total="${1:-1800}"
build="${VEXQOM_FUZZ_BUILD:-$repo/build-fuzz-campaign}"
work="${VEXQOM_FUZZ_WORK:-$repo/fuzz/corpus-work}"
jobs="${VEXQOM_FUZZ_JOBS:-2}"

CC=clang CXX=clang++ cmake -S "$repo" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DVEXQOM_FUZZ=ON -DVEXQOM_TESTS=OFF -DVEXQOM_BENCH=OFF >/dev/null
cmake --build "$build" -j"$jobs"

targets=("$build"/fuzz/*_fuzz)
[ -x "${targets[0]}" ] || { echo "no fuzz targets built in $build/fuzz" >&2; exit 2; }
per=$(( total / ${#targets[@]} ))
(( per >= 1 )) || per=1
mkdir -p "$work"
# The library writes its logs next to the file the targets name; keep that folder present.
mkdir -p /tmp/vexqom-fuzz

found=0
printf '%-16s %8s %12s %10s  %s\n' target seconds executions exec/s findings
for target in "${targets[@]}"; do
  name=$(basename "$target" _fuzz)
  corpus="$work/$name/corpus"
  artifacts="$work/$name/findings/"
  rm -rf "$work/$name"
  mkdir -p "$corpus" "$artifacts"
  [ -d "$repo/fuzz/corpus/$name" ] && cp -r "$repo/fuzz/corpus/$name/." "$corpus/"
  log="$work/$name/fuzz.log"
  # libFuzzer stops at its first finding; the exit status is reported, not fatal. A
  # document's "Count" is trusted up to 32,767 members, so a few hundred bytes may rightly
  # build tens of thousands of items; under the sanitizers that takes tens of seconds, so
  # the time limit per input is set well above it.
  set +e
  "$target" -max_total_time="$per" -artifact_prefix="$artifacts" -print_final_stats=1 \
    -timeout=120 -rss_limit_mb=2048 "$corpus" >"$log" 2>&1
  status=$?
  set -e
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)
  findings=$(find "$artifacts" -type f | sort)
  if [ -n "$findings" ] || [ "$status" -ne 0 ]; then
    found=1
    summary="exit $status: $(echo "$findings" | xargs -r -n1 basename | tr '\n' ' ')"
    summary="$summary$(grep -m1 -E 'ERROR: (libFuzzer|AddressSanitizer|LeakSanitizer)|runtime error' "$log" || true)"
  else
    summary="none"
  fi
  printf '%-16s %8s %12s %10s  %s\n' "$name" "$per" "${execs:-?}" "${rate:-?}" "$summary"
done
echo "logs and findings: $work"
exit "$found"
