# Each output of a Wayland session shows its own view of the lock screen at its own scale, and
# clicks on a lock surface reach the lock screen's buttons (sway only: labwc has no command that
# moves or clicks its cursor).
#
# Sway runs headless with two outputs: HEADLESS-2 at scale 2 (2560x1600 pixels, 1280x800 in the
# layout) and HEADLESS-1 at scale 1 (1024x768) beside it. Tessarine's X server has the two
# displays XWayland would show, named after the outputs, HEADLESS-2 primary and first in the X
# screen while it is second among the compositor's outputs, so matching by order would fail.
# Seen with grim from outside:
#   - the primary output shows the lock window (the clock under the lock image, the battery),
#     the other the cover (the lock image, no clock);
#   - the scale-2 output's picture has detail finer than its logical pixels: the clock's edges
#     differ within 2x2 blocks, where a picture drawn at scale 1 and scaled up would not;
#   - a click on the background does not unlock, a click on do-not-disturb brings the password
#     field (as on X11);
#   - over each lock surface the pointer shows the cursor theme's arrow at that output's scale:
#     the test's own theme (XCURSOR_PATH, XCURSOR_THEME) has a green 24-pixel square and a blue
#     48-pixel one, and grim's pictures with cursors show 24x24 green pixels on HEADLESS-1 and
#     48x48 blue ones on HEADLESS-2;
#   - both outputs turned to scale 1.5 while locked (the same layout, 1920x1200 and 1536x1152
#     pixels): each picture has the output's own pixels, the lock image's keyhole is 1.5 times
#     its size at scale 1 (3/4 of it at scale 2) in the same place, and the desktop picture's one-pixel
#     line is drawn crisp, black next to white with no grey between, where a picture drawn at
#     another scale and resampled by the compositor would blur it;
#   - the password typed on the lock surface still unlocks.
#   e2e_wayland_outputs.sh sway
set -u
compositor=$1
source "$TESTS_DIR/rig/desktop.sh"
source "$TESTS_DIR/rig/wayland.sh"
if [ ! -x "$WAYLAND_CHROOT/usr/bin/$compositor" ]; then
    echo "SKIPPED: no $compositor in $WAYLAND_CHROOT (tools/wayland-chroot.sh makes it; it needs root)"
    exit 77
fi
[ "$(id -u)" -eq 0 ] || { echo "SKIPPED: the compositor's chroot needs root"; exit 77; }
desktop_start 2304x800 || fail "the desktop did not come up"
# XWayland's view of the outputs below: one RandR monitor each, named after the output.
xrandr --setmonitor '*HEADLESS-2' 1280/338x800/211+0+0 screen &&
    xrandr --setmonitor HEADLESS-1 1024/270x768/203+1280+0 none || fail "no monitors"
fake_power_supply
write_password k3y
# White, with a black line one pixel wide at an odd place (x 101), away from every widget.
convert -size 1280x800 xc:white -fill black -draw 'rectangle 101,0 101,799' "$RIG_DIR/light.png"
write_options "<key>desktopImageType</key><integer>2</integer>
<key>desktopImageURL</key><string>file://$RIG_DIR/light.png</string>
<key>showTime</key><true/><key>showBattery</key><true/><key>showDoNotDisturb</key><true/>
<key>startAnimation</key><integer>0</integer><key>closeAnimation</key><integer>0</integer>
<key>flat</key><false/>"
# The cursor theme Tessarine reads, of squares whose colour tells the size chosen.
/usr/bin/python3 "$TESTS_DIR/tools/xcursor_theme.py" "$RIG_DIR/icons/probe" default 24:00ff00 48:0000ff ||
    fail "no cursor theme"
export XCURSOR_PATH=$RIG_DIR/icons XCURSOR_THEME=probe XCURSOR_SIZE=24
compositor_start "$compositor"
case $? in
0) ;;
2) echo "SKIPPED: the trixie tree cannot be mounted here"; exit 77 ;;
*) fail "$compositor did not start" ;;
esac
in_chroot swaymsg output HEADLESS-2 mode 2560x1600 pos 0 0 scale 2 >/dev/null &&
    in_chroot swaymsg output HEADLESS-1 mode 1024x768 pos 1280 0 scale 1 >/dev/null ||
    fail "the outputs could not be set up"
# Headless sway has no input device: a virtual one gives its seat a pointer to click with.
"$WAYLAND_POINTER_DEVICE" >"$RIG_DIR/pointer.txt" 2>&1 &
RIG_PIDS+=($!)
wait_until 5 grep -q ready "$RIG_DIR/pointer.txt" || fail "no pointer device: $(cat "$RIG_DIR/pointer.txt")"
export XDG_SESSION_TYPE=wayland
"$WAYLAND_DESKTOP" ff00ff >"$RIG_DIR/desktop.txt" 2>&1 &
desktop='srgb(255,0,255)'

shot() { # OUTPUT NAME: grim's picture of the output, its path on the host
    in_chroot grim -o "$1" "$WAYLAND_RUNTIME/$2.png" && echo "$WAYLAND_CHROOT$WAYLAND_RUNTIME/$2.png"
}
share_below() { # SHOT W H X Y LEVEL%
    convert "$1" -crop "$2x$3+$4+$5" +repage -colorspace Gray -threshold "$6%" -negate \
        -format '%[fx:mean]' info:
}
positive() { awk -v v="$1" 'BEGIN { exit !(v > 0) }'; }
lock_shown() { # both outputs show something other than the desktop and the blank lock
    local output colour
    for output in HEADLESS-1 HEADLESS-2; do
        colour=$(output_colour "$output")
        [ "$colour" != "$desktop" ] && [ "$colour" != 'srgb(0,0,0)' ] || return 1
    done
}
unlocked() { [ "$(output_colour HEADLESS-2)" = "$desktop" ]; }
wait_until 5 unlocked || fail "the desktop window is not shown"

start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon"
wait_until 3 grep -q "this Wayland session is locked through its compositor" "$RIG_DIR/tessarine.log" ||
    fail "Tessarine did not take the compositor's lock"
"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 5 lock_shown || fail "not every output shows the lock screen"
sleep 0.8 # the first paint of every view
primary=$(shot HEADLESS-2 primary) || fail "no picture of HEADLESS-2"
cover=$(shot HEADLESS-1 cover) || fail "no picture of HEADLESS-1"
[ -n "${SCREENSHOT_DIR:-}" ] && mkdir -p "$SCREENSHOT_DIR" &&
    cp "$primary" "$SCREENSHOT_DIR/wayland-primary.png" && cp "$cover" "$SCREENSHOT_DIR/wayland-cover.png"

# Full resolution: grim's picture of the scale-2 output has its pixels, 2560x1600.
[ "$(identify -format '%wx%h' "$primary")" = 2560x1600 ] ||
    fail "HEADLESS-2's picture is $(identify -format '%wx%h' "$primary"), not 2560x1600"
# The primary view: black clock text on the white picture under the lock image (the clock's
# band of the 1280x800 layout, doubled), the lock image at the centre, the battery at the bottom.
dark=$(share_below "$primary" 800 92 880 976 8)
awk -v v="$dark" 'BEGIN { exit !(v > 0.01) }' || fail "no clock on the primary output ($dark)"
positive "$(share_below "$primary" 120 120 1220 740 60)" || fail "no lock image on the primary output"
positive "$(share_below "$primary" 120 60 1220 1430 50)" || fail "no battery on the primary output"
# The cover: the lock image at its centre, and nothing where the primary has its clock.
positive "$(share_below "$cover" 60 60 482 354 60)" || fail "no lock image on the cover"
clock=$(share_below "$cover" 400 60 312 468 8)
awk -v v="$clock" 'BEGIN { exit !(v == 0) }' || fail "the further output shows a clock ($clock): not its cover"
positive "$(share_below "$cover" 200 80 412 660 50)" && fail "the further output shows the icon row"
# Sharp at scale 2: point-sampling each 2x2 block and spreading it back over the block leaves a
# picture scaled up from 1280x800 unchanged (0 pixels differ; about 20 if it was scaled up
# smoothly); the clock drawn at 2560x1600 loses its fine edges (several hundred differ).
convert "$primary" -crop 800x92+880+976 +repage "$RIG_DIR/clock.png"
convert "$RIG_DIR/clock.png" -sample 50% -sample 200% "$RIG_DIR/clock-blocks.png"
fine=$(compare -metric AE -fuzz 40% "$RIG_DIR/clock.png" "$RIG_DIR/clock-blocks.png" null: 2>&1)
awk -v v="$fine" 'BEGIN { exit !(v > 200) }' ||
    fail "the scale-2 output's clock has no detail finer than 2x2 pixels ($fine): scaled up, not drawn at scale 2"

# Clicks: sway's cursor, moved and pressed through its seat, on the lock surfaces.
# wl_seat capabilities: 1 is the pointer.
pointer_ready() { in_chroot swaymsg -t get_seats -r | grep -q '"capabilities": [1357]\b'; }
wait_until 3 pointer_ready || fail "the seat has no pointer"
click() { # X Y in the layout (neither 0: sway leaves a 0 coordinate where it was)
    in_chroot swaymsg seat seat0 cursor set "$1" "$2" >/dev/null &&
        sleep 0.2 &&
        in_chroot swaymsg seat seat0 cursor press button1 >/dev/null &&
        in_chroot swaymsg seat seat0 cursor release button1 >/dev/null
}
field_shown() { # the password field under the clock: white with a dark frame, 400x32 pixels
    local now
    now=$(shot HEADLESS-2 field) &&
        awk -v v="$(share_below "$now" 400 32 1080 1092 30)" 'BEGIN { exit !(v > 0.5) }'
}
field_shown && fail "the password field shows before any click"
# On the background of each output: nothing happens, the lock stays.
click 200 200 || fail "swaymsg could not click"
click 1700 100 || fail "swaymsg could not click on HEADLESS-1"
sleep 0.5
lock_shown || fail "a click unlocked"
field_shown && fail "a click on the background brought the password field"
# On do-not-disturb, right of the battery: the password field comes.
click 665 727 || fail "swaymsg could not click"
wait_until 5 field_shown || fail "a click on do-not-disturb did not bring the password field"
lock_shown || fail "the click on do-not-disturb unlocked"
[ -n "${SCREENSHOT_DIR:-}" ] && cp "$WAYLAND_CHROOT$WAYLAND_RUNTIME/field.png" "$SCREENSHOT_DIR/wayland-field.png"

# The cursor: the pointer's square, its hotspot (top-left) at the point, in grim's pictures with
# cursors (-c) of a box around it, in the output's own pixels.
cursor_pixels() { # X Y COLOUR: pixels of that colour in the 60x60 box from X-10,Y-10 of the layout
    in_chroot grim -c -g "$(($1 - 10)),$(($2 - 10)) 60x60" "$WAYLAND_RUNTIME/cursor.png" &&
        convert "$WAYLAND_CHROOT$WAYLAND_RUNTIME/cursor.png" -fill black +opaque "$3" \
            -fill white -opaque "$3" -format '%[fx:int(mean*w*h+0.5)]' info:
}
cursor_shown() { # X Y COLOUR LEAST
    [ "$(cursor_pixels "$1" "$2" "$3")" -ge "$4" ]
}
in_chroot swaymsg seat seat0 cursor set 1700 300 >/dev/null || fail "swaymsg could not move the cursor"
wait_until 3 cursor_shown 1700 300 '#00ff00' 500 ||
    fail "no 24-pixel arrow of the theme over HEADLESS-1 ($(cursor_pixels 1700 300 '#00ff00') green pixels)"
[ "$(cursor_pixels 1700 300 '#00ff00')" -le 600 ] || fail "the arrow over HEADLESS-1 is not 24x24"
in_chroot swaymsg seat seat0 cursor set 300 300 >/dev/null || fail "swaymsg could not move the cursor"
wait_until 3 cursor_shown 300 300 '#0000ff' 2200 ||
    fail "no 48-pixel arrow over the scale-2 output ($(cursor_pixels 300 300 '#0000ff') blue, $(cursor_pixels 300 300 '#00ff00') green pixels)"
[ "$(cursor_pixels 300 300 '#00ff00')" = 0 ] || fail "the scale-2 output shows the 24-pixel arrow"
[ -n "${SCREENSHOT_DIR:-}" ] && cp "$WAYLAND_CHROOT$WAYLAND_RUNTIME/cursor.png" "$SCREENSHOT_DIR/wayland-cursor.png"

# Scale 1.5 on both outputs, the layout as it was: the compositor prefers 1.5 for the lock
# surfaces, which are drawn again at 1920x1200 and 1536x1152 pixels.
box() { # SHOT W H X Y LEVEL%: the box around the crop's pixels darker than LEVEL, "W H X Y"
    convert "$1" -crop "$2x$3+$4+$5" +repage -colorspace Gray -threshold "$6%" -format '%@' info: |
        tr 'x+' '  '
}
scaled_box() { # BOX FACTOR BOX: the second box is the first times FACTOR, to 2 pixels
    awk -v a="$1" -v f="$2" -v b="$3" 'BEGIN { split(a, p, " "); split(b, q, " ")
        for (i = 1; i <= 4; i++) if (p[i] * f - q[i] > 2 || q[i] - p[i] * f > 2) exit 1 }'
}
# The lock image's keyhole: its darkest part, with sharp edges (its shadow is drawn soft).
keyhole_at_2=$(box "$primary" 400 380 1080 600 30)
keyhole_at_1=$(box "$cover" 300 300 362 234 30)
in_chroot swaymsg output HEADLESS-2 mode 1920x1200 pos 0 0 scale 1.5 >/dev/null &&
    in_chroot swaymsg output HEADLESS-1 mode 1536x1152 pos 1280 0 scale 1.5 >/dev/null ||
    fail "the outputs could not be set to scale 1.5"
line_crisp() { # the line, 1.5 logical pixels wide (1 or 2 pixels a row), black on white
    local black grey
    frac_primary=$(shot HEADLESS-2 frac-primary) || return 1
    [ "$(identify -format '%wx%h' "$frac_primary")" = 1920x1200 ] || return 1
    black=$(share_below "$frac_primary" 30 300 140 150 10)
    grey=$(awk -v all="$(share_below "$frac_primary" 30 300 140 150 90)" -v black="$black" \
        'BEGIN { print all - black }')
    awk -v b="$black" -v g="$grey" 'BEGIN { exit !(b >= 0.9 / 30 && b <= 2.1 / 30 && g == 0) }'
}
wait_until 5 line_crisp ||
    fail "HEADLESS-2 at scale 1.5 ($(identify -format '%wx%h' "$frac_primary")) does not show the one-pixel line crisp: black $(share_below "$frac_primary" 30 300 140 150 10), darker than white $(share_below "$frac_primary" 30 300 140 150 90)"
keyhole=$(box "$frac_primary" 300 285 810 450 30)
scaled_box "$keyhole_at_2" 0.75 "$keyhole" ||
    fail "the primary's keyhole at scale 1.5 is '$keyhole' (W H X Y), at scale 2 '$keyhole_at_2'"
cover_scaled() { # the cover's own pixels, its keyhole 1.5 times as large, in the same place
    frac_cover=$(shot HEADLESS-1 frac-cover) || return 1
    [ "$(identify -format '%wx%h' "$frac_cover")" = 1536x1152 ] &&
        scaled_box "$keyhole_at_1" 1.5 "$(box "$frac_cover" 450 450 543 351 30)"
}
wait_until 3 cover_scaled ||
    fail "HEADLESS-1 at scale 1.5 is $(identify -format '%wx%h' "$frac_cover"), its keyhole '$(box "$frac_cover" 450 450 543 351 30)' (W H X Y), at scale 1 '$keyhole_at_1'"
[ -n "${SCREENSHOT_DIR:-}" ] && cp "$frac_primary" "$SCREENSHOT_DIR/wayland-primary-1.5.png" &&
    cp "$frac_cover" "$SCREENSHOT_DIR/wayland-cover-1.5.png"
# wtype's first key is now and then lost to the keyboard's set-up under load: typed again.
wayland_type k3y
wait_until 5 unlocked || { wayland_type k3y && wait_until 5 unlocked; } ||
    fail "the password did not unlock after the clicks"
echo PASS
