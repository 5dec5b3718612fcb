#!/usr/bin/env python3
"""Measures the search for models of clauses against minisat, and what recording proofs costs.

    bench/sat.py PROGRAM [--runs N] [--timeout S] [--family NAME] [--rows]

PROGRAM is `bench_dimacs`. Each formula is given to minisat, to the search, and to the search
with a proof recorded, in turns; what counts is the least processor time of the runs. Ratios
are ours by minisat's, and recording by not recording: below 1 is faster or smaller.
"""

import argparse
import os
import pathlib
import random
import re
import statistics
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "sat"))
import cnf_families  # noqa: E402

FAMILIES = {
    "3-SAT at the threshold": (cnf_families.three_sat,
                               [(n, seed) for n in (150, 200, 225, 250) for seed in range(5)]),
    "pigeons": (cnf_families.pigeons, [(8, 0), (8, 1), (8, 2), (9, 0), (9, 1), (9, 2), (10, 0)]),
    "parity": (cnf_families.parity, [(n, seed) for n in (38, 44, 50) for seed in range(3)]),
    "planning": (cnf_families.planning, [(n, seed) for n in (16, 18, 20) for seed in range(3)]),
}
LEAST_SECONDS = 0.005  # below this, a run is mostly start-up
TIMED_OUT = 124


def run(command, timeout):
    """The exit status, the seconds of processor time, and the kilobytes that the run tells of."""
    process = subprocess.Popen(["timeout", str(timeout)] + command, text=True,
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    output = process.stdout.read()
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    told = re.search(r"^c kilobytes (\d+)", output, re.MULTILINE)
    return (process.returncode, max(LEAST_SECONDS, usage.ru_utime + usage.ru_stime),
            int(told.group(1)) if told else 0)


def measure(path, program, runs, timeout):
    """For minisat, the search and the search that records: answer, seconds, kilobytes."""
    commands = (["minisat", "-verb=0", path], [program, path], [program, "--record", path])
    results = [[run(command, timeout) for command in commands] for _ in range(runs)]
    answers = {answer for row in results for answer, _, _ in row} - {TIMED_OUT}
    if len(answers) > 1 or not answers <= {10, 20}:
        sys.exit(f"{path}: the answers differ, or a run failed: {results}")
    return [min(column, key=lambda result: result[1]) for column in zip(*results)]


def ratio(pairs):
    """The median and the range of the ratios of runs that ended; a rival's may be cut off."""
    ratios = sorted(a / b for a, b in pairs)
    if not ratios:
        return "none ended"
    return f"{statistics.median(ratios):.2f} ({ratios[0]:.2f} to {ratios[-1]:.2f})"


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
                        f"{answer}: {seconds:.3f} s" for answer, seconds, _ in row),
                          sep="  ", flush=True)
            everything += rows
            report(name, rows)
        report("all", everything)


def report(name, rows):
    minisat, plain, recording = 0, 1, 2
    seconds, kilobytes = 1, 2

    def pairs(ours, other, what):
        return [(row[ours][what], row[other][what]) for row in rows
                if row[ours][0] != TIMED_OUT or row[other][0] != TIMED_OUT]

    unfinished = [sum(row[i][0] == TIMED_OUT for row in rows) for i in range(3)]
    print(f"{name}, {len(rows)} formulas: time {ratio(pairs(plain, minisat, seconds))};"
          f" recording: time {ratio(pairs(recording, plain, seconds))},"
          f" memory {ratio(pairs(recording, plain, kilobytes))};"
          f" not ended: minisat {unfinished[0]}, ours {unfinished[1]}, recording"
          f" {unfinished[2]}", flush=True)


if __name__ == "__main__":
    main()
