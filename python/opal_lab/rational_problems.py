"""Families over the reals: QF_LRA and QF_RDL. All of their problems are bounded."""

from fractions import Fraction

from .formulas import linear, number, relation
from .problems import Problem, dealt_to_tree, split


def coefficient(rng, big=False):
    if big:
        n = rng.choice([2**31, 2**62, 2**63 - 1, 2**63, 10**20]) + rng.randint(-2, 2)
        return Fraction(rng.choice([-1, 1]) * n, rng.choice([1, 1, 3, 2**32 - 1]))
    return Fraction(rng.choice([-3, -2, -1, -1, 1, 1, 2, 3]), rng.choice([1, 1, 1, 2, 3]))


def random_rows(rng, variables, count, width, ops, big=False):
    rows = []
    for _ in range(count):
        chosen = rng.sample(variables, min(len(variables), rng.randint(1, width)))
        row = [(v, coefficient(rng, big and rng.random() < 0.3)) for v in chosen]
        rows.append((row, rng.choice(ops), Fraction(rng.randint(-6, 6))))
    return rows


def planted(rng, rows, strict):
    """A row that contradicts a random positive combination of `rows`."""
    total, constant, is_strict = {}, Fraction(0), strict
    for row, op, c in rng.sample(rows, rng.randint(1, len(rows))):
        factor = Fraction(rng.randint(1, 4), rng.randint(1, 2))
        if op in (">=", ">"):
            factor = -factor
        is_strict = is_strict or op in ("<", ">")
        for v, q in row:
            total[v] = total.get(v, 0) + factor * q
        constant += factor * c
    if is_strict and not strict:
        return sorted(total.items()), ">=", constant
    return sorted(total.items()), ">", constant


def write(rng, rows):
    return [relation(rng, op, linear(row), number(c)) for row, op, c in rows]


def rows_family(name, ops, size, width=3, big=False, groups=None):
    def family(rng):
        problem = Problem(name, groups=groups(rng) if groups else 2)
        variables = [f"x{i}" for i in range(rng.randint(2, size))]
        rows = random_rows(rng, variables, rng.randint(2, size + 3), width, ops, big)
        if rng.random() < 0.7:
            combinable = [r for r in rows if r[1] != "distinct"]
            if combinable:
                rows.append(planted(rng, combinable, rng.random() < 0.5))
        if rng.random() < 0.5:
            rng.shuffle(rows)
        split(rng, problem, write(rng, rows))
        return problem

    return family


def differences(rng):
    """Cycles of differences among random ones, cut in blocks or at random."""
    problem = Problem("differences", logic="QF_RDL")
    n = rng.randint(2, 25)
    rows = []
    for i in range(n):
        op = rng.choice(["<=", "<=", "<", "="])
        rows.append(([(f"x{i}", 1), (f"x{(i + 1) % n}", -1)], op, rng.randint(-2, 2)))
    for _ in range(rng.randint(0, n)):
        a, b = rng.sample(range(n), 2)
        op = rng.choice(["<=", "<", ">=", ">", "distinct"])
        rows.append(([(f"x{a}", 1), (f"x{b}", -1)], op, rng.randint(-3, 3)))
    rng.shuffle(rows)
    formulas = [
        relation(rng, op, f"(- {row[0][0]} {row[1][0]})", number(c)) for row, op, c in rows
    ]
    split(rng, problem, formulas)
    return problem


def disequalities(rng):
    """An implied equality a = c with the disequality that denies it, and decoys."""
    problem = Problem("disequalities")
    row, c = [(v, coefficient(rng)) for v in ("x0", "x1")], rng.randint(-3, 3)
    middle = [(v, coefficient(rng)) for v in ("x2", "x3")]
    rows = [
        (row + [(v, -q) for v, q in middle], rng.choice(["<=", "="]), 0),
        (row, ">=", c),
        (middle, rng.choice(["<=", "="]), c),
        (row if rng.random() < 0.7 else middle, "distinct", c),
    ]
    rows += random_rows(rng, ["x0", "x1", "x2", "x3", "x4"], rng.randint(0, 4), 2,
                        ["distinct", "distinct", "<="])
    rng.shuffle(rows)
    split(rng, problem, write(rng, rows))
    return problem


def chain(rng):
    """Links a*x(i) <= b*x(i+1) + c with a contradiction at the ends; two to five groups."""
    problem = Problem("chain", groups=rng.randint(2, 5))
    n = rng.randint(4, 40)
    rows, total, low = [], Fraction(0), Fraction(1)
    for i in range(n):
        q, c = Fraction(rng.randint(1, 3), rng.randint(1, 2)), rng.randint(-2, 2)
        rows.append(([(f"x{i}", 1), (f"x{i+1}", -q)], rng.choice(["<=", "<=", "="]), c))
        total += low * c
        low *= q
    # x0 <= low * x(n) + total
    rows.append(([(f"x{n}", 1)], "<=", 0))
    rows.append(([("x0", 1)], ">", total))
    problem_rows = write(rng, rows)
    split(rng, problem, problem_rows, background=0.05)
    return problem


def tree(rng):
    """A tree of three to five groups, the last but one with children of its own."""
    return dealt_to_tree(rng, rows_family("tree", ["<=", "<", "=", ">="], 7)(rng))


FAMILIES = {
    "sparse": rows_family("sparse", ["<=", "<", "=", ">=", ">"], 8),
    "dense": rows_family("dense", ["<=", "<", ">=", ">"], 6, width=6),
    "equalities": rows_family("equalities", ["=", "=", "=", "<=", "<", "distinct"], 7),
    "big-numbers": rows_family("big-numbers", ["<=", "<", "=", ">="], 5, big=True),
    "sequence": rows_family("sequence", ["<=", "<", "=", ">="], 8,
                            groups=lambda rng: rng.randint(3, 5)),
    "differences": differences,
    "disequalities": disequalities,
    "chain": chain,
    "tree": tree,
}
