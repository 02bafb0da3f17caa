#!/usr/bin/env bash
# One fuzzing campaign:  fuzz/campaign.sh TARGET SECONDS [JOBS]
#
# Builds the fuzz targets optimised, with AddressSanitizer and
# UndefinedBehaviorSanitizer (build/fuzz-campaign), and runs TARGET for
# SECONDS in JOBS parallel processes (default 1). The campaign's corpus grows
# in build/fuzz-campaign/corpus/TARGET, seeded from fuzz/seeds/TARGET and,
# for the targets that read an EDID, from every EDID of tests/corpus (for
# compose_fuzz each is paired with examples/platform.toml). Inputs that make
# a target fail land in build/fuzz-campaign/findings/TARGET/. Prints the
# executions and the findings; exits 1 when there is a finding.
set -euo pipefail
cd "$(dirname "$0")/.."
target=${1:?usage: fuzz/campaign.sh TARGET SECONDS [JOBS]}
seconds=${2:?usage: fuzz/campaign.sh TARGET SECONDS [JOBS]}
jobs=${3:-1}
build=build/fuzz-campaign

CC=clang CXX=clang++ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DEDC_SANITIZE=ON -DEDC_BUILD_FUZZ=ON -DEDC_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j"$(nproc)" --target "$target" >/dev/null

corpus=$build/corpus/$target findings=$build/findings/$target logs=$build/logs/$target
mkdir -p "$corpus" "$findings" "$logs"
rm -f "$logs"/*.log
dict=()
[ -f "fuzz/$target.dict" ] && dict+=(-dict="$PWD/fuzz/$target.dict")
seeds=()
[ -d "fuzz/seeds/$target" ] && seeds+=("fuzz/seeds/$target")
# Inputs no longer than real ones: an EDID of up to four blocks, a
# configuration text of a couple of kilobytes.
max_len=2048
case $target in
  decode_fuzz | dump_fuzz | edid_input_fuzz | cta_reader_fuzz) max_len=1024 ;;
esac
case $target in
  decode_fuzz | dump_fuzz | edid_input_fuzz | cta_reader_fuzz) seeds+=(tests/corpus/edid) ;;
  config_store_fuzz) seeds+=(fuzz/seeds/platform_config_fuzz) ;;
  compose_fuzz)
    # An example configuration (comments dropped), the settings byte 1 (3D
    # as the television), then a corpus EDID: each EDID with
    # examples/platform.toml, and with one of the two modern profile devices
    # in turn.
    paired=$build/seeds/compose_fuzz
    if [ ! -d "$paired" ]; then
      mkdir -p "$paired"
      strip() { grep -v '^[[:space:]]*#' "$1" | sed 's/[[:space:]]*#.*//' | grep .; }
      configs=("$(strip examples/platform.toml)" "$(strip examples/modern-4k60-hdr.toml)"
               "$(strip examples/modern-4k30-300.toml)")
      n=0
      for edid in tests/corpus/edid/*.bin; do
        name=$(basename "$edid")
        { printf '%s\n' "${configs[0]}"; printf '\0\001'; cat "$edid"; } >"$paired/$name"
        { printf '%s\n' "${configs[1 + n % 2]}"; printf '\0\001'; cat "$edid"; } >"$paired/modern-$name"
        n=$((n + 1))
      done
    fi
    seeds+=("$paired") ;;
esac

(cd "$logs" && UBSAN_OPTIONS=halt_on_error=1 "../../fuzz/$target" -max_total_time="$seconds" \
   -jobs="$jobs" -workers="$jobs" -max_len="$max_len" -close_fd_mask=3 -print_final_stats=1 \
   -artifact_prefix="$(realpath "../../findings/$target")/" "${dict[@]}" \
   "$(realpath "../../corpus/$target")" "${seeds[@]/#/$OLDPWD/}" >/dev/null 2>&1) || true

executions=$(cat "$logs"/*.log 2>/dev/null | sed -n 's/^stat::number_of_executed_units: //p' |
             awk '{s += $1} END {print s + 0}')
found=$(find "$findings" -type f | wc -l)
echo "$target: $executions executions in $seconds s on $jobs job(s); corpus $(ls "$corpus" | wc -l) inputs; findings: $found"
[ "$found" -eq 0 ]
