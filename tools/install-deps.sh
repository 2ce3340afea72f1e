#!/usr/bin/env bash
# Installs the Debian packages that building, testing and the demo need, when any is missing.
#   install-deps.sh [EXTRA-PACKAGE...]   also installs these (the benchmarks' peers, say)
set -euo pipefail

packages=(
    cmake ninja-build g++ lld pkg-config clang-format
    clang libclang-rt-14-dev
    qt6-base-dev qt6-base-private-dev qt6-svg-dev libqt6svg6 qt6-qpa-plugins libgl-dev
    libplist-dev libplist++-dev libxcb1-dev libxcb-keysyms1-dev libxcb-xtest0-dev libxcb-dpms0-dev
    libxcb-screensaver0-dev libwayland-dev libwayland-bin wayland-protocols debootstrap
    libxcb-randr0-dev libxcb-res0-dev libxkbcommon-dev libxkbcommon-x11-dev libdbus-1-dev
    libglib2.0-dev libglib2.0-bin
    xvfb xauth xdotool x11-utils x11-xserver-utils x11-xkb-utils imagemagick
    dbus-daemon dbus-x11 openbox trayer xcompmgr
    scdoc groff-base dpkg-dev file desktop-file-utils appstream xss-lock systemd
    mpv mpv-mpris playerctl sox python3-dbus python3-gi
    "$@"
)

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
    [ "$status" = "install ok installed" ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=()
[ "$(id -u)" -eq 0 ] || sudo=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -qq
"${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
