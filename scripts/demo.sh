#!/usr/bin/env bash
# Installs what is missing, builds the library and the tool, prints the
# tool's version and dumps a bundled television EDID (summary form).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DEDC_BUILD_TESTS=OFF >/dev/null
cmake --build build/release -j"$(nproc)" >/dev/null
tool=build/release/edid-composer
"$tool" --version
echo
"$tool" dump --summary examples/sony-tv.bin
