#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Prints medians from Google Benchmark's CSV lines, whose names are "workload|competitor": what FIRST takes, and the
# ratio FIRST / OTHER. Also draws the ratios: scripts/bench-table.py RESULTS.csv DRAWING.svg FIRST OTHER...

import csv
import math
import re
import statistics
import sys

SECTIONS = ["What a client does", "Large stores", "Memory"]
COLOURS = ["#1b6ca8", "#7db8da", "#c8553d", "#8a9a5b", "#777777"]


def section(workload):
    if workload.startswith(("bytes", "allocations")):
        return "Memory"
    return "What a client does" if re.search(" (10x10|100x100)$", workload) else "Large stores"


def shown(workload, value):
    if section(workload) == "Memory":
        return f"{value:.0f}"
    return f"{value:.0f} ns" if value < 1e4 else f"{value / 1e3:.0f} µs" if value < 1e7 else f"{value / 1e6:.0f} ms"


def read(path):
    """The samples of each workload and competitor, in order of their first appearance."""
    samples = {}
    with open(path, newline="") as lines:
        for row in csv.reader(lines):
            if "|" not in row[0] or re.search("_(mean|median|stddev|cv)$", row[0]):
                continue
            workload, competitor, *_ = re.split("[|/]", row[0])
            # Wall-clock time for threads and for what is no time at all, else processor time.
            wall = re.search("real_time|manual_time", row[0])
            samples.setdefault(workload, {}).setdefault(competitor, []).append(float(row[2 if wall else 3]))
    return samples


def draw(path, names, ratios):
    """One dot per ratio on a logarithmic scale from 1/64 to 16; left of the line at 1 the first takes less."""
    height = 18 * len(ratios) + 60
    svg = [f"<svg xmlns='http://www.w3.org/2000/svg' width='920' height='{height}' font-family='sans-serif'"
           " font-size='12'>", "<rect width='100%' height='100%' fill='white'/>"]

    def text(x, y, anchor, content):
        svg.append(f"<text x='{x}' y='{y}' text-anchor='{anchor}'>{content}</text>")

    def dot(x, y, colour):
        svg.append(f"<circle cx='{x:.1f}' cy='{y}' r='4' fill='{colour}'/>")

    for power in range(-6, 5):
        x = 660 + power * 60
        svg.append(f"<path d='M{x} 40V{height - 15}' stroke='{'#ddd' if power else '#000'}'/>")
        text(x, 34, "middle", 2**power if power >= 0 else f"1/{2**-power}")
    x = 20
    for name, colour in zip(names, COLOURS):
        dot(x, 11, colour)
        text(x + 8, 15, "start", "/ " + name)
        x += 55 + 7 * len(name)
    for row, (workload, ratio_of) in enumerate(ratios.items()):
        text(280, 62 + 18 * row, "end", workload)
        for name, colour in zip(names, COLOURS):
            if name in ratio_of:
                dot(min(max(660 + math.log2(ratio_of[name]) * 60, 295), 895), 58 + 18 * row, colour)
    with open(path, "w") as drawing:
        drawing.write("\n".join(svg + ["</svg>", ""]))


def main(results, drawing, first, *names):
    medians = {workload: {name: statistics.median(values) for name, values in of.items()}
               for workload, of in read(results).items()}
    ratios = {}
    for title in SECTIONS:
        rows = [workload for workload in medians if section(workload) == title]
        columns = [name for name in names if any(name in medians[workload] for workload in rows)]
        if rows:
            print(f"\n## {title}\n\n| workload | {first} |", " | ".join("/ " + name for name in columns), "|")
            print("|---|" + "---:|" * (1 + len(columns)))
        for workload in rows:
            of = medians[workload]
            ratios[workload] = {name: of[first] / of[name] for name in names if name in of}
            cells = (f"{ratios[workload][name]:.2f}" if name in of else "-" for name in columns)
            print(f"| {workload} | {shown(workload, of[first])} |", " | ".join(cells), "|")
    draw(drawing, names, ratios)


main(*sys.argv[1:])
