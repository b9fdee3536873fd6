#!/usr/bin/env bash
# Builds tnasm and assembles an example program (examples/loop.s unless another source is
# given). Installs what is missing first; safe to run again.
set -euo pipefail
cd "$(dirname "$0")/.."

bash tools/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
ninja -C build -j"${JOBS:-2}" tnasm $( [ -f driver/tndump_main.cpp ] && echo tndump )

source_file=${1:-examples/loop.s}
output_file=build/$(basename "${source_file%.*}").tnc
./build/tnasm -o "$output_file" "$source_file"
echo "assembled $source_file -> $output_file ($(stat -c %s "$output_file") bytes)"
if [ -x build/tndump ]; then
  ./build/tndump "$output_file"
else
  od -A d -t x1 "$output_file" | head -n 40
fi
