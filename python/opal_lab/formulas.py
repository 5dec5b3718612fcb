"""SMT-LIB texts of linear formulas, and scripts that decide them.

The name of a variable tells its sort: i0, i1, ... are integers, x0, x1, ... reals, and
p0, p1, ... are Booleans.
"""

import re
from fractions import Fraction

SYMBOL = re.compile(r"\b[ixp]\d+\b")
SORTS = {"i": "Int", "x": "Real", "p": "Bool"}


def symbols_in(formulas):
    return set(SYMBOL.findall(" ".join(formulas)))


def is_integer(symbol):
    return symbol[0] == "i"


def declarations(symbols):
    order = sorted(symbols, key=lambda s: (s[0], int(s[1:])))
    return [f"(declare-fun {s} () {SORTS[s[0]]})" for s in order]


def conjunction(formulas):
    return f"(and true {' '.join(formulas)})"


def negation(formula):
    return f"(not {formula})"


def decision(formulas, declared=None, logic="QF_LIRA"):
    """A script that asks whether formulas are satisfiable together; `declared` are the
    commands before them, by default the declarations of their variables."""
    declared = declarations(symbols_in(formulas)) if declared is None else declared
    return "\n".join([f"(set-logic {logic})", *declared,
                      *(f"(assert {f})" for f in formulas), "(check-sat)\n"])


def number(q):
    """A rational as a term of sort Real."""
    q = Fraction(q)
    text = f"{abs(q.numerator)}.0"
    if q.denominator != 1:
        text = f"(/ {text} {q.denominator}.0)"
    return f"(- {text})" if q < 0 else text


def numeral(n):
    """An integer as a term of sort Int."""
    assert n == int(n)
    return f"(- {-int(n)})" if n < 0 else str(int(n))


def linear(coefficients):
    """The sum of coefficient * variable as a term of sort Real."""
    return sum_of(number, "0.0", coefficients)


def integer_sum(coefficients):
    """The sum of coefficient * integer variable (or term) as a term of sort Int."""
    return sum_of(numeral, "0", coefficients)


def mixed_sum(coefficients):
    """The sum of coefficient * variable, of both sorts, as a term of sort Real."""
    return linear((f"(to_real {v})" if is_integer(v) else v, q) for v, q in coefficients)


def sum_of(text, zero, coefficients):
    parts = [v if q == 1 else f"(* {text(q)} {v})" for v, q in coefficients if q != 0]
    if not parts:
        return zero
    return parts[0] if len(parts) == 1 else f"(+ {' '.join(parts)})"


def relation(rng, op, left, right):
    """`left op right`, now and then written as a negation or the other way round."""
    flipped = {"<=": ">=", "<": ">", ">=": "<=", ">": "<", "=": "=", "distinct": "distinct"}
    negated = {"<=": ">", "<": ">=", ">=": "<", ">": "<=", "=": "distinct", "distinct": "="}
    if rng.random() < 0.2:
        left, right, op = right, left, flipped[op]
    if rng.random() < 0.2:
        return f"(not ({negated[op]} {left} {right}))"
    return f"({op} {left} {right})"
