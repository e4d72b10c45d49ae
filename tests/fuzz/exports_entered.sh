#!/usr/bin/env bash
# Lists every export of the library that no fuzz target enters, and fails
# when there is one:
#   exports_entered.sh <shared library> <work dir> <seed dir> <target>...
# Each target replays its seeds and the corpus its last run grew
# (<work dir>/<name>/corpus) once, with libFuzzer's -print_coverage; a
# function counts as entered when any of its edges ran. The exports are the
# defined dynamic symbols of the library (nm -D).
set -uo pipefail
library=$1 work=$2 seeds=$3
shift 3
# Function names come from llvm-symbolizer (Debian package llvm-14).
symbolizer=$(command -v llvm-symbolizer || command -v llvm-symbolizer-14 || echo /usr/lib/llvm-14/bin/llvm-symbolizer)
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}external_symbolizer_path=$symbolizer"
entered=$(mktemp)
trap 'rm -f "$entered"' EXIT
for target in "$@"; do
  name=$(basename "$target")
  name=${name#fuzz_}
  corpora=("$seeds/$name")
  [[ -d $work/$name/corpus ]] && corpora+=("$work/$name/corpus")
  "$target" -runs=0 -print_coverage=1 "${corpora[@]}" 2>&1 |
    sed -n 's/^COVERED_FUNC: hits: [0-9]* edges: [0-9]*\/[0-9]* \([^ (]*\).*/\1/p' >>"$entered"
done
missing=$(comm -23 <(nm -D --defined-only "$library" | awk '$2 == "T" { print $3 }' | sort -u) \
                   <(sort -u "$entered"))
total=$(nm -D --defined-only "$library" | awk '$2 == "T"' | wc -l)
if [[ -n $missing ]]; then
  echo "Exports no fuzz target enters ($(wc -l <<<"$missing") of $total):"
  echo "$missing"
  exit 1
fi
echo "Every one of the $total exports is entered by a fuzz target."
