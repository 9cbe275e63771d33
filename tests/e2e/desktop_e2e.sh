#!/usr/bin/env bash
# The desktop program end to end: the real `vyro` under a virtual X server with a window manager, driven
# by the keyboard only (xdotool), checked afterwards through `vyro dump` and the preferences file.
#
#   desktop_e2e.sh VYRO_BINARY [OUTPUT_DIR]
#
# Exit status: 0 passed, 1 failed, 77 skipped (a tool is missing). On failure the output folder gets a
# screenshot of the screen, the debug log, the last dump and the preferences file.
set -u

vyro=${1:?usage: $0 VYRO_BINARY [OUTPUT_DIR]}
out=${2:-$PWD/desktop_e2e-output}

for tool in xvfb-run openbox xdotool; do
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
sheet_closed() { ! xdotool search --onlyvisible --name '^Process Tasks$' >/dev/null 2>&1; }
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

# The preference KEY as the INI file holds it (QSettings writes [General] keys as key=value).
pref() { sed -n "s/^$1=//p" "$ini" | head -n 1; }
check_pref() {
    local what=$1 key=$2 expected=$3
    local value
    value=$(pref "$key")
    [[ $value == "$expected" ]] || fail "$what: $key is '$value', expected '$expected'"
    say "    ok: $what"
}
check_pref_contains() {
    local what=$1 key=$2 part=$3
    [[ $(pref "$key") == *"$part"* ]] || fail "$what: $key is '$(pref "$key")', expected it to hold '$part'"
    say "    ok: $what"
}
# The URI of a folder from the dump, by name (for the preference checks).
folder_uri() {
    local kind=$1 name=$2
    if ((have_python)); then
        python3 -c 'import json,sys; d=json.load(open(sys.argv[1])); print([f["uri"] for f in d[sys.argv[2]] if f.get("name")==sys.argv[3]][0])' \
            "$dump" "$kind" "$name"
    else
        grep -B3 -A3 "\"name\": \"$name\"" "$dump" | sed -n 's/.*"uri": "\(x-coredata:[^"]*\/'"${kind%s}"'\/p[0-9]*\)".*/\1/p' | head -n 1
    fi
}

# ---- the run

start_wm
today_plus_3=$(date -d "+3 days" +%F)

step "prepare: folders and two Inbox tasks through the command line"
"$vyro" --data-dir "$data" load - >/dev/null <<'JSON' || fail "vyro load"
{"contexts": [{"uri": "home", "name": "Home"}, {"uri": "garden", "name": "Garden", "parentContext": "home"},
              {"uri": "office", "name": "Office"}, {"uri": "errands", "name": "Errands"}, {"uri": "phone", "name": "Phone"}],
 "projects": [{"uri": "budget", "name": "Budget 2027", "hasSingleTasks": true},
              {"uri": "shed", "name": "Garden shed", "hasSingleTasks": true}]}
JSON
"$vyro" --data-dir "$data" add "Buy stamps" >/dev/null || fail "vyro add"
"$vyro" --data-dir "$data" add "Water the plants" >/dev/null || fail "vyro add"

# First run: a new task, filled in through the detail pane.
start_vyro
step "new task in the Inbox (Ctrl+I, Ctrl+N, name, Return)"
key ctrl+i
key ctrl+n
type_text "Call Anna about the budget"
key Return
step "detail pane: project (Alt+P), due date (Alt+U), tags (Alt+G), context (Alt+C)"
key alt+p
type_text "Budget"
key Return
key alt+u
type_text "+3"
key Return
key alt+g
type_text "budget, work"
key Return
key alt+c
type_text "Office"
key Return
quit_vyro
take_dump
check "the new task exists" 'task("Call Anna about the budget")' '"name": "Call Anna about the budget"'
check "its context is Office" 'task("Call Anna about the budget")["parentContext"] == uri("contexts", "Office")' '"parentContext"'
check "its project is Budget 2027" 'task("Call Anna about the budget").get("parentProject") == uri("projects", "Budget 2027")' '"parentProject"'
check "its due date is in three days" "day(task(\"Call Anna about the budget\").get(\"dueDate\")) == \"$today_plus_3\"" "\"dueDate\": \"$today_plus_3"
check "its tags are budget and work" 'task("Call Anna about the budget").get("tags") == "budget,work"' '"tags": "budget,work"'
time_mode_before=$(pref timeModeControlForPendingState)

# Second run: process the Inbox, complete and undo, views, modes, search.
start_vyro
step "process the Inbox with the move-to sheet (Ctrl+R; e, Down, g, Tab, g, keypad Enter)"
key ctrl+i
key ctrl+r
sheet=$(timeout 10 xdotool search --sync --onlyvisible --name '^Process Tasks$' | head -n 1)
[[ -n $sheet ]] || fail "the move-to sheet did not open"
key e
key Down
key g
key Tab
key g
key KP_Enter
wait_for 10 "the move-to sheet to close" sheet_closed
step "complete a task (Shift+Space) and undo it (Ctrl+Z)"
key ctrl+3
key ctrl+f
type_text "stamps"
key Return
key ctrl+a
key shift+space
key ctrl+z
step "complete another task for good"
key ctrl+f
type_text "plants"
key Return
key ctrl+a
key shift+space
step "clear the search (Ctrl+F, Ctrl+A, BackSpace, Escape)"
key ctrl+f
key ctrl+a
key BackSpace
key Escape
step "views Ctrl+1 to Ctrl+5; expand every context (Ctrl+Alt+=); next time mode in To complete (Ctrl+])"
key ctrl+1
key ctrl+alt+equal
key ctrl+2
key ctrl+4
key ctrl+5
key ctrl+3
key ctrl+bracketright
quit_vyro
take_dump
check "Buy stamps went to Errands" 'task("Buy stamps")["parentContext"] == uri("contexts", "Errands")' '.'
check "Water the plants went to Garden" 'task("Water the plants")["parentContext"] == uri("contexts", "Garden")' '.'
check "Water the plants joined Garden shed" 'task("Water the plants").get("parentProject") == uri("projects", "Garden shed")' '.'
check "undo left Buy stamps open" 'not task("Buy stamps")["done"]' '.'
check "Water the plants is done" 'task("Water the plants")["done"]' '"done": true'
check "the search kept the other tasks out of the selection" 'not task("Call Anna about the budget")["done"]' '.'
check "nothing was deleted or added" 'len(d["tasks"]) == 3' '.'
check_pref "the last view is To complete" tabIndexLastUsed 2
check_pref "the next time mode was kept" timeModeControlForPendingState $(( (${time_mode_before:-0} + 1) % 5 ))
home=$(folder_uri contexts Home)
[[ -n $home ]] || fail "no URI for the Home context in the dump"
check_pref_contains "the expanded contexts include Home" contextTreeExpandedIndexes "$home"
check_pref_contains "the selected context is the Inbox" lastSelectedContextObjectID "$(folder_uri contexts Inbox)"

# Third run: the program comes back as it was left.
start_vyro
step "started again; quit at once"
quit_vyro
check_pref "the view came back as To complete" tabIndexLastUsed 2
check_pref_contains "the expanded contexts still include Home" contextTreeExpandedIndexes "$home"
take_dump
check "the tasks are still there" 'len(d["tasks"]) == 3' '.'

say "PASS: desktop end-to-end run"
