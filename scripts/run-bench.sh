#!/usr/bin/env bash
# Runs every benchmark program of a build, then prints the throughput ratio of zul to its
# peer for each pair of benchmarks named "<case>/zul" and "<case>/peer".
set -euo pipefail
build=${1:-build-bench}
out=$(mktemp -d); trap 'rm -rf "$out"' EXIT
for exe in "$build"/bench/*_bench; do
    [ -x "$exe" ] || continue
    echo "== $(basename "$exe")"
    "$exe" --benchmark_out="$out/$(basename "$exe").json" --benchmark_out_format=json
done
python3 - "$out" <<'PY'
import json, os, sys
pairs = {}
for f in sorted(os.listdir(sys.argv[1])):
    for b in json.load(open(os.path.join(sys.argv[1], f)))["benchmarks"]:
        # Options that the benchmark library appends to a name are not part of the case.
        name = "/".join(p for p in b["name"].split("/")
                        if p != "real_time" and not p.startswith(("threads:", "iterations:")))
        case, sep, side = name.rpartition("/")
        if side not in ("zul", "peer") or b.get("run_type") == "aggregate":
            continue
        rate = b.get("bytes_per_second") or b.get("items_per_second") or 1e9 / b["real_time"]
        pairs.setdefault(case, {})[side] = rate
print("\n%-48s %9s" % ("case", "zul/peer"))
for case, r in sorted(pairs.items()):
    if "zul" in r and "peer" in r:
        print("%-48s %9.2f" % (case, r["zul"] / r["peer"]))
PY
