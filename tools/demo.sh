#!/usr/bin/env bash
# The demo that `make run` gives on a machine with no display: Tessarine in a private headless
# desktop with a fresh profile, and screenshots of what a user would see under build/demo/: the
# first start, a lock and an unlock, the lock screen on a dark and a light picture, and each pane
# of the preferences window.
set -euo pipefail
build=${1:-build}
root=$(cd "$(dirname "$0")/.." && pwd)
out=$root/$build/demo
export TESSARINE=$root/$build/tessarine
mkdir -p "$out"
rm -f "$out"/*.png

source "$root/tests/rig/desktop.sh"
desktop_start 1280x800 || { echo "the desktop did not come up" >&2; exit 1; }
fake_power_supply

start_tessarine
wait_until 10 tray_icon_embedded || { echo "the tray icon did not appear" >&2; exit 1; }
wait_until 10 xdotool search --onlyvisible --name '^Welcome to Tessarine$' >/dev/null
sleep 0.5

import -window root "$out/01-desktop.png"
# The tray at the top right, enlarged so that the icon can be seen.
import -window root -crop 160x40+1120+0 +repage "$RIG_DIR/tray.png"
convert "$RIG_DIR/tray.png" -filter point -resize 400% "$out/02-tray-icon.png"
window=$(xdotool search --onlyvisible --name '^Welcome to Tessarine$' | head -n1)
import -window "$window" -frame "$out/03-first-password-window.png"

# The demo password, typed into the first-password window, then a lock and an unlock.
xdotool type --delay 20 "demo"
xdotool key Tab
xdotool type --delay 20 "demo"
xdotool key Return
wait_until 5 xdotool search --onlyvisible --name '^Tessarine$' >/dev/null
sleep 0.3
import -window root "$out/04-password-saved.png"
xdotool key Return
sleep 0.3
icon=$(tray_icon_windows | head -n1)
xdotool mousemove --window "$icon" 11 11 click 1
sleep 1
import -window root "$out/05-locked.png"
xdotool type --delay 40 "demo"
sleep 1
import -window root "$out/06-unlocked.png"

stop_tessarine

# The lock screen with its widgets: a picture behind, the clock, the battery, the mail badge and
# a track playing in mpv, first on a dark picture (light text), then on a light one (dark text).
music=$RIG_DIR/music
mkdir -p "$music"
sox -n --comment "TITLE=Evening Tone" -r 44100 "$music/tone.flac" synth 600 sine 440 2>/dev/null
convert -size 240x240 gradient:'#f2a541'-'#c0392b' "$music/cover.png"
mpv --no-config --script=/usr/lib/mpv-mpris/mpris.so --ao=null --no-video --no-terminal \
    "$music/tone.flac" >/dev/null 2>&1 &
player=$!
trap 'kill $player 2>/dev/null || true; desktop_stop' EXIT
sleep 1
shoot_lock_screen() { # IMAGEMAGICK-PICTURE SCREENSHOT-NAME
    convert -size 1280x800 "$1" "$RIG_DIR/picture.png"
    write_options "<key>desktopImageType</key><integer>2</integer>
<key>desktopImageURL</key><string>file://$RIG_DIR/picture.png</string>
<key>showTime</key><true/><key>showBattery</key><true/><key>showMusic</key><true/>
<key>showShutDown</key><true/><key>showDoNotDisturb</key><true/><key>flat</key><false/>
<key>closeAnimation</key><integer>0</integer>"
    start_tessarine
    wait_until 10 tray_icon_embedded
    "$TESSARINE" lock
    sleep 1
    "$TESSARINE" mail 3
    sleep 0.5
    import -window root "$out/$2.png"
    xdotool type --delay 40 "demo"
    sleep 0.5
    stop_tessarine
}
shoot_lock_screen 'gradient:#1d3557-#0b1320' 07-lock-screen-light-text
shoot_lock_screen 'gradient:#ffffff-#dfe7ef' 08-lock-screen-dark-text

# The preferences window, opened from the tray menu, one screenshot per pane.
kill "$player" 2>/dev/null || true
write_options "<key>showTime</key><true/><key>showBattery</key><true/><key>showMusic</key><true/>
<key>showShutDown</key><true/><key>showDoNotDisturb</key><true/><key>timeout</key><true/>
<key>timeoutTime</key><integer>5</integer><key>useShortcut</key><true/>
<key>shortcutModifier1</key><integer>0</integer><key>shortcutModifier2</key><integer>256</integer>
<key>shortcutModifier3</key><integer>2048</integer><key>shortcutKey</key><integer>37</integer>
<key>shortcutString</key><string>L</string>"
start_tessarine
wait_until 10 tray_icon_embedded
open_preferences
sleep 0.3
mapfile -t items < <(toolbar_item_centres "$PREFERENCES_WINDOW")
shot=9
for item in 0 1 2 3 4 5; do
    xdotool mousemove --window "$PREFERENCES_WINDOW" "${items[item]}" 14 click 1
    xdotool mousemove 5 790 # no hover highlight in the picture
    sleep 0.5
    title=$(xdotool getwindowname "$PREFERENCES_WINDOW" | sed 's/ — Tessarine$//')
    name=$(tr 'A-Z ' 'a-z-' <<<"$title")
    import -window "$PREFERENCES_WINDOW" -frame "$out/$(printf '%02d' $shot)-preferences-$name.png"
    shot=$((shot + 1))
done
stop_tessarine

echo "Tessarine ran in a private headless desktop (there is no DISPLAY). Screenshots:"
ls -1 "$out"/*.png | sed 's/^/  /'
echo "The demo password was \"demo\": saved, locked from the tray icon, typed, unlocked."
echo "The last six show the preferences window's panes, opened from the tray menu."
echo "Its settings were written to a throw-away folder; run 'make run' in a desktop session to use it."
