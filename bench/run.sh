#!/usr/bin/env bash
# Runs every benchmark in a private headless desktop and writes bench/REPORT.md.
set -euo pipefail
build=${1:-build}
root=$(cd "$(dirname "$0")/.." && pwd)
export TESSARINE=$root/$build/tessarine
timer=$root/$build/bench/tray_start_timer
report=$root/bench/REPORT.md
runs=${BENCH_RUNS:-30}

source "$root/tests/rig/desktop.sh"
desktop_start 1920x1080
fake_power_supply
library=$XDG_CONFIG_HOME/tessarine
mkdir -p "$library"
# A configured profile: both files present, so a start shows nothing but the tray icon.
printf '%s\n' '<?xml version="1.0" encoding="UTF-8"?>' '<plist version="1.0">' \
    '<array><string>a</string></array>' '</plist>' >"$library/settings.plist"
"$TESSARINE" >/dev/null 2>&1 & first=$!
wait_until 10 test -f "$library/properties.plist"
sleep 0.5
kill "$first"; wait "$first" 2>/dev/null || true

stats() { # prints median, min, max of the numbers on stdin
    sort -g | awk '{v[NR]=$1} END {m = (NR % 2) ? v[(NR+1)/2] : (v[NR/2] + v[NR/2+1]) / 2;
                                   printf "%.2f %.2f %.2f\n", m, v[1], v[NR]}'
}

# Start to tray.
"$timer" "$runs" "$TESSARINE" >"$RIG_DIR/start.txt" 2>/dev/null
read -r start_median start_min start_max < <(awk '{print $2}' "$RIG_DIR/start.txt" | stats)

# Idle: resident memory, and how often any of its threads wakes up over 10 s of idling.
switches() { # voluntary + involuntary context switches of every thread of a process
    cat /proc/"$1"/task/*/status 2>/dev/null |
        awk '/^(voluntary|nonvoluntary)_ctxt_switches/ {s += $2} END {print s}'
}
"$TESSARINE" >/dev/null 2>&1 & idle=$!
wait_until 10 tray_icon_embedded
sleep 3
rss_kb=$(awk '/^VmRSS/ {print $2}' /proc/$idle/status)
threads=$(ls /proc/$idle/task | wc -l)
before=$(switches $idle)
sleep 10
after=$(switches $idle)
wakeups=$((after - before))
kill "$idle"; wait "$idle" 2>/dev/null || true

cpu=$(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2- | sed 's/^ *//')
{
    echo "# Tessarine benchmarks"
    echo
    echo "Measured $(date -u +%Y-%m-%d) on $(nproc) cores ($cpu), Xvfb 1920x1080 with openbox and"
    echo "trayer, a release build with debug information (\`$build\`)."
    echo
    echo "| Figure | Median | Spread (min to max) | Goal | Runs |"
    echo "|---|---|---|---|---|"
    echo "| Start to tray icon embedded | $start_median ms | $start_min to $start_max ms | 150 ms | $runs |"
    echo "| Idle resident memory | $((rss_kb / 1024)) MB ($rss_kb kB) | one sample | 40 MB | 1 |"
    echo "| Wake-ups while idle (all $threads threads, 10 s) | $wakeups | one sample | 0 | 1 |"
    echo
    echo "## Method"
    echo
    echo "- Start to tray: \`bench/tray_start_timer\` forks and executes \`tessarine\` with a profile"
    echo "  that holds both files (so nothing but the icon is shown), and listens on the root window"
    echo "  for the ReparentNotify by which the tray takes the icon window in. The time runs from"
    echo "  fork to that event; the program is ended after each run."
    echo "- Idle memory: \`VmRSS\` of the process 3 s after its icon was embedded."
    echo "- Wake-ups: the sum of voluntary and involuntary context switches of all its threads,"
    echo "  read from \`/proc/PID/task/*/status\` before and after 10 s without input. Every timer"
    echo "  that fired would show here; 0 means nothing ran."
} >"$report"
cat "$report"
