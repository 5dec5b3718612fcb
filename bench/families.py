"""Families of problems with a size, for measurements.

    bench/families.py FAMILY SIZE [SEED] [--decide]

prints one problem: with groups A and B and a question for an interpolant, or, with
--decide, the same formulas for a solver that only decides.
"""

import argparse
import random
from fractions import Fraction

from integer_families import INTEGER_FAMILIES
from opal_lab.formulas import number
from opal_lab.problems import Problem
from rows import halves, row


def four_digits(rng):
    return Fraction(rng.choice([-1, 1]) * rng.randint(1000, 9999), rng.randint(1000, 9999))


def half_spaces(size, rng, rows, narrowest, widest):
    """Random half-spaces of a few variables each, coefficients of four-digit numerator
    and denominator."""
    formulas = []
    for _ in range(rows):
        chosen = rng.sample(range(size), rng.randint(narrowest, widest))
        relation = rng.choice(["<=", "<", ">=", ">"])
        formulas.append(row({i: four_digits(rng) for i in chosen}, relation, four_digits(rng)))
    return "QF_LRA", halves(formulas)


def sparse(size, rng):
    return half_spaces(size, rng, 2 * size, 2, 3)


def sparse_wide(size, rng):
    return half_spaces(size, rng, 3 * size, 3, 5)


def dense(size, rng):
    """3 * size random half-spaces over all variables, small integers."""
    formulas = []
    for _ in range(3 * size):
        coefficients = {i: rng.choice([-1, 1]) * rng.randint(1, 9) for i in range(size)}
        formulas.append(row(coefficients, rng.choice(["<=", ">="]), rng.randint(-20, 20)))
    return "QF_LRA", halves(formulas)


def chain(size, rng):
    """a*x[i] + c <= b*x[i+1], link by link, from x[0] >= 1 to an upper bound on the last
    that the links exceed; with coefficients 1 to 3."""
    formulas, least = [row({0: 1}, ">=", 1)], Fraction(1)
    for i in range(size):
        a, b, c = rng.randint(1, 3), rng.randint(1, 3), rng.randint(0, 9)
        formulas.append(row({i: a, i + 1: -b}, "<=", -c))
        least = (a * least + c) / b
    formulas.append(row({size: 1}, "<", least.__floor__()))
    return "QF_LRA", halves(formulas)


def mixture(size, rng):
    """Equalities that define variables by earlier ones, strict and weak bounds on them, and
    disequalities; infeasible by a sum of the definitions."""
    formulas, value = [], []
    free = max(2, size // 3)
    for i in range(size):
        if i < free:
            value.append(Fraction(rng.randint(-20, 20)))
            formulas.append(row({i: 1}, rng.choice([">", ">="]), value[i]))
            if rng.random() < 0.5:
                formulas.append(row({i: 1}, "distinct", value[i] - 1))
        else:
            chosen = {j: Fraction(rng.randint(1, 9), rng.randint(1, 9))
                      for j in rng.sample(range(i), min(i, 3))}
            value.append(sum(q * value[j] for j, q in chosen.items()))
            formulas.append(row({i: -1, **chosen}, "=", 0))
    formulas.append(row({size - 1: 1}, "<", value[-1]))
    return "QF_LRA", halves(formulas)


def cycle(size, rng, side_of):
    """x[i] - x[i+1] <= c[i] around a cycle, of sum -1, with as many harmless chords."""
    weights = [rng.randint(-50, 50) for _ in range(size - 1)]
    weights.append(-1 - sum(weights))
    formulas = [f"(<= (- x{i} x{(i + 1) % size}) {number(w)})" for i, w in enumerate(weights)]
    result = [(side_of(i), f) for i, f in enumerate(formulas)]
    for i in range(size):
        j = rng.randrange(size)
        if i != j:
            result.append((side_of(i), f"(<= (- x{i} x{j}) {100 * size}.0)"))
    return "QF_RDL", result


def cycle_blocks(size, rng):
    return cycle(size, rng, lambda i: int(2 * i >= size))


def cycle_alternating(size, rng):
    return cycle(size, rng, lambda i: i // 10 % 2)


# Family: generator and the sizes that are measured.
FAMILIES = {
    "sparse": (sparse, [10, 20, 30, 40, 60]),
    "sparse-wide": (sparse_wide, [10, 15, 20]),
    "dense": (dense, [5, 10, 15, 20]),
    "chain": (chain, [50, 150, 500, 1500]),
    "mixture": (mixture, [20, 60, 200, 600]),
    "cycle-blocks": (cycle_blocks, [50, 150, 500, 1500]),
    "cycle-alternating": (cycle_alternating, [50, 150, 500, 1500]),
    **INTEGER_FAMILIES,
}


def problem(family, size, seed):
    drawn = FAMILIES[family][0](size, random.Random(f"{family}-{size}-{seed}"))
    return Problem(family, *drawn)


def main():
    options = argparse.ArgumentParser(description="Prints a problem of a family.")
    options.add_argument("family", choices=FAMILIES)
    options.add_argument("size", type=int)
    options.add_argument("seed", nargs="?", default=1)
    options.add_argument("--decide", action="store_true", help="without the interpolation")
    arguments = options.parse_args()
    drawn = problem(arguments.family, arguments.size, arguments.seed)
    print(drawn.to_decide() if arguments.decide else drawn.to_interpolate(), end="")


if __name__ == "__main__":
    main()
