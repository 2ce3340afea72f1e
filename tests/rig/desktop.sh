# A private headless desktop for end-to-end tests, the demo and the benchmarks: Xvfb, openbox, a
# system tray (trayer) and a session bus of its own, with fresh HOME and XDG folders. Source this
# file, call desktop_start, and desktop_stop (or let the EXIT trap do it).
#
# Every process is started here and ended here by its own id; nothing else on the machine is
# touched. The one exception is Tessarine's guard, started by Tessarine and left holding the lock
# when a test ends midway: it is found by the rig's HOME in its environment.

RIG_PIDS=()

desktop_start() {
    local size=${1:-1280x800}
    RIG_DIR=$(mktemp -d "${TMPDIR:-/tmp}/tessarine-rig.XXXXXX")
    mkdir -p "$RIG_DIR/home" "$RIG_DIR/config" "$RIG_DIR/data" "$RIG_DIR/cache" "$RIG_DIR/runtime"
    chmod 700 "$RIG_DIR/runtime"
    export HOME=$RIG_DIR/home XDG_CONFIG_HOME=$RIG_DIR/config XDG_DATA_HOME=$RIG_DIR/data
    export XDG_CACHE_HOME=$RIG_DIR/cache XDG_RUNTIME_DIR=$RIG_DIR/runtime
    # An X11 desktop of its own, whatever session the tests were started from.
    unset SESSION_MANAGER DESKTOP_STARTUP_ID WAYLAND_DISPLAY XDG_SESSION_TYPE
    trap desktop_stop EXIT

    # Rigs that start side by side take turns choosing a display, and stay clear of the low
    # numbers a real desktop uses.
    local lock number
    exec {lock}>"${TMPDIR:-/tmp}/tessarine-rig-display.lock"
    flock "$lock"
    for ((number = 70; number < 170; number++)); do
        [ -e "/tmp/.X$number-lock" ] || [ -e "/tmp/.X11-unix/X$number" ] && continue
        # -noreset: without it the server resets when its last client leaves (the readiness
        # check below is one), and refuses whoever connects during the reset.
        Xvfb ":$number" -screen 0 "${size}x24" -nolisten tcp -noreset >"$RIG_DIR/xvfb.log" 2>&1 &
        RIG_PIDS+=($!)
        export DISPLAY=:$number
        if wait_until 10 xdpyinfo >/dev/null 2>&1 && kill -0 "${RIG_PIDS[-1]}" 2>/dev/null; then
            break
        fi
        kill "${RIG_PIDS[-1]}" 2>/dev/null || true
        unset 'RIG_PIDS[-1]'
    done
    flock -u "$lock"
    exec {lock}>&-
    xdpyinfo >/dev/null 2>&1 || { echo "no display could be started" >&2; return 1; }

    # A bus of its own, or Qt would start one that outlives the test.
    local bus
    bus=$(dbus-daemon --session --fork --print-address=1 --print-pid=1)
    export DBUS_SESSION_BUS_ADDRESS=$(sed -n 1p <<<"$bus")
    RIG_PIDS+=($(sed -n 2p <<<"$bus"))

    openbox >"$RIG_DIR/openbox.log" 2>&1 &
    RIG_PIDS+=($!)
    trayer --edge top --align right --widthtype request --height 32 --SetDockType true \
        >"$RIG_DIR/trayer.log" 2>&1 &
    RIG_PIDS+=($!)
    wait_until 10 xdotool search --class trayer >/dev/null || { echo "no tray" >&2; return 1; }
}

desktop_stop() {
    stop_tessarine
    local pid
    # The guard ignores the polite signals on purpose: only SIGKILL ends it.
    for pid in $(guards_of_rig); do
        kill -KILL "$pid" 2>/dev/null || true
    done
    # Safe under set -e: a process that has ended already is not an error here.
    for pid in "${RIG_PIDS[@]}"; do
        kill "$pid" 2>/dev/null || true
    done
    for pid in "${RIG_PIDS[@]}"; do
        wait "$pid" 2>/dev/null || true
    done
    RIG_PIDS=()
    [ -n "${RIG_KEEP:-}" ] || rm -rf "$RIG_DIR"
}

# Microseconds since the epoch.
now_us() {
    echo $((${EPOCHREALTIME/./}))
}

# wait_until SECONDS COMMAND...: runs COMMAND every 20 ms until it succeeds or time runs out.
wait_until() {
    wait_until_deadline $(($(now_us) + $1 * 1000000)) "${@:2}"
}

# wait_until_deadline MICROSECONDS COMMAND...: the same, until a moment from now_us.
wait_until_deadline() {
    local deadline=$1
    shift
    while true; do
        "$@" && return 0
        (($(now_us) < deadline)) || return 1
        sleep 0.02
    done
}

start_tessarine() {
    "$TESSARINE" "$@" >>"$RIG_DIR/tessarine.log" 2>&1 &
    TESSARINE_PID=$!
}

# The guards Tessarine started in this rig, found by the rig's HOME in their environment.
guards_of_rig() {
    local pid
    for pid in $(pgrep -x tessarine-guard); do
        tr '\0' '\n' 2>/dev/null <"/proc/$pid/environ" | grep -qx "HOME=$RIG_DIR/home" &&
            echo "$pid"
    done
    return 0
}

stop_tessarine() {
    if [ -n "${TESSARINE_PID:-}" ]; then
        kill "$TESSARINE_PID" 2>/dev/null || true
        wait "$TESSARINE_PID" 2>/dev/null || true
        TESSARINE_PID=
    fi
}

# The tray icon windows of Tessarine that trayer has embedded.
tray_icon_windows() {
    local tray
    for tray in $(xdotool search --class trayer 2>/dev/null); do
        xwininfo -tree -id "$tray" 2>/dev/null | awk '/\("tessarine" "tessarine"\)/ {print $1}'
    done
}

tray_icon_embedded() {
    [ -n "$(tray_icon_windows)" ]
}

# Tessarine's viewable windows other than its tray icon, one id a line.
visible_windows_outside_tray() {
    local icons window
    icons=$(tray_icon_windows | xargs -r printf '%d\n')
    for window in $(xdotool search --onlyvisible --class tessarine 2>/dev/null); do
        grep -qx "$window" <<<"$icons" || echo "$window"
    done
}

# A battery the lock screen can show, in a sysfs tree of the rig's own.
fake_power_supply() {
    local root=$RIG_DIR/power_supply
    mkdir -p "$root/BAT0" "$root/AC"
    echo Battery >"$root/BAT0/type"
    echo 41000000 >"$root/BAT0/energy_now"
    echo 50000000 >"$root/BAT0/energy_full"
    echo Mains >"$root/AC/type"
    echo 1 >"$root/AC/online"
    export TESSARINE_POWER_SUPPLY_DIR=$root
}

fail() {
    echo "FAIL: $*" >&2
    # What the desktop looked like, for whoever reads the failure.
    if [ -n "${DISPLAY:-}" ]; then
        echo "--- active window: $(xdotool getactivewindow getwindowname 2>&1 | tr '\n' ' ')" >&2
        xwininfo -root -tree 2>/dev/null | grep -E '"' | head -20 >&2
        import -window root "${TMPDIR:-/tmp}/tessarine-failure-$$.png" 2>/dev/null &&
            echo "--- screenshot: ${TMPDIR:-/tmp}/tessarine-failure-$$.png" >&2
    fi
    if [ -f "$RIG_DIR/tessarine.log" ]; then
        echo "--- tessarine's log" >&2
        cat "$RIG_DIR/tessarine.log" >&2
    fi
    exit 1
}

# The colour of one pixel of a screenshot, as #rrggbb.
pixel() {
    convert "$1" -format "%[hex:p{$2,$3}]" info: | tr 'A-F' 'a-f' | sed 's/^/#/; s/^\(#......\).*/\1/'
}

# Whether two #rrggbb colours differ by at most 3 in each channel: a background picture is kept
# compressed, so a plain one may come back a step off.
colour_near() {
    local a=${1#\#} b=${2#\#} i
    for i in 0 2 4; do
        local d=$((16#${a:i:2} - 16#${b:i:2}))
        ((d >= -3 && d <= 3)) || return 1
    done
}

# How many pixels of a screenshot have exactly this colour.
count_colour() {
    convert "$1" -fill black +opaque "$2" -fill white -opaque "$2" -format '%[fx:round(mean*w*h)]' info:
}

# A profile with a password and options, for tests that start locked-ready.
write_password() {
    local library=$XDG_CONFIG_HOME/tessarine entries= c
    mkdir -p "$library"
    for ((i = 0; i < ${#1}; i++)); do
        c=${1:i:1}
        entries+="<string>$c</string>"
    done
    printf '%s\n' '<?xml version="1.0" encoding="UTF-8"?>' '<plist version="1.0">' \
        "<array>$entries</array>" '</plist>' >"$library/settings.plist"
    chmod 600 "$library/settings.plist"
}

# Writes properties.plist from a body of <key>/<value> pairs.
write_options() {
    local library=$XDG_CONFIG_HOME/tessarine
    mkdir -p "$library"
    printf '%s\n' '<?xml version="1.0" encoding="UTF-8"?>' '<plist version="1.0">' \
        "<dict>$1</dict>" '</plist>' >"$library/properties.plist"
}

click_tray_icon() { # BUTTON
    local icon
    icon=$(tray_icon_windows | head -n1)
    [ -n "$icon" ] || return 1
    xdotool mousemove --window "$icon" 11 11 click "$1"
}

# Opens Tessarine's tray menu with a right click on its icon. The tray may still be settling
# the icon just after embedding it: a click that opens nothing is tried again.
open_tray_menu() {
    local before attempt
    before=$(visible_windows_outside_tray | wc -l)
    menu_opened() { (($(visible_windows_outside_tray | wc -l) > before)); }
    for attempt in 1 2 3; do
        click_tray_icon 3
        if wait_until 2 menu_opened; then
            sleep 0.3 # the menu takes keys once it holds the keyboard
            return 0
        fi
    done
    return 1
}

# Preferences... from the tray menu (its third entry); the window's id in PREFERENCES_WINDOW.
open_preferences() {
    open_tray_menu || return 1
    xdotool key Down Down Down Return
    wait_until 5 xdotool search --onlyvisible --name '^General$' >/dev/null || return 1
    PREFERENCES_WINDOW=$(xdotool search --onlyvisible --name '^General$' | head -n1)
    wait_until 5 is_active "$PREFERENCES_WINDOW"
}

# The centres of the preferences toolbar's items, left to right, in the window's coordinates:
# the runs of dark text along the toolbar, as an eye finds them. The toolbar is the window's
# top 28 pixels; gaps within an item's title ("Remote Lock") are narrower than between items.
toolbar_item_centres() { # WINDOW
    local width
    width=$(xwininfo -id "$1" | awk '/Width:/ {print $2}')
    import -window "$1" png:- |
        convert png:- -crop "${width}x12+0+8" +repage -colorspace Gray -threshold 40% -negate \
            -scale "${width}x1!" -depth 8 txt:- |
        awk -F'[,: ]+' 'NR > 1 { print $1, ($0 !~ /gray\(0\)|#000000/) }' |
        awk 'BEGIN { start = -1 }
             $2 { if (start < 0 || $1 - last > 8) { if (start >= 0) print int((start + last) / 2); start = $1 }
                  last = $1 }
             END { if (start >= 0) print int((start + last) / 2) }'
}

# A window's client area and its window-manager frame, as "x y width height" each.
client_geometry() {
    xwininfo -id "$1" | awk '/Absolute upper-left X/ {x = $4} /Absolute upper-left Y/ {y = $4}
        /Width:/ {w = $2} /Height:/ {h = $2} END {print x, y, w, h}'
}
frame_geometry() {
    local parent
    parent=$(xwininfo -tree -id "$1" | awk '/Parent window id/ {print $4}')
    client_geometry "$parent"
}

keyboard_grabbed_by_other() { [ "$("$X11_PROBE" grab-keyboard)" = AlreadyGrabbed ]; }
keyboard_free() { [ "$("$X11_PROBE" grab-keyboard)" = Success ]; }
pointer_grabbed_by_other() { [ "$("$X11_PROBE" grab-pointer)" = AlreadyGrabbed ]; }
pointer_free() { [ "$("$X11_PROBE" grab-pointer)" = Success ]; }

# A second private bus standing in for the system bus, with the fake login manager on it.
# Commands go to it with `logind sleep` / `logind wake`; what it reports lands in
# $RIG_DIR/logind.out.
start_fake_logind() {
    local bus
    bus=$(dbus-daemon --session --fork --print-address=1 --print-pid=1)
    export DBUS_SYSTEM_BUS_ADDRESS=$(sed -n 1p <<<"$bus")
    RIG_PIDS+=($(sed -n 2p <<<"$bus"))
    mkfifo "$RIG_DIR/logind.in"
    "$FAKE_LOGIND" <"$RIG_DIR/logind.in" >"$RIG_DIR/logind.out" 2>>"$RIG_DIR/logind.err" &
    RIG_PIDS+=($!)
    exec {LOGIND_INPUT}>"$RIG_DIR/logind.in"
    wait_until 5 grep -q ready "$RIG_DIR/logind.out" || { echo "no fake logind" >&2; return 1; }
}

logind() {
    echo "$1" >&"$LOGIND_INPUT"
}

logind_count() { # how many lines of the fake login manager start with $1
    grep -c "^$1" "$RIG_DIR/logind.out" || true
}

is_active() { [ "$(xdotool getactivewindow 2>/dev/null)" = "$1" ]; }

# Makes a managed window the active one: it may be already, the window manager may be asked,
# or, as a user would, it is clicked near its top edge.
give_keyboard() {
    local window=$1 X Y WIDTH HEIGHT SCREEN
    wait_until 5 is_active "$window" && return 0
    xdotool windowactivate "$window" 2>/dev/null
    wait_until 2 is_active "$window" && return 0
    eval "$(xdotool getwindowgeometry --shell "$window")"
    xdotool mousemove $((X + WIDTH / 2)) $((Y + 12)) click 1
    wait_until 5 is_active "$window"
}

# Scripts of the test's own (TESSARINE_SCRIPTS_DIR): quiet ones for the opening, the program's
# and the mail count, so that only the bus sets the count; Shut Down's own, which asks the login
# manager.
quiet_scripts() {
    export TESSARINE_SCRIPTS_DIR=$RIG_DIR/scripts
    mkdir -p "$TESSARINE_SCRIPTS_DIR"
    local name
    for name in animateOn Tessarine Mail; do
        printf '#!/bin/sh\nexit 0\n' >"$TESSARINE_SCRIPTS_DIR/$name"
        chmod +x "$TESSARINE_SCRIPTS_DIR/$name"
    done
    cp "$TESTS_DIR/../resources/scripts/ShutDownScript" "$TESSARINE_SCRIPTS_DIR/" ||
        fail "no Shut Down script"
}

# A real player, mpv over MPRIS, playing a long tone titled "Evening Tone" with a cover
# (#d01070) beside it; back once it plays with its title read.
player_status() { playerctl --player=mpv status 2>/dev/null; }
player_is() { [ "$(player_status)" = "$1" ]; }
player_titled() { [ "$(playerctl --player=mpv metadata title 2>/dev/null)" = "Evening Tone" ]; }
start_player() {
    local music=$RIG_DIR/music
    mkdir -p "$music"
    sox -n --comment "TITLE=Evening Tone" -r 44100 "$music/tone.flac" synth 600 sine 440 ||
        fail "sox could not make the tone"
    convert -size 120x120 xc:'#d01070' "$music/cover.png"
    mpv --no-config --script=/usr/lib/mpv-mpris/mpris.so --ao=null --no-video --no-terminal \
        "$music/tone.flac" >/dev/null 2>&1 &
    RIG_PIDS+=($!)
    wait_until 10 player_is Playing || fail "mpv did not start playing"
    wait_until 5 player_titled || fail "mpv did not read the title"
}

# every_view_options COLOUR NAME: a plain picture of that colour ($RIG_DIR/NAME.png) behind the
# lock screen, every view shown (clock, battery, music, Shut Down, do-not-disturb), no animations.
every_view_options() {
    convert -size 1280x800 xc:"$1" "$RIG_DIR/$2.png"
    write_options "<key>desktopImageType</key><integer>2</integer>
<key>desktopImageURL</key><string>file://$RIG_DIR/$2.png</string>
<key>showTime</key><true/><key>showBattery</key><true/><key>showMusic</key><true/>
<key>showShutDown</key><true/><key>showDoNotDisturb</key><true/>
<key>startAnimation</key><integer>0</integer><key>closeAnimation</key><integer>0</integer>
<key>flat</key><false/>"
}

# Opens the Appearance pane of the running Tessarine and picks in the background menu the item
# STEPS places away (Down for positive, Up for negative); from Brushed Metal, 2 is Clear.
choose_background() { # STEPS
    open_preferences || fail "no preferences window"
    local window=$PREFERENCES_WINDOW centres keys=""
    mapfile -t centres < <(toolbar_item_centres "$window")
    xdotool mousemove --window "$window" "${centres[1]}" 14 click 1
    wait_until 5 eval '[ "$(xdotool getwindowname "$window")" = "Appearance — Tessarine" ]' ||
        fail "no Appearance pane"
    sleep 0.3
    xdotool key Tab Tab space
    sleep 0.4
    if (($1 > 0)); then keys=$(printf 'Down %.0s' $(seq "$1")); fi
    if (($1 < 0)); then keys=$(printf 'Up %.0s' $(seq $((-$1)))); fi
    xdotool key $keys Return
    sleep 0.3
    xdotool key --window "$window" Escape
}
