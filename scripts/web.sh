#!/usr/bin/env bash
# The browser workbench: the library compiled to WebAssembly with Emscripten,
# and the page around it, assembled in build/web/.
#   scripts/web.sh            build, then serve build/web/ on a free local port
#   scripts/web.sh build      build only
#   scripts/web.sh serve [PORT]  serve (default: the first free port from 8019)
set -euo pipefail
cd "$(dirname "$0")/.."
page=build/web

build() {
  # Debian's emscripten finds its JavaScript optimiser's acorn here.
  export NODE_PATH=${NODE_PATH:-/usr/share/nodejs}
  emcmake cmake -S . -B build/web-wasm -DCMAKE_BUILD_TYPE=MinSizeRel \
    -DEDC_WEB_PAGE_DIR="$PWD/$page" >/dev/null
  cmake --build build/web-wasm -j"$(nproc)" >/dev/null
  cp web/index.html web/style.css web/app.js web/sw.js "$page/"
  mkdir -p "$page/examples"
  cp examples/*.bin examples/*.toml "$page/examples/"
  # The page's list of bundled examples.
  (
    cd examples
    list() { printf '%s\n' "$@" | sed 's/.*/"&"/' | paste -sd, -; }
    printf '{"edid": [%s], "config": [%s]}\n' "$(list *.bin)" "$(list *.toml)"
  ) >"$page/examples/index.json"
}

free_port() {
  python3 -c 'import socket
for port in range(int("'"$1"'"), 65536):
    s = socket.socket()
    try:
        s.bind(("127.0.0.1", port)); print(port); break
    except OSError: pass
    finally: s.close()'
}

serve() {
  local port
  port=$(free_port "${1:-8019}")
  echo "The EDID workbench: http://127.0.0.1:$port/ (Ctrl-C stops the server)"
  exec python3 -m http.server "$port" --bind 127.0.0.1 --directory "$page"
}

case "${1:-}" in
  build) build ;;
  serve) serve "${2:-8019}" ;;
  "") build && serve 8019 ;;
  *) echo "usage: scripts/web.sh [build | serve [PORT]]" >&2; exit 2 ;;
esac
