# Started where no system tray runs, Tessarine says so once on stderr (and how to lock
# meanwhile), locks from the command line, and shows its icon as soon as a tray starts.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
write_password "ab"
# The rig's tray is taken away before Tessarine starts.
tray=$(pgrep -x trayer -n)
for pid in "${RIG_PIDS[@]}"; do
    if [ "$pid" = "$tray" ]; then kill "$pid"; wait "$pid" 2>/dev/null; fi
done
wait_until 5 bash -c '! xdotool search --class trayer >/dev/null' || fail "the tray did not go"
start_tessarine
wait_until 5 grep -q 'no system tray is running' "$RIG_DIR/tessarine.log" ||
    fail "Tessarine did not say that no tray runs: $(cat "$RIG_DIR/tessarine.log")"
[ "$(grep -c 'no system tray is running' "$RIG_DIR/tessarine.log")" = 1 ] || fail "said more than once"
grep -q 'tessarine lock' "$RIG_DIR/tessarine.log" || fail "the line does not say how to lock meanwhile"
"$TESSARINE" lock || fail "tessarine lock failed without a tray"
wait_until 2 keyboard_grabbed_by_other || fail "no lock without a tray"
sleep 0.6
xdotool type --delay 40 ab
wait_until 3 keyboard_free || fail "the password did not unlock"
trayer --edge top --align right --widthtype request --height 32 --SetDockType true \
    >"$RIG_DIR/trayer2.log" 2>&1 &
RIG_PIDS+=($!)
wait_until 5 tray_icon_embedded || fail "the icon did not appear when a tray started"
[ "$(grep -c 'no system tray is running' "$RIG_DIR/tessarine.log")" = 1 ] || fail "said again"
echo PASS
