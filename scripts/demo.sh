#!/usr/bin/env bash
# Sets everything up, builds the xylem tool and runs it on the samples in examples/.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh release
for sample in examples/catalog.xml examples/catalog-utf16.xml; do
  echo "\$ xylem info $sample"
  build/release/src/cli/xylem info "$sample"
done
