#!/usr/bin/env bash
# Sets everything up, builds the xylem tool and shows it on the samples in examples/.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh release
xylem=build/release/src/cli/xylem
run() {
  echo "\$ xylem $*"
  "$xylem" "$@" || echo "(exit code $?)"
  echo
}
run info examples/catalog.xml examples/catalog-utf16.xml
run check examples/catalog.xml examples/orders.json examples/stylesheet.xsl
run check examples/broken.xml
run format examples/catalog.xml
run format --indent 2 examples/orders.json
