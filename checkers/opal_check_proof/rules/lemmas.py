"""Clauses that hold whatever the values."""

from ..linear import Constraint
from .steps import Wrong, arguments, combined


def unit(checker, step):
    """
        ---  l true without variables, or the definition of a floor
         l
    """
    (literal,) = arguments(step, "l")
    if literal.key() is not True and literal.key() not in checker.definitions:
        raise Wrong(step, f"expected a literal that always holds, found {literal}")


def split(checker, step):
    """
        --------------------------  l1 and l2 contradict each other, or
         a = b  or not l1 or not l2   are a <= b and b <= a
    """
    equality, *halves = arguments(step, "lll")
    if equality.relation != "=" or not all(h.is_inequality for h in halves):
        raise Wrong(step, "expected an equality and two inequalities")
    expected = {Constraint("<=", equality.sum, equality.constant).key(),
                Constraint("<", equality.sum, equality.constant).negated().key()}
    if {h.key() for h in halves} != expected:
        raise Wrong(step, f"expected the two sides of {equality}, found "
                          f"{halves[0]} and {halves[1]}")


def branch_lemma(checker, step):
    """
        ------------------------   ---------------------------------
         t <= c  or  c + 1 <= t     t <= c  or  c + 2 <= t  or  t = c + 1

    t of integer variables, the literals in any order. The two may overlap.
    """
    clause = arguments(step, "l" * max(2, len(step.arguments)))
    if len(clause) > 3 or not all(literal.is_integer for literal in clause):
        raise Wrong(step, "expected two or three literals of integer variables")
    normal = [literal.normal() for literal in clause]
    sides = [literal for literal in normal if literal.relation == "<="]
    points = [literal for literal in normal if literal.relation == "="]
    if len(sides) == 2 and len(points) == len(clause) - 2:
        gap = combined([(-1, side) for side in sides])
        if not gap.sum and gap.constant >= -1:
            return
        if not gap.sum and gap.constant == -2 and points:
            (point,) = points
            away = combined([(-1, sides[0]), (1, point)])
            toward = combined([(-1, sides[0]), (-1, point)])
            if any(not d.sum and d.constant == -1 for d in (away, toward)):
                return
    raise Wrong(step, "expected literals of which one always holds, found "
                      + " or ".join(map(str, clause)))
