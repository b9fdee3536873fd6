#!/usr/bin/env bash
# Installs what building and testing tnasm needs on a Debian bookworm machine; with --bench
# also the tools the benchmark runner times beside tnasm (luac5.4, GNU as).
# Safe to run again: every step checks first and does nothing when its part is there.
set -euo pipefail

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

have_pkg() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q "install ok installed"; }

APT_UPDATED=0
apt_update_once() {
  if [ "$APT_UPDATED" -eq 0 ]; then
    $SUDO apt-get update -qq
    APT_UPDATED=1
  fi
}

# Tools that the image usually has; installed only when missing.
# nlohmann-json3-dev: the JSON of the language server and of tndump --json; neovim: the language
# server's smoke test with a real editor; python3-jsonschema: the check of tndump --json.
NEEDED="g++ cmake ninja-build pkg-config libgtest-dev libgmock-dev libbenchmark-dev clang valgrind dpkg-dev groff-base file nlohmann-json3-dev neovim python3-jsonschema"
if [ "${1:-}" = "--bench" ]; then NEEDED="$NEEDED lua5.4 binutils"; fi
MISSING=""
for p in $NEEDED; do have_pkg "$p" || MISSING="$MISSING $p"; done
if [ -n "$MISSING" ]; then
  apt_update_once
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq $MISSING
fi

# libmpdec is not in bookworm: take it from trixie, pinned low so nothing else moves.
if ! pkg-config --exists libmpdec 2>/dev/null; then
  SRC_DIR=/etc/apt/sources.list.d
  TRIXIE_SOURCES=$SRC_DIR/tnasm-trixie.sources
  TRIXIE_PIN=/etc/apt/preferences.d/tnasm-trixie-pin
  if [ ! -f "$TRIXIE_SOURCES" ]; then
    # Reuse the URI and key of the machine's own Debian entry (the first stanza
    # of the deb822 file), so this script never names an archive host itself.
    base=""
    for f in "$SRC_DIR"/*.sources; do
      [ -f "$f" ] || continue
      [ "$f" = "$TRIXIE_SOURCES" ] && continue
      if grep -qE '^Suites:.*\bbookworm\b' "$f"; then base=$f; break; fi
    done
    if [ -z "$base" ]; then
      echo "install-deps: no Debian deb822 source entry found in $SRC_DIR" >&2
      exit 1
    fi
    uri=$(awk '/^URIs:/{print $2; exit}' "$base")
    key=$(awk '/^Signed-By:/{print $2; exit}' "$base")
    printf 'Types: deb\nURIs: %s\nSuites: trixie\nComponents: main\nSigned-By: %s\n' "$uri" "$key" |
      $SUDO tee "$TRIXIE_SOURCES" >/dev/null
  fi
  if [ ! -f "$TRIXIE_PIN" ]; then
    printf 'Package: *\nPin: release n=trixie\nPin-Priority: 100\n' | $SUDO tee "$TRIXIE_PIN" >/dev/null
  fi
  $SUDO apt-get update -qq
  APT_UPDATED=1
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq -t trixie libmpdec-dev
fi
