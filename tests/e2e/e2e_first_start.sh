# First start in a fresh profile: the tray icon, the options file and the password window; then a
# second start with both files present, which shows nothing but the icon.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start || fail "the desktop did not come up"
fake_power_supply
library=$XDG_CONFIG_HOME/tessarine

# Everything below must be true within 5 s of the start.
deadline=$(($(now_us) + 5000000))
start_tessarine
wait_until_deadline $deadline tray_icon_embedded || fail "the tray icon was not embedded within 5 s"
wait_until_deadline $deadline test -f "$library/properties.plist" || fail "no properties.plist"
[ "$(stat -c %a "$library")" = 700 ] || fail "the Library folder is not private"

expected="shortcutKey=integer:37
shortcutModifier1=integer:0
shortcutModifier2=integer:256
shortcutModifier3=integer:2048
shortcutString=string:L
showBattery=boolean:true
showDoNotDisturb=boolean:true
showMusic=boolean:true
showShutDown=boolean:true
showTime=boolean:true
timeout=boolean:true
timeoutTime=integer:5
useShortcut=boolean:true"
# The start writes the options file twice (the defaults, then the hot key's): each write is whole,
# so the file is read until it holds the second.
holds_expected() { [ "$("$PLIST_KEYS" "$library/properties.plist")" = "$expected" ]; }
wait_until_deadline $deadline holds_expected ||
    fail "properties.plist holds: $("$PLIST_KEYS" "$library/properties.plist" 2>&1)"
[ ! -e "$library/settings.plist" ] || fail "settings.plist exists before a password was set"

wait_until_deadline $deadline xdotool search --onlyvisible --name '^Welcome to Tessarine$' >/dev/null ||
    fail "the first-password window is not mapped"
window=$(xdotool search --onlyvisible --name '^Welcome to Tessarine$' | head -n1)
[ "$(xdotool getwindowpid "$window")" = "$TESSARINE_PID" ] || fail "the window is not ours"
wait_until_deadline $deadline is_active "$window" || fail "the first-password window is not in front"
stop_tessarine

# A password file and the options file: the second start shows no window.
cat >"$library/settings.plist" <<'PLIST'
<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<array>
	<string>a</string>
</array>
</plist>
PLIST
before=$(sha256sum <"$library/properties.plist")
: >"$RIG_DIR/tessarine.log"
start_tessarine
wait_until 5 tray_icon_embedded || fail "the tray icon was not embedded on the second start"
sleep 1
shown=$(visible_windows_outside_tray)
[ -z "$shown" ] || fail "the second start mapped windows: $shown"
[ "$(sha256sum <"$library/properties.plist")" = "$before" ] || fail "the second start rewrote the options"
kill -0 "$TESSARINE_PID" || fail "tessarine exited"
# No login manager in the rig: said once, and the program runs on.
[ "$(grep -c 'locking before sleep is unavailable' "$RIG_DIR/tessarine.log")" = 1 ] ||
    fail "a missing login manager was not reported once: $(cat "$RIG_DIR/tessarine.log")"
echo "PASS"
