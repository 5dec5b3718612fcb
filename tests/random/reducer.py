"""Makes a failing problem smaller while it fails."""

import time

from opal_lab import sexpr

FORMULA_OPERATORS = set("and or not => xor = distinct < <= > >= is_int".split())
SORT_OF_LETTER = {**dict.fromkeys("pqtf", "Bool"), **dict.fromkeys("ij", "Int"),
                  **dict.fromkeys("xy", "Real")}
SORT_OF_OPERATOR = {"to_real": "Real", "/": "Real", "to_int": "Int", "div": "Int", "mod": "Int"}
LEAST = {"Bool": ["true", "false"], "Int": ["0"], "Real": ["0.0"]}


def reduced(problem, fails, seconds=60):
    """A problem that fails and of which no `smaller()` one does, or what is found in time."""
    end, tried, at_rest = time.monotonic() + seconds, set(), False
    while not at_rest:
        at_rest = True
        for smaller in problem.smaller():
            if time.monotonic() > end:
                return problem
            if repr(smaller) in tried:
                continue
            tried.add(repr(smaller))
            if fails(smaller):
                problem, at_rest = smaller, False
                break
    return problem


def sort_of(e):
    """The sort of an expression of which the names tell theirs: p and q are formulas, i and j
    integers, x and y reals."""
    while isinstance(e, list):
        head = e[0]
        if isinstance(head, list) or head in FORMULA_OPERATORS:
            return "Bool"
        if head in SORT_OF_OPERATOR:
            return SORT_OF_OPERATOR[head]
        e = e[2] if head in ("let", "ite") else e[1]
    if e[0].isdigit():
        return "Real" if "." in e else "Int"
    return SORT_OF_LETTER[e[0]]


def smaller_formulas(text):
    """The texts of a formula with one part replaced by a constant or by a part of it of the
    same sort; a `let` by what it stands for."""
    root = sexpr.parse_all(text)
    work = [(root, 0)]
    for parent, i in work:
        e = parent[i]
        if isinstance(e, str) and e in sum(LEAST.values(), []):
            continue
        sort = sort_of(e)
        for other in LEAST[sort] + parts_of(e, sort):
            parent[i] = other
            yield sexpr.show(root[0])
        parent[i] = e
        if isinstance(e, str) or sexpr.is_number(e):
            continue
        if e[0] == "let":
            work += [(binding, 1) for binding in e[1]] + [(e, 2)]
        else:
            work += [(e, k) for k in range(1, len(e))]


def parts_of(e, sort):
    """What may stand in place of an expression: operands, or the same with one less."""
    if isinstance(e, str) or sexpr.is_number(e):
        return []
    if e[0] == "let":
        return [sexpr.expanded(e)]
    parts = [part for part in e[1:] if sort_of(part) == sort]
    if e[0] in ("and", "or", "+", "=", "xor") and len(e) > 3:
        parts += [e[:k] + e[k + 1:] for k in range(1, len(e))]
    return parts
