#!/usr/bin/env python3
"""Makes one table of the lines that the benches print.

  bench/table.py COMMAND...     each COMMAND is a shell command line; they run one after the other
  some_bench | bench/table.py   what stands on standard input

A line is one comparison, its samples taken in turns. The ratio is that of the medians; the spread is the least and the
greatest ratio of the medians in ten consecutive tenths of the run. Without a goal a line is there to be read. A line with "sizes" shows cost against size: what a unit
costs at the largest size against the middle one.
"""
import json
import math
import statistics
import subprocess
import sys

PARTS = 10
HEADINGS = ["what", "baseline", "ours", "baseline takes", "ratio", "spread", "goal", "met", "p99", "note"]


def shown(ns):
    for unit, factor in (("ns", 1), ("µs", 1e3), ("ms", 1e6), ("s", 1e9)):
        if ns < 1000 * factor or unit == "s":
            return f"{ns / factor:.3g} {unit}"


def percentile(samples, fraction):
    return sorted(samples)[int(fraction * (len(samples) - 1))]


def spread(ours, baseline):
    parts = min(PARTS, len(ours))
    bounds = [len(ours) * part // parts for part in range(parts + 1)]
    ratios = [statistics.median(ours[a:b]) / statistics.median(baseline[a:b]) for a, b in zip(bounds, bounds[1:])]
    return f"{min(ratios):.2f}..{max(ratios):.2f}"


def comparison(row):
    ours, baseline, goal = row["ours_ns"], row["baseline_ns"], row["goal"]
    middle, other = statistics.median(ours), statistics.median(baseline)
    met = "" if goal is None else "yes" if middle / other <= goal else "**no**"
    tails = f"{shown(percentile(ours, 0.99))} / {shown(percentile(baseline, 0.99))}" if len(ours) >= 1000 else ""
    return [row["what"], row["baseline"], shown(middle), shown(other), f"{middle / other:.3g}", spread(ours, baseline),
            "" if goal is None else f"{goal:g}", met, tails, row.get("note", "")]


def straight_line(sizes, costs):
    """The line that fits best in relative terms; the greatest relative distance from it."""
    weights = [1 / cost ** 2 for cost in costs]
    total = sum(weights)
    mean_size = sum(w * s for w, s in zip(weights, sizes)) / total
    mean_cost = sum(w * c for w, c in zip(weights, costs)) / total
    slope = (sum(w * (s - mean_size) * (c - mean_cost) for w, s, c in zip(weights, sizes, costs))
             / sum(w * (s - mean_size) ** 2 for w, s in zip(weights, sizes)))
    return slope, max(abs(mean_cost + slope * (s - mean_size) - c) / c for s, c in zip(sizes, costs))


def scaling(row):
    points, unit = row["sizes"], row["unit"]
    middle, last = points[len(points) // 2], points[-1]
    sizes = [point["size"] for point in points]
    slope, deviation = straight_line(sizes, [statistics.median(point["ns"]) for point in points])
    result = comparison({
        "what": f"{row['what']}: {last['size']:,} {unit}s, each",
        "baseline": f"{middle['size']:,} {unit}s, each",
        "goal": row["goal"],
        "ours_ns": [ns / last["size"] for ns in last["ns"]],
        "baseline_ns": [ns / middle["size"] for ns in middle["ns"]],
    })
    result[-1] = (f"{sizes[0]:,} to {sizes[-1]:,} {unit}s: {shown(slope)} per {unit}, "
                  f"{100 * deviation:.0f} % off a straight line at most")
    return result


def lines(commands):
    if not commands:
        yield from sys.stdin
    for command in commands:
        print(f"    {command}", file=sys.stderr)
        yield from subprocess.run(command, shell=True, check=True, stdout=subprocess.PIPE, text=True).stdout.splitlines()


def main():
    table = []
    for line in lines(sys.argv[1:]):
        row = json.loads(line)
        table.append(scaling(row) if "sizes" in row else comparison(row))
    widths = [max(map(len, column)) for column in zip(HEADINGS, *table)]
    for cells in [HEADINGS, ["-" * width for width in widths], *table]:
        print("| " + " | ".join(cell.ljust(width) for cell, width in zip(cells, widths)) + " |")


if __name__ == "__main__":
    main()
