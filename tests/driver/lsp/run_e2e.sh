#!/usr/bin/env bash
# Runs the end-to-end suite of tnasm-lsp: installs the pinned client libraries from the
# checked-in lock file into a folder of the build, then runs the suite with node's test runner.
#   run_e2e.sh TNASM_LSP WORK_DIR
set -euo pipefail
HERE=$(cd "$(dirname "$0")/e2e" && pwd)
mkdir -p "$2"
cp "$HERE/package.json" "$HERE/package-lock.json" "$HERE/lsp.test.js" "$2/"
cd "$2"
# Installed again only when the lock file changed since the last install.
if ! cmp -s package-lock.json node_modules/.installed-from-lock 2>/dev/null; then
  npm ci --no-audit --no-fund --loglevel=error
  cp package-lock.json node_modules/.installed-from-lock
fi
TNASM_LSP=$1 node --test lsp.test.js
