"""Rows of the measured families: coefficients, relation and constant as SMT-LIB text."""

from opal_lab.formulas import integer_sum, linear, mixed_sum, number, numeral


def row(coefficients, relation, constant):
    """coefficients (index of a real variable to number), relation and constant."""
    total = linear((f"x{i}", q) for i, q in coefficients.items())
    return f"({relation} {total} {number(constant)})"


def integer_row(coefficients, relation, constant):
    """coefficients (index of an integer variable to integer), relation and constant."""
    total = integer_sum((f"i{i}", q) for i, q in coefficients.items())
    return f"({relation} {total} {numeral(constant)})"


def mixed_row(coefficients, relation, constant):
    """coefficients (name of a variable of either sort to number), relation, constant."""
    return f"({relation} {mixed_sum(coefficients.items())} {number(constant)})"


def halves(formulas):
    """The first half is A's, the second B's."""
    return [(int(2 * i >= len(formulas)), f) for i, f in enumerate(formulas)]
