# Another program holds keyboard and pointer when a lock is asked for (an open menu): the screen
# is covered at once, the lock screen says that another program holds the input, `tessarine
# lock` fails with a message instead of reporting a lock, a write of the `lock` property is
# answered in the log; the moment the menu lets go the lock takes both, and the password unlocks.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
desktop_colour=#336699
notice_colour=#b22222
write_password "ab"
start_tessarine
wait_until 5 tray_icon_embedded || fail "no tray icon"
"$X11_PROBE" record-keys "$RIG_DIR/keys.txt" &
recorder=$!
wait_until 5 grep -q mapped "$RIG_DIR/keys.txt" || fail "the recording window did not map"

# An open menu: keyboard and pointer grabbed by another client.
"$X11_ATTACK" menu "$RIG_DIR/menu.txt" &
menu=$!
wait_until 3 grep -q '^grabbed' "$RIG_DIR/menu.txt" || fail "the menu could not grab"

"$TESSARINE" lock 2>"$RIG_DIR/lock.err" && fail "tessarine lock reported a lock it does not hold"
grep -q "another program holds the keyboard or the pointer" "$RIG_DIR/lock.err" ||
    fail "tessarine lock did not say why: $(cat "$RIG_DIR/lock.err")"
busctl --user set-property org.tessarine.Tessarine /org/tessarine/Tessarine \
    org.tessarine.Tessarine lock i 1 || fail "the property write was refused"
sleep 0.3
grep -q "Locking: the screen is covered, but another program holds" "$RIG_DIR/tessarine.log" ||
    fail "the log does not say that the input is held elsewhere"
sleep 0.3
import -window root "$RIG_DIR/held.png"
[ "$(count_colour "$RIG_DIR/held.png" "$desktop_colour")" = 0 ] ||
    fail "the desktop shows while another program holds the input"
[ "$(count_colour "$RIG_DIR/held.png" "$notice_colour")" -gt 1000 ] ||
    fail "the lock screen does not say that another program holds the input"

# The menu lets go: the lock takes keyboard and pointer within its retries (every 250 ms after
# the first second), and the notice goes.
kill "$menu"
wait "$menu" 2>/dev/null
wait_until 3 keyboard_grabbed_by_other || fail "the lock did not take the keyboard once free"
wait_until 3 pointer_grabbed_by_other ||
    fail "the lock did not take the pointer once free"
sleep 0.3
import -window root "$RIG_DIR/taken.png"
[ "$(count_colour "$RIG_DIR/taken.png" "$notice_colour")" = 0 ] ||
    fail "the notice stayed after the lock took the input"
[ "$(count_colour "$RIG_DIR/taken.png" "$desktop_colour")" = 0 ] || fail "the desktop shows"
xdotool key --delay 30 z
sleep 0.2
[ "$(grep -c '^key' "$RIG_DIR/keys.txt")" = 0 ] || fail "a key reached the window under the lock"

xdotool type --delay 40 ab
wait_until 3 keyboard_free || fail "the password did not unlock"
"$TESSARINE" lock 2>"$RIG_DIR/lock2.err" || fail "a free lock failed: $(cat "$RIG_DIR/lock2.err")"
wait_until 2 keyboard_grabbed_by_other || fail "a new lock did not take the keyboard"
sleep 0.6
xdotool type --delay 40 ab
wait_until 3 keyboard_free || fail "the password did not unlock the new lock"
kill "$recorder"
wait "$recorder" 2>/dev/null
echo PASS
