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
desktop_start 1920x1080 || { echo "the desktop did not come up" >&2; exit 1; }
fake_power_supply
# A configured profile: both files present, so a start shows nothing but the tray icon. The
# password is "a"; the lock closes without movement; the hot key is Super+Alt+L.
write_password a
write_options "<key>showMusic</key><true/><key>showTime</key><true/>
<key>showBattery</key><true/><key>showDoNotDisturb</key><true/><key>showShutDown</key><true/>
<key>timeout</key><true/><key>timeoutTime</key><integer>5</integer>
<key>useShortcut</key><true/><key>shortcutModifier1</key><integer>0</integer>
<key>shortcutModifier2</key><integer>256</integer><key>shortcutModifier3</key><integer>2048</integer>
<key>shortcutKey</key><integer>37</integer><key>shortcutString</key><string>L</string>
<key>closeAnimation</key><integer>0</integer>"

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

# Tray click to keyboard grabbed, and the last password key to keyboard released, seen by a
# focused window of another client; the profile's password is "a", with no closing movement.
grab=$root/$build/bench/grab_timer
"$TESSARINE" >/dev/null 2>&1 & locker=$!
wait_until 10 tray_icon_embedded
icon=$(tray_icon_windows | head -n1)
eval "$(xdotool getwindowgeometry --shell "$icon")"
: >"$RIG_DIR/click.txt"
: >"$RIG_DIR/release.txt"
for ((run = 0; run < runs; run++)); do
    "$grab" click $((X + 11)) $((Y + 11)) >>"$RIG_DIR/click.txt"
    sleep 0.6
    "$grab" keys 0x61 >>"$RIG_DIR/release.txt"
    sleep 0.5
done
# The command line and the hot key, with the same running program: from the start of
# `tessarine lock` (a process of its own that asks the running one over D-Bus) and from the
# press of L with Super and Alt held, to the keyboard grabbed.
: >"$RIG_DIR/command.txt"
: >"$RIG_DIR/hotkey.txt"
for ((run = 0; run < runs; run++)); do
    "$grab" run "$TESSARINE" lock >>"$RIG_DIR/command.txt"
    sleep 0.6
    "$grab" keys 0x61 >/dev/null
    sleep 0.5
    "$grab" chord 0xffeb 0xffe9 0x6c >>"$RIG_DIR/hotkey.txt"
    sleep 0.6
    "$grab" keys 0x61 >/dev/null
    sleep 0.5
done
kill "$locker"; wait "$locker" 2>/dev/null || true
read -r command_median command_min command_max < <(grep -v timeout "$RIG_DIR/command.txt" | stats)
read -r hotkey_median hotkey_min hotkey_max < <(grep -v timeout "$RIG_DIR/hotkey.txt" | stats)
command_timeouts=$(grep -c timeout "$RIG_DIR/command.txt" || true)
hotkey_timeouts=$(grep -c timeout "$RIG_DIR/hotkey.txt" || true)
read -r click_median click_min click_max < <(grep -v timeout "$RIG_DIR/click.txt" | stats)
read -r release_median release_min release_max < <(grep -v timeout "$RIG_DIR/release.txt" | stats)
click_timeouts=$(grep -c timeout "$RIG_DIR/click.txt" || true)
release_timeouts=$(grep -c timeout "$RIG_DIR/release.txt" || true)

# kill -9 of a locked Tessarine, to its guard's cover over the display and the keyboard grabbed
# again; the guard is then opened with the profile's password.
takeover=$root/$build/tests/takeover_timer
probe=$root/$build/tests/x11_probe
: >"$RIG_DIR/takeover.txt"
watching() { [ "$(grep -c 'watching the lock' "$RIG_DIR/guard.log")" -gt "$1" ]; }
held_by_other() { [ "$("$probe" grab-keyboard)" = AlreadyGrabbed ]; }
free_keyboard() { [ "$("$probe" grab-keyboard)" = Success ]; }
: >"$RIG_DIR/guard.log"
for ((run = 0; run < runs; run++)); do
    "$TESSARINE" >>"$RIG_DIR/guard.log" 2>&1 & locker=$!
    wait_until 10 tray_icon_embedded
    before=$(grep -c 'watching the lock' "$RIG_DIR/guard.log" || true)
    "$TESSARINE" lock
    wait_until 5 watching "$before"
    "$takeover" "$locker" 9 >>"$RIG_DIR/takeover.txt" 2>/dev/null || echo timeout >>"$RIG_DIR/takeover.txt"
    wait "$locker" 2>/dev/null || true
    wait_until 2 held_by_other
    xdotool key a
    wait_until 5 free_keyboard
done
read -r takeover_median takeover_min takeover_max < <(grep -v timeout "$RIG_DIR/takeover.txt" | stats)
takeover_timeouts=$(grep -c timeout "$RIG_DIR/takeover.txt" || true)

# The same inside the program: lock() to grabbed, and the last key's matching to released.
"$root/$build/bench/bench_lock" "$runs" >"$RIG_DIR/inprocess.txt" 2>/dev/null
read -r lock_median lock_min lock_max < <(awk '/^lock_to_grabbed/ {print $2}' "$RIG_DIR/inprocess.txt" | stats)
read -r unlock_median unlock_min unlock_max < <(awk '/^unlock_to_released/ {print $2}' "$RIG_DIR/inprocess.txt" | stats)

# A peer, measured in the same run: i3lock from process start to keyboard grabbed.
: >"$RIG_DIR/i3lock.txt"
if command -v i3lock >/dev/null; then
    for ((run = 0; run < runs; run++)); do
        "$grab" exec i3lock -n >>"$RIG_DIR/i3lock.txt"
        sleep 0.2
    done
    read -r i3_median i3_min i3_max < <(grep -v timeout "$RIG_DIR/i3lock.txt" | stats)
else
    i3_median=n/a i3_min=n/a i3_max=n/a
fi

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
    echo "| Tray click to keyboard grabbed | $click_median ms | $click_min to $click_max ms | 5 ms | $runs ($click_timeouts timed out) |"
    echo "| \`lock\` in the program to keyboard grabbed | $lock_median ms | $lock_min to $lock_max ms | 5 ms | $runs |"
    echo "| Last password key to keyboard released | $release_median ms | $release_min to $release_max ms | 5 ms | $runs ($release_timeouts timed out) |"
    echo "| Last key matched to keyboard released, in the program | $unlock_median ms | $unlock_min to $unlock_max ms | 5 ms | $runs |"
    echo "| \`tessarine lock\`, process start to keyboard grabbed | $command_median ms | $command_min to $command_max ms | half of i3lock's | $runs ($command_timeouts timed out) |"
    echo "| Hot key (Super+Alt+L) press to keyboard grabbed | $hotkey_median ms | $hotkey_min to $hotkey_max ms | 5 ms | $runs ($hotkey_timeouts timed out) |"
    echo "| \`kill -9\` of a locked Tessarine to covered and keyboard grabbed again (guard) | $takeover_median ms | $takeover_min to $takeover_max ms | 50 ms | $runs ($takeover_timeouts timed out) |"
    echo "| i3lock -n, process start to keyboard grabbed (peer) | $i3_median ms | $i3_min to $i3_max ms | | $runs |"
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
    echo "- Grabs seen from outside (\`bench/grab_timer\`): a small window of another client takes the"
    echo "  input focus; the time runs from the click's button release (sent with XTest on the tray"
    echo "  icon), or from the last password key's press, until that window is told the keyboard was"
    echo "  taken (FocusOut, mode Grab) or given back (FocusIn, mode Ungrab). The profile's password"
    echo "  is one key and the lock closes with no movement, so no animation delay is counted."
    echo "- In the program (\`bench/bench_lock\`): the real X11 shield and windows, timed around the"
    echo "  call of \`lock\` until the keyboard grab has succeeded (one turn of the event loop), and"
    echo "  around the matching of the last key until the grabs are released."
    echo "- i3lock (Debian's package) is timed the same way as a peer: from fork until the focused"
    echo "  window loses the keyboard. \`tessarine lock\` is timed the same way: a new process that"
    echo "  asks the running Tessarine over the session bus, which then locks."
    echo "- Hot key: Super and Alt are pressed with XTest, then L; the time runs from the press of L."
    echo "- Guard (\`tests/takeover_timer\`): Tessarine is started and locked with \`tessarine lock\`;"
    echo "  once its guard watches, the timer sends SIGKILL and polls until Tessarine's windows are"
    echo "  gone, a window of the guard covers the root window and a grab of the keyboard answers"
    echo "  AlreadyGrabbed. The password is then typed to the guard. Each run starts a new Tessarine."
} >"$report"

# --- Resident memory over 1,000 lock/unlock cycles: a section of its own, from bench/cycles.sh.
"$root/bench/cycles.sh" "$build" >>"$report"
# --- end of the cycles section.

cat "$report"
