"""Leaves of a proof: literals that are asserted, or that a branch or a case above makes."""

from .steps import Derived, Wrong, arguments


def hypothesis(checker, step):
    """
        ------------  e an inequality
         e rel 0
    """
    (literal,) = arguments(step, "l")
    if not literal.is_inequality:
        raise Wrong(step, f"expected an inequality, found {literal}")
    normal = literal.normal()
    step.derived = Derived(-1, normal.sum, normal.constant, normal.relation == "<",
                           checker.opened(step, literal.key(), normal))


def half(checker, step):
    """
         a = b             a != b
        ---------------   --------------  of sign -1; the other way round for +1
         b - a >= 0        b - a > 0

    A disequality's halves are the cases of a la-neq.
    """
    sign, literal = arguments(step, "nl")
    if sign not in (-1, 1):
        raise Wrong(step, f"expected the sign 1 or -1, found {sign}")
    if literal.is_inequality:
        raise Wrong(step, f"expected an equality or a disequality, found {literal}")
    normal = literal.normal()
    strict = literal.relation == "!="
    key = case(literal, sign) if strict else literal.key()
    step.derived = Derived(sign, normal.sum, normal.constant, strict,
                           checker.opened(step, key, normal))


def case(disequality, sign):
    """The key of a strict side of a disequality."""
    return "case", disequality.key(), sign * disequality.normal().orientation()
