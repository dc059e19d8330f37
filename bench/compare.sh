#!/usr/bin/env bash
# Times whole `xylem` commands against the tools people use for the same jobs today (xmllint,
# jq, perl, sed) on the shared corpora, and prints one Markdown table: medians measured by
# hyperfine in the same run, the ratio peer/xylem (above 1: xylem is faster) and the peak
# memory of each command (/usr/bin/time). Not run by CI: a full run takes a quiet machine and
# several minutes.
#
# Usage: bench/compare.sh [--mib N] [--runs N] [--corpus DIR] [--xylem PATH]
#   --mib N       corpus size in MiB when it has to be generated (default 256; the one-line XML
#                 and the DTD-heavy XML are a quarter of it)
#   --runs N      timed runs per command after one warm-up run (default 5)
#   --corpus DIR  corpus folder (default: $XYLEM_CORPUS, else corpus/ for 256 MiB or
#                 corpus/<N>mib/); files already there are used as they are, missing ones are
#                 generated with bench/make_corpus.sh
#   --xylem PATH  the xylem binary to time (default: build/bench/src/cli/xylem, brought up to
#                 date, or built with scripts/setup.sh bench)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/.." && pwd)

mib=256
runs=5
corpus=${XYLEM_CORPUS:-}
xylem=""
usage() { sed -n '8,16p' "$0" | sed 's/^# \{0,1\}//' >&2; exit 2; }
while [ $# -gt 0 ]; do
  case "$1" in
    --mib) mib=${2:?}; shift 2 ;;
    --runs) runs=${2:?}; shift 2 ;;
    --corpus) corpus=${2:?}; shift 2 ;;
    --xylem) xylem=${2:?}; shift 2 ;;
    -h|--help) usage ;;
    *) echo "compare.sh: unknown argument '$1'" >&2; usage ;;
  esac
done
[[ "$mib" =~ ^[0-9]+$ && "$mib" -gt 0 && "$runs" =~ ^[0-9]+$ && "$runs" -gt 0 ]] || usage

for tool in hyperfine xmllint jq perl sed python3 /usr/bin/time; do
  command -v "$tool" >/dev/null ||
    { echo "compare.sh: $tool is missing (scripts/setup.sh bench installs it)" >&2; exit 2; }
done

# The corpora: reuse what is there, generate only the missing files.
if [ -z "$corpus" ]; then
  if [ "$mib" -eq 256 ]; then corpus="$root/corpus"; else corpus="$root/corpus/${mib}mib"; fi
fi
missing=()
[ -s "$corpus/big.xml" ] || missing+=(xml)
[ -s "$corpus/big.oneline.xml" ] || missing+=(oneline)
[ -s "$corpus/big.json" ] || missing+=(json)
[ -s "$corpus/dtd.xml" ] || missing+=(dtd)
if [ ${#missing[@]} -gt 0 ]; then
  only=$(IFS=,; echo "${missing[*]}")
  echo "Generating $only in $corpus ($mib MiB)..." >&2
  quarter=$(awk -v m="$mib" 'BEGIN { print m / 4 }')
  "$here/make_corpus.sh" "$corpus" --xml-mib "$mib" --json-mib "$mib" \
    --oneline-mib "$quarter" --dtd-mib "$quarter" --only "$only" >&2
fi

# The tool: a Release build.
if [ -z "$xylem" ]; then
  xylem="$root/build/bench/src/cli/xylem"
  if [ -f "$root/build/bench/build.ninja" ]; then
    cmake --build "$root/build/bench" --target xylem >&2
  else
    "$root/scripts/setup.sh" bench >&2
  fi
fi
[ -x "$xylem" ] || { echo "compare.sh: $xylem is not an executable" >&2; exit 2; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

q() { printf '%q' "$1"; }
X=$(q "$xylem")
xml=$(q "$corpus/big.xml")
oneline=$(q "$corpus/big.oneline.xml")
json=$(q "$corpus/big.json")
dtd=$(q "$corpus/dtd.xml")

# Peak resident memory of one run, in MiB; "failed" when the command did not exit with 0.
peak() {
  if /usr/bin/time -f %M -o "$work/time" bash -c "$1" >/dev/null 2>"$work/stderr"; then
    awk '{ printf "%.0f", $1 / 1024 }' "$work/time"
  else
    echo "compare.sh: failed: $1" >&2
    sed 's/^/  /' "$work/stderr" | head -5 >&2
    echo failed
  fi
}

# One group: the xylem command first, then its peers, timed by one hyperfine run. Fills
# median[cmd] (seconds) and memory[cmd].
declare -A median memory
group() {
  local i=0 cmd
  for cmd in "$@"; do memory["$cmd"]=$(peak "$cmd"); done
  hyperfine --warmup 1 --runs "$runs" --ignore-failure --style none \
    --export-json "$work/group.json" "$@" >/dev/null
  for cmd in "$@"; do
    median["$cmd"]=$(python3 -c 'import json,sys; print(json.load(open(sys.argv[1]))["results"][int(sys.argv[2])]["median"])' \
      "$work/group.json" "$i")
    i=$((i + 1))
  done
}

rows=()
# row TASK XYLEM_CMD PEER_NAME PEER_CMD
row() { rows+=("$1"$'\t'"$2"$'\t'"$3"$'\t'"$4"); }

echo "Timing ($runs runs each after a warm-up)..." >&2
c_check="$X check $xml"
group "$c_check" "xmllint --noout $xml" "xmllint --stream --noout $xml"
row "check big.xml" "$c_check" "xmllint --noout" "xmllint --noout $xml"
row "check big.xml" "$c_check" "xmllint --stream --noout" "xmllint --stream --noout $xml"

# Thousands of entity and attribute-list declarations, entity references throughout.
c_dtd="$X check $dtd"
group "$c_dtd" "xmllint --noout $dtd" "xmllint --stream --noout $dtd"
row "check dtd.xml" "$c_dtd" "xmllint --noout" "xmllint --noout $dtd"
row "check dtd.xml" "$c_dtd" "xmllint --stream --noout" "xmllint --stream --noout $dtd"

c_format="$X format $xml"
group "$c_format" "xmllint --format $xml"
row "format big.xml" "$c_format" "xmllint --format" "xmllint --format $xml"

c_format1="$X format $oneline"
group "$c_format1" "xmllint --format $oneline"
row "format big.oneline.xml" "$c_format1" "xmllint --format" "xmllint --format $oneline"

c_jcheck="$X check $json"
group "$c_jcheck" "jq empty $json"
row "check big.json" "$c_jcheck" "jq empty" "jq empty $json"

c_jformat="$X format $json"
group "$c_jformat" "jq . $json"
row "format big.json" "$c_jformat" "jq ." "jq . $json"

# Same substitutions everywhere: case-sensitive, every match on every line.
c_word="$X replace --case-sensitive warehouse depot $xml"
p_word="perl -pe 's/warehouse/depot/g' $xml"
s_word="sed -E 's/warehouse/depot/g' $xml"
group "$c_word" "$p_word" "$s_word"
row "replace word" "$c_word" "perl -pe" "$p_word"
row "replace word" "$c_word" "sed -E" "$s_word"

c_regex="$X replace --regex --case-sensitive 'qty=\"([0-9]+)\"' 'count=\"\$1\"' $xml"
p_regex="perl -pe 's/qty=\"([0-9]+)\"/count=\"\$1\"/g' $xml"
s_regex="sed -E 's/qty=\"([0-9]+)\"/count=\"\\1\"/g' $xml"
group "$c_regex" "$p_regex" "$s_regex"
row "replace regex with a group" "$c_regex" "perl -pe" "$p_regex"
row "replace regex with a group" "$c_regex" "sed -E" "$s_regex"

# The replacements must agree, or the timings compare different work.
for pair in "$c_word|$p_word" "$c_regex|$p_regex"; do
  bash -c "${pair%%|*}" 2>/dev/null | cmp -s - <(bash -c "${pair#*|}") ||
    echo "compare.sh: warning: outputs differ: ${pair%%|*} vs ${pair#*|}" >&2
done

cpu=$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -1)
ram=$(awk '/^MemTotal:/ { printf "%.1f GiB", $2 / 1048576 }' /proc/meminfo)
size() { awk -v b="$(stat -c %s "$1")" 'BEGIN { printf "%.0f MiB", b / 1048576 }'; }
echo
echo "Machine: ${cpu:-unknown CPU}, $(nproc) cores, $ram RAM; $(date -u '+%Y-%m-%d %H:%M UTC')."
echo "Corpus: big.xml $(size "$corpus/big.xml"), big.oneline.xml $(size "$corpus/big.oneline.xml"), dtd.xml $(size "$corpus/dtd.xml"), big.json $(size "$corpus/big.json")."
echo "Peers: $(xmllint --version 2>&1 | head -1 | sed 's/^xmllint: //'), $(jq --version), perl $(perl -e 'print $^V'), $(sed --version | head -1), $(hyperfine --version)."
echo "Medians of $runs runs after one warm-up; ratio = peer median / xylem median (above 1: xylem is faster)."
echo
echo "| Task | Peer | xylem median | Peer median | Ratio | xylem peak memory | Peer peak memory |"
echo "|---|---|---:|---:|---:|---:|---:|"
for r in "${rows[@]}"; do
  IFS=$'\t' read -r task ours peer theirs <<<"$r"
  awk -v task="$task" -v peer="$peer" -v a="${median[$ours]}" -v b="${median[$theirs]}" \
      -v ma="${memory[$ours]}" -v mb="${memory[$theirs]}" 'BEGIN {
    if (ma ~ /^[0-9]+$/) ma = ma " MiB"
    if (mb ~ /^[0-9]+$/) mb = mb " MiB"
    printf "| %s | %s | %.3f s | %.3f s | %.2f | %s | %s |\n", task, "`" peer "`", a, b, b / a, ma, mb
  }'
done
