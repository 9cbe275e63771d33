#!/usr/bin/env bash
# The data file and its cloud-disk copy when the program is killed (-9) in the middle of writing them:
# the desktop program during its upload at quit and during its download at start, and `vyro backup`
# during the copy of a large data file. Afterwards every file opens, passes SQLite's integrity check
# and holds either its old or its new content, whole.
#
# The cloud disk is a lighttpd WebDAV share on loopback. The program reaches it through a small proxy
# that slows what it sends (lighttpd does not slow what it receives) and counts it; lighttpd slows
# what it sends on the program's port and not on a second one, which the checks fetch from.
#
#   cloudkill_e2e.sh VYRO_BINARY [OUTPUT_DIR]     (exit status and evidence: see e2elib.sh)
set -u
PATH=$PATH:/usr/sbin:/sbin
. "$(dirname "$0")/e2elib.sh"
e2e_needs lighttpd sqlite3 curl
e2e_enter "$@"

rate=1048576 # bytes a second, each way
share=$work/share
remote_dir="$share/Library/Application Support/Vyro"
remote=$remote_dir/Vyro.sql
mkdir -p "$remote_dir"
e2e_evidence+=("$work/lighttpd.error.log" "$work/proxy.out")

free_port() { "$py" -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])'; }

start_share() {
    step "WebDAV share (lighttpd) and the slowing proxy"
    slow_port=$(free_port)
    fast_port=$(free_port)
    printf 'alice:secret\n' >"$work/users"
    cat >"$work/lighttpd.conf" <<EOF
server.modules = ("mod_auth", "mod_authn_file", "mod_webdav")
server.document-root = "$share"
server.bind = "127.0.0.1"
server.port = $slow_port
server.errorlog = "$work/lighttpd.error.log"
server.stat-cache-engine = "disable"
server.upload-dirs = ("$work")
webdav.activate = "enable"
webdav.is-readonly = "disable"
auth.backend = "plain"
auth.backend.plain.userfile = "$work/users"
auth.require = ("" => ("method" => "basic", "realm" => "vyro", "require" => "valid-user"))
connection.kbytes-per-second = $((rate / 1024))
\$SERVER["socket"] == "127.0.0.1:$fast_port" { connection.kbytes-per-second = 0 }
EOF
    lighttpd -D -f "$work/lighttpd.conf" >"$work/lighttpd.out" 2>&1 &
    e2e_pids+=($!)
    wait_for 10 "lighttpd" curl -sf -u alice:secret -X PROPFIND -H 'Depth: 0' "http://127.0.0.1:$fast_port/"

    "$py" -u - "$slow_port" "$rate" "$work/sent" >"$work/proxy.out" 2>&1 <<'PY' &
import socket, sys, threading, time
target, rate, counter = int(sys.argv[1]), int(sys.argv[2]), sys.argv[3]
listener = socket.socket()
listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
listener.bind(("127.0.0.1", 0))
listener.listen(16)
print(listener.getsockname()[1], flush=True)
sent = 0
lock = threading.Lock()

def pipe(source, sink, slow):
    global sent
    try:
        while True:
            data = source.recv(16384)
            if not data:
                break
            sink.sendall(data)
            if slow:
                with lock:
                    sent += len(data)
                    with open(counter, "w") as f:
                        f.write(str(sent))
                time.sleep(len(data) / rate)
    except OSError:
        pass
    for s in (source, sink):
        try:
            s.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass

while True:
    client, _ = listener.accept()
    server = socket.create_connection(("127.0.0.1", target))
    threading.Thread(target=pipe, args=(client, server, True), daemon=True).start()
    threading.Thread(target=pipe, args=(server, client, False), daemon=True).start()
PY
    e2e_pids+=($!)
    wait_for 10 "the proxy's port" test -s "$work/proxy.out"
    proxy_port=$(head -n 1 "$work/proxy.out")
}

# A data file in DIR with COUNT tasks named PREFIX N, each with a note of some KB.
make_data() {
    "$py" -c '
import json, sys
prefix, count = sys.argv[1], int(sys.argv[2])
note = "n" * 2000
print(json.dumps({"tasks": [{"uri": "t%d" % i, "name": "%s %d" % (prefix, i), "content": note} for i in range(count)]}))' \
        "$2" "$3" >"$work/load.json"
    "$vyro" --data-dir "$1" load "$work/load.json" >/dev/null 2>>"$work/vyro.out" || fail "vyro load into $1"
}

# The rows of a data file, whatever its page layout: equal for a file and a consistent copy of it.
content_sum() { sqlite3 -readonly "$1" .dump | md5sum | cut -d' ' -f1; }
intact() {
    [[ $(sqlite3 -readonly "$1" 'PRAGMA integrity_check' 2>&1) == ok ]] || fail "$2 fails SQLite's integrity check"
    say "    ok: $2 passes the integrity check"
}
# check_one_of DESCRIPTION SUM ALLOWED...
check_one_of() {
    local what=$1 sum=$2 allowed
    shift 2
    for allowed in "$@"; do
        if [[ $sum == "$allowed" ]]; then
            say "    ok: $what"
            return
        fi
    done
    fail "$what: its content is neither of the expected ones"
}
fetch_remote() {
    curl -sf -u alice:secret -o "$work/fetched.sql" \
        "http://127.0.0.1:$fast_port/Library/Application%20Support/Vyro/Vyro.sql" || fail "the remote copy cannot be fetched"
}
sent_at_least() { [[ $(cat "$work/sent" 2>/dev/null || echo 0) -ge $1 ]]; }
download_under_way() {
    local f
    for f in "$data"/Vyro.sql.download-*; do
        [[ -f $f && $(stat -c %s "$f") -ge $1 ]] && return 0
    done
    return 1
}
panels_shown() { [[ $(xdotool search --onlyvisible --name '^Vyro$' 2>/dev/null | wc -l) -ge $1 ]]; }
kill_vyro() {
    kill -9 "$vyro_pid"
    wait "$vyro_pid" 2>/dev/null
    vyro_pid=
}

# ---- the run

started=$SECONDS
start_wm
start_share
export VYRO_WEBDAV_PASSWORD=secret
cat >"$ini" <<EOF
[General]
dotMac14SyncingEnabled=true
dotMacWaitingForFirstSync=false
cloudDiskServer=http://127.0.0.1:$proxy_port/
cloudDiskUser=alice
EOF

step "prepare: a local data file of some MB, a small older remote copy"
make_data "$data" "local task" 2000
"$vyro" --data-dir "$work/old-remote" add "remote task" >/dev/null 2>>"$work/vyro.out" || fail "vyro add"
cp "$work/old-remote/Vyro.sql" "$remote"
touch -d '-2 days' "$remote"
local_sum=$(content_sum "$data/Vyro.sql")
old_remote_sum=$(content_sum "$remote")
say "    data file: $(stat -c %s "$data/Vyro.sql") bytes"

# (a) The upload at quit, killed once a good part of the file has gone out.
start_vyro
step "quit, and kill -9 during the upload"
rm -f "$work/sent"
focus_main_window
xdotool key ctrl+q || fail "xdotool key ctrl+q"
wait_for 30 "a MB of the upload to go out" sent_at_least 1000000
wait_for 5 "the transfer panel beside the main window" panels_shown 2
say "    ok: the transfer panel shows during the upload"
kill_vyro
intact "$data/Vyro.sql" "the local data file"
check_one_of "the local data file is as it was" "$(content_sum "$data/Vyro.sql")" "$local_sum"
fetch_remote
intact "$work/fetched.sql" "the remote copy"
check_one_of "the remote copy is the old or the new file" "$(content_sum "$work/fetched.sql")" "$old_remote_sum" "$local_sum"
take_dump
check "vyro dump reads the data file" 'len(d["tasks"]) == 2000'

# (b) The download at start, killed halfway through.
step "prepare: a newer remote copy of some MB"
make_data "$work/new-remote" "remote task" 2500
cp "$work/new-remote/Vyro.sql" "$remote"
touch -d '-1 day' "$data/Vyro.sql"
new_remote_sum=$(content_sum "$remote")
remote_bytes=$(md5sum <"$remote")

step "start, and kill -9 during the download"
"$vyro" --data-dir "$data" >>"$work/vyro.out" 2>&1 &
vyro_pid=$!
wait_for 30 "a MB of the download to arrive" download_under_way 1000000
wait_for 5 "the transfer panel" panels_shown 1
say "    ok: the transfer panel shows during the download"
download_under_way 1 || fail "the download ended before the kill"
kill_vyro
intact "$data/Vyro.sql" "the local data file"
check_one_of "the local data file is the old or the new one" "$(content_sum "$data/Vyro.sql")" "$local_sum" "$new_remote_sum"
take_dump
check "vyro dump reads the data file" 'len(d["tasks"]) in (2000, 2500)'
fetch_remote
[[ $(md5sum <"$work/fetched.sql") == "$remote_bytes" ]] || fail "the download changed the remote copy"
say "    ok: the remote copy is untouched"

step "the next download ends the job and clears the killed one's scratch file"
# The dump above opened the data file, which made it the newer one.
touch -d '-1 day' "$data/Vyro.sql"
"$vyro" --data-dir "$data" cloud download >>"$work/vyro.out" 2>&1 || fail "vyro cloud download"
check_one_of "the local data file is the remote one" "$(content_sum "$data/Vyro.sql")" "$new_remote_sum"
leftovers=$(find "$data" -name 'Vyro.sql.download-*' | wc -l)
[[ $leftovers -eq 0 ]] || fail "$leftovers download scratch files are left"
say "    ok: no scratch file is left"

# (c) A manual backup of a large data file, killed during the copy; an older backup is in its place.
step "prepare: a large data file and an older backup"
"$py" -c '
import json
note = "b" * 4000
print(json.dumps({"tasks": [{"uri": "t%d" % i, "name": "big %d" % i, "content": note} for i in range(20000)]}))' >"$work/load.json"
"$vyro" --data-dir "$work/big" load "$work/load.json" >/dev/null 2>>"$work/vyro.out" || fail "vyro load of the large file"
rm -f "$work/load.json"
backup=$work/backup.sql
"$vyro" --data-dir "$work/old-remote" backup "$backup" >/dev/null 2>>"$work/vyro.out" || fail "vyro backup"
old_backup=$(md5sum <"$backup")
big_bytes=$(md5sum <"$work/big/Vyro.sql")
big_sum=$(content_sum "$work/big/Vyro.sql")
say "    large data file: $(stat -c %s "$work/big/Vyro.sql") bytes"

step "kill -9 vyro backup during the copy"
hits=0
for attempt in 1 2 3 4 5; do
    "$vyro" --data-dir "$work/big" backup "$backup" >/dev/null 2>>"$work/vyro.out" &
    pid=$!
    hit=0
    while kill -0 "$pid" 2>/dev/null; do
        for f in "$backup".??????; do
            if [[ -f $f && $(stat -c %s "$f" 2>/dev/null || echo 0) -gt 4000000 ]]; then
                kill -9 "$pid" 2>/dev/null && hit=1
                break 2
            fi
        done
    done
    wait "$pid" 2>/dev/null
    [[ $(md5sum <"$work/big/Vyro.sql") == "$big_bytes" ]] || fail "the backup changed the data file"
    intact "$backup" "the backup file"
    if [[ $(md5sum <"$backup") == "$old_backup" ]]; then
        ((hits += hit))
        say "    ok: attempt $attempt: the older backup is still whole in its place"
    else
        # Missed: the copy ended first and must be the whole new one.
        check_one_of "attempt $attempt: the backup is a whole copy" "$(content_sum "$backup")" "$big_sum"
        "$vyro" --data-dir "$work/old-remote" backup "$backup" >/dev/null 2>>"$work/vyro.out" || fail "vyro backup"
        old_backup=$(md5sum <"$backup")
    fi
    rm -f "$backup".??????
    ((hits >= 2)) && break
done
((hits >= 1)) || fail "no attempt killed the backup during its copy"
say "    ok: $hits backups killed during the copy"
"$vyro" --data-dir "$work/big" dump >/dev/null 2>>"$work/vyro.out" || fail "vyro dump of the large data file"
say "    ok: vyro dump reads the large data file"

say "passed in $((SECONDS - started)) s"
