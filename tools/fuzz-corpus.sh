#!/usr/bin/env bash
# Rebuilds the seed corpora of fuzz/corpus/ from the golden sources, the examples and the
# compiled files tnasm makes of them; inputs that once found a fault (regress-*) are kept.
# Usage: tools/fuzz-corpus.sh path/to/tnasm
#
#   parser, source   every golden source and example, good and bad
#   reader           the compiled file of every source that assembles
#   roundtrip        fixed byte strings: each picks a seed and a program shape
set -euo pipefail
if [ $# -ne 1 ] || [ ! -x "$1" ]; then
  echo "usage: $0 path/to/tnasm" >&2
  exit 2
fi
TNASM=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
cd "$(dirname "$0")/.."
CORPUS=fuzz/corpus
WORK=$(mktemp -d "${TMPDIR:-/tmp}/tnasm-corpus.XXXXXX")
trap 'rm -rf "$WORK"' EXIT

for target in parser source reader roundtrip; do
  mkdir -p "$CORPUS/$target"
  find "$CORPUS/$target" -type f ! -name 'regress-*' -delete
done

for source in tests/golden/*.s examples/*.s; do
  name=$(basename "$source" .s)
  [ "$(dirname "$source")" = examples ] && name="example-$name"
  cp "$source" "$CORPUS/parser/$name.s"
  cp "$source" "$CORPUS/source/$name.s"
  if "$TNASM" -o "$WORK/$name.tnc" "$source" 2>/dev/null; then
    cp "$WORK/$name.tnc" "$CORPUS/reader/$name.tnc"
  fi
done

# 64 bytes each: the first four are the seed, the rest the shape's numbers.
for i in $(seq 0 15); do
  bytes=""
  for k in $(seq 0 63); do bytes="$bytes\\$(printf '%03o' $(((i * 37 + k * 11) % 256)))"; done
  printf "$bytes" > "$CORPUS/roundtrip/seed-$i"
done
echo "corpora: $(for t in parser source reader roundtrip; do printf '%s %s  ' "$t" "$(ls "$CORPUS/$t" | wc -l)"; done)"
