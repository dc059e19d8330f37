#!/bin/sh
# Headless Neovim attaches `xylem lsp` to an XML file, waits for its diagnostics and formats
# the buffer: run.sh XYLEM_BINARY THIS_FOLDER. Exit 77 (skipped) without nvim.
if ! command -v nvim >/dev/null 2>&1; then
  echo "SKIPPED: nvim is not installed (apt-get install neovim)"
  exit 77
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
printf '<r>\n<a>text</a>\n      <b/>\n<c>\n</r>\n' > "$work/test.xml"
XYLEM="$1" RESULT="$work/result.txt" timeout 60 nvim --headless --clean -n \
  -c "luafile $2/check.lua" "$work/test.xml"
cat "$work/result.txt" 2>/dev/null || { echo "FAIL: no result"; exit 1; }
grep -q '^PASS' "$work/result.txt"
