# Starting Tessarine through the session bus: with its service file in the bus's service folder
# and no Tessarine running, `busctl set-property … lock i 1` and `tessarine lock` start it, and the
# request that started it locks the screen. With a password set the password unlocks; in a fresh
# profile any key unlocks and the window that asks for a password is there after the unlock.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start || fail "the desktop did not come up"
fake_power_supply
name=org.tessarine.Tessarine
path=/org/tessarine/Tessarine

# The installed service file, with Exec= pointing at this build's binary.
services=$RIG_DIR/services
mkdir -p "$services"
sed "s|@bindir@|$(dirname "$TESSARINE")|" "$TESTS_DIR/../resources/linux/$name.service.in" \
    >"$services/$name.service"
grep -qx "Exec=$TESSARINE" "$services/$name.service" || fail "the service file does not start $TESSARINE"

# A session bus that reads only that folder, as the desktop's bus reads the installed one. What
# the programs it starts write lands in Tessarine's log.
cat >"$RIG_DIR/bus.conf" <<CONF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=$RIG_DIR</listen>
  <servicedir>$services</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
CONF
dbus-daemon --config-file="$RIG_DIR/bus.conf" --nofork --print-address=3 3>"$RIG_DIR/bus.address" \
    >>"$RIG_DIR/tessarine.log" 2>&1 &
RIG_PIDS+=($!)
wait_until 5 test -s "$RIG_DIR/bus.address" || fail "the bus did not start"
export DBUS_SESSION_BUS_ADDRESS=$(head -n1 "$RIG_DIR/bus.address")

has_owner() {
    [ "$(dbus-send --session --print-reply=literal --dest=org.freedesktop.DBus /org/freedesktop/DBus \
        org.freedesktop.DBus.NameHasOwner "string:$name")" = "   boolean true" ]
}
owner_pid() {
    busctl --user status "$name" 2>/dev/null | sed -n 's/^PID=//p'
}
# The Tessarine the bus started is not this shell's child: it is ended by its id all the same.
stop_started() {
    local pid
    pid=$(owner_pid)
    [ -n "$pid" ] || return 0
    kill "$pid"
    wait_until 10 eval '! has_owner'
}
trap 'stop_started; desktop_stop' EXIT

dbus-send --session --print-reply=literal --dest=org.freedesktop.DBus /org/freedesktop/DBus \
    org.freedesktop.DBus.ListActivatableNames | grep -qw "$name" || fail "the bus does not know the service file"
! has_owner || fail "Tessarine runs before anything asked for it"

# A password set: busctl starts it and it locks.
write_password ab
write_options "<key>closeAnimation</key><integer>0</integer>"
busctl --user set-property "$name" "$path" "$name" lock i 1 || fail "busctl set-property failed"
wait_until 10 keyboard_grabbed_by_other || fail "the started Tessarine did not lock"
started=$(owner_pid)
[ -n "$started" ] || fail "nobody owns $name"
[ "$(readlink -f "/proc/$started/exe")" = "$(readlink -f "$TESSARINE")" ] || fail "the bus started something else"
[ -n "$(visible_windows_outside_tray)" ] || fail "no lock window while the keyboard is held"
sleep 0.3
xdotool type --delay 40 ab
wait_until 3 keyboard_free || fail "the password did not unlock"
wait_until 5 tray_icon_embedded || fail "the started Tessarine has no tray icon"
# Later requests go to the one already running.
"$TESSARINE" lock || fail "tessarine lock failed with Tessarine running"
wait_until 3 keyboard_grabbed_by_other || fail "tessarine lock did not lock"
[ "$(owner_pid)" = "$started" ] || fail "a second Tessarine was started"
sleep 0.3
xdotool type --delay 40 ab
wait_until 3 keyboard_free || fail "the password did not unlock the second time"
stop_started || fail "the started Tessarine did not end"

# A fresh profile: `tessarine lock` starts it, it locks, any key unlocks, and the window that
# asks for a password, shown at the start, is there once the lock has gone. The window manager
# gives that window the focus when it comes up, which may be after the lock took the keyboard:
# the keys go to the lock all the same.
rm -rf "$XDG_CONFIG_HOME/tessarine"
"$TESSARINE" lock || fail "tessarine lock did not start Tessarine"
wait_until 10 keyboard_grabbed_by_other || fail "the Tessarine started in a fresh profile did not lock"
welcome() { xdotool search --onlyvisible --name '^Welcome to Tessarine$'; }
wait_until 5 welcome >/dev/null || fail "no window asks for a password"
sleep 0.3
xdotool windowfocus "$(welcome | head -n1)"
sleep 0.3
xdotool key x
wait_until 3 keyboard_free || fail "a key did not unlock a lock without a password"
wait_until 3 is_active "$(welcome | head -n1)" || fail "the window that asks for a password is not in front"
[ ! -e "$XDG_CONFIG_HOME/tessarine/settings.plist" ] || fail "a password was written"
echo PASS
