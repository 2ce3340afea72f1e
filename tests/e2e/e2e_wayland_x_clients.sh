# What a Tessarine locking through the compositor does to the X clients of XWayland (here the
# rig's X server, on which Tessarine draws as it would through XWayland), in a Wayland session
# (sway or labwc, headless): nothing. An X window under the top-left corner gets no click while
# the lock opens and after a wake (on X11 that click goes into the lock's own grab; here it
# would land in the window), and the lock shortcut, switched on, is no X key grab: the keys in
# an X window do not lock (a compositor binding does), and the log says why.
#   e2e_wayland_x_clients.sh sway|labwc
set -u
compositor=$1
source "$TESTS_DIR/rig/wayland_session.sh"
start_fake_logind || fail "the fake login manager did not start"
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>
<key>useShortcut</key><true/>
<key>shortcutModifier1</key><integer>0</integer>
<key>shortcutModifier2</key><integer>256</integer>
<key>shortcutModifier3</key><integer>2048</integer>
<key>shortcutKey</key><integer>37</integer>
<key>shortcutString</key><string>L</string>"
session_start

"$X11_PROBE" record-clicks "$RIG_DIR/clicks.txt" &
RIG_PIDS+=($!)
wait_until 3 grep -q mapped "$RIG_DIR/clicks.txt" || fail "the probe's window was not mapped"
# The probe hears a click where Tessarine's would go.
xdotool mousemove 10 10 click 1
wait_until 3 grep -q 'press 1' "$RIG_DIR/clicks.txt" || fail "the probe's window does not hear clicks"
: >"$RIG_DIR/clicks.txt"

start_tessarine_in_session
wait_until 3 grep -q "the lock shortcut is not registered: a Wayland compositor keeps the keyboard to itself" \
    "$RIG_DIR/tessarine.log" || fail "the log does not say why the lock shortcut is not registered"
xdotool key super+alt+l
sleep 1
desktop_shown || fail "the shortcut's keys in an X window locked: an X key grab"

"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 5 lock_shown || fail "the lock screen is not shown"
sleep 1 # past the moment the X11 lock clicks into its grab
# Woken from sleep while locked: the X11 lock clicks again.
logind sleep
sleep 0.5
logind wake
sleep 1
lock_shown || fail "the lock did not stay after the wake"
[ -s "$RIG_DIR/clicks.txt" ] && fail "a click landed in an X window: $(paste -sd' ' "$RIG_DIR/clicks.txt")"
unlock_with_password "the lock"
echo PASS
