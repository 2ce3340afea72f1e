#!/usr/bin/env bash
# The demo that `make run` gives on a machine with no display: Tessarine in a private headless
# desktop with a fresh profile, and screenshots of what a user would see under build/demo/.
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

echo "Tessarine ran in a private headless desktop (there is no DISPLAY). Screenshots:"
ls -1 "$out"/*.png | sed 's/^/  /'
echo "The demo password was \"demo\": saved, locked from the tray icon, typed, unlocked."
echo "Its settings were written to a throw-away folder; run 'make run' in a desktop session to use it."
