"""Families over the integers: QF_LIA and QF_IDL.

A part draws the formulas of one problem and says whether it is bounded: whether every
variable has a finite range, or a method for unbounded variables always decides it. About
which share is bounded is said at each part; `unknown` is an answer to the others only.
"""

from math import gcd

from .formulas import integer_sum, numeral, relation
from .problems import Problem, dealt_to_tree, split

FILLER = "(<= i0 i0)"


def nonzero(rng, most):
    return rng.choice([-1, 1]) * rng.randint(1, most)


def write(rng, row, op, constant):
    """`row op constant`, now and then with some of the row on the right."""
    if len(row) > 1 and rng.random() < 0.3:
        left, right = row[:1], [(v, -q) for v, q in row[1:]]
        if constant:
            right = right + [("1", constant)]
        return relation(rng, op, integer_sum(left), integer_sum(right))
    return relation(rng, op, integer_sum(row), numeral(constant))


def box(rng, variables, low, high):
    """Both bounds on every variable, as atoms of their own."""
    formulas = []
    for v in variables:
        least, greatest = low, high
        if rng.random() < 0.3:  # strict, one further out
            formulas.append(relation(rng, ">", v, numeral(least - 1)))
        else:
            formulas.append(relation(rng, ">=", v, numeral(least)))
        formulas.append(relation(rng, "<=", v, numeral(greatest)))
    return formulas


def names(count):
    return [f"i{k}" for k in range(count)]


def equalities(rng):
    """Equations, most with a combination that has no solution modulo some number or over
    the rationals. All without inequalities or in a box: bounded."""
    variables = names(rng.randint(2, 6))
    rows = []
    for _ in range(rng.randint(1, 4)):
        chosen = rng.sample(variables, rng.randint(1, min(3, len(variables))))
        rows.append(({v: nonzero(rng, 4) for v in chosen}, rng.randint(-9, 9)))
    kind = rng.random()
    if kind < 0.85:
        modulus = rng.choice([2, 2, 3, 4, 5, 6, 7, 12])
        total, constant = {}, rng.randint(1, modulus - 1)
        for v in rng.sample(variables, rng.randint(1, 2) if kind < 0.65 else 0):
            total[v] = modulus * nonzero(rng, 3)
        for row, c in rows:
            factor = nonzero(rng, 2)
            constant += factor * c
            for v, q in row.items():
                total[v] = total.get(v, 0) + factor * q
        if any(total.values()):
            rows.append((total, constant))
    rng.shuffle(rows)
    formulas = [write(rng, sorted(row.items()), "=", c) for row, c in rows]
    if rng.random() < 0.2:
        formulas += box(rng, variables, -4, 4)
    return formulas, True


def cut_rows(rng):
    """In a box: sums with a common divisor that misses an interval, whole or as the sum of
    two rows with a variable to cancel. All bounded."""
    variables = names(rng.randint(2, 4))
    formulas = box(rng, variables, rng.randint(-5, 0), rng.randint(1, 5))
    for _ in range(rng.randint(1, 2)):
        divisor = rng.randint(2, 5)
        row = [(v, divisor * nonzero(rng, 2)) for v in rng.sample(variables, 2)]
        low = divisor * rng.randint(-2, 2) + rng.randint(1, divisor - 1)
        high = low + (rng.randint(0, divisor - 1 - low % divisor) if rng.random() < 0.8
                      else divisor)
        if rng.random() < 0.5:
            extra, factor = rng.choice(variables), nonzero(rng, 3)
            eased = sorted({**dict(row), extra: dict(row).get(extra, 0) + factor}.items())
            formulas.append(write(rng, eased, ">=", low))
            formulas.append(write(rng, [(extra, factor)], "<=", 0))
        else:
            formulas.append(write(rng, row, ">=", low))
        formulas.append(write(rng, row, "<=", high))
    rng.shuffle(formulas)
    return formulas, True


def polygon(rng):
    """Half-planes just around a point that is no integer point, in a box. All bounded."""
    denominator = rng.randint(2, 9)
    center = [rng.randint(-20, 20) for _ in range(2)]  # over the denominator
    formulas = box(rng, names(2), -10, 10)
    for _ in range(rng.randint(3, 6)):
        normal = [nonzero(rng, 15), nonzero(rng, 15)]
        reach = normal[0] * center[0] + normal[1] * center[1]  # times the denominator
        bound = -(-reach // denominator) + rng.randint(0, 2)
        formulas.append(write(rng, list(zip(names(2), normal)), "<=", bound))
    rng.shuffle(formulas)
    return formulas, True


def knapsack(rng):
    """One equality with big coefficients in a box, whole or as two sums that must meet. All
    bounded."""
    count = rng.randint(2, 4)
    variables = names(count)
    weights = [rng.randint(4, 19) for _ in variables]
    most = rng.randint(1, 2)
    target = rng.randint(most * min(weights), most * sum(weights) // 2)
    formulas = box(rng, variables, 0, most)
    row = list(zip(variables, weights))
    if rng.random() < 0.5:
        cut = rng.randint(1, count - 1)
        meet = f"i{count}"
        formulas.insert(2 * cut, write(rng, row[:cut] + [(meet, -1)], "=", 0))
        formulas.append(write(rng, row[cut:] + [(meet, 1)], "=", target))
    else:
        formulas.insert(rng.randint(0, len(formulas)), write(rng, row, "=", target))
    return formulas, True


def congruences(rng):
    """x = m*y + r for several m and r that mostly do not fit together, each with its own y,
    as equalities or as pairs of inequalities; the latter unbounded but for a box (half of
    them)."""
    count = rng.randint(2, 4)
    shared = integer_sum([("i0", 1)] if rng.random() < 0.6 else
                         [("i0", nonzero(rng, 2)), ("i1", nonzero(rng, 3))])
    base = rng.choice([2, 2, 3, 4, 5])
    moduli = [base * rng.choice([1, 1, 2, 3]) for _ in range(count)]
    formulas, as_pairs = [], False
    for k, modulus in enumerate(moduli):
        multiple = f"(* {modulus} i{k + 2})"
        residue = rng.randint(0, modulus - 1)
        if rng.random() < 0.5:
            right = f"(+ {multiple} {residue})" if residue else multiple
            formulas.append(relation(rng, "=", shared, right))
            continue
        as_pairs = True
        width = 0 if rng.random() < 0.7 else rng.randint(0, base - 1)
        rest = f"(- {shared} {multiple})"
        formulas.append(relation(rng, ">=", rest, numeral(residue)))
        formulas.append(relation(rng, "<=", rest, numeral(residue + width)))
    if as_pairs and rng.random() < 0.5:
        formulas += box(rng, names(count + 2), -12, 12)
        return formulas, True
    return formulas, not as_pairs


def holes(rng):
    """A small box, of a variable or of a sum, that disequalities empty but for a value now
    and then. All bounded."""
    variables = names(rng.randint(1, 3))
    low, width = rng.randint(-3, 2), rng.randint(0, 4)
    row = [(v, rng.choice([-1, 1])) for v in variables]
    formulas = [write(rng, row, ">=", low), write(rng, row, "<=", low + width)]
    if len(variables) > 1:
        formulas += box(rng, variables[:-1], -2, 2)
    spared = rng.randint(0, width) if rng.random() < 0.3 else None
    for k in range(width + 1):
        if k == spared:
            continue
        if rng.random() < 0.3:  # twice the sum, or through an equal variable
            formulas.append(write(rng, [(v, 2 * q) for v, q in row], "distinct",
                                  2 * (low + k)))
        elif rng.random() < 0.3:
            formulas.append(write(rng, row + [("i3", -1)], "=", 0))
            formulas.append(write(rng, [("i3", 1)], "distinct", low + k))
        else:
            formulas.append(write(rng, row, "distinct", low + k))
    rng.shuffle(formulas)
    return formulas, True


def differences(rng):
    """Cycles of differences of sum about zero; with disequalities (half of them) only those
    in a box are bounded."""
    count = rng.randint(2, 10)
    difference = lambda a, b: f"(- i{a} i{b})"  # noqa: E731
    weights = [rng.randint(-3, 3) for _ in range(count - 1)]
    weights.append(rng.choice([-1, 0, 0, 1, 2]) - sum(weights))
    formulas, disequalities = [], rng.random() < 0.5
    for k, weight in enumerate(weights):
        a, b = k, (k + 1) % count
        strict = rng.random() < 0.3
        formulas.append(relation(rng, "<" if strict else "<=", difference(a, b),
                                 numeral(weight + strict)))
        if disequalities and rng.random() < 0.4:
            formulas.append(relation(rng, "distinct", difference(a, b),
                                     numeral(weight - rng.randint(0, 1))))
    boxed = disequalities and rng.random() < 0.6
    if boxed:  # differences to one more variable
        for k in range(count):
            formulas.append(relation(rng, "<=", difference(k, count), "6"))
            formulas.append(relation(rng, ">=", difference(k, count), numeral(-6)))
    rng.shuffle(formulas)
    return formulas, boxed or not disequalities


def division(rng):
    """div, mod and divisible of small terms, also nested and by negative numerals; in a box,
    and so bounded, three times of four."""
    variables = names(rng.randint(1, 3))

    def operand(depth):
        row = [(v, nonzero(rng, 3)) for v in rng.sample(variables,
                                                        rng.randint(1, len(variables)))]
        if depth and rng.random() < 0.3:
            row.append((term(depth - 1), nonzero(rng, 2)))
        return integer_sum(row)

    def term(depth):
        divisor = rng.choice([2, 2, 3, 4, 5, -2, -3])
        return f"({rng.choice(['div', 'mod', 'mod'])} {operand(depth)} {numeral(divisor)})"

    formulas = []
    for _ in range(rng.randint(2, 4)):
        if rng.random() < 0.25:
            atom = f"((_ divisible {rng.randint(2, 4)}) {operand(1)})"
            formulas.append(atom if rng.random() < 0.6 else f"(not {atom})")
        elif rng.random() < 0.3:  # a variable against its parts, off by one or not
            v, k = rng.choice(variables), rng.choice([2, 3, 5, -3])
            whole = f"(+ (* {numeral(k)} (div {v} {numeral(k)})) (mod {v} {numeral(k)}))"
            formulas.append(relation(rng, "=", whole, f"(+ {v} {rng.randint(0, 1)})"))
        else:
            op = rng.choice(["=", "=", "<=", ">=", "distinct"])
            formulas.append(relation(rng, op, term(1), numeral(rng.randint(-2, 3))))
    bounded = rng.random() < 0.75
    if bounded:
        formulas += box(rng, variables, rng.randint(-6, 0), rng.randint(1, 6))
    rng.shuffle(formulas)
    return formulas, bounded


def branches(rng):
    """A strip without integer points, or with few, across a box; bounds and disequalities
    are asserted at the values where a search would branch. All bounded."""
    count = rng.randint(2, 4)
    variables = names(count)
    high = rng.randint(1, 3)
    formulas = box(rng, variables, 0, high)
    for _ in range(rng.randint(1, 2)):
        row = [(v, nonzero(rng, 11)) for v in variables]
        middle = sum(q for _, q in row) * high // 2
        formulas.append(write(rng, row, ">=", middle))
        formulas.append(write(rng, row, "<=", middle + rng.randint(0, 2)))
    for v in rng.sample(variables, rng.randint(1, count)):
        for value in rng.sample(range(high + 1), rng.randint(1, high)):
            formulas.append(write(rng, [(v, rng.choice([1, 1, 1, -1, 2]))], "distinct", value))
        if rng.random() < 0.4:
            formulas.append(write(rng, [(v, 1)], rng.choice([">=", "<="]), 1))
    rng.shuffle(formulas)
    return formulas, True


def big_numbers(rng):
    """A strip of a sum with coefficients beyond a machine word, scaled so that it misses the
    integers or nearly, in a box. All bounded."""
    scale = rng.choice([2**31, 2**62, 2**63, 10**20]) + rng.randint(-2, 2)
    a, b = rng.choice([(1, 2), (2, 3), (3, 5), (1, 1)])
    row = [("i0", scale * a), ("i1", -scale * b)]
    low = scale * rng.randint(-2, 2) + rng.randint(0, 2)
    formulas = box(rng, names(2), -8, 8)
    formulas.append(write(rng, row + [("i2", 1)], ">=", low))
    formulas.append(write(rng, [("i2", 1)], "<=", 0))
    formulas.append(write(rng, [("i2", 1)], ">=", -5))
    formulas.append(write(rng, row, "<=", low + rng.choice([0, 5, scale - 3])))
    rng.shuffle(formulas)
    assert gcd(*(q for _, q in row)) >= scale
    return formulas, True


PARTS = {
    "int-equalities": equalities,
    "int-cuts": cut_rows,
    "int-polygon": polygon,
    "int-knapsack": knapsack,
    "int-congruences": congruences,
    "int-holes": holes,
    "int-differences": differences,
    "int-division": division,
    "int-branches": branches,
    "int-big-numbers": big_numbers,
}


def family(name, logic, part, groups=(2, 2)):
    def draw(rng):
        formulas, bounded = part(rng)
        problem = Problem(name, logic, groups=rng.randint(*groups), bounded=bounded)
        split(rng, problem, formulas, filler=FILLER)
        return problem

    return draw


def any_part(rng):
    """A part of any family but the slowest; in the shares of these bounded."""
    chosen = [n for n in PARTS if n not in ("int-knapsack", "int-polygon")]
    return PARTS[rng.choice(chosen)](rng)


def tree(rng):
    return dealt_to_tree(rng, family("int-tree", "QF_LIA", any_part)(rng), FILLER)


FAMILIES = {
    name: family(name, "QF_IDL" if part is differences else "QF_LIA", part)
    for name, part in PARTS.items()
}
FAMILIES["int-sequence"] = family("int-sequence", "QF_LIA", any_part, (3, 5))
FAMILIES["int-tree"] = tree
