#!/usr/bin/python3
# Compares the includes of the product folders with the table in docs/architecture.md, whose last
# column says what each folder stands on: folders of earlier rows, a single header of any, a folder
# for one file only, or "all of the above".
#
# usage: layout_check.py [SOURCE]

import pathlib
import re
import sys

ROW = r"^\| `(\w+)/` \|.*\| (.*) \|$"
STANDS_ON = r"`(\w+)/([\w.]*)`(?: \(only `([\w.]+)`\))?"
INCLUDE = r'^\s*#\s*include\s+["<](\w+/[^">]+)[">]'
CODE = (".cpp", ".c", ".h")
NO_PRODUCT = {"tests", "fuzz", "bench", "guest", "build"}


def main(source="."):
    source = pathlib.Path(source)
    page = (source / "docs/architecture.md").read_text()
    rows = re.findall(ROW, page, re.M)
    above, faults = [], []
    for folder, cell in rows:
        allowed = re.findall(STANDS_ON, cell)
        faults += [f"docs/architecture.md: {folder}/ stands on all of {name}/, which comes later"
                   for name, header, user in allowed if not (header or user or name in above)]
        if "all of the above" in cell:
            allowed += [(name, "", "") for name in above]
        above.append(folder)
        paths = [path for path in sorted((source / folder).rglob("*.*")) if path.suffix in CODE]
        if not paths:
            faults.append(f"docs/architecture.md: {folder}/ has no code")
        for path in paths:
            for include in re.findall(INCLUDE, path.read_text(), re.M):
                name, header = include.split("/", 1)
                if name not in dict(rows) or name == folder:
                    continue
                if header.endswith("_internal.h") or not any(
                        name == other and only in ("", header) and user in ("", path.name)
                        for other, only, user in allowed):
                    faults.append(f"{path.relative_to(source)} includes {include}")
    for path in source.glob("*/*.cpp"):
        if path.parent.name not in {*dict(rows), *NO_PRODUCT}:
            faults.append(f"{path.relative_to(source)}: the table does not have its folder")
    print(*faults, f"{len(rows)} folders, {len(faults)} faults", sep="\n")
    return 1 if faults or not rows else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
