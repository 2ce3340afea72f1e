# The idle lock of a Wayland session, told by the compositor (ext-idle-notify-v1; sway or labwc
# headless, whose only input is wtype's): with "Lock after 1 minute without input" on and the
# tests' minute TESSARINE_TEST_MINUTE_MS long, keys typed every half second keep the session
# unlocked; without input the lock screen comes once the limit has passed, and not before; a
# screen-saver inhibitor of a python3-dbus client holds it back until the client leaves.
#   e2e_wayland_idle_lock.sh sway|labwc
set -u
compositor=$1
source "$TESTS_DIR/rig/wayland_session.sh"
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>
<key>lockWhenIdle</key><true/><key>idleLockMinutes</key><integer>1</integer>"
export TESSARINE_TEST_MINUTE_MS=2000
session_start
start_tessarine_in_session
grep -q "idle lock is off" "$RIG_DIR/tessarine.log" && fail "the idle lock is off on $compositor"
# The magenta window has the keyboard: what is typed lands there.
type_a_key() { in_chroot wtype -k Shift_L; }

# A key every half second for 5 s (two and a half limits): no lock.
for ((i = 0; i < 10; i++)); do
    type_a_key
    desktop_shown || fail "locked while keys were typed"
    sleep 0.4
done
# No input: locked once the limit has passed, and not before.
type_a_key
stays 1.3 desktop_shown "locked before the limit"
wait_until 4 lock_shown || fail "no lock after the limit without input"
# A client's inhibitor lasts while the client is on the bus; it starts while locked, so that it
# holds from the password on.
/usr/bin/python3 - >"$RIG_DIR/inhibitor.txt" <<'PY' &
import dbus, time
bus = dbus.SessionBus()
saver = dbus.Interface(bus.get_object("org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver"),
                       "org.freedesktop.ScreenSaver")
print("cookie", saver.Inhibit("a video player", "playing a film"), flush=True)
time.sleep(60)
PY
client=$!
wait_until 5 grep -q cookie "$RIG_DIR/inhibitor.txt" || fail "the client could not inhibit"
unlock_with_password "the idle lock"
stays 5 desktop_shown "locked while a client inhibited"
kill "$client"
wait "$client" 2>/dev/null
wait_until 4 lock_shown || fail "no lock after the inhibiting client left"
unlock_with_password "after the inhibitor"
echo PASS
