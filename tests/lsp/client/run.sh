#!/bin/sh
# Runs client.js with node: run.sh XYLEM_BINARY MODULES_FOLDER. Exit 77 (skipped) without node;
# client.js itself skips when the modules are not installed.
if ! command -v node >/dev/null 2>&1; then
  echo "SKIPPED: node is not installed"
  exit 77
fi
exec node "$(dirname "$0")/client.js" "$1" "$2"
