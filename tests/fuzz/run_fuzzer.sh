#!/usr/bin/env bash
# Runs one fuzz target for a bounded time from its seed corpus:
#   run_fuzzer.sh <target> <seconds> <work dir> <seed dir> [dictionary]
# New inputs go to <work dir>/corpus (never into the checked-in seeds), a
# failing input to <work dir>/crash-*, and the inputs since the library was
# last reset to <work dir>/history (replay them with TARN_FUZZ_REPLAY=<that
# file> <target> -runs=0). The log is kept in <work dir>/log; on success the
# number of executions is printed, on failure the log's tail. One input may
# take at most 10 seconds. TARN_FUZZ_SECONDS in the environment overrides
# <seconds> (a long local run without configuring again).
set -uo pipefail
target=$1 seconds=${TARN_FUZZ_SECONDS:-$2} work=$3 seeds=$4 dictionary=${5:-}
mkdir -p "$work/corpus"
args=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
      -artifact_prefix="$work/")
[[ -n $dictionary ]] && args+=(-dict="$dictionary")
TARN_FUZZ_HISTORY="$work/history" "$target" "${args[@]}" "$work/corpus" "$seeds" >"$work/log" 2>&1
status=$?
runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/log")
if ((status != 0)); then
  tail -n 60 "$work/log"
  echo "$(basename "$target"): FAILED (exit $status) after ${runs:-?} executions;" \
       "replay: TARN_FUZZ_REPLAY=$work/history $target -runs=0"
  exit 1
fi
coverage=$(grep -o 'DONE *cov: [0-9]*' "$work/log" | grep -o '[0-9]*$')
echo "$(basename "$target"): ${runs:-?} executions in ${seconds}s, ${coverage:-?} edges covered"
