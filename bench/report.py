#!/usr/bin/env python3
"""Writes docs/benchmarks.md and its charts from the lines of JSON that the benchmark program printed.

    bench/report.py <figures>
"""

import json
import math
import os
import sys
from html import escape
from pathlib import Path

DOCS = Path(__file__).resolve().parent.parent / "docs"
LIBRARY = "casebook"

PREFACE = """\
# Benchmarks

<!-- Written by bench/report.py from the figures of scripts/bench: edit that, not this. -->

What the library takes for the work that it is for, beside what other programs and plain loops take for the same work.
`scripts/bench` measures all of it anew and writes this page; `scripts/bench --work NAME --records N` runs one workload.

Measured on {machine}.

Every peer runs in a process of its own and is asked for a round in turn with the others: one round warms up, {rounds}
count. Where a round consists of edits that take microseconds, the first of them do not count either: they warm up what
the others' rounds have cooled. A figure is the median of the rounds; in brackets stands the median of its ratios to the
library's figure of the same round, so that 2x took twice as long. All peers work on the same table, made from a seed: 50
columns, which are case identifiers, 10 columns of some 100 numbers, 15 of numbers that are nearly all different (2 in
100 missing in both), 10 of 20 texts, 4 of texts that are nearly all different, and 10 that are calculated where
calculation is part of the work. What a peer holds in the end is compared with what the others hold, cell by cell through
a checksum; a workload in which two differ has no figures.

Each peer is used as those would who know it well: release builds, prepared statements, one transaction, batches. SQLite
runs in memory, without locks, its own journal and promises to a disk, with pages of 16 KB; its session extension
records what undoes a change. The undo stack of Qt takes a command for each write, all of them in a macro, which is its
ordinary use at its fastest; further lines show one command made for the million. pandas and numexpr work on whole
columns. The few texts of a pandas table are categories; those of the incoming one come as texts, as the library's do, or
as categories of their own, and are brought into the table's within the merge. The texts of the statistics are objects,
every second made since the last round; a sorted line has each column's values in ascending order, as the library has
them, and another one leaves them unordered. None of these does all that the library does; below each table stands what
it leaves out. The library's project has every signal connected, and its host keeps the journal's block. Memory is told
for each cell of the table, case identifiers included: a record's own share of it is small when columns are many.
"""


def machine():
    lines = Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines()
    model = next((line.split(":", 1)[1].strip() for line in lines if line.startswith("model name")), "an unknown processor")
    return f"{os.cpu_count()} processors ({model})"


def short(value):
    """Three digits, with commas."""
    if value == 0:
        return "0"
    digits = max(0, 2 - math.floor(math.log10(abs(value))))
    return f"{round(value, digits):,.{digits}f}"


def times(ratio):
    return f"{ratio:.2g}x" if 0.01 <= ratio < 10 else f"{ratio:,.0f}x" if ratio >= 10 else "<0.01x"


def unique(values):
    return list(dict.fromkeys(values))


class Work:
    """All figures of one workload."""

    def __init__(self, name, figures):
        self.name = name
        self.figures = figures
        self.title = figures[0]["title"]
        self.peers = unique(figure["peer"] for figure in figures)
        self.sizes = unique(figure["records"] for figure in figures)
        self.measures = unique((figure["measure"], figure["unit"]) for figure in figures)
        self.lacks = {figure["peer"]: figure["lacks"] for figure in figures if figure["lacks"]}

    def figure(self, peer, size, measure):
        wanted = (peer, size, measure)
        return next((f for f in self.figures if (f["peer"], f["records"], f["measure"]) == wanted), None)

    def median(self, peer, size, measure):
        figure = self.figure(peer, size, measure)
        return figure and figure["median"]

    def cell(self, peer, size, measure):
        figure = self.figure(peer, size, measure)
        if not figure:
            return ""
        ratio = "" if figure["ratio"] is None or peer == LIBRARY else f" ({times(figure['ratio'])})"
        return short(figure["median"]) + ratio

    def markdown(self):
        sizes = " / ".join(f"{size:,}" for size in self.sizes)
        yield f"\n## {self.name}\n\n{self.title[0].upper()}{self.title[1:]}. {sizes} records.\n\n"
        yield f"![{escape(self.title)}](benchmarks/{self.name}.svg)\n"
        if len(self.sizes) == 1 and len(self.measures) > 6:
            yield from table(self.peers, self.rows_of_measures())
        elif len(self.sizes) == 1:
            yield from table([f"{name}, {unit}" for name, unit in self.measures], self.rows_by_measure())
        else:
            for name, unit in self.measures:
                yield f"\n{name}, {unit}:\n"
                yield from table([f"{size:,} records" for size in self.sizes], self.rows_by_size(name))
        yield "\n" if self.lacks else ""
        for peer, lacks in self.lacks.items():
            yield f"- {peer}: {lacks}.\n"

    def rows_by_measure(self):
        for peer in self.peers:
            yield peer, [self.cell(peer, self.sizes[0], measure) for measure, _ in self.measures]

    def rows_of_measures(self):
        for measure, unit in self.measures:
            yield f"{measure}, {unit}", [self.cell(peer, self.sizes[0], measure) for peer in self.peers]

    def rows_by_size(self, measure):
        for peer in self.peers:
            cells = [self.cell(peer, size, measure) for size in self.sizes]
            if any(cells):
                yield peer, cells

    def svg(self):
        return curves(self) if len(self.sizes) > 1 else bars(self)


def table(head, rows):
    yield "\n| | " + " | ".join(head) + " |\n|---|" + "---:|" * len(head) + "\n"
    for name, cells in rows:
        yield f"| {name} | " + " | ".join(cells) + " |\n"


class Drawing:
    """An SVG, on white, so that it can be read on any page."""

    COLOURS = ("#1f6feb", "#8b8b8b", "#b5832a", "#6a9c5b", "#a05fa0", "#c05050", "#4aa3a3")

    def __init__(self, width):
        self.width = width
        self.parts = []

    def text(self, x, y, text, anchor="start", weight="normal", colour="#24292f"):
        self.parts.append(
            f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" font-weight="{weight}" fill="{colour}">{escape(text)}</text>'
        )

    def bar(self, x, y, width, height, colour):
        self.parts.append(f'<rect x="{x:.1f}" y="{y:.1f}" width="{width:.1f}" height="{height}" fill="{colour}"/>')

    def line(self, points, colour, width=1):
        path = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
        self.parts.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="{width}"/>')

    def dot(self, x, y, colour):
        self.parts.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3" fill="{colour}"/>')

    def finished(self, height):
        return (
            f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {self.width} {height}" '
            f'font-family="sans-serif" font-size="12">\n<rect width="{self.width}" height="{height}" fill="white"/>\n'
            + "\n".join(self.parts)
            + "\n</svg>\n"
        )


def colour_of(work, peer):
    return Drawing.COLOURS[work.peers.index(peer) % len(Drawing.COLOURS)]


def bars(work):
    """A group of bars from zero for each measure in which there is something to compare."""
    drawing = Drawing(760)
    left, room, y = 190, 470, 10
    for measure, unit in work.measures:
        found = [(peer, work.median(peer, work.sizes[0], measure)) for peer in work.peers]
        found = [(peer, median) for peer, median in found if median is not None]
        if len(found) == 1 and len(work.peers) > 1:
            continue
        longest = max(median for _, median in found) or 1
        y += 18
        drawing.text(10, y, f"{measure}, {unit}", weight="bold")
        for peer, median in found:
            y += 20
            drawing.text(left - 8, y, peer, "end")
            drawing.bar(left, y - 11, max(1, room * median / longest), 14, colour_of(work, peer))
            drawing.text(left + room * median / longest + 6, y, short(median), colour="#57606a")
        y += 14
    return drawing.finished(y + 4)


def curves(work):
    """For each measure the medians over the sizes, both axes logarithmic."""
    drawing = Drawing(760)
    left, right, height, top = 70, 560, 170, 10
    for measure, unit in work.measures:
        series = [(peer, [(size, work.median(peer, size, measure)) for size in work.sizes]) for peer in work.peers]
        series = [(peer, [(s, m) for s, m in points if m]) for peer, points in series]
        series = [(peer, points) for peer, points in series if points]
        medians = [median for _, points in series for _, median in points]
        low, high = math.floor(math.log10(min(medians))), math.ceil(math.log10(max(medians)) + 1e-9)
        drawing.text(10, top + 14, f"{measure}, {unit}", weight="bold")
        base = top + 28 + height

        def x_of(size):
            first, last = (math.log10(size) for size in (min(work.sizes), max(work.sizes)))
            return left + (right - left) * (math.log10(size) - first) / (last - first)

        def y_of(value):
            return base - height * (math.log10(value) - low) / max(1, high - low)

        for power in range(low, high + 1):
            drawing.line([(left, y_of(10.0**power)), (right, y_of(10.0**power))], "#e4e7eb")
            drawing.text(left - 8, y_of(10.0**power) + 4, f"{10.0**power:,g}", "end", colour="#57606a")
        for size in work.sizes:
            drawing.text(x_of(size), base + 16, f"{size:,}", "middle", colour="#57606a")
        label = 0.0
        for peer, points in sorted(series, key=lambda entry: y_of(entry[1][-1][1])):
            places = [(x_of(size), y_of(median)) for size, median in points]
            drawing.line(places, colour_of(work, peer), 3 if peer == LIBRARY else 1.5)
            for x, y in places:
                drawing.dot(x, y, colour_of(work, peer))
            label = max(label + 15, places[-1][1] + 4)
            drawing.text(right + 14, label, peer, colour=colour_of(work, peer))
        top = base + 28
    return drawing.finished(top)


def main():
    with open(sys.argv[1], encoding="utf-8") as lines:
        figures = [json.loads(line) for line in lines]
    names = unique(figure["work"] for figure in figures)
    works = [Work(name, [figure for figure in figures if figure["work"] == name]) for name in names]
    charts = DOCS / "benchmarks"
    charts.mkdir(exist_ok=True)
    for old in charts.glob("*.svg"):
        old.unlink()
    for work in works:
        (charts / f"{work.name}.svg").write_text(work.svg(), encoding="utf-8")
    rounds = max(len(figure["rounds"]) for figure in figures)
    page = PREFACE.format(machine=machine(), rounds=rounds) + "".join(text for work in works for text in work.markdown())
    (DOCS / "benchmarks.md").write_text(page, encoding="utf-8")


if __name__ == "__main__":
    main()
