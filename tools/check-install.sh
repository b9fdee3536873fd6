#!/usr/bin/env bash
# Checks what a build installs and packages: installs it into a temporary prefix, builds the
# example consumer against that prefix (through find_package(Tarn) and through tarn.pc), runs it
# on a file that the installed tnasm assembled, checks the man pages and completions, then builds
# the Debian package and checks its contents. Exits non-zero on the first failure.
#
#   bash tools/check-install.sh [BUILD_DIR]     (default: build, already built)
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=$(cd "${1:-build}" && pwd)
WORK=$(mktemp -d "${TMPDIR:-/tmp}/tarn-check-install.XXXXXX")
trap 'rm -rf "$WORK"' EXIT
PREFIX=$WORK/prefix

fail() {
  echo "check-install: $*" >&2
  exit 1
}
step() { echo "-- $*"; }

# Programs the build made; tndump is optional until it exists.
PROGRAMS="tnasm"
[ -x "$BUILD/tndump" ] && PROGRAMS="$PROGRAMS tndump"
[ -x "$BUILD/tnasm" ] || fail "no tnasm in $BUILD: build it first"

# ---- install ----
step "install into a temporary prefix"
cmake --install "$BUILD" --prefix "$PREFIX" >"$WORK/install.log" || {
  cat "$WORK/install.log" >&2
  fail "cmake --install failed"
}
LIBDIR=$(cd "$PREFIX" && dirname "$(find . -name libtarn_base.a | head -n 1)")
[ "$LIBDIR" != "." ] || fail "libtarn_base.a was not installed"
LIBDIR=${LIBDIR#./}
for f in "$LIBDIR/libtarn_base.a" \
  include/tarn/foundation/String.h include/tarn/compiled/TaggedFile.h \
  include/tarn/platform/UNIXFileManager.h \
  "$LIBDIR/cmake/Tarn/TarnConfig.cmake" "$LIBDIR/cmake/Tarn/TarnConfigVersion.cmake" \
  "$LIBDIR/cmake/Tarn/TarnTargets.cmake" "$LIBDIR/pkgconfig/tarn.pc" \
  share/vim/vimfiles/syntax/tnasm.vim share/tarn/editors/tnasm.tmLanguage.json; do
  [ -f "$PREFIX/$f" ] || fail "not installed: $f"
done
for p in $PROGRAMS; do
  [ -x "$PREFIX/bin/$p" ] || fail "not installed: bin/$p"
  [ -f "$PREFIX/share/man/man1/$p.1" ] || fail "not installed: share/man/man1/$p.1"
  [ -f "$PREFIX/share/bash-completion/completions/$p" ] ||
    fail "not installed: share/bash-completion/completions/$p"
  version=$("$PREFIX/bin/$p" --version) || fail "installed $p --version failed"
  [ -n "$version" ] || fail "installed $p --version printed nothing"
done
[ "$("$PREFIX/bin/tnasm" --version)" = "5.52" ] || fail "installed tnasm --version is not 5.52"
if [ -x "$BUILD/tnasm-lsp" ]; then
  [ -x "$PREFIX/bin/tnasm-lsp" ] || fail "not installed: bin/tnasm-lsp"
fi

# ---- man pages and completions ----
step "man pages render without warnings; completions load"
for p in $PROGRAMS; do
  groff -ww -man -Tutf8 "$PREFIX/share/man/man1/$p.1" >"$WORK/$p.txt" 2>"$WORK/$p.warnings"
  [ ! -s "$WORK/$p.warnings" ] || {
    cat "$WORK/$p.warnings" >&2
    fail "groff warns about $p.1"
  }
  grep -q "^\.SH EXIT STATUS" "$PREFIX/share/man/man1/$p.1" || fail "$p.1 has no EXIT STATUS section"
  bash -c "source '$PREFIX/share/bash-completion/completions/$p' && complete -p $p" >/dev/null ||
    fail "bash completion of $p does not load"
done

# ---- a compiled file from the installed assembler ----
step "assemble a program with the installed tnasm"
cat >"$WORK/functions.s" <<'EOF'
; two functions, one with a body and one declared only, and a call from the top level
.string  hello "Hello\0a"
.function greet private
.parameter who "who" value
.parameter count "count" reference
        pushc hello
        out
.endfunction
.function helper external
.parameter x "x"
.endfunction
        call greet
EOF
"$PREFIX/bin/tnasm" -o "$WORK/functions.tnc" "$WORK/functions.s" || fail "tnasm failed"
cat >"$WORK/expected.txt" <<'EOF'
version 1.1, 2 functions
0 greet(who, reference count) segment 1 private
1 helper(x) external
EOF

# ---- the consumer, through the CMake package and through pkg-config ----
step "build the consumer with find_package(Tarn)"
cmake -S "$ROOT/examples/consumer" -B "$WORK/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$PREFIX" \
  -DCMAKE_BUILD_TYPE=Release >"$WORK/consumer.log" 2>&1 &&
  cmake --build "$WORK/consumer" >>"$WORK/consumer.log" 2>&1 || {
  cat "$WORK/consumer.log" >&2
  fail "the consumer does not build against the installed package"
}
"$WORK/consumer/tarn_functions" "$WORK/functions.tnc" >"$WORK/cmake-output.txt" ||
  fail "the consumer failed on the compiled file"
diff -u "$WORK/expected.txt" "$WORK/cmake-output.txt" || fail "the consumer printed the wrong functions"

step "build the consumer with pkg-config"
# shellcheck disable=SC2046
PKG_CONFIG_PATH="$PREFIX/$LIBDIR/pkgconfig" c++ -std=c++17 -o "$WORK/tarn_functions_pc" \
  "$ROOT/examples/consumer/tarn_functions.cpp" \
  $(PKG_CONFIG_PATH="$PREFIX/$LIBDIR/pkgconfig" pkg-config --cflags --libs tarn) ||
  fail "the consumer does not build with tarn.pc"
"$WORK/tarn_functions_pc" "$WORK/functions.tnc" | diff -u "$WORK/expected.txt" - ||
  fail "the pkg-config build of the consumer printed the wrong functions"

# A corrupt file is refused with the reader's message, not a crash.
head -c 20 "$WORK/functions.tnc" >"$WORK/truncated.tnc"
if "$WORK/consumer/tarn_functions" "$WORK/truncated.tnc" 2>"$WORK/truncated.err"; then
  fail "the consumer accepted a truncated file"
fi
grep -q "File is either corrupt or not a valid compiled Tarn Script file" "$WORK/truncated.err" ||
  fail "unexpected message for a truncated file: $(cat "$WORK/truncated.err")"

# ---- the Debian package ----
step "build the Debian package"
(cd "$BUILD" && cpack -G DEB -B "$WORK/deb") >"$WORK/cpack.log" 2>&1 || {
  cat "$WORK/cpack.log" >&2
  fail "cpack -G DEB failed"
}
DEB=$(find "$WORK/deb" -maxdepth 1 -name '*.deb' | head -n 1)
[ -n "$DEB" ] || fail "cpack made no .deb"
dpkg-deb -f "$DEB" Depends | grep -q 'libmpdec4' || fail "the package does not depend on libmpdec4"
dpkg-deb -c "$DEB" | awk '{print $NF}' >"$WORK/contents.txt"
for f in ./usr/include/tarn/foundation/String.h ./usr/include/tarn/compiled/TaggedFile.h \
  ./usr/share/vim/vimfiles/syntax/tnasm.vim; do
  grep -qxF "$f" "$WORK/contents.txt" || fail "the package lacks $f"
done
for pattern in '/libtarn_base\.a$' '/cmake/Tarn/TarnConfig\.cmake$' '/pkgconfig/tarn\.pc$'; do
  grep -q "$pattern" "$WORK/contents.txt" || fail "the package lacks a file matching $pattern"
done
for p in $PROGRAMS; do
  for f in "./usr/bin/$p" "./usr/share/man/man1/$p.1" "./usr/share/bash-completion/completions/$p"; do
    grep -qxF "$f" "$WORK/contents.txt" || fail "the package lacks $f"
  done
done

echo "check-install: all checks passed ($(basename "$DEB"))"
