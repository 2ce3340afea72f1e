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

# Nothing announces a change of these properties (reads always answer 1), and the
# introspection says so.
busctl --user introspect "$name" "$path" "$name" >"$RIG_DIR/introspect.txt" ||
    fail "the object cannot be introspected"
grep -Eq '^\.lock +property +i' "$RIG_DIR/introspect.txt" || fail "no lock property: $(cat "$RIG_DIR/introspect.txt")"
grep -Eq '^\.mail +property +i' "$RIG_DIR/introspect.txt" || fail "no mail property"
grep -Eq '^\.lockScreen +method' "$RIG_DIR/introspect.txt" || fail "no lockScreen method"
if grep -q 'emits-change' "$RIG_DIR/introspect.txt"; then
    fail "a property is said to emit changes: $(grep emits-change "$RIG_DIR/introspect.txt")"
fi
[ "$(busctl --user introspect "$name" "$path" | grep -c '^\.objectName')" = 0 ] ||
    fail "more than lock and mail are on the bus"

# Every value is taken through its integer value, whatever its type, and never answered with an
# error: only what comes to 1 locks.
for value in "i 2" "i 0" "s yes" "s one" "d 0.6" "d -0.9" "x 4294967297" "b false" "as 1 1"; do
    busctl --user -- set-property "$name" "$path" "$name" lock $value 2>"$RIG_DIR/set.txt" ||
        fail "writing lock $value was answered with an error: $(cat "$RIG_DIR/set.txt")"
done
sleep 0.5
keyboard_free || fail "a value whose integer value is not 1 locked"
kill -0 "$TESSARINE_PID" || fail "tessarine ended"
for value in "d 1.5" "s 1" "s ' 1 mail'" "b true" "y 1"; do
    eval busctl --user set-property "$name" "$path" "$name" lock $value ||
        fail "writing lock $value was answered with an error"
    wait_until 2 keyboard_grabbed_by_other || fail "lock $value did not lock"
    sleep 0.5
    xdotool type --delay 40 ab
    wait_until 3 keyboard_free || fail "the password did not unlock after lock $value"
done

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
