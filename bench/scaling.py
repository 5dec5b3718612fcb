#!/usr/bin/env python3
"""How time and memory of the tool grow with the size of a problem.

    bench/scaling.py TOOL [--timeout S] [--largest N] [--family F ...] [--page]

Runs every family of families.py whose size is a number of constraints or variables at sizes
1000, 3162, 10000, ... up to the largest, as long as a run ends within the limit, fits time
and memory with powers of the size, and draws both on logarithmic axes as an SVG, scaling.svg
beside this script; with --page they become part of the page of results. The peak
memory of a small run is that of this script, about 17 MB, which its child begins with.
"""

import argparse
import math
import pathlib
import subprocess
import sys
import tempfile
from dataclasses import dataclass

import families
import machine
import page
from opal_lab import programs

TIMEOUT = 60
FOLDER = pathlib.Path(__file__).resolve().parent
SVG = FOLDER / "scaling.svg"
FAMILIES = [f for f in families.FAMILIES if f != "polygon"]  # of three constraints always
COLOURS = ("#1b6ca8", "#c8553d", "#3a7d44", "#8e5aa8", "#b8860b", "#4a4a4a", "#d1478c",
           "#2aa198", "#6b8e23", "#7f4f24", "#0b3954", "#ff7f50")


@dataclass
class Point:
    size: int
    seconds: float
    megabytes: float


def points(tool, family, largest, timeout):
    """Measured points, and the size that did not end within the limit, if any."""
    result = []
    for half_decade in range(6, 2 * math.ceil(math.log10(largest)) + 1):
        size = round(10 ** (half_decade / 2))
        if size > largest:
            break
        with tempfile.NamedTemporaryFile("w", suffix=".smt2") as script:
            # Written by another process: what this one holds would count as the tool's peak.
            try:
                subprocess.run([sys.executable, FOLDER / "families.py", family, str(size)],
                               stdout=script, check=True, timeout=20 * timeout)
            except subprocess.TimeoutExpired:
                return result, size
            run = programs.run([tool, script.name], timeout)
        if run.timed_out:
            return result, size
        if run.status or run.verdict() != "unsat":
            raise SystemExit(f"{family} {size}: {run.output[:300]}{run.errors[:300]}")
        result.append(Point(size, run.seconds, run.peak_mb))
    return result, None


def exponent(sizes, values):
    """The slope of the least squares line through the logarithms."""
    xs, ys = [math.log(s) for s in sizes], [math.log(v) for v in values]
    x, y = sum(xs) / len(xs), sum(ys) / len(ys)
    return (sum((a - x) * (b - y) for a, b in zip(xs, ys)) / sum((a - x) ** 2 for a in xs))


def fitted(measured, value):
    """The exponent over the larger half of the sizes, where the start of the process and the
    allocator's first steps no longer count; nothing with fewer than two points."""
    larger = measured[len(measured) // 2:] if len(measured) > 3 else measured
    if len(larger) < 2:
        return None
    return exponent([p.size for p in larger], [value(p) for p in larger])


def text(number, form):
    return "" if number is None else format(number, form)


class Panel:
    """A diagram with logarithmic axes: x from 10^3, y over whole decades."""

    WIDTH, HEIGHT, LEFT, TOP = 420, 360, 60, 40

    def __init__(self, number, title, decades_x, decades_y):
        self.origin = number * (self.LEFT + self.WIDTH + 20) + self.LEFT
        self.title, self.x, self.y = title, decades_x, decades_y

    def place(self, size, value):
        x = (math.log10(size) - self.x[0]) / (self.x[1] - self.x[0])
        y = (math.log10(value) - self.y[0]) / (self.y[1] - self.y[0])
        return self.origin + self.WIDTH * x, self.TOP + self.HEIGHT * (1 - y)

    def frame(self):
        yield (f'<text x="{self.origin}" y="{self.TOP - 14}" font-weight="bold">'
               f'{self.title}</text>')
        for decade in range(self.x[0], self.x[1] + 1):
            (x, low), (_, high) = (self.place(10 ** decade, 10.0 ** y) for y in self.y)
            yield f'<path d="M{x:.1f} {low:.1f}V{high:.1f}" stroke="#ddd"/>'
            yield (f'<text x="{x:.1f}" y="{low + 18:.1f}" text-anchor="middle">10'
                   f'<tspan dy="-5" font-size="9">{decade}</tspan></text>')
        for decade in range(self.y[0], self.y[1] + 1):
            (left, y), (right, _) = (self.place(10 ** x, 10.0 ** decade) for x in self.x)
            yield f'<path d="M{left:.1f} {y:.1f}H{right:.1f}" stroke="#ddd"/>'
            yield (f'<text x="{left - 6:.1f}" y="{y + 4:.1f}" text-anchor="end">10'
                   f'<tspan dy="-5" font-size="9">{decade}</tspan></text>')

    def curve(self, pairs, colour):
        places = [self.place(*pair) for pair in pairs]
        line = " ".join(f"{x:.1f},{y:.1f}" for x, y in places)
        yield f'<polyline points="{line}" fill="none" stroke="{colour}" stroke-width="1.5"/>'
        for x, y in places:
            yield f'<circle cx="{x:.1f}" cy="{y:.1f}" r="2.5" fill="{colour}"/>'


def decades(values):
    low = math.floor(math.log10(min(values)))
    return low, max(low + 1, math.ceil(math.log10(max(values))))


def drawing(series):
    """SVG of the measured points by family."""
    every = [p for measured in series.values() for p in measured]
    across = decades([p.size for p in every])
    values = (("Seconds", lambda p: p.seconds), ("Peak memory, MB", lambda p: p.megabytes))
    width, height = 1240, 450
    lines = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
             'font-family="sans-serif" font-size="12">',
             f'<rect width="{width}" height="{height}" fill="white"/>']
    for number, (title, value) in enumerate(values):
        panel = Panel(number, title, across, decades([value(p) for p in every]))
        lines += panel.frame()
        for colour, measured in zip(COLOURS, series.values()):
            lines += panel.curve([(p.size, value(p)) for p in measured], colour)
    lines.append('<text x="1000" y="26" font-weight="bold">Exponents of both</text>')
    for row, (colour, (family, measured)) in enumerate(zip(COLOURS, series.items())):
        y = 50 + 20 * row
        powers = ", ".join(text(fitted(measured, value), ".2f") for _, value in values)
        lines.append(f'<rect x="1000" y="{y - 9}" width="10" height="10" fill="{colour}"/>')
        lines.append(f'<text x="1016" y="{y}">{family} {powers}</text>')
    return "\n".join(lines + ["</svg>"]) + "\n"


def table(all_points, ends):
    lines = ["| Family | Sizes | Seconds at the largest | Exponent | MB | Exponent "
             "| Not within the limit |", "|---|---|---|---|---|---|---|"]
    for family, measured in all_points.items():
        cells = [""] * 5
        if measured:
            last = measured[-1]
            cells = [f"{measured[0].size} to {last.size}", f"{last.seconds:.2f}",
                     text(fitted(measured, lambda p: p.seconds), ".2f"),
                     f"{last.megabytes:.0f}",
                     text(fitted(measured, lambda p: p.megabytes), ".2f")]
        lines.append(f"| {family} | {' | '.join(cells)} | {ends[family] or ''} |")
    return lines


def main():
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("tool", type=pathlib.Path)
    options.add_argument("--timeout", type=float, default=TIMEOUT)
    options.add_argument("--largest", type=int, default=10**6)
    options.add_argument("--family", action="append", choices=FAMILIES)
    options.add_argument("--page", action="store_true")
    arguments = options.parse_args()
    described, tool = machine.description(), str(arguments.tool.resolve())
    all_points, ends = {}, {}
    for family in arguments.family or FAMILIES:
        all_points[family], ends[family] = points(tool, family, arguments.largest,
                                                  arguments.timeout)
        print(f"scaling: {family}", file=sys.stderr, flush=True)
    SVG.write_text(drawing({f: measured for f, measured in all_points.items() if measured}))
    lines = [f"Deciding and interpolating (auto mode), one run of at most "
             f"{arguments.timeout:g} s a size; exponents fitted over the larger half of the "
             "sizes.", "", f"![Time and memory by size]({SVG.name})", ""]
    lines += table(all_points, ends)
    print("\n".join(lines))
    if arguments.page:
        page.write_part("growth", described, lines)


if __name__ == "__main__":
    main()
