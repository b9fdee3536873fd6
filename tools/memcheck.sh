#!/usr/bin/env bash
# tnasm and tndump over every golden source and example, the runs that succeed and the runs
# that fail, under a memory checker: LeakSanitizer when the programs were built with the
# sanitizers, valgrind's memcheck (leaks included) otherwise. Any error or leak fails.
# Usage: tools/memcheck.sh path/to/tnasm path/to/tndump
set -u
if [ $# -ne 2 ] || [ ! -x "$1" ] || [ ! -x "$2" ]; then
  echo "usage: $0 path/to/tnasm path/to/tndump" >&2
  exit 2
fi
TNASM=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
TNDUMP=$(cd "$(dirname "$2")" && pwd)/$(basename "$2")
ROOT=$(cd "$(dirname "$0")/.." && pwd)
WORK=$(mktemp -d "${TMPDIR:-/tmp}/tnasm-memcheck.XXXXXX")
trap 'rm -rf "$WORK"' EXIT

# A checker's own finding exits with this status; the programs themselves only use 0 and 1.
FOUND=99
if grep -q "__asan_init" "$TNASM"; then
  CHECKER="LeakSanitizer"
  export ASAN_OPTIONS="detect_leaks=1:exitcode=$FOUND:abort_on_error=0"
  export UBSAN_OPTIONS="halt_on_error=1:exitcode=$FOUND:print_stacktrace=1"
  check() { "$@"; }
else
  if ! command -v valgrind > /dev/null; then
    echo "memcheck: valgrind is not installed (tools/install-deps.sh installs it)" >&2
    exit 1
  fi
  CHECKER="valgrind"
  check() {
    valgrind --quiet --error-exitcode=$FOUND --leak-check=full \
      --errors-for-leak-kinds=definite,indirect,possible \
      --show-leak-kinds=definite,indirect,possible "$@"
  }
fi

failed=0
runs=0
# run NAME EXPECTED -- COMMAND...: the command under the checker, in its case's directory.
run() {
  local name=$1 expected=$2
  shift 3
  runs=$((runs + 1))
  check "$@" > "$WORK/out" 2> "$WORK/err" < /dev/null
  local status=$?
  if [ "$status" -eq "$FOUND" ] || { [ "$expected" != any ] && [ "$status" -ne "$expected" ]; }; then
    echo "FAIL [$name] status $status (expected $expected): $*"
    sed 's/^/    /' "$WORK/err" | head -40
    failed=$((failed + 1))
  fi
}

for source in "$ROOT"/tests/golden/*.s "$ROOT"/examples/*.s; do
  name=$(basename "$source" .s)
  dir="$WORK/$name"
  mkdir -p "$dir"
  cp "$source" "$dir/"
  cd "$dir" || exit 2
  args=""
  [ -f "${source%.s}.args" ] && args=$(cat "${source%.s}.args")
  expected=0
  case "$name" in bad-*) expected=1 ;; esac
  # shellcheck disable=SC2086 # the .args line is split into words on purpose
  run "$name" "$expected" -- "$TNASM" $args "$name.s"
  if [ -f output.tnc ]; then
    run "$name dump" any -- "$TNDUMP" output.tnc
    run "$name listing" any -- "$TNDUMP" --listing output.tnc
    run "$name source" any -- "$TNDUMP" --source output.tnc
    # A cut file: every reader's failure path.
    head -c $(($(wc -c < output.tnc) - 5)) output.tnc > cut.tnc
    run "$name cut" 1 -- "$TNDUMP" cut.tnc
  fi
  cd "$ROOT" || exit 2
done
run "tndump missing file" 1 -- "$TNDUMP" "$WORK/missing.tnc"
run "tnasm missing file" 1 -- "$TNASM" "$WORK/missing.s"

echo "memcheck ($CHECKER): $runs runs, $failed failed"
[ "$failed" -eq 0 ]
