#!/usr/bin/env bash
# Sets everything up and starts the desktop editor on examples/catalog.xml when a display is
# present; without one (or without Qt 6) it shows the xylem tool on the samples in examples/.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh release
editor=build/release/src/app/main/xylem-editor
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ -x "$editor" ]; then
  exec "$editor" examples/catalog.xml examples/stylesheet.xsl examples/orders.json
fi
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
