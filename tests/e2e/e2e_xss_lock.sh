# Tessarine as xss-lock's locker, set up as the README says (`xss-lock -- tessarine lock`): the
# login manager's PrepareForSleep(true), the X screen saver coming on and the session's Lock
# each lock the screen. Tessarine's own lock on wake is off, so only xss-lock can lock on sleep.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start || fail "the desktop did not come up"
fake_power_supply
start_fake_logind || fail "the fake login manager did not start"
write_password ab
write_options "<key>lockOnWake</key><false/><key>closeAnimation</key><integer>0</integer>"
export PATH="$(dirname "$TESSARINE"):$PATH"
[ "$(command -v tessarine)" = "$TESSARINE" ] || fail "tessarine is not the one on the PATH"

more_than() { test "$(logind_count "$1")" -gt "$2"; }
unlock() {
    sleep 0.3
    xdotool type --delay 40 ab
    wait_until 3 keyboard_free || fail "$1: the password did not unlock"
}

start_tessarine
wait_until 5 tray_icon_embedded || fail "no tray icon"
wait_until 5 more_than inhibited 0 || fail "Tessarine took no sleep inhibitor"

# Without xss-lock, sleep does not lock.
logind sleep
sleep 0.5
keyboard_free || fail "sleep locked without xss-lock"
logind wake
wait_until 5 more_than inhibited 1 || fail "Tessarine took no inhibitor after waking"

inhibited=$(logind_count inhibited)
xss-lock -- tessarine lock >"$RIG_DIR/xss-lock.log" 2>&1 &
RIG_PIDS+=($!)
wait_until 5 more_than inhibited "$inhibited" || fail "xss-lock took no sleep inhibitor: $(cat "$RIG_DIR/xss-lock.log")"
wait_until 5 more_than session 0 || fail "xss-lock did not ask for its session"
# It then makes its proxy of the session, with no sign of it outside; a locker that ended before
# that would stop xss-lock.
sleep 0.3

# Before sleep.
logind sleep
wait_until 3 keyboard_grabbed_by_other || fail "PrepareForSleep(true) did not lock: $(cat "$RIG_DIR/xss-lock.log")"
[ -n "$(visible_windows_outside_tray)" ] || fail "no lock window while the keyboard is held"
unlock "sleep"
logind wake

# The screen saver comes on (as after the idle time of `xset s`).
xset s activate
wait_until 3 keyboard_grabbed_by_other || fail "the screen saver did not lock: $(cat "$RIG_DIR/xss-lock.log")"
unlock "screen saver"

# `loginctl lock-session`.
logind lock-session
wait_until 3 keyboard_grabbed_by_other || fail "the session's Lock did not lock: $(cat "$RIG_DIR/xss-lock.log")"
unlock "lock-session"
kill -0 "$TESSARINE_PID" || fail "tessarine ended"
echo PASS
