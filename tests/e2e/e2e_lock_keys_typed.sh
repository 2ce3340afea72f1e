# Keys pressed on the lock screen through the real X server, as a person presses them: Caps
# Lock shows and hides the caps-lock notice; keys that type nothing (volume, mute, brightness,
# Num Lock) and the hot key's own combination are no keys of the password, so a password typed
# around them still unlocks.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
write_password "abc"
write_options "<key>closeAnimation</key><integer>0</integer><key>orderMatters</key><true/>
<key>showCapslock</key><true/><key>showTime</key><false/><key>useShortcut</key><true/>
<key>shortcutModifier1</key><integer>0</integer><key>shortcutModifier2</key><integer>256</integer>
<key>shortcutModifier3</key><integer>2048</integer><key>shortcutKey</key><integer>37</integer>
<key>shortcutString</key><string>L</string>"
start_tessarine
wait_until 5 tray_icon_embedded || fail "no tray icon"
lock() {
    "$TESSARINE" lock || fail "tessarine lock failed"
    wait_until 2 keyboard_grabbed_by_other || fail "the lock did not take the keyboard"
    sleep 0.8
}
differing_pixels() { compare -metric AE "$1" "$2" null: 2>&1 || true; }

# Caps Lock: the notice comes with the first press and goes with the second.
lock
import -window root "$RIG_DIR/caps-off.png"
xdotool key Caps_Lock
sleep 0.3
import -window root "$RIG_DIR/caps-on.png"
xdotool key Caps_Lock
sleep 0.3
import -window root "$RIG_DIR/caps-off-again.png"
[ "$(differing_pixels "$RIG_DIR/caps-off.png" "$RIG_DIR/caps-on.png")" -gt 100 ] ||
    fail "Caps Lock turned on shows no notice"
[ "$(differing_pixels "$RIG_DIR/caps-off.png" "$RIG_DIR/caps-off-again.png")" = 0 ] ||
    fail "Caps Lock turned off leaves the notice"
xdotool type --delay 40 abc
wait_until 3 keyboard_free || fail "the password did not unlock"

# Keys that type nothing between the password's keys.
lock
xdotool key --delay 60 a XF86AudioRaiseVolume b XF86AudioMute XF86MonBrightnessUp Num_Lock c
wait_until 3 keyboard_free || fail "keys that type nothing broke the password typed around them"
xdotool key Num_Lock # back as it was

# The hot key's combination while locked.
lock
xdotool key --delay 60 a super+alt+l b c
wait_until 3 keyboard_free || fail "the hot key pressed while locked was taken as a key"
echo PASS
