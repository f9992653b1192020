#!/usr/bin/env bash
# consumer.sh BUILD_DIR SOURCE_DIR
#
# Installs the build into an empty prefix, then builds and runs the same small C client twice:
# once found through find_package(marrows), once through pkg-config. Checks the SONAME too.
set -euo pipefail
build=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
lib=$(dirname "$(find "$prefix" -name 'libmarrows.so.*.*.*' | head -1)")
soname=$(readelf -d "$lib"/libmarrows.so | sed -n 's/.*Library soname: \[\(.*\)\]/\1/p')
[ "$soname" = "libmarrows.so.4" ] || { echo "SONAME is '$soname'"; exit 1; }
[ -x "$prefix/bin/marrows" ] || [ ! -x "$build/tools/marrows/marrows" ] || { echo "the tool isn't installed"; exit 1; }

cmake -S "$source/tests/install/cmake-client" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
LD_LIBRARY_PATH="$lib" "$work/cmake/client" "$work/a.ldb"

export PKG_CONFIG_PATH="$lib/pkgconfig"
cc "$source/tests/install/client.c" $(pkg-config --cflags --libs marrows) -o "$work/pc-client"
LD_LIBRARY_PATH="$lib" "$work/pc-client" "$work/b.ldb"
[ "$(pkg-config --modversion marrows)" = "4.0.0" ] || { echo "pkg-config version"; exit 1; }
echo "both clients ran against the installed library"
