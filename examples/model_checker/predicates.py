"""Interpolants as predicates: the formula about one state is read for any other one."""

import re
from fractions import Fraction
from functools import reduce
from operator import add, and_, mul, or_, sub, truediv

from opal import implies, ite

TOKEN = re.compile(r"[()]|\|[^|]*\||[^\s()|]+")

# What the functions of SMT-LIB are for terms and numbers.
OPERATIONS = {
    "+": lambda *terms: reduce(add, terms),
    "-": lambda *terms: -terms[0] if len(terms) == 1 else reduce(sub, terms),
    "*": lambda *terms: reduce(mul, terms),
    "/": lambda *terms: reduce(truediv, terms),
    "div": lambda t, n: t // n,
    "mod": lambda t, n: t - n * (t // n),
    "to_int": lambda t: t.floor(),
    "to_real": lambda t: t,
    "<=": lambda a, b: a <= b,
    "<": lambda a, b: a < b,
    ">=": lambda a, b: a >= b,
    ">": lambda a, b: a > b,
    "=": lambda a, b: a == b,
    "distinct": lambda a, b: a != b,
    "not": lambda f: ~f,
    "and": lambda *formulas: reduce(and_, formulas),
    "or": lambda *formulas: reduce(or_, formulas),
    "=>": implies,
    "ite": ite,
    "let": lambda *parts: parts[-1],
}


class Predicate:
    """A formula over the variables of one moment, which can be asked of any state."""

    def __init__(self, term, moment):
        self.text = re.sub(rf"@{moment}\b", "", repr(term))

    def __str__(self):
        return self.text

    def __call__(self, state):
        """The formula of a state, built from inside out as the parentheses close."""
        names = dict(vars(state))
        some = next(iter(names.values())).session
        names["true"], names["false"] = some.number(0) <= 0, some.number(0) < 0

        def meaning(item):
            if not isinstance(item, str):
                return item
            return Fraction(item) if item[0].isdigit() else names[item]

        open_lists = [[]]
        for token in TOKEN.findall(self.text):
            if token == "(":
                open_lists.append([])
            elif token != ")":
                open_lists[-1].append(token)
            else:
                done = open_lists.pop()
                if isinstance(done[0], str) and done[0] in OPERATIONS:
                    done = OPERATIONS[done[0]](*map(meaning, done[1:]))
                elif isinstance(done[0], str):  # (name term), what a let binds
                    names[done[0]] = meaning(done[1])
                open_lists[-1].append(done)
        return meaning(open_lists[0][0])


def any_of(predicates, state):
    """That one of some predicates holds of a state."""
    return reduce(or_, (p(state) for p in predicates))
