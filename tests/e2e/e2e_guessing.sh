# A machine types guesses at the lock screen: a stream of digits, as fast as xdotool types.
# After 200 keys that unlock nothing, the lock screen says that keys are taken slowly, and the
# keys past a short burst are dropped; the password still unlocks once typed calmly. With the
# Security pane's setting off (slowGuesses false), nothing is slowed.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
notice_colour=#8b5a00
write_password "k3y"
stream=$(for ((i = 0; i < 320; i++)); do printf '%d' $((i * 7 % 10)); done)

lock_and_stream() {
    start_tessarine
    wait_until 5 tray_icon_embedded || fail "no tray icon"
    "$TESSARINE" lock || fail "tessarine lock failed"
    wait_until 2 keyboard_grabbed_by_other || fail "the lock did not take the keyboard"
    sleep 0.6
    xdotool type --delay 2 "$stream"
    sleep 0.3
}

write_options "<key>closeAnimation</key><integer>0</integer>"
lock_and_stream
keyboard_grabbed_by_other || fail "the stream of digits unlocked"
import -window root "$RIG_DIR/slow.png"
[ "$(count_colour "$RIG_DIR/slow.png" "$notice_colour")" -gt 1000 ] ||
    fail "the lock screen does not say that keys are taken slowly"
# Typed at once after the stream, the password's keys find no room: the burst is spent.
xdotool type --delay 40 k3y
sleep 0.5
keyboard_grabbed_by_other || fail "keys were taken at full speed after the stream"
# Typed calmly, after the keys have come back (one every 2 s), the password unlocks.
sleep 8
xdotool type --delay 40 k3y
wait_until 3 keyboard_free || fail "the password did not unlock once typed calmly"
stop_tessarine

# With the setting off, the same stream slows nothing.
write_options "<key>closeAnimation</key><integer>0</integer><key>slowGuesses</key><false/>"
lock_and_stream
import -window root "$RIG_DIR/fast.png"
[ "$(count_colour "$RIG_DIR/fast.png" "$notice_colour")" = 0 ] ||
    fail "keys are said to be slowed with the setting off"
xdotool type --delay 40 k3y
wait_until 3 keyboard_free || fail "the password did not unlock with the setting off"
echo PASS
