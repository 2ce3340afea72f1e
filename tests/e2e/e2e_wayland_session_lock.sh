# A lock through a real compositor's session-lock protocol, on sway or labwc run headless from
# the trixie tree (tools/wayland-chroot.sh): every output covered with the lock's picture (sway:
# one added while locked too), a wrong word leaves it locked, the password unlocks; killed while
# locked, the compositor keeps the session locked and a new lock client takes it over.
#   e2e_wayland_session_lock.sh sway|labwc
set -u
compositor=$1
source "$TESTS_DIR/rig/wayland.sh"
fail() { echo "FAIL: $*" >&2; exit 1; }
wayland_rig_start "$compositor"
covered_with() { # COLOUR: every output shows it (and there are outputs to see)
    local outputs output
    outputs=$(compositor_outputs) && [ -n "$outputs" ] || return 1
    for output in $outputs; do
        [ "$(output_colour "$output")" = "$1" ] || return 1
    done
}
shown_anywhere() { # COLOUR: some output shows it
    local output
    for output in $(compositor_outputs); do
        [ "$(output_colour "$output")" = "$1" ] && return 0
    done
    return 1
}
lock_probe() { # COLOUR
    "$WAYLAND_LOCK_PROBE" "$1" >"$RIG_DIR/probe.txt" 2>&1 &
    PROBE_PID=$!
}
green='srgb(32,192,96)'
blue='srgb(32,32,192)'
# The desktop: a magenta window on every output. What the compositor shows for a lock whose
# client died: sway red, labwc black.
desktop='srgb(255,0,255)'
case $compositor in
sway) blank='srgb(255,0,0)' ;;
*) blank='srgb(0,0,0)' ;;
esac
"$WAYLAND_DESKTOP" ff00ff >"$RIG_DIR/desktop.txt" 2>&1 &
DESKTOP_PID=$!
trap 'kill $DESKTOP_PID 2>/dev/null; compositor_stop' EXIT
for ((i = 0; i < 50; i++)); do covered_with "$desktop" && break; sleep 0.1; done
covered_with "$desktop" || fail "the desktop window is not shown on every output"

lock_probe '#20c060'
for ((i = 0; i < 50; i++)); do covered_with "$green" && break; sleep 0.1; done
covered_with "$green" || fail "not every output shows the lock: $(grep -c . "$RIG_DIR/probe.txt")"
if [ "$compositor" = sway ]; then
    in_chroot swaymsg create_output >/dev/null || fail "no output could be added"
    sleep 0.5
    covered_with "$green" || fail "an output added while locked is not covered"
fi
wayland_type nope
sleep 0.5
covered_with "$green" || fail "a wrong word unlocked"
wayland_type pass
wait "$PROBE_PID" || fail "the probe did not unlock"
for ((i = 0; i < 30; i++)); do covered_with "$desktop" && break; sleep 0.1; done
covered_with "$desktop" || fail "the password did not give the desktop back"

# Killed while locked: the compositor keeps the session locked; a new client takes it over.
lock_probe '#c02060'
sleep 1
kill -KILL "$PROBE_PID"
wait "$PROBE_PID" 2>/dev/null
for ((i = 0; i < 30; i++)); do covered_with "$blank" && break; sleep 0.1; done
covered_with "$blank" || fail "the outputs do not show $compositor's blank after the lock client died"
for ((i = 0; i < 5; i++)); do
    shown_anywhere "$desktop" && fail "the session was given back when the lock client died"
    sleep 0.2
done
lock_probe '#2020c0'
for ((i = 0; i < 50; i++)); do covered_with "$blue" && break; sleep 0.1; done
covered_with "$blue" || fail "a new lock client could not take the lock over"
wayland_type pass
wait "$PROBE_PID" || fail "the password did not unlock the taken-over lock"
echo PASS
