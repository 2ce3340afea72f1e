# "Clear" chosen in the Appearance pane while the session is Wayland's: the compositor shows
# nothing but the lock surfaces while locked, so no desktop can show through; the lock screen's
# views are drawn over black on every output (the see-through window's own tint makes a dark
# grey of it), never over the desktop, and the password ends the lock as usual. Seen with grim
# from outside.
#   e2e_wayland_clear_background.sh sway|labwc
set -u
compositor=$1
source "$TESTS_DIR/rig/wayland_session.sh"
write_options "<key>desktopImageType</key><integer>1</integer><key>showTime</key><true/>
<key>startAnimation</key><integer>0</integer><key>closeAnimation</key><integer>0</integer>"
session_start
start_tessarine_in_session
# Clear, two places down from Brushed Metal, in the running program (the choice is not stored).
choose_background 2

"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 5 grep -q "the compositor has locked the session" "$RIG_DIR/tessarine.log" ||
    fail "the compositor did not lock"
sleep 1 # the first paint of every view
# On every output: not one pixel of the desktop's magenta; the corner dark; the views drawn (the
# lock image and the clock light at the centre).
for output in $(compositor_outputs); do
    in_chroot grim -o "$output" "$WAYLAND_RUNTIME/$output.png" || fail "no picture of $output"
    shot=$WAYLAND_CHROOT$WAYLAND_RUNTIME/$output.png
    [ -n "${SCREENSHOT_DIR:-}" ] && mkdir -p "$SCREENSHOT_DIR" &&
        cp "$shot" "$SCREENSHOT_DIR/wayland-clear-$output-$compositor.png"
    seen=$(count_colour "$shot" '#ff00ff')
    [ "$seen" = 0 ] || fail "$seen pixels of the desktop show through on $output"
    corner=$(convert "$shot" -crop 40x40+10+10 +repage -colorspace Gray -format '%[fx:maxima]' info:)
    awk -v v="$corner" 'BEGIN { exit !(v < 0.3) }' ||
        fail "the clear background on $output is not dark: $(convert "$shot" -format '%[pixel:p{20,20}]' info:)"
    read -r width height < <(identify -format '%w %h\n' "$shot")
    light=$(convert "$shot" -crop "$((width / 5))x$((height / 3))+$((width * 2 / 5))+$((height / 3))" \
        +repage -colorspace Gray -threshold 50% -format '%[fx:mean]' info:)
    awk -v v="$light" 'BEGIN { exit !(v > 0.01) }' || fail "no lock screen drawn at the centre of $output"
done
unlock_with_password "with the clear background"
echo PASS
