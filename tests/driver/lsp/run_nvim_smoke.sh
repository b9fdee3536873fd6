#!/usr/bin/env bash
# Neovim, headless, as tnasm-lsp's client (nvim_smoke.lua says what it checks).
#   run_nvim_smoke.sh TNASM_LSP WORK_DIR
set -euo pipefail
mkdir -p "$2"
printf '.function main\n.local n "n"\nagain: pushl n\n  pop\n  jmp again\n  jmp_eq nowhere\n.endfunction\n' \
  >"$2/smoke.s"
TNASM_LSP=$1 TNASM_SOURCE=$2/smoke.s timeout 60 nvim --headless --clean \
  -c "luafile $(dirname "$0")/nvim_smoke.lua" </dev/null
