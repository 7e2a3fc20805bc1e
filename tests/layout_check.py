#!/usr/bin/python3
# Compares the source tree with what the documents say about it:
# - the includes of the product folders with the table in docs/architecture.md, whose last column
#   says what each folder stands on: folders of earlier rows, a single header of any folder, a
#   folder for one file only, or "all of the above";
# - the links and the names of files in every page with the files that there are.
#
# usage: layout_check.py [SOURCE]

import pathlib
import re
import sys

ROW = r"^\| `(\w+)/` \|.*\| (.*) \|$"
STANDS_ON = r"`(\w+)/([\w.]*)`(?: \(only `([\w.]+)`)?"
INCLUDE = r'^\s*#\s*include\s+["<](\w+/[^">]+)[">]'
LINK = r"\]\(((?!http)[\w./-]+\.\w+)"
FILE = r"`((?:[\w.-]+/)*[a-z][\w-]*\.(?:cpp|h|c|py|md|xml))`"
CODE = (".cpp", ".c", ".h")
NO_PRODUCT = {"tests", "fuzz", "bench", "guest", "build"}


def layout_faults(source):
    rows = re.findall(ROW, (source / "docs/architecture.md").read_text(), re.M)
    above = []
    for folder, cell in rows:
        allowed = re.findall(STANDS_ON, cell)
        for name, header, user in allowed:
            if not (header or user or name in above):
                yield f"docs/architecture.md: {folder}/ stands on all of {name}/, which comes later"
        if "all of the above" in cell:
            allowed += [(name, "", "") for name in above]
        above.append(folder)
        paths = [path for path in sorted((source / folder).rglob("*.*")) if path.suffix in CODE]
        if not paths:
            yield f"docs/architecture.md: {folder}/ has no code"
        for path in paths:
            for include in re.findall(INCLUDE, path.read_text(), re.M):
                name, header = include.split("/", 1)
                if name not in dict(rows) or name == folder:
                    continue
                if header.endswith("_internal.h") or not any(
                        name == other and only in ("", header) and user in ("", path.name)
                        for other, only, user in allowed):
                    yield f"{path.relative_to(source)} includes {include}"
    for path in source.glob("*/*.cpp"):
        if path.parent.name not in {*above, *NO_PRODUCT}:
            yield f"{path.relative_to(source)}: the table does not have its folder"
    if not rows:
        yield "docs/architecture.md has no table of folders"


def name_faults(source):
    anywhere = [source, *source.glob("*/"), *source.glob("tests/*/")]
    for page in [*source.glob("*.md"), *source.glob("docs/*.md")]:
        text = page.read_text()
        places = [(name, [page.parent]) for name in re.findall(LINK, text)]
        places += [(name, [source] if "/" in name else anywhere) for name in re.findall(FILE, text)]
        for name, folders in places:
            if not any((folder / name).exists() for folder in folders):
                yield f"{page.relative_to(source)}: there is no {name}"


def main(source="."):
    source = pathlib.Path(source)
    faults = [*layout_faults(source), *name_faults(source)]
    print(*faults, f"{len(faults)} faults", sep="\n")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
