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
thread_switches() { # PID: "TID SWITCHES" for every thread, voluntary and involuntary together
    local task
    for task in /proc/"$1"/task/*; do
        awk -v tid="${task##*/}" '/^(voluntary|nonvoluntary)_ctxt_switches/ {s += $2}
                                  END {if (s != "") print tid, s}' "$task/status" 2>/dev/null || true
    done
}
# Context switches between two samples of thread_switches, counted per thread: a thread that
# started counts from 0, one that ended (a pooled thread left idle) takes nothing away.
switches_between() { # BEFORE AFTER
    awk 'NR == FNR {before[$1] = $2; next} {d += $2 - before[$1]} END {print d + 0}' "$1" "$2"
}
idle_sample() { # prints "RSS_KB THREADS WAKEUPS" of a Tessarine idling in the tray for 10 s
    local idle
    "$TESSARINE" >/dev/null 2>&1 & idle=$!
    wait_until 10 tray_icon_embedded
    sleep 3
    local rss threads
    rss=$(awk '/^VmRSS/ {print $2}' /proc/$idle/status)
    threads=$(ls /proc/$idle/task | wc -l)
    thread_switches $idle >"$RIG_DIR/switches.before"
    sleep 10
    thread_switches $idle >"$RIG_DIR/switches.after"
    echo "$rss $threads $(switches_between "$RIG_DIR/switches.before" "$RIG_DIR/switches.after")"
    kill "$idle"; wait "$idle" 2>/dev/null || true
}
read -r rss_kb threads wakeups < <(idle_sample)
# The same with the idle lock on (ten minutes): one timer for the next deadline, nothing more.
cp "$XDG_CONFIG_HOME/tessarine/properties.plist" "$RIG_DIR/properties.plist"
sed -i 's|</dict>|<key>lockWhenIdle</key><true/><key>idleLockMinutes</key><integer>10</integer></dict>|' \
    "$XDG_CONFIG_HOME/tessarine/properties.plist"
read -r _ idle_lock_threads idle_lock_wakeups < <(idle_sample)
cp "$RIG_DIR/properties.plist" "$XDG_CONFIG_HOME/tessarine/properties.plist"

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

# The peers, measured in the same run: i3lock and xsecurelock, each from process start to
# keyboard grabbed, then ended with SIGTERM.
peer() { # NAME COMMAND...: times the command $runs times into $RIG_DIR/NAME.txt, prints the stats
    local name=$1
    shift
    : >"$RIG_DIR/$name.txt"
    if ! command -v "$1" >/dev/null; then
        echo "n/a n/a n/a"
        return
    fi
    for ((run = 0; run < runs; run++)); do
        "$grab" exec "$@" >>"$RIG_DIR/$name.txt"
        sleep 0.2
    done
    grep -v timeout "$RIG_DIR/$name.txt" | stats
}
read -r i3_median i3_min i3_max < <(peer i3lock i3lock -n)
i3_timeouts=$(grep -c timeout "$RIG_DIR/i3lock.txt" || true)
# xsecurelock needs nothing more under Xvfb: it starts its saver (a blank one by default) and
# starts its password prompt only at the first key, which never comes here.
read -r xsl_median xsl_min xsl_max < <(peer xsecurelock xsecurelock)
xsl_timeouts=$(grep -c timeout "$RIG_DIR/xsecurelock.txt" || true)
ratio() { # A B: A / B to two places, or n/a
    awk -v a="$1" -v b="$2" 'BEGIN {if (b + 0 > 0 && a + 0 > 0) printf "%.2f", a / b; else printf "n/a"}'
}
i3_ratio=$(ratio "$command_median" "$i3_median")
xsl_ratio=$(ratio "$command_median" "$xsl_median")

# CPU while locked: the real program locked (the clock ticking, the battery shown from the fake
# power supply, the music widget on), its user and system time from /proc/PID/stat per second of
# wall time over a few windows; then the same with mpv playing, so that the music widget is live.
cpu_windows=${BENCH_CPU_WINDOWS:-6}
cpu_seconds=${BENCH_CPU_SECONDS:-5}
ticks_per_second=$(getconf CLK_TCK)
cpu_ticks() { # utime + stime of a process, in clock ticks (fields 14 and 15 of its stat)
    sed 's/^.*) //' /proc/"$1"/stat | awk '{print $12 + $13}'
}
locked_cpu() { # FILE: appends "ms_per_s wakeups_per_s ticks wall_us" per window, while locked
    local t0 t1 w0 w1 s
    for ((window = 0; window < cpu_windows; window++)); do
        t0=$(cpu_ticks "$locker") w0=$(now_us)
        thread_switches "$locker" >"$RIG_DIR/switches.before"
        sleep "$cpu_seconds"
        t1=$(cpu_ticks "$locker") w1=$(now_us)
        thread_switches "$locker" >"$RIG_DIR/switches.after"
        s=$(switches_between "$RIG_DIR/switches.before" "$RIG_DIR/switches.after")
        awk -v t=$((t1 - t0)) -v hz="$ticks_per_second" -v w=$((w1 - w0)) -v s="$s" \
            'BEGIN {printf "%.2f %.2f %d %d\n", t * 1000 / hz / (w / 1e6), s / (w / 1e6), t, w}' >>"$1"
    done
}
lock_and_settle() {
    "$TESSARINE" lock
    wait_until 5 held_by_other || echo "CPU while locked: the lock did not take the keyboard" >&2
    sleep 2 # past the opening
}
unlock_and_settle() {
    xdotool key a
    wait_until 5 free_keyboard || echo "CPU while locked: the keyboard was not given back" >&2
}
cpu_mean() { # FILE: CPU over all its windows together, ms per s (finer than one window's ticks)
    awk -v hz="$ticks_per_second" '{t += $3; w += $4} END {printf "%.2f", t * 1000 / hz / (w / 1e6)}' "$1"
}
: >"$RIG_DIR/cpu.txt"
: >"$RIG_DIR/cpu-music.txt"
: >"$RIG_DIR/cpu-seconds.txt"
start_locker() { # LANG: a fresh Tessarine in that locale, its icon in the tray
    env -u LC_ALL -u LC_TIME LANG="$1" "$TESSARINE" >/dev/null 2>&1 &
    locker=$!
    wait_until 10 tray_icon_embedded || echo "CPU while locked: no tray icon" >&2
}
stop_locker() {
    kill "$locker"
    wait "$locker" 2>/dev/null || true
}
# In a locale whose short time has hours and minutes, as a user's has.
start_locker en_US.UTF-8
lock_and_settle
locked_cpu "$RIG_DIR/cpu.txt"
unlock_and_settle
sox -n -r 44100 "$RIG_DIR/tone.wav" synth 30 sine 440 2>/dev/null
mpv --no-config --script=/usr/lib/mpv-mpris/mpris.so --ao=null --no-video --no-terminal \
    --loop-file=inf "$RIG_DIR/tone.wav" >/dev/null 2>&1 & player=$!
player_up() { playerctl -p mpv status 2>/dev/null | grep -q Playing; }
wait_until 5 player_up || echo "mpv did not start playing" >&2
lock_and_settle
locked_cpu "$RIG_DIR/cpu-music.txt"
unlock_and_settle
kill "$player"; wait "$player" 2>/dev/null || true
stop_locker
# The C locale's short time has seconds: the clock's text changes, and is painted, every second.
start_locker C
lock_and_settle
locked_cpu "$RIG_DIR/cpu-seconds.txt"
unlock_and_settle
stop_locker
read -r cpu_median cpu_min cpu_max < <(awk '{print $1}' "$RIG_DIR/cpu.txt" | stats)
read -r lockwake_median lockwake_min lockwake_max < <(awk '{print $2}' "$RIG_DIR/cpu.txt" | stats)
read -r cpumusic_median cpumusic_min cpumusic_max < <(awk '{print $1}' "$RIG_DIR/cpu-music.txt" | stats)
read -r musicwake_median musicwake_min musicwake_max < <(awk '{print $2}' "$RIG_DIR/cpu-music.txt" | stats)
read -r cpusec_median cpusec_min cpusec_max < <(awk '{print $1}' "$RIG_DIR/cpu-seconds.txt" | stats)
read -r secwake_median secwake_min secwake_max < <(awk '{print $2}' "$RIG_DIR/cpu-seconds.txt" | stats)
cpu_all=$(cpu_mean "$RIG_DIR/cpu.txt")
cpumusic_all=$(cpu_mean "$RIG_DIR/cpu-music.txt")
cpusec_all=$(cpu_mean "$RIG_DIR/cpu-seconds.txt")

# Background rebuild at 4K and 8K and unchanged (bench/bench_background): a change of the primary
# display's size while locked, the user's own picture (JPEG) and the desktop's (PNG), and the
# user's picture again with a second display beside the primary one.
bg_runs=${BENCH_BACKGROUND_RUNS:-8}
background_rows=
background_figures() { # LABEL KIND FORMAT [further]
    local label=$1 file=$RIG_DIR/background-$2-$3${4:+-$4}.txt size what median min max reads
    if ! "$root/$build/bench/bench_background" "$2" "$3" "$bg_runs" ${4:+"$4"} >"$file"; then
        background_rows+="| Background rebuild, $label | failed | | | |"$'\n'
        return
    fi
    for size in 4k 8k unchanged; do
        case $size in
        4k) what="to 3840 x 2160" ;;
        8k) what="to 7680 x 4320" ;;
        *) what="at the same size again (kept)" ;;
        esac
        read -r median min max < <(awk -v s=$size '$2 == s {print $3}' "$file" | stats)
        reads=$(awk -v s=$size '$2 == s {r += $4; n++} END {printf "%.1f", r / n}' "$file")
        background_rows+="| Background rebuild $what, $label ($reads pictures read each) | $median ms | $min to $max ms | | $(grep -c " $size " "$file") |"$'\n'
    done
}
background_figures "the user's picture (JPEG)" custom jpg
background_figures "the desktop's picture (PNG)" desktop png
background_figures "the user's picture, a second display beside" custom jpg further

# Resident memory over 1,000 lock/unlock cycles: bench/cycles.sh runs the soak in a desktop of its
# own and prints a section of the report; its growth figure also goes in the main table.
cycles_section=$("$root/bench/cycles.sh" "$build")
# From a lock request to no desktop pixel left, the sleep inhibitor's release and memory at 4K:
# bench/hidden.sh runs in desktops of its own too and prints a section of the report.
hidden_section=$("$root/bench/hidden.sh" "$build")
# Tessarine and swaylock on sway and labwc from the trixie tree, timed by one Wayland client
# reading the outputs: bench/wayland.sh prints its section (or why it measured nothing).
wayland_section=$("$root/bench/wayland.sh" "$build")
cycles_growth=$(sed -n 's/^| Growth over \([0-9]*\) lock\/unlock cycles | \([^|]*\) | \([^|]*\) |.*/\1|\2|\3/p' \
    <<<"$cycles_section")

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
    echo "| Wake-ups while idle with the idle lock on (all $idle_lock_threads threads, 10 s) | $idle_lock_wakeups | one sample | 0 | 1 |"
    echo "| Tray click to keyboard grabbed | $click_median ms | $click_min to $click_max ms | 5 ms | $runs ($click_timeouts timed out) |"
    echo "| \`lock\` in the program to keyboard grabbed | $lock_median ms | $lock_min to $lock_max ms | 5 ms | $runs |"
    echo "| Last password key to keyboard released | $release_median ms | $release_min to $release_max ms | 5 ms | $runs ($release_timeouts timed out) |"
    echo "| Last key matched to keyboard released, in the program | $unlock_median ms | $unlock_min to $unlock_max ms | 5 ms | $runs |"
    echo "| \`tessarine lock\`, process start to keyboard grabbed | $command_median ms | $command_min to $command_max ms | half of i3lock's | $runs ($command_timeouts timed out) |"
    echo "| Hot key (Super+Alt+L) press to keyboard grabbed | $hotkey_median ms | $hotkey_min to $hotkey_max ms | 5 ms | $runs ($hotkey_timeouts timed out) |"
    echo "| \`kill -9\` of a locked Tessarine to covered and keyboard grabbed again (guard) | $takeover_median ms | $takeover_min to $takeover_max ms | 50 ms | $runs ($takeover_timeouts timed out) |"
    echo "| i3lock -n, process start to keyboard grabbed (peer) | $i3_median ms | $i3_min to $i3_max ms | | $runs ($i3_timeouts timed out) |"
    echo "| xsecurelock, process start to keyboard grabbed (peer) | $xsl_median ms | $xsl_min to $xsl_max ms | | $runs ($xsl_timeouts timed out) |"
    echo "| \`tessarine lock\` to grabbed ÷ i3lock's (medians) | $i3_ratio | | 0.5 or less | |"
    echo "| \`tessarine lock\` to grabbed ÷ xsecurelock's (medians) | $xsl_ratio | | | |"
    echo "| CPU while locked (clock in hours and minutes, battery, music widget with no player) | $cpu_median ms/s ($cpu_all over all windows) | $cpu_min to $cpu_max ms/s | | $cpu_windows windows of ${cpu_seconds} s |"
    echo "| Wake-ups while locked, no player | $lockwake_median /s | $lockwake_min to $lockwake_max /s | | $cpu_windows windows of ${cpu_seconds} s |"
    echo "| CPU while locked, mpv playing (music widget live) | $cpumusic_median ms/s ($cpumusic_all over all windows) | $cpumusic_min to $cpumusic_max ms/s | | $cpu_windows windows of ${cpu_seconds} s |"
    echo "| Wake-ups while locked, mpv playing | $musicwake_median /s | $musicwake_min to $musicwake_max /s | | $cpu_windows windows of ${cpu_seconds} s |"
    echo "| CPU while locked, clock with seconds (C locale), no player | $cpusec_median ms/s ($cpusec_all over all windows) | $cpusec_min to $cpusec_max ms/s | | $cpu_windows windows of ${cpu_seconds} s |"
    echo "| Wake-ups while locked, clock with seconds | $secwake_median /s | $secwake_min to $secwake_max /s | | $cpu_windows windows of ${cpu_seconds} s |"
    printf '%s' "$background_rows"
    if [ -n "$cycles_growth" ]; then
        IFS='|' read -r cycles_count cycles_value cycles_goal <<<"$cycles_growth"
        echo "| RSS growth over $cycles_count lock/unlock cycles (section below) | ${cycles_value% } | one run | ${cycles_goal% } | 1 |"
    else
        echo "| RSS growth over 1,000 lock/unlock cycles | the run failed (section below) | | 1 MB | |"
    fi
    echo
    echo "## Method"
    echo
    echo "- Start to tray: \`bench/tray_start_timer\` forks and executes \`tessarine\` with a profile"
    echo "  that holds both files (so nothing but the icon is shown), and listens on the root window"
    echo "  for the ReparentNotify by which the tray takes the icon window in. The time runs from"
    echo "  fork to that event; the program is ended after each run."
    echo "- Idle memory: \`VmRSS\` of the process 3 s after its icon was embedded."
    echo "- Wake-ups: the sum of voluntary and involuntary context switches of all its threads"
    echo "  (per thread, so a thread that ends in between takes nothing away),"
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
    echo "- Peers: \`i3lock -n\` and \`xsecurelock\` (Debian's packages, default settings; xsecurelock"
    echo "  needs no environment under Xvfb) are each started $runs times by \`bench/grab_timer exec\`"
    echo "  and timed from fork until the focused window loses the keyboard, then ended with SIGTERM."
    echo "  The ratios divide the median of \`tessarine lock\` by each peer's median, all from this run."
    echo "- CPU while locked: a fresh Tessarine (clock, battery from the rig's fake power supply, music"
    echo "  widget and the other icons on), started with \`LANG=en_US.UTF-8\` (its short time is hours"
    echo "  and minutes), is locked with \`tessarine lock\`; 2 s after the grab, \`utime + stime\` of"
    echo "  \`/proc/PID/stat\` (clock ticks of 1/$ticks_per_second s) is read at the start and end of each of"
    echo "  $cpu_windows windows of $cpu_seconds s and divided by the window's wall time: milliseconds of CPU per"
    echo "  second (10 ms/s is 1 % of one core). One tick in a window of $cpu_seconds s is"
    echo "  $(awk -v s="$cpu_seconds" -v hz="$ticks_per_second" 'BEGIN {printf "%.1f", 1000 / hz / s}') ms/s, so the figure in brackets adds all windows' ticks over all their time."
    echo "  Wake-ups are the context switches of all its threads over the same windows. Every second"
    echo "  the lock's clock tick sets the time, reads the battery and asks the player over D-Bus;"
    echo "  every 4 s the mail badge's script runs. Then it is unlocked, \`mpv\` plays a looped tone"
    echo "  (with its MPRIS plugin, so the music widget shows and follows it) and the same is"
    echo "  measured again. Last, a Tessarine in the C locale, whose short time has seconds, so the"
    echo "  clock's label (with its blurred shadow) is painted every second."
    echo "- Background rebuild (\`bench/bench_background\`): the whole program in one process, built"
    echo "  on the real Linux services, locked on the rig's display, with one picture of 7680 x 4320"
    echo "  generated into a file (photograph-like colour fields with grain), named either as the"
    echo "  user's own picture (\`desktopImageURL\`, JPEG) or as the desktop's (\`~/.fehbg\`, PNG, read"
    echo "  through the desktop-picture chain). Only the displays service is the bench's own, so that"
    echo "  the primary display can report 3840 x 2160 or 7680 x 4320 on the 1080p Xvfb. Each run sets"
    echo "  4K and calls \`applicationDidChangeScreenParameters\` as the program does on a screen change"
    echo "  (the window resized, \`didResolutionChange\` true, the background read, decoded, scaled,"
    echo "  its colour sampled, the icons placed), then calls it again at the same size (unchanged:"
    echo "  the kept background), then the same at 8K; $bg_runs runs. The time is that call's, in the"
    echo "  process; painting the window, on the next turn of the event loop, is not counted."
    echo "  \"Pictures read\" counts the reads through the desktop-picture service in that call. A"
    echo "  picture larger than the display is decoded straight to the size shown where the format"
    echo "  allows: a JPEG decodes only a half, quarter or eighth of its pixels and is then scaled"
    echo "  the rest of the way; a PNG decodes whole and is then scaled. With a second display, its"
    echo "  cover window is made anew on every call, and its picture is read again (to notice a"
    echo "  change on disk) but decoded again only when the bytes or the display's size changed."
    echo
    echo "The machine is shared (2 cores, other builds may run beside the benchmarks): the spreads"
    echo "show that noise; the medians are what the goals are checked against."
} >"$report"

echo >>"$report"
printf '%s\n' "$cycles_section" >>"$report"
echo >>"$report"
printf '%s\n' "$hidden_section" >>"$report"
echo >>"$report"
printf '%s\n' "$wayland_section" >>"$report"

cat "$report"
