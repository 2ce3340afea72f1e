# swaybar as the panel: in a sway session (headless, from the trixie tree) whose bar has a tray
# and starts after Tessarine, Tessarine's icon registers with swaybar's own watcher and the bar
# draws it; when the bar restarts (sway reloads its configuration) the icon is drawn again, and a
# click on it (sway's cursor, on a virtual pointer of the test's own) locks through sway.
set -u
source "$TESTS_DIR/rig/desktop.sh"
source "$TESTS_DIR/rig/wayland.sh"
if [ ! -x "$WAYLAND_CHROOT/usr/bin/swaybar" ]; then
    echo "SKIPPED: no swaybar in $WAYLAND_CHROOT (tools/wayland-chroot.sh makes it; it needs root)"
    exit 77
fi
[ "$(id -u)" -eq 0 ] || { echo "SKIPPED: the compositor's chroot needs root"; exit 77; }
desktop_start || fail "the desktop did not come up"
fake_power_supply
write_password k3y
# A Wayland panel offers no X tray.
tray=$(pgrep -x trayer -n)
for pid in "${RIG_PIDS[@]}"; do
    if [ "$pid" = "$tray" ]; then kill "$pid"; wait "$pid" 2>/dev/null; fi
done
compositor_share_session_bus || { echo "SKIPPED: the session bus cannot be shared with the tree"; exit 77; }
compositor_start sway
case $? in
0) ;;
2) echo "SKIPPED: the trixie tree cannot be mounted here"; exit 77 ;;
*) fail "sway did not start" ;;
esac
export XDG_SESSION_TYPE=wayland
sni() { /usr/bin/python3 "$TESTS_DIR/tools/sni_host.py" "$@"; }

# The bar's right end, where its tray draws icons: the pixels other than the bar's black.
tray_pixels() {
    in_chroot grim -o HEADLESS-1 "$WAYLAND_RUNTIME/bar.png" || { echo 0; return; }
    convert "$WAYLAND_CHROOT$WAYLAND_RUNTIME/bar.png" -gravity SouthEast -crop 40x16+0+2 +repage \
        -colorspace Gray -threshold 5% -format '%[fx:round(mean*w*h)]' info:
}
icon_drawn() { (($(tray_pixels) > 20)); }
registered_once() { [ "$(sni items 2>/dev/null | wc -l)" = 1 ]; }
bar_config=$'bar {\n    position bottom\n    tray_output *\n}'

start_tessarine
wait_until 5 grep -q 'no system tray is running' "$RIG_DIR/tessarine.log" ||
    fail "Tessarine did not say that no tray runs"
# The panel starts: sway's configuration gains a bar, and sway reloads it.
printf 'output * bg #ff00ff solid_color\n%s\n' "$bar_config" >"$WAYLAND_CHROOT$WAYLAND_RUNTIME/sway.cfg"
in_chroot swaymsg reload >/dev/null || fail "sway did not reload"
wait_until 10 registered_once || fail "the icon did not register with swaybar: $(sni items 2>&1)"
wait_until 10 icon_drawn || fail "swaybar does not draw the icon ($(tray_pixels) pixels)"

# The bar restarts with the next reload: the icon comes back.
old_bars=$(pgrep -x swaybar | tr '\n' ' ')
echo "bars before the reload: $old_bars"
old_bars_gone() {
    local pid
    for pid in $old_bars; do kill -0 "$pid" 2>/dev/null && return 1; done
    return 0
}
in_chroot swaymsg reload >/dev/null || fail "sway did not reload again"
wait_until 10 old_bars_gone || fail "the bar did not restart (before: $old_bars; now: $(pgrep -x swaybar | tr '\n' ' '))"
wait_until 10 registered_once || fail "the icon did not register with the new bar"
wait_until 10 icon_drawn || fail "the new bar does not draw the icon"

# A click on the icon, where the bar draws it: swaybar asks the item to activate, which locks.
# Headless sway has no input device; a virtual one gives its seat a pointer.
"$WAYLAND_POINTER_DEVICE" >"$RIG_DIR/pointer.txt" 2>&1 &
RIG_PIDS+=($!)
wait_until 5 grep -q ready "$RIG_DIR/pointer.txt" || fail "no pointer device: $(cat "$RIG_DIR/pointer.txt")"
in_chroot grim -o HEADLESS-1 "$WAYLAND_RUNTIME/bar.png" || fail "no picture of the bar"
bar="$WAYLAND_CHROOT$WAYLAND_RUNTIME/bar.png"
read -r width height < <(identify -format '%w %h\n' "$bar")
# The icon's box within the tray corner: its pixels other than the bar's black, trimmed.
read -r icon_w icon_h icon_x icon_y < <(convert "$bar" -gravity SouthEast -crop 40x16+0+2 +repage \
    -colorspace Gray -threshold 5% -trim -format '%w %h %X %Y\n' info: | tr -d +)
x=$((width - 40 + icon_x + icon_w / 2))
y=$((height - 18 + icon_y + icon_h / 2))
echo "the icon's centre: $x,$y"
outside_desktop() { # every output shows neither the desktop nor sway's blank
    local output colour
    for output in $(compositor_outputs); do
        colour=$(output_colour "$output")
        [ "$colour" != 'srgb(255,0,255)' ] && [ "$colour" != 'srgb(255,0,0)' ] || return 1
    done
}
outside_desktop && fail "the desktop does not show before the click"
in_chroot swaymsg seat seat0 cursor set "$x" "$y" >/dev/null &&
    sleep 0.2 &&
    in_chroot swaymsg seat seat0 cursor press button1 >/dev/null &&
    in_chroot swaymsg seat seat0 cursor release button1 >/dev/null || fail "swaymsg could not click"
wait_until 5 outside_desktop || fail "a click on the icon in swaybar did not lock"
wayland_type k3y
wait_until 5 [ "$(output_colour HEADLESS-1)" = 'srgb(255,0,255)' ] || fail "the password did not unlock"
echo PASS
