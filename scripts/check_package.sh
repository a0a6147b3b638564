#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs into an empty folder and builds the Debian package, then looks whether what a user needs is in them.
set -euo pipefail
build=${1:?build folder}
stage=$(mktemp -d); trap 'rm -rf "$stage"' EXIT
DESTDIR=$stage cmake --install "$build" --prefix /usr >/dev/null
for file in bin/ondarix bin/ondarix-cli share/applications/works.vellmark.Ondarix.desktop \
            share/mime/packages/ondarix.xml share/metainfo/works.vellmark.Ondarix.metainfo.xml \
            share/man/man1/ondarix.1 share/man/man1/ondarix-cli.1 \
            share/icons/hicolor/scalable/apps/works.vellmark.Ondarix.svg; do
    [ -e "$stage/usr/$file" ] || { echo "not installed: $file" >&2; exit 1; }
done
"$stage/usr/bin/ondarix-cli" --version >/dev/null
(cd "$build" && rm -f ./*.deb && cpack -G DEB >/dev/null)
deb=$(ls "$build"/*.deb)
dpkg-deb --contents "$deb" | grep 'usr/bin/ondarix$' >/dev/null
dpkg-deb --field "$deb" Depends | grep libqt6widgets6 >/dev/null
echo "package: $(basename "$deb"), $(du -k "$deb" | cut -f1) KiB"
