#!/usr/bin/env bash
# Installs the built library into a temporary prefix, then configures, builds and runs a
# consumer project against it with find_package(zul) and, separately, with pkg-config.
set -euo pipefail
build=$1; src=$2
tmp=$(mktemp -d); trap 'rm -rf "$tmp"' EXIT
cmake --install "$build" --prefix "$tmp/prefix" >/dev/null
cmake -S "$src" -B "$tmp/build" -G Ninja -DCMAKE_PREFIX_PATH="$tmp/prefix" >/dev/null
cmake --build "$tmp/build" >/dev/null
LD_LIBRARY_PATH="$tmp/prefix/lib" "$tmp/build/consumer"
PKG_CONFIG_PATH="$tmp/prefix/lib/pkgconfig" \
    c++ -std=c++17 "$src/main.cpp" -o "$tmp/consumer_pc" \
    $(PKG_CONFIG_PATH="$tmp/prefix/lib/pkgconfig" pkg-config --cflags --libs zul)
LD_LIBRARY_PATH="$tmp/prefix/lib" "$tmp/consumer_pc"
echo "consumer project built and ran against the installed package"
