#!/usr/bin/python3
"""Prints the table of what scripts/bench measured, and the targets beside the figures.

usage: report.py RESULTS

A ratio is our time by theirs: below 1.00 we are faster. It is that of the medians of all runs,
and of CPU time. Every library ran in processes of its own, with the C library's allocator as it is;
"memory kept" are runs whose allocator gave no memory back to the kernel.
"""

import collections
import json
import pathlib
import re
import statistics
import subprocess
import sys

SIZES = ["25KB", "50KB", "100KB", "200KB", "2MB"]
KINDS = ["database", "attributes", "text", "deep"]
PEERS = ["pugixml", "rapidxml", "expat", "libxml2", "tinyxml2"]

# Columns of the table that hold ratios: to the other libraries, to decoding the image by the
# compression library alone, and to another of our own figures.
RATIOS = PEERS + ["decoding", "own"]

# The first column of the documents' rows: operation, and whose time it is.
OPERATIONS = {
    "load, static": ("load", "xmlp_static"),
    "load, dynamic": ("load", "xmlp_dynamic"),
    "release, static": ("release", "xmlp_static"),
    "release, dynamic": ("release", "xmlp_dynamic"),
    "compact text": ("compact", "xmlp_static"),
    "formatted text": ("formatted", "xmlp_static"),
    "look up a path": ("look-up", "xmlp_static"),
    "load, static, memory kept": ("kept-load", "xmlp_static"),
    "load, dynamic, memory kept": ("kept-load", "xmlp_dynamic"),
    "compact text, memory kept": ("kept-compact", "xmlp_static"),
}

STAGES = {
    "decode": ("stage", "decode"),
    "parse": ("stage", "parse"),
    "count": ("stage", "count"),
    "fill": ("stage", "fill"),
    "build messages": ("stage", "messages"),
    "text to tables": ("stage", "analyze"),
    "decode to sends": ("stage", "decode-to-sends"),
    "decode to sends, memory kept": ("kept-stage", "decode-to-sends"),
}

# What each ratio may be at most.
TARGETS = {
    ("load, static", "database", "200KB"): {"pugixml": 0.60, "rapidxml": 0.90},
    ("load, dynamic", "database", "200KB"): {"libxml2": 0.80, "tinyxml2": 0.50},
    ("compact text", "database", "200KB"): {"pugixml": 0.80},
    ("decode to sends", "database", "200KB"): {"decoding": 1.45},
    ("process: CPU time", "database", "200KB"): {"decoding": 1.50},
}
GROWTH_TARGET = 1.30  # time for a byte of 2 MB, by that for a byte of 50 KB
HOSTILE_TARGET = 100.0  # time of a hostile text, by that of the database
MEMORY_TARGET = 2560  # KiB of peak resident memory above the decoding program's
PROGRAM_TARGET = 65536  # bytes of the stripped loader
LIBRARIES_TARGET = {"libc.so.6", "liblzma.so.5"}

Row = collections.namedtuple("Row", "what document size figure ratios targets")


class Figures:
    """Median times in nanoseconds, by the parts of a benchmark's name."""

    def __init__(self, folder):
        times = collections.defaultdict(list)
        self.bytes = {}
        self.errors = []
        self.context = {}
        for path in sorted(folder.glob("*.json")):
            content = json.loads(path.read_text())
            self.context = content["context"]
            for run in content["benchmarks"]:
                if run["run_type"] == "iteration":
                    self._take(run, times, "kept-" if path.name.startswith("kept-") else "")
        self.times = {name: statistics.median(values) for name, values in times.items()}

    def _take(self, run, times, prefix):
        if run.get("error_occurred"):
            self.errors.append(f"{run['name']}: {run['error_message']}")
            return
        name, *options = re.split(r"/(?=iterations:|manual_time)", run["run_name"])
        name = tuple((prefix + name).split("/"))
        times[name].append(run["real_time" if "manual_time" in options else "cpu_time"])
        self.bytes[name] = run.get("bytes")

    def ratio(self, ours, theirs):
        if ours not in self.times or theirs not in self.times:
            return None
        return self.times[ours] / self.times[theirs]


def duration(nanoseconds):
    return f"{nanoseconds / 1000:,.1f} us" if nanoseconds >= 1000 else f"{nanoseconds:.0f} ns"


def verdict(isMet, limit):
    return f"{'met' if isMet else 'MISSED'}: {limit}"


def row(what, document, size, figure, ratios, limits):
    """A row of ratios, those without a figure left out, and how they stand to their limits."""
    ratios = {column: ratio for column, ratio in ratios.items() if ratio is not None}
    targets = [verdict(ratios[column] <= limit, f"{column} <= {limit:.2f}")
               for column, limit in limits.items() if column in ratios]
    return Row(what, document, size, figure, ratios, targets)


def document_rows(figures):
    for what, (operation, subject) in OPERATIONS.items():
        for kind in KINDS:
            for size in SIZES:
                ours = (operation, kind, size, subject)
                if ours not in figures.times:
                    continue
                ratios = {peer: figures.ratio(ours, (operation, kind, size, peer))
                          for peer in PEERS}
                limits = dict(TARGETS.get((what, kind, size), {}))
                small = (operation, kind, "50KB", subject)
                if operation == "kept-load" and size == "2MB" and small in figures.times:
                    ratios["own"] = (figures.ratio(ours, small) * figures.bytes[small] /
                                     figures.bytes[ours])
                    limits["own"] = GROWTH_TARGET
                yield row(what, kind, size, duration(figures.times[ours]), ratios, limits)


def stage_rows(figures):
    for what, (operation, stage) in STAGES.items():
        for size in SIZES:
            ours = (operation, "database", size, stage)
            if ours in figures.times:
                ratio = figures.ratio(ours, (operation, "database", size, "raw"))
                yield row(what, "database", size, duration(figures.times[ours]),
                          {"decoding": ratio}, TARGETS.get((what, "database", size), {}))


def hostile_rows(figures):
    """Each text's worst operation, against what it takes for the database; none below that."""
    usual = {
        "static": ("load", "database", "200KB", "xmlp_static"),
        "dynamic": ("load", "database", "200KB", "xmlp_dynamic"),
        "analyze": ("stage", "database", "200KB", "analyze"),
    }
    worst = {}
    for name in figures.times:
        if name[0] == "hostile" and usual[name[2]] in figures.times:
            ratio = figures.ratio(name, usual[name[2]])
            worst[name[1]] = max(worst.get(name[1], (0, "")), (ratio, name))
    slower = [pair for pair in worst.values() if pair[0] >= 1]
    for ratio, name in sorted(slower, reverse=True):
        yield row(f"hostile, {name[2]}", name[1], "205KB", duration(figures.times[name]),
                  {"own": ratio}, {"own": HOSTILE_TARGET})
    if worst:
        yield Row("hostile", f"{len(worst) - len(slower)} others", "205KB", "", {},
                  [verdict(True, "own < 1.00")])


def process_rows(folder):
    runs = collections.defaultdict(list)
    for line in (folder / "processes").read_text().splitlines():
        program, cpu, memory = line.split()
        runs[pathlib.Path(program).name].append((int(cpu), int(memory)))
    (cpu, memory), (least_cpu, least_memory) = (
        [statistics.median(values) for values in zip(*runs[program])]
        for program in ("loader_to_sink", "decode_only"))
    size = next(size for size in SIZES
                if (folder / "loader_to_sink.log").read_text().find(f"-{size}-0.img") >= 0)

    def process_row(what, figure, ratio, targets=()):
        limits = TARGETS.get((what, "database", size), {})
        made = row(what, "database", size, figure, {"decoding": ratio}, limits)
        return made._replace(targets=made.targets + list(targets))

    yield process_row("process: CPU time", duration(cpu * 1000), cpu / least_cpu)
    above = memory - least_memory
    yield process_row("process: peak memory", f"{memory:,.0f} KiB", memory / least_memory,
                      [verdict(above <= MEMORY_TARGET,
                               f"{above:,.0f} <= {MEMORY_TARGET:,} KiB above")])
    ours, least = (instructions(folder / f"{program}.callgrind")
                   for program in ("loader_to_sink", "decode_only"))
    yield process_row("process: instructions", f"{ours:,}", ours / least)


def instructions(path):
    return int(re.search(r"^(?:summary|totals): (\d+)", path.read_text(), re.M)[1])


def program_rows(program):
    size = program.stat().st_size
    yield Row("stripped loader", "", "", f"{size:,} bytes", {},
              [verdict(size <= PROGRAM_TARGET, f"<= {PROGRAM_TARGET:,}")])
    dynamic = subprocess.run(["readelf", "-d", program], check=True, capture_output=True,
                             text=True).stdout
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


def main(folder):
    folder = pathlib.Path(folder)
    figures = Figures(folder)
    rows = [*document_rows(figures), *stage_rows(figures), *process_rows(folder),
            *program_rows(folder / "tarn-db-loader"), *hostile_rows(figures)]
    print_table(rows)
    targets = [(made, target) for made in rows for target in made.targets]
    missed = [(made, target) for made, target in targets if target.startswith("MISSED")]
    print(f"\n{len(targets) - len(missed)} targets met, {len(missed)} missed")
    for made, target in missed:
        print(f"  {made.what}, {made.document} {made.size}: {target}")
    load = " ".join(f"{value:.1f}" for value in figures.context["load_avg"])
    print(f"load of the machine when it began: {load}")
    for error in figures.errors:
        print(f"report: {error}", file=sys.stderr)
    return 1 if figures.errors else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
