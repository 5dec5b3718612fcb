#!/usr/bin/env python3
"""Compares the search with minisat and cadical on random formulas of several families.

    tests/sat/compare_solvers.py PROGRAM [-n FORMULAS] [--seed N]

PROGRAM is `dimacs`. The answers have to agree; a model has to make every clause true; a
proof has to pass the checker, as it is and reduced (which the program does itself).
"""

import argparse
import pathlib
import random
import subprocess
import sys
import tempfile

import cnf_families

# A family and the sizes drawn from.
FAMILIES = [
    (cnf_families.three_sat, range(20, 160)),
    (lambda n, rng: cnf_families.three_sat(n, rng, rng.uniform(3.5, 5)), range(10, 140)),
    (cnf_families.pigeons, range(2, 8)),
    (cnf_families.parity, range(4, 42)),
    (lambda n, rng: cnf_families.planning(n, rng, rng.randint(2, 2 * n)), range(3, 9)),
]
SATISFIABLE, UNSATISFIABLE = 10, 20


def solve(command):
    """The exit status and the output of a solver."""
    result = subprocess.run(command, capture_output=True, text=True, timeout=300)
    if result.returncode not in (SATISFIABLE, UNSATISFIABLE):
        sys.exit(f"{' '.join(command)}: exit status {result.returncode}\n"
                 f"{result.stdout[-500:]}{result.stderr}")
    return result.returncode, result.stdout


def false_clause(clauses, output):
    """A clause that the printed model does not make true, or None."""
    model = {int(word) for line in output.splitlines() if line.startswith("v ")
             for word in line.split()[1:]}
    return next((clause for clause in clauses if not model.intersection(clause)), None)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("-n", type=int, default=60)
    parser.add_argument("--seed", type=int, default=1)
    arguments = parser.parse_args()
    rng = random.Random(arguments.seed)
    counts = {SATISFIABLE: 0, UNSATISFIABLE: 0}
    with tempfile.TemporaryDirectory() as folder:
        path = str(pathlib.Path(folder) / "formula.cnf")
        for i in range(arguments.n):
            family, sizes = FAMILIES[i % len(FAMILIES)]
            clauses = family(rng.choice(sizes), rng)
            pathlib.Path(path).write_text(cnf_families.dimacs(clauses))
            answer, output = solve([arguments.program, "--check", "--reduce", "10", path])
            others = [solve(["minisat", "-verb=0", path])[0], solve(["cadical", "-q", path])[0]]
            wrong = false_clause(clauses, output) if answer == SATISFIABLE else None
            if wrong or others != [answer, answer]:
                kept = pathlib.Path(f"failed-{arguments.seed}-{i}.cnf").absolute()
                kept.write_text(cnf_families.dimacs(clauses))
                sys.exit(f"{kept}: answered {answer}, others {others}, "
                         f"clause the model misses: {wrong}")
            counts[answer] += 1
    print(f"{counts[SATISFIABLE]} satisfiable, {counts[UNSATISFIABLE]} unsatisfiable, all agree")
    if min(counts.values()) * 8 < arguments.n:
        sys.exit("nearly all answers are the same: nothing much was tested")


if __name__ == "__main__":
    main()
