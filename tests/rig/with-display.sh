#!/usr/bin/env bash
# Runs one command on an X display of its own, for a test that needs a real X server but no
# desktop: Xvfb on a display number it picks itself, a private session bus, fresh HOME and XDG
# folders. Everything it starts ends with it.
#   with-display.sh WIDTHxHEIGHT COMMAND...
set -euo pipefail
size=$1
shift

dir=$(mktemp -d)
mkdir -p "$dir/home" "$dir/config" "$dir/data" "$dir/cache" "$dir/runtime"
chmod 700 "$dir/runtime"

# -displayfd: the server takes the first free number and writes it once it accepts clients.
Xvfb -displayfd 3 -screen 0 "${size}x24" -nolisten tcp -noreset 3>"$dir/display" \
    >"$dir/xvfb.log" 2>&1 &
xvfb=$!
stop() {
    kill "$xvfb" 2>/dev/null || true
    wait "$xvfb" 2>/dev/null || true
    rm -rf "$dir"
}
trap stop EXIT

for ((i = 0; i < 500; i++)); do
    grep -q '^[0-9]' "$dir/display" 2>/dev/null && break
    kill -0 "$xvfb" 2>/dev/null || break
    sleep 0.02
done
number=$(head -n1 "$dir/display")
[ -n "$number" ] || { echo "no display could be started" >&2; cat "$dir/xvfb.log" >&2; exit 1; }

export DISPLAY=:$number HOME=$dir/home XDG_CONFIG_HOME=$dir/config XDG_DATA_HOME=$dir/data
export XDG_CACHE_HOME=$dir/cache XDG_RUNTIME_DIR=$dir/runtime
unset XDG_CURRENT_DESKTOP SESSION_MANAGER
# Not run with exec: the trap must still stop the server.
dbus-run-session -- "$@"
