#!/usr/bin/env bash
# Sets everything up, checks the include graph and the formatting, runs the parallel stages'
# suites under ThreadSanitizer and each libFuzzer target (clang) for a few seconds, then builds
# with AddressSanitizer and UndefinedBehaviorSanitizer and runs every test (unit tests, tool
# tests, each fuzz target's corpus and built-in mutator for a bounded time).
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${CI:-}" = "true" ]; then
  export XYLEM_FUZZ_SECONDS=${XYLEM_FUZZ_SECONDS:-20} XYLEM_WERROR=${XYLEM_WERROR:-ON}
fi
scripts/setup.sh test
python3 scripts/check_includes.py
scripts/check_format.sh

scripts/setup.sh tsan
export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1:second_deadlock_stack=1}
for suite in build/tsan/tests/*/test_* build/tsan/tests/*/*/test_*; do
  [ -f "$suite" ] && [ -x "$suite" ] || continue
  echo "ThreadSanitizer: $(basename "$suite")"
  # The huge-file cases run below; here the parallel stages on ordinary inputs.
  "$suite" --gtest_brief=1 --gtest_filter='-*Large*:*Huge*'
done

# Every libFuzzer target, built with clang, for a bounded time on a copy of its corpus.
# A finding is reported with its input (build/fuzz/findings/) but does not stop the run: short
# campaigns find new inputs at random, and one is kept for a fix in fuzz/*/findings/.
scripts/fuzz.sh "${XYLEM_LIBFUZZER_SECONDS:-10}" || echo "libFuzzer: FINDINGS above, kept in build/fuzz/findings/"

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
cd build/test
# A hung test fails on its own instead of holding the run for ctest's 25-minute default.
ctest --output-on-failure --timeout 300 -j "$(nproc)"
