# Locking before sleep: with lock on wake set, the login manager's PrepareForSleep(true) brings
# the lock up, and the sleep inhibitor is let go only once the keyboard is grabbed, 100 times out
# of 100. Without the setting the machine may sleep at once and nothing locks.
set -u
trials=${1:-100}
source "$TESTS_DIR/rig/desktop.sh"
desktop_start || fail "the desktop did not come up"
fake_power_supply
start_fake_logind || fail "the fake login manager did not start"
write_password ab
write_options "<key>lockOnWake</key><true/><key>closeAnimation</key><integer>0</integer>"

start_tessarine
wait_until 5 tray_icon_embedded || fail "no tray icon"
more_than() { test "$(logind_count "$1")" -gt "$2"; }
wait_until 5 more_than inhibited 0 || fail "no sleep inhibitor was taken"
for ((trial = 1; trial <= trials; trial++)); do
    released=$(logind_count released)
    inhibited=$(logind_count inhibited)
    logind sleep
    wait_until 5 more_than released "$released" || fail "trial $trial: the inhibitor was never let go"
    last=$(grep '^released' "$RIG_DIR/logind.out" | tail -n1)
    [ "$(cut -d' ' -f1,2 <<<"$last")" = "released grabbed" ] || fail "trial $trial: the machine could sleep before the lock held the keyboard"
    sleep 0.05
    xdotool type --delay 20 ab
    wait_until 3 keyboard_free || fail "trial $trial: the password did not unlock"
    logind wake
    wait_until 5 more_than inhibited "$inhibited" || fail "trial $trial: no inhibitor after waking"
done

# Lock on wake off: the inhibitor goes at once and nothing locks.
stop_tessarine
write_options "<key>lockOnWake</key><false/>"
inhibited=$(logind_count inhibited)
start_tessarine
wait_until 5 more_than inhibited "$inhibited" || fail "no inhibitor with lock on wake off"
released=$(logind_count released)
logind sleep
wait_until 5 more_than released "$released" || fail "the inhibitor was kept with lock on wake off"
sleep 0.3
keyboard_free || fail "sleep locked with lock on wake off"
echo "PASS ($trials trials)"
