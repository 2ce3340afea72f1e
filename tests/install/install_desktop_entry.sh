# The files a desktop reads about Tessarine: the application menu's entry passes
# desktop-file-validate and runs commands the binary knows, its icon is there by the name the
# entry gives, the software centre's metainfo passes appstreamcli and names this release, and
# the bus's service file names the bus name the program takes and the systemd unit that starts it.
set -u
fail() {
    echo "FAIL: $*" >&2
    exit 1
}
id=org.tessarine.Tessarine
linux=$SOURCE_DIR/resources/linux
entry=$linux/$id.desktop
metainfo=$linux/$id.metainfo.xml

out=$(desktop-file-validate "$entry" 2>&1) || fail "desktop-file-validate: $out"
[ -z "$out" ] || fail "desktop-file-validate warns: $out"

# key FILE GROUP KEY: the value of one key of one group of a desktop entry.
key() {
    awk -v group="[$2]" -v key="$3" '
        /^\[/ { inside = ($0 == group) }
        inside && index($0, key "=") == 1 { print substr($0, length(key) + 2); exit }' "$1"
}
[ "$(key "$entry" 'Desktop Entry' Type)" = Application ] || fail "not an application"
[ "$(key "$entry" 'Desktop Entry' Exec)" = tessarine ] || fail "Exec is not the binary"
[ "$(key "$entry" 'Desktop Entry' Icon)" = "$id" ] || fail "Icon is not $id"
[ -n "$(key "$entry" 'Desktop Entry' Name)" ] || fail "no Name"
# The menu's "Lock the Screen" runs a command the binary understands: with no Tessarine
# reachable it says so (status 1), where an unknown command would give status 2.
lock=$(key "$entry" 'Desktop Action lock' Exec)
[ "${lock%% *}" = tessarine ] || fail "the lock action runs $lock"
DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent "$TESSARINE" ${lock#tessarine} 2>/dev/null
[ $? = 1 ] || fail "the binary does not know the lock action's command: $lock"

# The icon: a scalable picture under the entry's name, square.
icon=$linux/$id.svg
xmllint --noout "$icon" || fail "the icon is not well-formed"
[ "$(xmllint --xpath 'string(/*[local-name()="svg"]/@viewBox)' "$icon")" = "0 0 256 256" ] ||
    fail "the icon is not square"

out=$(appstreamcli validate --no-net --strict "$metainfo" 2>&1) || fail "appstreamcli validate: $out"
xpath() { xmllint --xpath "string($1)" "$metainfo"; }
[ "$(xpath /component/id)" = "$id" ] || fail "the metainfo's id is not $id"
[ "$(xpath '/component/launchable[@type="desktop-id"]')" = "$id.desktop" ] ||
    fail "the metainfo does not launch $id.desktop"
[ "$(xpath '/component/provides/binary')" = tessarine ] || fail "the metainfo provides no binary"
version=$("$TESSARINE" --version) || fail "--version failed"
[ "tessarine $(xpath '/component/releases/release[1]/@version')" = "$version" ] ||
    fail "the metainfo's newest release is not $version"

service=$linux/$id.service.in
[ "$(key "$service" 'D-BUS Service' Name)" = "$id" ] || fail "the service file is not for $id"
[ "$(key "$service" 'D-BUS Service' Exec)" = "@bindir@/tessarine" ] || fail "the service file starts something else"
[ "$(key "$service" 'D-BUS Service' SystemdService)" = tessarine.service ] ||
    fail "the service file names no systemd unit"
echo PASS
