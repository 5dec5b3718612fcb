"""Families over integers and reals together: QF_LIRA.

As in integer_problems.py, a part draws formulas and says whether the problem is bounded:
whether every integer variable has a finite range (the reals need none).
"""

from fractions import Fraction

from .formulas import linear, mixed_sum, number, numeral, relation
from .integer_problems import FILLER, box, family, names, nonzero
from .problems import dealt_to_tree


def write(rng, row, op, constant):
    return relation(rng, op, mixed_sum(row), number(constant))


def fraction(rng, most=6):
    return Fraction(nonzero(rng, most), rng.choice([1, 2, 2, 3, 4]))


def counters(rng):
    """A counter that steps by two or three beside a clock that runs at some rate, and a
    claim on the two that the steps rule out or nearly. Everything follows from the start:
    bounded."""
    rounds, step = rng.randint(1, 4), rng.choice([1, 2, 3])
    slow = Fraction(rng.randint(1, 4), rng.choice([2, 3]))
    fast = slow + Fraction(rng.randint(0, 2), 4)
    start = rng.randint(-2, 2)
    formulas = [f"(= i0 {numeral(start)})", relation(rng, "=", "x0", "0.0")]
    for k in range(rounds):
        formulas.append(f"(= i{k + 1} (+ i{k} {step}))")
        elapsed = linear([(f"x{k + 1}", 1), (f"x{k}", -1)])
        formulas.append(relation(rng, rng.choice([">=", ">"]), elapsed, number(slow)))
        formulas.append(relation(rng, "<=", elapsed, number(fast)))
    last, clock, count = start + step * rounds, f"x{rounds}", f"i{rounds}"
    claim = rng.randint(0, 3)
    if claim == 0:  # the clock is late
        formulas.append(write(rng, [(clock, 1), (count, -1)], "<",
                              slow * rounds - last + Fraction(rng.randint(-1, 1), 2)))
    elif claim == 1:  # the counter counts the clock's whole units
        formulas.append(relation(rng, "=", f"(to_int {clock})", f"(+ {count} 1)"))
    elif claim == 2:  # the counter is a multiple of something
        formulas.append(f"((_ divisible {step + 1}) {count})")
        formulas.append(write(rng, [(clock, 1)], "<=", fast * rounds))
    else:
        formulas.append(write(rng, [(clock, 1), (count, -1)], ">",
                              fast * rounds - last - Fraction(rng.randint(0, 1), 3)))
    return formulas, True


def floors(rng):
    """to_int and is_int of reals against bounds. Bounded where the reals are: in three of
    four."""
    reals = ["x0", "x1"][: rng.randint(1, 2)]
    formulas = []
    for _ in range(rng.randint(1, 3)):
        real = linear([(v, fraction(rng, 3)) for v in reals])
        part = f"(to_int {real})"
        kind = rng.randint(0, 4)
        if kind == 0:  # the floor off by one
            formulas.append(relation(rng, rng.choice(["<=", "<"]), real,
                                     f"(to_real {part})"))
            formulas.append(relation(rng, "distinct", real, f"(to_real {part})"))
        elif kind == 1:  # an integer that is a floor
            formulas.append(relation(rng, "=", "i0", part))
            formulas.append(write(rng, [("i0", 1)], ">", fraction(rng, 4)))
            formulas.append(relation(rng, "<", real, number(fraction(rng, 4))))
        elif kind == 2:
            atom = f"(is_int {real})"
            formulas.append(atom if rng.random() < 0.6 else f"(not {atom})")
            middle = Fraction(rng.randint(-4, 4), 2)
            formulas.append(relation(rng, ">", real, number(middle - Fraction(1, 2))))
            formulas.append(relation(rng, "<", real, number(middle + Fraction(1, 2))))
        elif kind == 3:  # floors of a sum and the sum of floors
            a, b = reals[0], reals[-1]
            formulas.append(relation(rng, rng.choice([">", "<"]),
                                     f"(+ (to_int {a}) (to_int {b}) {rng.randint(0, 1)})",
                                     f"(to_int (+ {a} {b}))"))
        else:
            formulas.append(relation(rng, rng.choice(["=", "<=", ">="]),
                                     f"(mod {part} {rng.randint(2, 3)})", "1"))
            formulas.append(relation(rng, "=", part, f"(* 2 (div {part} 2))"))
    bounded = rng.random() < 0.75
    if bounded:
        for v in reals:
            formulas.append(relation(rng, ">=", v, number(fraction(rng, 2) - 3)))
            formulas.append(relation(rng, "<=", v, number(fraction(rng, 2) + 3)))
        formulas += box(rng, ["i0"], -20, 20)
    rng.shuffle(formulas)
    return formulas, bounded


def between(rng):
    """An integer sum that a real keeps strictly between two values without the right integer
    in between. The sum goes through one real, or two; most of the problems are in a box and
    bounded, the others hard for everybody: what is to be rounded has a real in it."""
    divisor = rng.randint(1, 4)
    row = [(v, divisor * nonzero(rng, 2)) for v in names(rng.randint(1, 3))]
    low = divisor * rng.randint(-2, 2)
    high = low + divisor
    if rng.random() < 0.25:
        high += rng.randint(0, 1)
    scale = Fraction(rng.randint(1, 4), rng.choice([1, 2, 3]))
    # low < x0/scale < row < x1/scale < high: x0 and x1 may be one variable
    last = rng.choice(["x0", "x1", "x1"])
    formulas = [
        relation(rng, rng.choice([">", ">="]), "x0", number(scale * low)),
        write(rng, row + [("x0", -1 / scale)], ">", 0),
        write(rng, row + [("x1", -1 / scale)], "<", 0),
        relation(rng, rng.choice(["<", "<="]), "x1", number(scale * high)),
    ]
    if last == "x0":
        formulas.append(write(rng, [("x1", 1), ("x0", -1)], "<", scale * divisor))
    if rng.random() < 0.3:
        formulas.append(write(rng, row, "distinct", low + rng.randint(0, divisor)))
    boxed = rng.random() < 0.9
    if boxed:
        formulas += box(rng, [v for v, _ in row], -3, 3)
    if rng.random() < 0.5:
        rng.shuffle(formulas)
    return formulas, boxed


def rows(rng):
    """Sums of both sorts, most with a combination that is a contradiction, strict or not;
    the integers are in a box. All bounded."""
    integers, reals = names(rng.randint(1, 3)), ["x0", "x1", "x2"][: rng.randint(1, 3)]
    drawn = []
    for _ in range(rng.randint(2, 5)):
        width = rng.randint(1, min(3, len(integers + reals)))
        chosen = rng.sample(integers + reals, width)
        drawn.append(({v: fraction(rng, 3) for v in chosen}, rng.choice(["<=", "<", "="]),
                      rng.randint(-4, 4)))
    if rng.random() < 0.7:  # the sum, against what it implies, up to an integer part
        total, constant = {}, Fraction(0)
        for row, _, c in drawn:
            factor = Fraction(rng.randint(1, 3))
            constant += factor * c
            for v, q in row.items():
                total[v] = total.get(v, 0) + factor * q
        if rng.random() < 0.4:
            integer = rng.choice(integers)
            total[integer] = total.get(integer, 0) + 3
            drawn.append(({integer: Fraction(1)}, ">", Fraction(rng.randint(-4, 3), 3)))
            drawn.append(({integer: Fraction(1)}, "<", Fraction(rng.randint(3, 6), 3)))
        if any(total.values()):
            drawn.append((total, ">", constant))
    formulas = [write(rng, sorted(row.items()), op, c) for row, op, c in drawn]
    formulas += box(rng, integers, -4, 4)
    rng.shuffle(formulas)
    return formulas, True


PARTS = {
    "mixed-counters": counters,
    "mixed-floors": floors,
    "mixed-between": between,
    "mixed-rows": rows,
}


def any_part(rng):
    return PARTS[rng.choice(list(PARTS))](rng)


def tree(rng):
    return dealt_to_tree(rng, family("mixed-tree", "QF_LIRA", any_part)(rng), FILLER)


FAMILIES = {name: family(name, "QF_LIRA", part) for name, part in PARTS.items()}
FAMILIES["mixed-sequence"] = family("mixed-sequence", "QF_LIRA", any_part, (3, 5))
FAMILIES["mixed-tree"] = tree
