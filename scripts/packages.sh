#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs the Debian packages that are missing. Arguments: groups out of "run" (build and use the program) and
# "check" (tests and lints as well). Nothing happens, and no network is needed, when everything is there.
set -euo pipefail

run=(g++ cmake ninja-build ccache pkg-config qt6-base-dev qt6-svg-dev libsqlite3-dev zlib1g-dev
     libasound2-dev libpulse-dev libjack-jackd2-dev libpipewire-0.3-dev
     libgl1-mesa-dri fonts-dejavu-core qt6-qpa-plugins alsa-utils)
check=(libgtest-dev libgmock-dev libbenchmark-dev libebur128-dev clang-format clang-tidy python3 sox
       libsox-fmt-all ffmpeg
       pulseaudio pulseaudio-utils jackd2 jack-tools jack-capture pipewire pipewire-bin wireplumber
       libasound2-plugins dbus
       xvfb openbox xclip xdotool imagemagick desktop-file-utils appstream shared-mime-info libxml2-utils
       man-db groff file dpkg-dev)

wanted=()
for group in "$@"; do
    case $group in
        run) wanted+=("${run[@]}") ;;
        check) wanted+=("${check[@]}") ;;
        *) echo "packages.sh: unknown group $group" >&2; exit 64 ;;
    esac
done

missing=()
for package in "${wanted[@]}"; do
    dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "These packages are missing, and there is no sudo: ${missing[*]}" >&2; exit 2; }
    root=(sudo)
fi
echo "Installing packages: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
log=$(mktemp)
trap 'rm -f "$log"' EXIT
install() { "${root[@]}" apt-get install -y --no-install-recommends "${missing[@]}" >"$log" 2>&1; }
# The package lists of a fresh machine are empty or old: fetch them first, and once more if a package has moved.
"${root[@]}" apt-get update >"$log" 2>&1 || { cat "$log" >&2; exit 2; }
install || { "${root[@]}" apt-get update >>"$log" 2>&1; install; } || { cat "$log" >&2; exit 2; }
