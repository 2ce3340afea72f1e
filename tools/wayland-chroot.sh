#!/usr/bin/env bash
# Makes, once, a Debian trixie tree with the Wayland compositors the tests lock (sway 1.10,
# labwc 0.8), a screenshot tool (grim), a typist (wtype) and the benchmark's peer locker
# (swaylock), from the mirror apt already uses. Debian 12's own sway predates the session-lock
# protocol. About 80 s and 560 MB; kept as a cache. A tree made before swaylock was in the list
# gets it added with the tree's own apt.
#   wayland-chroot.sh [DIR]    (default: $TESSARINE_WAYLAND_CHROOT or /var/cache/tessarine/trixie)
set -euo pipefail
dir=${1:-${TESSARINE_WAYLAND_CHROOT:-/var/cache/tessarine/trixie}}
sudo=()
[ "$(id -u)" -eq 0 ] || sudo=(sudo)
if [ -x "$dir/usr/bin/sway" ] && [ -x "$dir/usr/bin/labwc" ]; then
    [ -x "$dir/usr/bin/swaylock" ] && exit 0
    # The tree's apt needs proc, dev and sys, as the rig mounts them; they are let go however
    # the install ends.
    mounted=()
    release() {
        local mount
        for mount in "${mounted[@]}"; do "${sudo[@]}" umount "$mount" || true; done
    }
    trap release EXIT
    for mount in proc dev sys; do
        "${sudo[@]}" mount --bind "/$mount" "$dir/$mount"
        mounted+=("$dir/$mount")
    done
    "${sudo[@]}" chroot "$dir" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive \
        sh -c 'apt-get update && apt-get install -y --no-install-recommends swaylock && apt-get clean'
    exit 0
fi

command -v debootstrap >/dev/null ||
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y --no-install-recommends debootstrap
mirror=$(awk '/^URIs:/ {print $2; exit}' /etc/apt/sources.list.d/*.sources 2>/dev/null || true)
[ -n "$mirror" ] || mirror=$(awk '/^deb / {print $2; exit}' /etc/apt/sources.list 2>/dev/null || true)
[ -n "$mirror" ] || mirror=http://deb.debian.org/debian
"${sudo[@]}" mkdir -p "$(dirname "$dir")"
rm -rf "$dir.partial"
"${sudo[@]}" debootstrap --variant=minbase --include=sway,labwc,grim,wtype,swaylock trixie "$dir.partial" "$mirror"
"${sudo[@]}" mv "$dir.partial" "$dir"
