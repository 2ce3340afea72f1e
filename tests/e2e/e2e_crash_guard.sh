# The lock survives the lock screen's crash: while locked, Tessarine is ended by SIGKILL, SIGSEGV
# and SIGABRT in turn, with keys being typed across the moment. Each time its guard must cover
# the display and hold the keyboard again at once (the benchmark holds it to 50 ms), no key may
# reach the desktop's focused window, and only the password gives the desktop back. A guard that
# dies leaves the lock as it was; a restarted Tessarine takes the lock back from the guard.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
desktop_colour=#336699
# No core files from the crashes below: a dump would hold the ending process open. For the same
# reason a sanitizer build ends at the signal, without symbolizing a report of it first.
ulimit -c 0
export ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}handle_segv=0:handle_abort=0
write_password k3y
# The streams of keys typed across the crashes would make the lock take keys slowly
# (e2e_guessing tests that): turned off here.
options="<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>
<key>slowGuesses</key><false/>
<key>useShortcut</key><true/><key>shortcutModifier1</key><integer>0</integer>
<key>shortcutModifier2</key><integer>256</integer><key>shortcutModifier3</key><integer>2048</integer>
<key>shortcutKey</key><integer>37</integer><key>shortcutString</key><string>L</string>"
write_options "$options"

# The desktop's window has the keyboard, and the pointer lies over it: with the lock screen gone
# and nobody grabbing, every key would land here.
"$X11_PROBE" record-keys "$RIG_DIR/keys.txt" &
recorder=$!
wait_until 5 grep -q mapped "$RIG_DIR/keys.txt" || fail "the recording window did not map"
recorder_window=$(xdotool search --name '^tessarine-probe$' | head -n1)
give_keyboard "$recorder_window" || fail "the recording window cannot be given the keyboard"
xdotool mousemove 640 400
xdotool key z
wait_until 3 grep -q '^key' "$RIG_DIR/keys.txt" || fail "the recording window receives no keys"
keys_recorded() { grep -c '^key' "$RIG_DIR/keys.txt"; }

guard_pids() { pgrep -x tessarine-guard -P "$1" 2>/dev/null; }
log_count() { grep -c "$1" "$RIG_DIR/tessarine.log" || true; }
log_count_above() { [ "$(log_count "$1")" -gt "$2" ]; }
keys_recorded_above() { [ "$(keys_recorded)" -gt "$1" ]; }
keyboard_grabbed() { keyboard_grabbed_by_other; }
pointer_grabbed() { [ "$("$X11_PROBE" grab-pointer)" = AlreadyGrabbed ]; }
desktop_hidden() {
    import -window root "$RIG_DIR/shot.png" &&
        [ "$(count_colour "$RIG_DIR/shot.png" "$desktop_colour")" = 0 ]
}
desktop_shown() {
    import -window root "$RIG_DIR/shot.png" &&
        [ "$(pixel "$RIG_DIR/shot.png" 640 400)" = "$desktop_colour" ]
}

lock_with_guard() {
    start_tessarine
    wait_until 10 tray_icon_embedded || fail "no tray icon"
    local watching
    watching=$(log_count 'tessarine-guard: watching the lock')
    "$TESSARINE" lock || fail "tessarine lock failed"
    wait_until 3 keyboard_grabbed || fail "the lock did not grab the keyboard"
    wait_until 3 log_count_above 'tessarine-guard: watching the lock' "$watching" ||
        fail "no guard watches the lock"
    GUARD=$(guard_pids "$TESSARINE_PID")
    [ -n "$GUARD" ] || fail "the guard is not a child of Tessarine"
}

# A guard killed by another program changes nothing for the lock screen, and a new guard takes
# its place: Tessarine killed after it is still covered.
lock_with_guard
killed_guard=$GUARD
kill -KILL "$killed_guard"
new_guard() { GUARD=$(guard_pids "$TESSARINE_PID" | grep -vx "$killed_guard"); [ -n "$GUARD" ]; }
wait_until 1 new_guard || fail "no new guard after the guard was killed"
wait_until 2 log_count_above 'tessarine-guard: watching the lock' 1 || fail "the new guard does not watch"
kill -0 "$TESSARINE_PID" || fail "Tessarine ended with its guard"
keyboard_grabbed || fail "the lock let go when its guard died"
# A button down when Tessarine ends (its own click that takes the focus, say) is let go by the
# guard once the password is typed, or the user's next click would be swallowed.
xdotool mousedown 1
kill -KILL "$TESSARINE_PID"
wait "$TESSARINE_PID" 2>/dev/null
TESSARINE_PID=
wait_until 1 desktop_hidden || fail "the new guard did not cover when Tessarine was killed"
keyboard_grabbed || fail "the new guard does not hold the keyboard"
xdotool type --delay 40 k3y
wait_until 3 keyboard_free || fail "the password did not open the new guard"
[ "$("$X11_PROBE" buttons)" = 0 ] || fail "a button stays pressed after the guard's unlock"

run=0
for signal in KILL SEGV ABRT; do
    run=$((run + 1))
    # The second run types the password in order, as set in the options.
    if [ "$signal" = SEGV ]; then
        write_options "$options<key>orderMatters</key><true/>"
    else
        write_options "$options"
    fi
    lock_with_guard
    before=$(keys_recorded)
    # A stream of keys from before the crash to well after it.
    xdotool type --delay 1 "$(printf "x%.0s" {1..300})" &
    typist=$!
    sleep 0.2
    ms=$("$TAKEOVER_TIMER" "$TESSARINE_PID" "$(kill -l "$signal")" 2>>"$RIG_DIR/timer.log") ||
        fail "SIG$signal: the guard did not take over: $ms"
    wait "$typist"
    wait "$TESSARINE_PID" 2>/dev/null
    TESSARINE_PID=
    echo "SIG$signal: covered and grabbed again after $ms ms"
    # The goal, 50 ms, is measured by the benchmark; the bound here leaves room for the sanitizers.
    awk -v ms="$ms" 'BEGIN { exit !(ms < 500) }' || fail "SIG$signal: took $ms ms, more than 500 ms"
    sleep 0.3
    [ "$(keys_recorded)" = "$before" ] ||
        fail "SIG$signal: $(($(keys_recorded) - before)) keys reached the desktop's window"
    keyboard_grabbed || fail "SIG$signal: the keyboard is not held"
    pointer_grabbed || fail "SIG$signal: the pointer is not held"
    desktop_hidden || fail "SIG$signal: the desktop shows through"
    [ "$(count_colour "$RIG_DIR/shot.png" '#ffffff')" -gt 0 ] || fail "SIG$signal: no message"
    [ "$(log_count 'tessarine-guard: the lock screen')" -ge "$run" ] ||
        fail "SIG$signal: the guard did not say why it took over"

    if [ "$signal" = ABRT ]; then
        # A restarted Tessarine takes the lock back from the guard, with keys typed all along.
        xdotool type --delay 1 "$(printf 'x%.0s' {1..300})" &
        typist=$!
        start_tessarine
        wait_until 5 log_count_above 'handed over to a restarted Tessarine' 0 ||
            fail "the restarted Tessarine did not take the lock over"
        wait "$typist"
        sleep 0.3
        [ -z "$(guards_of_rig | grep -vx "$(guard_pids "$TESSARINE_PID")")" ] ||
            fail "the guard that held the lock is still there"
        [ "$(keys_recorded)" = "$before" ] || fail "keys reached the desktop during the hand-over"
        keyboard_grabbed || fail "the keyboard is not held after the hand-over"
        desktop_hidden || fail "the desktop shows through after the hand-over"
        xdotool type --delay 40 k3y
        wait_until 3 keyboard_free || fail "the restarted Tessarine did not unlock"
        wait_until 3 desktop_shown || fail "the desktop did not come back from Tessarine"
        # The restarted Tessarine's shortcut works: the guard's grabs did not stand in its way.
        xdotool key super+alt+l
        wait_until 3 keyboard_grabbed || fail "the shortcut did not lock after the hand-over"
        xdotool type --delay 40 k3y
        wait_until 3 keyboard_free || fail "the password did not unlock after the shortcut"
        stop_tessarine
        continue
    fi

    # Only the password opens: a wrong key does not, the password does.
    xdotool key --delay 50 q
    sleep 0.3
    keyboard_grabbed || fail "SIG$signal: a wrong key opened the guard"
    xdotool type --delay 40 k3y
    wait_until 3 keyboard_free || fail "SIG$signal: the password did not open the guard"
    wait_until 3 pointer_free || fail "SIG$signal: the pointer is still held"
    wait_until 3 desktop_shown || fail "SIG$signal: the desktop did not come back"
    [ -z "$(guards_of_rig)" ] || fail "SIG$signal: the guard is still running after the password"
    [ "$(keys_recorded)" = "$before" ] || fail "SIG$signal: the password reached the desktop"
    xdotool key z
    wait_until 3 keys_recorded_above "$before" ||
        fail "SIG$signal: the desktop's window gets no keys after the password"
done
grep -q 'k3y' "$RIG_DIR/tessarine.log" && fail "the password appeared in the log"
kill $recorder
wait $recorder 2>/dev/null
echo PASS
