#!/usr/bin/env bash
# Installs the build into a scratch prefix, then checks the installed tree as
# a user meets it: the shared library's exported symbols, a C11 program built
# with pkg-config, a CMake project using find_package, and the tool.
set -euo pipefail
build=$1 work=$2 here=$3
cmake=${CMAKE:-cmake}
rm -rf "$work" && mkdir -p "$work"
prefix=$work/prefix
"$cmake" --install "$build" --prefix "$prefix" >/dev/null

libdir=$(dirname "$(find "$prefix" -name libedidcomposer.so -print -quit)")
[ -n "$libdir" ] || { echo "libedidcomposer.so not installed"; exit 1; }
for f in include/edidcomposer/edid_composer.h bin/edid-composer; do
  [ -e "$prefix/$f" ] || { echo "missing $f"; exit 1; }
done

# Exported symbols: exactly the public API that the library defines, and no
# file-internal function.
public=$(sed -n '/global:/,/local:/p' "$here/../../src/libedidcomposer.map" |
         sed 's:/\*.*\*/::g' | tr ' ;' '\n\n' | grep -E '^[A-Za-z_][A-Za-z0-9_]*$' |
         grep -vx -e global -e local | sort -u)
defined=$(nm --defined-only -g "$libdir/libedidcomposer.a" 2>/dev/null | awk 'NF==3 {print $3}' | sort -u)
expected=$(comm -12 <(echo "$public") <(echo "$defined"))
exported=$(nm -D --defined-only "$libdir/libedidcomposer.so" | awk 'NF==3 {print $3}' | sort -u)
if [ "$expected" != "$exported" ]; then
  echo "exported symbols differ from the public API (< expected, > exported):"
  diff <(echo "$expected") <(echo "$exported") || true
  exit 1
fi
store_exported=$(nm -D --defined-only "$libdir/libedidcomposer-store.so" | awk 'NF==3 {print $3}' | sort -u | tr '\n' ' ')
[ "$store_exported" = "config_get_int config_get_str config_node_find config_node_first_child config_node_get_int config_node_get_name config_node_get_str config_node_next_sibling config_store_check_file config_store_clear config_store_load_file config_store_load_string " ] ||
  { echo "store exports: $store_exported"; exit 1; }

# A C11 program against the installed headers and shared libraries.
export PKG_CONFIG_PATH=$libdir/pkgconfig
gcc -std=c11 -Wall -Wextra -Werror -Wpedantic "$here/../c_api/c_api_test.c" -o "$work/c_consumer" \
    $(pkg-config --cflags --libs edidcomposer edidcomposer-store) -Wl,-rpath,"$libdir"
"$work/c_consumer"

# A CMake project using find_package(edidcomposer).
"$cmake" -S "$here/consumer" -B "$work/cmake_consumer" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
"$cmake" --build "$work/cmake_consumer" >/dev/null
"$work/cmake_consumer/consumer"

# The installed tool runs and prints the banner.
"$prefix/bin/edid-composer" --version | grep -q '^#@# libedidcomposer.so Unofficial Build '
echo "install test passed"
