# Attacks on the lock's guard by other programs of the same user, once Tessarine has been killed
# while locked and the guard holds the display: a forged "release" on its hand-over socket from
# a script whose own window has the focus, the guard's cover killed with XKillClient (xkill),
# and Tessarine started again after its password file was deleted. After each: keyboard and
# pointer held, the desktop hidden, no key at another window; only the password of the lock
# opens it.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
desktop_colour=#336699
ulimit -c 0
write_password k3y
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>"
library=$XDG_CONFIG_HOME/tessarine

"$X11_PROBE" record-keys "$RIG_DIR/keys.txt" &
recorder=$!
wait_until 5 grep -q mapped "$RIG_DIR/keys.txt" || fail "the recording window did not map"
recorder_window=$(xdotool search --name '^tessarine-probe$' | head -n1)
give_keyboard "$recorder_window" || fail "the recording window cannot be given the keyboard"
xdotool mousemove 640 400
keys_recorded() { grep -c '^key' "$RIG_DIR/keys.txt"; }
log_count() { grep -c "$1" "$RIG_DIR/tessarine.log" || true; }
log_count_above() { [ "$(log_count "$1")" -gt "$2" ]; }
desktop_hidden() {
    import -window root "$RIG_DIR/shot.png" &&
        [ "$(count_colour "$RIG_DIR/shot.png" "$desktop_colour")" = 0 ]
}
held() { # WHAT
    wait_until 2 keyboard_grabbed_by_other || fail "$1: the keyboard is not held"
    wait_until 2 pointer_grabbed_by_other || fail "$1: the pointer is not held"
    wait_until 2 desktop_hidden || fail "$1: the desktop shows"
    local before
    before=$(keys_recorded)
    xdotool key --delay 30 q w
    sleep 0.3
    [ "$(keys_recorded)" = "$before" ] || fail "$1: a key reached the window under the lock"
    keyboard_grabbed_by_other || fail "$1: a wrong key opened the lock"
}

# Locked, then Tessarine killed: its guard holds the display.
crash_while_locked() {
    start_tessarine
    wait_until 10 tray_icon_embedded || fail "no tray icon"
    local watching
    watching=$(log_count 'tessarine-guard: watching the lock')
    "$TESSARINE" lock || fail "tessarine lock failed"
    wait_until 3 log_count_above 'tessarine-guard: watching the lock' "$watching" ||
        fail "no guard watches the lock"
    sleep 0.5
    kill -KILL "$TESSARINE_PID"
    wait "$TESSARINE_PID" 2>/dev/null
    TESSARINE_PID=
    wait_until 2 log_count_above 'the guard holds the lock' "$1" || fail "the guard did not take over"
    held "the guard's takeover"
}

socket=$XDG_RUNTIME_DIR/tessarine-guard-${DISPLAY//:/_}.socket
crash_while_locked 0
[ -S "$socket" ] || fail "the guard does not listen for a restarted Tessarine"

# A forged hand-over: a script's own window gets the input focus, then the script asks.
xdotool windowfocus "$recorder_window"
answer=$(/usr/bin/python3 - "$socket" <<'PY'
import socket, sys
s = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
s.connect(sys.argv[1])
s.sendall(b"release\n")
s.settimeout(2)
print(s.recv(64).decode().strip())
PY
)
[ "$answer" = refused ] || fail "the guard answered a forged hand-over with '$answer'"
grep -q 'a hand-over was refused: the asking process is not Tessarine' "$RIG_DIR/tessarine.log" ||
    fail "the guard did not say why it refused"
held "a forged hand-over"

# The guard's cover killed through the X server (xkill): the guard connects again and covers.
cover=$(xdotool search --name '^tessarine-guard$' | head -n1)
[ -n "$cover" ] || fail "no guard cover window"
xkill -id "$cover" >/dev/null 2>&1 || fail "xkill failed"
sleep 0.2
held "the guard's cover killed"

# Tessarine started again with its password file deleted: no lock without the password.
cp "$library/settings.plist" "$RIG_DIR/settings.plist"
rm "$library/settings.plist"
refusals=$(log_count 'a hand-over was refused')
start_tessarine
wait_until 5 log_count_above 'a hand-over was refused' "$refusals" ||
    fail "the guard was not asked, or did not refuse, the password-less Tessarine"
# (A first refusal may be of the restarted program's check that the guard listens.)
wait_until 5 grep -q 'the password file no longer holds the password of this lock' \
    "$RIG_DIR/tessarine.log" || fail "the guard did not say why it refused the restarted Tessarine"
held "a password-less restart"
# The password of the lock opens it. The password-less program is ended first: left running, it
# would take the input as soon as the guard lets go (that is how a restart takes a lock back).
kill -KILL "$TESSARINE_PID"
wait "$TESSARINE_PID" 2>/dev/null
TESSARINE_PID=
xdotool type --delay 40 k3y
wait_until 3 log_count_above 'tessarine-guard: unlocked by the password' 0 ||
    fail "the password did not open the guard"
wait_until 3 keyboard_free || fail "the keyboard stayed held"
cp "$RIG_DIR/settings.plist" "$library/settings.plist"

# A new lock still works, and the password still unlocks it.
start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon"
"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 3 keyboard_grabbed_by_other || fail "a new lock did not take the keyboard"
sleep 0.5
xdotool type --delay 40 k3y
wait_until 3 keyboard_free || fail "the password did not unlock the new lock"
grep -q 'k3y' "$RIG_DIR/tessarine.log" && fail "the password appeared in the log"
kill "$recorder"
wait "$recorder" 2>/dev/null

# The X server ends while the guard holds a lock, and a new server takes the same display number
# (a new login on that seat): the guard must not cover or grab there, and ends. The guard is
# stopped across the change so that it reconnects to the new server, not to none.
watching=$(log_count 'tessarine-guard: watching the lock')
"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 3 log_count_above 'tessarine-guard: watching the lock' "$watching" ||
    fail "no guard watches"
sleep 0.5
held_before=$(log_count 'the guard holds the lock')
kill -KILL "$TESSARINE_PID"
wait "$TESSARINE_PID" 2>/dev/null
TESSARINE_PID=
wait_until 2 log_count_above 'the guard holds the lock' "$held_before" || fail "no takeover"
guard=$(guards_of_rig)
[ -n "$guard" ] || fail "no guard process"
kill -STOP $guard
kill "${RIG_PIDS[0]}"
wait "${RIG_PIDS[0]}" 2>/dev/null
Xvfb "$DISPLAY" -screen 0 1280x800x24 -nolisten tcp -noreset >"$RIG_DIR/xvfb2.log" 2>&1 &
RIG_PIDS+=($!)
wait_until 10 xdpyinfo >/dev/null 2>&1 || fail "the second X server did not start"
kill -CONT $guard
wait_until 3 log_count_above 'tessarine-guard: the X server it guarded has ended' 0 ||
    fail "the guard did not notice that its X server ended"
wait_until 3 bash -c "! kill -0 $guard 2>/dev/null" || fail "the guard outlived its X server"
[ "$("$X11_PROBE" grab-keyboard)" = Success ] || fail "the keyboard of the new server is held"
[ -z "$(xdotool search --name '^tessarine-guard$')" ] || fail "the guard covers the new server"
echo PASS
