# Clicks on the lock screen's buttons through a compositor that has no command of its own that
# clicks (labwc): a virtual pointer of the test's own (wayland_pointer_device, the wlroots
# virtual-pointer protocol) moves to a point of the layout and presses the left button. Seen with
# grim from outside: a click on the lock screen's background changes nothing and does not
# unlock; a click on do-not-disturb brings the password field (as on X11); the password typed on
# the lock surface still unlocks. The pointer shows Tessarine's own arrow where the cursor theme
# has none: the theme here (XCURSOR_THEME) holds only a green "wait" cursor, XCURSOR_SIZE is 64,
# and grim's picture with cursors shows a dark arrow over 40 pixels tall at the pointer and no
# green (labwc's own arrow, shown when a client sets none, is 14 pixels tall). Each output shows
# the whole of the rig's 1280x800 X screen (no RandR monitor is named after an output), fitted to
# the output, so the points below are the lock screen's, scaled to the output.
#   e2e_wayland_clicks.sh labwc|sway
set -u
compositor=$1
source "$TESTS_DIR/rig/wayland_session.sh"
# The lock screen of e2e_wayland_outputs: a white picture, on which the field's frame is dark.
convert -size 1280x800 xc:white "$RIG_DIR/light.png"
write_options "<key>desktopImageType</key><integer>2</integer>
<key>desktopImageURL</key><string>file://$RIG_DIR/light.png</string>
<key>showTime</key><true/><key>showBattery</key><true/><key>showDoNotDisturb</key><true/>
<key>startAnimation</key><integer>0</integer><key>closeAnimation</key><integer>0</integer>
<key>flat</key><false/>"
# A theme without an arrow: neither "default" nor "left_ptr".
/usr/bin/python3 "$TESTS_DIR/tools/xcursor_theme.py" "$RIG_DIR/icons/bare" wait 64:00ff00 ||
    fail "no cursor theme"
export XCURSOR_PATH=$RIG_DIR/icons XCURSOR_THEME=bare XCURSOR_SIZE=64
session_start
pointer_start

start_tessarine_in_session
"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 5 lock_shown || fail "not every output shows the lock screen"
sleep 0.8 # the first paint of every view

measure_outputs
echo "layout ${layout_w}x$layout_h, HEADLESS-1 ${output_w}x$output_h"

share_below() { # SHOT W H X Y LEVEL%: of the lock screen's points, scaled to the output
    convert "$1" -crop "$(($2 * output_w / 1280))x$(($3 * output_h / 800))+$(($4 * output_w / 1280))+$(($5 * output_h / 800))" \
        +repage -colorspace Gray -threshold "$6%" -negate -format '%[fx:mean]' info:
}
field_shown() { # the password field under the clock: white with a dark frame, 200x16 points
    in_chroot grim -o HEADLESS-1 "$WAYLAND_RUNTIME/field.png" &&
        awk -v v="$(share_below "$WAYLAND_CHROOT$WAYLAND_RUNTIME/field.png" 200 16 540 546 30)" \
            'BEGIN { exit !(v > 0.5) }'
}
field_shown && fail "the password field shows before any click"
[ -n "${SCREENSHOT_DIR:-}" ] && mkdir -p "$SCREENSHOT_DIR" &&
    cp "$WAYLAND_CHROOT$WAYLAND_RUNTIME/field.png" "$SCREENSHOT_DIR/wayland-unclicked-$compositor.png"
# On the background: nothing happens, the lock stays.
pointer_click 200 200 || fail "the virtual pointer could not click: $(cat "$RIG_DIR/pointer.txt")"
sleep 0.5
lock_shown || fail "a click unlocked"
field_shown && fail "a click on the background brought the password field"
# On do-not-disturb, right of the battery: the password field comes.
pointer_click 665 727 || fail "the virtual pointer could not click on do-not-disturb"
wait_until 5 field_shown || fail "a click on do-not-disturb did not bring the password field"
lock_shown || fail "the click on do-not-disturb unlocked"
[ -n "${SCREENSHOT_DIR:-}" ] && mkdir -p "$SCREENSHOT_DIR" &&
    cp "$WAYLAND_CHROOT$WAYLAND_RUNTIME/field.png" "$SCREENSHOT_DIR/wayland-field-$compositor.png"

# The arrow drawn by Tessarine, its tip at the pointer on the white background.
pointer_act move 200 180 "$layout_w" "$layout_h" || fail "the virtual pointer could not move"
arrow_height() { # of the dark pixels in the box below and right of the pointer
    in_chroot grim -c -g "195,175 80x80" "$WAYLAND_RUNTIME/arrow.png" &&
        convert "$WAYLAND_CHROOT$WAYLAND_RUNTIME/arrow.png" -colorspace Gray -threshold 30% -negate \
            -bordercolor black -border 1 -trim -format '%h' info:
}
arrow_shown() { [ "$(arrow_height)" -ge 40 ]; }
wait_until 3 arrow_shown || fail "no arrow of Tessarine's own at the pointer ($(arrow_height) pixels tall)"
[ "$(convert "$WAYLAND_CHROOT$WAYLAND_RUNTIME/arrow.png" -fill black +opaque '#00ff00' -fill white \
    -opaque '#00ff00' -format '%[fx:int(mean*w*h+0.5)]' info:)" = 0 ] ||
    fail "the theme's wait cursor shows at the pointer"
[ -n "${SCREENSHOT_DIR:-}" ] && cp "$WAYLAND_CHROOT$WAYLAND_RUNTIME/arrow.png" "$SCREENSHOT_DIR/wayland-arrow-$compositor.png"
unlock_with_password "after the clicks"
echo PASS
