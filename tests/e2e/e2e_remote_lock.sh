# Locking from other programs: busctl on the session bus, and the command line, with the program
# running and without it; one program per session.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start || fail "the desktop did not come up"
fake_power_supply
write_password ab
write_options "<key>closeAnimation</key><integer>0</integer>"
name=org.tessarine.Tessarine
path=/org/tessarine/Tessarine

# No program yet: the command line says so and fails.
if "$TESSARINE" lock 2>"$RIG_DIR/none.txt"; then fail "tessarine lock succeeded with nothing running"; fi
grep -q 'not running' "$RIG_DIR/none.txt" || fail "no message without a running program: $(cat "$RIG_DIR/none.txt")"

start_tessarine
wait_until 5 tray_icon_embedded || fail "no tray icon"
wait_until 5 busctl --user status "$name" >/dev/null 2>&1 || fail "the bus name was not taken"

# A second start says so and ends.
"$TESSARINE" >"$RIG_DIR/second.txt" 2>&1 &
second=$!
ended() { ! kill -0 "$second" 2>/dev/null || [ "$(ps -o stat= -p "$second" | cut -c1)" = Z ]; }
wait_until 10 ended || fail "a second start kept running"
wait "$second"
grep -q 'already running' "$RIG_DIR/second.txt" || fail "the second start said nothing"

[ "$(busctl --user get-property "$name" "$path" "$name" mail)" = "i 1" ] || fail "mail does not read 1"
[ "$(busctl --user get-property "$name" "$path" "$name" lock)" = "i 1" ] || fail "lock does not read 1"

# Values other than 1, and values of the wrong type, do not lock (and do not crash it).
busctl --user set-property "$name" "$path" "$name" lock i 2 || fail "writing 2 was refused"
busctl --user set-property "$name" "$path" "$name" lock i 0 || fail "writing 0 was refused"
if busctl --user set-property "$name" "$path" "$name" lock s yes 2>/dev/null; then
    fail "a string was taken for lock"
fi
sleep 0.5
keyboard_free || fail "a value other than 1 locked"
kill -0 "$TESSARINE_PID" || fail "tessarine ended"

# lock i 1 locks; the password unlocks.
busctl --user set-property "$name" "$path" "$name" lock i 1 || fail "writing 1 was refused"
wait_until 2 keyboard_grabbed_by_other || fail "lock i 1 did not lock"
sleep 0.5
# A screen-saver signal from a program that is not the screen saver unlocks nothing.
dbus-send --session --type=signal /org/freedesktop/ScreenSaver \
    org.freedesktop.ScreenSaver.ActiveChanged boolean:true
sleep 0.5
keyboard_grabbed_by_other || fail "a stray screen-saver signal ended the lock"
xdotool type --delay 40 ab
wait_until 3 keyboard_free || fail "the password did not unlock"

# The command line locks too.
"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 2 keyboard_grabbed_by_other || fail "tessarine lock did not lock"
sleep 0.5
xdotool type --delay 40 ab
wait_until 3 keyboard_free || fail "the password did not unlock"
"$TESSARINE" mail 3 || fail "tessarine mail failed"
echo PASS
