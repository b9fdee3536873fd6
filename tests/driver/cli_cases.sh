# Shared by the command-line scripts (sourced, not run): each case runs in a fresh, empty
# working directory below WORK, and a case fails when any of its checks does.

WORK="$(mktemp -d "${TMPDIR:-/tmp}/tnasm-cli.XXXXXX")"
trap 'rm -rf "$WORK"' EXIT

passed=0
failed=0
case_number=0
case_name=""
case_failed=0

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
        diff -u .want_stdout .stdout | head -20 | sed 's/^/    /'
    fi
    if ! cmp -s .stderr .want_stderr; then
        fail "standard error differs (command: $*)"
        diff -u .want_stderr .stderr | sed 's/^/    /'
    fi
    rm -f .stdout .stderr .want_stdout .want_stderr
}

expect_file() { [ -f "$1" ] || fail "expected file '$1' was not written"; }
expect_no_file() { [ ! -e "$1" ] || fail "file '$1' should not exist"; }

# Ends the last case and the script: status 0 only when every case passed.
report() {
    finish
    echo "$passed passed, $failed failed"
    [ "$failed" -eq 0 ]
}
