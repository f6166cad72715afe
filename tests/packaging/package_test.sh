#!/usr/bin/env bash
# Builds the Debian packages of a build folder, unpacks them into a scratch root with
# dpkg -x, and builds and runs the consumer project and the tool against that root.
# Usage: package_test.sh BUILD_DIR CONSUMER_SOURCE_DIR
set -euo pipefail
build=$1; src=$2
tmp=$(mktemp -d); trap 'rm -rf "$tmp"' EXIT
(cd "$build" && cpack -B "$tmp/debs" >/dev/null)
names=$(cd "$tmp/debs" && ls ./*.deb | sed 's|^\./||; s|_.*||' | sort | tr '\n' ' ')
[[ $names == "libzul-dev libzul0 zul-tools " ]] || { echo "packages: $names"; exit 1; }
for deb in "$tmp"/debs/*.deb; do dpkg -x "$deb" "$tmp/root"; done
root=$tmp/root/usr
[[ -L $root/lib/libzul.so && -e $root/lib/libzul.so.0 ]] || { echo "no versioned soname"; exit 1; }
soname=$(objdump -p "$root/lib/libzul.so.0" | awk '/SONAME/ {print $2}')
[[ $soname == libzul.so.0 ]] || { echo "soname $soname"; exit 1; }
bash "$(dirname "$0")/../consumer/run.sh" "$build" "$src" "$root"
LD_LIBRARY_PATH="$root/lib" "$root/bin/zul" --version
echo "packages unpacked, consumer built and run against them"
