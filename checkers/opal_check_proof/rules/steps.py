"""What a step says, and what is read off its arguments."""

from ..formulas import NoConjunction, is_formula, literals
from ..linear import Term, add_scaled, sum_text
from ..reader import Step


class Wrong(Exception):
    """A step that does not follow."""

    def __init__(self, step, what):
        super().__init__(what)
        self.step = step


class Derived:
    """`factor * (sum + constant) >= 0`, or `> 0`, the factor being 1 or -1; `open` are the
    open hypotheses that it follows from."""

    __slots__ = ("factor", "sum", "constant", "strict", "open")

    def __init__(self, factor, coefficients, constant, strict, hypotheses):
        self.factor, self.sum, self.constant = factor, coefficients, constant
        self.strict, self.open = strict, hypotheses

    @property
    def is_contradiction(self):
        constant = self.factor * self.constant
        return not self.sum and (constant < 0 or constant == 0 and self.strict)

    def __str__(self):
        total = {v: self.factor * c for v, c in self.sum.items()}
        relation = ">" if self.strict else ">="
        return f"{sum_text(total)} {relation} {-self.factor * self.constant}"


LEMMAS = ("la-unit", "la-spliteq", "la-branch-and-bound-lemma")
CONSTRAINTS = ("la-hyp", "la-hyp-eq", "la-comb", "la-tight")


def combined(weighted):
    """The weighted sum of (weight, constraint) pairs."""
    total, constant = {}, 0
    for weight, constraint in weighted:
        add_scaled(total, weight, constraint.sum)
        constant += weight * constraint.constant
    return Derived(1, total, constant, False, ())


def number_of(step, position, value):
    if isinstance(value, Term) and value.parts == ():
        return value.constant
    raise Wrong(step, f"expected a number as argument {position}")


def literal_of(step, position, value):
    try:
        if is_formula(value):
            (literal,) = literals(value)
            return literal
    except (NoConjunction, ValueError):
        pass
    raise Wrong(step, f"expected a literal as argument {position}")


def step_of(step, position, value):
    if isinstance(value, Step):
        return value
    raise Wrong(step, f"expected a proof as argument {position}")


READ = {"n": number_of, "l": literal_of, "s": step_of}


def arguments(step, kinds):
    """The step's arguments, which must be of these kinds: a number, a literal or a step,
    one letter each. A literal is given as its constraint as it stands."""
    if len(step.arguments) != len(kinds):
        raise Wrong(step, f"expected {len(kinds)} arguments, found {len(step.arguments)}")
    return [READ[kind](step, i, value)
            for i, (kind, value) in enumerate(zip(kinds, step.arguments), 1)]


def pairs(step, values):
    """The (number, literal) pairs of an argument list."""
    if len(values) % 2:
        raise Wrong(step, "expected pairs of a number and a literal")
    return [(number_of(step, i, values[i]), literal_of(step, i + 1, values[i + 1]))
            for i in range(0, len(values), 2)]
