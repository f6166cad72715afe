#!/usr/bin/env bash
# A short tour of the zul tool on the sample configuration in examples/.
# Usage: scripts/tour.sh BUILD_DIR
set -euo pipefail
build=$(cd "${1:?usage: tour.sh BUILD_DIR}" && pwd)
zul="$build/tools/zul/zul"
cd "$(dirname "$0")/.."
config=examples/config.pml
broken=examples/broken.pml
xmlconfig=examples/config.xml
xmlbroken=examples/broken.xml

bold='' plain=''
if [[ -t 1 ]]; then bold=$'\033[1m' plain=$'\033[0m'; fi
step() { printf '\n%s$ %s%s\n' "$bold" "$*" "$plain"; }
# Shows a command and runs it; a failing command is reported and the tour goes on.
show() {
    step "zul $*"
    local status=0
    "$zul" "$@" || status=$?
    if ((status)); then echo "(exit status $status)"; fi
}

show --version
for mode in compact simple mixed formatted; do
    show pml format --mode "$mode" "$config"
done
show pml format --pattern name,type,value,path "$config"

show pml get "$config" server/port
show pml get "$config" server/listen/[1]
show pml get "$config" log

show pml check "$config"
# The broken sample fails on purpose: the message names the file, the line and the cause.
show pml check "$broken"

show xml format "$xmlconfig"
show xml format --compact "$xmlconfig"
show xml get "$xmlconfig" server/listen/
show xml get "$xmlconfig" server/@port
show xml get "$xmlconfig" greeting
show xml check "$xmlconfig"
# The broken XML sample fails on purpose too: a single-quoted attribute.
show xml check "$xmlbroken"

step "zul base64 encode $config | zul base64 decode | zul pml get - greeting"
"$zul" base64 encode "$config" | "$zul" base64 decode | "$zul" pml get - greeting
