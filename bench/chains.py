#!/usr/bin/env python3
"""Very long chains: time and peak memory of the whole tool.

    bench/chains.py TOOL [LITERALS [SIMPLEX_LITERALS]]

A cycle of differences x[i] - x[i+1] <= c[i] with a negative sum, split in the middle and
split in alternating blocks of ten; and shorter ones that the simplex decides, since one
more constraint, which the refutation does not need, is no difference.
"""

import os
import random
import sys
import tempfile

from opal_lab import programs


def edges(literals, alternating):
    """Side and text of each literal of the cycle."""
    rng = random.Random(literals)
    total = 0
    for i in range(literals):
        weight = rng.randint(-50, 50) if i < literals - 1 else -1 - total
        total += weight
        number = f"(- {-weight})" if weight < 0 else str(weight)
        side = i // 10 % 2 if alternating else int(2 * i >= literals)
        yield side, f"(<= (- x{i} x{(i + 1) % literals}) {number})\n"


def write_chain(stream, literals, alternating, simplex):
    """Literal by literal: what this process holds would count as the tool's peak."""
    stream.write(f"(set-logic {'QF_LRA' if simplex else 'QF_RDL'})\n")
    stream.writelines(f"(declare-fun x{i} () Real)\n" for i in range(literals))
    for wanted, name in enumerate("AB"):
        stream.write("(assert (! (and\n")
        stream.writelines(text for side, text in edges(literals, alternating) if side == wanted)
        if simplex:
            stream.write("(<= (+ x0 (* 2 x1) (* 3 x2)) 1000000)\n")
        stream.write(f") :named {name}))\n")
    stream.write("(check-sat)\n(get-interpolants A B)\n")


def measured(tool, literals, alternating, simplex, mode="auto", timeout=600):
    """(what, run) of one chain."""
    with tempfile.NamedTemporaryFile("w", suffix=".smt2", delete=False) as script:
        write_chain(script, literals, alternating, simplex)
    try:
        run = programs.run([tool, "--mode", mode, "--stats", "json", script.name], timeout)
    finally:
        os.unlink(script.name)
    split = "blocks of ten" if alternating else "the middle"
    method = "simplex" if simplex else "negative cycle"
    return f"{literals} literals, cut in {split}, {method}, {mode} mode", run


def table(tool, literals=10**6, simplex_literals=10**4):
    lines = ["| Chain | Verdict | Seconds | Peak MB | Size of the interpolant |",
             "|---|---|---|---|---|"]
    for count, simplex in ((literals, False), (simplex_literals, True)):
        for alternating in (False, True):
            for mode in ("sum", "auto"):
                what, run = measured(tool, count, alternating, simplex, mode)
                verdict = run.verdict() if run.status == 0 else f"status {run.status}"
                size = run.statistics().get("interpolant-size", "")
                lines.append(f"| {what} | {verdict} | {run.seconds:.2f} | {run.peak_mb:.0f} "
                             f"| {size} |")
    return lines


if __name__ == "__main__":
    print("\n".join(table(sys.argv[1], *map(int, sys.argv[2:]))))
