#!/usr/bin/env bash
# Resident memory over lock/unlock cycles: runs the soak (tests/e2e/e2e_soak.sh) in a desktop of
# its own and prints a section of bench/REPORT.md, its table and its method, on standard output.
#   bench/cycles.sh [BUILD]        BENCH_CYCLES=N for another number than 1,000
set -euo pipefail
build=${1:-build}
root=$(cd "$(dirname "$0")/.." && pwd)
cycles=${BENCH_CYCLES:-1000}
warmup=20
figures=$(mktemp "${TMPDIR:-/tmp}/tessarine-cycles.XXXXXX")
log=$figures.log
trap 'rm -f "$figures" "$log"' EXIT

# A figure, not a test: the run is reported whatever it finds, and a failure is said so.
status=ok
SOAK_FIGURES=$figures TESSARINE=$root/$build/tessarine X11_PROBE=$root/$build/tests/x11_probe \
    X11_RESOURCES=$root/$build/tests/x11_resources TESTS_DIR=$root/tests \
    bash "$root/tests/e2e/e2e_soak.sh" "$cycles" "$warmup" >"$log" 2>&1 || status=failed
figure() { sed -n "s/^$1=//p" "$figures"; }
if [ ! -s "$figures" ]; then
    echo "## Memory over $cycles lock/unlock cycles"
    echo
    echo "The run failed before its end: $(grep -m1 '^FAIL' "$log" || tail -n1 "$log")"
    exit 0
fi
before_kb=$(figure before_rss_kb)
after_kb=$(figure after_rss_kb)
growth_kb=$(figure rss_growth_kb)
goal="at most 1 MB (1024 kB)"
met=$( ((growth_kb <= 1024)) && echo met || echo "NOT met")

echo "## Memory over $cycles lock/unlock cycles"
echo
echo "| Figure | Value | Goal | Runs |"
echo "|---|---|---|---|"
echo "| Resident memory after $warmup warm-up cycles | $before_kb kB | | 1 |"
echo "| Resident memory after $cycles more cycles | $after_kb kB | | 1 |"
echo "| Growth over $cycles lock/unlock cycles | $growth_kb kB | $goal: $met | 1 |"
echo "| Time per cycle (lock, wait for both grabs, type, wait for release) | $(figure ms_per_cycle) ms | | $cycles |"
echo
echo "Counted after the warm-up and at the end (the soak fails on any growth; this run: $status):"
echo
echo "| Counted | After warm-up | At the end |"
echo "|---|---|---|"
for counted in x_windows x_resources x_pixmap_bytes fds threads children qobjects timers widgets heap_kb; do
    echo "| $counted | $(figure "before_$counted") | $(figure "after_$counted") |"
done
echo
echo "Method: \`bench/cycles.sh\` runs the soak of \`make soak\` (\`tests/e2e/e2e_soak.sh\`) in a"
echo "private Xvfb 1280x800 desktop with openbox and trayer, on a profile with every lock-screen"
echo "widget on (clock, battery, music, mail badge with two unread mails, do-not-disturb), the"
echo "display dimmed while locked (a backlight folder of the rig's own) and the two-key password"
echo "\"ab\"."
echo "Each cycle locks over D-Bus (\`tessarine lock\` and \`busctl set-property ... lock i 1\` in"
echo "turn), waits until a grab of the keyboard and of the pointer by another client both answer"
echo "AlreadyGrabbed and the lock window is mapped, types the password with \`xdotool type\`, and"
echo "waits until both grabs are free and the lock window unmapped. After $warmup warm-up cycles"
echo "and again at the end, the program idles 1.5 s and \`VmRSS\` is read from"
echo "\`/proc/PID/status\`; the growth is the difference. X windows and resources come from the"
echo "X-Resource extension (\`tests/tools/x11_resources\`), descriptors and threads from \`/proc\`,"
echo "objects, main-thread timers and the heap in use (malloc's count, which swings with the"
echo "pictures alive at the moment) from the program itself (\`TESSARINE_DIAGNOSTICS=1\`)."
