#!/usr/bin/env bash
# The running program on a private session bus: requests of other programs (new Inbox task, text into
# the Inbox, links), a second start handing over, the command line carried out by the program while it
# holds the data file, and malformed requests answered without harm.
#
#   bus_e2e.sh VYRO_BINARY [OUTPUT_DIR]     (exit status and evidence: see e2elib.sh)
set -u
. "$(dirname "$0")/e2elib.sh"
e2e_needs gdbus
e2e_needs_python dbus
e2e_enter "$@"

alone=$work/alone
mkdir -p "$alone"
answers() { gdbus call --session --dest com.quendar.Vyro --object-path /com/quendar/Vyro \
    --method org.freedesktop.Application.Activate '{}' >/dev/null 2>&1; }

# run NAME DATA_DIR ARGS...: the command line against DATA_DIR ($data, which the program holds, or
# $alone, which no program holds); output in $work/NAME.{out,err,status}.
run() {
    local name=$1 dir=$2
    shift 2
    "$vyro" --data-dir "$dir" "$@" >"$work/$name.out" 2>"$work/$name.err"
    echo $? >"$work/$name.status"
}
status_of() { cat "$work/$1.status"; }

# pycheck DESCRIPTION PYTHON: runs PYTHON with `bus` (the instance's object), `dump()` (the data as the
# command line dumps it), `task(name)` and `expect_error(call)`; fails the test when it raises.
pycheck() {
    local what=$1 code=$2
    VYRO="$vyro" DATA="$data" WORK="$work" "$py" - "$code" <<'PY' || fail "$what"
import dbus, json, os, subprocess, sys
session = dbus.SessionBus()
obj = session.get_object("com.quendar.Vyro", "/com/quendar/Vyro", introspect=False)
bus = dbus.Interface(obj, "com.quendar.Vyro")
app = dbus.Interface(obj, "org.freedesktop.Application")
def dump():
    r = subprocess.run([os.environ["VYRO"], "--data-dir", os.environ["DATA"], "dump"], capture_output=True)
    if r.returncode != 0:
        sys.exit("dump failed: " + r.stderr.decode())
    return json.loads(r.stdout)
def task(name, d=None):
    found = [t for t in (d or dump())["tasks"] if t.get("name") == name]
    if len(found) != 1:
        sys.exit(f"expected one task named {name!r}, found {len(found)}")
    return found[0]
def expect_error(call, name=None):
    try:
        call()
    except dbus.exceptions.DBusException as e:
        if name and e.get_dbus_name() != name:
            sys.exit(f"error {e.get_dbus_name()}, expected {name}")
        return
    sys.exit("no error reply")
def info(**values):
    return dbus.Dictionary(values, signature="sv")
def check(condition, message):
    if not condition:
        sys.exit(message)
exec(sys.argv[1])
PY
    say "    ok: $what"
}

# ---- the program
start_wm
start_vyro
wait_for 30 "the program on the bus" answers
# The running program's log lines are in the file as they happen, not when it ends.
grep -q "^Vyro started" "$debuglog" || fail "the running program's start is not in the debug log yet"

step "a second start hands its link over and ends with 0"
timeout 20 "$vyro" --data-dir "$data" "vyro://nowhere/task/p999" >>"$work/vyro.out" 2>&1
[[ $? -eq 0 ]] || fail "the second start did not end with 0"
alive || fail "the first program ended"
timeout 20 "$vyro" >>"$work/vyro.out" 2>&1 || fail "a second start without arguments did not end with 0"
alive || fail "the first program ended after a plain second start"
say "    ok"

step "the command line goes through the program"
# same NAME ARGS...: ARGS run forwarded to the program and alone on a free data file give the same status
# and message, and output of the same shape (the URIs and dates differ); prints the forwarded output.
same() {
    local name=$1
    shift
    run "$name" "$data" "$@"
    run "$name-alone" "$alone" "$@"
    [[ $(status_of "$name") -eq $(status_of "$name-alone") ]] || fail "$name: status $(status_of "$name") vs $(status_of "$name-alone")"
    cmp -s "$work/$name.err" "$work/$name-alone.err" || fail "$name: message $(cat "$work/$name.err") vs $(cat "$work/$name-alone.err")"
    "$py" - "$work/$name.out" "$work/$name-alone.out" <<'PY' || fail "$name: output of another shape"
import json, sys
def shape(v):
    if isinstance(v, dict):
        return {k: None if k in ("uri", "syncID") or k.startswith("parent") or k.endswith(("Date", "InContext")) else shape(x) for k, x in v.items()}
    return [shape(x) for x in v] if isinstance(v, list) else v
texts = [open(p).read() for p in sys.argv[1:3]]
if texts[0].strip() and texts[0].lstrip()[0] in "[{":
    texts = [shape(json.loads(t)) for t in texts]
    if texts[0] != texts[1]:
        sys.exit(f"{texts[0]}\n{texts[1]}")
PY
    cat "$work/$name.out"
}
same add add 'Buy milk : two litres !' >/dev/null
[[ $(status_of add) -eq 0 ]] || fail "forwarded add failed: $(cat "$work/add.err")"
same list list --view contexts --json | grep -q 'Buy milk' || fail "the forwarded list lacks the added task"
same dump dump >/dev/null
same bad set 'x-coredata://nowhere/task/p1' 'name=x' >/dev/null
[[ $(status_of bad) -ne 0 ]] || fail "a failing command ended with 0"
say "    ok: add, list, dump and a failing command as when run alone"
cat >"$work/garden.json" <<'JSON'
{"contexts": [{"uri": "c-out", "name": "Outside"}],
 "projects": [{"uri": "p-garden", "name": "Garden", "active": true, "defaultContext": "c-out"}]}
JSON
( cd "$work" && "$vyro" --data-dir "$data" load garden.json >"$work/load.out" 2>"$work/load.err" ) || fail "load of a relative path: $(cat "$work/load.err")"
echo '{"tasks": [{"uri": "t-in", "name": "From stdin"}]}' | "$vyro" --data-dir "$data" load - >"$work/load2.out" 2>"$work/load2.err" \
    || fail "load from standard input: $(cat "$work/load2.err")"
say "    ok: load of a relative path and of standard input"

step "requests of other programs"
# How a request becomes a task is the capture layer's and its tests'; here each call reaches the program.
mkdir -p "$work/files"
echo x >"$work/files/notes.txt"
pycheck "a new Inbox task, text into the Inbox" '
uri = bus.NewInboxTask(info(name="Read this", url="http://example.net/r"))
bus.PutTextToInbox("remember the keys")
d = dump()
check(task("Read this", d).get("url") == "http://example.net/r", task("Read this", d))
check(uri == task("Read this", d)["uri"], uri)
check(any(t.get("content") == "remember the keys" for t in d["tasks"]), "no task with the text")'
pycheck "links, to a task and to nothing" '
t = task("Buy milk")
bus.OpenLink(t["uri"].replace("x-coredata://", "vyro://"))
bus.OpenLink("vyro://nowhere/task/p424242")
bus.OpenLink("vyro://" + t["uri"].split("//")[1].split("/")[0] + "/task/p999999")
app.Open(["vyro://nowhere/task/p1", "file:///nonexistent/file"], info())
app.Activate(info())'

step "malformed requests"
# Requests of the wrong shape are refused by the bus object (its own tests); these reach the program.
pycheck "odd values and commands" '
bus.NewInboxTask(info(name=dbus.Int32(3)))  # a name of the wrong type counts as absent
bus.NewInboxTask(info(bogus=dbus.Struct((1, "x"), variant_level=1), name="with extras"))
expect_error(lambda: bus.RunCommand(["vyro", "dump"], "/", "/nonexistent/Vyro.sql", dbus.types.UnixFd(open("/dev/null"))))
import tempfile
r, o, e = bus.RunCommand(["vyro", "dump"], "/", "/nonexistent/Vyro.sql", dbus.types.UnixFd(tempfile.TemporaryFile()))
check(r == 1, r)
r, o, e = bus.RunCommand(["vyro", "--version"], "/", "", dbus.types.UnixFd(tempfile.TemporaryFile()))
check(r == 0, r)
r, o, e = bus.RunCommand(dbus.Array([], signature="s"), "", "", dbus.types.UnixFd(tempfile.TemporaryFile()))
check(r == 2, r)'
alive || fail "the program ended"
answers || fail "the program no longer answers"

step "commands for the desktop program"
timeout 20 "$vyro" --data-dir "$data" quick-add || fail "quick-add"
timeout 20 "$vyro" --data-dir "$data" open "vyro://nowhere/task/p1" "$work/files/notes.txt" || fail "open"
alive || fail "the program ended"
say "    ok"

step "quit; an action with no program running starts one"
kill -TERM "$vyro_pid"
wait "$vyro_pid" 2>/dev/null
vyro_pid=
gone() { ! answers; }
wait_for 10 "the name to be free" gone
timeout 40 "$vyro" --data-dir "$data" quick-type-in || fail "quick-type-in without a running program"
answers || fail "no program answers after quick-type-in started one"
vyro_pid=$(gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
    --method org.freedesktop.DBus.GetConnectionUnixProcessID com.quendar.Vyro | sed 's/.* \([0-9]*\),.*/\1/')
[[ -n $vyro_pid ]] || fail "no process for the started program"
run after "$data" add 'After the restart'
[[ $(status_of after) -eq 0 ]] || fail "add to the started program: $(cat "$work/after.err")"
kill -TERM "$vyro_pid"
vyro_pid=
say "    ok"
say "PASS"
