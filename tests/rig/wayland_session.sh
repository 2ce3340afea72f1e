# A Wayland session for Tessarine's end-to-end tests: the X11 rig (tests/rig/desktop.sh), on
# whose X server Tessarine draws as it would through XWayland, and sway or labwc run headless
# (tests/rig/wayland.sh) with a magenta window on every output, so that the desktop, the
# compositor's blank and the lock screen can be told apart. Source it with the compositor's name
# in $compositor; it exits 77 (skipped, with the reason) where the tree or root is missing.
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

desktop='srgb(255,0,255)'
# What the compositor shows while it holds the lock of a client that died: sway red, labwc black.
case $compositor in
sway) blank='srgb(255,0,0)' ;;
*) blank='srgb(0,0,0)' ;;
esac

# session_start: the compositor and the magenta window on every output.
session_start() {
    compositor_start "$compositor"
    case $? in
    0) ;;
    2) echo "SKIPPED: the trixie tree cannot be mounted here"; exit 77 ;;
    *) fail "$compositor did not start" ;;
    esac
    "$WAYLAND_DESKTOP" ff00ff >"$RIG_DIR/desktop.txt" 2>&1 &
    [ "$(compositor_outputs | wc -l)" = 2 ] || fail "$compositor did not make two outputs: $(compositor_outputs | paste -sd' ')"
    wait_until 5 desktop_shown || fail "the desktop window is not shown on every output"
}
export XDG_SESSION_TYPE=wayland

# The colour of a point of each output that is on, one a line; false when the outputs cannot be
# listed or one cannot be read, so that no check below holds for want of a picture.
output_colours() {
    local outputs output colour
    outputs=$(compositor_outputs) && [ -n "$outputs" ] || return 1
    for output in $outputs; do
        colour=$(output_colour "$output") && [[ $colour == srgb\(* ]] || return 1
        echo "$colour"
    done
}
every_output_shows() { # COLOUR
    local colours
    colours=$(output_colours) || return 1
    ! grep -vqxF -- "$1" <<<"$colours"
}
desktop_shown() { every_output_shows "$desktop"; }
blank_shown() { every_output_shows "$blank"; }
# Some output shows the desktop (a colour read, not a failed reading).
desktop_shown_anywhere() {
    local colours
    colours=$(output_colours) || return 1
    grep -qxF -- "$desktop" <<<"$colours"
}
# Every output shows something other than the desktop, the compositor's blank and black.
lock_shown() {
    local colours
    colours=$(output_colours) || return 1
    ! grep -qxF -e "$desktop" -e "$blank" -e 'srgb(0,0,0)' <<<"$colours"
}
# stays SECONDS CHECK WHAT: CHECK holds all that time, else the test fails with WHAT.
stays() {
    local deadline=$(($(now_us) + $(awk "BEGIN { print int($1 * 1000000) }")))
    while (($(now_us) < deadline)); do
        "$2" || fail "$3"
    done
}
# Lines of Tessarine's log (over every start) that hold TEXT.
log_count() {
    local count
    count=$(grep -c -- "$1" "$RIG_DIR/tessarine.log" 2>/dev/null)
    echo "${count:-0}"
}
# Started, with its tray icon, and said it locks through the compositor.
start_tessarine_in_session() {
    local said=$(log_count "locked through its compositor")
    start_tessarine
    wait_until 10 tray_icon_embedded || fail "no tray icon"
    wait_until 3 [ "$(log_count "locked through its compositor")" -gt "$said" ] ||
        fail "Tessarine did not take the compositor's lock"
}
# Types the password until the desktop shows again: wtype's first key is now and then lost to
# the keyboard's set-up under load, and a password typed whole after the lost key still unlocks.
unlock_with_password() { # WHAT
    wayland_type k3y
    wait_until 5 desktop_shown && return 0
    wayland_type k3y
    wait_until 5 desktop_shown || fail "$1: the password did not unlock"
}

# A virtual pointer of the test's own on the seat (tests/tools/wayland_pointer_device): headless
# compositors have none, and labwc has no command that clicks. Its standard input takes the
# actions (pointer_act).
pointer_start() {
    mkfifo "$RIG_DIR/pointer.in"
    "$WAYLAND_POINTER_DEVICE" <"$RIG_DIR/pointer.in" >"$RIG_DIR/pointer.txt" 2>&1 &
    RIG_PIDS+=($!)
    exec {POINTER_ACTIONS}>"$RIG_DIR/pointer.in"
    wait_until 5 grep -q ready "$RIG_DIR/pointer.txt" ||
        fail "no pointer device: $(cat "$RIG_DIR/pointer.txt")"
}
pointer_answers() { grep -c -e done -e failed "$RIG_DIR/pointer.txt"; }
pointer_answered() { [ "$(pointer_answers)" -gt "$1" ]; }
# pointer_act ACTION...: one line to the pointer, answered once the compositor has it.
pointer_act() {
    local before
    before=$(pointer_answers)
    echo "$*" >&"$POINTER_ACTIONS"
    wait_until 3 pointer_answered "$before" && [ "$(tail -n 1 "$RIG_DIR/pointer.txt")" = done ]
}
# The layout's size (grim's picture of every output) in layout_w and layout_h, and HEADLESS-1's
# (at 0,0) in output_w and output_h. Each output shows the whole of the rig's 1280x800 X screen
# fitted to it: a lock screen's point X Y is at X * output_w / 1280, Y * output_h / 800.
measure_outputs() {
    in_chroot grim "$WAYLAND_RUNTIME/layout.png" || fail "no picture of the layout"
    read -r layout_w layout_h < <(identify -format '%w %h\n' "$WAYLAND_CHROOT$WAYLAND_RUNTIME/layout.png")
    in_chroot grim -o HEADLESS-1 "$WAYLAND_RUNTIME/first.png" || fail "no picture of HEADLESS-1"
    read -r output_w output_h < <(identify -format '%w %h\n' "$WAYLAND_CHROOT$WAYLAND_RUNTIME/first.png")
}
# pointer_click X Y: the lock screen's point X Y on HEADLESS-1 clicked (measure_outputs first).
pointer_click() {
    pointer_act move $(($1 * output_w / 1280)) $(($2 * output_h / 800)) "$layout_w" "$layout_h" &&
        sleep 0.2 && pointer_act click
}
