#!/usr/bin/env bash
# tndump --json over every golden program, every example and a few damaged files: each document
# must be strict JSON (no NaN, valid UTF-8) that the checked-in schema accepts, and must say what
# the readable dump says about the same file.
# Usage: run_tndump_json.sh path/to/tndump path/to/tnasm
set -u

if [ $# -ne 2 ] || [ ! -x "$1" ] || [ ! -x "$2" ]; then
    echo "usage: $0 path/to/tndump path/to/tnasm" >&2
    exit 2
fi
TNDUMP="$(cd "$(dirname "$1")" && pwd)/$(basename "$1")"
TNASM="$(cd "$(dirname "$2")" && pwd)/$(basename "$2")"
ROOT="$(cd "$(dirname "$0")/../.." && pwd)"
# The system's own interpreter: the validator is a Debian package, unknown to other Pythons.
PYTHON=/usr/bin/python3
WORK="$(mktemp -d "${TMPDIR:-/tmp}/tndump-json.XXXXXX")"
trap 'rm -rf "$WORK"' EXIT
failed=0

# dump NAME SOURCE-FILE: assembles the source and writes NAME.tnc and NAME.json into WORK.
dump() {
    "$TNASM" -o "$WORK/$1.tnc" "$2" || { echo "FAIL [$1]: tnasm refused $2"; failed=1; return; }
    # A file the loader refuses is refused alike, with nothing on standard output.
    if ! "$TNDUMP" "$WORK/$1.tnc" > /dev/null 2> "$WORK/$1.err"; then
        "$TNDUMP" --json "$WORK/$1.tnc" > "$WORK/$1.out" 2> "$WORK/$1.jerr" && failed=1
        cmp -s "$WORK/$1.err" "$WORK/$1.jerr" && [ ! -s "$WORK/$1.out" ] ||
            { echo "FAIL [$1]: --json does not refuse the file as the readable dump does"; failed=1; }
        return
    fi
    "$TNDUMP" --json "$WORK/$1.tnc" > "$WORK/$1.json" ||
        { echo "FAIL [$1]: tndump --json exit status $?"; failed=1; }
}

for source in "$ROOT"/tests/golden/*.s "$ROOT"/examples/*.s; do
    name=$(basename "$source" .s)
    case "$name" in bad-*) continue ;; esac
    dump "$(basename "$(dirname "$source")")-$name" "$source"
done

# Damaged files that still load: a text that is no UTF-8, a NaN, a cut-off last instruction.
printf '.string s "caf\\e9"\n.string b "\\ff"\npushc s\npushc b\npushf 1.5\npushi 7\n' > "$WORK/damaged.s"
dump damaged "$WORK/damaged.s"
# The double 1.5 becomes a NaN; the segment's size loses the last operand's final byte.
"$PYTHON" - "$WORK/damaged.tnc" <<'EOF' || failed=1
import struct, sys
data = bytearray(open(sys.argv[1], "rb").read())
at = data.index(struct.pack("<d", 1.5))
data[at + 6:at + 8] = b"\xf8\xff"
directory, entries = struct.unpack_from("<II", data, 24)
for e in range(entries):
    tag, offset, size = struct.unpack_from("<III", data, directory + 12 * e)
    if tag == int.from_bytes(b"segs", "little"):
        seg_size = offset + 12
        struct.pack_into("<I", data, seg_size, struct.unpack_from("<I", data, seg_size)[0] - 1)
open(sys.argv[1], "wb").write(data)
EOF
"$TNDUMP" --json "$WORK/damaged.tnc" > "$WORK/damaged.json" ||
    { echo "FAIL [damaged]: tndump --json exit status $?"; failed=1; }

"$PYTHON" - "$TNDUMP" "$ROOT/man/tndump.schema.json" "$WORK"/*.json <<'EOF' || failed=1
import json, subprocess, sys
import jsonschema

def strict(token):
    raise ValueError("not JSON: " + token)

# The instruction lines of the readable dump, rebuilt from the document.
def code_lines(document):
    for segment in document["code"]["segments"]:
        for i in segment.get("instructions", []):
            if i["truncated"]: continue
            name = i["mnemonic"] or "?? 0x%04X" % i["code"]
            ops = ", ".join(o["shown"] for o in i["operands"])
            yield "  %6d  %-12s %s" % (i["position"], name, ops) if ops else "  %6d  %s" % (i["position"], name)

def readable_lines(path):
    text = subprocess.run([sys.argv[1], path], capture_output=True).stdout.decode("latin-1")
    code = False
    for line in text.split("\n"):
        code = line.startswith("Segment ") or (code and line != "")
        if code and line.startswith("  ") and not line.endswith("(cut off by the end of the segment)"):
            yield line

schema = json.load(open(sys.argv[2]))
jsonschema.Draft202012Validator.check_schema(schema)
validator = jsonschema.Draft202012Validator(schema)
failed = 0
for path in sys.argv[3:]:
    try:
        document = json.loads(open(path, "rb").read().decode("utf-8"), parse_constant=strict)
    except ValueError as error:
        print("FAIL [%s]: %s" % (path, error)); failed = 1; continue
    for error in validator.iter_errors(document):
        print("FAIL [%s]: %s at %s" % (path, error.message[:200], list(error.absolute_path))); failed = 1
    if list(readable_lines(path[:-5] + ".tnc")) != list(code_lines(document)):
        print("FAIL [%s]: the code differs from the readable dump's" % path); failed = 1
    if path.endswith("/damaged.json"):
        texts = [e["text"] for e in document["dictionary"]["entries"]]
        code = document["code"]["segments"][0]["instructions"]
        want = [({"bytes": "636166e9"} in texts, True), ({"bytes": "ff"} in texts, True),
                (code[2]["operands"][0]["value"], None), (code[2]["operands"][0]["shown"], "-nan"),
                (code[-1]["truncated"], True), (code[-1]["operands"], [])]
        for got, expected in want:
            if got != expected:
                print("FAIL [damaged]: %r, expected %r" % (got, expected)); failed = 1
print("%d documents checked" % (len(sys.argv) - 3))
sys.exit(failed)
EOF
exit "$failed"
