#!/usr/bin/env bash
# The desktop hidden: from a lock request to no desktop pixel left, seen from another X client
# reading 25 points of the root window (tests/tools/hidden_timer), for Tessarine and its peers;
# the sleep inhibitor's release after PrepareForSleep(true), with what the screen showed then;
# resident memory on a 3840 x 2160 screen. Prints a section of bench/REPORT.md (run.sh adds it).
set -euo pipefail
build=${1:-build}
root=$(cd "$(dirname "$0")/.." && pwd)
export TESSARINE=$root/$build/tessarine
export FAKE_LOGIND=$root/$build/tests/fake_logind
export X11_PROBE=$root/$build/tests/x11_probe
hidden=$root/$build/tests/hidden_timer
runs=${BENCH_HIDDEN_RUNS:-15}

source "$root/tests/rig/desktop.sh"
# The figures outlive the two desktops (each takes its folder with it when it stops).
results=$(mktemp -d "${TMPDIR:-/tmp}/tessarine-hidden.XXXXXX")
stats() { # prints median, min, max of the numbers on stdin
    sort -g | awk '{v[NR]=$1} END {m = (NR % 2) ? v[(NR+1)/2] : (v[NR/2] + v[NR/2+1]) / 2;
                                   printf "%.2f %.2f %.2f\n", m, v[1], v[NR]}'
}
more_than() { test "$(logind_count "$1")" -gt "$2"; }
free_keyboard() { keyboard_free; }
# A photograph-like 4K PNG (a gradient with grain), named as the desktop's picture by ~/.fehbg.
desktop_picture() {
    convert -size 3840x2160 gradient:'#203040-#c0a060' -attenuate 0.15 +noise Gaussian \
        "$HOME/desktop.png"
    printf "#!/bin/sh\nfeh --no-fehbg --bg-fill '%s'\n" "$HOME/desktop.png" >"$HOME/.fehbg"
}
options="<key>lockOnWake</key><true/><key>closeAnimation</key><integer>0</integer>"
unlock_here() {
    sleep 0.3
    xdotool key a
    wait_until 5 free_keyboard || echo "the password did not unlock" >&2
    sleep 0.3
}
fresh_tessarine() {
    start_tessarine
    wait_until 10 tray_icon_embedded || echo "no tray icon" >&2
    sleep 1
}

desktop_start 1920x1080 || { echo "the desktop did not come up" >&2; exit 1; }
fake_power_supply
start_fake_logind
write_password a
write_options "$options"
desktop_picture
picture_size=$(stat -c %s "$HOME/desktop.png")

# The first lock after a start: the background is not built yet.
: >"$results/first.txt"
for ((run = 0; run < runs; run++)); do
    fresh_tessarine
    "$hidden" run "$TESSARINE" lock >>"$results/first.txt" || true
    unlock_here
    stop_tessarine
done
# Later locks of one running program.
: >"$results/later.txt"
fresh_tessarine
"$TESSARINE" lock
unlock_here
for ((run = 0; run < runs; run++)); do
    "$hidden" run "$TESSARINE" lock >>"$results/later.txt" || true
    unlock_here
done
stop_tessarine
peer() { # NAME COMMAND...
    local name=$1
    shift
    : >"$results/$name.txt"
    command -v "$1" >/dev/null || return 0
    for ((run = 0; run < runs; run++)); do
        "$hidden" end "$@" >>"$results/$name.txt" || true
        sleep 0.3
    done
}
peer i3lock i3lock -n
peer xsecurelock xsecurelock

# Before sleep: PrepareForSleep(true) to the inhibitor let go, each on the first lock after a
# start (the background still to build), the magenta desktop below.
"$hidden" desktop >"$RIG_DIR/desktop.out" &
magenta=$!
wait_until 5 grep -q ready "$RIG_DIR/desktop.out"
: >"$results/sleep.txt"
for ((run = 0; run < runs; run++)); do
    inhibited=$(logind_count inhibited)
    fresh_tessarine
    wait_until 5 more_than inhibited "$inhibited"
    released=$(logind_count released)
    logind sleep
    wait_until 5 more_than released "$released" || echo "the inhibitor was not let go" >&2
    grep '^released' "$RIG_DIR/logind.out" | tail -n1 >>"$results/sleep.txt"
    unlock_here
    logind wake
    stop_tessarine
done
kill "$magenta"
wait "$magenta" 2>/dev/null || true
desktop_stop

# Resident memory on a 3840 x 2160 screen with the same picture.
desktop_start 3840x2160 || { echo "the 4K desktop did not come up" >&2; exit 1; }
fake_power_supply
write_password a
write_options "$options"
desktop_picture
rss() { awk '/^VmRSS/ {print int($2 / 1024)}' /proc/"$1"/status; }
start_tessarine
wait_until 10 tray_icon_embedded
sleep 3
rss_idle=$(rss "$TESSARINE_PID")
"$TESSARINE" lock
sleep 2
rss_locked=$(rss "$TESSARINE_PID")
unlock_here
sleep 2
rss_after=$(rss "$TESSARINE_PID")
stop_tessarine
rss_i3=n/a
if command -v i3lock >/dev/null; then
    i3lock -n -i "$HOME/desktop.png" &
    i3=$!
    sleep 2
    rss_i3=$(rss "$i3")
    kill "$i3"
    wait "$i3" 2>/dev/null || true
fi
desktop_stop

row() { # LABEL FILE GOAL
    local median min max count timeouts
    count=$(grep -vc timeout "$2" || true)
    timeouts=$(grep -c timeout "$2" || true)
    if [ "$count" = 0 ]; then
        echo "| $1 | n/a | | $3 | 0 |"
        return
    fi
    read -r median min max < <(grep -v timeout "$2" | stats)
    echo "| $1 | $median ms | $min to $max ms | $3 | $count ($timeouts timed out) |"
}
median_of() { grep -v timeout "$1" | stats | awk '{print $1}'; }
ratio() {
    awk -v a="$1" -v b="$2" 'BEGIN {if (b + 0 > 0 && a + 0 > 0) printf "%.2f", a / b; else printf "n/a"}'
}
later_ratio=$(ratio "$(median_of "$results/later.txt")" "$(median_of "$results/i3lock.txt")")
awk '{print $6}' "$results/sleep.txt" >"$results/sleep-ms.txt"
sleep_showing=$(awk '{s += $4} END {printf "%d of %d", s, NR * 25}' "$results/sleep.txt")
sleep_grabbed=$(grep -c ' grabbed ' "$results/sleep.txt" || true)

echo "## The desktop hidden"
echo
echo "Measured $(date -u +%Y-%m-%d) by \`bench/hidden.sh\` (Xvfb 1920x1080 with openbox and trayer;"
echo "memory on Xvfb 3840x2160), the desktop picture a 3840 x 2160 PNG of $((picture_size / 1048576)) MB."
echo
echo "| Figure | Median | Spread (min to max) | Goal | Runs |"
echo "|---|---|---|---|---|"
row "\`tessarine lock\` to the desktop hidden, first lock after a start (4K PNG)" "$results/first.txt" "50 ms"
row "\`tessarine lock\` to the desktop hidden, later locks" "$results/later.txt" "half of i3lock's"
row "i3lock -n to the desktop hidden (peer)" "$results/i3lock.txt" ""
row "xsecurelock to the desktop hidden (peer)" "$results/xsecurelock.txt" ""
echo "| Later locks ÷ i3lock's (medians) | $later_ratio | | 0.5 or less | |"
row "PrepareForSleep(true) to the inhibitor let go (first lock after a start)" "$results/sleep-ms.txt" "1000 ms"
echo "| Sampled points showing the desktop when the inhibitor was let go | $sleep_showing | | 0 | $(wc -l <"$results/sleep.txt") ($sleep_grabbed with the keyboard held) |"
echo "| Resident memory at 3840 x 2160, in the tray before the first lock | $rss_idle MB | one sample | | 1 |"
echo "| Resident memory at 3840 x 2160, locked | $rss_locked MB | one sample | i3lock's | 1 |"
echo "| Resident memory at 3840 x 2160, in the tray after a lock | $rss_after MB | one sample | 60 MB | 1 |"
echo "| i3lock -n -i (the same picture), locked (peer) | $rss_i3 MB | one sample | | 1 |"
echo
echo "- The probe maps an override-redirect window of magenta over the whole screen, waits until"
echo "  it shows, starts the command and reads 25 points (a 5 x 5 grid) of the root window every"
echo "  half millisecond until none is magenta; the time runs from the command's start. A peer is"
echo "  then ended with SIGTERM; Tessarine is unlocked with its password."
echo "- Sleep: the fake login manager on a private system bus sends PrepareForSleep(true) to a"
echo "  Tessarine started a second before (lock on wake on), and at the moment the inhibitor's pipe"
echo "  is closed reads the same 25 points over the magenta desktop and tries to grab the keyboard."
echo "- Memory: \`VmRSS\` 3 s after the start, 2 s into a lock and 2 s after the password. While"
echo "  locked the lock window's backing store (33 MB at 4K) is the one whole copy of the screen;"
echo "  the background is kept as compressed tiles (lockscreen/TiledPicture, 1 to 4 MB), and the"
echo "  window's native window and backing store are given back after each lock."
rm -rf "$results"
