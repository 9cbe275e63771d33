#!/bin/sh
# Runs the store, model and list benchmarks of an existing build and prints a summary table. Builds nothing:
# configure the build with -DVYRO_BUILD_BENCH=ON (and CMAKE_BUILD_TYPE=Release for figures worth
# comparing), then build the targets vyro_store_bench, vyro_model_bench and vyro_lists_bench. A
# benchmark program that is not built is left out with a note.
#
#   bench/run_benchmarks.sh BUILD_DIR [--tasks=N] [Google Benchmark flags...]
#
# Every program gets the same flags. The full benchmark output goes to the terminal as it runs; the JSON
# results are kept in BUILD_DIR/bench/NAME_bench.json.
set -eu

if [ $# -lt 1 ] || [ "$1" = "-h" ] || [ "$1" = "--help" ]; then
    echo "usage: $0 BUILD_DIR [--tasks=N] [benchmark flags...]" >&2
    exit 2
fi
build_dir=$1
shift
if ! grep -q '^CMAKE_BUILD_TYPE:STRING=Release$' "$build_dir/CMakeCache.txt" 2>/dev/null; then
    echo "note: $build_dir is not a Release build; its figures are not comparable with the targets" >&2
fi

# Runs vyro_NAME_bench with the given flags and sets json to the file of its results; leaves json empty
# when the program is not built.
run() {
    name=$1
    shift
    bench="$build_dir/bench/vyro_${name}_bench"
    json=""
    if [ ! -x "$bench" ]; then
        echo "note: $bench not found; build the target vyro_${name}_bench to include it" >&2
        return 0
    fi
    json="$build_dir/bench/${name}_bench.json"
    "$bench" --benchmark_out="$json" --benchmark_out_format=json "$@"
}
run store "$@"
store_json=$json
run model "$@"
model_json=$json
run lists "$@"
lists_json=$json
if [ -z "$store_json" ] && [ -z "$model_json" ] && [ -z "$lists_json" ]; then
    echo "$0: no benchmark program found in $build_dir/bench; build vyro_store_bench, vyro_model_bench or vyro_lists_bench first" >&2
    exit 1
fi

if ! command -v python3 >/dev/null 2>&1; then
    echo "python3 not found: no summary (results in $store_json $model_json)" >&2
    exit 0
fi

python3 - "$store_json" "$model_json" "$lists_json" <<'EOF'
import json
import sys

runs = []
for path in sys.argv[1:]:
    try:
        with open(path) as f:
            runs += json.load(f)["benchmarks"]
    except (OSError, ValueError, KeyError):
        pass  # not built (no path), or its filter matched nothing (an empty file)

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
cold_counters_ms = ms("BM_CountersFromCold")
unchanged_ms = ms("BM_CountersAfterOneChange/none")
next_action_ms = ms("BM_CountersAfterOneChange/next_action")
due_date_ms = ms("BM_CountersAfterOneChange/due_date")
done_ms = ms("BM_CountersAfterOneChange/done")
cleanup_save_ms = ms("BM_CleanUpAndSave")
cleanup_only_ms = counter("BM_CleanUpAndSave", "cleanup_ms")
cleanup_save_only_ms = counter("BM_CleanUpAndSave", "save_ms")
undo_cleanup_ms = counter("BM_CleanUpAndSave", "undo_ms")
redo_cleanup_ms = counter("BM_CleanUpAndSave", "redo_ms")
undo_cleanup_mb = counter("BM_CleanUpAndSave", "undo_MB")
deep_chain_ms = ms("BM_LoadDeepChain")
rename_chain_ms = ms("BM_RenameRootOfDeepChain")
context_view_ms = ms("BM_ContextView/by_name")
context_natural_ms = ms("BM_ContextView/natural_order")
to_complete_ms = ms("BM_ToCompleteAllTasksByDueDate/pending")
to_complete_all_ms = ms("BM_ToCompleteAllTasksByDueDate/everything")
one_change_ms = ms("BM_ToCompleteOneTaskChanged")
select_all_ms = ms("BM_ToCompleteSelectAll")
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
    ("all counters from cold", show(cold_counters_ms, "ms"), "<= 50 ms", verdict(cold_counters_ms, 50)),
    ("all counters, nothing changed", show(unchanged_ms, "ms", 3), "", ""),
    ("all counters after next action", show(next_action_ms, "ms", 3), "<= 1 ms", verdict(next_action_ms, 1)),
    ("all counters after due date", show(due_date_ms, "ms", 3), "<= 1 ms", verdict(due_date_ms, 1)),
    ("all counters after done", show(done_ms, "ms", 3), "<= 1 ms", verdict(done_ms, 1)),
    ("clean-up of 1,000 done + save", show(cleanup_save_ms, "ms"), "<= 100 ms", verdict(cleanup_save_ms, 100)),
    ("  of which the clean-up", show(cleanup_only_ms, "ms"), "", ""),
    ("  of which the save", show(cleanup_save_only_ms, "ms"), "", ""),
    ("undo of that clean-up", show(undo_cleanup_ms, "ms"), "<= 100 ms", verdict(undo_cleanup_ms, 100)),
    ("redo of that clean-up", show(redo_cleanup_ms, "ms"), "<= 100 ms", verdict(redo_cleanup_ms, 100)),
    ("undo stack after that clean-up", show(undo_cleanup_mb, "MB", 2), "<= 10 MB", verdict(undo_cleanup_mb, 10)),
    ("load a 60,000-deep chain of contexts", show(deep_chain_ms, "ms"), "<= 2000 ms", verdict(deep_chain_ms, 2000)),
    ("rename the root of a 2,000-deep chain", show(rename_chain_ms, "ms", 2), "", ""),
    ("context view rebuilt, by name", show(context_view_ms, "ms", 2), "<= 2 ms", verdict(context_view_ms, 2)),
    ("context view rebuilt, own order", show(context_natural_ms, "ms", 2), "<= 2 ms", verdict(context_natural_ms, 2)),
    ("to-complete, All tasks, by due date", show(to_complete_ms, "ms"), "<= 40 ms", verdict(to_complete_ms, 40)),
    ("  the same, time mode everything", show(to_complete_all_ms, "ms"), "<= 40 ms", verdict(to_complete_all_ms, 40)),
    ("to-complete, one task changed", show(one_change_ms, "ms", 3), "<= 0.5 ms", verdict(one_change_ms, 0.5)),
    ("to-complete, all tasks selected", show(select_all_ms, "ms", 2), "<= 10 ms", verdict(select_all_ms, 10)),
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
cold = find("BM_CountersFromCold")
if cold and cold.get("scanned"):
    print(f"All counters from cold: {int(cold['counters'])} counters of {int(cold['folders'])} folders, whose queries "
          f"look at {int(cold['scanned'])} tasks, {cold['per_scanned'] * 1e9:.0f} ns each; clearing them all takes "
          f"{cold['reset_us']:.0f} us (not counted).")
changed = []
for which in ("next_action", "due_date", "done"):
    r = find(f"BM_CountersAfterOneChange/{which}")
    if r and r.get("recomputed"):
        changed.append(f"{which.replace('_', ' ')} {int(r['recomputed'])} counters over {int(r['scanned'])} tasks")
if changed:
    print("Recomputed after one change: " + ", ".join(changed) + ".")
clean = find("BM_CleanUpAndSave")
if clean and clean.get("cleaned"):
    print(f"The clean-up of {int(clean['cleaned'])} tasks in {int(clean['contexts'])} contexts and {int(clean['projects'])} "
          f"projects added {int(clean['added'])} next occurrences and changed the position of {int(clean['renumbered'])} tasks.")
EOF
