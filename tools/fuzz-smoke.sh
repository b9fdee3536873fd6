#!/usr/bin/env bash
# Fuzz smoke runs: builds the libFuzzer targets of fuzz/ in build-fuzz (clang, AddressSanitizer
# and UndefinedBehaviorSanitizer) and runs each for a bounded time on top of its checked-in
# corpus, which holds the seeds and every input that once found a fault. Exits non-zero on any
# finding; the input that found it is left in build-fuzz/findings/.
#
#   FUZZ_SECONDS   seconds per target (default 60)
#   FUZZ_TARGETS   targets to run, e.g. "reader source" (default: every fuzz/fuzz_*.cpp)
#   JOBS           build jobs (default 2)
set -euo pipefail
cd "$(dirname "$0")/.."

JOBS=${JOBS:-2}
FUZZ_SECONDS=${FUZZ_SECONDS:-60}
BUILD=build-fuzz

CC=clang CXX=clang++ cmake -S . -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DTNASM_FUZZ=ON -DTNASM_TESTS=OFF >/dev/null
ninja -C "$BUILD" -j"$JOBS" fuzz

if [ -z "${FUZZ_TARGETS:-}" ]; then
  FUZZ_TARGETS=$(cd fuzz && ls fuzz_*.cpp | sed 's/^fuzz_//; s/\.cpp$//')
fi

mkdir -p "$BUILD/findings"
WORK=$(mktemp -d "${TMPDIR:-/tmp}/tnasm-fuzz.XXXXXX")
trap 'rm -rf "$WORK"' EXIT

failed=""
for name in $FUZZ_TARGETS; do
  corpus=fuzz/corpus/$name
  mkdir -p "$WORK/$name"
  echo "-- fuzz_$name: ${FUZZ_SECONDS}s over $(ls "$corpus" 2>/dev/null | wc -l) corpus inputs"
  # New inputs go to the scratch directory (the first one named); the checked-in corpus is only
  # read. Every input takes milliseconds: one that takes 20 seconds is a finding.
  if ! "$BUILD/fuzz/fuzz_$name" -max_total_time="$FUZZ_SECONDS" -timeout=20 \
      -rss_limit_mb=6144 -malloc_limit_mb=6144 -print_final_stats=1 \
      -artifact_prefix="$BUILD/findings/$name-" "$WORK/$name" "$corpus" \
      > "$WORK/$name.log" 2>&1; then
    tail -n 60 "$WORK/$name.log"
    failed="$failed $name"
  else
    grep -E '^stat::(number_of_executed_units|peak_rss_mb)' "$WORK/$name.log" || true
  fi
done

if [ -n "$failed" ]; then
  echo "fuzz findings in:$failed (inputs in $BUILD/findings/)"
  exit 1
fi
echo "fuzz smoke runs: no findings"
