#!/bin/sh
# The running program reached from other processes, on a generated store of 100,000 tasks (or N): the
# real `vyro` on a private session bus under a virtual X server, then
#   (a) `vyro add LINE` as a whole process, start to exit (the task saved), RUNS times (default 50);
#   (b) NewInboxTask round trips from one client process, CALLS times (default 200).
# Prints the median and the spread of each.
#
#   bench/bus_bench.sh BUILD_DIR [TASKS] [RUNS] [CALLS]
set -eu
build_dir=$(cd "${1:?usage: $0 BUILD_DIR [TASKS] [RUNS] [CALLS]}" && pwd)
tasks=${2:-100000}
runs=${3:-50}
calls=${4:-200}
py=/usr/bin/python3

if [ -z "${VYRO_BENCH_WORK:-}" ]; then
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    mkdir -p "$work/data" "$work/home/data" "$work/home/config" "$work/runtime"
    chmod 700 "$work/runtime"
    "$build_dir/bench/vyro-generate-store" "$work/data/Vyro.sql" "$tasks" >/dev/null
    env -u DBUS_SESSION_BUS_ADDRESS -u WAYLAND_DISPLAY VYRO_BENCH_WORK="$work" HOME="$work/home" \
        XDG_DATA_HOME="$work/home/data" XDG_CONFIG_HOME="$work/home/config" XDG_RUNTIME_DIR="$work/runtime" \
        QT_QPA_PLATFORM=xcb QT_STYLE_OVERRIDE=Fusion \
        dbus-run-session -- xvfb-run -a -s "-screen 0 1280x800x24" "$0" "$build_dir" "$tasks" "$runs" "$calls"
    exit $?
fi

work=$VYRO_BENCH_WORK
vyro=$build_dir/src/vyro
"$vyro" --data-dir "$work/data" >"$work/vyro.out" 2>&1 &
pid=$!
trap 'kill $pid 2>/dev/null; wait 2>/dev/null' EXIT
"$py" - "$vyro" "$work/data" "$runs" "$calls" "$tasks" <<'PY'
import dbus, statistics, subprocess, sys, time
vyro, data, runs, calls, tasks = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4]), sys.argv[5]
bus = dbus.SessionBus()
deadline = time.time() + 120
while not bus.name_has_owner("com.quendar.Vyro"):
    if time.time() > deadline:
        sys.exit("the program did not appear on the bus")
    time.sleep(0.1)
obj = bus.get_object("com.quendar.Vyro", "/com/quendar/Vyro", introspect=False)
app = dbus.Interface(obj, "org.freedesktop.Application")
own = dbus.Interface(obj, "com.quendar.Vyro")
app.Activate(dbus.Dictionary({}, signature="sv"), timeout=120)  # answered once the window is up

def report(what, samples, target):
    samples.sort()
    print(f"{what}: median {statistics.median(samples):.2f} ms, min {samples[0]:.2f}, "
          f"90% {samples[int(len(samples) * 0.9)]:.2f}, max {samples[-1]:.2f} (n={len(samples)}, target {target} ms)")

took = []
for i in range(runs):
    start = time.perf_counter()
    r = subprocess.run([vyro, "--data-dir", data, "add", f"bench task {i} @Home"], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    took.append((time.perf_counter() - start) * 1000)
    if r.returncode != 0:
        sys.exit("vyro add failed: " + r.stderr.decode())
report(f"vyro add, whole process, {tasks}-task store", took, 20)

info = dbus.Dictionary({"name": "bench inbox task"}, signature="sv")
took = []
for i in range(calls):
    start = time.perf_counter()
    own.NewInboxTask(info)
    took.append((time.perf_counter() - start) * 1000)
report("NewInboxTask round trip", took, 5)
PY
