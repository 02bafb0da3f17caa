#!/usr/bin/env bash
# Installs the Debian packages that the build needs and that are missing.
#   scripts/setup.sh          what building the library and the tool needs
#   scripts/setup.sh --test   also what the test suite needs
set -euo pipefail

packages=(make pkg-config libtomlplusplus-dev libcli11-dev nlohmann-json3-dev)
if [ "${1:-}" = "--test" ]; then
  packages+=(libgtest-dev libgmock-dev libbenchmark-dev clang libclang-rt-14-dev llvm
             edid-decode valgrind emscripten chromium nodejs)
  # Debian's nodejs comes without npm; a Node.js from elsewhere (such as
  # NodeSource's package) has its own, which Debian's npm would conflict with.
  command -v npm >/dev/null || packages+=(npm)
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=()
if [ "$(id -u)" != 0 ]; then
  command -v sudo >/dev/null || { echo "need root (or sudo) to install: ${missing[*]}" >&2; exit 1; }
  sudo=(sudo)
fi
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -qq
"${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
