# Locking before sleep in a Wayland session (sway or labwc, headless): with lock on wake set,
# the login manager's PrepareForSleep(true) brings the compositor's lock up, and the sleep
# inhibitor is let go only once the compositor has said `locked`: at that moment Tessarine has
# logged it, and every output shows the lock screen (grim). After waking the lock is still there
# and the password ends it.
#   e2e_wayland_sleep.sh sway|labwc
set -u
compositor=$1
source "$TESTS_DIR/rig/wayland_session.sh"
start_fake_logind || fail "the fake login manager did not start"
write_options "<key>lockOnWake</key><true/><key>closeAnimation</key><integer>0</integer>"
session_start
start_tessarine_in_session
more_than() { test "$(logind_count "$1")" -gt "$2"; }
wait_until 5 more_than inhibited 0 || fail "no sleep inhibitor was taken"

for trial in 1 2 3; do
    released=$(logind_count released)
    inhibited=$(logind_count inhibited)
    said=$(log_count "the compositor has locked the session")
    logind sleep
    wait_until 5 more_than released "$released" || fail "trial $trial: the inhibitor was never let go"
    # Read at once: a release before `locked` would find no new line yet.
    [ "$(log_count "the compositor has locked the session")" -gt "$said" ] ||
        fail "trial $trial: the machine could sleep before the compositor locked the session"
    lock_shown || fail "trial $trial: not every output showed the lock screen when the machine could sleep"
    grep '^released' "$RIG_DIR/logind.out" | tail -n1 | grep -o 'after [0-9.]*' |
        awk '{ if ($2 >= 1000) exit 1 }' || fail "trial $trial: the inhibitor was let go only after a second"
    logind wake
    wait_until 5 more_than inhibited "$inhibited" || fail "trial $trial: no inhibitor after waking"
    lock_shown || fail "trial $trial: the lock was gone after waking"
    unlock_with_password "trial $trial"
done
echo PASS
