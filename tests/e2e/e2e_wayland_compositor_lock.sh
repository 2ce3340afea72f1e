# Tessarine in a Wayland session whose compositor offers the session-lock protocol (sway or
# labwc, headless from the trixie tree): the lock is the compositor's, every output shows the
# lock screen, a wrong key nudges the picture down and back as on X11 and keeps the lock, the
# password typed on the lock surface (wtype) unlocks, a password beyond ASCII unlocks as on X11,
# and Tessarine killed while locked leaves the session locked. Tessarine draws its windows on the
# rig's X server, as it would through XWayland.
#   e2e_wayland_compositor_lock.sh sway|labwc
set -u
compositor=$1
source "$TESTS_DIR/rig/wayland_session.sh"
# Wrong keys nudge the lock window 40 points down and back in 0.2 s; the closing itself cannot be
# seen on Wayland (the compositor shows the desktop at the unlock).
write_options "<key>closeAnimation</key><integer>2</integer><key>wiggleStrength</key><integer>40</integer>
<key>startAnimation</key><integer>0</integer>"
session_start

start_tessarine_in_session
"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 5 lock_shown || fail "not every output shows the lock screen"

# The nudge, seen from outside: one column of the first output (through the line under the lock
# image and the background's weave, clear of the lock image, which swings with each key) sampled
# with grim while wrong keys come 0.5 s apart (a key within 0.4 s of a nudge nudges nothing).
# Some sample shows the picture moved down, and once the keys stop it is back in its place.
in_chroot grim -o HEADLESS-1 "$WAYLAND_RUNTIME/rest.png" || fail "no picture of the lock screen"
rest="$WAYLAND_CHROOT$WAYLAND_RUNTIME/rest.png"
[ -n "${SCREENSHOT_DIR:-}" ] && mkdir -p "$SCREENSHOT_DIR" && cp "$rest" "$SCREENSHOT_DIR/wayland-lock-$compositor.png"
read -r width height < <(identify -format '%w %h\n' "$rest")
column_x=$((width * 45 / 100))
most=$((height / 10)) # the nudge is 40 of the lock screen's 800 points, fitted to the output
column_now() { # FILE: the column as the output shows it now
    in_chroot grim -g "$column_x,0 1x$height" -t ppm - >"$1" 2>/dev/null
}
sleep 0.5 # the first paint has settled, and the swing of the lock image at the opening has ended
column_now "$RIG_DIR/rest.ppm" || fail "grim could not sample the lock screen"
in_chroot env LC_ALL=C.UTF-8 wtype -s 100 q -s 500 w -s 500 q -s 500 w &
typist=$!
samples=()
while kill -0 "$typist" 2>/dev/null; do
    samples+=("$RIG_DIR/nudge-${#samples[@]}.ppm")
    column_now "${samples[-1]}"
done
wait "$typist" || fail "wtype could not type"
sleep 0.5
column_now "$RIG_DIR/after.ppm" || fail "grim could not sample the lock screen after the nudges"
/usr/bin/python3 "$TESTS_DIR/tools/picture_shift.py" "$RIG_DIR/rest.ppm" "$most" \
    "${samples[@]}" "$RIG_DIR/after.ppm" >"$RIG_DIR/shifts.txt" || fail "the samples could not be read"
echo "shift, error, error unmoved, uncovered of ${#samples[@]} samples and the last: $(paste -sd, "$RIG_DIR/shifts.txt")"
# Moved: best matched 2 or more pixels down, closely, and clearly unlike the picture at rest.
awk '$1 >= 2 && $2 < 2 && $3 > $2 + 1.5 { found = 1 } END { exit !found }' <(head -n -1 "$RIG_DIR/shifts.txt") ||
    fail "no sample shows the lock screen nudged by the wrong keys"
# Above the moved picture, the one beneath the lock window (the dark green circuit picture, as the
# X server shows it), not black.
awk '$1 >= 3 && $2 < 2 && $3 > $2 + 1.5 && $4 < 8 { found = 1 } END { exit found }' <(head -n -1 "$RIG_DIR/shifts.txt") ||
    fail "the nudge uncovered black, not the picture beneath the lock window"
# Back: the last sample is the picture at rest.
tail -n 1 "$RIG_DIR/shifts.txt" | awk '{ exit !($1 == 0 && $2 < 2) }' ||
    fail "the lock screen did not come back after the nudge ($(tail -n 1 "$RIG_DIR/shifts.txt"))"
lock_shown || fail "the wrong keys unlocked"
wayland_type wrong
sleep 0.5
lock_shown || fail "a wrong password unlocked"
wayland_type k3y
wait_until 5 desktop_shown || fail "the password did not unlock"

# A password beyond ASCII, typed as the compositor's keymap gives it (wtype maps the character).
stop_tessarine
write_password "hé"
# No closing movement from here on: the lock below is asked for right after an unlock.
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>"
start_tessarine_in_session
"$TESSARINE" lock || fail "tessarine lock failed with the accented password"
wait_until 5 lock_shown || fail "the lock with the accented password is not shown"
wayland_type he
sleep 0.5
lock_shown || fail "a plain e stood for é"
wayland_type hé
wait_until 5 desktop_shown || fail "the password hé did not unlock"

# Killed while locked: the compositor keeps the session locked.
"$TESSARINE" lock || fail "tessarine lock failed the second time"
wait_until 5 lock_shown || fail "the second lock is not shown"
kill -KILL "$TESSARINE_PID"
wait "$TESSARINE_PID" 2>/dev/null
TESSARINE_PID=
sleep 0.5
desktop_shown && fail "the session was given back when Tessarine died"
echo PASS
