"""Formulas.

A formula is a Constraint, True, False, or a Junction. Truth values are folded away when a
formula is made, so that an `or` with one operand that is not false is that operand.
"""

from .linear import Constraint, linear_form


class Junction:
    """`and`, `or` or `=` of formulas, or a Boolean variable, of kind "" and with a name of
    its own. `negated` denies the whole."""

    __slots__ = ("kind", "operands", "negated", "name")

    def __init__(self, kind, operands, negated=False, name=None):
        self.kind, self.operands, self.negated = kind, operands, negated
        self.name = name


class NoConjunction(Exception):
    """A formula that is no conjunction of literals."""


def is_formula(value):
    return isinstance(value, (bool, Constraint, Junction))


def junction(kind, operands):
    """The `and` or `or` of formulas."""
    decisive = kind == "or"
    if any(f is decisive for f in operands):
        return decisive
    kept = [f for f in operands if not isinstance(f, bool)]
    if not kept:
        return not decisive
    return kept[0] if len(kept) == 1 else Junction(kind, kept)


def negation(formula):
    if isinstance(formula, bool):
        return not formula
    if isinstance(formula, Constraint):
        return formula.negated()
    return Junction(formula.kind, formula.operands, not formula.negated, formula.name)


def equivalence(a, b):
    """Of formulas."""
    if isinstance(a, bool):
        return b if a else negation(b)
    if isinstance(b, bool):
        return a if b else negation(a)
    return True if a is b else Junction("=", [a, b])


def comparison(relation, a, b):
    """The atom `a relation b` over terms."""
    if relation in (">=", ">"):
        a, b, relation = b, a, "<=" if relation == ">=" else "<"
    constraint = Constraint(relation, *linear_form([(1, a), (-1, b)]))
    return constraint.key() if a.parts == b.parts == () else constraint


def related(relation, a, b):
    """The formula `a relation b` over terms or formulas; the relation may be != ."""
    if not is_formula(a):
        return comparison(relation, a, b)
    same = equivalence(a, b)
    return same if relation == "=" else negation(same)


def conjuncts(formula):
    """The constraints among the formulas whose conjunction a formula is."""
    result, stack = [], [(formula, False)]
    while stack:
        f, negated = stack.pop()
        if isinstance(f, Junction):
            negated ^= f.negated
            if f.kind == ("or" if negated else "and"):
                stack += [(g, negated) for g in f.operands]
        elif isinstance(f, bool):
            result.append(Constraint("<=", {}, 0 if f ^ negated else 1))
        else:
            result.append(f.negated() if negated else f)
    return result


def literals(formula):
    """The constraints whose conjunction a formula is. Throws NoConjunction."""
    result, stack = [], [(formula, False)]
    while stack:
        f, negated = stack.pop()
        if isinstance(f, Junction):
            negated ^= f.negated
            if f.kind != ("or" if negated else "and"):
                raise NoConjunction()
            stack += [(g, negated) for g in reversed(f.operands)]
        elif isinstance(f, bool):
            result.append(Constraint("<=", {}, 0 if f ^ negated else 1))
        else:
            result.append(f.negated() if negated else f)
    return result
