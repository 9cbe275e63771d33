#!/usr/bin/env bash
# The calendar sync through the real command line against a Radicale of its own on loopback, with
# vdirsyncer and todoman as the other program on the same calendars: what each side writes the other
# reads, edits on both sides meet, a sync with nothing to do writes nothing, and a server that goes
# away fails the sync without touching the store.
#
#   caldav_e2e.sh VYRO_BINARY [OUTPUT_DIR]     (exit status and evidence: see e2elib.sh)
set -u
. "$(dirname "$0")/e2elib.sh"

e2e_needs radicale vdirsyncer
if command -v todo >/dev/null 2>&1; then todoman=todo
elif command -v todoman >/dev/null 2>&1; then todoman=todoman
else
    echo "SKIP: todo is not installed"
    exit 77
fi
e2e_enter "$@"

server=$work/server
vdir=$work/vdir
mkdir -p "$server" "$vdir" "$work/vdirsyncer-status"
echo 'alice:secret' >"$server/users"
port=$("$py" -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
url=http://127.0.0.1:$port/
radicale_log=$server/radicale.log
radicale_pid=
e2e_evidence+=("$radicale_log" "$work/sync.err" "$work/sync.out" "$work/peer.out" "$work/todo.json")

# Same address and the same collections every time, so that a restart is the same server again.
start_radicale() {
    HOME=$server XDG_CONFIG_HOME=$server/config radicale --config "" \
        --server-hosts "127.0.0.1:$port" --auth-type htpasswd --auth-htpasswd-filename "$server/users" \
        --auth-htpasswd-encryption plain --auth-delay 0 --rights-type owner_only \
        --storage-type multifilesystem --storage-filesystem-folder "$server/collections" \
        --web-type none --logging-level info >>"$radicale_log" 2>&1 &
    radicale_pid=$!
    e2e_pids+=("$radicale_pid")
    wait_for 15 "radicale on port $port" "$py" -c "import socket; socket.create_connection(('127.0.0.1', $port), 0.5)"
}
stop_radicale() {
    kill "$radicale_pid" && wait "$radicale_pid" 2>/dev/null
    radicale_pid=
}

cat >"$work/vdirsyncer.conf" <<EOF
[general]
status_path = "$work/vdirsyncer-status"

[pair tasks]
a = "server"
b = "local"
collections = ["from a", "from b"]
metadata = ["displayname"]
# A list made here reaches the server with a name of vdirsyncer's own, which metasync then takes for
# a conflict with the local name.
conflict_resolution = "b wins"

[storage server]
type = "caldav"
url = "$url"
username = "alice"
password = "secret"

[storage local]
type = "filesystem"
path = "$vdir"
fileext = ".ics"
EOF
cat >"$work/todoman.py" <<EOF
path = "$vdir/*"
date_format = "%Y-%m-%d"
time_format = "%H:%M"
default_due = 0
cache_path = "$work/todoman.sqlite"
EOF

# Why a request found no server, when it is that.
server_note() { [[ -n $radicale_pid ]] && ! kill -0 "$radicale_pid" 2>/dev/null && echo " (radicale is no longer running)"; }
vyro_sync() {
    VYRO_CALDAV_PASSWORD=secret VYRO_SYNC_TIMEOUT=20 "$vyro" --data-dir "$data" sync --server "$url" --user alice \
        >"$work/sync.out" 2>"$work/sync.err"
}
sync_vyro() { vyro_sync || fail "vyro sync ended with $?$(server_note): $(cat "$work/sync.err")"; }
# The other program's round: new collections on either side are made on the other (discover asks
# before it makes one and has no option to skip the question), then items, then the lists' names.
sync_peer() {
    {
        yes | vdirsyncer -c "$work/vdirsyncer.conf" discover &&
            vdirsyncer -c "$work/vdirsyncer.conf" sync &&
            vdirsyncer -c "$work/vdirsyncer.conf" metasync
    } >>"$work/peer.out" 2>&1 || fail "vdirsyncer failed$(server_note); see peer.out"
}
peer_todo() { "$todoman" -c "$work/todoman.py" "$@" >>"$work/peer.out" 2>&1 || fail "todo $* failed"; }
# The todoman id of the one task whose summary is SUMMARY, done or not.
todo_id() {
    "$todoman" -c "$work/todoman.py" --porcelain list --status ANY >"$work/todo.json" || fail "todo list failed"
    "$py" -c 'import json, sys; print(*[t["id"] for t in json.load(open(sys.argv[1])) if t["summary"] == sys.argv[2]])' \
        "$work/todo.json" "$1"
}
# todo_check DESCRIPTION PYTHON_CONDITION over todoman's list of every task, with `t(summary)` the one
# task of that summary, `day(t)` its due day and `summaries(list)` the summaries in a list.
todo_check() {
    "$todoman" -c "$work/todoman.py" --porcelain list --status ANY >"$work/todo.json" || fail "todo list failed"
    "$py" - "$work/todo.json" "$2" <<'PY' || fail "$1"
import datetime, json, sys
tasks = json.load(open(sys.argv[1]))
def t(summary):
    found = [x for x in tasks if x["summary"] == summary]
    if len(found) != 1:
        sys.exit(f"expected one task {summary!r} in todoman, found {len(found)}: {[x['summary'] for x in tasks]}")
    return found[0]
day = lambda x: x["due"] and datetime.datetime.fromtimestamp(x["due"], datetime.timezone.utc).strftime("%Y-%m-%d")
summaries = lambda name: sorted(x["summary"] for x in tasks if x["list"] == name)
if not eval(sys.argv[2]):
    sys.exit("not true: " + sys.argv[2])
PY
    say "    ok: $1"
}
put_count() { grep -c "PUT request for" "$radicale_log"; }
task_uri() { "$py" -c 'import json, sys; print([t["uri"] for t in json.load(open(sys.argv[1]))["tasks"] if t["name"] == sys.argv[2]][0])' "$dump" "$1"; }
set_task() {
    local uri
    take_dump
    uri=$(task_uri "$1") || fail "no task $1"
    shift
    "$vyro" --data-dir "$data" set "$uri" "$@" >>"$work/vyro.out" 2>&1 || fail "vyro set $uri $* failed"
}

start_radicale

step "Vyro to todoman: a synchronizable context's tasks with every field; another context stays away"
cat >"$work/seed.json" <<'EOF'
{
  "contexts": [
    {"uri": "c-work", "name": "Work", "synchronizable": true},
    {"uri": "c-private", "name": "Private", "synchronizable": false}
  ],
  "projects": [{"uri": "p-garden", "name": "Garden"}, {"uri": "p-report", "name": "Report"}],
  "tasks": [
    {"uri": "t-1", "name": "Write summary", "content": "two pages\nwith charts", "priority": 1,
     "dueDate": "2026-12-24T00:00:00Z", "parentContext": "c-work", "parentProject": "p-report"},
    {"uri": "t-2", "name": "Book room", "priority": 2, "parentContext": "c-work"},
    {"uri": "t-3", "name": "File expenses", "done": true, "completionDate": "2026-11-20T10:00:00Z", "priority": 0,
     "parentContext": "c-work"},
    {"uri": "t-4", "name": "Water plants", "priority": 3, "dueDate": "2026-12-01T00:00:00Z",
     "recurMode": 1, "recurNumber": 1, "recurType": 0, "parentContext": "c-work", "parentProject": "p-garden"},
    {"uri": "t-5", "name": "Secret diary", "parentContext": "c-private"}
  ]
}
EOF
"$vyro" --data-dir "$data" load "$work/seed.json" >>"$work/vyro.out" 2>&1 || fail "vyro load failed"
sync_vyro
sync_peer
todo_check "only @Work, with its four tasks" \
    'summaries("@Work") == ["Book room", "File expenses", "Water plants [Garden]", "Write summary [Report]"] and len(tasks) == 4'
todo_check "project in the summary, note, priority 1, due day" \
    't("Write summary [Report]")["description"] == "two pages\nwith charts" and t("Write summary [Report]")["priority"] == 1 and day(t("Write summary [Report]")) == "2026-12-24"'
todo_check "priority 2 and 3 as 5 and 9, done as completed" \
    't("Book room")["priority"] == 5 and t("Water plants [Garden]")["priority"] == 9 and t("File expenses")["completed"] and not t("Book room")["completed"]'

step "todoman to Vyro: new, edited, completed (recurring), deleted and moved tasks; a new list @Home"
# todoman writes high as 4, which reads as 3 here like every value but 1 and 5.
printf 'ask about the fence' | peer_todo new -l @Work --priority medium --due 2026-12-10 -r "Call Bob [Garden]"
peer_todo new -l @Work "[Garden] Buy seeds"
peer_todo new -l @Work "Order chairs"
peer_todo edit "$(todo_id "Book room")" --priority low
peer_todo "done" "$(todo_id "Water plants [Garden]")"
peer_todo delete --yes "$(todo_id "File expenses")"
mkdir -p "$vdir/home" && printf '@Home' >"$vdir/home/displayname"
peer_todo new -l @Home "Fix fence"
peer_todo move -l @Home "$(todo_id "Order chairs")"
sync_peer
sync_vyro
take_dump
check "the new task: name and project from either summary form, note, priority, due day" \
    'task("Call Bob")["parentProject"] == uri("projects", "Garden") and task("Call Bob")["content"] == "ask about the fence" and task("Call Bob")["priority"] == 2 and day(task("Call Bob").get("dueDate")) == "2026-12-10" and task("Buy seeds")["parentProject"] == uri("projects", "Garden")'
check "the edit: priority low comes back as 3" 'task("Book room")["priority"] == 3'
check "the deleted task is gone; the other context kept its task" \
    'not [x for x in d["tasks"] if x["name"] == "File expenses"] and task("Secret diary")["parentContext"] == uri("contexts", "Private")'
check "the completed recurring task is done and its next occurrence a week later is open" \
    'sorted((x["done"], day(x.get("dueDate"))) for x in d["tasks"] if x["name"] == "Water plants") == [(False, "2026-12-08"), (True, "2026-12-01")]'
check "the list @Home is the context Home, with the task made there and the one moved there" \
    'task("Fix fence")["parentContext"] == uri("contexts", "Home") and task("Order chairs")["parentContext"] == uri("contexts", "Home")'
sync_peer
todo_check "the next occurrence reaches todoman" \
    'sorted((x["completed"], day(x)) for x in tasks if x["summary"] == "Water plants [Garden]") == [(False, "2026-12-08"), (True, "2026-12-01")]'

step "both sides edit one task's different fields and another task's same field between two syncs"
set_task "Book room" "content=projector needed"
set_task "Write summary" priority=2
peer_todo edit "$(todo_id "Book room")" --due 2026-12-15
peer_todo edit "$(todo_id "Write summary [Report]")" --priority low
sync_peer
sync_vyro
take_dump
check "different fields: both kept" \
    'task("Book room")["content"] == "projector needed" and day(task("Book room").get("dueDate")) == "2026-12-15"'
check "the same field: the server's value wins" 'task("Write summary")["priority"] == 3'
sync_peer
todo_check "todoman has both edits too" \
    't("Book room")["description"] == "projector needed" and day(t("Book room")) == "2026-12-15" and t("Write summary [Report]")["priority"] == 9'

step "a sync with nothing changed sends nothing"
puts=$(put_count)
sync_vyro
[[ $(put_count) -eq $puts ]] || fail "a sync with nothing changed sent $(($(put_count) - puts)) PUT requests"
say "    ok: no PUT ($puts before and after)"

step "the server goes away: the sync fails and the store stays; back again, the sync finishes"
set_task "Buy seeds" priority=1
take_dump
cp "$dump" "$work/before.json"
stop_radicale
vyro_sync && fail "vyro sync succeeded without a server"
grep -qx "vyro: Syncing failed." "$work/sync.err" || fail "no \"vyro: Syncing failed.\" on standard error: $(cat "$work/sync.err")"
take_dump
cmp -s "$dump" "$work/before.json" || fail "the failed sync changed the store"
say "    ok: non-zero exit, the message, the store unchanged"
start_radicale
sync_vyro
sync_peer
todo_check "the change made while the server was away arrives" '[x["priority"] for x in tasks if "Buy seeds" in x["summary"]] == [1]'

say "PASS"
