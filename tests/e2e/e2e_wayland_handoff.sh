# In a Wayland session an X11 program's grabs hold nothing but XWayland's clients, so Tessarine
# does not pretend to lock: it says so once, and hands every lock to the desktop's lock screen,
# the screen-saver service another program serves, or else the login manager's lock request. It
# shows no lock screen of its own, takes no grab, serves no screen saver, and the session's Lock
# signal (which the desktop's locker answers) does not bring the request back round.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start || fail "the desktop did not come up"
fake_power_supply
start_fake_logind || fail "no fake logind"
write_password k3y
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer><key>lockWhenIdle</key><true/><key>idleLockMinutes</key><integer>1</integer>"
# The session says it is Wayland; Qt still draws through X, as it would through XWayland.
export XDG_SESSION_TYPE=wayland WAYLAND_DISPLAY=wayland-tessarine-test QT_QPA_PLATFORM=xcb
export TESSARINE_TEST_MINUTE_MS=1000
log_count() { grep -c "$1" "$RIG_DIR/tessarine.log" || true; }
# Tessarine's windows as large as the screen (its tray message is a small one, and allowed).
covering_windows() {
    local window
    for window in $(visible_windows_outside_tray); do
        xdotool getwindowgeometry "$window" | grep -q 'Geometry: 1280x800' && echo "$window"
    done
    return 0
}
holds_nothing() {
    keyboard_free || fail "$1: Tessarine grabbed the keyboard"
    pointer_free || fail "$1: Tessarine grabbed the pointer"
    [ -z "$(covering_windows)" ] || fail "$1: Tessarine showed a lock screen"
}

start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon"
said="this is a Wayland session, which an X11 program cannot lock"
wait_until 3 grep -q "$said" "$RIG_DIR/tessarine.log" ||
    fail "Tessarine did not say that it cannot lock this session"
# The tray says it too: its message, a small window by the icon.
tray_message_shown() { [ -n "$(visible_windows_outside_tray)" ] && [ -z "$(covering_windows)" ]; }
wait_until 5 tray_message_shown || fail "the tray shows no message that the desktop's lock screen is used"
busctl --user status org.freedesktop.ScreenSaver >/dev/null 2>&1 &&
    fail "Tessarine serves the screen saver in a session it cannot lock"

# tessarine lock: the login manager is asked, once, and Tessarine holds nothing.
"$TESSARINE" lock || fail "tessarine lock failed though the login manager answered"
wait_until 3 [ "$(logind_count 'locksession rig')" = 1 ] ||
    fail "the login manager was not asked to lock the session"
sleep 1.5
[ "$(logind_count 'locksession')" = 1 ] ||
    fail "the request came back round: $(logind_count 'locksession') requests"
holds_nothing "tessarine lock"
# The session's Lock signal is the desktop locker's to answer; the idle lock is off (the X
# server's idle time would not see the keys of native Wayland windows).
logind lock-session
sleep 2
[ "$(logind_count 'locksession')" = 1 ] || fail "the session's Lock signal was handed on again"
holds_nothing "the session's Lock signal and idling"
[ "$(log_count 'did not answer')" = 0 ] || fail "a failure was reported"
# Said once, however many locks were handed on.
[ "$(log_count "$said")" = 1 ] || fail "Tessarine said $(log_count "$said") times that it cannot lock"

# A desktop that serves the screen saver (GNOME's, KDE's) is asked through it.
/usr/bin/python3 - >"$RIG_DIR/saver.txt" <<'PY' &
import dbus, dbus.service, dbus.mainloop.glib
from gi.repository import GLib
dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
class Saver(dbus.service.Object):
    @dbus.service.method("org.freedesktop.ScreenSaver")
    def Lock(self):
        print("locked", flush=True)
bus = dbus.SessionBus()
name = dbus.service.BusName("org.freedesktop.ScreenSaver", bus)
Saver(bus, "/org/freedesktop/ScreenSaver")
print("serving", flush=True)
GLib.MainLoop().run()
PY
saver=$!
wait_until 5 grep -q serving "$RIG_DIR/saver.txt" || fail "the desktop's screen saver did not start"
"$TESSARINE" lock || fail "tessarine lock failed though the desktop's screen saver answered"
wait_until 3 grep -q locked "$RIG_DIR/saver.txt" || fail "the desktop's screen saver was not asked"
[ "$(logind_count 'locksession')" = 1 ] || fail "the login manager was asked too"
holds_nothing "with the desktop's screen saver"
kill "$saver"
wait "$saver" 2>/dev/null

# Nothing answers: `tessarine lock` fails and says why, and still nothing pretends.
stop_tessarine
DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon without a login manager"
if "$TESSARINE" lock 2>"$RIG_DIR/lock.err"; then fail "tessarine lock succeeded with nothing to lock"; fi
grep -q "the desktop's lock screen did not answer" "$RIG_DIR/lock.err" ||
    fail "no reason given: $(cat "$RIG_DIR/lock.err")"
holds_nothing "with nothing to lock"
echo PASS
