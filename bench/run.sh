#!/usr/bin/env bash
# Benchmark runner. Per preset it generates the program once (seeded) as tnasm source, as Lua 5.4
# source and as GNU as x86-64 source of the same shape, then times in rounds, one command after
# the other within each round so that every contender meets the same load:
#   tnasm           assembling the preset
#   luac            luac5.4 compiling the Lua rendering
#   as              GNU as assembling the x86-64 rendering
#   wc -l           reading the tnasm source, the lower floor
#   tokenize        a bare pass of tnasm's own tokenizer over it, nothing behind it
# and reports the median of the rounds, with the ratios taken from those medians: tnasm/luac,
# tnasm/as, how many times the bare tokenizing pass the assembly takes, and tnasm's peak
# resident memory per source byte. After the rounds tnasm_phases times each stage of the same
# assembly, and must write the same bytes as tnasm.
#
#   bench/run.sh [-b BUILD_DIR] [-r ROUNDS] [PRESET ...]
#
# Presets: tiny (examples/loop.s against a one-line Lua file and a one-line assembly file: the
# cost of starting the process), small, medium, large, large-names (large with a run-time name
# of its own for every variable), strings-200k, strings-1m. Default: all but large-names.
# ROUNDS defaults to 5 (tiny takes 20 times as many). The build directory (default build-bench)
# is configured as an optimised build with the benchmarks when it is missing; luac5.4 and as
# come from tools/install-deps.sh --bench when they are missing.
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=$ROOT/build-bench
ROUNDS=5
while [[ ${1:-} == -* ]]; do
    case $1 in
        -b) BUILD=$(realpath -m "$2"); shift 2 ;;
        -r) ROUNDS=$2; shift 2 ;;
        *) echo "usage: $0 [-b BUILD_DIR] [-r ROUNDS] [PRESET ...]" >&2; exit 2 ;;
    esac
done
PRESETS=("$@")
if [[ ${#PRESETS[@]} -eq 0 ]]; then
    PRESETS=(tiny small medium large strings-200k strings-1m)
fi

if ! command -v luac5.4 >/dev/null || ! command -v as >/dev/null; then
    bash "$ROOT/tools/install-deps.sh" --bench
fi
if [[ ! -f $BUILD/build.ninja ]]; then
    cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTNASM_BENCH=ON \
        -DTNASM_TESTS=OFF >/dev/null
fi
ninja -C "$BUILD" -j2 tnasm tnasm_bench_gen tnasm_phases tnasm_measure tnasm_lsp_bench >/dev/null

DATA=$BUILD/bench-data
mkdir -p "$DATA"
MEASURE=$BUILD/bench/tnasm_measure

# The value of 'name' in a file of "name value" lines.
value_of() { awk -v key="$1" '$1 == key { print $2 }' "$2"; }

# Runs a command under tnasm_measure and appends "NAME WALL RSS_KB" to the round file; a
# command that fails stops the runner.
measure() {
    local name=$1
    shift
    local report
    report=$("$MEASURE" "$@" 2>&1 >/dev/null | tail -n 1)
    if [[ $(awk '{ print $6 }' <<<"$report") != 0 ]]; then
        echo "$name failed: $*" >&2
        echo "$report" >&2
        exit 1
    fi
    awk -v n="$name" '{ print n, $2, $4 }' <<<"$report" >>"$ROUND_FILE"
}

# The median wall seconds (or with 'rss' the median peak KB) of one contender's rounds.
median() {
    awk -v n="$1" -v f="${2:-wall}" '$1 == n { print (f == "rss" ? $3 : $2) }' "$ROUND_FILE" |
        sort -g | awk '{ v[NR] = $1 } END { print (NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2) }'
}

printf '| preset | MB | instr. lines | tnasm s | luac s | as s | tnasm/luac | tnasm/as '
printf '| wc -l s | tokenize s | x tokenize | peak RSS MB | RSS/source '
printf '| parse s | Compress s | write s |\n'
printf '|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|\n'
for preset in "${PRESETS[@]}"; do
    rounds=$ROUNDS
    if [[ $preset == tiny ]]; then
        source=$ROOT/examples/loop.s
        lua=$DATA/tiny.lua
        gas=$DATA/tiny.gs
        echo 'print("hello")' >"$lua"
        echo 'ret' >"$gas"
        bytes=$(stat -c %s "$source")
        instructions=$(grep -c '^[[:space:]]\+[a-z]' "$source")
        rounds=$((ROUNDS * 20))
    else
        source=$DATA/$preset.s
        lua=$DATA/$preset.lua
        gas=$DATA/$preset.gs
        if [[ ! -f $source.counts || ! -f $lua || ! -f $gas ]]; then
            "$BUILD/bench/tnasm_bench_gen" "$preset" "$source" >"$source.counts"
            "$BUILD/bench/tnasm_bench_gen" --lua "$preset" "$lua" >/dev/null
            "$BUILD/bench/tnasm_bench_gen" --gas "$preset" "$gas" >/dev/null
        fi
        bytes=$(value_of bytes "$source.counts")
        instructions=$(value_of instruction_lines "$source.counts")
    fi

    cat "$source" "$lua" "$gas" >/dev/null # into the page cache, for every contender alike
    ROUND_FILE=$DATA/$preset.rounds
    : >"$ROUND_FILE"
    for ((round = 0; round < rounds; round++)); do
        measure tnasm "$BUILD/tnasm" -o "$DATA/$preset.tnc" "$source"
        measure luac luac5.4 -o "$DATA/$preset.luac" "$lua"
        measure as as -o "$DATA/$preset.o" "$gas"
        measure wc wc -l "$source"
        measure tokenize "$BUILD/bench/tnasm_phases" --tokenize "$source"
    done

    "$BUILD/bench/tnasm_phases" "$source" "$DATA/$preset.phases.tnc" >"$DATA/$preset.phases"
    cmp -s "$DATA/$preset.tnc" "$DATA/$preset.phases.tnc" || {
        echo "tnasm_phases wrote other bytes than tnasm for $preset" >&2
        exit 1
    }
    phases=$DATA/$preset.phases
    awk -v p="$preset" -v b="$bytes" -v n="$instructions" -v t="$(median tnasm)" \
        -v l="$(median luac)" -v a="$(median as)" -v w="$(median wc)" \
        -v k="$(median tokenize)" -v r="$(median tnasm rss)" \
        -v parse="$(value_of parse "$phases")" -v compress="$(value_of compress "$phases")" \
        -v write="$(value_of write "$phases")" 'BEGIN {
        printf "| %s | %.1f | %d | %.4f | %.4f | %.4f | %.2f | %.2f | %.4f | %.4f | %.1f | %.0f |",
            p, b / 1e6, n, t, l, a, t / l, t / a, w, k, (k > 0 ? t / k : 0), r / 1024
        # A source of a few hundred bytes: the process itself is the memory, and no stage
        # takes a measurable time.
        if (p == "tiny") printf " — | — | — | — |\n"
        else printf " %.2f | %.3f | %.3f | %.3f |\n", r * 1024 / b, parse, compress, write
    }'
    rm -f "$DATA/$preset.tnc" "$DATA/$preset.phases.tnc" "$DATA/$preset.luac" "$DATA/$preset.o"
done

echo
echo "tnasm-lsp, from a change to its diagnostics (tnasm_lsp_bench):"
"$BUILD/bench/tnasm_lsp_bench" small
