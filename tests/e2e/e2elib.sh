# The frame every end-to-end run shares; sourced by the *_e2e.sh scripts, which hold only their checks.
#
#   e2e_needs TOOL...           skip (77) unless every TOOL is installed
#   e2e_needs_python MODULE...  skip (77) unless $py imports every MODULE
#   e2e_enter "$@"              outside: re-runs the script in a private home and XDG folders, on a
#                               private session bus and a virtual screen, then exits with its status;
#                               inside: returns, with DISPLAY and DBUS_SESSION_BUS_ADDRESS the private ones
#
# A script's arguments are VYRO_BINARY [OUTPUT_DIR]. Exit status: 0 passed, 1 failed, 77 skipped. On
# failure the output folder gets a screenshot, the debug log, the preferences, the last dump, the
# program's output and the files named in e2e_evidence; the run's folder is kept.

py=/usr/bin/python3
[[ -x $py ]] || py=python3
e2e_evidence=()
e2e_pids=()

e2e_needs() {
    local tool
    for tool in "$@"; do
        if ! command -v "$tool" >/dev/null 2>&1; then
            echo "SKIP: $tool is not installed"
            exit 77
        fi
    done
}

e2e_needs_python() {
    if ! "$py" -c "import $(IFS=,; echo "$*")" 2>/dev/null; then
        echo "SKIP: $py lacks one of the modules $*"
        exit 77
    fi
}

e2e_enter() {
    vyro=${1:?usage: $0 VYRO_BINARY [OUTPUT_DIR]}
    out=${2:-$PWD/$(basename "$0" .sh)-output}
    e2e_needs xvfb-run openbox xdotool dbus-run-session "$py"
    if [[ -z ${VYRO_E2E_WORK:-} ]]; then
        vyro=$(cd "$(dirname "$vyro")" && pwd)/$(basename "$vyro")
        local work status
        work=$(mktemp -d "${TMPDIR:-/tmp}/vyro-$(basename "$0" .sh).XXXXXX")
        mkdir -p "$work/home" "$work/data-home" "$work/config" "$work/runtime" "$work/data" "$out"
        chmod 700 "$work/runtime"
        env -u DBUS_SESSION_BUS_ADDRESS -u WAYLAND_DISPLAY \
            VYRO_E2E_WORK="$work" HOME="$work/home" XDG_DATA_HOME="$work/data-home" XDG_CONFIG_HOME="$work/config" \
            XDG_RUNTIME_DIR="$work/runtime" QT_QPA_PLATFORM=xcb QT_STYLE_OVERRIDE=Fusion QT_SCALE_FACTOR=1 \
            LC_ALL=C.UTF-8 TZ=UTC \
            dbus-run-session -- xvfb-run -a -s "-screen 0 1400x900x24" "$0" "$vyro" "$out"
        status=$?
        if [[ $status -eq 0 || $status -eq 77 ]]; then
            rm -rf "$work"
        else
            echo "the run's files stay in $work"
        fi
        exit "$status"
    fi
    work=$VYRO_E2E_WORK
    data=$work/data
    ini=$XDG_CONFIG_HOME/com.quendar.Vyro.ini
    debuglog=$XDG_DATA_HOME/Vyro/debug.log
    dump=$work/dump.json
    vyro_pid=
    main_window=
    step_no=0
    trap e2e_cleanup EXIT
}

e2e_cleanup() {
    local pid
    for pid in $vyro_pid "${e2e_pids[@]}"; do
        kill "$pid" 2>/dev/null
    done
    wait 2>/dev/null
}

say() { printf '%s\n' "$*"; }
step() {
    step_no=$((step_no + 1))
    say "[$step_no] $*"
}

fail() {
    say "FAIL: $*"
    mkdir -p "$out"
    if command -v import >/dev/null 2>&1; then
        import -window root "$out/screen.png" 2>/dev/null && say "screenshot: $out/screen.png"
    fi
    local f
    for f in "$debuglog" "$ini" "$dump" "$work/vyro.out" "${e2e_evidence[@]}"; do
        [[ -f $f ]] && cp "$f" "$out/"
    done
    exit 1
}

# Polls COMMAND every tenth of a second until it succeeds or SECONDS have passed.
wait_for() {
    local seconds=$1 what=$2
    shift 2
    local tries=$((seconds * 10))
    while ((tries-- > 0)); do
        "$@" >/dev/null 2>&1 && return 0
        sleep 0.1
    done
    fail "timed out after ${seconds}s waiting for $what"
}

# Keys to the focused window, then a moment for the program to act on them.
key() {
    xdotool key --delay 40 "$@" || fail "xdotool key $*"
    sleep 0.4
}
type_text() {
    xdotool type --delay 30 "$1" || fail "xdotool type $1"
    sleep 0.4
}

visible() { xdotool search --onlyvisible --name "$1" >/dev/null 2>&1; }
hidden() { ! visible "$1"; }
focus_is() { [[ $(xdotool getwindowfocus 2>/dev/null) == "$1" ]] || [[ $(xdotool getactivewindow 2>/dev/null) == "$1" ]]; }
alive() { kill -0 "$vyro_pid" 2>/dev/null; }
not_alive() { ! alive; }

start_wm() {
    openbox --sm-disable >"$work/openbox.out" 2>&1 &
    e2e_pids+=($!)
    wait_for 10 "the window manager" xdotool get_num_desktops
}

# The desktop program on $data, its main window shown and given the focus.
start_vyro() {
    step "start vyro"
    "$vyro" --data-dir "$data" >>"$work/vyro.out" 2>&1 &
    vyro_pid=$!
    main_window=$(timeout 30 xdotool search --sync --onlyvisible --name '^Vyro$' | head -n 1)
    [[ -n $main_window ]] || fail "no window named Vyro within 30s"
    focus_main_window
}
focus_main_window() {
    timeout 10 xdotool windowactivate --sync "$main_window" >/dev/null 2>&1 || fail "could not activate the main window"
    wait_for 10 "the main window to have the focus" focus_is "$main_window"
    sleep 0.5
}

# Ctrl+Q in the main window; the program must end with 0.
quit_vyro() {
    step "quit (Ctrl+Q)"
    focus_main_window
    key ctrl+q
    wait_for 20 "vyro to end after Ctrl+Q" not_alive
    wait "$vyro_pid"
    local status=$?
    vyro_pid=
    [[ $status -eq 0 ]] || fail "vyro ended with status $status"
}

take_dump() {
    "$vyro" --data-dir "$data" dump >"$dump" 2>>"$work/vyro.out" || fail "vyro dump failed"
}

# check DESCRIPTION PYTHON_CONDITION: the condition over the last dump, with `d` the whole document,
# `task(name)` the one task of that name, `uri(kind, name)` the one folder's URI and `day(text)` the
# date part of a stored date.
check() {
    "$py" - "$dump" "$2" <<'PY' || fail "$1"
import json, sys
d = json.load(open(sys.argv[1]))
def one(kind, name):
    found = [x for x in d[kind] if x.get("name") == name]
    if len(found) != 1:
        sys.exit(f"expected one of {kind} named {name!r}, found {len(found)}")
    return found[0]
task = lambda name: one("tasks", name)
uri = lambda kind, name: one(kind, name)["uri"]
day = lambda value: (value or "")[:10]
if not eval(sys.argv[2]):
    sys.exit("not true: " + sys.argv[2])
PY
    say "    ok: $1"
}
# The URI of the folder of KIND ("contexts", "projects") named NAME in the last dump.
folder_uri() {
    "$py" -c 'import json,sys; d=json.load(open(sys.argv[1])); print([f["uri"] for f in d[sys.argv[2]] if f.get("name")==sys.argv[3]][0])' \
        "$dump" "$1" "$2"
}

# The preference KEY as the INI file holds it (QSettings writes [General] keys as key=value).
pref() { sed -n "s/^$1=//p" "$ini" | head -n 1; }
# check_pref DESCRIPTION KEY VALUE, or with `*VALUE*` a part the value must hold.
check_pref() {
    # shellcheck disable=SC2053 # a pattern on purpose
    [[ $(pref "$2") == $3 ]] || fail "$1: $2 is '$(pref "$2")', expected '$3'"
    say "    ok: $1"
}
