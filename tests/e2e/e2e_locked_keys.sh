# While locked, the keyboard belongs to the lock screen alone: 1,000 keys typed through XTest (as a
# real keyboard types: a grab can stop these, unlike events sent to a window) reach no other
# window, and none of the window manager's shortcuts acts. The keys mix letters, digits,
# punctuation, Return, Escape, Tab, BackSpace, the arrows, the function keys and openbox's own
# bindings (Alt+Tab, Alt+F4, Alt+Escape, Alt+space, Ctrl+Alt+arrows, Super+F1..F4, Super+d...).
# None of them is a key of the password, so the lock is still up afterwards; then the password
# opens it, and the window that had the keyboard gets keys again.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
desktop_colour=#336699
write_password k3y
# A thousand keys that unlock nothing would make the lock take keys slowly (e2e_guessing tests
# that): turned off here, so that the password typed right after them counts.
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>
<key>slowGuesses</key><false/>"

# Two windows of another client: the first has the keyboard, the second is there for Alt+Tab to
# switch to and Alt+F4 to close the first.
"$X11_PROBE" record-keys "$RIG_DIR/keys.txt" &
victim=$!
wait_until 5 grep -q mapped "$RIG_DIR/keys.txt" || fail "the recording window did not map"
wait_until 5 xdotool search --name '^tessarine-probe$' >/dev/null || fail "the window has no name"
victim_window=$(xdotool search --name '^tessarine-probe$')
"$X11_PROBE" record-keys "$RIG_DIR/other.txt" &
other=$!
wait_until 5 grep -q mapped "$RIG_DIR/other.txt" || fail "the second window did not map"
other_window() { xdotool search --name '^tessarine-probe$' | grep -vx "$victim_window"; }
wait_until 5 other_window >/dev/null || fail "the second window has no name"
# openbox gives a new window the focus: that is waited for, so that it is not taken back below.
wait_until 3 is_active "$(other_window)" || true
give_keyboard "$victim_window" || fail "the recording window cannot be given the keyboard"
xdotool mousemove 640 400
desktop_number=$(xdotool get_desktop)
[ "$(xdotool get_num_desktops)" -gt 1 ] || fail "openbox has one desktop: Ctrl+Alt+Right proves nothing"
keys_seen() { grep -c -E '^(key|release) ' "$1" || true; }

# Unlocked, the keys do reach it, and openbox's bindings act: the test can see both.
xdotool key z
wait_until 3 test "$(keys_seen "$RIG_DIR/keys.txt")" -ge 2 ||
    fail "the window receives no keys (active: $(xdotool getactivewindow), it: $victim_window)"
xdotool key ctrl+alt+Right
wait_until 3 test "$(xdotool get_desktop)" != "$desktop_number" || fail "openbox's bindings do not act"
xdotool key ctrl+alt+Left
wait_until 3 test "$(xdotool get_desktop)" = "$desktop_number" || fail "openbox did not come back"
give_keyboard "$victim_window" || fail "the recording window lost the keyboard"
sleep 0.3

start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon"
"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 3 keyboard_grabbed_by_other || fail "the lock did not grab the keyboard"
sleep 0.5
before=$(keys_seen "$RIG_DIR/keys.txt")
before_other=$(keys_seen "$RIG_DIR/other.txt")
windows_before=$("$X11_PROBE" viewable)

# 1,000 keys, the same on every run.
printable=(a b c d e f g h i j l m n o p q r s t u v w x z A B Q W Z 0 1 2 4 5 6 7 8 9 space
    minus equal bracketleft bracketright semicolon apostrophe grave backslash comma period slash
    exclam at dollar percent)
editing=(Return Escape Tab BackSpace Delete Home End Prior Next Insert Up Down Left Right
    shift+Tab ctrl+a ctrl+c ctrl+v ctrl+z)
function_keys=(F1 F2 F3 F4 F5 F6 F7 F8 F9 F10 F11 F12)
bindings=(alt+Tab alt+shift+Tab ctrl+alt+Tab alt+F4 alt+Escape alt+space alt+F2 ctrl+alt+Left
    ctrl+alt+Right ctrl+alt+Up ctrl+alt+Down shift+alt+Left shift+alt+Right super+F1 super+F2
    super+F3 super+F4 super+d super+e super+shift+Right alt+Print Print)
RANDOM=8
keys=()
for ((i = 0; i < 1000; i++)); do
    case $((RANDOM % 4)) in
    0 | 1) group=("${printable[@]}") ;;
    2) group=("${editing[@]}" "${function_keys[@]}") ;;
    3) group=("${bindings[@]}") ;;
    esac
    keys+=("${group[RANDOM % ${#group[@]}]}")
done
for key in Return Escape Tab BackSpace F1 F12 alt+Tab alt+F4 super+d ctrl+alt+Right; do
    printf '%s\n' "${keys[@]}" | grep -qx -- "$key" || fail "the stream has no $key"
done
xdotool key --delay 2 "${keys[@]}" || fail "xdotool could not type the keys"
sleep 0.5

seen=$(($(keys_seen "$RIG_DIR/keys.txt") - before))
seen_other=$(($(keys_seen "$RIG_DIR/other.txt") - before_other))
echo "${#keys[@]} keys typed while locked; events at the focused window: $seen, at the other: $seen_other"
[ "$seen" = 0 ] || fail "$seen key events reached the focused window"
[ "$seen_other" = 0 ] || fail "$seen_other key events reached the other window"
kill -0 "$victim" && [ "$(ps -o stat= -p "$victim" | cut -c1)" != Z ] ||
    fail "the focused window's client was closed"
[ "$(xdotool get_desktop)" = "$desktop_number" ] || fail "openbox switched the desktop"
[ "$("$X11_PROBE" viewable)" = "$windows_before" ] ||
    fail "windows were mapped, unmapped or restacked: $(diff <(echo "$windows_before") <("$X11_PROBE" viewable) | tr '\n' ' ')"
# Still locked: the keyboard held, the desktop hidden.
keyboard_grabbed_by_other || fail "the lock let go of the keyboard"
import -window root "$RIG_DIR/locked.png"
[ "$(count_colour "$RIG_DIR/locked.png" "$desktop_colour")" = 0 ] ||
    fail "the desktop shows after the keys"

# The password opens it; the window has the keyboard again.
xdotool type --delay 40 k3y
wait_until 3 keyboard_free || fail "the password did not unlock after the keys"
wait_until 3 is_active "$victim_window" || fail "the focused window is no longer active"
[ "$(keys_seen "$RIG_DIR/keys.txt")" = "$before" ] ||
    fail "the password reached the window: $(tail -n 4 "$RIG_DIR/keys.txt" | tr "\n" " ")"
xdotool key z
wait_until 3 test "$(keys_seen "$RIG_DIR/keys.txt")" -ge $((before + 2)) ||
    fail "the window gets no keys after the unlock"
grep -q 'k3y' "$RIG_DIR/tessarine.log" && fail "the password appeared in the log"
kill "$victim" "$other"
wait "$victim" "$other" 2>/dev/null
echo PASS
