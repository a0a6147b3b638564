#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Desktop entry, MIME types, AppStream metadata and man pages, each by its own validator.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../data"
desktop-file-validate works.vellmark.Ondarix.desktop
xmllint --noout ondarix-mime.xml
mime=$(mktemp -d); trap 'rm -rf "$mime"' EXIT
mkdir "$mime/packages"; cp ondarix-mime.xml "$mime/packages/"
# Warnings of the database tool are faults here.
if ! said=$(update-mime-database "$mime" 2>&1) || [ -n "$said" ]; then echo "$said" >&2; exit 1; fi
appstreamcli validate --no-net works.vellmark.Ondarix.metainfo.xml
for page in man/*.1; do
    if said=$(MANROFFSEQ='' man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null) && [ -z "$said" ]; then :; else
        echo "$page: $said" >&2; exit 1
    fi
done
echo "data: desktop entry, MIME types, metadata and man pages are valid"
