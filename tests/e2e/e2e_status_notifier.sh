# A panel that hosts tray icons over D-Bus (StatusNotifierItem, as waybar and swaybar do): a
# watcher and host of the tests' own (tools/sni_host.py) on the rig's session bus. Tessarine's
# icon registers with it, whether the panel runs first or starts after Tessarine; the host reads
# its id, title, icon and menu; a click on the icon locks, and so does the menu's Lock Screen. A
# panel that restarts gets the icon again.
#   e2e_status_notifier.sh first|later
set -u
mode=$1
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
write_password "ab"
write_options "<key>closeAnimation</key><integer>0</integer><key>startAnimation</key><integer>0</integer>"
sni() { /usr/bin/python3 "$TESTS_DIR/tools/sni_host.py" "$@"; }
HOST_PID=
start_host() {
    : >"$RIG_DIR/host.log"
    /usr/bin/python3 "$TESTS_DIR/tools/sni_host.py" watch >>"$RIG_DIR/host.log" 2>&1 &
    HOST_PID=$!
    RIG_PIDS+=($HOST_PID)
    wait_until 5 grep -q '^ready' "$RIG_DIR/host.log" || fail "the host did not start: $(cat "$RIG_DIR/host.log")"
}
registered() { grep -q '^registered ' "$RIG_DIR/host.log"; }

# Only the D-Bus tray: the rig's X tray goes first, as on a Wayland desktop.
tray=$(pgrep -x trayer -n)
for pid in "${RIG_PIDS[@]}"; do
    if [ "$pid" = "$tray" ]; then kill "$pid"; wait "$pid" 2>/dev/null; fi
done
wait_until 5 bash -c '! xdotool search --class trayer >/dev/null' || fail "the X tray did not go"

if [ "$mode" = first ]; then
    start_host
    start_tessarine
    wait_until 10 registered || fail "the icon did not register: $(cat "$RIG_DIR/host.log")"
    sleep 0.5
    grep -q 'no system tray is running' "$RIG_DIR/tessarine.log" &&
        fail "Tessarine said no tray runs while the panel's ran"
else
    start_tessarine
    wait_until 5 grep -q 'no system tray is running' "$RIG_DIR/tessarine.log" ||
        fail "Tessarine did not say that no tray runs"
    start_host
    wait_until 10 registered || fail "the icon did not register with a panel started later: $(cat "$RIG_DIR/host.log")"
    [ "$(grep -c 'no system tray is running' "$RIG_DIR/tessarine.log")" = 1 ] || fail "said more than once"
fi
[ "$(sni items | wc -l)" = 1 ] || fail "not one item registered: $(sni items)"

# What the panel shows: the program's id and title, an icon with pixels, the menu.
properties=$(sni properties) || fail "the item's properties could not be read"
echo "$properties"
grep -qx 'Id=tessarine' <<<"$properties" || fail "wrong id"
grep -qx 'Title=tessarine' <<<"$properties" || fail "wrong title"
grep -qx 'Menu=/MenuBar' <<<"$properties" || fail "no menu path"
pixmaps=$(sed -n 's/^IconPixmap=//p' <<<"$properties")
grep -qE '(^| )[0-9]+x[0-9]+:[1-9][0-9]*( |$)' <<<"$pixmaps" ||
    fail "the icon has no pixmap with visible pixels: $pixmaps"
grep -q 'bad-length' <<<"$pixmaps" && fail "a pixmap's data does not match its size: $pixmaps"

menu=$(sni menu) || fail "the menu could not be read"
echo "$menu"
top=$(grep -v '^ ' <<<"$menu")
expected=$'Lock Screen\nLock After\n-\nPreferences...\nAbout Tessarine\nHelp\nTessarine Users Site\n-\nQuit Tessarine'
[ "$top" = "$expected" ] || fail "the menu's items are not the tray menu's: $top"
grep -q '^  ' <<<"$menu" || fail "Lock After has no delays under it"

unlock() {
    sleep 0.6
    xdotool type --delay 40 ab
    wait_until 5 keyboard_free || fail "the password did not unlock"
}
sni activate || fail "Activate failed"
wait_until 5 keyboard_grabbed_by_other || fail "a click on the icon did not lock"
unlock
sni click "Lock Screen" || fail "the menu's Lock Screen could not be chosen"
wait_until 5 keyboard_grabbed_by_other || fail "Lock Screen from the menu did not lock"
unlock

# The panel restarts: the icon comes back to it.
kill "$HOST_PID"
wait "$HOST_PID" 2>/dev/null
start_host
wait_until 10 registered || fail "the icon did not come back to a restarted panel: $(cat "$RIG_DIR/host.log")"
sni activate || fail "Activate failed after the restart"
wait_until 5 keyboard_grabbed_by_other || fail "a click after the restart did not lock"
unlock
echo PASS
