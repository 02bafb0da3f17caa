#!/usr/bin/env bash
# The performance figures of the README, measured:
#   - instructions per operation, counted by callgrind (repeatable whatever
#     the machine is doing): decoding one television EDID, reading its
#     modern CTA-861 blocks (cta_reader.h), composing one
#     (configuration reading included, debug off), composing one in the
#     modern profile (compose_profile.h, its keys read too), and a whole
#     `edid-composer dump --summary` process;
#   - Google Benchmark times over the corpus televisions;
#   - the soak: every corpus EDID composed 1000 times in one process, peak RSS;
#   - the JSON Lines dump of the whole corpus in one process (instructions per
#     EDID and wall time) against Debian's edid-decode started once per file.
# Release build in build/release. The corpus televisions are the EDIDs of
# tests/corpus whose manifest class is tv or hdmi3d.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh --test >/dev/null
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DEDC_BUILD_BENCH=ON -DEDC_BUILD_TESTS=OFF \
  >/dev/null
cmake --build build/release -j"$(nproc)" >/dev/null
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# Instructions of one callgrind run (of the toggled function when given).
instructions() {
  local toggle=$1
  shift
  valgrind --tool=callgrind ${toggle:+--toggle-collect=$toggle} --callgrind-out-file="$tmp/cg" \
    "$@" >/dev/null 2>"$tmp/err" || true  # the command's own status is not ours
  sed -n 's/^==[0-9]*== Collected : //p' "$tmp/err"
}

perf=build/release/bench/edc_perf
televisions=$(awk -F'\t' 'NR > 1 && ($5 == "tv" || $5 == "hdmi3d")' tests/corpus/MANIFEST.tsv | wc -l)
echo "Instructions (callgrind, Release build, $televisions corpus televisions):"
decode=$(instructions edc_perf_decode "$perf" decode tests/corpus)
printf '  decode one television EDID:           %8d\n' $((decode / televisions))
cta=$(instructions edc_perf_cta "$perf" cta tests/corpus)
printf '  read its modern CTA-861 blocks:       %8d\n' $((cta / televisions))
compose=$(instructions edc_perf_compose "$perf" compose tests/corpus examples/platform.toml)
printf '  compose one (examples/platform.toml): %8d\n' $((compose / televisions))
profile=$(instructions edc_perf_profile "$perf" profile tests/corpus examples/modern-4k60-hdr.toml)
printf '  compose one in the modern profile:    %8d (examples/modern-4k60-hdr.toml, %s x the above)\n' \
  $((profile / televisions)) "$(awk -v a="$profile" -v b="$compose" 'BEGIN { printf "%.2f", a / b }')"

# The whole process, for every 35th television.
total=0 runs=0 most=0
for file in $(awk -F'\t' 'NR > 1 && ($5 == "tv" || $5 == "hdmi3d") {print $1}' tests/corpus/MANIFEST.tsv |
              awk 'NR % 35 == 1'); do
  n=$(instructions "" build/release/edid-composer dump --summary "tests/corpus/edid/$file")
  total=$((total + n)) runs=$((runs + 1))
  [ "$n" -gt "$most" ] && most=$n
done
printf '  edid-composer dump --summary process: %8d (mean of %d, at most %d)\n' $((total / runs)) \
  "$runs" "$most"
printf '  for comparison, /bin/true:            %8d\n' "$(instructions "" /bin/true)"

echo
echo "Google Benchmark medians (the Corpus ones: time per EDID over the corpus televisions):"
build/release/bench/edc_bench --benchmark_repetitions=5 \
  --benchmark_report_aggregates_only=true 2>/dev/null | grep -E '_median'

echo
echo "Soak: every corpus EDID composed 1000 times in one process:"
"$perf" soak tests/corpus examples/platform.toml 1000 2>&1 >/dev/null | tail -1

# Wall time in microseconds of a command (or shell function), the fastest of
# five runs.
wall_us() {
  local best=0 start took
  for _ in 1 2 3 4 5; do
    start=$(date +%s%N)
    "$@" >/dev/null 2>&1 || true
    took=$((($(date +%s%N) - start) / 1000))
    if [ "$best" -eq 0 ] || [ "$took" -lt "$best" ]; then best=$took; fi
  done
  echo "$best"
}
edid_decode_each() {
  for file in tests/corpus/edid/*.bin; do edid-decode "$file" || true; done
}

echo
edids=$(find tests/corpus/edid -name '*.bin' | wc -l)
echo "JSON Lines dump of the corpus ($edids EDIDs), one process, against edid-decode once per file:"
lines=$(instructions "" build/release/edid-composer dump --json tests/corpus/edid)
printf '  edid-composer dump --json tests/corpus/edid: %8d instructions per EDID (the whole process)\n' \
  $((lines / edids))
ours=$(wall_us build/release/edid-composer dump --json tests/corpus/edid)
theirs=$(wall_us edid_decode_each)
printf '  wall time, fastest of 5: edid-composer %d ms (%d us per EDID), edid-decode %d ms (%d us per EDID)\n' \
  $((ours / 1000)) $((ours / edids)) $((theirs / 1000)) $((theirs / edids))
awk -v a="$theirs" -v b="$ours" 'BEGIN { printf "  edid-composer is %.0f times as fast (goal: 100)\n", a / b }'
