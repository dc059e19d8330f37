#!/usr/bin/env bash
# Makes the benchmark corpora with the shared deterministic generator.
# Usage: bench/make_corpus.sh [OUTDIR] [generator options...]   (default OUTDIR: corpus)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
out=${1:-corpus}
shift || true
generator="$here/../../shared/bench/gen_corpus.py"
[ -f "$generator" ] || { echo "make_corpus.sh: $generator not found" >&2; exit 2; }
mkdir -p "$out"
python3 "$generator" "$out" "$@"
