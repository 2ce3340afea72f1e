# The preferences window from the tray menu: it opens on the General pane, a check box clicked in it
# lands in properties.plist, and opening at login writes an autostart entry that starts this binary.
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
kill -0 "$TESSARINE_PID" || fail "tessarine exited"
echo "PASS"
