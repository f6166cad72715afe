#!/usr/bin/env bash
# Runs every benchmark program of a build and prints its results, then a table of the
# throughput ratios between zul and the peer of each pair (names "<case>/zul" and
# "<case>/peer").
set -euo pipefail
build=${1:-build-bench}
out=$(mktemp -d); trap 'rm -rf "$out"' EXIT
for exe in "$build"/bench/*_bench; do
    [ -x "$exe" ] || continue
    echo "== $(basename "$exe")"
    "$exe" --benchmark_format=console --benchmark_out="$out/$(basename "$exe").json" \
        --benchmark_out_format=json
done
python3 - "$out" <<'PY'
import json, os, sys
rows = {}
for f in sorted(os.listdir(sys.argv[1])):
    for b in json.load(open(os.path.join(sys.argv[1], f)))["benchmarks"]:
        name = b["name"]
        if "/zul" not in name and "/peer" not in name:
            continue
        case, _, side = name.partition("/zul") if "/zul" in name else name.partition("/peer")
        side = "zul" if "/zul" in name else "peer"
        key = case + _.replace("/zul", "").replace("/peer", "") + side.join(["", ""])
        rate = b.get("bytes_per_second") or b.get("items_per_second") or (1e9 / b["real_time"])
        rows.setdefault(case, {})[side] = rate
print("\n%-48s %8s" % ("case", "zul/peer"))
for case, r in sorted(rows.items()):
    if "zul" in r and "peer" in r:
        print("%-48s %8.2f" % (case, r["zul"] / r["peer"]))
PY
