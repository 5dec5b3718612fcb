#!/usr/bin/env python3
"""Two builds of the tool on the same problems, in turns: what a change brought.

    bench/change.py OLD NEW [--timeout S] [--commit NAME]

Deciding and interpolating (auto mode) the families at their largest measured size and at
ten times that, and long chains; a run that does not end counts with the time limit.
"""

import argparse
import math
import pathlib
import statistics
import tempfile

import chains
import families
import machine
import page
from opal_lab import programs

SEEDS = 3


def problems(folder):
    """Name and file of each problem."""
    script = folder / "problem.smt2"
    for family, (_, sizes) in families.FAMILIES.items():
        for size in (sizes[-1], 10 * sizes[-1]):
            for seed in range(1, SEEDS + 1):
                script.write_text(families.problem(family, size, seed).to_interpolate())
                yield f"{family} {size}", script
    for literals, alternating in ((10**5, False), (10**5, True), (10**6, False)):
        with open(script, "w") as stream:
            chains.write_chain(stream, literals, alternating, simplex=False)
        yield f"cycle of {literals}, cut in {'blocks' if alternating else 'two'}", script


def best(tools, script, timeout):
    """The better of each tool's three runs in turns, of one when they are long."""
    runs = [[] for _ in tools]
    for _ in range(3):
        for tool, done in zip(tools, runs):
            done.append(programs.run([tool, "--stats", "json", str(script)], timeout))
        if max(r[-1].seconds for r in runs) > 2:
            break
    return [min(done, key=lambda r: r.seconds) for done in runs]


def table(tools, timeout):
    lines = ["| Problem | Seconds before | after | Ratio | MB before | after "
             "| Size of the interpolants before | after |", "|---|---|---|---|---|---|---|---|"]
    ratios, rows = [], {}
    with tempfile.TemporaryDirectory() as folder:
        for name, script in problems(pathlib.Path(folder)):
            rows.setdefault(name, []).append(best(tools, script, timeout))
    for name, pairs in rows.items():
        old, new = ([pair[i] for pair in pairs] for i in (0, 1))
        ratio = statistics.median(a.seconds / b.seconds for a, b in pairs)
        ratios.append(ratio)
        cells = [name]
        cells += [seconds_text(runs) for runs in (old, new)] + [f"{ratio:.2f}"]
        cells += [f"{max(r.peak_mb for r in runs):.0f}" for runs in (old, new)]
        cells += [size_text(runs) for runs in (old, new)]
        lines.append(f"| {' | '.join(cells)} |")
    return lines + ["", f"Geometric mean of the ratios: {statistics.geometric_mean(ratios):.2f}."]


def seconds_text(runs):
    late = sum(r.timed_out for r in runs)
    text = f"{statistics.median(r.seconds for r in runs):.3f}"
    return text + (f" ({late} of {len(runs)} not in time)" if late else "")


def size_text(runs):
    sizes = [r.statistics().get("interpolant-size", math.nan) for r in runs]
    return "" if any(map(math.isnan, sizes)) else f"{sum(sizes):.0f}"


def main():
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("tools", nargs=2, type=pathlib.Path, metavar="TOOL")
    options.add_argument("--timeout", type=float, default=30)
    options.add_argument("--commit", default="another build", help="what OLD was built from")
    arguments = options.parse_args()
    described = machine.description()
    lines = [f"Before is {arguments.commit}. Both builds run each problem in turns, at most "
             f"{arguments.timeout:g} s; a ratio above 1 says that the later one is faster. "
             f"{SEEDS} problems a size. All times include the start of the process.", ""]
    lines += table([str(tool.resolve()) for tool in arguments.tools], arguments.timeout)
    page.write_part("change", described, lines)


if __name__ == "__main__":
    main()
