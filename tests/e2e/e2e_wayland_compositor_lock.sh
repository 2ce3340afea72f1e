# Tessarine in a Wayland session whose compositor offers the session-lock protocol (sway or
# labwc, headless from the trixie tree): the lock is the compositor's, every output shows the
# lock screen, a wrong password keeps it, the password typed on the lock surface (wtype) unlocks,
# a password beyond ASCII unlocks as on X11, and Tessarine killed while locked leaves the session
# locked. Tessarine draws its windows on the rig's X server, as it would through XWayland.
#   e2e_wayland_compositor_lock.sh sway|labwc
set -u
compositor=$1
source "$TESTS_DIR/rig/wayland_session.sh"
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>"
session_start

start_tessarine_in_session
"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 5 lock_shown || fail "not every output shows the lock screen"
wayland_type wrong
sleep 0.5
lock_shown || fail "a wrong password unlocked"
wayland_type k3y
wait_until 5 desktop_shown || fail "the password did not unlock"

# A password beyond ASCII, typed as the compositor's keymap gives it (wtype maps the character).
stop_tessarine
write_password "hé"
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
