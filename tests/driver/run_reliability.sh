#!/usr/bin/env bash
# tnasm and tndump against streams, an output naming the source, a source cut short while read,
# and memory running out (for tnasm-lsp too). Usage:
# run_reliability.sh TNASM TNDUMP SANITIZED(0|1) TNASM_LSP
set -u
TNASM="$(cd "$(dirname "$1")" && pwd)/$(basename "$1")"
TNDUMP="$(cd "$(dirname "$2")" && pwd)/$(basename "$2")"
LSP="$(cd "$(dirname "$4")" && pwd)/$(basename "$4")"
. "$(dirname "$0")/cli_cases.sh"
SMALL=$'.string s "text"\n.function f\n.local a "a"\npushc s\npopl a\n.endfunction\ncall f\n'
large() {  # large FUNCTIONS FILE: about 650 bytes a function
    awk -v n="$1" 'BEGIN { for (f = 0; f < n; f++) {
        printf ".string s%d \"text number %d\"\n.function f%d\n.local a \"a\"\n", f, f, f
        for (i = 0; i < 20; i++) printf "pushi %d\npopl a\npushc s%d\n", i, f
        print ".endfunction" } }' > "$2"
}
judge() { [ "$2" -le 1 ] && [ "$(wc -l < err.txt)" -le 1 ] || fail "$1: $2, $(cat err.txt)"; }

begin "a pipe from another process, a FIFO with a writer and /dev/null are read to their end"
printf '%s' "$SMALL" > in.s
: > empty.s
"$TNASM" -o want.tnc in.s && "$TNASM" -o empty.tnc empty.s && mkfifo fifo.s || fail "setup"
run 0 "" "" -- "$TNASM" -o pipe.tnc <(cat in.s)
(sleep 0.3; cat in.s > fifo.s) &
run 0 "" "" -- "$TNASM" -o fifo.tnc fifo.s
run 0 "" "" -- "$TNASM" -o null.tnc /dev/null
cmp -s want.tnc pipe.tnc && cmp -s want.tnc fifo.tnc && cmp -s empty.tnc null.tnc &&
    cmp -s <("$TNDUMP" want.tnc | tail -n +2) <("$TNDUMP" <(cat want.tnc) | tail -n +2) ||
    fail "a stream was read differently from its file"

begin "an output that names the source is refused, whatever its spelling"
printf '%s' "$SMALL" > prog.s
cp prog.s keep.s && ln prog.s hard.s && ln -s prog.s link.s
for out in prog.s ./prog.s "$PWD/prog.s" hard.s link.s; do
    run 1 "" "tnasm: Unable to create '$out': It is the source file"$'\n' \
        -- "$TNASM" -o "$out" prog.s
done
run 1 "" $'tnasm: Unable to create \'prog.s\': It is the source file\n' -- "$TNASM" -o prog.s link.s
cmp -s prog.s keep.s || fail "the source was touched"

begin "a source cut short by another program is reported, never a bus error"
large 40000 big.s
changed=0
for delay in 0.05 0.1 0.2 0.3; do
    cp big.s cut.s
    "$TNASM" -o cut.tnc cut.s 2> err.txt &
    sleep "$delay"
    truncate -s 1M cut.s
    wait $!
    judge "cut after ${delay}s" $?
    grep -qx "tnasm: Unable to read 'cut.s': File changed while being read" err.txt && changed=1
done
[ "$changed" -gt 0 ] || fail "no run was cut short while reading"

# sweep NAME OUTPUT COMMAND...: limits from the least that lets the program start up to the
# first that is enough; each failing run gives the one report and no file tndump accepts.
# The program starts up with --version, or reading START when that is set; every run reads
# FEED (default: nothing) and writes its answers to answers.txt.
sweep() {
    local name="$1" output="$2" low=1024 high=262144 kb runs=0
    shift 2
    while [ $((high - low)) -gt 512 ]; do
        kb=$(((low + high) / 2))
        if [ -n "${START:-}" ]; then
            (ulimit -v $kb && exec "$@" < "$START") > /dev/null 2>&1
        else
            (ulimit -v $kb && exec "$1" --version) > /dev/null 2>&1
        fi && high=$kb || low=$kb
    done
    for ((kb = high; kb < 4194304; kb = kb * 13 / 10, runs++)); do
        rm -f "$output"
        (ulimit -v $kb && exec "$@" < "${FEED:-/dev/null}") > answers.txt 2> err.txt
        status=$?
        judge "$name at $kb KB" $status
        [ $status -eq 0 ] && break
        [ "$(cat err.txt)" = "$name: Out of memory" ] || fail "$name at $kb KB: $(cat err.txt)"
        [ -e "$output" ] && "$TNDUMP" "$output" > /dev/null 2>&1 && fail "$name at $kb KB: loadable"
    done
    [ $runs -gt 3 ] && [ $kb -lt 4194304 ] || fail "$name: $runs failing runs, last at $kb KB"
}

begin "memory that runs out ends in one report and status 1, at every limit"
if [ "$3" != 1 ]; then  # a sanitizer's allocator ignores address-space limits
    large 10000 big.s
    "$TNASM" -o big.tnc big.s || fail "tnasm refused the large source"
    sweep tnasm out.tnc "$TNASM" -o out.tnc big.s
    sweep tndump none "$TNDUMP" big.tnc
    sweep tndump none "$TNDUMP" --source big.tnc

    # The language server opening the large source, then shutting down: from the least memory
    # that lets it answer the handshake up, every run either ends normally or in the report.
    message() { printf 'Content-Length: %d\r\n\r\n%s' "${#1}" "$1"; }
    text=$(sed 's/\\/\\\\/g; s/"/\\"/g' big.s | awk '{ printf "%s\\n", $0 }')
    init='{"jsonrpc":"2.0","id":1,"method":"initialize","params":{"capabilities":{}}}'
    bye='{"jsonrpc":"2.0","id":2,"method":"shutdown"}'
    leave='{"jsonrpc":"2.0","method":"exit"}'
    { message "$init"; message "$bye"; message "$leave"; } > hello.rpc
    { message "$init"
      message '{"jsonrpc":"2.0","method":"textDocument/didOpen","params":{"textDocument":{"uri":"file:///big.s","languageId":"tnasm","version":1,"text":"'"$text"'"}}}'
      message "$bye"; message "$leave"; } > open.rpc
    START=hello.rpc FEED=open.rpc sweep "$(basename "$LSP")" none "$LSP"
    grep -q '"textDocument/publishDiagnostics"' answers.txt || fail "tnasm-lsp: no diagnostics"
fi
report
