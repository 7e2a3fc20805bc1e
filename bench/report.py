#!/usr/bin/python3
"""Prints the table of what scripts/bench measured, and the targets beside the figures.

usage: report.py RESULTS SIZE

SIZE is that of the documents that everything is measured with. A ratio is our time by theirs: below
1.00 we are faster. It is that of the medians of all runs, and of CPU time. Every library ran in
processes of its own. "kept" are runs whose allocator gave no memory back to the kernel.
"""

import collections
import json
import pathlib
import re
import statistics
import subprocess
import sys

SIZES = ["25KB", "50KB", "100KB", "200KB", "2MB"]
KINDS = ["database", "text", "deep", "records", "attributes"]
PEERS = ["pugixml", "rapidxml", "expat", "libxml2", "tinyxml2"]

# Columns of the table that hold ratios: to the other libraries, to decoding the image by the
# compression library alone, and to another of our own figures.
RATIOS = PEERS + ["decoding", "own"]

# The first column of the documents' rows: how memory was managed, the operation, whose time it is,
# and which figure of ours it is compared with, if any.
OPERATIONS = {
    "load, static, kept": ("kept", "load", "xmlp_static", None),
    "load, static, kept, no vectors": ("kept", "load", "xmlp_static-no-vector", "xmlp_static"),
    "load, dynamic, kept": ("kept", "load", "xmlp_dynamic", None),
    "compact text, kept": ("kept", "compact", "xmlp_static", None),
    "load, static": ("default", "load", "xmlp_static", None),
    "load, dynamic": ("default", "load", "xmlp_dynamic", None),
    "compact text": ("default", "compact", "xmlp_static", None),
    "formatted text": ("default", "formatted", "xmlp_static", None),
}

# The least that a load costs: the step, and the load that its time is a share of.
FLOORS = {
    "floor: read every byte, kept": ("read", "xmlp_static"),
    "floor: write every node, kept": ("write", "xmlp_static"),
    "floor: allocate every string, kept": ("allocate", "xmlp_dynamic"),
}

STAGES = {
    "decode": "decode",
    "parse": "parse",
    "count": "count",
    "fill": "fill",
    "build messages": "messages",
    "text to tables": "analyze",
    "decode to sends": "decode-to-sends",
}

# What each ratio may be at most, by row, document and size.
TARGETS = collections.defaultdict(dict)
for each in SIZES:
    TARGETS["load, static, kept", "database", each] = {"pugixml": 1.00}
    TARGETS["load, static, kept", "text", each] = {"pugixml": 1.20}
    TARGETS["load, static, kept", "deep", each] = {"pugixml": 1.20}
for each in KINDS:
    TARGETS["load, static, kept, no vectors", each, "200KB"] = {"own": 1.25}
TARGETS["load, static, kept", "database", "200KB"] = {"pugixml": 0.90, "rapidxml": 1.30}
TARGETS["load, static, kept", "records", "200KB"] = {"pugixml": 2.00}
TARGETS["load, static, kept", "attributes", "200KB"] = {"pugixml": 3.00}
TARGETS["load, static, kept, no vectors", "database", "200KB"]["pugixml"] = 1.15
TARGETS["load, static", "database", "200KB"] = {"pugixml": 0.45}
TARGETS["load, dynamic, kept", "database", "200KB"] = {"libxml2": 0.50, "pugixml": 3.50}
TARGETS["compact text, kept", "database", "200KB"] = {"pugixml": 0.60}
TARGETS["decode to sends", "database", "200KB"] = {"decoding": 1.25}
TARGETS["decode to sends, kept", "database", "200KB"] = {"decoding": 1.25}
TARGETS["process: CPU time", "database", "200KB"] = {"decoding": 1.35}
GROWTH_TARGET = 1.30  # time for a byte of 2 MB, by that for a byte of 50 KB; in the worst run
HOSTILE_TARGET = 20.0  # time of a hostile text, by that of the database
TABLES_TARGET = 90  # microseconds for counting and filling
MEMORY_TARGET = 800  # KiB of peak resident memory above the decoding program's
PROGRAM_TARGETS = {"Release": 54 * 1024, "MinSizeRel": 42 * 1024}  # bytes, stripped
LIBRARIES_TARGET = {"libc.so.6", "liblzma.so.5"}

Row = collections.namedtuple("Row", "what document size figure ratios targets")


class Figures:
    """Median times in nanoseconds, by how memory was managed and a benchmark's name in parts."""

    def __init__(self, folder):
        times = collections.defaultdict(lambda: collections.defaultdict(list))
        self.bytes = {}
        self.errors = []
        self.context = {}
        for path in sorted(folder.glob("*.json")):
            content = json.loads(path.read_text())
            self.context = content["context"]
            memory, run, _ = path.name.split("-")
            for measured in content["benchmarks"]:
                if measured.get("error_occurred"):
                    self.errors.append(f"{measured['name']}: {measured['error_message']}")
                    continue
                name = (memory, *measured["run_name"].split("/"))
                times[name][run].append(measured["cpu_time"])
                self.bytes[name] = measured.get("bytes")
        self.times = {name: statistics.median(sum(runs.values(), []))
                      for name, runs in times.items()}
        self.runs = {name: [statistics.median(values) for _, values in sorted(runs.items())]
                     for name, runs in times.items()}

    def ratio(self, ours, theirs):
        if ours not in self.times or theirs not in self.times:
            return None
        return self.times[ours] / self.times[theirs]


def duration(nanoseconds):
    return f"{nanoseconds / 1000:,.1f} us" if nanoseconds >= 1000 else f"{nanoseconds:.0f} ns"


def verdict(isMet, limit):
    return f"{'met' if isMet else 'MISSED'}: {limit}"


def row(what, document, size, figure, ratios, limits=None):
    """A row of ratios, those without a figure left out, and how they stand to their limits."""
    ratios = {column: ratio for column, ratio in ratios.items() if ratio is not None}
    if limits is None:
        limits = TARGETS.get((what, document, size), {})
    targets = [verdict(ratios[column] <= limit, f"{column} <= {limit:.2f}")
               for column, limit in limits.items() if column in ratios]
    return Row(what, document, size, figure, ratios, targets)


def document_rows(figures):
    for what, (memory, operation, subject, rival) in OPERATIONS.items():
        for kind in KINDS:
            for size in SIZES:
                document = (memory, operation, kind, size)
                ours = (*document, subject)
                if ours in figures.times:
                    ratios = {peer: figures.ratio(ours, (*document, peer)) for peer in PEERS}
                    ratios["own"] = figures.ratio(ours, (*document, rival))
                    yield row(what, kind, size, duration(figures.times[ours]), ratios)


def growth_rows(figures):
    """By what factor a byte costs more in the large document, in each run; the worst one counts."""
    for what, subject in ("static", "xmlp_static"), ("dynamic", "xmlp_dynamic"):
        for kind in KINDS:
            small, large = (("kept", "load", kind, size, subject) for size in ("50KB", "2MB"))
            if small in figures.runs and large in figures.runs:
                byBytes = figures.bytes[small] / figures.bytes[large]
                growth = [theirs / ours * byBytes
                          for ours, theirs in zip(figures.runs[small], figures.runs[large])]
                yield row(f"growth, {what}, kept", kind, "2MB by 50KB",
                          " ".join(f"{each:.2f}" for each in growth), {"own": max(growth)},
                          {"own": GROWTH_TARGET})


def floor_rows(figures, size):
    for what, (step, subject) in FLOORS.items():
        for kind in KINDS:
            ours = ("kept", "floor", kind, size, step)
            load = ("kept", "load", kind, size)
            yield row(what, kind, size, duration(figures.times[ours]),
                      {"pugixml": figures.ratio(ours, (*load, "pugixml")),
                       "rapidxml": figures.ratio(ours, (*load, "rapidxml")),
                       "own": figures.ratio(ours, (*load, subject))})


def stage_rows(figures, size):
    for memory, suffix in ("default", ""), ("kept", ", kept"):
        document = (memory, "stage", "database", size)
        for what, stage in STAGES.items():
            yield row(what + suffix, "database", size, duration(figures.times[*document, stage]),
                      {"decoding": figures.ratio((*document, stage), (*document, "raw"))})
        both = figures.times[*document, "count"] + figures.times[*document, "fill"]
        yield Row("count and fill" + suffix, "database", size, duration(both), {},
                  [verdict(both <= TABLES_TARGET * 1000, f"<= {TABLES_TARGET} us")])


def hostile_rows(figures):
    """Each text's worst operation, against what it takes for the database; none below that."""
    usual = {
        "static": ("default", "load", "database", "200KB", "xmlp_static"),
        "dynamic": ("default", "load", "database", "200KB", "xmlp_dynamic"),
        "analyze": ("default", "stage", "database", "200KB", "analyze"),
    }
    worst = {}
    for name in figures.times:
        if name[1] == "hostile" and usual[name[3]] in figures.times:
            ratio = figures.ratio(name, usual[name[3]])
            worst[name[2]] = max(worst.get(name[2], (0, "")), (ratio, name))
    slower = [pair for pair in worst.values() if pair[0] >= 1]
    for ratio, name in sorted(slower, reverse=True):
        yield row(f"hostile, {name[3]}", name[2], "205KB", duration(figures.times[name]),
                  {"own": ratio}, {"own": HOSTILE_TARGET})
    if worst:
        yield Row("hostile", f"{len(worst) - len(slower)} others", "205KB", "", {},
                  [verdict(True, "own < 1.00")])


def process_rows(folder, size):
    runs = collections.defaultdict(list)
    for line in (folder / "processes").read_text().splitlines():
        program, cpu, memory = line.split()
        runs[pathlib.Path(program).name].append((int(cpu), int(memory)))
    (cpu, memory), (least_cpu, least_memory) = (
        [statistics.median(values) for values in zip(*runs[program])]
        for program in ("loader_to_sink", "decode_only"))
    yield row("process: CPU time", "database", size, duration(cpu * 1000),
              {"decoding": cpu / least_cpu})
    above = memory - least_memory
    yield row("process: peak memory", "database", size, f"{memory:,.0f} KiB",
              {"decoding": memory / least_memory})._replace(targets=[
                  verdict(above <= MEMORY_TARGET, f"{above:,.0f} <= {MEMORY_TARGET:,} KiB above")])
    ours, least = (instructions(folder / f"{program}.callgrind")
                   for program in ("loader_to_sink", "decode_only"))
    yield row("process: instructions", "database", size, f"{ours:,}", {"decoding": ours / least})


def instructions(path):
    return int(re.search(r"^(?:summary|totals): (\d+)", path.read_text(), re.M)[1])


def program_rows(folder):
    for build, limit in PROGRAM_TARGETS.items():
        size = (folder / build).stat().st_size
        yield Row("stripped loader", build, "", f"{size:,} bytes", {},
                  [verdict(size <= limit, f"<= {limit:,}")])
    dynamic = subprocess.run(["readelf", "-d", folder / "Release"], check=True,
                             capture_output=True, text=True).stdout
    libraries = set(re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic))
    yield Row("its libraries", "", "", " ".join(sorted(libraries)), {},
              [verdict(libraries <= LIBRARIES_TARGET, "libc and liblzma")])


def print_table(rows):
    head = ["what", "document", "size", "ours", *RATIOS, "targets"]
    lines = [head] + [[made.what, made.document, made.size, made.figure,
                       *(f"{made.ratios[column]:.2f}" if column in made.ratios else ""
                         for column in RATIOS), "; ".join(made.targets)] for made in rows]
    widths = [max(len(line[i]) for line in lines) for i in range(len(head))]
    isNumber = [False, False, True, True, *(True for _ in RATIOS), False]

    def show(line):
        cells = [cell.rjust(width) if right else cell.ljust(width)
                 for cell, width, right in zip(line, widths, isNumber)]
        print("| " + " | ".join(cells) + " |")

    show(head)
    print("|" + "|".join("-" * (width + 1) + (":" if right else "-")
                         for width, right in zip(widths, isNumber)) + "|")
    for line in lines[1:]:
        show(line)


def main(folder, size):
    folder = pathlib.Path(folder)
    figures = Figures(folder)
    for error in figures.errors:
        print(f"report: {error}", file=sys.stderr)
    if figures.errors:
        return 1
    rows = [*document_rows(figures), *growth_rows(figures), *floor_rows(figures, size),
            *stage_rows(figures, size), *process_rows(folder, size), *program_rows(folder),
            *hostile_rows(figures)]
    print_table(rows)
    targets = [(made, target) for made in rows for target in made.targets]
    missed = [(made, target) for made, target in targets if target.startswith("MISSED")]
    print(f"\n{len(targets) - len(missed)} targets met, {len(missed)} missed")
    for made, target in missed:
        print(f"  {made.what}, {made.document} {made.size}: {target}")
    load = " ".join(f"{value:.1f}" for value in figures.context["load_avg"])
    print(f"load of the machine: {load}")
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
