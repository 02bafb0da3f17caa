#!/usr/bin/env bash
# Installs what is missing and runs the whole test suite:
#   1. GCC build (-Wall -Wextra -Werror): unit, corpus, C API and install tests;
#   2. clang build with AddressSanitizer + UndefinedBehaviorSanitizer: the same
#      tests, plus short runs of every fuzz target;
#   3. the GCC unit tests again under valgrind, which must report no error and
#      no leak;
#   4. the browser workbench (scripts/web.sh build) in headless Chromium,
#      checked against the GCC build's edid-composer (tests/web/).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh --test
jobs=$(nproc)

echo "== GCC build"
cmake -S . -B build/gcc -DCMAKE_BUILD_TYPE=RelWithDebInfo -DEDC_BUILD_BENCH=ON >/dev/null
cmake --build build/gcc -j"$jobs" >/dev/null
ctest --test-dir build/gcc -j"$jobs" --output-on-failure

echo "== clang build with AddressSanitizer + UndefinedBehaviorSanitizer"
CC=clang CXX=clang++ cmake -S . -B build/clang-asan -DCMAKE_BUILD_TYPE=Debug \
  -DEDC_SANITIZE=ON -DEDC_BUILD_FUZZ=ON >/dev/null
cmake --build build/clang-asan -j"$jobs" >/dev/null
UBSAN_OPTIONS=print_stacktrace=1 ctest --test-dir build/clang-asan -j"$jobs" --output-on-failure

echo "== valgrind"
valgrind --quiet --leak-check=full --errors-for-leak-kinds=all --error-exitcode=9 \
  build/gcc/tests/edc_unit_tests --gtest_brief=1 --gtest_filter='-*DeathTest*'
echo "== browser"
scripts/web.sh build
(cd tests/web && npm ci --no-audit --no-fund --loglevel=error >/dev/null)
EDC_TOOL=build/gcc/edid-composer timeout 600 node --test tests/web/workbench.test.mjs
echo "All tests passed."
