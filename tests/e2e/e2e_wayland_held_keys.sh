# Keys typed on the lock surfaces while the lock screen is still being built are kept for it, in
# their order: the shield covers every output through the compositor (wayland_held_keys, on Qt's
# offscreen platform), wtype types on the lock surface, and only then is the lock window made
# key; it must get every key. A key read before a window takes it and dropped would let a
# password typed at once after the lock hot key come out short. Then, while the program is busy,
# more keys from a keyboard that ends right after typing (wtype's virtual one, there before the
# busy time; on sway the seat then loses its keyboard): read at once with the seat's news
# afterwards, its keys still count.
#   e2e_wayland_held_keys.sh sway|labwc
set -u
compositor=$1
source "$TESTS_DIR/rig/wayland.sh"
fail() { echo "FAIL: $*" >&2; exit 1; }
wayland_rig_start "$compositor"
# The lock's note goes to the rig's own runtime folder.
export XDG_RUNTIME_DIR=$RIG_DIR
trap 'compositor_stop; rm -rf "$RIG_DIR"' EXIT

mkfifo "$RIG_DIR/go"
QT_QPA_PLATFORM=offscreen "$WAYLAND_HELD_KEYS" <"$RIG_DIR/go" >"$RIG_DIR/keys.txt" 2>&1 &
exec {go}>"$RIG_DIR/go"
for ((i = 0; i < 50; i++)); do grep -q covered "$RIG_DIR/keys.txt" && break; sleep 0.1; done
grep -q covered "$RIG_DIR/keys.txt" || fail "the shield did not cover the outputs: $(cat "$RIG_DIR/keys.txt")"
# Shift first, which types nothing: the lock surface has the virtual keyboard's keymap before
# the first key that types.
# wtype reads its text as UTF-8 only in a UTF-8 locale.
in_chroot env LC_ALL=C.UTF-8 wtype -s 200 -k Shift_L -s 100 -d 30 "k3y é" || fail "wtype could not type"
sleep 0.5 # read from the compositor by now, before any window takes keys
echo go >&"$go"
for ((i = 0; i < 50; i++)); do grep -q 'taking keys' "$RIG_DIR/keys.txt" && break; sleep 0.1; done
grep -q 'taking keys' "$RIG_DIR/keys.txt" || fail "no window took the keys: $(cat "$RIG_DIR/keys.txt")"
# wtype's keyboard comes now (the program takes it up), its keys 1.5 s later, in the busy time.
in_chroot env LC_ALL=C.UTF-8 wtype -s 1500 -k Shift_L -s 100 -d 30 "xyz" &
typing=$!
sleep 0.5
echo busy >&"$go"
wait "$typing" || fail "wtype could not type"
grep -q busy "$RIG_DIR/keys.txt" || fail "the program was not busy while wtype typed"
sleep 1.5 # the busy time ends; the keys and the keyboard's end are read together
echo go >&"$go"
for ((i = 0; i < 50; i++)); do grep -q '^typed' "$RIG_DIR/keys.txt" && break; sleep 0.1; done
typed=$(sed -n 's/^typed //p' "$RIG_DIR/keys.txt")
[ "${typed:0:5}" = "k3y é" ] || fail "the lock window got \"$typed\": not all of the keys typed before it took them"
[ "$typed" = "k3y éxyz" ] || fail "the lock window got \"$typed\": the keys of a keyboard that ended were lost"
echo PASS
