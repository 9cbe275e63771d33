#!/usr/bin/env bash
# Notices, reminders and the launcher count end to end: the real `vyro` under a virtual X server and a
# private session bus, with python-dbusmock as the notification service and dbus-monitor listening for
# the launcher's count; checked through the service's record of calls, the debug log and the
# preferences file.
#
#   notifications_e2e.sh VYRO_BINARY [OUTPUT_DIR]     (exit status and evidence: see e2elib.sh)
set -u
. "$(dirname "$0")/e2elib.sh"
e2e_needs dbus-monitor gdbus
e2e_needs_python dbus dbusmock gi
e2e_enter "$@"

badges=$work/badges.txt
e2e_evidence=("$badges" "$work/mock.out" "$work/calls.txt" "$work/watcher.out")

# The notices the mock service was given, one line each: "number<TAB>kind<TAB>summary<TAB>body". The
# mock numbers its notices from 1 in the order they came.
notices() {
    "$py" - <<'PY'
import dbus
bus = dbus.SessionBus()
mock = dbus.Interface(bus.get_object("org.freedesktop.Notifications", "/org/freedesktop/Notifications"),
                      "org.freedesktop.DBus.Mock")
n = 0
for _, method, args in mock.GetCalls():
    if method != "Notify":
        continue
    n += 1
    app, _, _, summary, body, actions, hints, _ = args
    print(f"{n}\t{hints.get('x-vyro-kind', '')}\t{summary}\t{body}\t{app}\t{','.join(actions)}\t{hints.get('desktop-entry', '')}")
PY
}
has_notice() { notices >"$work/calls.txt" 2>/dev/null; grep -q -- "$1" "$work/calls.txt"; }

start_wm

step "prepare: a Work context, two Inbox tasks and a task in Work due in a few seconds"
due=$(date -u -d "+25 seconds" +%Y-%m-%dT%H:%M:%SZ)
"$vyro" --data-dir "$data" load - >/dev/null <<JSON || fail "vyro load"
{"contexts": [{"uri": "work", "name": "Work"}],
 "tasks": [{"uri": "r", "name": "Reminded task", "parentContext": "work", "dueDate": "$due",
            "done": false, "cleanedUp": false, "archived": false}]}
JSON
"$vyro" --data-dir "$data" add "First in the Inbox" >/dev/null || fail "vyro add"
"$vyro" --data-dir "$data" add "Second in the Inbox" >/dev/null || fail "vyro add"

step "without a notification service the program starts and says so once"
start_vyro
sleep 1
alive || fail "vyro did not keep running without a notification service"
quit_vyro
lines=$(grep -c 'No notification service' "$debuglog")
[[ $lines -eq 1 ]] || fail "expected one line about the missing notification service, found $lines"
say "    ok: one log line, and the program ran"

step "start the mock notification service and the launcher listener"
"$py" -m dbusmock --template notification_daemon >"$work/mock.out" 2>&1 &
e2e_pids+=($!)
wait_for 10 "the mock notification service" gdbus introspect --session --dest org.freedesktop.Notifications --object-path /org/freedesktop/Notifications
dbus-monitor --session "type='signal',interface='com.canonical.Unity.LauncherEntry',member='Update'" >"$badges" 2>&1 &
e2e_pids+=($!)
sleep 0.5

step "start vyro: the launcher count is the Inbox's"
start_vyro
wait_for 10 "a launcher Update" grep -q 'application://com.quendar.Vyro.desktop' "$badges"
wait_for 5 "the count 2" grep -q 'int64 2' "$badges"
grep -A3 '"count-visible"' "$badges" | grep -q 'boolean true' || fail "the count is not shown (count-visible)"
say "    ok: Update carries count 2, visible"

step "a task added without the window posts \"Task added to Vyro\""
if gdbus introspect --session --dest com.quendar.Vyro --object-path /com/quendar/Vyro 2>/dev/null | grep -q NewInboxTask; then
    sed -i 's/^showGUIForQSActions=.*//' "$ini"
    gdbus call --session --dest com.quendar.Vyro --object-path /com/quendar/Vyro \
        --method com.quendar.Vyro.NewInboxTask "{'name': <'From the bus'>}" >/dev/null || fail "NewInboxTask"
    wait_for 10 "the new-task notice" has_notice $'VyroNewTaskAdded\tTask added to Vyro'
    say "    ok: posted"
else
    say "    skipped: this build offers no NewInboxTask on the bus"
fi

step "the task due at $due is reminded of"
wait_for 60 "the reminder" has_notice $'VyroTaskReminder\t[^\t]*\tReminded task'
line=$(grep $'VyroTaskReminder\t[^\t]*\tReminded task' "$work/calls.txt" | head -n 1)
id=${line%%$'\t'*}
[[ $line == *$'\tVyro\t'*default*$'\tcom.quendar.Vyro' ]] || fail "the notice lacks the app name, the default action or the desktop entry: $line"
say "    ok: notice $id names the task"

step "a click on the reminder (ActionInvoked $id, default) shows the task in Work"
gdbus call --session --dest org.freedesktop.Notifications --object-path /org/freedesktop/Notifications \
    --method org.freedesktop.DBus.Mock.EmitSignal org.freedesktop.Notifications ActionInvoked us \
    "[<uint32 $id>, <'default'>]" >/dev/null || fail "could not emit ActionInvoked"
sleep 1
quit_vyro
take_dump
check_pref "Work is the selected context" lastSelectedContextObjectID "*$(folder_uri contexts Work)*"
check_pref "the contexts view is shown" tabIndexLastUsed 0

step "quitting clears the launcher count"
tail -n 8 "$badges" | grep -q 'int64 0' || fail "no Update with count 0 at quit"
say "    ok"

step "with a tray host the program shows a tray item, and a click on it hides and shows the window"
"$py" "$(dirname "$0")/statusnotifierwatcher.py" >"$work/watcher.out" 2>&1 &
e2e_pids+=($!)
wait_for 10 "the tray host" gdbus introspect --session --dest org.kde.StatusNotifierWatcher --object-path /StatusNotifierWatcher
no_tray_before=$(grep -c 'No system tray' "$debuglog")
start_vyro
wait_for 10 "the tray item to register" grep -q '^registered' "$work/watcher.out"
read -r _ sender service < <(grep '^registered' "$work/watcher.out" | head -n 1)
# An item may register by its object path alone; it is then reached at the sender's name.
[[ $service == /* ]] && service=$sender
[[ $(grep -c 'No system tray' "$debuglog") == "$no_tray_before" ]] || fail "the program logged no tray although a tray host runs"
activate_item() {
    gdbus call --session --dest "$service" --object-path /StatusNotifierItem \
        --method org.kde.StatusNotifierItem.Activate 0 0 >/dev/null || fail "could not activate the tray item"
}
activate_item
wait_for 10 "the window to hide into the tray" hidden '^Vyro$'
alive || fail "vyro ended when its window hid"
activate_item
wait_for 10 "the window to come back" visible '^Vyro$'
say "    ok: registered as $service; hidden and shown again"
# With the tray there, the window's close button hides the program instead of ending it.
# (Alt+F4 is the window manager's close: the window is asked to close, as by its title bar's button.)
xdotool windowactivate --sync "$(xdotool search --onlyvisible --name '^Vyro$' | head -n 1)" key alt+F4
wait_for 10 "the closed window to hide into the tray" hidden '^Vyro$'
alive || fail "vyro ended when its window was closed although a tray is there"
activate_item
wait_for 10 "the window to come back after closing" visible '^Vyro$'
say "    ok: closing the window hides it into the tray"
main_window=$(xdotool search --onlyvisible --name '^Vyro$' | head -n 1)
quit_vyro

say "PASS: notifications end-to-end run"
