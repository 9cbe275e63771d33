#!/usr/bin/env bash
# The install step: `cmake --install` into a temporary prefix gives a launcher entry that the desktop's
# validators accept, that handles "vyro:" links and offers the two entry windows as actions, a bus
# service that starts the installed binary when the name is called (as launchers do), the icon in the
# hicolor theme and the software-centre file.
#
#   install_e2e.sh VYRO_BINARY [OUTPUT_DIR]     (the build folder is the one VYRO_BINARY was built in)
#
# Exit status: 0 passed, 1 failed, 77 skipped (a validator is missing).
set -u

vyro=${1:?usage: $0 VYRO_BINARY [OUTPUT_DIR]}
out=${2:-$PWD/install_e2e-output}
build=$(cd "$(dirname "$vyro")/.." && pwd)

for tool in desktop-file-validate appstreamcli update-desktop-database gio; do
    if ! command -v "$tool" >/dev/null 2>&1; then
        echo "SKIP: $tool is not installed"
        exit 77
    fi
done

failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
expect_line() { # FILE LINE
    grep -qxF "$2" "$1" || fail "$(basename "$1") lacks the line \"$2\""
}

rm -rf "$out"
prefix=$out/prefix
cmake --install "$build" --prefix "$prefix" >"$out.log" 2>&1 || { cat "$out.log"; fail "cmake --install failed"; exit 1; }

share=$prefix/share
entry=$share/applications/com.quendar.Vyro.desktop
service=$share/dbus-1/services/com.quendar.Vyro.service
for f in "$prefix/bin/vyro" "$entry" "$service" "$share/icons/hicolor/scalable/apps/com.quendar.Vyro.svg" \
         "$share/metainfo/com.quendar.Vyro.metainfo.xml"; do
    [[ -f $f ]] || fail "not installed: ${f#"$prefix"/}"
done
[[ -x $prefix/bin/vyro ]] && "$prefix/bin/vyro" --version | grep -q '^vyro ' || fail "the installed binary does not run"

desktop-file-validate "$entry" || fail "desktop-file-validate refuses the entry"
appstreamcli validate --no-net "$share/metainfo/com.quendar.Vyro.metainfo.xml" || fail "appstreamcli refuses the metainfo file"

# The entry: links, bus activation and the two actions, each starting the installed binary.
expect_line "$entry" "Exec=$prefix/bin/vyro %U"
expect_line "$entry" "MimeType=x-scheme-handler/vyro;"
expect_line "$entry" "DBusActivatable=true"
expect_line "$entry" "Actions=quick-add;quick-type-in;"
expect_line "$entry" "Exec=$prefix/bin/vyro quick-add"
expect_line "$entry" "Exec=$prefix/bin/vyro quick-type-in"
expect_line "$entry" "Icon=com.quendar.Vyro"
# Bus activation: the service's name is the entry's file name, as the activation rules require.
expect_line "$service" "Name=com.quendar.Vyro"
expect_line "$service" "Exec=$prefix/bin/vyro"

# The desktop finds the entry as the handler of "vyro:" links.
update-desktop-database "$share/applications" || fail "update-desktop-database failed"
handlers=$(env -u XDG_DATA_HOME XDG_DATA_DIRS="$share" XDG_CONFIG_HOME="$out/config" XDG_CONFIG_DIRS="$out/config" \
    gio mime x-scheme-handler/vyro 2>&1)
grep -q "com.quendar.Vyro.desktop" <<<"$handlers" || fail "no handler of vyro: links: $handlers"

# Bus activation: a call to the name starts the installed program from the service file, which then
# answers it (here: the quick type-in action). Needs a private bus and a virtual screen.
if command -v dbus-run-session >/dev/null && command -v xvfb-run >/dev/null && command -v gdbus >/dev/null; then
    mkdir -p "$out/home" "$out/runtime" && chmod 700 "$out/runtime"
    activation=$(env -u DBUS_SESSION_BUS_ADDRESS -u WAYLAND_DISPLAY HOME="$out/home" XDG_RUNTIME_DIR="$out/runtime" \
        XDG_DATA_HOME="$out/data-home" XDG_CONFIG_HOME="$out/config" XDG_DATA_DIRS="$share:/usr/share" \
        QT_QPA_PLATFORM=xcb LC_ALL=C.UTF-8 \
        xvfb-run -a dbus-run-session -- bash -c '
            gdbus call --session --timeout 60 --dest com.quendar.Vyro --object-path /com/quendar/Vyro \
                --method org.freedesktop.Application.ActivateAction quick-type-in "[]" "{}" >/dev/null || exit 1
            pid=$(gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
                --method org.freedesktop.DBus.GetConnectionUnixProcessID com.quendar.Vyro | sed -E "s/.* ([0-9]+).*/\1/")
            readlink "/proc/$pid/exe"
            kill "$pid"' 2>"$out/activation.log")
    [[ $activation == "$prefix/bin/vyro" ]] || fail "the bus did not start the installed program (got \"$activation\"; see $out/activation.log)"
else
    echo "the bus activation check is left out: dbus-run-session, xvfb-run or gdbus is missing"
fi

if [[ $failures -ne 0 ]]; then
    echo "$failures check(s) failed"
    exit 1
fi
echo "install checks passed"
