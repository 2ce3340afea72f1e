# The contact line on the lock screen: the built-in "If found please call" at first, centred
# 200 points above the bottom edge; a text typed in the Appearance pane lands in
# properties.plist and shows, wider, at the next lock; an emptied field shows none.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
library=$XDG_CONFIG_HOME/tessarine
write_password a
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>"
# A dark, plain desktop picture: the text is drawn white over it.
convert -size 1280x800 xc:'#203040' "$HOME/desktop.png"
printf "#!/bin/sh\nfeh --no-fehbg --bg-fill '%s'\n" "$HOME/desktop.png" >"$HOME/.fehbg"
stored() { "$PLIST_KEYS" "$library/properties.plist" | grep -qx "$1"; }

# The light text's box, as "width left top", in the band where the contact line lies (its
# baseline 200 points above the bottom edge), or nothing.
contact_box() { # LABEL
    xdotool mousemove 5 5
    "$TESSARINE" lock || fail "$1: tessarine lock failed"
    wait_until 3 keyboard_grabbed_by_other || fail "$1: the lock did not grab the keyboard"
    sleep 0.8
    import -window root "$RIG_DIR/$1.png"
    xdotool type --delay 60 a
    wait_until 5 keyboard_free || fail "$1: the password did not unlock"
    convert "$RIG_DIR/$1.png" -crop 1280x40+0+570 +repage -colorspace Gray -threshold 70% \
        -trim -format '%w %X %Y' info: 2>/dev/null | tr -d '+'
}

start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon"
read -r width left _ <<<"$(contact_box builtin)"
echo "built-in contact line: ${width:-none} wide from x ${left:-?}"
[ "${width:-0}" -gt 80 ] && [ "${width:-0}" -lt 400 ] || fail "no contact line on the lock screen"
centre=$((left + width / 2))
[ "$centre" -gt 600 ] && [ "$centre" -lt 680 ] || fail "the contact line is not centred (centre $centre)"

# The user's own text, typed in the Appearance pane.
open_preferences || fail "no preferences window"
window=$PREFERENCES_WINDOW
read -r -a items <<<"$(toolbar_item_centres "$window" | tr '\n' ' ')"
xdotool mousemove --window "$window" "${items[1]}" 14 click 1
wait_until 5 xdotool search --onlyvisible --name '^Appearance$' >/dev/null || fail "no Appearance pane"
field_text() { "$PLIST_KEYS" "$library/properties.plist" | grep '^contactText=' || true; }
# The field is the pane's last control: reached backwards from the toolbar.
xdotool key --window "$window" shift+Tab
xdotool key --window "$window" ctrl+a BackSpace
xdotool type --window "$window" --delay 20 "If found, please call +44 20 7946 0018. Reward!"
xdotool key --window "$window" Return
wait_until 5 stored 'contactText=string:If found, please call +44 20 7946 0018. Reward!' ||
    fail "the contact line did not reach the file: $(field_text)"
read -r width2 left2 _ <<<"$(contact_box own)"
echo "own contact line: ${width2:-none} wide from x ${left2:-?}"
[ "${width2:-0}" -gt $((width + 100)) ] || fail "the user's longer text did not show ($width2 against $width)"
centre=$((left2 + width2 / 2))
[ "$centre" -gt 600 ] && [ "$centre" -lt 680 ] || fail "the user's contact line is not centred (centre $centre)"

# Kept over a restart; an empty text shows no line.
stop_tessarine
start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon after the restart"
read -r width3 _ <<<"$(contact_box restarted)"
[ "${width3:-0}" = "$width2" ] || fail "after a restart the line is ${width3:-none} wide, not $width2"
stop_tessarine
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer><key>contactText</key><string></string>"
start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon with an empty contact line"
box=$(contact_box empty)
[ -z "$box" ] || [ "${box%% *}" -le 1 ] || fail "an empty contact line still shows something: $box"
kill -0 "$TESSARINE_PID" || fail "tessarine ended"
echo PASS
