#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Proves that a lower folder never includes a higher one, that only src/app knows windows, and that src/dsp knows
neither Qt nor files."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
MAY_USE = {
    "gen": set(),
    "dsp": set(),
    "sound": {"gen", "dsp"},
    "formats": {"gen", "dsp", "sound"},
    "effects": {"gen", "dsp", "sound"},
    "devices": {"gen", "dsp", "sound"},
    "display": {"gen", "dsp", "sound"},
    "neural": {"gen", "dsp", "sound"},
    "plugins": {"gen", "dsp", "sound", "effects"},
    "batch": {"gen", "dsp", "sound", "formats", "effects", "neural"},
}
MAY_USE["cli"] = set(MAY_USE)
MAY_USE["app"] = set(MAY_USE) - {"cli"}

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
WINDOWS = re.compile(
    r"^(Qt(Widgets|Gui|Svg|SvgWidgets|PrintSupport)/|"
    r"Q(Widget|Application|GuiApplication|MainWindow|Dialog|Painter|Pixmap|Image|Icon|Color|Font|Menu|Action|"
    r"Mdi\w*|\w*(Button|Label|Layout|Edit|View|Bar|Box|Event))$)")
WINDOW_EVENTS_ALLOWED = {"QEvent"}
DSP_FORBIDDEN = re.compile(r"^(Q\w+|Qt\w+/.*|fstream|cstdio|stdio\.h|filesystem|fcntl\.h|unistd\.h|sys/.*)$")


def faults(path):
    folder = path.relative_to(ROOT / "src").parts[0]
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        match = INCLUDE.match(line)
        if not match:
            continue
        kind, name = match.groups()
        where = f"{path.relative_to(ROOT)}:{number}"
        top = name.split("/")[0] if "/" in name else None
        if kind == '"' and top in MAY_USE and top != folder and top not in MAY_USE[folder]:
            yield f"{where}: {folder} may not include {name}"
        if kind == "<" and folder != "app" and WINDOWS.match(name) and name not in WINDOW_EVENTS_ALLOWED:
            yield f"{where}: only app may know windows ({name})"
        if folder == "dsp" and DSP_FORBIDDEN.match(name):
            yield f"{where}: dsp knows neither files nor Qt ({name})"


def main():
    files = [p for p in (ROOT / "src").rglob("*") if p.suffix in (".h", ".cpp")]
    unknown = {p.relative_to(ROOT / "src").parts[0] for p in files} - set(MAY_USE)
    found = [f"src/{name}: a folder without a place in the layers" for name in sorted(unknown)]
    for path in sorted(files):
        if path.relative_to(ROOT / "src").parts[0] in MAY_USE:
            found += faults(path)
        if not path.read_text(encoding="utf-8").startswith("// SPDX-License-Identifier: GPL-3.0-or-later"):
            found.append(f"{path.relative_to(ROOT)}:1: the licence line is missing")
    print("\n".join(found) if found else f"layers: {len(files)} files keep to their places")
    return 1 if found else 0


sys.exit(main())
