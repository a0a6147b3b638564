#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""clang-tidy over a build folder, with several sources in each unit, so that Qt's headers are parsed once a batch.

The libraries are built as unity files already. The sources of the window and of the command line are built one by
one; for the analysis they are put together here, those apart from each other that use the same names for what is
local to a file. A batch that does not compile all the same is analysed source by source."""
import concurrent.futures
import json
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
BATCH = 9
# What begins a definition at the start of a line, with the name that it gives.
LOCAL = re.compile(
    r"^(?:(?:constexpr|const|inline|static|template <[^>]*>)\s+)*"
    r"(?:(?:class|struct|enum(?: class)?|using)\s+(\w+)|[\w:<>,*& ]+?[\s*&](\w+)\s*(?:\(|=|\{|\[|;))")


def local_names(path):
    """Names that the anonymous namespaces of a source define, and its macros."""
    names, depth = set(), 0
    for line in path.read_text(encoding="utf-8").splitlines():
        if line.startswith("#define"):
            names.add(line.split()[1].split("(")[0])
        if line.startswith("namespace {"):
            depth = 1
        elif line.startswith("}  // namespace") and depth:
            depth = 0
        elif depth and line and not line[0].isspace() and (match := LOCAL.match(line)):
            names.add(match.group(1) or match.group(2))
    return names


def batches(paths):
    """Lists of sources without a name in common, at most BATCH long."""
    result = []
    for path in paths:
        names = local_names(path)
        for batch in result:
            if len(batch[0]) < BATCH and not batch[1] & names:
                batch[0].append(path)
                batch[1].update(names)
                break
        else:
            result.append(([path], set(names)))
    return [batch[0] for batch in result]


def plain(command):
    """The compiler's command without what clang does not share."""
    command = re.sub(r"-include \S*cmake_pch\.hxx", "", command)
    command = re.sub(r"-Winvalid-pch|-Werror", "", command)
    return re.sub(r"^\S*ccache ", "", command)


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    folder = build / "tidy"
    folder.mkdir(exist_ok=True)
    entries, single = [], {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        name = entry["file"]
        if "autogen" in name or "cmake_pch" in name or not ("/src/" in name or "/Unity/" in name):
            continue  # benchmarks and fuzz targets
        if name.startswith(str(ROOT / "tests")) or "/tests/CMakeFiles/" in name:
            continue
        entry["command"] = plain(entry["command"])
        if "/Unity/" in name:
            entries.append((entry, []))
        else:
            single.setdefault(pathlib.Path(name).parent, []).append(entry)
    for source_folder, group in sorted(single.items()):
        by_path = {pathlib.Path(entry["file"]): entry for entry in group}
        for number, batch in enumerate(batches(sorted(by_path))):
            unit = folder / f"{source_folder.name}_{number}.cpp"
            unit.write_text("".join(f'#include "{path}"\n' for path in batch), encoding="utf-8")
            first = by_path[batch[0]]
            command = first["command"].replace(first["file"], str(unit))
            entries.append((dict(first, file=str(unit), command=command), [by_path[path] for path in batch]))
    database = [entry for entry, _ in entries] + [one for _, parts in entries for one in parts]
    (folder / "compile_commands.json").write_text(json.dumps(database))
    print(f"clang-tidy: {len(entries)} units", flush=True)

    def analyse(entry):
        run = subprocess.run(["clang-tidy", "-p", str(folder), "--quiet", "--warnings-as-errors=*", entry["file"]],
                             capture_output=True, text=True)
        return run.returncode, run.stdout

    def whole(item):
        entry, parts = item
        code, text = analyse(entry)
        if code and len(parts) > 1 and "[clang-diagnostic-error]" in text:
            results = [analyse(part) for part in parts]
            code, text = max(result[0] for result in results), "".join(result[1] for result in results)
            if not code:
                print(f"analysed one by one: {', '.join(pathlib.Path(one['file']).name for one in parts)}", flush=True)
        return code, text

    failed = False
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        for code, text in pool.map(whole, entries):
            if code:
                failed = True
                print(text, flush=True)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
