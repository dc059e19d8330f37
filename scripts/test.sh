#!/usr/bin/env bash
# Sets everything up, builds with AddressSanitizer and UndefinedBehaviorSanitizer, and runs
# every test (unit tests, tool tests, and each fuzz target for a bounded time).
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${CI:-}" = "true" ]; then export XYLEM_FUZZ_SECONDS=${XYLEM_FUZZ_SECONDS:-20}; fi
scripts/setup.sh test
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
cd build/test
ctest --output-on-failure -j "$(nproc)"
