# The first password typed into the first-password window with the keyboard: a mismatch is
# refused with its alert; a match is saved to settings.plist (mode 0600), confirmed, and the
# window closes.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start || fail "the desktop did not come up"
fake_power_supply
library=$XDG_CONFIG_HOME/tessarine

start_tessarine
wait_until 10 xdotool search --onlyvisible --name '^Welcome to Tessarine$' >/dev/null ||
    fail "the first-password window is not mapped"
window=$(xdotool search --onlyvisible --name '^Welcome to Tessarine$' | head -n1)
# Coming to the front is the first-start test's business; here the window just has to get the
# keyboard, as a user would give it: asking the window manager, then clicking the window.
give_keyboard "$window" || fail "the first-password window cannot be given the keyboard"
alert_shown() { xdotool search --onlyvisible --name '^Tessarine$' >/dev/null; }

# Two different passwords: refused.
xdotool type --delay 20 "abc"
xdotool key Tab
xdotool type --delay 20 "abd"
xdotool key Return
wait_until 5 alert_shown || fail "no alert for mismatching passwords"
import -window root "$RIG_DIR/mismatch.png"
[ ! -e "$library/settings.plist" ] || fail "a mismatching password was saved"
xdotool key Return
alert_gone() { ! alert_shown; }
wait_until 5 alert_gone || fail "the alert did not close"

# The same password twice: saved. The keyboard is back in the confirmation field.
wait_until 5 is_active "$window" || fail "the window did not get the keyboard back"
xdotool key ctrl+a BackSpace
xdotool type --delay 20 "Pw9"
xdotool key shift+Tab ctrl+a BackSpace
xdotool type --delay 20 "Pw9"
xdotool key Return
wait_until 5 test -f "$library/settings.plist" || fail "the password was not saved"
wait_until 5 alert_shown || fail "no confirmation"
[ "$(stat -c %a "$library/settings.plist")" = 600 ] || fail "settings.plist is readable by others"
entries=$(grep -o '<string>[^<]*</string>' "$library/settings.plist" | tr -d '\n')
[ "$entries" = "<string>P</string><string>w</string><string>9</string>" ] ||
    fail "settings.plist holds $entries"
visible=$(xdotool search --onlyvisible --name '^Welcome to Tessarine$' || true)
[ -z "$visible" ] || fail "the first-password window is still open"
grep -q 'Pw9' "$RIG_DIR/tessarine.log" && fail "the password appeared in the log"
echo "PASS"
