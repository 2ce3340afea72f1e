# Settings files that another program (or an accident) put in place of Tessarine's own: a FIFO,
# a folder, a link to /dev/zero, a sparse file of 1 GB and a property list of 50,000 nested
# arrays, at properties.plist and at settings.plist in turn. Each time Tessarine starts into the
# tray without hanging or crashing, says on stderr that the file is not read, and leaves the
# file as it was; a preference changed meanwhile does not replace it.
set -u
source "$TESTS_DIR/rig/desktop.sh"
desktop_start 1280x800 || fail "the desktop did not come up"
fake_power_supply
library=$XDG_CONFIG_HOME/tessarine
nested=$RIG_DIR/nested.plist
{
    printf '<?xml version="1.0" encoding="UTF-8"?>\n<plist version="1.0">\n'
    for ((i = 0; i < 50000; i++)); do printf '<array>'; done
    for ((i = 0; i < 50000; i++)); do printf '</array>'; done
    printf '\n</plist>\n'
} >"$nested"

make_hostile() { # KIND PATH
    rm -rf "$2"
    case $1 in
    fifo) mkfifo "$2" ;;
    folder) mkdir "$2" ;;
    zero) ln -s /dev/zero "$2" ;;
    huge) truncate -s 1G "$2" ;;
    nested) cp "$nested" "$2" ;;
    esac
}
describe() { # PATH: what lies there, to compare before and after
    if [ -L "$1" ]; then
        echo "link $(readlink "$1")"
    elif [ -p "$1" ]; then
        echo fifo
    elif [ -d "$1" ]; then
        echo "folder $(ls -A "$1" | wc -l)"
    else
        echo "file $(stat -c %s "$1") $(md5sum <"$1" | cut -d' ' -f1)"
    fi
}

for name in properties settings; do
    for kind in fifo folder zero huge nested; do
        rm -rf "$library"
        write_password "ab"
        write_options "<key>showTime</key><true/>"
        target=$library/$name.plist
        make_hostile "$kind" "$target"
        before=$(describe "$target")
        : >"$RIG_DIR/tessarine.log"
        start_tessarine
        wait_until 10 tray_icon_embedded ||
            fail "$name.plist as $kind: Tessarine did not reach the tray"
        kill -0 "$TESSARINE_PID" || fail "$name.plist as $kind: Tessarine ended"
        case $kind in
        fifo) said="is not a regular file (a FIFO)" ;;
        folder) said="is not a regular file (a folder)" ;;
        zero) said="is not a regular file (a character device)" ;;
        huge) said="is larger than" ;;
        nested) said="nests its arrays or dictionaries deeper" ;;
        esac
        wait_until 5 grep -qF "$name.plist $said" "$RIG_DIR/tessarine.log" ||
            fail "$name.plist as $kind: no clear message: $(cat "$RIG_DIR/tessarine.log")"
        if [ "$name" = properties ]; then
            # A preference changed from outside the window: the store reads, refuses, writes
            # nothing.
            busctl --user set-property org.tessarine.Tessarine /org/tessarine/Tessarine \
                org.tessarine.Tessarine mail i 2 >/dev/null 2>&1
        fi
        sleep 0.3
        kill -0 "$TESSARINE_PID" || fail "$name.plist as $kind: Tessarine ended"
        stop_tessarine
        [ "$(describe "$target")" = "$before" ] || fail "$name.plist as $kind: the file was changed"
        echo "$name.plist as $kind: refused and kept"
    done
done
# A user's own files beside the settings: hidden copies named as people name them stay, and an
# options file kept elsewhere behind a link is written through the link, keeping its mode.
rm -rf "$library"
mkdir -p "$library"
echo "my copy" >"$library/.settings.plist.backup"
echo "my copy" >"$library/.properties.plist.v2copy"
touch -d '1 hour ago' "$library/.settings.plist.backup" "$library/.properties.plist.v2copy"
mkdir -p "$HOME/dotfiles"
write_options "<key>showTime</key><true/>"
mv "$library/properties.plist" "$HOME/dotfiles/tessarine.plist"
chmod 640 "$HOME/dotfiles/tessarine.plist"
ln -s "$HOME/dotfiles/tessarine.plist" "$library/properties.plist"
# No password yet: the start writes the hot key's keys into the options file.
start_tessarine
wait_until 10 grep -q shortcutKey "$HOME/dotfiles/tessarine.plist" ||
    fail "the options file behind the link was not written"
stop_tessarine
[ -L "$library/properties.plist" ] || fail "the linked options file was replaced by a file"
[ "$(stat -c %a "$HOME/dotfiles/tessarine.plist")" = 640 ] || fail "the options file lost its mode"
[ -f "$library/.settings.plist.backup" ] && [ -f "$library/.properties.plist.v2copy" ] ||
    fail "start-up removed the user's own copies"
echo PASS
