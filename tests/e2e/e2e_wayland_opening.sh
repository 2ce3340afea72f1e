# The opening of a lock in a Wayland session (sway or labwc, headless): the compositor hides the
# desktop the moment the lock is asked for, so the chosen slide cannot be seen; the lock screen
# fades in over the blank instead. Frames are sampled (grim, one pixel) while it opens: at least
# one shows the lock screen part way (darker than it ends, not black), and once the desktop has
# gone it never shows again. Tried up to five times, since a frame is caught only by chance (grim
# takes 50 to 200 ms a frame, the fade 400 ms).
#   e2e_wayland_opening.sh sway|labwc
set -u
compositor=$1
source "$TESTS_DIR/rig/wayland_session.sh"
# The default opening: slid down from above the display.
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>2</integer>"
session_start
start_tessarine_in_session

# One pixel of the first output, as "R G B".
pixel_now() {
    in_chroot grim -g "20,20 1x1" -t ppm - 2>/dev/null | tail -c 3 | od -An -tu1 | xargs
}
# part_way SAMPLE FINAL: darker than the end, and not black.
part_way() {
    local s=($1) f=($2)
    ((s[0] + s[1] + s[2] > 0)) || return 1
    ((s[0] + s[1] + s[2] + 6 < f[0] + f[1] + f[2])) || return 1
    ((s[0] <= f[0] + 3 && s[1] <= f[1] + 3 && s[2] <= f[2] + 3))
}

faded=
for ((round = 0; round < 5; round++)); do
    samples=()
    "$TESSARINE" lock &
    locker=$!
    deadline=$(($(now_us) + 1200000))
    while (($(now_us) < deadline)); do samples+=("$(pixel_now)"); done
    wait "$locker" || fail "tessarine lock failed"
    wait_until 5 lock_shown || fail "the lock screen is not shown"
    final=$(pixel_now)
    echo "round $round: ${#samples[@]} frames: $(printf '[%s] ' "${samples[@]}") final [$final]"
    gone=
    for sample in "${samples[@]}"; do
        if [ "$sample" = "255 0 255" ]; then
            [ -z "$gone" ] || fail "the desktop showed again while the lock opened"
        else
            gone=1
            part_way "$sample" "$final" && faded=1
        fi
    done
    unlock_with_password "the opening's lock"
    [ -n "$faded" ] && break
    sleep 0.5
done
[ -n "$faded" ] || fail "no frame showed the lock screen fading in"
echo PASS
