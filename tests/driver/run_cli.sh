#!/usr/bin/env bash
# Runs the tnasm program over every command-line case and checks its standard output, standard
# error and exit status byte for byte. Usage: run_cli.sh path/to/tnasm
set -u

if [ $# -ne 1 ] || [ ! -x "$1" ]; then
    echo "usage: $0 path/to/tnasm" >&2
    exit 2
fi
TNASM="$(cd "$(dirname "$1")" && pwd)/$(basename "$1")"
. "$(dirname "$0")/cli_cases.sh"

USAGE=$'Usage: tnasm [options] file...\nOptions:\n  --help           Display this information\n  --version        Display version number and exit\n  -o <file>        Place output in <file>\n'

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

begin "options after the file name are not looked at"
run 1 "" $'tnasm: Unable to open \'in.s\': No such file or directory\n' -- "$TNASM" in.s -o out.tnc --bogus

begin "-ofoo takes the next argument; the first operand after it is the input"
run 1 "" $'tnasm: Unable to open \'y\': No such file or directory\n' -- "$TNASM" -ofoo x y in.s

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

report
