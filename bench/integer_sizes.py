"""Sizes of interpolants over integers by cut style, raw and simplified.

    bench/integer_sizes.py TOOL
"""

import statistics
import sys
import tempfile

import families
from integer_families import INTEGER_FAMILIES
from opal_lab import programs

STYLES = ("modular", "floor", "auto")
SEEDS = 3
TIMEOUT = 10


def interpolated(tool, drawn, cuts):
    """The run of the tool on a problem, or nothing when it gave no interpolant in time."""
    with tempfile.NamedTemporaryFile("w", suffix=".smt2") as script:
        script.write(drawn.to_interpolate("auto", cuts))
        script.flush()
        run = programs.run([tool, "--stats", "json", "--timeout", str(TIMEOUT), script.name],
                          2 * TIMEOUT)
    if run.verdict() == "unsat" and run.status == 0:
        return run
    if run.timed_out or run.status == 124 or run.verdict() != "unsat":
        return None
    raise SystemExit(f"cuts {cuts}: {run.output[:300]}{run.errors[:300]}")


def total(runs, name):
    known = [run.statistics()[name] for run in runs if run]
    text = f"{sum(known):.0f}" if known else "none"
    return text if len(known) == len(runs) else f"{text} ({len(known)} of {len(runs)})"


def table(tool):
    sized = " | ".join(f"{style}, raw | {style}" for style in STYLES)
    lines = [f"| Family | Size | {sized} | Engine's share of a run, median |",
             "|---|---|" + "---|---|" * len(STYLES) + "---|"]
    for family, (_, sizes) in INTEGER_FAMILIES.items():
        for size in sizes:
            drawn = [families.problem(family, size, seed) for seed in range(1, SEEDS + 1)]
            runs = {style: [interpolated(tool, p, style) for p in drawn] for style in STYLES}
            cells = [total(runs[style], name) for style in STYLES
                     for name in ("interpolant-size-raw", "interpolant-size")]
            shares = [run.statistics()["engine-seconds"] / run.seconds
                      for run in runs["auto"] if run]
            share = f"{statistics.median(shares):.2f}" if shares else ""
            lines.append(f"| {family} | {size} | {' | '.join(cells)} | {share} |")
    return lines


if __name__ == "__main__":
    print("\n".join(table(sys.argv[1])))
