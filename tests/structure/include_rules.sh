#!/usr/bin/env bash
# Checks the include directions of the library's folders (README, "Architecture"): a file
# may include its own folder and the folders below it. zul/base/api.h (the export macro)
# may be included from anywhere, and zul/zul.h includes everything. Sources may also reach
# up in the few places listed in UPWARD, which make the one cycle of the library.
# Usage: include_rules.sh SOURCE_ROOT
set -uo pipefail
cd "${1:?source root}" || exit 2

declare -A BELOW=(
    [platform]=""
    [base]="platform"
    [util]="base platform"
    [mt]="util base platform"
    [log]="mt util base platform"
    [pml]="log mt util base platform"
    [xml]="log mt util base platform"
    [cfg]="pml xml log mt util base platform"
)

# Source file -> the folder above it that it may include, and why.
declare -A UPWARD=(
    ["zul/mt/simple_thread.cpp log"]="a lifecycle thread traces its phases"
    ["zul/mt/thread_id.cpp log"]="the dumper form of a thread id"
    ["zul/mt/thread_registry.cpp log"]="the dumper forms of the registry"
    ["zul/log/log_logger.cpp cfg"]="the logger reads its settings from the configuration file"
    ["zul/log/log_logger.cpp pml"]="the settings are bound from PML"
)

failures=0
used=()
while IFS= read -r file; do
    folder=${file#zul/}
    folder=${folder%%/*}
    [[ -n ${BELOW[$folder]+x} ]] || { echo "FAIL: $file: folder '$folder' has no rule"; failures=$((failures + 1)); continue; }
    while IFS=: read -r line target; do
        [[ $target == zul/base/api.h ]] && continue
        to=${target#zul/}
        to=${to%%/*}
        [[ $to == "$folder" ]] && continue
        [[ " ${BELOW[$folder]} " == *" $to "* ]] && continue
        if [[ $file == *.cpp && -n ${UPWARD["$file $to"]+x} ]]; then
            used+=("$file $to")
            continue
        fi
        echo "FAIL: $file:$line includes $target: $folder may not include $to"
        failures=$((failures + 1))
    done < <(grep -n '^#include <zul/' "$file" | sed -E 's/^([0-9]+):#include <([^>]*)>.*/\1:\2/')
done < <( (git ls-files 'zul/*.h' 'zul/*.cpp' 2>/dev/null || find zul -name '*.h' -o -name '*.cpp') \
          | grep -v '^zul/zul.h$')

# An allowance nobody needs any more is removed, so that the list stays the truth.
for key in "${!UPWARD[@]}"; do
    [[ " ${used[*]-} " == *" $key "* ]] || { echo "FAIL: unused allowance '$key'"; failures=$((failures + 1)); }
done
[[ $failures -eq 0 ]] && echo "include directions: ok"
exit $((failures != 0))
