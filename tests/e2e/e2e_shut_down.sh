# The lock screen's Shut Down button, clicked as a user would: with a desktop's session manager
# on the session bus (a stand-in taking each desktop's name in turn) the session manager is
# asked to shut down, so that applications may save first, and logind is not; with none, logind
# is asked to power off. Nothing ends the lock.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
start_fake_logind || fail "no fake logind"
write_password a
write_options "<key>startAnimation</key><integer>0</integer><key>closeAnimation</key><integer>0</integer>"

# Clicks the lock screen's Shut Down button: the leftmost bright text in the band of the
# top-right corner where the button pair stands.
click_shut_down() { # LABEL
    "$TESSARINE" lock || fail "$1: tessarine lock failed"
    wait_until 3 keyboard_grabbed_by_other || fail "$1: the lock did not grab the keyboard"
    sleep 1
    import -window root "$RIG_DIR/$1.png"
    local left
    left=$(convert "$RIG_DIR/$1.png" -crop 400x24+880+16 +repage -colorspace Gray -threshold 70% \
        -trim -format '%X' info: 2>/dev/null | tr -d '+')
    [ -n "$left" ] && [ "$left" -ge 0 ] || fail "$1: no Shut Down button in the top-right corner"
    xdotool mousemove $((880 + left + 12)) 27 click 1
}
unlock() { # LABEL
    sleep 0.5
    keyboard_grabbed_by_other || fail "$1: the lock ended without the password"
    xdotool type --delay 60 a
    wait_until 5 keyboard_free || fail "$1: the password did not unlock"
}

start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon"

session_manager() { # NAME EXPECTED_CALL
    "$FAKE_SESSION_MANAGER" "$1" >"$RIG_DIR/session.out" 2>&1 &
    local manager=$!
    RIG_PIDS+=($manager)
    wait_until 5 grep -q ready "$RIG_DIR/session.out" || fail "no stand-in for $1"
    local powered
    powered=$(logind_count poweroff)
    click_shut_down "$1"
    wait_until 5 grep -qF "call $2" "$RIG_DIR/session.out" ||
        fail "$1 was not asked to shut down: $(cat "$RIG_DIR/session.out")"
    sleep 0.5
    [ "$(logind_count poweroff)" = "$powered" ] || fail "with $1 running, logind powered off at once"
    echo "$1: $(grep call "$RIG_DIR/session.out")"
    unlock "$1"
    kill "$manager"
    wait "$manager" 2>/dev/null
}
session_manager org.gnome.SessionManager "/org/gnome/SessionManager org.gnome.SessionManager.Shutdown"
session_manager org.kde.Shutdown "/Shutdown org.kde.Shutdown.logoutAndShutdown"
session_manager org.xfce.SessionManager "/org/xfce/SessionManager org.xfce.Session.Manager.Shutdown true"
session_manager org.mate.SessionManager "/org/mate/SessionManager org.mate.SessionManager.Shutdown"

# No session manager: logind.
click_shut_down logind
wait_until 5 eval '[ "$(logind_count poweroff)" -gt 0 ]' || fail "logind was not asked to power off"
grep -q '^poweroff interactive' "$RIG_DIR/logind.out" || fail "logind was asked otherwise: $(grep poweroff "$RIG_DIR/logind.out")"
unlock logind
kill -0 "$TESSARINE_PID" || fail "tessarine ended"
echo PASS
