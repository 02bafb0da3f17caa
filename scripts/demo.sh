#!/usr/bin/env bash
# Installs what is missing, builds the library and the tool, composes the
# EDID a set-top device would present for a bundled television with the
# sample platform configuration, and compares the television's EDID with it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DEDC_BUILD_TESTS=OFF >/dev/null
cmake --build build/release -j"$(nproc)" >/dev/null
tool=build/release/edid-composer
mkdir -p build/demo
run() {
  echo "\$ edid-composer $*"
  "$tool" "$@"
  echo
}
run compose --config examples/platform.toml --sink examples/sony-tv.bin -o build/demo/sony-composed.bin
run compare examples/sony-tv.bin build/demo/sony-composed.bin
