# Dead keys on the lock screen compose as in the password windows: with the US international
# layout and the password "xé", the keys x, dead acute, e unlock; x, dead acute, a (typing "xá")
# and x, e do not; a dead key before a key it does not combine with is dropped; and the guard,
# holding the lock after Tessarine is killed, composes the same way.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start || fail "the desktop did not come up"
setxkbmap -layout us -variant intl || fail "no US international layout"
fake_power_supply
write_password "xé"
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer><key>orderMatters</key><true/><key>slowGuesses</key><false/>"

start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon"
"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 3 keyboard_grabbed_by_other || fail "the lock did not grab the keyboard"
sleep 0.5

for keys in "x dead_acute a" "x e" "x apostrophe e"; do
    xdotool key --delay 80 $keys
    sleep 0.6
    keyboard_grabbed_by_other || fail "$keys unlocked a lock whose password is xé"
done
xdotool key --delay 80 x dead_acute e
wait_until 3 keyboard_free || fail "x, dead acute, e did not unlock the password xé"

# A dead key followed by a key it does not combine with: the sequence is dropped and that key
# types as it does without it, as in the password windows.
"$TESSARINE" lock || fail "the second lock failed"
wait_until 3 keyboard_grabbed_by_other || fail "the second lock did not grab the keyboard"
sleep 0.5
xdotool key --delay 80 dead_acute x dead_acute e
wait_until 3 keyboard_free || fail "dead acute, x, dead acute, e did not unlock the password xé"
kill -0 "$TESSARINE_PID" || fail "tessarine ended"

# The guard that holds the lock when Tessarine is killed composes the same way.
"$TESSARINE" lock || fail "the third lock failed"
wait_until 3 keyboard_grabbed_by_other || fail "the third lock did not grab the keyboard"
wait_until 3 pgrep -x tessarine-guard -P "$TESSARINE_PID" >/dev/null || fail "no guard watches the lock"
sleep 0.5
kill -KILL "$TESSARINE_PID"
wait "$TESSARINE_PID" 2>/dev/null
TESSARINE_PID=
sleep 1
keyboard_grabbed_by_other || fail "the guard does not hold the keyboard"
xdotool key --delay 80 x dead_acute a
sleep 0.6
keyboard_grabbed_by_other || fail "x, dead acute, a opened the guard"
xdotool key --delay 80 x dead_acute e
wait_until 3 keyboard_free || fail "x, dead acute, e did not open the guard"
echo PASS
