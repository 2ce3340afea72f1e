# "Clear" chosen in the Appearance pane of a running program shows the desktop through the lock
# screen at the next lock, under a compositing manager (xcompmgr), and is not written to
# properties.plist; Brushed Metal chosen again covers the desktop again.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
xcompmgr >"$RIG_DIR/xcompmgr.log" 2>&1 &
RIG_PIDS+=($!)
fake_power_supply
library=$XDG_CONFIG_HOME/tessarine
write_password a
write_options "<key>desktopImageType</key><integer>1</integer><key>showTime</key><false/>
<key>startAnimation</key><integer>0</integer><key>closeAnimation</key><integer>0</integer>"
desktop_colour=#336699
# The desktop: a window of one colour below the panel, mapped only while a lock is tested (it
# bypasses the window manager, so the preferences window would be under it).
desktop_up() {
    "$X11_PROBE" popup 0 40 1280 760 336699 "$RIG_DIR/desktop.txt" >/dev/null 2>&1 &
    desktop=$!
    RIG_PIDS+=($desktop)
    wait_until 5 grep -q mapped "$RIG_DIR/desktop.txt" || fail "the desktop's window did not map"
}
desktop_down() {
    kill "$desktop"
    wait "$desktop" 2>/dev/null
    rm -f "$RIG_DIR/desktop.txt"
}
stored() { "$PLIST_KEYS" "$library/properties.plist" | grep -qx "$1"; }

start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon"
desktop_seen() { # LABEL: prints how many pixels of the desktop's colour show while locked
    desktop_up
    "$TESSARINE" lock || fail "$1: tessarine lock failed"
    wait_until 3 keyboard_grabbed_by_other || fail "$1: the lock did not grab the keyboard"
    sleep 1
    import -window root "$RIG_DIR/$1.png"
    xdotool type --delay 60 a
    wait_until 5 keyboard_free || fail "$1: the password did not unlock"
    desktop_down
    count_colour "$RIG_DIR/$1.png" "$desktop_colour"
}

# Brushed Metal (stored) covers the desktop.
seen=$(desktop_seen metal)
[ "$seen" = 0 ] || fail "$seen pixels of the desktop show through brushed metal"

# Clear, two places down from Brushed Metal: the desktop shows through, nothing is written.
choose_background 2
stored 'desktopImageType=integer:1' || fail "the clear choice was written: $("$PLIST_KEYS" "$library/properties.plist")"
seen=$(desktop_seen clear)
echo "clear: $seen pixels of the desktop seen"
[ "$seen" -gt 500000 ] || fail "the clear background does not show the desktop ($seen pixels)"

# Brushed Metal again: opaque again.
choose_background -2
wait_until 5 stored 'desktopImageType=integer:1' || fail "brushed metal was not stored"
seen=$(desktop_seen metal-again)
[ "$seen" = 0 ] || fail "$seen pixels of the desktop show through brushed metal chosen again"
kill -0 "$TESSARINE_PID" || fail "tessarine ended"
echo PASS
