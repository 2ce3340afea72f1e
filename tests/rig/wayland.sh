# Real Wayland compositors, run headless from the trixie tree of tools/wayland-chroot.sh: sway
# or labwc with two outputs, reachable from the host through its socket. Source this file, call
# compositor_start sway|labwc, and compositor_stop (or let the EXIT trap do it).

WAYLAND_CHROOT=${TESSARINE_WAYLAND_CHROOT:-/var/cache/tessarine/trixie}
# The tree is shared by every test run on the machine (other checkouts' too): each rig keeps its
# runtime folder, configuration and screenshots under a name of its own (the benchmark chooses).
WAYLAND_RUNTIME=${WAYLAND_RUNTIME:-/run/xdg-$$}
COMPOSITOR_PID=
COMPOSITOR_MOUNTS=()

# in_chroot COMMAND...: a command of the tree's, talking to the running compositor.
in_chroot() {
    local sway_socket
    sway_socket=$(ls "$WAYLAND_CHROOT$WAYLAND_RUNTIME"/sway-ipc.*.sock 2>/dev/null | head -n1)
    chroot "$WAYLAND_CHROOT" env -i PATH=/usr/bin:/bin HOME=/root XDG_RUNTIME_DIR="$WAYLAND_RUNTIME" \
        WAYLAND_DISPLAY="$COMPOSITOR_SOCKET" SWAYSOCK="${sway_socket#"$WAYLAND_CHROOT"}" "$@"
}

compositor_start() {
    local which=$1 mount
    # Status 2: the tree cannot be used here (no bind mounts in this container).
    for mount in proc dev sys; do
        mount --bind "/$mount" "$WAYLAND_CHROOT/$mount" 2>/dev/null || { compositor_stop; return 2; }
        COMPOSITOR_MOUNTS+=("$WAYLAND_CHROOT/$mount")
    done
    rm -rf "$WAYLAND_CHROOT$WAYLAND_RUNTIME"
    mkdir -p -m 700 "$WAYLAND_CHROOT$WAYLAND_RUNTIME"
    local environment=(env -i PATH=/usr/bin:/bin HOME=/root XDG_RUNTIME_DIR="$WAYLAND_RUNTIME"
        WLR_BACKENDS=headless WLR_RENDERER=pixman WLR_LIBINPUT_NO_DEVICES=1 WLR_HEADLESS_OUTPUTS=2
        ${COMPOSITOR_BUS:+DBUS_SESSION_BUS_ADDRESS=$COMPOSITOR_BUS})
    case $which in
    sway)
        # WAYLAND_SWAY_CONFIG: more lines of sway's configuration (the benchmark's refresh rate).
        printf 'output * bg #ff00ff solid_color\n%s\n' "${WAYLAND_SWAY_CONFIG:-}" \
            >"$WAYLAND_CHROOT$WAYLAND_RUNTIME/sway.cfg"
        chroot "$WAYLAND_CHROOT" "${environment[@]}" sway -c "$WAYLAND_RUNTIME/sway.cfg" \
            >"${RIG_DIR:-/tmp}/sway.log" 2>&1 &
        COMPOSITOR_SOCKET=wayland-1
        ;;
    labwc)
        chroot "$WAYLAND_CHROOT" "${environment[@]}" labwc >"${RIG_DIR:-/tmp}/labwc.log" 2>&1 &
        COMPOSITOR_SOCKET=wayland-0
        ;;
    esac
    COMPOSITOR_PID=$!
    # With the X11 rig, both end.
    trap 'compositor_stop; ! declare -F desktop_stop >/dev/null || desktop_stop' EXIT
    # An absolute WAYLAND_DISPLAY leaves the rig's own runtime folder as it is.
    export WAYLAND_DISPLAY=$WAYLAND_CHROOT$WAYLAND_RUNTIME/$COMPOSITOR_SOCKET
    local tries
    for ((tries = 0; tries < 100; tries++)); do
        [ -S "$WAYLAND_DISPLAY" ] && return 0
        sleep 0.05
    done
    return 1
}

compositor_stop() {
    [ -n "$COMPOSITOR_PID" ] && kill "$COMPOSITOR_PID" 2>/dev/null && wait "$COMPOSITOR_PID" 2>/dev/null
    COMPOSITOR_PID=
    local mount
    # A process of the tree still running (a compositor's child) keeps a mount busy: it is then
    # detached lazily, so that mounts never pile up on the tree.
    for mount in "${COMPOSITOR_MOUNTS[@]}"; do
        umount "$mount" 2>/dev/null || umount -l "$mount" 2>/dev/null || true
        # A socket's mount point is a file made for it; the tree's folders stay.
        [ -f "$mount" ] && rm -f "$mount"
    done
    COMPOSITOR_MOUNTS=()
    [ -n "$WAYLAND_RUNTIME" ] && rm -rf "${WAYLAND_CHROOT:?}$WAYLAND_RUNTIME"
}

# compositor_share_session_bus: called before compositor_start, gives the compositor and the
# programs it starts (swaybar) the rig's session bus, its socket bound into the tree, as a
# session's panel would have it.
compositor_share_session_bus() {
    local socket=${DBUS_SESSION_BUS_ADDRESS#unix:path=}
    socket=${socket%%,*}
    [ -S "$socket" ] || return 1
    touch "$WAYLAND_CHROOT$socket" && mount --bind "$socket" "$WAYLAND_CHROOT$socket" || return 1
    COMPOSITOR_MOUNTS+=("$WAYLAND_CHROOT$socket")
    COMPOSITOR_BUS=$DBUS_SESSION_BUS_ADDRESS
}

# output_colour OUTPUT: the colour of a point of that output, as srgb(R,G,B).
output_colour() {
    in_chroot grim -o "$1" "$WAYLAND_RUNTIME/output.png" &&
        convert "$WAYLAND_CHROOT$WAYLAND_RUNTIME/output.png" -format '%[pixel:p{20,20}]' info:
}

# The names of the compositor's outputs that are on, one a line: sway's by its command, labwc's
# through output management where the tests' tool is at hand (WAYLAND_OUTPUT_SWITCH), else the
# two it starts with.
compositor_outputs() {
    case $COMPOSITOR_SOCKET in
    wayland-1) in_chroot swaymsg -t get_outputs -r | grep -o '"name": "[^"]*"' | cut -d'"' -f4 ;;
    *)
        if [ -n "${WAYLAND_OUTPUT_SWITCH:-}" ]; then
            "$WAYLAND_OUTPUT_SWITCH" list | awk '$2 == "on" { print $1 }'
        else
            printf 'HEADLESS-1\nHEADLESS-2\n'
        fi
        ;;
    esac
}

# Types TEXT and Return into whatever holds the keyboard; wtype's first key is lost without a
# moment for the receiving client to set its keyboard up.
wayland_type() {
    # wtype reads its text as UTF-8 only in a UTF-8 locale.
    in_chroot env LC_ALL=C.UTF-8 wtype -s 100 "$1" -k Return
}

# wayland_rig_start COMPOSITOR: for a test without the X11 rig, RIG_DIR made and the compositor
# started; the test is skipped, and says why, only where the tree cannot be had (ctest shows it
# as skipped), and fails when the compositor does not start.
wayland_rig_start() {
    if [ ! -x "$WAYLAND_CHROOT/usr/bin/$1" ]; then
        echo "SKIPPED: no $1 in $WAYLAND_CHROOT (tools/wayland-chroot.sh makes it; it needs root)"
        exit 77
    fi
    [ "$(id -u)" -eq 0 ] || { echo "SKIPPED: the compositor's chroot needs root"; exit 77; }
    RIG_DIR=$(mktemp -d)
    compositor_start "$1"
    case $? in
    0) ;;
    2) echo "SKIPPED: the trixie tree cannot be mounted here"; exit 77 ;;
    *) echo "FAIL: $1 did not start" >&2; exit 1 ;;
    esac
}
