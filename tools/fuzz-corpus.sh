#!/usr/bin/env bash
# Rebuilds the seed corpora of fuzz/corpus/ from the golden sources, the examples and the
# compiled files tnasm makes of them; inputs that once found a fault (regress-*) are kept.
# Usage: tools/fuzz-corpus.sh path/to/tnasm
#
#   parser, source   every golden source and example, good and bad
#   reader           the compiled file of every source that assembles
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

for target in parser source reader; do
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

echo "corpora: $(for t in parser source reader; do printf '%s %s  ' "$t" "$(ls "$CORPUS/$t" | wc -l)"; done)"
