# Custom pictures chosen through the real open panel (Qt's file dialog) from the Appearance pane,
# with the keyboard as a user would: the path typed into the file-name field, then Return.
# A text file is no picture: as lock image nothing changes and nothing is said; as background
# the menu goes back to the kind chosen before. A picture lands in properties.plist, and the next
# lock shows it.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
library=$XDG_CONFIG_HOME/tessarine
write_password a
write_options "<key>useShortcut</key><false/><key>desktopImageType</key><integer>1</integer>
<key>lockImageType</key><integer>0</integer><key>showTime</key><false/>
<key>showMusic</key><false/><key>showBattery</key><false/><key>showShutDown</key><false/>
<key>showDoNotDisturb</key><false/><key>startAnimation</key><integer>0</integer>
<key>closeAnimation</key><integer>0</integer>"
pictures=$RIG_DIR/pictures
mkdir -p "$pictures"
# A name with a space: stored as the URL's absolute string, percent-encoded.
convert -size 1280x800 xc:'#2a7fd4' "$pictures/deep sea.png"
convert -size 120x120 xc:'#d01070' "$pictures/padlock.png"
printf 'just some words\n' >"$pictures/notes.png" # a picture by its name only

start_tessarine
wait_until 5 tray_icon_embedded || fail "no tray icon"
open_preferences || fail "Preferences... opened no General pane"
window=$PREFERENCES_WINDOW
mapfile -t centres < <(toolbar_item_centres "$window")
xdotool mousemove --window "$window" "${centres[1]}" 14 click 1
wait_until 5 eval '[ "$(xdotool getwindowname "$window")" = "Appearance — Tessarine" ]' ||
    fail "no Appearance pane"
sleep 0.3

stored() { "$PLIST_KEYS" "$library/properties.plist" | grep -qx "$1"; }
options() { "$PLIST_KEYS" "$library/properties.plist" | tr '\n' ' '; }
panel_shown() { xdotool search --onlyvisible --name "^$1" >/dev/null; }
# Opens the focused menu with space, as a user would, and takes the item STEPS places down.
pick_in_menu() { # STEPS
    xdotool key space
    sleep 0.4
    local keys=""
    (($1 > 0)) && keys=$(printf 'Down %.0s' $(seq "$1"))
    xdotool key $keys Return
}
# Types PATH into the open panel titled TITLE and presses Return; the panel closes and the
# preferences have the keyboard again.
type_into_panel() { # TITLE PATH
    wait_until 5 panel_shown "$1" || fail "no open panel \"$1\""
    local panel
    panel=$(xdotool search --onlyvisible --name "^$1" | head -n1)
    wait_until 5 is_active "$panel" || fail "the open panel does not have the keyboard"
    sleep 0.2
    xdotool type --delay 10 "$2"
    sleep 0.2
    xdotool key Return
    wait_until 5 eval '! panel_shown "$1"' || fail "the open panel stayed open"
    wait_until 5 is_active "$window" || fail "the preferences did not get the keyboard back"
    sleep 0.3
}
windows_now() { visible_windows_outside_tray | sort | tr '\n' ' '; }
before=$(windows_now)

# The lock image's menu has the focus first: Red, ..., Custom... five places down.
xdotool key Tab
pick_in_menu 5
type_into_panel "Select a custom lock image." "$pictures/notes.png"
stored 'lockImageType=integer:0' || fail "a text file changed the lock image: $(options)"
! stored 'lockImageURL=.*' || fail "a text file was stored as lock image: $(options)"
[ "$(windows_now)" = "$before" ] || fail "a window came up for a text file as lock image"
# The menu still shows Custom..., which is chosen again.
pick_in_menu 0
type_into_panel "Select a custom lock image." "$pictures/padlock.png"
wait_until 5 stored 'lockImageType=integer:5' || fail "the lock image was not stored: $(options)"
stored "lockImageURL=string:file://$pictures/padlock.png" || fail "no lockImageURL: $(options)"

# The background's menu, on Brushed Metal; Custom... is the next item.
xdotool key Tab
sleep 0.2
import -window "$window" "$RIG_DIR/before.png"
pick_in_menu 1
type_into_panel "Select a custom background image." "$pictures/notes.png"
stored 'desktopImageType=integer:1' || fail "a text file changed the background: $(options)"
! stored 'desktopImageURL=.*' || fail "a text file was stored as background: $(options)"
[ "$(windows_now)" = "$before" ] || fail "a window came up for a text file as background"
import -window "$window" "$RIG_DIR/after.png"
differing=$(compare -metric AE "$RIG_DIR/before.png" "$RIG_DIR/after.png" null: 2>&1)
[ "$differing" = 0 ] ||
    fail "the pane looks different after a text file as background ($differing pixels): the menu should show Brushed Metal again"

pick_in_menu 1
type_into_panel "Select a custom background image." "$pictures/deep sea.png"
stored 'desktopImageType=integer:2' || fail "the background kind was not stored: $(options)"
stored "desktopImageURL=string:file://$pictures/deep%20sea.png" ||
    fail "no percent-encoded desktopImageURL: $(options)"

# The next lock shows the sea all over and the padlock in the middle.
"$TESSARINE" lock
wait_until 3 keyboard_grabbed_by_other || fail "the lock was not taken"
sleep 0.8
import -window root "$RIG_DIR/locked.png"
for point in "20 20" "20 780" "1260 400" "300 400"; do
    colour_near "$(pixel "$RIG_DIR/locked.png" $point)" "#2a7fd4" ||
        fail "no chosen background at $point: $(pixel "$RIG_DIR/locked.png" $point)"
done
[ "$(count_colour "$RIG_DIR/locked.png" '#d01070')" -gt 5000 ] ||
    fail "the chosen lock image is not on the lock screen"
xdotool type --delay 40 a
wait_until 3 keyboard_free || fail "the password did not unlock"
kill -0 "$TESSARINE_PID" || fail "tessarine exited"
echo "PASS"
