#!/usr/bin/env bash
# Builds and runs every test: the normal build, then the same suite under AddressSanitizer
# and UndefinedBehaviorSanitizer, then the install/package checks and fuzz smoke runs when
# they are present. Installs what is missing first; safe to run again.
set -euo pipefail
cd "$(dirname "$0")/.."

bash tools/install-deps.sh

JOBS=${JOBS:-2}

echo "== build and test (Release, -O3) =="
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
ninja -C build -j"$JOBS"
ctest --test-dir build --output-on-failure -j"$JOBS"

if [ "${TNASM_SKIP_SANITIZE:-0}" != "1" ]; then
  echo "== build and test (AddressSanitizer + UndefinedBehaviorSanitizer) =="
  cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTNASM_SANITIZE=ON >/dev/null
  ninja -C build-asan -j"$JOBS"
  ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --test-dir build-asan --output-on-failure -j"$JOBS"
fi

if [ -x tools/check-install.sh ] || [ -f tools/check-install.sh ]; then
  echo "== install, package and consumer =="
  bash tools/check-install.sh build
fi

if [ -f tools/fuzz-smoke.sh ] && [ "${TNASM_SKIP_FUZZ:-0}" != "1" ]; then
  echo "== fuzz smoke runs =="
  bash tools/fuzz-smoke.sh
fi
echo "== all tests passed =="
