# The login manager's requests for this session: its Lock signal (`loginctl lock-session`, the
# login manager's idle action) locks; its Unlock signal does not unlock, only the password does;
# the session's LockedHint goes true once the lock holds the input and false after the password.
# A fake login manager on a private system bus stands in for logind.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start || fail "the desktop did not come up"
fake_power_supply
start_fake_logind || fail "no fake logind"
write_password ab
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>"
more_than() { test "$(logind_count "$1")" -gt "$2"; }
hint() { grep '^lockedhint' "$RIG_DIR/logind.out" | tail -n1 | cut -d' ' -f2; }

start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon"
wait_until 5 more_than session 0 || fail "Tessarine did not ask the login manager for its session"

# loginctl lock-session.
logind lock-session
wait_until 3 keyboard_grabbed_by_other || fail "the session's Lock signal did not lock"
wait_until 3 eval '[ "$(hint)" = true ]' || fail "LockedHint did not go true: $(grep lockedhint "$RIG_DIR/logind.out")"

# loginctl unlock-session: another program of the user's could send it; the lock stays.
logind unlock-session
sleep 1
keyboard_grabbed_by_other || fail "the session's Unlock signal ended the lock"
[ "$(hint)" = true ] || fail "LockedHint went $(hint) without the password"

xdotool type --delay 60 ab
wait_until 3 keyboard_free || fail "the password did not unlock"
wait_until 3 eval '[ "$(hint)" = false ]' || fail "LockedHint did not go false after the password"

# A lock from elsewhere (the command line) sets the hint too.
"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 3 eval '[ "$(logind_count "lockedhint true")" = 2 ]' || fail "LockedHint not set for tessarine lock"
xdotool type --delay 60 ab
wait_until 3 keyboard_free || fail "the password did not unlock the second lock"
wait_until 3 eval '[ "$(logind_count "lockedhint false")" = 2 ]' || fail "LockedHint not cleared the second time"
kill -0 "$TESSARINE_PID" || fail "tessarine ended"

# The idle lock waits while a program holds the login manager's idle inhibitor
# (systemd-inhibit --what=idle), and comes once it lets go.
stop_tessarine
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer><key>lockWhenIdle</key><true/><key>idleLockMinutes</key><integer>1</integer>"
/usr/bin/python3 - >"$RIG_DIR/inhibitor.txt" <<'PY' &
import dbus, time
manager = dbus.Interface(dbus.SystemBus().get_object("org.freedesktop.login1",
                                                     "/org/freedesktop/login1"),
                         "org.freedesktop.login1.Manager")
held = manager.Inhibit("idle", "a film", "playing", "block")
print("held", flush=True)
time.sleep(60)
PY
client=$!
wait_until 5 grep -q held "$RIG_DIR/inhibitor.txt" || fail "the idle inhibitor was not taken"
TESSARINE_TEST_MINUTE_MS=1500 start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon after the restart"
sleep 4
keyboard_free || fail "the idle lock came while the login manager's idle inhibitor was held"
kill "$client"
wait "$client" 2>/dev/null
wait_until 4 keyboard_grabbed_by_other || fail "no idle lock after the idle inhibitor was let go"
xdotool type --delay 60 ab
wait_until 3 keyboard_free || fail "the password did not unlock the idle lock"
echo PASS
