#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# clang-tidy over a build folder. Works on the unity files, so Qt's headers are parsed once a batch.
set -euo pipefail
build=${1:?build folder}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
database=$build/tidy
mkdir -p "$database"
python3 - "$build/compile_commands.json" "$database/compile_commands.json" "$here" <<'PY'
import json, re, sys
source, target, here = sys.argv[1:]
kept = []
for entry in json.load(open(source)):
    name = entry["file"]
    # The folders' unity files lie in the build folder; tests, benchmarks and fuzz targets have none.
    if not ("/src/" in name or "/Unity/" in name) or "autogen" in name or "cmake_pch" in name:
        continue
    command = entry["command"]
    command = re.sub(r"-include \S*cmake_pch\.hxx", "", command)
    command = re.sub(r"-Winvalid-pch|-Werror", "", command)
    entry["command"] = re.sub(r"^\S*ccache ", "", command)
    kept.append(entry)
json.dump(kept, open(target, "w"))
print(f"clang-tidy: {len(kept)} translation units")
PY
python3 -c "import json,sys; print('\n'.join(e['file'] for e in json.load(open('$database/compile_commands.json'))))" |
    xargs -P2 -n1 clang-tidy -p "$database" --quiet --warnings-as-errors='*' 2>/dev/null
