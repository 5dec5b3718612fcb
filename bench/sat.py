#!/usr/bin/env python3
"""Measures the search for models of clauses against minisat, and what recording proofs costs.

    bench/sat.py PROGRAM [--runs N] [--timeout S] [--family NAME] [--rows]

PROGRAM is the tool `dimacs` of the tests, built without assertions. Each formula is given to
minisat, to the search, and to the search with a proof recorded, in turns; what counts is the
least processor time of the runs and the largest memory. Ratios are ours by minisat's, and
recording by not recording: below 1 is faster or smaller.
"""

import argparse
import os
import pathlib
import random
import statistics
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "sat"))
import cnf_families  # noqa: E402

FAMILIES = {
    "3-SAT at the threshold": (cnf_families.three_sat,
                               [(n, seed) for n in (150, 200, 225, 250) for seed in range(5)]),
    "pigeons": (cnf_families.pigeons, [(n, seed) for n in (8, 9, 10) for seed in range(3)]),
    "parity": (cnf_families.parity, [(n, seed) for n in (38, 44, 50) for seed in range(3)]),
    "planning": (cnf_families.planning, [(n, seed) for n in (16, 18, 20) for seed in range(3)]),
}
# Below this, a run is mostly reading the file.
LEAST_SECONDS = 0.005


def run(command, timeout):
    """The exit status, the seconds of processor time and the kilobytes of a run."""
    process = subprocess.Popen(["timeout", str(timeout)] + command,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    return process.returncode, usage.ru_utime + usage.ru_stime, usage.ru_maxrss


def measure(path, program, runs, timeout):
    """For minisat, the search and the search that records: answer, seconds, kilobytes."""
    commands = (["minisat", "-verb=0", path], [program, path], [program, "--record", path])
    results = [[run(command, timeout) for command in commands] for _ in range(runs)]
    best = []
    for column in zip(*results):
        answers = {answer for answer, _, _ in column}
        if len(answers) > 1 and 124 not in answers:
            sys.exit(f"{path}: different answers in different runs: {answers}")
        best.append((min(answers), max(LEAST_SECONDS, min(s for _, s, _ in column)),
                     max(m for _, _, m in column)))
    if len({answer for answer, _, _ in best} - {124}) > 1:
        sys.exit(f"{path}: the answers differ: {best}")
    return best


def ratio(pairs):
    ratios = sorted(ours / other for ours, other in pairs)
    return f"{statistics.median(ratios):5.2f} ({ratios[0]:.2f} to {ratios[-1]:.2f})"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--timeout", type=float, default=60)
    parser.add_argument("--family", help="the beginning of a family's name")
    parser.add_argument("--rows", action="store_true", help="each formula, too")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        path = str(pathlib.Path(folder) / "formula.cnf")
        everything = []
        for name, (make, sizes) in FAMILIES.items():
            if not name.startswith(arguments.family or ""):
                continue
            rows = []
            for n, seed in sizes:
                clauses = make(n, random.Random(f"{name} {n} {seed}"))
                pathlib.Path(path).write_text(cnf_families.dimacs(clauses))
                row = measure(path, arguments.program, arguments.runs, arguments.timeout)
                rows.append(row)
                if arguments.rows:
                    print(f"  {name} {n} #{seed}, {len(clauses)} clauses:", *(
                        f"{answer}: {seconds:.3f} s {kilobytes} KB" for
                        answer, seconds, kilobytes in row), sep="  ", flush=True)
            everything += rows
            report(name, rows)
        report("all", everything)


def report(name, rows):
    print(f"{name}: time {ratio((r[1][1], r[0][1]) for r in rows)},"
          f" memory {ratio((r[1][2], r[0][2]) for r in rows)};"
          f" recording: time {ratio((r[2][1], r[1][1]) for r in rows)},"
          f" memory {ratio((r[2][2], r[1][2]) for r in rows)}", flush=True)


if __name__ == "__main__":
    main()
