# Displays that change while locked are covered again within 100 ms: a monitor is added beside
# the first (the screen grows to hold it), a third one joins, they go again, and the screen's
# size grows and shrinks, five times over. A probe makes each change with xrandr and times from
# the server's first RandR notification until every active RandR monitor shows nothing but lock
# windows, point for point (the stacking order and the windows' geometry); screenshots show that
# a bright window waiting on the second monitor's area never shows.
#
# What Xvfb can do (xorg 21.1): the screen's size can change only up to the size it was started
# with, so it starts large and is made small at once; RandR 1.5 monitors can be added and taken
# away freely (Qt 6.4 reports each as a screen); modes can be added to its one output.
set -u
rounds=5
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 2560x1000 || fail "the desktop did not come up"
xrandr --newmode small 0 1280 0 0 0 800 0 0 0 && xrandr --addmode screen small &&
    xrandr --output screen --mode small || fail "Xvfb's screen cannot be made small"
[ "$(xdpyinfo | awk '/dimensions:/ {print $2}')" = 1280x800 ] || fail "the screen is not 1280x800"
fake_power_supply
write_password k3y
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>"
desktop_colour=#336699
bright=#00ff00

# The desktop's window, and a bright one past the screen's right edge: it shows once the screen
# grows, unless the lock covers it.
# Both end with the rig, should the test fail.
"$X11_PROBE" record-keys "$RIG_DIR/keys.txt" >/dev/null 2>&1 &
desktop_window=$!
RIG_PIDS+=("$desktop_window")
"$X11_PROBE" popup 1400 100 400 300 00ff00 "$RIG_DIR/bright.txt" >/dev/null 2>&1 &
bright_window=$!
RIG_PIDS+=("$bright_window")
wait_until 5 grep -q mapped "$RIG_DIR/keys.txt" || fail "the desktop's window did not map"
wait_until 5 grep -q mapped "$RIG_DIR/bright.txt" || fail "the bright window did not map"

start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon"
"$TESSARINE" lock || fail "tessarine lock failed"
wait_until 3 keyboard_grabbed_by_other || fail "the lock did not grab the keyboard"
sleep 0.5

# change NAME XRANDR-ARGUMENTS...: makes the change, times the cover, and checks the screen.
change() {
    local name=$1 ms monitors
    shift
    ms=$("$COVER_TIMER" randr xrandr "$@" 2>"$RIG_DIR/timer.err") ||
        fail "$name: the probe failed: $(cat "$RIG_DIR/timer.err")"
    monitors=$(sed -n 's/^monitors //p' "$RIG_DIR/timer.err")
    echo "$name $ms" >>"$RIG_DIR/times.txt"
    # How a slow one went, for whoever reads the figures.
    awk -v ms="$ms" 'BEGIN { exit !(ms == "timeout" || ms >= 50) }' &&
        echo "$name: $(grep '^story' "$RIG_DIR/timer.err")"
    [ "$ms" != timeout ] || fail "$name: $monitors monitors not covered after 3 s"
    awk -v ms="$ms" 'BEGIN { exit !(ms < 100) }' || fail "$name: covered only after $ms ms"
    if [ "$round" = 1 ]; then
        import -window root "$RIG_DIR/shot.png"
        [ "$(count_colour "$RIG_DIR/shot.png" "$bright")" = 0 ] ||
            fail "$name: the bright window shows through the lock"
        [ "$(count_colour "$RIG_DIR/shot.png" "$desktop_colour")" = 0 ] ||
            fail "$name: the desktop shows through the lock"
    fi
}
monitor_count() { xrandr --listmonitors | sed -n 's/^Monitors: //p'; }

for ((round = 1; round <= rounds; round++)); do
    change "monitor-added" --fb 2560x800 --setmonitor right 1280/338x800/211+1280+0 none
    [ "$(monitor_count)" = 2 ] || fail "the second monitor was not added"
    change "third-monitor" --fb 2560x1000 --setmonitor low 2560/677x200/53+0+800 none
    [ "$(monitor_count)" = 3 ] || fail "the third monitor was not added"
    change "monitors-removed" --delmonitor right --delmonitor low --fb 1280x800
    [ "$(monitor_count)" = 1 ] || fail "the monitors were not removed"
    change "size-grown" --output screen --mode 2560x1000
    [ "$(xdpyinfo | awk '/dimensions:/ {print $2}')" = 2560x1000 ] || fail "the screen did not grow"
    change "size-shrunk" --output screen --mode small
done

for name in monitor-added third-monitor monitors-removed size-grown size-shrunk; do
    awk -v name="$name" '$1 == name { print $2 }' "$RIG_DIR/times.txt" | sort -n |
        awk -v name="$name" '{ ms[NR] = $1 }
            END { printf "%s: %d changes covered within 100 ms; median %.1f ms, max %.1f ms\n",
                         name, NR, ms[int((NR + 1) / 2)], ms[NR] }'
done

keyboard_grabbed_by_other || fail "the lock let go of the keyboard"
xdotool type --delay 40 k3y
wait_until 3 keyboard_free || fail "the password did not unlock"
nothing_shown() { [ -z "$(visible_windows_outside_tray)" ]; }
wait_until 3 nothing_shown || fail "lock windows are still mapped after the unlock"
kill "$desktop_window" "$bright_window"
wait "$desktop_window" "$bright_window" 2>/dev/null
echo PASS
