#!/usr/bin/env bash
# The global hot keys end to end: the real `vyro` under a virtual X server with a window manager, real key
# presses (xdotool) while another program's window has the focus, checked through `vyro dump` and the
# windows on screen.
#
#   hotkeys_e2e.sh VYRO_BINARY [OUTPUT_DIR]
#
# Exit status: 0 passed, 1 failed, 77 skipped (a tool is missing). On failure the output folder gets a
# screenshot of the screen, the debug log, the last dump and the preferences file.
set -u

vyro=${1:?usage: $0 VYRO_BINARY [OUTPUT_DIR]}
out=${2:-$PWD/hotkeys_e2e-output}

for tool in xvfb-run openbox xdotool xmessage; do
    if ! command -v "$tool" >/dev/null 2>&1; then
        echo "SKIP: $tool is not installed"
        exit 77
    fi
done

# ---- outside: a private home and bus, a virtual screen; this script again inside them
if [[ -z "${VYRO_E2E_WORK:-}" ]]; then
    vyro=$(cd "$(dirname "$vyro")" && pwd)/$(basename "$vyro")
    work=$(mktemp -d "${TMPDIR:-/tmp}/vyro-e2e.XXXXXX")
    mkdir -p "$work/home" "$work/data-home" "$work/config" "$work/runtime" "$work/data" "$out"
    chmod 700 "$work/runtime"
    runner=(xvfb-run -a -s "-screen 0 1400x900x24" "$0" "$vyro" "$out")
    if command -v dbus-run-session >/dev/null 2>&1; then
        runner=(dbus-run-session -- "${runner[@]}")
    fi
    env -u DBUS_SESSION_BUS_ADDRESS -u WAYLAND_DISPLAY \
        VYRO_E2E_WORK="$work" HOME="$work/home" XDG_DATA_HOME="$work/data-home" XDG_CONFIG_HOME="$work/config" \
        XDG_RUNTIME_DIR="$work/runtime" QT_QPA_PLATFORM=xcb QT_STYLE_OVERRIDE=Fusion QT_SCALE_FACTOR=1 \
        LC_ALL=C.UTF-8 TZ=UTC "${runner[@]}"
    status=$?
    if [[ $status -eq 0 ]]; then
        rm -rf "$work"
    else
        echo "the run's files stay in $work"
    fi
    exit $status
fi

# ---- inside: DISPLAY is the virtual screen
work=$VYRO_E2E_WORK
data=$work/data
ini=$XDG_CONFIG_HOME/com.quendar.Vyro.ini
debuglog=$XDG_DATA_HOME/Vyro/debug.log
dump=$work/dump.json
have_python=0
command -v python3 >/dev/null 2>&1 && have_python=1
vyro_pid=
wm_pid=
step_no=0

say() { printf '%s\n' "$*"; }
step() {
    step_no=$((step_no + 1))
    say "[$step_no] $*"
}

save_evidence() {
    mkdir -p "$out"
    if command -v import >/dev/null 2>&1; then
        import -window root "$out/screen.png" 2>/dev/null && say "screenshot: $out/screen.png"
    fi
    [[ -f $debuglog ]] && cp "$debuglog" "$out/debug.log"
    [[ -f $ini ]] && cp "$ini" "$out/com.quendar.Vyro.ini"
    [[ -f $dump ]] && cp "$dump" "$out/dump.json"
    [[ -f $work/vyro.out ]] && cp "$work/vyro.out" "$out/vyro.out"
}

cleanup() {
    [[ -n $vyro_pid ]] && kill "$vyro_pid" 2>/dev/null
    [[ -n ${other_pid:-} ]] && kill "$other_pid" 2>/dev/null
    [[ -n $wm_pid ]] && kill "$wm_pid" 2>/dev/null
    wait 2>/dev/null
}
trap cleanup EXIT

fail() {
    say "FAIL: $*"
    save_evidence
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

start_wm() {
    openbox --sm-disable >"$work/openbox.out" 2>&1 &
    wm_pid=$!
    wait_for 10 "the window manager" xdotool get_num_desktops
}

main_window=
start_vyro() {
    step "start vyro"
    "$vyro" --data-dir "$data" >>"$work/vyro.out" 2>&1 &
    vyro_pid=$!
    main_window=$(timeout 30 xdotool search --sync --onlyvisible --name '^Vyro$' | head -n 1)
    [[ -n $main_window ]] || fail "no window named Vyro within 30s"
    timeout 10 xdotool windowactivate --sync "$main_window" >/dev/null 2>&1 || fail "could not activate the main window"
    wait_for 10 "the main window to have the focus" focus_is "$main_window"
    sleep 0.5
}
focus_is() { [[ $(xdotool getwindowfocus 2>/dev/null) == "$1" ]] || [[ $(xdotool getactivewindow 2>/dev/null) == "$1" ]]; }
alive() { kill -0 "$vyro_pid" 2>/dev/null; }
not_alive() { ! alive; }

quit_vyro() {
    step "quit (Ctrl+Q)"
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

# ---- checks

# check DESCRIPTION PYTHON_CONDITION GREP_PATTERN
# With python3 the condition is evaluated over the dump (`d` the whole document, `task(name)` one task,
# `uri(kind, name)` a folder's URI, `day(text)` the date part of a stored date); without python3 the
# dump must contain GREP_PATTERN instead (a coarser test).
check() {
    local what=$1 condition=$2 pattern=$3
    if ((have_python)); then
        python3 - "$dump" "$condition" <<'PY' || fail "$what"
import json, sys
d = json.load(open(sys.argv[1]))
def task(name):
    found = [t for t in d["tasks"] if t.get("name") == name]
    if len(found) != 1:
        sys.exit(f"expected one task named {name!r}, found {len(found)}")
    return found[0]
def uri(kind, name):
    found = [f["uri"] for f in d[kind] if f.get("name") == name]
    if len(found) != 1:
        sys.exit(f"expected one of {kind} named {name!r}, found {len(found)}")
    return found[0]
def day(value):
    return (value or "")[:10]
if not eval(sys.argv[2]):
    sys.exit("not true: " + sys.argv[2])
PY
    else
        grep -Eq -- "$pattern" "$dump" || fail "$what (no match for $pattern)"
    fi
    say "    ok: $what"
}


# ---- windows of the run

visible() { xdotool search --onlyvisible --name "$1" >/dev/null 2>&1; }
hidden() { ! visible "$1"; }
type_in='^Quick Type-In$'
quick_add='^Quick Add$'

# Another program's window takes the focus, so the keys below are not the program's own.
other_window=
other_pid=
focus_other_program() {
    if [[ -z $other_pid ]] || ! kill -0 "$other_pid" 2>/dev/null; then
        xmessage -name othermessage -title "Another program" "Another program has the keyboard" >/dev/null 2>&1 &
        other_pid=$!
        other_window=$(timeout 10 xdotool search --sync --onlyvisible --name '^Another program$' | head -n 1)
        [[ -n $other_window ]] || fail "the other program's window did not show"
    fi
    timeout 10 xdotool windowactivate --sync "$other_window" >/dev/null 2>&1 || fail "could not activate the other window"
    wait_for 10 "the other program to have the focus" focus_is "$other_window"
}
back_to_main_window() {
    timeout 10 xdotool windowactivate --sync "$main_window" >/dev/null 2>&1 || fail "could not activate the main window"
    wait_for 10 "the main window to have the focus" focus_is "$main_window"
    sleep 0.3
}
hot_key() {
    xdotool key "$1" || fail "xdotool key $1"
}

# ---- the run

start_wm
tomorrow=$(date -d "+1 day" +%F)

step "prepare: a Home context"
"$vyro" --data-dir "$data" load - >/dev/null <<'JSON' || fail "vyro load"
{"contexts": [{"uri": "home", "name": "Home"}], "projects": []}
JSON

start_vyro

step "F8 with another program active opens quick type-in; a line and Return make the task"
focus_other_program
hot_key F8
wait_for 10 "the quick type-in window" visible "$type_in"
type_text "@home call Bob #tomorrow"
key Return
wait_for 10 "the quick type-in window to close" hidden "$type_in"

step "F8 twice: open, then closed again"
focus_other_program
hot_key F8
wait_for 10 "the quick type-in window" visible "$type_in"
sleep 0.3
hot_key F8
wait_for 10 "the quick type-in window to close on the second F8" hidden "$type_in"

step "F7 opens quick add; a name and Return make an Inbox task"
focus_other_program
hot_key F7
wait_for 10 "the quick add window" visible "$quick_add"
type_text "Quick added task"
key Return
wait_for 10 "the quick add window to close" hidden "$quick_add"

step "with NumLock on, F8 still opens quick type-in (Escape closes it)"
focus_other_program
xdotool key Num_Lock
sleep 0.3
hot_key F8
wait_for 10 "the quick type-in window with NumLock on" visible "$type_in"
key Escape
wait_for 10 "the quick type-in window to close on Escape" hidden "$type_in"
xdotool key Num_Lock

back_to_main_window
quit_vyro
grep -q "Global hot keys: X11 key grabs" "$debuglog" || fail "the log does not name the X11 key grabs"
take_dump
check "the typed-in task exists" 'task("call Bob")' '"name": "call Bob"'
check "it is in Home" 'task("call Bob")["parentContext"] == uri("contexts", "Home")' '.'
check "it is due tomorrow" "day(task(\"call Bob\").get(\"dueDate\")) == \"$tomorrow\"" "\"dueDate\": \"$tomorrow"
check "the quick add task is in the Inbox" 'task("Quick added task")["parentContext"] == uri("contexts", "Inbox")' '"name": "Quick added task"'
check "nothing else was made" 'len(d["tasks"]) == 2' '.'

step "quick type-in key set to none: F8 registers nothing"
if grep -q '^\[General\]' "$ini"; then
    sed -i '/^quickTypeInKeyboardShortcut=/d; s/^\[General\]$/[General]\nquickTypeInKeyboardShortcut=0/' "$ini"
else
    printf '[General]\nquickTypeInKeyboardShortcut=0\n' >>"$ini"
fi
start_vyro
focus_other_program
hot_key F8
sleep 2
hidden "$type_in" || fail "F8 opened quick type-in although its key is set to none"
hot_key F7
wait_for 10 "the quick add window (its key is still set)" visible "$quick_add"
key Escape
wait_for 10 "the quick add window to close on Escape" hidden "$quick_add"
back_to_main_window
quit_vyro
take_dump
check "still two tasks" 'len(d["tasks"]) == 2' '.'

say "PASS: hot keys end-to-end run"
