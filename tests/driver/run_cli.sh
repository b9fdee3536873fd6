#!/usr/bin/env bash
# Runs the tnasm program over every command-line case and checks its standard output, standard
# error and exit status byte for byte. Usage: run_cli.sh path/to/tnasm
set -u

if [ $# -ne 1 ] || [ ! -x "$1" ]; then
    echo "usage: $0 path/to/tnasm" >&2
    exit 2
fi
TNASM="$(cd "$(dirname "$1")" && pwd)/$(basename "$1")"
WORK="$(mktemp -d "${TMPDIR:-/tmp}/tnasm-cli.XXXXXX")"
trap 'rm -rf "$WORK"' EXIT

passed=0
failed=0
case_number=0
case_name=""
case_failed=0

USAGE=$'Usage: tnasm [options] file...\nOptions:\n  --help           Display this information\n  --version        Display version number and exit\n  -o <file>        Place output in <file>\n'

fail() {
    echo "FAIL [$case_name]: $1"
    case_failed=1
}

# Starts a case in a fresh, empty working directory.
begin() {
    finish
    case_name="$1"
    case_failed=0
    case_number=$((case_number + 1))
    mkdir -p "$WORK/$case_number"
    cd "$WORK/$case_number" || exit 2
}

finish() {
    if [ -n "$case_name" ]; then
        if [ "$case_failed" -eq 0 ]; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
    fi
    case_name=""
}

# run STATUS STDOUT STDERR -- COMMAND...: runs the command here and compares all three.
run() {
    local want_status="$1" want_out="$2" want_err="$3"
    shift 4
    "$@" > .stdout 2> .stderr < /dev/null
    local status=$?
    printf '%s' "$want_out" > .want_stdout
    printf '%s' "$want_err" > .want_stderr
    if [ "$status" -ne "$want_status" ]; then
        fail "exit status $status, expected $want_status (command: $*)"
    fi
    if ! cmp -s .stdout .want_stdout; then
        fail "standard output differs (command: $*)"
        diff -u .want_stdout .stdout | sed 's/^/    /'
    fi
    if ! cmp -s .stderr .want_stderr; then
        fail "standard error differs (command: $*)"
        diff -u .want_stderr .stderr | sed 's/^/    /'
    fi
    rm -f .stdout .stderr .want_stdout .want_stderr
}

expect_file() { [ -f "$1" ] || fail "expected file '$1' was not written"; }
expect_no_file() { [ ! -e "$1" ] || fail "file '$1' should not exist"; }

# ---- options and argument errors ----

begin "no arguments"
run 1 "" $'tnasm: No input file specified\n' -- "$TNASM"

begin "program name is the base name of argv[0]"
ln -s "$TNASM" myasm
run 1 "" $'myasm: No input file specified\n' -- ./myasm

begin "--help alone"
run 0 "$USAGE" "" -- "$TNASM" --help

begin "--help then an invalid option"
run 1 "$USAGE" $'tnasm: Invalid option \'--bogus\'\n' -- "$TNASM" --help --bogus

begin "--version reads no file"
run 0 $'5.52\n' "" -- "$TNASM" --version missing.s

begin "--version and --help both print"
run 0 $'5.52\n'"$USAGE" "" -- "$TNASM" --version --help

begin "unknown short option"
run 1 "" $'tnasm: Invalid option \'-x\'\n' -- "$TNASM" -x in.s

begin "unknown option inside a cluster"
run 1 "" $'tnasm: Invalid option \'-q\'\n' -- "$TNASM" -qo out.tnc in.s

begin "unknown long option"
run 1 "" $'tnasm: Invalid option \'--output\'\n' -- "$TNASM" --output in.s

begin "bare --"
run 1 "" $'tnasm: Invalid option \'--\'\n' -- "$TNASM" -- in.s

begin "-o as the last argument"
run 1 "" $'tnasm: Option \'-o\' requires an argument\n' -- "$TNASM" -o

begin "-o with its value but no input"
run 1 "" $'tnasm: No input file specified\n' -- "$TNASM" -o out.tnc
expect_no_file out.tnc

# ---- which file is opened ----

begin "missing input file"
run 1 "" $'tnasm: Unable to open \'missing.s\': No such file or directory\n' -- "$TNASM" missing.s

begin "empty file name"
run 1 "" $'tnasm: Unable to open \'\': No such file or directory\n' -- "$TNASM" ""

begin "directory as input"
mkdir adir
run 1 "" $'tnasm: Unable to open \'adir\': Is a directory\n' -- "$TNASM" adir

begin "options after the file name are not looked at"
run 1 "" $'tnasm: Unable to open \'in.s\': No such file or directory\n' -- "$TNASM" in.s -o out.tnc --bogus

begin "-ofoo takes the next argument; the first operand after it is the input"
run 1 "" $'tnasm: Unable to open \'y\': No such file or directory\n' -- "$TNASM" -ofoo x y in.s

begin "lone - is skipped"
run 1 "" $'tnasm: Unable to open \'in.s\': No such file or directory\n' -- "$TNASM" - in.s

begin "only the first file is opened"
run 1 "" $'tnasm: Unable to open \'a.s\': No such file or directory\n' -- "$TNASM" a.s b.s

# ---- assembly runs ----

begin "empty source writes output.tnc"
: > empty.s
run 0 "" "" -- "$TNASM" empty.s
expect_file output.tnc

begin "-o after the file name is ignored"
: > in.s
run 0 "" "" -- "$TNASM" in.s -o out.tnc
expect_file output.tnc
expect_no_file out.tnc

begin "-ofoo x y in.s writes x from y"
: > y
run 0 "" "" -- "$TNASM" -ofoo x y in.s
expect_file x
expect_no_file foo
expect_no_file output.tnc

begin "lone - then the file"
: > in.s
run 0 "" "" -- "$TNASM" - in.s
expect_file output.tnc

begin "only the first file is assembled"
: > a.s
run 0 "" "" -- "$TNASM" a.s missing.s
expect_file output.tnc

begin "assembly error names file, line and code"
printf '; bad mnemonic on the second line\npushx\n' > bad.s
run 1 "" $'bad.s:2: AE_315: unrecognized operation code: pushx\n' -- "$TNASM" bad.s
expect_no_file output.tnc

begin "output that cannot be created"
: > in.s
run 1 "" $'tnasm: Unable to create \'no/such/dir/out.tnc\': No such file or directory\n' \
    -- "$TNASM" -o no/such/dir/out.tnc in.s

finish
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
