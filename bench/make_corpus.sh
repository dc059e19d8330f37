#!/usr/bin/env bash
# Makes the benchmark corpora with the project's own deterministic generator (make_corpus.py).
# Usage: bench/make_corpus.sh [OUTDIR] [generator options...]   (default OUTDIR: corpus)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
out=${1:-corpus}
shift || true
mkdir -p "$out"
python3 "$here/make_corpus.py" "$out" "$@"
