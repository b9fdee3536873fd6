#!/usr/bin/env bash
# tnasm and tndump when the machine works against them: sources that are streams, an output
# that names the source, a source cut short by another program while it is read, and memory
# that runs out anywhere. Usage: run_reliability.sh path/to/tnasm path/to/tndump SANITIZED
# (SANITIZED is 1 for a sanitizer build, whose allocator ignores address-space limits).
set -u

if [ $# -ne 3 ] || [ ! -x "$1" ] || [ ! -x "$2" ]; then
    echo "usage: $0 path/to/tnasm path/to/tndump SANITIZED" >&2
    exit 2
fi
TNASM="$(cd "$(dirname "$1")" && pwd)/$(basename "$1")"
TNDUMP="$(cd "$(dirname "$2")" && pwd)/$(basename "$2")"
SANITIZED="$3"
. "$(dirname "$0")/cli_cases.sh"

SMALL=$'.string s "text"\n.function f\n.local a "a"\npushc s\npopl a\n.endfunction\ncall f\n'

# large FUNCTIONS FILE: a program of that many functions, about 650 bytes each.
large() {
    awk -v n="$1" 'BEGIN { for (f = 0; f < n; f++) {
        printf ".string s%d \"text number %d\"\n.function f%d\n.local a \"a\"\n", f, f, f
        for (i = 0; i < 20; i++) printf "pushi %d\npopl a\npushc s%d\n", i, f
        print ".endfunction" } }' > "$2"
}

# judge PROGRAM STATUS ERRFILE WHAT: a run ends in 0, or in 1 with at most one report line.
judge() {
    if [ "$2" -gt 1 ]; then fail "$1 ended with status $2 ($4)"; fi
    if [ "$(wc -l < "$3")" -gt 1 ]; then fail "$1 made more than one report ($4)"; fi
}

# ---- sources and compiled files that are streams ----

begin "a pipe from another process, a FIFO with a writer and /dev/null are read to their end"
printf '%s' "$SMALL" > in.s
: > empty.s
"$TNASM" -o want.tnc in.s && "$TNASM" -o empty.tnc empty.s || fail "tnasm refused a file"
run 0 "" "" -- "$TNASM" -o pipe.tnc <(cat in.s)
mkfifo fifo.s
(sleep 0.3; cat in.s > fifo.s) &
run 0 "" "" -- "$TNASM" -o fifo.tnc fifo.s
wait
run 0 "" "" -- "$TNASM" -o null.tnc /dev/null
cmp -s want.tnc pipe.tnc && cmp -s want.tnc fifo.tnc && cmp -s empty.tnc null.tnc ||
    fail "a stream assembled differently from its file"
"$TNDUMP" want.tnc | tail -n +2 > want.txt
"$TNDUMP" <(cat want.tnc) | tail -n +2 > pipe.txt
cmp -s want.txt pipe.txt || fail "tndump read a pipe differently from its file"

# ---- an output that names the source ----

begin "an output that names the source is refused, whatever its spelling"
printf '%s' "$SMALL" > prog.s
cp prog.s keep.s
ln prog.s hard.s
ln -s prog.s link.s
for out in prog.s ./prog.s "$PWD/prog.s" hard.s link.s; do
    run 1 "" "tnasm: Unable to create '$out': It is the source file"$'\n' \
        -- "$TNASM" -o "$out" prog.s
done
run 1 "" $'tnasm: Unable to create \'prog.s\': It is the source file\n' \
    -- "$TNASM" -o prog.s link.s
cmp -s prog.s keep.s || fail "the source was touched"

# ---- a source cut short while it is read ----

begin "a source cut short by another program is reported, never a bus error"
large 40000 big.s
changed=0
for delay in 0.05 0.1 0.15 0.2 0.3 0.4; do
    cp big.s cut.s
    "$TNASM" -o cut.tnc cut.s 2> err.txt &
    pid=$!
    sleep "$delay"
    truncate -s 1M cut.s
    wait "$pid"
    status=$?
    judge tnasm "$status" err.txt "cut after ${delay}s"
    if [ "$(cat err.txt)" = "tnasm: Unable to read 'cut.s': File changed while being read" ]; then
        changed=$((changed + 1))
    fi
done
[ "$changed" -gt 0 ] || fail "no run was cut short while reading"

# ---- memory that runs out ----

# limited KB COMMAND...: the command with its address space limited to KB kilobytes.
limited() { (ulimit -v "$1" && exec "${@:2}"); }

# sweep PROGRAM OUTPUT COMMAND...: runs the command under limits from the least that lets the
# program start at all up to one that is enough; every run ends in 0 or in 1 with the one
# report, and the first one that succeeds ends the sweep. A failed tnasm leaves no output that
# tndump (which reads the way the loader does) accepts.
sweep() {
    local name="$1" output="$2" low=1024 high=262144 kb status runs=0
    shift 2
    while [ $((high - low)) -gt 512 ]; do
        kb=$(((low + high) / 2))
        if limited "$kb" "$1" --version > /dev/null 2>&1; then high=$kb; else low=$kb; fi
    done
    for ((kb = high; ; kb = kb * 13 / 10)); do
        rm -f "$output"
        limited "$kb" "$@" > /dev/null 2> err.txt
        status=$?
        runs=$((runs + 1))
        judge "$name" "$status" err.txt "$kb KB"
        [ "$status" -eq 0 ] && break
        [ "$(cat err.txt)" = "$name: Out of memory" ] || fail "$name at $kb KB: $(cat err.txt)"
        if [ -e "$output" ] && "$TNDUMP" "$output" > /dev/null 2>&1; then
            fail "$name at $kb KB left a loadable file"
        fi
        [ "$kb" -lt 4194304 ] || { fail "$name did not succeed at 4 GiB"; break; }
    done
    [ "$runs" -gt 3 ] || fail "$name ran out of memory at only $runs limits"
}

begin "memory that runs out ends in one report and status 1, at every limit"
if [ "$SANITIZED" != 1 ]; then
    large 10000 big.s
    "$TNASM" -o big.tnc big.s || fail "tnasm refused the large source"
    sweep tnasm out.tnc "$TNASM" -o out.tnc big.s
    "$TNDUMP" out.tnc > /dev/null || fail "the run that succeeded wrote no loadable file"
    sweep tndump none "$TNDUMP" big.tnc
    sweep tndump none "$TNDUMP" --source big.tnc
fi

report
