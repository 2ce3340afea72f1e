# The Debian package, made from this build as `make deb` makes it: its control fields and
# dependencies, the files it puts on disk and their modes, and Tessarine run from the package's
# files unpacked under a temporary folder instead of /usr, which must find its program module
# and its scripts from where its binary lies.
set -u
if [ "${SANITIZED:-}" = ON ]; then
    # The sanitizer build is not what a package is made from; its binaries need the sanitizer
    # runtime and are not stripped the same way.
    echo "SKIP: the package is made from the plain build"
    exit 77
fi
source "$TESTS_DIR/rig/desktop.sh"
RIG_DIR= # no desktop yet
work=$(mktemp -d)
cleanup() {
    [ -z "${RIG_DIR:-}" ] || desktop_stop
    rm -rf "$work"
}
trap cleanup EXIT

# Into a folder of the test's own, so that a `make deb` at the same time is not disturbed.
(cd "$BUILD_DIR" && cpack -G DEB -B "$work/out") >"$work/cpack.log" 2>&1 || fail "cpack failed: $(cat "$work/cpack.log")"
debs=("$work"/out/*.deb)
[ ${#debs[@]} = 1 ] && [ -f "${debs[0]}" ] || fail "cpack made no single package: ${debs[*]}"
deb=${debs[0]}

field() { dpkg-deb -f "$deb" "$1"; }
version=$("$TESSARINE" --version)
[ "$(field Package)" = tessarine ] || fail "the package is called $(field Package)"
[ "tessarine $(field Version)" = "$version" ] || fail "the package's version $(field Version) is not $version"
[ "$(field Architecture)" = "$(dpkg --print-architecture)" ] || fail "architecture $(field Architecture)"
[ "$(basename "$deb")" = "tessarine_$(field Version)_$(field Architecture).deb" ] || fail "file name $(basename "$deb")"
depends=$(field Depends | tr ',' '\n' | sed 's/^ *//; s/ .*//')
depends_on() { grep -qx "$1" <<<"$depends"; }
# Loaded by Qt at run time, so named by hand: the X11 platform and the SVG images.
for package in qt6-qpa-plugins libqt6svg6; do
    depends_on "$package" || fail "no dependency on $package: $(field Depends)"
done

dpkg-deb -x "$deb" "$work/root" || fail "the package does not unpack"
root=$work/root

# Every library the binaries load comes from a package the package depends on.
for binary in usr/bin/tessarine usr/lib/tessarine/tessarine-program.so usr/lib/tessarine/tessarine-guard; do
    [ -f "$root/$binary" ] || fail "no $binary"
    for library in $(objdump -p "$root/$binary" | awk '$1 == "NEEDED" { print $2 }'); do
        path=$(ldconfig -p | awk -v lib="$library" '$1 == lib && /x86-64|64bit/ { print $NF; exit }')
        [ -n "$path" ] || path=$(ldconfig -p | awk -v lib="$library" '$1 == lib { print $NF; exit }')
        owner=$(dpkg -S "$path" 2>/dev/null || dpkg -S "$(readlink -f "$path")" 2>/dev/null || dpkg -S "/usr$path" 2>/dev/null)
        owner=${owner%%:*}
        [ -n "$owner" ] || fail "no package owns $library ($path)"
        depends_on "$owner" || fail "$binary needs $library from $owner, which the package does not depend on: $(field Depends)"
    done
done

# The files, and nothing else.
expected="usr/bin/tessarine 755
usr/lib/tessarine/tessarine-guard 755
usr/lib/tessarine/tessarine-program.so 644
usr/share/applications/org.tessarine.Tessarine.desktop 644
usr/share/dbus-1/services/org.tessarine.Tessarine.service 644
usr/share/doc/tessarine/LICENSE 644
usr/share/doc/tessarine/copyright 644
usr/share/icons/hicolor/scalable/apps/org.tessarine.Tessarine.svg 644
usr/share/man/man1/tessarine.1.gz 644
usr/share/metainfo/org.tessarine.Tessarine.metainfo.xml 644
usr/share/systemd/user/tessarine.service 644"
for script in "$SOURCE_DIR"/resources/scripts/*; do
    expected+=$'\n'"usr/share/tessarine/scripts/$(basename "$script") 755"
done
expected=$(sort <<<"$expected")
actual=$(cd "$root" && find . ! -type d -printf '%P %m\n' | sort)
[ "$actual" = "$expected" ] || fail "the package's files differ:
$(diff <(echo "$expected") <(echo "$actual"))"
[ -z "$(cd "$root" && find . -type d ! -perm 755)" ] || fail "folders that are not 755"

# What the files hold.
linux=$SOURCE_DIR/resources/linux
service=$root/usr/share/dbus-1/services/org.tessarine.Tessarine.service
[ "$(cat "$service")" = "[D-BUS Service]
Name=org.tessarine.Tessarine
Exec=/usr/bin/tessarine
SystemdService=tessarine.service" ] || fail "the service file reads: $(cat "$service")"
# The user unit the bus starts through where systemd runs the session (dbus-broker only starts
# services that way), and that `systemctl --user enable tessarine` starts with the session.
unit=$root/usr/share/systemd/user/tessarine.service
unit_key() { sed -n "s/^$1=//p" "$unit"; }
[ "$(unit_key ExecStart)" = /usr/bin/tessarine ] || fail "the unit starts $(unit_key ExecStart)"
[ "$(unit_key Type)" = dbus ] && [ "$(unit_key BusName)" = org.tessarine.Tessarine ] ||
    fail "the unit is not ready by its bus name: $(cat "$unit")"
[ "$(unit_key PartOf)" = graphical-session.target ] && [ "$(unit_key WantedBy)" = graphical-session.target ] ||
    fail "the unit is not part of the graphical session: $(cat "$unit")"
# systemd's own check, with the binary where the unit names it.
sed "s#^ExecStart=/usr/bin/#ExecStart=$root/usr/bin/#" "$unit" >"$work/tessarine.service"
out=$(systemd-analyze verify --man=no "$work/tessarine.service" 2>&1) || fail "systemd-analyze verify: $out"
cmp -s "$linux/org.tessarine.Tessarine.desktop" "$root/usr/share/applications/org.tessarine.Tessarine.desktop" ||
    fail "the desktop entry differs from its source"
[ "$(gzip -dc "$root/usr/share/man/man1/tessarine.1.gz")" = "$(cat "$MAN_PAGE")" ] ||
    fail "the manual page differs from the build's"
grep -q 'GPL-3.0-or-later' "$root/usr/share/doc/tessarine/copyright" || fail "the copyright file names no licence"
for binary in usr/bin/tessarine usr/lib/tessarine/tessarine-program.so usr/lib/tessarine/tessarine-guard; do
    file -b "$root/$binary" | grep -q ', stripped' || fail "$binary is not stripped"
done

# Run from the unpacked files, nowhere near the build tree.
tessarine=$root/usr/bin/tessarine
[ "$("$tessarine" --version)" = "$version" ] || fail "the unpacked binary's --version"
"$tessarine" --help | grep -q '^Usage: tessarine' || fail "the unpacked binary's --help"
unset TESSARINE_PROGRAM_MODULE TESSARINE_SCRIPTS_DIR
# Its own scripts, made to say that they ran.
for name in animateOn Tessarine; do
    printf '#!/bin/sh\necho %s >>"%s"\n' "$name" "$work/scripts.txt" >"$root/usr/share/tessarine/scripts/$name"
done
desktop_start || fail "the desktop did not come up"
trap cleanup EXIT # desktop_start set its own
fake_power_supply
write_password ab
backlight=$RIG_DIR/backlight/panel
mkdir -p "$backlight"
echo 100 >"$backlight/max_brightness"
echo 80 >"$backlight/brightness"
export TESSARINE_BACKLIGHT_DIR=$RIG_DIR/backlight
write_options "<key>dim</key><true/><key>lockBrightnes</key><real>0.5</real>
<key>timeout</key><false/><key>closeAnimation</key><integer>0</integer>"
TESSARINE=$tessarine start_tessarine
wait_until 10 tray_icon_embedded || fail "the unpacked Tessarine shows no tray icon"
grep -q " $root/usr/lib/tessarine/tessarine-program.so$" "/proc/$TESSARINE_PID/maps" ||
    fail "the unpacked Tessarine did not load the unpacked module"
"$tessarine" lock || fail "the unpacked tessarine lock failed"
wait_until 3 keyboard_grabbed_by_other || fail "the unpacked Tessarine did not lock"
wait_until 3 test -f "$work/scripts.txt" || fail "the unpacked Tessarine ran none of its scripts"
[ "$(tr '\n' ' ' <"$work/scripts.txt")" = "animateOn Tessarine " ] ||
    fail "the unpacked Tessarine ran: $(cat "$work/scripts.txt")"
sleep 0.3
xdotool type --delay 40 ab
wait_until 3 keyboard_free || fail "the password did not unlock"
echo PASS
