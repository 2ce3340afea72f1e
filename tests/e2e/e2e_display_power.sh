# The display while locked, against a backlight folder of the rig's own: dimmed to the lock
# brightness with the two scripts run first, back at the unlock; turned dark by the time-out and
# brought back by a key.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start || fail "the desktop did not come up"
fake_power_supply
write_password ab
backlight=$RIG_DIR/backlight/panel
mkdir -p "$backlight"
echo 100 >"$backlight/max_brightness"
echo 80 >"$backlight/brightness"
export TESSARINE_BACKLIGHT_DIR=$RIG_DIR/backlight
# Scripts that say when they ran.
export TESSARINE_SCRIPTS_DIR=$RIG_DIR/scripts
mkdir -p "$TESSARINE_SCRIPTS_DIR"
for name in animateOn Tessarine; do
    printf '#!/bin/sh\necho %s >>"%s"\n' "$name" "$RIG_DIR/scripts.txt" >"$TESSARINE_SCRIPTS_DIR/$name"
    chmod +x "$TESSARINE_SCRIPTS_DIR/$name"
done
level() { cat "$backlight/brightness"; }
level_is() { [ "$(level)" = "$1" ]; }

# Dimmed for the lock.
write_options "<key>dim</key><true/><key>lockBrightnes</key><real>0.3</real>
<key>timeout</key><false/><key>closeAnimation</key><integer>0</integer>"
start_tessarine
wait_until 5 tray_icon_embedded || fail "no tray icon"
"$TESSARINE" lock
wait_until 3 level_is 30 || fail "the display was not dimmed: $(level)"
[ "$(tr '\n' ' ' <"$RIG_DIR/scripts.txt")" = "animateOn Tessarine " ] ||
    fail "the scripts did not run in order: $(cat "$RIG_DIR/scripts.txt")"
sleep 0.5
xdotool type --delay 40 ab
wait_until 3 keyboard_free || fail "the password did not unlock"
wait_until 3 level_is 80 || fail "the brightness did not come back: $(level)"
stop_tessarine

# Dark after the time-out (0 minutes: at once), back with the first key.
write_options "<key>timeout</key><true/><key>timeoutTime</key><integer>0</integer>
<key>closeAnimation</key><integer>0</integer>"
: >"$RIG_DIR/tessarine.log"
start_tessarine
wait_until 5 tray_icon_embedded || fail "no tray icon"
"$TESSARINE" lock
wait_until 3 level_is 0 || fail "the display did not go dark: $(level)"
grep -q '^tessarine: turning off$' "$RIG_DIR/tessarine.log" || fail "no log line"
sleep 0.5
xdotool type --delay 40 ab
wait_until 3 keyboard_free || fail "the password did not unlock"
# The key brought it back, and the time-out (0 minutes) took it away again at once.
[ "$(grep -c 'turning off' "$RIG_DIR/tessarine.log")" -ge 2 ] || fail "the first key did not bring the display back"
echo PASS
