# Preference writes cut short by kill -9 at random moments. 1,000 writes of the options file go
# through the program's own store (tests/tools/preference_writer: SettingsStore::set, each write
# setting two keys to the same generation N); the writer is killed at a random moment of one of
# its first 16 writes, again and again, and started anew where it left off. After every kill:
#   - properties.plist parses, with the program's loader (SettingsStore::load) and with libplist
#     (plist_keys), and holds the old or the new generation whole, with every other key as it was;
#   - the password file is byte for byte what it was, mode 0600.
# Then the real program starts in that folder: it removes the temporary files the killed writers
# left, and the file still holds the last generation. Last, the real program itself is killed at
# random moments of its start, which writes the options file twice (no battery: showBattery; no
# password file: the hot key), and the file is checked the same way each time.
#   e2e_kill_during_writes.sh [WRITES]
set -u
writes=${1:-1000}
source "$TESTS_DIR/rig/desktop.sh"
desktop_start || fail "the desktop did not come up"
# No battery here: the program's start turns showBattery off on disk.
mkdir -p "$RIG_DIR/no_power_supply"
export TESSARINE_POWER_SUPPLY_DIR=$RIG_DIR/no_power_supply
library=$XDG_CONFIG_HOME/tessarine
options=$library/properties.plist
others="<key>showMusic</key><true/><key>showTime</key><true/><key>showBattery</key><true/>
<key>closeAnimation</key><integer>0</integer><key>contact</key><string>kept as it was</string>"
write_password k3y
write_options "$others<key>timeoutTime</key><integer>0</integer>
<key>lockImageURL</key><string>file:///lock/0.png</string>"
cp "$library/settings.plist" "$RIG_DIR/password.before"
# The keys the writes do not touch, as libplist reads them.
"$PLIST_KEYS" "$options" | grep -v -e '^timeoutTime=' -e '^lockImageURL=' >"$RIG_DIR/others.txt"

temporaries() { find "$library" -maxdepth 1 -name '.*.plist.??????' | wc -l; }

password_intact() {
    cmp -s "$library/settings.plist" "$RIG_DIR/password.before" ||
        fail "the password file changed ($1)"
    [ "$(stat -c %a "$library/settings.plist")" = 600 ] || fail "the password file's mode changed ($1)"
}

# check_generation ALLOWED...: the file parses both ways and holds one of these generations whole;
# prints the generation found.
check_generation() {
    local read keys n
    read=$("$PREFERENCE_WRITER" read "$library") ||
        fail "the program's loader cannot read the options file (allowed: $*): $(head -c 300 "$options")"
    n=${read%% *}
    [ "$read" = "$n file:///lock/$n.png" ] || fail "two generations mixed in one file: $read"
    [[ " $* " == *" $n "* ]] || fail "the file holds generation $n, neither the old nor the new one ($*)"
    keys=$("$PLIST_KEYS" "$options") || fail "libplist cannot read the options file"
    grep -qx "timeoutTime=integer:$n" <<<"$keys" || fail "libplist reads another timeoutTime: $keys"
    grep -qx "lockImageURL=string:file:///lock/$n.png" <<<"$keys" || fail "libplist reads another lockImageURL"
    [ -n "${OTHERS_MAY_CHANGE:-}" ] ||
        grep -v -e '^timeoutTime=' -e '^lockImageURL=' <<<"$keys" | cmp -s - "$RIG_DIR/others.txt" ||
        fail "the other keys changed: $keys"
    echo "$n"
}

started=$(now_us)
done_writes=0
kills=0
most_temporaries=0
# How long a write takes here (most of it fsync): the first 20 writes, not killed.
"$PREFERENCE_WRITER" write "$library" 1 20 >/dev/null || fail "the writer failed"
write_us=$((($(now_us) - started) / 20))
check_generation 20 >/dev/null || exit 1
done_writes=20
mkfifo "$RIG_DIR/writer.fifo"
while ((done_writes < writes)); do
    "$PREFERENCE_WRITER" write "$library" $((done_writes + 1)) "$writes" >"$RIG_DIR/writer.fifo" \
        2>>"$RIG_DIR/writer.err" &
    writer=$!
    exec {lines}<"$RIG_DIR/writer.fifo"
    # The kill comes during the writer's Kth write of this run (1 to 16), at a random moment of
    # it; counted in writes and in the time a write takes, so that the number of kills does not
    # depend on how fast the disk is today.
    target=$((RANDOM % 16 + 1))
    started_writes=0
    last=
    while read -r -u "$lines" line; do
        last=$line
        [[ $line == writing* ]] && ((++started_writes == target)) && break
    done
    sleep "$(printf '0.%06d' $(((RANDOM * 32768 + RANDOM) % write_us)))"
    kill -9 "$writer" 2>/dev/null
    while read -r -u "$lines" line; do last=$line; done
    exec {lines}<&-
    status=0
    wait "$writer" 2>/dev/null || status=$?
    case "$status:$last" in
    137:"writing "*) n=${last#writing }; allowed="$((n - 1)) $n"; kills=$((kills + 1)) ;;
    137:"wrote "*) n=${last#wrote }; allowed=$n; kills=$((kills + 1)) ;;
    0:"wrote $writes") allowed=$writes ;;
    *) fail "the writer ended with status $status after \"$last\": $(cat "$RIG_DIR/writer.err")" ;;
    esac
    done_writes=$(check_generation $allowed) || exit 1
    password_intact "after kill $kills"
    t=$(temporaries)
    ((t > most_temporaries)) && most_temporaries=$t
done
left=$(temporaries)
echo "$writes writes of $write_us us each, $kills kills in $((($(now_us) - started) / 1000)) ms;" \
    "temporary files left by killed writers: $left (at most $most_temporaries)"

# The real program cleans up after them at its start, and reads the last generation.
start_tessarine
wait_until 10 tray_icon_embedded || fail "no tray icon"
[ "$(temporaries)" = 0 ] || fail "$(temporaries) temporary files are left after the program's start"
# (Its start turns showBattery off: no battery here.)
OTHERS_MAY_CHANGE=1 check_generation "$writes" >/dev/null || exit 1
password_intact "after the program's start"
if ((left > 0)); then
    grep -q "removed $left unfinished temporary settings files" "$RIG_DIR/tessarine.log" ||
        fail "the program did not say it removed them"
fi
stop_tessarine

# The real program killed during its own writes. Its start sets showBattery (no battery here) and
# then, without a password file, the Super+Alt+L hot key: the file must hold the state before,
# after the first write, or after both, each whole.
rm "$library/settings.plist"
hotkey_keys='^(shortcut(Modifier[123]|Key|String)|useShortcut)='
program_kills=${PROGRAM_KILLS:-15}
states=""
for ((run = 0; run < program_kills; run++)); do
    write_options "$others<key>useShortcut</key><false/><key>shortcutKey</key><integer>1</integer>"
    "$PLIST_KEYS" "$options" >"$RIG_DIR/state0.txt"
    start_tessarine
    # Somewhere between the start and shortly after the icon is shown.
    sleep "0.$(printf '%03d' $((RANDOM % 200)))"
    kill -9 "$TESSARINE_PID"
    wait "$TESSARINE_PID" 2>/dev/null
    TESSARINE_PID=
    keys=$("$PLIST_KEYS" "$options") || fail "libplist cannot read the options file the program wrote"
    "$PREFERENCE_WRITER" read "$library" >/dev/null || fail "the program's loader cannot read it"
    battery=$(grep -c '^showBattery=boolean:false$' <<<"$keys" || true)
    rest=$(grep -v -E "$hotkey_keys|^showBattery=" <<<"$keys")
    [ "$rest" = "$(grep -v -E "$hotkey_keys|^showBattery=" "$RIG_DIR/state0.txt")" ] ||
        fail "keys the start does not write changed: $keys"
    hotkey=$(grep -E "$hotkey_keys" <<<"$keys" | tr '\n' ' ')
    if [ "$hotkey" = "shortcutKey=integer:1 useShortcut=boolean:false " ]; then
        state=$battery # 0: as before, 1: the battery written
    elif [ "$battery" = 1 ] &&
        [ "$hotkey" = "shortcutKey=integer:37 shortcutModifier1=integer:0 shortcutModifier2=integer:256 shortcutModifier3=integer:2048 shortcutString=string:L useShortcut=boolean:true " ]; then
        state=2
    else
        fail "the options file holds a state no write makes: $keys"
    fi
    states+=$state
    [ ! -e "$library/settings.plist" ] || fail "a password file appeared"
done
echo "the program killed $program_kills times during its start; states found" \
    "(0 before, 1 battery written, 2 both): $states"
[ "$(temporaries)" -le 1 ] || fail "temporary files pile up: $(temporaries)"
echo PASS
