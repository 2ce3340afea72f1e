# A lock asked for while every monitor is switched off (a closed lid): the lock still covers the
# whole X screen and holds keyboard and pointer, and the password unlocks.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
desktop_colour=#336699
write_password "ab"
"$X11_PROBE" record-keys "$RIG_DIR/keys.txt" &
recorder=$!
wait_until 5 grep -q mapped "$RIG_DIR/keys.txt" || fail "the recording window did not map"
# Xvfb's one output switched off: RandR then lists it with no mode in use (xrandr itself
# complains that it cannot shrink the screen to nothing, which is why its status is ignored).
xrandr --output screen --off 2>/dev/null
xrandr | grep -q '^screen connected [0-9]' && fail "the output is still on"
start_tessarine
wait_until 5 tray_icon_embedded || fail "no tray icon"
xdotool mousemove 640 400

"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 2 keyboard_grabbed_by_other || fail "the keyboard was not grabbed with no monitor on"
wait_until 2 pointer_grabbed_by_other ||
    fail "the pointer was not grabbed with no monitor on"
sleep 0.6
import -window root "$RIG_DIR/locked.png"
[ "$(count_colour "$RIG_DIR/locked.png" "$desktop_colour")" = 0 ] ||
    fail "the desktop shows through the lock"
xdotool key --delay 30 z z
sleep 0.2
[ "$(grep -c '^key' "$RIG_DIR/keys.txt")" = 0 ] || fail "a key reached the window under the lock"

xdotool type --delay 40 ab
wait_until 3 keyboard_free || fail "the password did not unlock"
kill "$recorder"
wait "$recorder" 2>/dev/null
echo PASS
