#!/bin/sh
# From process start to the first painted main window, on a generated store of 100,000 tasks (or N), on
# the offscreen platform: the real `vyro` program, started RUNS times (default 5) on a copy of the same
# data file, each run timed from just before the start to the end of the window's first repaint
# (VYRO_REPORT_FIRST_PAINT makes the program print that moment and quit).
#
#   bench/ui_startup.sh BUILD_DIR [TASKS] [RUNS]
set -eu
build_dir=${1:?usage: $0 BUILD_DIR [TASKS] [RUNS]}
tasks=${2:-100000}
runs=${3:-5}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$build_dir/bench/vyro-generate-store" "$work/store.sql" "$tasks" >/dev/null
export HOME="$work/home" XDG_DATA_HOME="$work/home/data" XDG_CONFIG_HOME="$work/home/config"
export QT_QPA_PLATFORM=offscreen QT_STYLE_OVERRIDE=Fusion VYRO_REPORT_FIRST_PAINT=1
mkdir -p "$work/data"
i=0
while [ "$i" -lt "$runs" ]; do
    cp "$work/store.sql" "$work/data/Vyro.sql"
    start=$(date +%s%N)
    painted=$("$build_dir/src/vyro" --data-dir "$work/data" | sed -n 's/^first-paint-ns //p')
    echo "run $((i + 1)): $(( (painted - start) / 1000000 )) ms to the first painted window"
    i=$((i + 1))
done
