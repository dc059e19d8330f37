#!/usr/bin/env bash
# Builds every libFuzzer target with clang (ASan+UBSan, scripts/setup.sh fuzz) and runs each for
# SECONDS (default 60) on a copy of its corpus, so the checked-in corpus only grows by hand.
# Findings (crash-*, leak-*, timeout-*, oom-*) land in build/fuzz/findings/<target>/; the
# script exits 1 when any target found something. Per target it prints executions and coverage.
#   scripts/fuzz.sh [SECONDS]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
scripts/setup.sh fuzz
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
status=0
summary=()
for corpus in fuzz/*/corpus/*/; do
  name=$(basename "$corpus")
  binary=$(find build/fuzz/fuzz -name "fuzz_$name" -type f -perm -u+x | head -n 1)
  [ -n "$binary" ] || { echo "fuzz: no binary for $name" >&2; status=1; continue; }
  work=build/fuzz/corpus/$name findings=build/fuzz/findings/$name
  mkdir -p "$work" "$findings"
  cp -n "$corpus"/* "$work"/ 2>/dev/null || true
  log=build/fuzz/findings/$name.log
  echo "fuzz: $name for ${seconds}s"
  if ! "$binary" -max_total_time="$seconds" -timeout=25 -rss_limit_mb=4096 -print_final_stats=1 \
      -artifact_prefix="$findings/" "$work" >"$log" 2>&1; then
    status=1
    echo "fuzz: $name FOUND something, see $log and $findings/" >&2
  fi
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  cov=$(grep -o 'cov: [0-9]*' "$log" | tail -n 1 | cut -d' ' -f2)
  ft=$(grep -o 'ft: [0-9]*' "$log" | tail -n 1 | cut -d' ' -f2)
  summary+=("$(printf '%-22s %12s executions  cov %6s  ft %7s' "$name" "${execs:-?}" "${cov:-?}" "${ft:-?}")")
done
printf '%s\n' "${summary[@]}"
exit $status
