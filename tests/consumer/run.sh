#!/usr/bin/env bash
# Configures, builds and runs a consumer project against an installed zul, with
# find_package(zul) and, separately, with pkg-config. Without PREFIX the built library is
# first installed into a temporary prefix.
# Usage: run.sh BUILD_DIR CONSUMER_SOURCE_DIR [PREFIX]
set -euo pipefail
build=$1; src=$2
tmp=$(mktemp -d); trap 'rm -rf "$tmp"' EXIT
prefix=${3:-$tmp/prefix}
if [[ -z ${3:-} ]]; then cmake --install "$build" --prefix "$prefix" >/dev/null; fi
cmake -S "$src" -B "$tmp/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$tmp/build" >/dev/null
LD_LIBRARY_PATH="$prefix/lib" "$tmp/build/consumer"
PKG_CONFIG_PATH="$prefix/lib/pkgconfig" \
    c++ -std=c++17 "$src/main.cpp" -o "$tmp/consumer_pc" \
    $(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --cflags --libs zul)
LD_LIBRARY_PATH="$prefix/lib" "$tmp/consumer_pc"
echo "consumer project built and ran against the installed package"
