#!/usr/bin/env bash
# Runs one fuzz target for a bounded time from its seed corpus:
#   run_fuzzer.sh <target> <seconds> <work dir> <seed dir> [dictionary]
# New inputs go to <work dir>/corpus (never into the checked-in seeds), a
# failing input to <work dir>/crash-*. The log is kept in <work dir>/log; on
# success the number of executions is printed, on failure the log's tail.
set -uo pipefail
target=$1 seconds=$2 work=$3 seeds=$4 dictionary=${5:-}
mkdir -p "$work/corpus"
args=(-max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -print_final_stats=1
      -artifact_prefix="$work/")
[[ -n $dictionary ]] && args+=(-dict="$dictionary")
"$target" "${args[@]}" "$work/corpus" "$seeds" >"$work/log" 2>&1
status=$?
runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/log")
if ((status != 0)); then
  tail -n 60 "$work/log"
  echo "$(basename "$target"): FAILED (exit $status) after ${runs:-?} executions"
  exit 1
fi
echo "$(basename "$target"): ${runs:-?} executions in ${seconds}s"
