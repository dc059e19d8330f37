#!/usr/bin/env bash
# Smoke test of the real executable: starts it under a virtual X server on a file, types with
# xdotool, saves with Ctrl+S, quits with Ctrl+Q and checks the file. Exit 77 (skipped) when
# xvfb-run or xdotool is missing.
#   tests/app/smoke.sh path/to/xylem-editor
set -euo pipefail
editor=$1
for tool in xvfb-run xdotool; do
  if ! command -v "$tool" >/dev/null; then
    echo "SKIPPED: $tool is not installed (apt-get install xvfb xdotool)"
    exit 77
  fi
done
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
printf '<root>\n  <item/>\n</root>\n' >"$dir/smoke.xml"
export EDITOR_BIN=$editor FILE=$dir/smoke.xml
xvfb-run -a -s "-screen 0 1280x800x24" bash -c '
  set -euo pipefail
  "$EDITOR_BIN" "$FILE" &
  pid=$!
  window=""
  for _ in $(seq 150); do
    window=$(xdotool search --name "smoke.xml" 2>/dev/null | head -1 || true)
    [ -n "$window" ] && break
    sleep 0.2
  done
  [ -n "$window" ] || { echo "the editor window did not appear"; kill $pid; exit 1; }
  sleep 1
  xdotool windowfocus --sync "$window" || true
  xdotool key --clearmodifiers ctrl+End
  xdotool type --delay 20 "<!-- typed -->"
  xdotool key --clearmodifiers ctrl+s
  sleep 1
  xdotool key --clearmodifiers ctrl+q
  for _ in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.2; done
  if kill -0 $pid 2>/dev/null; then echo "the editor did not quit"; kill $pid; exit 1; fi
  wait $pid
'
expected=$'<root>\n  <item/>\n</root>\n<!-- typed -->'
actual=$(cat "$dir/smoke.xml")
if [ "$actual" != "$expected" ]; then
  echo "unexpected file content:"
  printf '%s\n' "$actual"
  exit 1
fi
echo "smoke test passed: typed text saved"
