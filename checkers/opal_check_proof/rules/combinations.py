"""Sums of constraints."""

from .steps import CONSTRAINTS, Wrong, arguments


def combination(checker, step):
    """
         e >= 0    f >= 0
        -------------------   c, d > 0; strict if e or f is
         c*e + d*f >= 0

    The sum is made where it is needed, by Checker.derive().
    """
    for multiplier, premise in zip(*[iter(arguments(step, "nsns"))] * 2):
        if multiplier <= 0:
            raise Wrong(step, f"expected a positive multiplier, found {multiplier}")
        if premise.rule not in CONSTRAINTS:
            raise Wrong(step, f"expected a premise that derives a constraint, found "
                              f"{premise.rule}")
