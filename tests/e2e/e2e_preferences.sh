# The preferences window from the tray menu: it opens on the General pane, a check box clicked in it
# lands in properties.plist, and opening at login writes an autostart entry that starts this binary,
# is not written again by a start, and fails silently where the autostart folder cannot be written.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start || fail "the desktop did not come up"
fake_power_supply
library=$XDG_CONFIG_HOME/tessarine
write_password a
write_options "<key>showMusic</key><true/><key>openAtLogin</key><false/><key>useShortcut</key><false/>"

start_tessarine
wait_until 5 tray_icon_embedded || fail "no tray icon"

# The menu: Lock Screen, Lock After, then Preferences...
open_preferences || fail "Preferences... opened no General pane"
window=$PREFERENCES_WINDOW
[ "$(xdotool getwindowpid "$window")" = "$TESSARINE_PID" ] || fail "the window is not ours"
is_active "$window" || fail "the preferences window is not in front"

# The first check box of the pane, "Show music controls", is the first to take the focus.
xdotool key --window "$window" space
stored() { "$PLIST_KEYS" "$library/properties.plist" | grep -qx "$1"; }
wait_until 5 stored 'showMusic=boolean:false' ||
    fail "the music check box did not reach the file: $("$PLIST_KEYS" "$library/properties.plist")"

# Seven boxes further down: "Open at login".
xdotool key --window "$window" Tab Tab Tab Tab Tab Tab Tab space
entry=$XDG_CONFIG_HOME/autostart/tessarine.desktop
wait_until 5 test -f "$entry" || fail "no autostart entry: $(ls -la "$XDG_CONFIG_HOME")"
grep -qx "Exec=\"$(readlink -f "$TESSARINE")\"" "$entry" ||
    fail "the entry starts another program: $(cat "$entry")"
wait_until 5 stored 'openAtLogin=boolean:true' ||
    fail "openAtLogin was not stored"

# And off again: every entry of this binary goes, another program's stays.
printf '[Desktop Entry]\nType=Application\nExec=%s --again\n' "$TESSARINE" \
    >"$XDG_CONFIG_HOME/autostart/copy.desktop"
printf '[Desktop Entry]\nType=Application\nExec=/bin/true\n' >"$XDG_CONFIG_HOME/autostart/other.desktop"
xdotool key --window "$window" space
wait_until 5 test ! -e "$entry" || fail "the autostart entry is still there"
[ ! -e "$XDG_CONFIG_HOME/autostart/copy.desktop" ] || fail "a second entry of this binary stayed"
[ -e "$XDG_CONFIG_HOME/autostart/other.desktop" ] || fail "another program's entry was removed"
wait_until 5 stored 'openAtLogin=boolean:false' ||
    fail "openAtLogin was not stored as off"

# On again, then the entry deleted by hand and the program restarted: the start does not bring
# it back; the option is still on, so the first click turns it off and the second on again.
xdotool key --window "$window" space
wait_until 5 test -f "$entry" || fail "no autostart entry the second time"
rm "$entry"
stop_tessarine
start_tessarine
wait_until 5 tray_icon_embedded || fail "no tray icon after the restart"
sleep 1
[ ! -e "$entry" ] || fail "the start wrote the autostart entry again"
open_preferences || fail "no preferences after the restart"
window=$PREFERENCES_WINDOW
xdotool key --window "$window" Tab Tab Tab Tab Tab Tab Tab space
wait_until 5 stored 'openAtLogin=boolean:false' || fail "the first click did not turn it off"
[ ! -e "$entry" ] || fail "turning the option off wrote an entry"
xdotool key --window "$window" space
wait_until 5 test -f "$entry" || fail "turning it on again wrote no entry"

# An autostart folder that cannot be written (a file stands where it should be): the option
# is stored, nothing is shown, the program goes on.
xdotool key --window "$window" space
wait_until 5 stored 'openAtLogin=boolean:false' || fail "not turned off before the bad folder"
rm -rf "$XDG_CONFIG_HOME/autostart"
echo "not a folder" >"$XDG_CONFIG_HOME/autostart"
shown=$(visible_windows_outside_tray | sort | tr '\n' ' ')
xdotool key --window "$window" space
wait_until 5 stored 'openAtLogin=boolean:true' || fail "the option was not stored with a bad folder"
sleep 1
[ "$(visible_windows_outside_tray | sort | tr '\n' ' ')" = "$shown" ] ||
    fail "a window came up for the autostart folder that cannot be written"
[ "$(cat "$XDG_CONFIG_HOME/autostart")" = "not a folder" ] || fail "the file in the folder's place changed"
kill -0 "$TESSARINE_PID" || fail "tessarine exited"
echo "PASS"
