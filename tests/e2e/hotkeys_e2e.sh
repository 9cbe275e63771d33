#!/usr/bin/env bash
# The global hot keys end to end: the real `vyro` under a virtual X server with a window manager, real key
# presses (xdotool) while another program's window has the focus, checked through `vyro dump` and the
# windows on screen.
#
#   hotkeys_e2e.sh VYRO_BINARY [OUTPUT_DIR]     (exit status and evidence: see e2elib.sh)
set -u
. "$(dirname "$0")/e2elib.sh"
e2e_needs xmessage
e2e_enter "$@"

type_in='^Quick Type-In$'
quick_add='^Quick Add$'

# Another program's window takes the focus, so the keys below are not the program's own.
other_window=
other_pid=
focus_other_program() {
    if [[ -z $other_pid ]] || ! kill -0 "$other_pid" 2>/dev/null; then
        xmessage -name othermessage -title "Another program" "Another program has the keyboard" >/dev/null 2>&1 &
        other_pid=$!
        e2e_pids+=("$other_pid")
        other_window=$(timeout 10 xdotool search --sync --onlyvisible --name '^Another program$' | head -n 1)
        [[ -n $other_window ]] || fail "the other program's window did not show"
    fi
    timeout 10 xdotool windowactivate --sync "$other_window" >/dev/null 2>&1 || fail "could not activate the other window"
    wait_for 10 "the other program to have the focus" focus_is "$other_window"
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

quit_vyro
grep -q "Global hot keys: X11 key grabs" "$debuglog" || fail "the log does not name the X11 key grabs"
take_dump
check "the typed-in task exists" 'task("call Bob")'
check "it is in Home" 'task("call Bob")["parentContext"] == uri("contexts", "Home")'
check "it is due tomorrow" "day(task(\"call Bob\").get(\"dueDate\")) == \"$tomorrow\""
check "the quick add task is in the Inbox" 'task("Quick added task")["parentContext"] == uri("contexts", "Inbox")'
check "nothing else was made" 'len(d["tasks"]) == 2'

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
quit_vyro
take_dump
check "still two tasks" 'len(d["tasks"]) == 2'

say "PASS: hot keys end-to-end run"
