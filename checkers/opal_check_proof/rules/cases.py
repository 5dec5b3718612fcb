"""Refutations by cases, of which one always holds."""

from .hypotheses import case
from .steps import Wrong, arguments, combined


def disequality(checker, step):
    """
              a < b        a > b
                :            :
         a != b  false     false
        ------------------------  a != b asserted
                 false
    """
    literal, below, above = arguments(step, "lss")
    if literal.relation != "!=":
        raise Wrong(step, f"expected a disequality, found {literal}")
    if literal.key() not in step.scope.keys:
        raise Wrong(step, f"expected a disequality that is asserted, found {literal}")
    step.open = checker.joined(step, below, case(literal, -1),
                            above, case(literal, 1))


def branches(checker, step):
    """
         t <= c       c+1 <= t
           :             :
         false         false
        ----------------------  t of integer variables
              false
    """
    low, left, high, right = arguments(step, "lsls")
    for literal in (low, high):
        if literal.relation != "<=" or not literal.is_integer:
            raise Wrong(step, "expected a branch on integer variables, <= or >=, found "
                              f"{literal}")
    gap = combined([(-1, low.normal()), (-1, high.normal())])
    if gap.sum or gap.constant != -1:
        raise Wrong(step, f"expected branches t <= c and c + 1 <= t, found {low} and {high}")
    step.open = checker.joined(step, left, low.key(), right, high.key())
