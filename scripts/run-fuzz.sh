#!/usr/bin/env bash
# Runs every fuzz target of a build for a bounded time each, starting from its seed corpus
# fuzz/corpus/<target>/ (new inputs go to a scratch folder, the seeds stay as they are) and
# with the dictionary fuzz/<target>.dict when there is one.
set -euo pipefail
build=${1:-build-fuzz}; seconds=${2:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
for exe in "$build"/fuzz/*_fuzz; do
    [ -x "$exe" ] || continue
    name=$(basename "$exe")
    scratch=$(mktemp -d)
    dict=()
    [ -f "$root/fuzz/$name.dict" ] && dict=(-dict="$root/fuzz/$name.dict")
    echo "== $name for ${seconds}s"
    "$exe" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 "${dict[@]}" "$scratch" \
        "$root/fuzz/corpus/$name" 2>&1 | tail -n 3
    rm -rf "$scratch"
done
