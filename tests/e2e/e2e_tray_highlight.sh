# The tray icon is drawn highlighted, its white glyph on a coloured background, while the mouse
# button is held on it and while its menu is open, and plainly otherwise.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
write_password "ab"
highlight=#3875d7
start_tessarine
wait_until 5 tray_icon_embedded || fail "no tray icon"
icon=$(tray_icon_windows | head -n1)
# The icon's window is looked up each time: the tray may embed a new one for a new image.
highlighted_pixels() {
    local window
    window=$(tray_icon_windows | head -n1)
    import -window "$window" "$RIG_DIR/icon.png" 2>/dev/null || { echo 0; return; }
    count_colour "$RIG_DIR/icon.png" "$highlight"
}
highlighted() { [ "$(highlighted_pixels)" -gt 20 ]; }
sleep 0.3
[ "$(highlighted_pixels)" = 0 ] || fail "the icon is highlighted at rest"

# Held down: highlighted; dragged off and let go: plain again, and no lock.
xdotool mousemove --window "$icon" 11 11 mousedown 1
wait_until 5 highlighted ||
    fail "the icon is not highlighted while the button is held on it"
xdotool mousemove 640 400 mouseup 1
sleep 0.3
[ "$(highlighted_pixels)" = 0 ] || fail "the icon stays highlighted after the press"
keyboard_free || fail "a press dragged off the icon locked"

# The menu open: highlighted until it closes.
open_tray_menu || fail "the menu did not open"
[ "$(highlighted_pixels)" -gt 20 ] || fail "the icon is not highlighted while its menu is open"
xdotool key Escape
sleep 0.3
[ "$(highlighted_pixels)" = 0 ] || fail "the icon stays highlighted after the menu closed"
echo PASS
