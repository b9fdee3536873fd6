#!/usr/bin/env bash
# Whole-program cases of the assembler: run_golden.sh <path-to-tnasm> <golden-dir>
#
# NAME.s       a source that assembles; NAME.hex holds the expected compiled bytes as
#              annotated hex: "OFFSET: BYTES ; comment", offsets in hex and checked against the
#              running byte count, everything from ';' to the end of a line ignored.
# bad-NAME.s   a source that fails; bad-NAME.stderr holds the exact standard error, the exit
#              status must be 1 and no output file may be left behind.
# NAME.args    optional: extra arguments placed before the source name (one line).
# NAME.dump    what tndump prints for the compiled file (its standard output, then its standard
#              error; status 0 exactly when there is no error), required beside every NAME.hex.
# NAME.listing optional: what tndump --listing prints for it.
#
# Each case runs in a fresh directory of its own, so error lines read "NAME.s:LINE: ...".
# TNASM_UPDATE_GOLDEN=1 rewrites the expected files from what tnasm produced (keeping the
# layout and comments of a .hex file where the byte counts allow); read the diff before
# committing it.
set -u

if [ $# -ne 2 ]; then
    echo "usage: $0 <path-to-tnasm> <golden-dir>" >&2
    exit 2
fi
# Each case runs in a directory of its own, so the program is named by an absolute path.
tnasm=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
# tndump is built beside tnasm.
tndump=$(dirname "$tnasm")/tndump
golden=$2
update=${TNASM_UPDATE_GOLDEN:-0}
# Rewriting the expected files is a tool of its own, only loaded when asked for.
if [ "$update" = 1 ]; then
    . "$(dirname "$0")/../../tools/golden-rewrite.sh"
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Expected bytes of an annotated hex file, one lower-case byte a line; a malformed line or an
# offset that disagrees with the bytes before it is reported and fails.
parse_hex() {
    awk -v file="$1" '
        function hexval(s,    i, v, c) {
            v = 0
            s = tolower(s)
            for (i = 1; i <= length(s); i++) {
                c = index("0123456789abcdef", substr(s, i, 1))
                if (c == 0) return -1
                v = v * 16 + c - 1
            }
            return v
        }
        {
            line = $0
            sub(/;.*/, "", line)
            gsub(/^[ \t]+|[ \t]+$/, "", line)
            if (line == "") next
            colon = index(line, ":")
            if (colon == 0) { printf "%s:%d: missing offset\n", file, NR > "/dev/stderr"; bad = 1; exit 1 }
            offset = hexval(substr(line, 1, colon - 1))
            if (offset != count) {
                printf "%s:%d: offset %s, but %d (0x%x) bytes come before it\n", file, NR,
                       substr(line, 1, colon - 1), count, count > "/dev/stderr"
                bad = 1; exit 1
            }
            n = split(substr(line, colon + 1), bytes, /[ \t]+/)
            for (i = 1; i <= n; i++) {
                if (bytes[i] == "") continue
                if (bytes[i] !~ /^[0-9A-Fa-f][0-9A-Fa-f]$/) {
                    printf "%s:%d: not a byte: %s\n", file, NR, bytes[i] > "/dev/stderr"
                    bad = 1; exit 1
                }
                print tolower(bytes[i])
                count++
            }
        }
        END { if (bad) exit 1 }
    ' "$1"
}

actual_bytes() {
    od -An -v -tx1 "$1" | tr -s ' \n' '\n\n' | sed '/^$/d'
}

# One byte a line in, "offset: 16 bytes" lines out, for a readable diff.
as_rows() {
    awk '{ if (NR % 16 == 1) printf "%s%06x:", (NR > 1 ? "\n" : ""), NR - 1; printf " %s", $0 }
         END { if (NR > 0) printf "\n" }'
}

# check_dump NAME KIND [OPTION]: runs tndump over the case's compiled file and compares what it
# prints with NAME.KIND; the listing is optional, the dump is not.
check_dump() {
    local name=$1 kind=$2 option=$3
    local expected="$golden/$name.$kind"
    if [ ! -f "$expected" ] && { [ "$kind" != dump ] || [ "$update" != 1 ]; }; then
        [ "$kind" = dump ] && { fail "$name" "no $name.dump"; return 1; }
        return 0
    fi
    (cd "$dir" && "$tndump" $option output.tnc > "$kind.out" 2> "$kind.err")
    local status=$?
    cat "$dir/$kind.out" "$dir/$kind.err" > "$dir/$kind"
    local want=0
    [ -s "$dir/$kind.err" ] && want=1
    if [ "$status" -ne "$want" ]; then
        fail "$name" "tndump $option: exit status $status"
        return 1
    fi
    if [ "$update" = 1 ]; then cp "$dir/$kind" "$expected"; fi
    if ! diff -u --label expected --label actual "$expected" "$dir/$kind"; then
        fail "$name" "$name.$kind differs"
        return 1
    fi
    return 0
}

cases=0
failed=0
fail() {
    echo "FAIL $1: $2"
    failed=$((failed + 1))
}

for source in "$golden"/*.s; do
    [ -e "$source" ] || continue
    name=$(basename "$source" .s)
    cases=$((cases + 1))
    dir="$work/$name"
    mkdir -p "$dir"
    cp "$source" "$dir/$name.s"
    args=()
    if [ -f "$golden/$name.args" ]; then
        read -r -a args < "$golden/$name.args"
    fi
    (cd "$dir" && "$tnasm" ${args[@]+"${args[@]}"} "$name.s" > stdout 2> stderr)
    status=$?

    case "$name" in
    bad-*)
        expected="$golden/$name.stderr"
        if [ "$update" = 1 ]; then cp "$dir/stderr" "$expected"; fi
        if [ ! -f "$expected" ]; then fail "$name" "no $name.stderr"; continue; fi
        if [ "$status" -ne 1 ]; then
            fail "$name" "exit status $status, expected 1"
            cat "$dir/stderr"
            continue
        fi
        if ! diff -u --label expected --label actual "$expected" "$dir/stderr"; then
            fail "$name" "standard error differs"
            continue
        fi
        if [ -s "$dir/stdout" ]; then fail "$name" "unexpected standard output"; continue; fi
        # No output file may claim success after an error: the compiled file is created only
        # after the whole source has been read and resolved.
        if ls "$dir" | grep -q '\.tnc$'; then fail "$name" "an output file was left behind"; continue; fi
        ;;
    *)
        expected="$golden/$name.hex"
        if [ "$status" -ne 0 ]; then
            fail "$name" "exit status $status, expected 0"
            cat "$dir/stderr"
            continue
        fi
        if [ -s "$dir/stderr" ] || [ -s "$dir/stdout" ]; then
            fail "$name" "unexpected output"
            cat "$dir/stdout" "$dir/stderr"
            continue
        fi
        actual_bytes "$dir/output.tnc" > "$dir/actual.bytes"
        if [ "$update" = 1 ]; then
            if [ -f "$expected" ]; then
                rewrite_hex "$expected" "$dir/actual.bytes"
            else
                as_rows < "$dir/actual.bytes" > "$expected"
            fi
        fi
        if [ ! -f "$expected" ]; then fail "$name" "no $name.hex"; continue; fi
        if ! parse_hex "$expected" > "$dir/expected.bytes"; then
            fail "$name" "$name.hex is malformed"
            continue
        fi
        if ! cmp -s "$dir/expected.bytes" "$dir/actual.bytes"; then
            as_rows < "$dir/expected.bytes" > "$dir/expected.rows"
            as_rows < "$dir/actual.bytes" > "$dir/actual.rows"
            first=$(diff "$dir/expected.bytes" "$dir/actual.bytes" | head -1 | sed 's/[acd,].*//')
            fail "$name" "compiled bytes differ (first at byte offset 0x$(printf '%x' $((first - 1))))"
            diff -u --label expected --label actual "$dir/expected.rows" "$dir/actual.rows"
            continue
        fi
        if ! check_dump "$name" dump "" || ! check_dump "$name" listing --listing; then
            continue
        fi
        ;;
    esac
    echo "ok   $name"
done

echo "$cases cases, $failed failed"
[ "$cases" -gt 0 ] && [ "$failed" -eq 0 ]
