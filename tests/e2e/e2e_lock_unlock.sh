# A user's lock and unlock, driven as a user would: set the first password in its window, click
# the tray icon, find the desktop covered and both grabs taken, type a wrong key, type the
# password, and get the desktop back with nothing held. Run once per password mode:
#   e2e_lock_unlock.sh ordered|chord
set -u
mode=${1:-ordered}
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
library=$XDG_CONFIG_HOME/tessarine
# The recording window is the desktop the lock must hide.
desktop_colour=#336699

# The first start asks for a password: typed into its window.
start_tessarine
wait_until 10 xdotool search --onlyvisible --name '^Welcome to Tessarine$' >/dev/null ||
    fail "no first-password window"
window=$(xdotool search --onlyvisible --name '^Welcome to Tessarine$' | head -n1)
# Coming to the front is the first-start test's business; here the window just has to get the
# keyboard, as a user would give it: asking the window manager, then clicking the window.
give_keyboard "$window" || fail "the first-password window cannot be given the keyboard"
xdotool type --delay 20 "k3y"
xdotool key Tab
xdotool type --delay 20 "k3y"
xdotool key Return
wait_until 5 test -f "$library/settings.plist" || fail "the password was not saved"
wait_until 5 xdotool search --onlyvisible --name '^Tessarine$' >/dev/null || fail "no confirmation"
xdotool key Return
if [ "$mode" = ordered ]; then
    # The password in order: set in the options, read at the next start.
    stop_tessarine
    sed -i 's|<dict>|<dict>\n\t<key>orderMatters</key>\n\t<true/>|' "$library/properties.plist"
    start_tessarine
fi
wait_until 5 tray_icon_embedded || fail "no tray icon"

# Another program's window has the keyboard before the lock.
"$X11_PROBE" record-keys "$RIG_DIR/keys.txt" &
recorder=$!
wait_until 5 grep -q mapped "$RIG_DIR/keys.txt" || fail "the recording window did not map"
sleep 0.3
import -window root "$RIG_DIR/desktop.png"
[ "$(pixel "$RIG_DIR/desktop.png" 640 400)" = "$desktop_colour" ] || fail "no desktop to hide"
# It does receive keys while the desktop is unlocked.
xdotool key z
wait_until 3 grep -q '^key' "$RIG_DIR/keys.txt" || fail "the recording window receives no keys"
keys_before=$(grep -c '^key' "$RIG_DIR/keys.txt")

# A press on the icon dragged away before it is let go does not lock.
icon=$(tray_icon_windows | head -n1)
xdotool mousemove --window "$icon" 11 11 mousedown 1 mousemove 640 400 mouseup 1
sleep 0.5
keyboard_free || fail "a press dragged off the icon locked"

click_tray_icon 1
wait_until 2 keyboard_grabbed_by_other || fail "the keyboard was not grabbed after the click"
wait_until 2 pointer_grabbed_by_other ||
    fail "the pointer was not grabbed"
nothing_shown() { [ -z "$(visible_windows_outside_tray)" ]; }
something_shown() { [ -n "$(visible_windows_outside_tray)" ]; }
something_shown || fail "no lock window is mapped"
sleep 0.3
import -window root "$RIG_DIR/locked.png"
[ "$(count_colour "$RIG_DIR/locked.png" "$desktop_colour")" = 0 ] ||
    fail "the desktop shows through the lock"

# A popup that appears above the lock is covered again within 100 ms.
"$X11_PROBE" popup 300 200 400 300 ff00ff "$RIG_DIR/popup.txt" &
popup=$!
wait_until 3 grep -q mapped "$RIG_DIR/popup.txt" || fail "the popup did not map"
sleep 0.1
import -window root "$RIG_DIR/popup.png"
kill $popup
wait $popup 2>/dev/null
[ "$(count_colour "$RIG_DIR/popup.png" '#ff00ff')" = 0 ] || fail "a popup stayed above the lock"

# A wrong key: still locked.
xdotool key --delay 50 q
sleep 0.5
keyboard_grabbed_by_other || fail "a wrong key unlocked"

# The password.
xdotool type --delay 40 "k3y"
wait_until 3 keyboard_free || fail "the keyboard is still grabbed after the password"
wait_until 3 pointer_free || fail "the pointer is still grabbed after the password"
wait_until 3 nothing_shown || fail "the lock window is still mapped"
[ "$("$X11_PROBE" buttons)" = 0 ] || fail "a pointer button is still pressed"
sleep 0.5
import -window root "$RIG_DIR/unlocked.png"
[ "$(pixel "$RIG_DIR/unlocked.png" 640 400)" = "$desktop_colour" ] || fail "the desktop did not come back"

kill $recorder
wait $recorder 2>/dev/null
keys_after=$(grep -c '^key' "$RIG_DIR/keys.txt")
[ "$keys_after" = "$keys_before" ] ||
    fail "keys typed while locked reached another window: $((keys_after - keys_before))"
grep -q 'k3y' "$RIG_DIR/tessarine.log" && fail "the password appeared in the log"

# A right click opens the menu.
click_tray_icon 3
wait_until 3 something_shown || fail "a right click opened no menu"
xdotool key Escape
echo "PASS ($mode)"
