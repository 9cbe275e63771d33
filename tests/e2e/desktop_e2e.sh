#!/usr/bin/env bash
# The desktop program end to end: the real `vyro` under a virtual X server with a window manager, driven
# by the keyboard only (xdotool), checked afterwards through `vyro dump` and the preferences file.
#
#   desktop_e2e.sh VYRO_BINARY [OUTPUT_DIR]     (exit status and evidence: see e2elib.sh)
set -u
. "$(dirname "$0")/e2elib.sh"
e2e_enter "$@"

sheet_closed() { hidden '^Process Tasks$'; }

# The start-up backup as the last dump, read through a restore into a folder of its own.
take_backup_dump() {
    local copy=$work/startup-backup
    rm -rf "$copy"
    "$vyro" --data-dir "$copy" restore "$data/Vyro.sql.startup.bkp" >/dev/null 2>>"$work/vyro.out" ||
        fail "the start-up backup cannot be restored"
    "$vyro" --data-dir "$copy" dump >"$dump" 2>>"$work/vyro.out" || fail "vyro dump of the start-up backup failed"
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
check "the new task exists" 'task("Call Anna about the budget")'
check "its context is Office" 'task("Call Anna about the budget")["parentContext"] == uri("contexts", "Office")'
check "its project is Budget 2027" 'task("Call Anna about the budget").get("parentProject") == uri("projects", "Budget 2027")'
check "its due date is in three days" "day(task(\"Call Anna about the budget\").get(\"dueDate\")) == \"$today_plus_3\""
check "its tags are budget and work" 'task("Call Anna about the budget").get("tags") == "budget,work"'
take_backup_dump
check "the start-up backup holds the data as the program found it" 'len(d["tasks"]) == 2 and not any(t["name"].startswith("Call Anna") for t in d["tasks"])'
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
check "Buy stamps went to Errands" 'task("Buy stamps")["parentContext"] == uri("contexts", "Errands")'
check "Water the plants went to Garden" 'task("Water the plants")["parentContext"] == uri("contexts", "Garden")'
check "Water the plants joined Garden shed" 'task("Water the plants").get("parentProject") == uri("projects", "Garden shed")'
check "undo left Buy stamps open" 'not task("Buy stamps")["done"]'
check "Water the plants is done" 'task("Water the plants")["done"]'
check "the search kept the other tasks out of the selection" 'not task("Call Anna about the budget")["done"]'
check "nothing was deleted or added" 'len(d["tasks"]) == 3'
check_pref "the last view is To complete" tabIndexLastUsed 2
check_pref "the next time mode was kept" timeModeControlForPendingState $(( (${time_mode_before:-0} + 1) % 5 ))
home=$(folder_uri contexts Home)
[[ -n $home ]] || fail "no URI for the Home context in the dump"
check_pref "the expanded contexts include Home" contextTreeExpandedIndexes "*$home*"
check_pref "the selected context is the Inbox" lastSelectedContextObjectID "*$(folder_uri contexts Inbox)*"

# Third run: the program comes back as it was left.
start_vyro
step "started again; quit at once"
quit_vyro
check_pref "the view came back as To complete" tabIndexLastUsed 2
check_pref "the expanded contexts still include Home" contextTreeExpandedIndexes "*$home*"
take_dump
check "the tasks are still there" 'len(d["tasks"]) == 3'
take_backup_dump
check "the next start replaced the start-up backup" 'len(d["tasks"]) == 3'

say "PASS: desktop end-to-end run"
