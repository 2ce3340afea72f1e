#!/usr/bin/env bash
# The Wayland lock: Tessarine and swaylock on real compositors (sway, labwc) headless from the
# trixie tree, two outputs each, timed by one outside observer (tests/tools/wayland_cover_timer,
# another Wayland client reading points of every output through wlr-screencopy and typing the
# password through a virtual keyboard of its own). Prints a section of bench/REPORT.md (run.sh
# adds it), or a line saying why nothing was measured.
#   wayland.sh [BUILD] [COMPOSITOR...]     (default: build, sway labwc)
set -euo pipefail
build=${1:-build}
shift || true
compositors=("$@")
[ ${#compositors[@]} -gt 0 ] || compositors=(sway labwc)
root=$(cd "$(dirname "$0")/.." && pwd)
export TESSARINE=$root/$build/tessarine
cover=$root/$build/wayland_cover_timer
switch=$root/$build/wayland_output_switch
wayland_desktop=$root/$build/wayland_desktop
runs=${BENCH_WAYLAND_RUNS:-15}
password=k3y

source "$root/tests/rig/desktop.sh"
source "$root/tests/rig/wayland.sh"
skip() {
    printf '## The Wayland lock\n\nNot measured here: %s.\n' "$1"
    exit 0
}
[ -x "$cover" ] || skip "the build has no Wayland tools (libwayland-dev, wayland-protocols)"
[ "$(id -u)" -eq 0 ] || skip "the compositors' chroot needs root"
for program in sway labwc swaylock; do
    [ -x "$WAYLAND_CHROOT/usr/bin/$program" ] ||
        skip "no $program in $WAYLAND_CHROOT (tools/wayland-chroot.sh makes the tree)"
done

results=$(mktemp -d -p "${TMPDIR:-/tmp}")
stats() { # prints median, min, max of the numbers on stdin
    sort -g | awk '{v[NR]=$1} END {m = (NR % 2) ? v[(NR+1)/2] : (v[NR/2] + v[NR/2+1]) / 2;
                                   printf "%.2f %.2f %.2f\n", m, v[1], v[NR]}'
}
ratio() { # A B: A / B to two places, or n/a
    awk -v a="$1" -v b="$2" 'BEGIN {if (b + 0 > 0 && a + 0 > 0) printf "%.2f", a / b; else printf "n/a"}'
}

desktop_start 1920x1080 || { echo "the desktop did not come up" >&2; exit 1; }
fake_power_supply
write_password "$password"
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>"
# swaylock asks PAM in the tree, as root there: the tree's root has the same password.
echo "root:$password" | chroot "$WAYLAND_CHROOT" chpasswd
export XDG_SESSION_TYPE=wayland
# The headless outputs at 250 Hz, so that a frame (and a screen copy) comes every 4 ms: sway's
# by its configuration, labwc's through output management (labwc has no setting of its own).
refresh=250
export WAYLAND_SWAY_CONFIG=${WAYLAND_SWAY_CONFIG:-"output * mode --custom 1280x720@${refresh}Hz"}

swaylock_running() { # any swaylock whose root is the tree
    local pid
    for pid in $(pgrep -x swaylock); do
        [ "$(readlink "/proc/$pid/root")" = "$WAYLAND_CHROOT" ] && return 0
    done
    return 1
}
swaylock_gone() { ! swaylock_running; }

# The tree is shared by every rig on the machine (tests of other work trees too): the benchmark
# waits until no process runs in it, and keeps its compositor's socket in a folder of its own,
# which a test starting beside it does not empty.
export WAYLAND_RUNTIME=/run/xdg-bench-$$
tree_free() {
    local root
    for root in /proc/[0-9]*/root; do
        [ "$(readlink "$root" 2>/dev/null)" != "$WAYLAND_CHROOT" ] || return 1
    done
}

# COMPOSITOR: every figure on it into $results/COMPOSITOR-*.txt
measure() {
    local compositor=$1 run desktop status=0
    wait_until 600 tree_free || echo "$compositor: the tree is still in use; measured beside it" >&2
    compositor_start "$compositor" || status=$?
    if [ "$status" -ne 0 ]; then
        echo "$compositor did not start (status $status)" >"$results/$compositor-skipped"
        compositor_stop
        return
    fi
    if [ "$compositor" = labwc ]; then
        local output
        for output in HEADLESS-1 HEADLESS-2; do
            "$switch" mode "$output" "1280x720@$refresh" ||
                echo "$compositor: $output keeps its own refresh rate" >&2
        done
    fi
    "$wayland_desktop" ff00ff >"$RIG_DIR/desktop.txt" 2>&1 &
    desktop=$!
    : >"$RIG_DIR/tessarine.log"
    start_tessarine
    wait_until 10 tray_icon_embedded || echo "$compositor: no tray icon" >&2
    wait_until 5 grep -q "locked through its compositor" "$RIG_DIR/tessarine.log" ||
        echo "$compositor: Tessarine did not take the compositor's lock" >&2
    sleep 1
    for ((run = 0; run < runs; run++)); do
        "$cover" lock --log "$RIG_DIR/tessarine.log" "the compositor has locked the session" \
            "$TESSARINE" lock >"$results/$compositor-tessarine-$run.txt" || true
        sleep 0.3
        "$cover" unlock "$password" >>"$results/$compositor-tessarine-unlock.txt" || true
        sleep 0.5
    done
    stop_tessarine
    # swaylock from the tree, as the session would start it: the observer's child takes the
    # tree as its root and runs swaylock at once (no chroot or env program first); -f detaches
    # once the session is locked.
    local tree=(--root "$WAYLAND_CHROOT" PATH=/usr/bin:/bin HOME=/root
        XDG_RUNTIME_DIR="$WAYLAND_RUNTIME" WAYLAND_DISPLAY="$COMPOSITOR_SOCKET")
    local swaylock=("${tree[@]}" /usr/bin/swaylock -f)
    for ((run = 0; run < runs; run++)); do
        "$cover" lock "${swaylock[@]}" >"$results/$compositor-swaylock-$run.txt" || true
        sleep 0.3
        "$cover" unlock "$password"$'\n' >>"$results/$compositor-swaylock-unlock.txt" || true
        wait_until 5 swaylock_gone || echo "$compositor: swaylock did not end" >&2
        sleep 0.5
    done
    # What starting a program costs the observer, by the same two paths: the tree's `true`
    # (swaylock's path) and the host's (`tessarine lock`'s), each to its exit.
    for ((run = 0; run < runs; run++)); do
        "$cover" lock "${tree[@]}" /usr/bin/true >"$results/$compositor-start_tree-$run.txt" || true
        "$cover" lock /bin/true >"$results/$compositor-start_host-$run.txt" || true
    done
    kill "$desktop" 2>/dev/null || true
    wait "$desktop" 2>/dev/null || true
    compositor_stop
    rm -rf "${WAYLAND_CHROOT:?}$WAYLAND_RUNTIME"
}

for compositor in "${compositors[@]}"; do
    measure "$compositor"
done
desktop_stop
trap - EXIT

figure() { # COMPOSITOR LOCKER NAME: "median min max count timeouts" of that line over the runs
    local lines
    lines=$(cat "$results/$1-$2-"[0-9]*.txt 2>/dev/null | awk -v n="$3" '$1 == n {print $2}')
    local good timeouts
    good=$(grep -v timeout <<<"$lines" | grep . || true)
    timeouts=$(grep -c timeout <<<"$lines" || true)
    if [ -n "$good" ]; then
        echo "$(stats <<<"$good") $(wc -l <<<"$good") $timeouts"
    else
        echo "n/a n/a n/a 0 $timeouts"
    fi
}
unlock_figure() { # COMPOSITOR LOCKER
    local file=$results/$1-$2-unlock.txt good timeouts
    good=$(awk '$1 == "unlocked" && $2 != "timeout" {print $2}' "$file" 2>/dev/null || true)
    timeouts=$(grep -c timeout "$file" 2>/dev/null || true)
    if [ -n "$good" ]; then
        echo "$(stats <<<"$good") $(wc -l <<<"$good") ${timeouts:-0}"
    else
        echo "n/a n/a n/a 0 ${timeouts:-0}"
    fi
}
row() { # LABEL "median min max count timeouts" GOAL
    local median min max count timeouts
    read -r median min max count timeouts <<<"$2"
    if [ "$median" = n/a ]; then
        echo "| $1 | n/a | | $3 | 0 of $runs ($timeouts timed out) |"
    else
        echo "| $1 | $median ms | $min to $max ms | $3 | $count of $runs ($timeouts timed out) |"
    fi
}

echo "## The Wayland lock"
echo
version() { chroot "$WAYLAND_CHROOT" dpkg-query -W -f '${Version}' "$1"; }
echo "Measured $(date -u +%Y-%m-%d) by \`bench/wayland.sh\`: sway $(version sway) and labwc"
echo "$(version labwc), headless with two outputs and the pixman renderer, and swaylock"
echo "$(version swaylock) (default settings), all from the trixie tree; Tessarine draws its windows"
echo "on Xvfb, as through XWayland, with its password \`$password\` and no animations."
for compositor in "${compositors[@]}"; do
    echo
    echo "### On $compositor"
    echo
    if [ -e "$results/$compositor-skipped" ]; then
        echo "Not measured: $(cat "$results/$compositor-skipped")."
        continue
    fi
    t_locked=$(figure "$compositor" tessarine logged)
    t_covered=$(figure "$compositor" tessarine covered)
    t_drawn=$(figure "$compositor" tessarine drawn)
    s_locked=$(figure "$compositor" swaylock exited)
    s_covered=$(figure "$compositor" swaylock covered)
    s_drawn=$(figure "$compositor" swaylock drawn)
    t_unlock=$(unlock_figure "$compositor" tessarine)
    s_unlock=$(unlock_figure "$compositor" swaylock)
    start_tree=$(figure "$compositor" start_tree exited)
    start_host=$(figure "$compositor" start_host exited)
    echo "Outputs (width x height @ refresh Hz, as the observer saw them):" \
        "$(grep -h -m1 '^outputs' "$results/$compositor-tessarine-0.txt" | cut -d' ' -f2- |
            sed 's/@0\( \|$\)/@0 (none given: 60)\1/g')."
    echo
    echo "| Figure | Median | Spread (min to max) | Goal | Runs |"
    echo "|---|---|---|---|---|"
    row "\`tessarine lock\` to the compositor's \`locked\` (Tessarine's log)" "$t_locked" ""
    row "\`tessarine lock\` to every output covered" "$t_covered" ""
    row "\`tessarine lock\` to the lock screen's first frame on every output" "$t_drawn" "half of swaylock's"
    row "swaylock -f to \`locked\` (the parent's exit)" "$s_locked" ""
    row "swaylock -f to every output covered (peer)" "$s_covered" ""
    row "swaylock -f to its first frame on every output (peer)" "$s_drawn" ""
    echo "| To \`locked\`: Tessarine's ÷ swaylock's (medians) | $(ratio "${t_locked%% *}" "${s_locked%% *}") | | 0.5 or less | |"
    echo "| To covered: Tessarine's ÷ swaylock's (medians) | $(ratio "${t_covered%% *}" "${s_covered%% *}") | | 0.5 or less | |"
    echo "| To the first frame: Tessarine's ÷ swaylock's (medians) | $(ratio "${t_drawn%% *}" "${s_drawn%% *}") | | 0.5 or less | |"
    row "Last password key to the desktop shown again, Tessarine" "$t_unlock" ""
    row "Last key (Return) to the desktop shown again, swaylock (PAM) (peer)" "$s_unlock" ""
    row "Starting and ending \`true\` from the tree, as swaylock is started" "$start_tree" ""
    row "Starting and ending \`true\` from the host, as \`tessarine lock\` is started" "$start_host" ""
done
echo
if [ "${WAYLAND_COVER_TIMER_PRIORITY:-}" = normal ]; then
    observer_priority="the normal priority (\`WAYLAND_COVER_TIMER_PRIORITY=normal\`)"
else
    observer_priority="the lowest real-time priority (\`SCHED_FIFO\`, reset for what it starts)"
fi
echo "- The observer ran at $observer_priority. It sleeps in poll() between events, and at the"
echo "  normal priority a busy machine wakes it late for a log line or a process's end; it stops"
echo "  watching a process once it has ended (an ended process's pidfd stays readable, which made"
echo "  it spin, a core taken from both lockers, before this was found)."
cat <<'EOF'
- The observer (`tests/tools/wayland_cover_timer`) is a Wayland client of the compositor, the
  same for both lockers. It copies five points of each output (the centre and four near the
  corners) with wlr-screencopy, over and over; each copy is answered at the output's next frame
  and carries that frame's time (the compositor's commit, on the monotonic clock). It waits
  until every point of every output is the desktop's magenta (`tests/tools/wayland_desktop`),
  starts the command and times from that start: *covered* is the first frame after which no
  output shows a magenta point (the compositor's blank lock counts), *first frame* the first
  after which every output also shows something other than black (the compositor blanks the
  outputs black until a lock surface has its buffer).
- Tessarine's first frame is the lock screen's cover, as on X11: every output in the colour of
  the lock screen's background (its average colour), shown as the compositor configures the lock
  surfaces; the lock screen then fades in over it in 0.4 s. swaylock's first frame is its whole
  lock screen, a plain colour by default.
- `locked`: Tessarine logs the protocol's `locked` event ("the compositor has locked the
  session"); the observer watches its log with inotify. swaylock's `-f` detaches once `locked`
  has come, so its figure is the started process's exit. `tessarine lock` is a small process that
  asks the running Tessarine over the session bus; swaylock is the whole locker starting, through
  the observer's own child, which takes the tree as its root and runs swaylock at once, as a
  compositor's key binding would start it (the last two rows: what starting a program costs by
  each path, `true` started and ended).
- Unlock: the observer makes a virtual keyboard (virtual-keyboard-unstable-v1, the US keymap),
  waits until the session is covered, presses Shift (which types nothing) so the locker has the
  keymap, types all but the last key 30 ms apart, waits 150 ms and times from the last key's
  press to the first frame with every point of every output magenta again. Tessarine's password
  is `k3y` and unlocks on its last key; swaylock's is the tree's root password (set to the same),
  checked by PAM after Return.
- The screen figures move in steps of a frame, for both lockers alike: the outputs are set to
  250 Hz, a frame every 4 ms (sway's by its configuration, labwc's through wlr-output-management
  with `tests/tools/wayland_output_switch`); sway then spends about 7 % of a core answering the
  copies, 2 % at 60 Hz.
- Each Tessarine run is one running Tessarine locked again; each swaylock run a new swaylock,
  which ends when it unlocks. The machine is shared (2 cores, other builds beside): the spreads
  show that noise.
EOF
rm -rf "$results"
