# Lock and unlock the real program many times, as a user and other programs would: locked over
# D-Bus (`tessarine lock` and busctl, in turn), unlocked by typing the password with xdotool.
# Every cycle must lock (both grabs held, the lock window mapped) and unlock (both grabs let go,
# no window of the program shown). After a warm-up and at the end, with the program idle, these
# are counted and must not grow:
#   - the program's X windows (the X-Resource extension's WINDOW count, and the windows of class
#     "tessarine" in `xwininfo -root -tree`) and every other X resource it holds on the server;
#   - its open file descriptors (/proc/PID/fd), threads (/proc/PID/task) and child processes;
#   - its QObjects, widgets, native windows and the timers of its main thread, which it counts
#     itself when started with TESSARINE_DIAGNOSTICS=1 (app/Diagnostics.h);
#   - its resident memory (VmRSS), when a bound is given.
# The bytes of its heap in use (malloc's own count) are reported, not checked: they swing with
# the pictures alive at the moment.
#   e2e_soak.sh CYCLES [WARM-UP CYCLES] [RSS GROWTH BOUND IN kB]
# With SOAK_FIGURES=FILE it also writes the figures there as NAME=VALUE lines (bench/cycles.sh);
# with SOAK_ANIMATED=1 the lock slides in and out and shows its circuit picture beneath.
set -u
cycles=${1:-20}
warmup=${2:-5}
rss_bound_kb=${3:-}
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
write_password ab
# A backlight of the rig's own, for the dimming, and a Maildir with unread mail for the badge's
# script.
mkdir -p "$RIG_DIR/backlight/panel" "$HOME/Maildir/new" "$HOME/Maildir/cur"
echo 100 >"$RIG_DIR/backlight/panel/max_brightness"
echo 80 >"$RIG_DIR/backlight/panel/brightness"
export TESSARINE_BACKLIGHT_DIR=$RIG_DIR/backlight
touch "$HOME/Maildir/new/1" "$HOME/Maildir/new/2"
# The first start's options, and the dimming: every widget of the lock screen shown, the display
# time-out on, the mail badge's polling, the music widget's questions to the session bus and the
# dimming's thread and scripts at every lock.
write_options "<key>showMusic</key><true/><key>showTime</key><true/><key>showBattery</key><true/>
<key>showDoNotDisturb</key><true/><key>useShortcut</key><true/><key>showShutDown</key><true/>
<key>timeout</key><true/><key>timeoutTime</key><integer>5</integer>
<key>dim</key><true/><key>lockBrightnes</key><real>0.3</real>
$([ -z "${SOAK_ANIMATED:-}" ] || echo "<key>startAnimation</key><integer>2</integer>
<key>closeAnimation</key><integer>1</integer>")"
name=org.tessarine.Tessarine
path=/org/tessarine/Tessarine

TESSARINE_DIAGNOSTICS=1 start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon"
wait_until 5 busctl --user status "$name" >/dev/null 2>&1 || fail "the bus name was not taken"
pid=$TESSARINE_PID

alive() { [ -d /proc/"$pid" ] && [ "$(ps -o stat= -p "$pid" | cut -c1)" != Z ]; }
locked() { keyboard_grabbed_by_other && pointer_grabbed_by_other; }
dimmed() { [ "$(cat "$RIG_DIR/backlight/panel/brightness")" = 30 ]; }
bright() { [ "$(cat "$RIG_DIR/backlight/panel/brightness")" = 80 ]; }
# The windows the lock showed are unmapped again (quicker to ask than a search of every window).
none_viewable() {
    local window
    for window in "$@"; do
        xwininfo -id "$window" 2>/dev/null | grep -q 'Map State: IsViewable' && return 1
    done
    return 0
}
unlocked() { keyboard_free && pointer_free && none_viewable "$@"; }

# NAME=VALUE lines of everything counted, the program idle and unlocked.
snapshot() {
    local counts resources
    # Timers still running from the last unlock (the guard's end is waited for 0.5 s) are done.
    sleep 1.5
    alive || fail "tessarine ended"
    counts=$(busctl --user call "$name" "$path/Diagnostics" org.tessarine.Diagnostics Counts) ||
        fail "no diagnostics on the bus"
    # s "objects N timers N widgets N windows N heap N"
    read -r _ _ objects _ timers _ widgets _ windows _ heap <<<"${counts//\"/}"
    resources=$("$X11_RESOURCES" "$pid") || fail "the program has no X client"
    echo "x_windows=$(awk '$1 == "WINDOW" {print $2}' <<<"$resources")"
    echo "x_resources=$(awk '$1 == "total" {print $2}' <<<"$resources")"
    echo "x_pixmap_bytes=$(awk '$1 == "pixmap_bytes" {print $2}' <<<"$resources")"
    echo "x_tree_windows=$(xwininfo -root -tree | grep -c '("tessarine" "tessarine")')"
    echo "fds=$(find /proc/"$pid"/fd -mindepth 1 -maxdepth 1 | wc -l)"
    echo "threads=$(find /proc/"$pid"/task -mindepth 1 -maxdepth 1 | wc -l)"
    echo "children=$(ps -o pid= --ppid "$pid" | wc -l)"
    echo "qobjects=$objects"
    echo "timers=$timers"
    echo "widgets=$widgets"
    echo "qwindows=$windows"
    echo "rss_kb=$(awk '/^VmRSS/ {print $2}' /proc/"$pid"/status)"
    echo "heap_kb=$((heap / 1024))"
    # The X resources by type, for whoever reads a failure.
    tr '\n' ' ' <<<"$resources" | sed 's/^/x_by_type="/; s/ $/"\n/'
}

cycle() { # NUMBER
    # Both ways of asking over D-Bus, in turn.
    if (($1 % 2)); then
        "$TESSARINE" lock || fail "cycle $1: tessarine lock failed"
    else
        busctl --user set-property "$name" "$path" "$name" lock i 1 || fail "cycle $1: busctl failed"
    fi
    wait_until 5 locked || fail "cycle $1: the lock did not come up"
    wait_until 5 dimmed || fail "cycle $1: the display was not dimmed"
    local shown
    shown=$(visible_windows_outside_tray)
    [ -n "$shown" ] || fail "cycle $1: no lock window is mapped"
    xdotool type --delay 30 ab
    # shellcheck disable=SC2086 # one window id a word
    wait_until 5 unlocked $shown || fail "cycle $1: the lock did not go away"
    wait_until 5 bright || fail "cycle $1: the brightness did not come back"
    # A lock asked for while the closing movement ends is not taken: the session is still active
    # until 0.2 s after its windows are gone.
    [ -z "${SOAK_ANIMATED:-}" ] || sleep 0.3
    alive || fail "cycle $1: tessarine ended"
}

for ((i = 1; i <= warmup; i++)); do cycle "$i"; done
snapshot >"$RIG_DIR/before.txt"
started=$(now_us)
for ((i = 1; i <= cycles; i++)); do
    cycle $((warmup + i))
    ((i % 100)) || echo "$i cycles" >&2
done
elapsed_ms=$((($(now_us) - started) / 1000))
snapshot >"$RIG_DIR/after.txt"

echo "$cycles cycles after $warmup of warm-up, $((elapsed_ms / cycles)) ms a cycle"
echo "counted   after warm-up   at the end"
paste -d' ' "$RIG_DIR/before.txt" "$RIG_DIR/after.txt" | grep -v x_by_type | sed 's/=/ /g' |
    awk '{printf "%-15s %12s %12s\n", $1, $2, $4}'
value() { sed -n "s/^$2=//p" "$RIG_DIR/$1.txt"; }
growth=""
for counted in x_windows x_resources x_pixmap_bytes x_tree_windows fds threads children qobjects \
    timers widgets qwindows; do
    ((10#$(value after $counted) <= 10#$(value before $counted))) ||
        growth+=" $counted $(value before $counted) -> $(value after $counted);"
done
rss_growth_kb=$(($(value after rss_kb) - $(value before rss_kb)))
echo "rss growth: $rss_growth_kb kB"
if [ -n "${SOAK_FIGURES:-}" ]; then
    {
        echo "cycles=$cycles"
        echo "warmup=$warmup"
        echo "ms_per_cycle=$((elapsed_ms / cycles))"
        echo "rss_growth_kb=$rss_growth_kb"
        sed 's/^/before_/' "$RIG_DIR/before.txt"
        sed 's/^/after_/' "$RIG_DIR/after.txt"
    } >"$SOAK_FIGURES"
fi
[ -z "$growth" ] || {
    echo "before: $(value before x_by_type)" >&2
    echo "after:  $(value after x_by_type)" >&2
    fail "grew over $cycles cycles:$growth"
}
if [ -n "$rss_bound_kb" ] && ((rss_growth_kb > rss_bound_kb)); then
    fail "resident memory grew by $rss_growth_kb kB over $cycles cycles (bound $rss_bound_kb kB)"
fi
echo PASS
