# The lock screen's text at two device pixels per point: the caps-lock notice, pressed for with
# a real Caps Lock key, lands in the bottom-right corner of the primary display, whole, and the
# contact line is centred on it, both at QT_SCALE_FACTOR=2 and with two monitors of different
# scales (QT_SCREEN_SCALE_FACTORS), where the other monitor is covered all the same.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1920x1080 || fail "the desktop did not come up"
fake_power_supply
write_password k3y
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>"
# A dark, plain desktop picture: the text is drawn white over it.
convert -size 1920x1080 xc:'#203040' "$HOME/desktop.png"
printf "#!/bin/sh\nfeh --no-fehbg --bg-fill '%s'\n" "$HOME/desktop.png" >"$HOME/.fehbg"

# The box, as WxH+X+Y in device pixels, of what changed between two screenshots within the
# bottom strip of the screen (the clock above may turn a minute meanwhile).
changed_box() { # BEFORE AFTER STRIP_TOP
    convert "$1" "$2" -compose difference -composite -crop "1920x$((1080 - $3))+0+$3" +repage \
        -threshold 10% -trim -format '%w %h %X %Y' info: 2>/dev/null | tr -d '+'
}
caps_check() { # LABEL LEFT_MIN RIGHT_MAX
    local box w h x y
    import -window root "$RIG_DIR/before.png"
    xdotool key Caps_Lock
    sleep 0.5
    import -window root "$RIG_DIR/after.png"
    xdotool key Caps_Lock
    box=$(changed_box "$RIG_DIR/before.png" "$RIG_DIR/after.png" 900)
    read -r w h x y <<<"$box"
    echo "$1: the notice's pixels ${w}x${h} at $x,$y below the strip's top"
    [ -n "$box" ] && [ "${w:-0}" -gt 20 ] && [ "${w:-0}" -lt 1920 ] ||
        fail "$1: no caps-lock notice showed on the screen ($box)"
    [ "$x" -ge "$2" ] && [ $((x + w)) -le "$3" ] ||
        fail "$1: the notice lies at x $x to $((x + w)), not within $2 to $3"
    [ "$((y + h))" -le 180 ] || fail "$1: the notice runs past the bottom edge"
}

# One display at scale 2: 960 x 540 points. The notice's 140-point box ends at the right edge.
export QT_SCALE_FACTOR=2
start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon"
"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 3 keyboard_grabbed_by_other || fail "the lock did not grab the keyboard"
sleep 1
caps_check "scale 2" $(((960 - 140) * 2)) 1920
xdotool type --delay 60 k3y
wait_until 5 keyboard_free || fail "the password did not unlock at scale 2"
stop_tessarine
unset QT_SCALE_FACTOR

# Two monitors: the left one (the primary) at scale 2, the right one at 1; a bright window
# waits on the right one. Xvfb keeps its own monitor over the whole screen too, like a mirrored
# display: its cover must stay below the primary lock window.
xrandr --setmonitor left 960/254x1080/286+0+0 none &&
    xrandr --setmonitor right 960/254x1080/286+960+0 none || fail "no second monitor"
"$X11_PROBE" popup 1100 100 600 800 00ff00 "$RIG_DIR/bright.txt" >/dev/null 2>&1 &
RIG_PIDS+=($!)
wait_until 5 grep -q mapped "$RIG_DIR/bright.txt" || fail "the bright window did not map"
export QT_SCREEN_SCALE_FACTORS="left=2;right=1;screen=1"
start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon with two monitors"
"$TESSARINE" lock || fail "tessarine lock failed with two monitors"
wait_until 3 keyboard_grabbed_by_other || fail "the lock did not grab the keyboard with two monitors"
sleep 1
import -window root "$RIG_DIR/two.png"
bright=$(count_colour "$RIG_DIR/two.png" '#00ff00')
[ "$bright" = 0 ] || fail "$bright pixels of the window on the second monitor show through the lock"
caps_check "two monitors, scales 2 and 1" $(((480 - 140) * 2)) 960
xdotool type --delay 60 k3y
wait_until 5 keyboard_free || fail "the password did not unlock with two monitors"
kill -0 "$TESSARINE_PID" || fail "tessarine ended"
echo PASS
