#!/usr/bin/env bash
# Installs the Debian packages that building, testing, benchmarking and fuzzing zul need.
# Does nothing when every package is already present.
set -euo pipefail

packages=(
    build-essential cmake ninja-build pkg-config git
    libace-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    clang libclang-rt-14-dev
    libssl-dev libboost-dev nlohmann-json3-dev libspdlog-dev
    libtinyxml2-dev libpugixml-dev libxml2-dev
    doxygen
)

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "install-deps: installing ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
