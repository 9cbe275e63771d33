#!/bin/sh
# Runs the store benchmarks of an existing build and prints a summary table. Builds nothing: configure
# the build with -DVYRO_BUILD_BENCH=ON (and CMAKE_BUILD_TYPE=Release for figures worth comparing), then
# build the target vyro_store_bench.
#
#   bench/run_benchmarks.sh BUILD_DIR [--tasks=N] [Google Benchmark flags...]
#
# The full benchmark output goes to the terminal as it runs; the JSON results are kept in
# BUILD_DIR/bench/store_bench.json.
set -eu

if [ $# -lt 1 ] || [ "$1" = "-h" ] || [ "$1" = "--help" ]; then
    echo "usage: $0 BUILD_DIR [--tasks=N] [benchmark flags...]" >&2
    exit 2
fi
build_dir=$1
shift
bench="$build_dir/bench/vyro_store_bench"
if [ ! -x "$bench" ]; then
    echo "$0: $bench not found; build the target vyro_store_bench first" >&2
    exit 1
fi
if ! grep -q '^CMAKE_BUILD_TYPE:STRING=Release$' "$build_dir/CMakeCache.txt" 2>/dev/null; then
    echo "note: $build_dir is not a Release build; its figures are not comparable with the targets" >&2
fi

json="$build_dir/bench/store_bench.json"
"$bench" --benchmark_out="$json" --benchmark_out_format=json "$@"

if ! command -v python3 >/dev/null 2>&1; then
    echo "python3 not found: no summary (results in $json)" >&2
    exit 0
fi

python3 - "$json" <<'EOF'
import json
import sys

with open(sys.argv[1]) as f:
    runs = json.load(f)["benchmarks"]

# With --benchmark_repetitions the mean stands for the runs; otherwise the one run does.
results = {}
for r in runs:
    name = r.get("run_name", r["name"])
    if r.get("run_type") == "aggregate":
        if r.get("aggregate_name") == "mean":
            results[name] = r
    elif name not in results or results[name].get("run_type") != "aggregate":
        results[name] = r

scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}

def find(prefix):
    for name, r in results.items():
        if name == prefix or name.startswith(prefix + "/"):
            return r
    return None

def ms(prefix):
    r = find(prefix)
    return None if r is None else r["real_time"] * scale[r["time_unit"]]

def counter(prefix, key):
    r = find(prefix)
    return None if r is None else r.get(key)

def show(value, unit, digits=1):
    return "n/a" if value is None else f"{value:.{digits}f} {unit}"

open_ms = ms("BM_OpenStore")
fresh_ms = ms("BM_PeakMemoryAfterOpen")
pinned_us = ms("BM_PinnedFetch/pinned")
scan_us = ms("BM_FullScanFetch/warm")
pinned_cold_us = ms("BM_PinnedFetch/pinned_cold")
scan_cold_us = ms("BM_FullScanFetch/cold")
insert_ms = ms("BM_SaveOneInsert")
change_ms = ms("BM_SaveOneChange")
peak_mb = counter("BM_PeakMemoryAfterOpen", "peak_MB")
folder_tasks = counter("BM_PinnedFetch/pinned", "folder_tasks")
all_tasks = counter("BM_FullScanFetch/warm", "scanned")

pinned_us = None if pinned_us is None else pinned_us * 1e3
scan_us = None if scan_us is None else scan_us * 1e3
pinned_cold_us = None if pinned_cold_us is None else pinned_cold_us * 1e3
scan_cold_us = None if scan_cold_us is None else scan_cold_us * 1e3

def share(part, whole):
    return "" if part is None or not whole else f"{100.0 * part / whole:.1f}%"

def verdict(value, limit):
    return "" if value is None else ("ok" if value <= limit else "MISSED")

rows = [
    ("open store (in process)", show(open_ms, "ms"), "<= 300 ms", verdict(open_ms, 300)),
    ("open store (fresh process)", show(fresh_ms, "ms"), "<= 300 ms", verdict(fresh_ms, 300)),
    ("pinned fetch, warm", show(pinned_us, "us"), "", ""),
    ("full scan, warm", show(scan_us, "us"), "", ""),
    ("pinned fetch, cold", show(pinned_cold_us, "us"), "", ""),
    ("full scan, cold", show(scan_cold_us, "us"), "", ""),
    ("save after one insert", show(insert_ms, "ms", 2), "", ""),
    ("save after one change", show(change_ms, "ms", 2), "<= 10 ms", verdict(change_ms, 10)),
    ("peak memory after open", show(peak_mb, "MB"), "<= 150 MB", verdict(peak_mb, 150)),
]
width = max(len(r[0]) for r in rows)
print()
print(f"{'measure':<{width}}  {'result':>12}  {'target':<10}")
for label, value, target, result in rows:
    print(f"{label:<{width}}  {value:>12}  {target:<10} {result}")
if folder_tasks and all_tasks:
    print()
    print(f"The pinned folder holds {share(folder_tasks, all_tasks)} of the tasks; its fetch takes "
          f"{share(pinned_us, scan_us)} of the full scan's time warm, {share(pinned_cold_us, scan_cold_us)} cold.")
per_task = []
for which in ("smallest", "pinned", "largest"):
    r = find(f"BM_PinnedFetch/{which}_cold")
    if r and r.get("per_folder_task"):
        per_task.append(f"{which} ({int(r['folder_tasks'])} tasks) {r['per_folder_task'] * 1e9:.0f} ns")
if per_task:
    print("Cold pinned fetch per task of the folder: " + ", ".join(per_task))
EOF
