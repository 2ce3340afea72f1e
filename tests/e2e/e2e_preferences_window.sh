# The preferences window as the window manager shows it: each toolbar item clicked shows its
# pane, and the window fits each pane by moving its bottom edge only; the top edge, title bar and
# all, stays where it was. Then the tray menu's users' site goes to the desktop's opener.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start || fail "the desktop did not come up"
write_password a
write_options "<key>useShortcut</key><false/>"
# The desktop's opener (xdg-open, as Qt finds it on the PATH), recording what it is given.
mkdir -p "$RIG_DIR/bin"
printf '#!/bin/sh\nprintf "%%s\\n" "$@" >>"%s/opened"\n' "$RIG_DIR" >"$RIG_DIR/bin/xdg-open"
chmod +x "$RIG_DIR/bin/xdg-open"
export PATH=$RIG_DIR/bin:$PATH

start_tessarine
wait_until 5 tray_icon_embedded || fail "no tray icon"
open_preferences || fail "Preferences... opened no General pane"
window=$PREFERENCES_WINDOW
read -r x0 y0 w0 h0 <<<"$(client_geometry "$window")"
read -r fx0 fy0 _ _ <<<"$(frame_geometry "$window")"
((fy0 < y0 && fy0 >= 0)) || fail "the title bar is not on the screen: frame at $fx0,$fy0, window at $x0,$y0"

mapfile -t centres < <(toolbar_item_centres "$window")
((${#centres[@]} == 6)) || fail "the toolbar shows ${#centres[@]} items, not six: ${centres[*]}"

# The geometry once the window manager has settled it: the same twice, 100 ms apart.
settled_geometry() {
    local previous current
    previous=$(client_geometry "$window")
    for _ in $(seq 20); do
        sleep 0.1
        current=$(client_geometry "$window")
        [ "$current" = "$previous" ] && break
        previous=$current
    done
    echo "$current"
}
# Qt adds the program's name to the title it gives the window manager.
titled() { [ "$(xdotool getwindowname "$window")" = "$1 — Tessarine" ]; }

declare -A heights
heights[General]=$h0
panes=("Appearance" "Animations" "Security" "Shortcuts" "Remote Lock" "General")
items=(1 2 3 4 5 0)
for i in "${!panes[@]}"; do
    title=${panes[i]}
    xdotool mousemove --window "$window" "${centres[${items[i]}]}" 14 click 1
    wait_until 5 titled "$title" || fail "the item for $title showed \"$(xdotool getwindowname "$window")\""
    read -r x y w h <<<"$(settled_geometry)"
    read -r fx fy _ _ <<<"$(frame_geometry "$window")"
    ((y == y0 && fy == fy0)) ||
        fail "$title moved the top edge: window top $y0 -> $y, frame top $fy0 -> $fy"
    ((x == x0 && fx == fx0)) || fail "$title moved the window sideways: $x0 -> $x"
    ((y + h <= $(xdpyinfo | awk '/dimensions:/ {split($2, d, "x"); print d[2]}'))) ||
        fail "$title reaches below the screen"
    heights[$title]=$h
    echo "$title: top $y, height $h"
done
# Back on General, the window is as it was; the panes differ in height, and the window with them.
((heights[General] == h0)) || fail "General came back $((heights[General])) high instead of $h0"
distinct=$(printf '%s\n' "${heights[@]}" | sort -u | wc -l)
((distinct >= 4)) || fail "only $distinct heights for six panes: ${heights[*]}"

# The users' site from the tray menu: its sixth entry.
open_tray_menu || fail "no tray menu"
xdotool key Down Down Down Down Down Down Return
wait_until 5 test -s "$RIG_DIR/opened" || fail "nothing was handed to xdg-open"
[ "$(cat "$RIG_DIR/opened")" = "${TESSARINE_SITE%/}/Users" ] ||
    fail "xdg-open was given: $(cat "$RIG_DIR/opened")"
kill -0 "$TESSARINE_PID" || fail "tessarine exited"
echo "PASS"
