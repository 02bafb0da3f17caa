#!/usr/bin/env bash
# Runs one libFuzzer target for a while: run_fuzz.sh BINARY WORK_DIR SEEDS_DIR SECONDS
# New inputs go to WORK_DIR; SEEDS_DIR (checked in, may be absent) seeds it.
# The target's own output (diagnostics) is discarded: -close_fd_mask=3.
# A dictionary fuzz/<target>.dict, where there is one, is passed with -dict.
set -euo pipefail
binary=$1 work=$2 seeds=$3 seconds=$4
mkdir -p "$work"
dirs=("$work")
[ -d "$seeds" ] && dirs+=("$seeds")
options=()
dict=$(dirname "$0")/$(basename "$binary").dict
[ -f "$dict" ] && options+=(-dict="$dict")
if ! "$binary" -max_total_time="$seconds" -print_final_stats=1 -close_fd_mask=3 -artifact_prefix="$work/" \
     "${options[@]}" "${dirs[@]}" >"$work.log" 2>&1; then
  tail -60 "$work.log"
  exit 1
fi
grep -E 'stat::number_of_executed_units' "$work.log" || true
