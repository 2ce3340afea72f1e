# The idle lock, built in: with "Lock after 1 minute without input" on (the tests' minute is
# TESSARINE_TEST_MINUTE_MS long; the idle time is the X server's own), a session with input does
# not lock and one without does. `xdg-screensaver suspend WINDOW` (as it speaks on KDE) holds the
# lock back until `resume` or until the window is gone; a python3-dbus client's Inhibit holds it
# back until the client leaves the bus. Turned off, nothing locks however long the session idles.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start || fail "the desktop did not come up"
fake_power_supply
write_password k3y
animations="<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>"
write_options "$animations<key>lockWhenIdle</key><true/><key>idleLockMinutes</key><integer>1</integer>"
export TESSARINE_TEST_MINUTE_MS=2000
kde=(env XDG_CURRENT_DESKTOP=KDE KDE_SESSION_VERSION=5)
locked() { keyboard_grabbed_by_other; }
unlock_with_password() {
    sleep 0.3
    xdotool type --delay 40 k3y
    wait_until 3 keyboard_free || fail "$1: the password did not unlock"
}
# stays_unlocked SECONDS WHAT: no lock comes for that long.
stays_unlocked() {
    local deadline=$(($(now_us) + $1 * 1000000))
    while (($(now_us) < deadline)); do
        locked && fail "$2"
        sleep 0.2
    done
    return 0
}

"$X11_PROBE" record-keys "$RIG_DIR/keys.txt" &
window_owner=$!
wait_until 5 grep -q mapped "$RIG_DIR/keys.txt" || fail "the probe window did not map"
window=$(printf '0x%x' "$(xdotool search --name '^tessarine-probe$' | head -n1)")

start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon"

# Input every 0.4 s for 5 s (two and a half limits): no lock.
for i in $(seq 1 12); do
    xdotool mousemove $((300 + i % 2 * 50)) 300
    sleep 0.4
    locked && fail "locked while the pointer was moving"
done
# No input: locked once the limit has passed, and not before.
stays_unlocked 1.2 "locked before the limit"
wait_until 3 locked || fail "no lock after the limit without input"
unlock_with_password "the idle lock"

# xdg-screensaver suspend holds it back, resume lets it happen.
"${kde[@]}" xdg-screensaver suspend "$window" || fail "xdg-screensaver suspend failed"
stays_unlocked 5 "locked while xdg-screensaver held it back"
"${kde[@]}" xdg-screensaver resume "$window" || fail "xdg-screensaver resume failed"
wait_until 3 locked || fail "no lock after xdg-screensaver resume"
unlock_with_password "after resume"

# A client's inhibitor lasts while the client is on the bus.
/usr/bin/python3 - >"$RIG_DIR/inhibitor.txt" <<'PY' &
import dbus, sys, time
bus = dbus.SessionBus()
saver = dbus.Interface(bus.get_object("org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver"),
                       "org.freedesktop.ScreenSaver")
print("cookie", saver.Inhibit("a video player", "playing a film"), flush=True)
time.sleep(60)
PY
client=$!
wait_until 5 grep -q cookie "$RIG_DIR/inhibitor.txt" || fail "the client could not inhibit"
stays_unlocked 5 "locked while a client inhibited"
kill "$client"
wait "$client" 2>/dev/null
wait_until 3 locked || fail "no lock after the inhibiting client left"
unlock_with_password "after the client left"

# An inhibitor of a window lasts while the window does.
"${kde[@]}" xdg-screensaver suspend "$window" || fail "xdg-screensaver suspend failed"
stays_unlocked 4 "locked while xdg-screensaver held it back for a window"
kill "$window_owner"
wait "$window_owner" 2>/dev/null
wait_until 5 locked || fail "no lock after the inhibiting window closed"
unlock_with_password "after the window closed"

# Turned off: nothing locks.
stop_tessarine
write_options "$animations<key>lockWhenIdle</key><false/><key>idleLockMinutes</key><integer>1</integer>"
start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon after the restart"
stays_unlocked 5 "locked with the idle lock turned off"
echo PASS
