"""Families over integers, alone and with reals. All problems are without solution, by
construction or nearly always. A family draws a logic and the formulas, each of side 0 (A) or 1
(B)."""

from rows import halves, integer_row, mixed_row


def parity_chain(size, rng):
    """x[i] and x[i+1] have the same or opposite parity, each link through a variable of its
    own; the ends disagree with what the links add up to."""
    formulas, odd, fresh = [], 0, size + 1
    for i in range(size):
        flip = rng.randint(0, 1)
        odd ^= flip
        formulas.append(integer_row({i: 1, i + 1: rng.choice([-1, 1, 3]), fresh + i: -2}, "=",
                                    2 * rng.randint(-9, 9) + flip))
    formulas.insert(0, integer_row({0: 1, fresh + size: -2}, "=", 0))
    formulas.append(integer_row({size: 1, fresh + size + 1: -2}, "=", 1 - odd))
    return "QF_LIA", halves(formulas)


def diophantine(size, rng):
    """`size` equations over size + 2 variables, among them a combination that is unsolvable
    modulo a small number."""
    variables = size + 2
    modulus = rng.choice([2, 3, 5, 7])
    rows = []
    for _ in range(size - 1):
        equation = [0] * variables
        for i in rng.sample(range(variables), 3):
            equation[i] = rng.choice([-1, 1]) * rng.randint(1, 5) if any(equation) else 1
        rows.append((equation, rng.randint(-20, 20)))
    total = [modulus * rng.randint(-2, 2) for _ in range(variables)]
    constant = modulus * rng.randint(-5, 5) + rng.randint(1, modulus - 1)
    for row, c in rows:
        factor = rng.randint(-2, 2)
        total = [t + factor * q for t, q in zip(total, row)]
        constant += factor * c
    rows.insert(rng.randrange(size), (total, constant))
    formulas = [integer_row({i: q for i, q in enumerate(row) if q} or {0: 0}, "=", c)
                for row, c in rows]
    return "QF_LIA", halves(formulas)


def knapsack(size, rng):
    """Two sums of `size` weighted counts from 0 to 2 each, equal to one shared total. The
    weights are multiples of 5 but for one count, from 0 to 1, of weight 1 on each side; so
    A's sum is 0 or 1 modulo 5, and B's is 3 or 4."""
    formulas, total = [], 2 * size
    for side in range(2):
        counts = range(side * size, (side + 1) * size)
        weights = {i: 5 * rng.randint(3, 12) for i in counts}
        weights[counts[0]] = 1
        for i in counts:
            formulas.append((side, integer_row({i: 1}, ">=", 0)))
            formulas.append((side, integer_row({i: 1}, "<=", 1 if i == counts[0] else 2)))
        formulas.append((side, integer_row({**weights, total: -1}, "=", -3 * side)))
    return "QF_LIA", formulas


def polygon(size, rng):
    """A triangle with corners (0, 0), (1, 0) and (1/2, size), above the line y = 1: there is
    no integer point in it, and cuts of rank one each take off only a little. Sheared, so that
    its sides are no bounds of single variables. A has one long side."""
    s, t = rng.choice([-3, -2, 2, 3]), rng.choice([-2, -1, 1, 2])
    x, y = {0: 1 + s * t, 1: -s}, {0: -t, 1: 1}  # of determinant 1

    def sheared(p, q, relation, constant):
        return integer_row({i: p * x[i] + q * y[i] for i in (0, 1)}, relation, constant)

    return "QF_LIA", [(0, sheared(-2 * size, 1, "<=", 0)),
                      (1, sheared(2 * size, 1, "<=", 2 * size)),
                      (1, sheared(0, 1, ">=", 1))]


def scheduling(size, rng):
    """`size` jobs in a row start at whole hours and last for real times; each waits until the
    one before it has ended, and the last ends later than the horizon."""
    formulas, hours = [], 0
    for k in range(size):
        start, end = f"i{k}", f"x{k}"
        quarters = rng.choice([1, 2, 3, 5, 6, 7, 9])
        formulas.append(mixed_row({end: 1, start: -1}, ">=", quarters / 4))
        if k:
            formulas.append(mixed_row({start: 1, f"x{k - 1}": -1}, ">=", 0))
        hours += -(-quarters // 4) if k < size - 1 else 0
        formulas.append(f"(>= {start} 0)")
    formulas.append(f"(<= i{size - 1} {hours - 1})")
    return "QF_LIRA", halves(formulas)


INTEGER_FAMILIES = {
    "parity-chain": (parity_chain, [10, 30, 100, 300]),
    "diophantine": (diophantine, [3, 6, 12, 24]),
    "knapsack": (knapsack, [2, 3, 4, 6]),
    "polygon": (polygon, [2, 5, 15, 50]),
    "scheduling": (scheduling, [3, 5, 8, 12]),
}
