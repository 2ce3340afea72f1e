# Tessarine in a Wayland session (sway or labwc, headless from the trixie tree) whose panel hosts
# tray icons over D-Bus and starts after Tessarine, as a session's panel and its programs start
# side by side: no X tray runs, the icon registers with the panel's watcher (tools/sni_host.py
# standing in for the panel), and a click on it locks through the compositor.
#   e2e_wayland_status_notifier.sh sway|labwc
set -u
compositor=$1
source "$TESTS_DIR/rig/wayland_session.sh"
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>"
# A Wayland panel offers no X tray.
tray=$(pgrep -x trayer -n)
for pid in "${RIG_PIDS[@]}"; do
    if [ "$pid" = "$tray" ]; then kill "$pid"; wait "$pid" 2>/dev/null; fi
done
session_start
sni() { /usr/bin/python3 "$TESTS_DIR/tools/sni_host.py" "$@"; }

start_tessarine
wait_until 5 grep -q "this Wayland session is locked through its compositor" "$RIG_DIR/tessarine.log" ||
    fail "Tessarine did not take the compositor's lock"
wait_until 5 grep -q 'no system tray is running' "$RIG_DIR/tessarine.log" ||
    fail "Tessarine did not say that no tray runs"
/usr/bin/python3 "$TESTS_DIR/tools/sni_host.py" watch >"$RIG_DIR/host.log" 2>&1 &
RIG_PIDS+=($!)
wait_until 10 grep -q '^registered ' "$RIG_DIR/host.log" ||
    fail "the icon did not register with the panel: $(cat "$RIG_DIR/host.log")"
sni properties | grep -qE '^IconPixmap=.*[0-9]x[0-9]+:[1-9]' || fail "the icon has no pixels"
sni activate || fail "Activate failed"
wait_until 5 lock_shown || fail "a click on the icon did not lock the session"
wayland_type k3y
wait_until 5 desktop_shown || fail "the password did not unlock"
echo PASS
