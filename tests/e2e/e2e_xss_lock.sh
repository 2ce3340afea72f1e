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
xss=$!
RIG_PIDS+=($xss)
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

# With --transfer-sleep-lock xss-lock hands its sleep inhibitor to `tessarine lock`, which closes
# it only once the lock screen shows: at that moment the keyboard is held and not one of 25
# points of the screen shows the (magenta) desktop.
kill "$xss"
wait "$xss" 2>/dev/null
"$HIDDEN_TIMER" desktop >"$RIG_DIR/desktop.out" &
RIG_PIDS+=($!)
wait_until 5 grep -q ready "$RIG_DIR/desktop.out" || fail "the desktop colour did not show"
inhibited=$(logind_count inhibited)
sessions=$(logind_count session)
xss-lock --transfer-sleep-lock -- tessarine lock >"$RIG_DIR/xss-lock.log" 2>&1 &
RIG_PIDS+=($!)
wait_until 5 more_than inhibited "$inhibited" || fail "xss-lock --transfer-sleep-lock took no inhibitor"
wait_until 5 more_than session "$sessions" || fail "the second xss-lock did not ask for its session"
sleep 0.3
released=$(logind_count released)
logind sleep
# Tessarine's own inhibitor (let go at once, lock on wake being off) and the one handed over.
wait_until 5 more_than released $((released + 1)) || fail "the handed inhibitor was never let go"
last=$(grep '^released' "$RIG_DIR/logind.out" | tail -n1)
echo "transferred: $last"
read -r _ grabbed _ showing _ after <<<"$last"
[ "$grabbed" = grabbed ] || fail "the handed inhibitor went before the keyboard was held"
[ "$showing" = 0 ] || fail "the handed inhibitor went with $showing of 25 points showing the desktop"
unlock "transferred sleep"
logind wake
echo PASS
