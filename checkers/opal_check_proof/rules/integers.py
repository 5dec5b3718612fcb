"""What only integers allow: rounding a sum, and sums of equalities that are no integer."""

from ..linear import content, sum_text
from .steps import Derived, Wrong, combined, number_of, pairs


def cut(checker, step):
    """
         e1 >= 0 .. en >= 0    f >= 0
        ------------------------------  f + sum of mi*ei = k*g + c, k the common divisor
            g + floor(c/k) >= 0         of its coefficients

    All are integer constraints, none is strict. Of an inequality's mi the magnitude
    counts; an equality's is signed, read in the direction of f: as >= where f is the
    branch `t >= c`, which is written `c <= t`, else as <=.
    """
    if not step.arguments:
        raise Wrong(step, "expected a divisor")
    k = number_of(step, 1, step.arguments[0])
    premises = pairs(step, step.arguments[1:])
    if not premises or premises[-1][0] != 1 or not premises[-1][1].is_inequality:
        raise Wrong(step, "expected a conclusion at the end, an inequality with number 1")
    hypotheses = []
    summands = []
    upward = premises[-1][1].key() in step.scope.right_branches
    for multiplier, literal in premises:
        normal = literal.normal()
        if normal.relation not in ("<=", "=") or not literal.is_integer:
            raise Wrong(step, "expected integer constraints, neither strict nor !=, found "
                              f"{literal}")
        if not multiplier or multiplier.denominator != 1:
            raise Wrong(step, f"expected a multiplier that is an integer other than 0, "
                              f"found {multiplier}")
        is_equality = normal.relation == "="
        weight = multiplier * (1 if upward else -1) if is_equality else -abs(multiplier)
        summands.append((weight, normal))
        hypotheses += checker.opened(step, literal.key(), normal)
    total = combined(summands)
    divisor = content(total.sum.values())
    if not divisor or k != divisor:
        raise Wrong(step, f"expected the common divisor of {sum_text(total.sum)}, found {k}")
    step.derived = Derived(1, {v: c // k for v, c in total.sum.items()},
                           total.constant // k, False, set(hypotheses))


def equalities(checker, step):
    """
         e1 = 0 .. en = 0
        ------------------  sum of mi*ei: integer coefficients of integer variables,
              false         and a constant that is no integer
    """
    premises = pairs(step, step.arguments)
    step.open = set()
    for multiplier, literal in premises:
        if literal.relation != "=" or not literal.is_integer:
            raise Wrong(step, f"expected an equality of integers, found {literal}")
        if not multiplier:
            raise Wrong(step, "expected multipliers other than 0")
        step.open.update(checker.opened(step, literal.key(), literal.normal()))
    total = combined([(m, literal.normal()) for m, literal in premises])
    if any(c.denominator != 1 for c in total.sum.values()):
        raise Wrong(step, f"expected integer coefficients, found {sum_text(total.sum)}")
    if total.constant.denominator == 1:
        raise Wrong(step, f"expected a constant that is no integer, found {total.constant}")
