# Locking a Wayland session from other programs over D-Bus (sway or labwc, headless from the
# trixie tree): Tessarine's `lock` property written with busctl, and the screen saver's Lock,
# which answers only once the compositor holds the lock, so that by its answer no output shows
# the desktop any more. The password ends each lock. (`tessarine lock`, the command line's
# lockScreen call, is in e2e_wayland_compositor_lock.)
#   e2e_wayland_remote_lock.sh sway|labwc
set -u
compositor=$1
source "$TESTS_DIR/rig/wayland_session.sh"
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>"
session_start
start_tessarine_in_session
name=org.tessarine.Tessarine
path=/org/tessarine/Tessarine

busctl --user set-property "$name" "$path" "$name" lock i 1 || fail "writing lock 1 was refused"
wait_until 5 lock_shown || fail "lock 1 did not lock through the compositor"
unlock_with_password "lock 1"

screensaver=org.freedesktop.ScreenSaver
wait_until 5 busctl --user status "$screensaver" >/dev/null 2>&1 ||
    fail "the screen saver's name was not taken in a session whose compositor locks"
busctl --user call "$screensaver" /org/freedesktop/ScreenSaver "$screensaver" Lock ||
    fail "the screen saver's Lock failed"
for output in $(compositor_outputs); do
    [ "$(output_colour "$output")" != "$desktop" ] ||
        fail "Lock answered while $output still showed the desktop"
done
wait_until 5 lock_shown || fail "the screen saver's Lock does not show the lock screen"
[ "$(busctl --user call "$screensaver" /org/freedesktop/ScreenSaver "$screensaver" GetActive)" = "b true" ] ||
    fail "the screen saver does not say it is active while locked"
unlock_with_password "the screen saver's Lock"
echo PASS
