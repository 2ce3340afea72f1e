#!/usr/bin/env bash
# Makes, once, a Debian trixie tree with the Wayland compositors the tests lock (sway 1.10,
# labwc 0.8), a screenshot tool (grim) and a typist (wtype), from the mirror apt already uses.
# Debian 12's own sway predates the session-lock protocol. About 80 s and 560 MB; kept as a cache.
#   wayland-chroot.sh [DIR]    (default: $TESSARINE_WAYLAND_CHROOT or /var/cache/tessarine/trixie)
set -euo pipefail
dir=${1:-${TESSARINE_WAYLAND_CHROOT:-/var/cache/tessarine/trixie}}
[ -x "$dir/usr/bin/sway" ] && [ -x "$dir/usr/bin/labwc" ] && exit 0

sudo=()
[ "$(id -u)" -eq 0 ] || sudo=(sudo)
command -v debootstrap >/dev/null ||
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y --no-install-recommends debootstrap
mirror=$(awk '/^URIs:/ {print $2; exit}' /etc/apt/sources.list.d/*.sources 2>/dev/null || true)
[ -n "$mirror" ] || mirror=$(awk '/^deb / {print $2; exit}' /etc/apt/sources.list 2>/dev/null || true)
[ -n "$mirror" ] || mirror=http://deb.debian.org/debian
"${sudo[@]}" mkdir -p "$(dirname "$dir")"
rm -rf "$dir.partial"
"${sudo[@]}" debootstrap --variant=minbase --include=sway,labwc,grim,wtype trixie "$dir.partial" "$mirror"
"${sudo[@]}" mv "$dir.partial" "$dir"
