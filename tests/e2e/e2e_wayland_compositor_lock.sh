# Tessarine in a Wayland session whose compositor offers the session-lock protocol (sway or
# labwc, headless from the trixie tree): the lock is the compositor's, every output shows the
# lock screen, a wrong password keeps it, the password typed on the lock surface (wtype) unlocks,
# and Tessarine killed while locked leaves the session locked. Tessarine draws its windows on the
# rig's X server, as it would through XWayland.
#   e2e_wayland_compositor_lock.sh sway|labwc
set -u
compositor=$1
source "$TESTS_DIR/rig/desktop.sh"
source "$TESTS_DIR/rig/wayland.sh"
if [ ! -x "$WAYLAND_CHROOT/usr/bin/$compositor" ]; then
    echo "SKIPPED: no $compositor in $WAYLAND_CHROOT (tools/wayland-chroot.sh makes it; it needs root)"
    exit 77
fi
[ "$(id -u)" -eq 0 ] || { echo "SKIPPED: the compositor's chroot needs root"; exit 77; }
desktop_start || fail "the desktop did not come up"
fake_power_supply
write_password k3y
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>"
compositor_start "$compositor"
case $? in
0) ;;
2) echo "SKIPPED: the trixie tree cannot be mounted here"; exit 77 ;;
*) fail "$compositor did not start" ;;
esac
export XDG_SESSION_TYPE=wayland
# A magenta window on every output: the desktop to tell from a blank lock (black on labwc).
"$WAYLAND_DESKTOP" ff00ff >"$RIG_DIR/desktop.txt" 2>&1 &
desktop='srgb(255,0,255)'
desktop_shown() {
    local output
    for output in $(compositor_outputs); do
        [ "$(output_colour "$output")" = "$desktop" ] || return 1
    done
}
wait_until 5 desktop_shown || fail "the desktop window is not shown on every output"
lock_shown() { # every output shows something other than the desktop and the blank lock
    local output colour
    for output in $(compositor_outputs); do
        colour=$(output_colour "$output")
        [ "$colour" != "$desktop" ] && [ "$colour" != 'srgb(0,0,0)' ] || return 1
    done
}
# Given back: every output shows the desktop window again.
unlocked() {
    local output colour
    for output in $(compositor_outputs); do
        colour=$(output_colour "$output")
        [ "$colour" = "$desktop" ] || return 1
    done
}

start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon"
wait_until 3 grep -q "this Wayland session is locked through its compositor" "$RIG_DIR/tessarine.log" ||
    fail "Tessarine did not take the compositor's lock"
"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 5 lock_shown || fail "not every output shows the lock screen"
wayland_type wrong
sleep 0.5
lock_shown || fail "a wrong password unlocked"
wayland_type k3y
wait_until 5 unlocked || fail "the password did not unlock"

# Killed while locked: the compositor keeps the session locked.
"$TESSARINE" lock || fail "tessarine lock failed the second time"
wait_until 5 lock_shown || fail "the second lock is not shown"
kill -KILL "$TESSARINE_PID"
wait "$TESSARINE_PID" 2>/dev/null
TESSARINE_PID=
sleep 0.5
unlocked && fail "the session was given back when Tessarine died"
echo PASS
