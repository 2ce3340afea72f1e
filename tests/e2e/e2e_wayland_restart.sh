# Tessarine killed while a Wayland compositor (sway or labwc, headless) holds its lock: every
# output shows the compositor's blank, never the desktop; Tessarine started again shows the lock
# screen on every output as it starts, with no lock asked for, a wrong password keeps it, the
# password gives the desktop back.
# A start after a normal end does not lock, nor does one after the compositor itself was
# started anew (a note of a lock left standing under the earlier compositor counts for nothing).
#   e2e_wayland_restart.sh sway|labwc
set -u
compositor=$1
source "$TESTS_DIR/rig/wayland_session.sh"
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>"
session_start
start_tessarine_in_session
"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 5 lock_shown || fail "not every output shows the lock screen"

kill -KILL "$TESSARINE_PID"
wait "$TESSARINE_PID" 2>/dev/null
TESSARINE_PID=
wait_until 3 blank_shown || fail "the outputs do not show $compositor's blank after the kill"
stays 1 blank_shown "the blank gave way while no Tessarine ran"

start_tessarine
wait_until 10 lock_shown || fail "the restarted Tessarine does not show the lock screen"
grep -q "still holds the lock of a Tessarine that ended" "$RIG_DIR/tessarine.log" ||
    fail "the restart did not say it took the lock over"
wayland_type wrong
sleep 0.5
lock_shown || fail "a wrong password unlocked the lock taken over"
unlock_with_password "the lock taken over"

# Ended while unlocked: the next start does not lock.
wait_until 10 tray_icon_embedded || fail "no tray icon after the take-over"
stop_tessarine
start_tessarine_in_session
stays 2 desktop_shown "a start after a normal end locked"

# Killed while locked, then the compositor ended and started anew: the next start does not lock.
"$TESSARINE" lock || fail "tessarine lock failed the second time"
wait_until 5 lock_shown || fail "the second lock is not shown"
kill -KILL "$TESSARINE_PID"
wait "$TESSARINE_PID" 2>/dev/null
TESSARINE_PID=
compositor_stop
session_start
start_tessarine_in_session
stays 2 desktop_shown "a start under a new compositor locked"
echo PASS
