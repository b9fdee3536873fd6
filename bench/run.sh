#!/usr/bin/env bash
# Benchmark runner: per preset, assembles the generated source with tnasm and reports wall time,
# MB/s, instruction lines/s, peak resident memory, the time of each stage (from tnasm_phases,
# which assembles the same source the same way), and in the same run two floors over the same
# file: the time of `wc -l`, and the time of a bare tokenizing pass (tnasm's own tokenizer with
# nothing behind it), with how many times that pass the whole assembly takes.
#
#   bench/run.sh [-b BUILD_DIR] [PRESET ...]      (default: every preset)
#
# The build directory (default build-bench) is configured as an optimised build (RelWithDebInfo, the project's default) with the
# benchmarks when it is missing. Sources are generated once, seeded, into BUILD_DIR/bench-data.
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=$ROOT/build-bench
if [[ ${1:-} == -b ]]; then
    BUILD=$(realpath -m "$2")
    shift 2
fi
PRESETS=("$@")
if [[ ${#PRESETS[@]} -eq 0 ]]; then
    PRESETS=(small medium large strings-200k strings-1m)
fi

if [[ ! -f $BUILD/build.ninja ]]; then
    cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTNASM_BENCH=ON \
        -DTNASM_TESTS=OFF >/dev/null
fi
ninja -C "$BUILD" -j2 tnasm tnasm_bench_gen tnasm_phases tnasm_measure >/dev/null

DATA=$BUILD/bench-data
mkdir -p "$DATA"

# The value of 'name' in a file of "name value" lines.
value_of() { awk -v key="$1" '$1 == key { print $2 }' "$2"; }

# Wall seconds of a command, from tnasm_measure.
wall_of() { "$BUILD/bench/tnasm_measure" "$@" 2>&1 >/dev/null | awk '/^wall / { print $2 }'; }

printf '| preset | MB | instr. lines | wall s | MB/s | M lines/s | peak RSS MB | RSS/source '
printf '| parse s | Compress s | write s | wc -l s | tokenize s | x tokenize |\n'
printf '|---|---|---|---|---|---|---|---|---|---|---|---|---|---|\n'
for preset in "${PRESETS[@]}"; do
    source=$DATA/$preset.s
    if [[ ! -f $source || ! -f $source.counts ]]; then
        "$BUILD/bench/tnasm_bench_gen" "$preset" "$source" >"$source.counts"
    fi
    bytes=$(value_of bytes "$source.counts")
    instructions=$(value_of instruction_lines "$source.counts")

    cat "$source" >/dev/null  # into the page cache, for every contender alike
    floor=$(wall_of wc -l "$source")
    measured=$("$BUILD/bench/tnasm_measure" "$BUILD/tnasm" -o "$DATA/$preset.tnc" "$source" 2>&1)
    wall=$(awk '/^wall / { print $2 }' <<<"$measured")
    rss=$(awk '/^wall / { print $4 }' <<<"$measured")
    status=$(awk '/^wall / { print $6 }' <<<"$measured")
    if [[ $status != 0 ]]; then
        echo "tnasm failed on $source:" >&2
        echo "$measured" >&2
        exit 1
    fi
    "$BUILD/bench/tnasm_phases" "$source" "$DATA/$preset.phases.tnc" >"$DATA/$preset.phases"
    cmp -s "$DATA/$preset.tnc" "$DATA/$preset.phases.tnc" || {
        echo "tnasm_phases wrote other bytes than tnasm for $preset" >&2
        exit 1
    }
    phases=$DATA/$preset.phases
    awk -v p="$preset" -v b="$bytes" -v n="$instructions" -v w="$wall" -v r="$rss" \
        -v parse="$(value_of parse "$phases")" -v compress="$(value_of compress "$phases")" \
        -v write="$(value_of write "$phases")" -v floor="$floor" \
        -v tokenize="$(value_of tokenize "$phases")" 'BEGIN {
        mb = b / 1e6
        printf "| %s | %.1f | %d | %.3f | %.0f | %.2f | %.0f | %.2f | %.3f | %.3f | %.3f | %.3f | %.3f | %.1f |\n",
            p, mb, n, w, mb / w, n / w / 1e6, r / 1024, r * 1024 / b, parse, compress, write,
            floor, tokenize, (tokenize > 0 ? w / tokenize : 0)
    }'
    rm -f "$DATA/$preset.tnc" "$DATA/$preset.phases.tnc"
done
