# Tessarine in a Wayland session whose compositor offers the session-lock protocol (sway or
# labwc, headless from the trixie tree): the lock is the compositor's, every output shows the
# lock screen, a wrong key nudges the picture down and back as on X11 and keeps the lock, the
# password typed on the lock surface (wtype) unlocks, in any order as a chord by default and
# only in order where order matters, a password beyond ASCII unlocks as on X11, Caps Lock shows
# and hides the caps-lock notice, an output added while locked shows the lock screen, and
# Tessarine killed while locked leaves the session locked. Tessarine draws its windows on the
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
# Typed as a chord, its keys in another order (the default: order does not matter).
wayland_type y3k
wait_until 5 desktop_shown || fail "the password typed as a chord (y3k) did not unlock"

# A password beyond ASCII, typed as the compositor's keymap gives it (wtype maps the character).
stop_tessarine
write_password "hé"
# No closing movement from here on: the lock below is asked for right after an unlock. The order
# of the keys matters now, and no clock changes the picture while Caps Lock is looked for.
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>
<key>orderMatters</key><true/><key>showTime</key><false/><key>showCapslock</key><true/>"
start_tessarine_in_session
"$TESSARINE" lock || fail "tessarine lock failed with the accented password"
wait_until 5 lock_shown || fail "the lock with the accented password is not shown"

# Caps Lock, from the compositor's keyboard state: the notice comes with the first press and goes
# with the second, on a keyboard that tells the compositor its modifiers as a real one does
# (wtype's keyboard never locks Caps Lock).
differing_pixels() { compare -metric AE "$1" "$2" null: 2>&1 || true; }
output_now() { in_chroot grim -o HEADLESS-1 "$WAYLAND_RUNTIME/$1.png" && echo "$WAYLAND_CHROOT$WAYLAND_RUNTIME/$1.png"; }
sleep 0.5 # the opening's fade is over
caps_off=$(output_now caps-off) || fail "no picture of the lock screen"
mkfifo "$RIG_DIR/caps-again"
"$WAYLAND_COVER_TIMER" caps <"$RIG_DIR/caps-again" >"$RIG_DIR/caps.txt" 2>&1 &
typist=$!
exec 3>"$RIG_DIR/caps-again"
wait_until 5 grep -qx on "$RIG_DIR/caps.txt" || fail "Caps Lock could not be pressed ($(cat "$RIG_DIR/caps.txt"))"
notice_shown() { [ "$(differing_pixels "$caps_off" "$(output_now caps-on)")" -gt 100 ]; }
wait_until 3 notice_shown || fail "Caps Lock did not bring the caps-lock notice"
echo again >&3
exec 3>&-
# Its word, not its exit status: the tool leaves its Wayland objects to the connection's end,
# which the sanitizer build's leak check counts.
wait "$typist"
grep -qx off "$RIG_DIR/caps.txt" || fail "Caps Lock could not be pressed again ($(cat "$RIG_DIR/caps.txt"))"
notice_gone() { [ "$(differing_pixels "$caps_off" "$(output_now caps-off-again)")" -lt 20 ]; }
wait_until 3 notice_gone ||
    fail "Caps Lock again did not take the caps-lock notice away ($(differing_pixels "$caps_off" "$(output_now caps-off-again)") pixels differ)"

wayland_type he
sleep 0.5
lock_shown || fail "a plain e stood for é"
# In order now: the right keys the wrong way round do not unlock.
wayland_type éh
sleep 0.5
lock_shown || fail "the password's keys the wrong way round unlocked, though their order matters"
wayland_type hé
wait_until 5 desktop_shown || fail "the password hé did not unlock"

# An output added while locked shows the lock screen too, and never, in any sample taken while
# it comes, what it shows unlocked. sway makes one by command (it shows sway's magenta
# background unlocked); headless labwc makes its outputs at its start only, so one of them is
# turned off and on again, first unlocked (to see what it shows then) and then while locked
# (through output management, as a display settings program would): to Tessarine an output
# plugged in. labwc shows such an output black unlocked, as its blank, so there only sway's
# samples could catch the desktop; on both the lock screen must come.
case $compositor in
sway) unlocked_look=$desktop ;;
labwc)
    "$WAYLAND_OUTPUT_SWITCH" off HEADLESS-2 || fail "the second output could not be turned off"
    wait_until 5 [ "$(compositor_outputs)" = HEADLESS-1 ] || fail "the second output stayed on"
    "$WAYLAND_OUTPUT_SWITCH" on HEADLESS-2 || fail "the second output could not be turned on"
    wait_until 5 [ "$(compositor_outputs | wc -l)" = 2 ] || fail "the second output did not come back"
    sleep 0.5
    unlocked_look=$(output_colour HEADLESS-2) || fail "no picture of the second output"
    "$WAYLAND_OUTPUT_SWITCH" off HEADLESS-2 || fail "the second output could not be turned off again"
    wait_until 5 [ "$(compositor_outputs)" = HEADLESS-1 ] || fail "the second output stayed on"
    ;;
esac
echo "an added output shows $unlocked_look unlocked"
"$TESSARINE" lock || fail "tessarine lock failed the second time"
wait_until 5 lock_shown || fail "the second lock is not shown"
before=$(compositor_outputs)
case $compositor in
sway) in_chroot swaymsg create_output >/dev/null || fail "no output could be added" ;;
labwc) "$WAYLAND_OUTPUT_SWITCH" on HEADLESS-2 || fail "the second output could not be turned on" ;;
esac
new_output() { compositor_outputs | grep -vxF "$before"; }
wait_until 5 new_output >/dev/null || fail "the added output did not come"
added=$(new_output)
samples=0
deadline=$(($(now_us) + 5000000))
while (($(now_us) < deadline)); do
    colour=$(output_colour "$added") || continue
    samples=$((samples + 1))
    [ "$colour" = "$unlocked_look" ] && [ "$colour" != "$blank" ] && [ "$colour" != 'srgb(0,0,0)' ] &&
        fail "the output added while locked showed what it shows unlocked ($colour)"
    lock_shown && break
done
lock_shown || fail "the output added while locked does not show the lock screen"
echo "the added output $added: $samples samples before the lock screen showed on it"

# Killed while locked: the compositor keeps the session locked, blank on every output.
kill -KILL "$TESSARINE_PID"
wait "$TESSARINE_PID" 2>/dev/null
TESSARINE_PID=
wait_until 3 blank_shown || fail "the compositor's blank does not show on every output after Tessarine died"
desktop_gone() { ! desktop_shown_anywhere; }
stays 1 desktop_gone "the session was given back when Tessarine died"
echo PASS
