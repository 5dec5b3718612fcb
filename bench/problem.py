"""A problem of a measured family, and the writing of its rows."""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "random"))
from formulas import conjunction, declarations, integer_sum, mixed_sum  # noqa: E402
from formulas import number, numeral, symbols_in  # noqa: E402
from sexpr import parse_all  # noqa: E402, F401


class Problem:
    """Formulas, each of side 0 (A) or 1 (B), over variables named as in formulas.py."""

    def __init__(self, logic, formulas):
        self.logic, self.formulas = logic, formulas

    def header(self):
        symbols = symbols_in(f for _, f in self.formulas)
        return [f"(set-logic {self.logic})"] + declarations(symbols)

    def to_decide(self):
        lines = self.header() + [f"(assert {f})" for _, f in self.formulas]
        return "\n".join(lines + ["(check-sat)\n"])

    def to_interpolate(self, mode="auto", cuts=None):
        lines = ["(set-option :produce-interpolants true)", f"(set-option :opal-mode {mode})"]
        if cuts:
            lines.append(f"(set-option :opal-cuts {cuts})")
        lines += self.header()
        names = ([], [])
        for i, (side, formula) in enumerate(self.formulas):
            names[side].append(f"f{i}")
            lines.append(f"(assert (! {formula} :named f{i}))")
        groups = " ".join(f"(and {' '.join(group)})" for group in names)
        return "\n".join(lines + ["(check-sat)", f"(get-interpolants {groups})\n"])


def row(coefficients, relation, constant):
    """coefficients (index of a real variable to number), relation and constant."""
    terms = [f"(* {number(q)} x{i})" for i, q in coefficients.items()]
    total = terms[0] if len(terms) == 1 else f"(+ {' '.join(terms)})"
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
