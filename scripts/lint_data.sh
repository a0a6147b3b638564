#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Desktop entry, MIME types, AppStream metadata and man pages, each by its own validator.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../data"
desktop-file-validate works.vellmark.Ondarix.desktop
xmllint --noout ondarix-mime.xml
share=$(mktemp -d); trap 'rm -rf "$share"' EXIT
mkdir -p "$share/mime/packages"; cp ondarix-mime.xml "$share/mime/packages/"
# Warnings of the database tool are faults here.
if ! said=$(XDG_DATA_DIRS=$share XDG_DATA_HOME=$share update-mime-database "$share/mime" 2>&1) || [ -n "$said" ]; then
    echo "$said" >&2; exit 1
fi
appstreamcli validate --no-net works.vellmark.Ondarix.metainfo.xml
for page in man/*.1; do
    if said=$(MANROFFSEQ='' man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null) && [ -z "$said" ]; then :; else
        echo "$page: $said" >&2; exit 1
    fi
done
echo "data: desktop entry, MIME types, metadata and man pages are valid"
