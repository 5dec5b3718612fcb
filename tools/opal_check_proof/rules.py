"""The rules of inference.

A hypothesis or a step that derives a constraint says `e >= 0`, or `e > 0`. The literal of an
atom `a <= b` is read as `b - a >= 0`, `a < b` as `b - a > 0`, in the normal form of
linear.Constraint. A refutation is a step that says `false`, or a combination of which the
constraint is a contradiction: no variables, and e is negative, or zero in `e > 0`.

Hypotheses need not be asserted where a branch or a case makes them: a step says which such
hypotheses are open, branches and cases close theirs, and a proof must leave none open. So a
step is checked once, however many paths lead to it.

Each rule's check is given the step; the steps before it, its premises among them, are
checked already.
"""

from .formulas import NoConjunction, is_formula, literals
from .linear import Constraint, Term, add_scaled, content, sum_text
from .reader import Step


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


class Checker:
    """Checks the steps of one proof against the keys of the literals that hold, and those
    that hold anyway."""

    def __init__(self, asserted, definitions):
        self.asserted, self.definitions = asserted, definitions
        self.users = {}  # of an open hypothesis, the first step that uses it, and its constraint
        self.right_branches = set()  # the keys of the branches `c <= t`

    def check(self, steps):
        """Whether the last of the steps is a lemma; a refutation otherwise. Throws Wrong."""
        root = steps[-1]
        self._find_right_branches(steps)
        for step in steps:
            RULES[step.rule](self, step)
            if step.rule == "la-comb" and step.parents > 1:
                self.derive(step)
        if root.rule in LEMMAS:
            return True
        for hypothesis in self.refuted(root, root):
            user, constraint = self.users[hypothesis]
            raise Wrong(user, f"expected a literal that is asserted, a branch or case above, "
                              f"or the definition of a floor, found {constraint}")
        return False

    # Arguments of steps.

    def arguments(self, step, kinds):
        """The step's arguments, which must be of these kinds: a number, a literal or a step,
        one letter each. A literal is given as its constraint as it stands."""
        if len(step.arguments) != len(kinds):
            raise Wrong(step, f"expected {len(kinds)} arguments, found {len(step.arguments)}")
        return [READ[kind](step, i, value)
                for i, (kind, value) in enumerate(zip(kinds, step.arguments), 1)]

    def pairs(self, step, values):
        """The (number, literal) pairs of an argument list."""
        if len(values) % 2:
            raise Wrong(step, "expected pairs of a number and a literal")
        return [(number_of(step, i, values[i]), literal_of(step, i + 1, values[i + 1]))
                for i in range(0, len(values), 2)]

    def _find_right_branches(self, steps):
        for step in steps:
            if step.rule == "la-branch-and-bound" and len(step.arguments) == 4:
                self.right_branches.add(literal_of(step, 3, step.arguments[2]).key())
        self.right_branches -= self.asserted

    # Hypotheses.

    def opened(self, step, key, constraint):
        """The open hypotheses of a literal: none if it holds, else the key itself."""
        if key in self.asserted or key in self.definitions:
            return ()
        self.users.setdefault(key, (step, constraint))
        return (key,)

    def hypothesis(self, step):
        """
            ------------  e an inequality
             e rel 0
        """
        (literal,) = self.arguments(step, "l")
        if not literal.is_inequality:
            raise Wrong(step, f"expected an inequality, found {literal}")
        normal = literal.normal()
        step.derived = Derived(-1, normal.sum, normal.constant, normal.relation == "<",
                               self.opened(step, literal.key(), normal))

    def half(self, step):
        """
             a = b             a != b
            ---------------   --------------  of sign -1; the other way round for +1
             b - a >= 0        b - a > 0

        A disequality's halves are the cases of a la-neq.
        """
        sign, literal = self.arguments(step, "nl")
        if sign not in (-1, 1):
            raise Wrong(step, f"expected the sign 1 or -1, found {sign}")
        if literal.is_inequality:
            raise Wrong(step, f"expected an equality or a disequality, found {literal}")
        normal = literal.normal()
        strict = literal.relation == "!="
        key = self.case(literal, sign) if strict else literal.key()
        step.derived = Derived(sign, normal.sum, normal.constant, strict,
                               self.opened(step, key, normal))

    @staticmethod
    def case(disequality, sign):
        """The key of a strict side of a disequality."""
        return "case", disequality.key(), sign * disequality.normal().orientation()

    # Combinations.

    def combination(self, step):
        """
             e >= 0    f >= 0
            -------------------   c, d > 0; strict if e or f is
             c*e + d*f >= 0

        The sum is made where it is needed, by derive().
        """
        for multiplier, premise in zip(*[iter(self.arguments(step, "nsns"))] * 2):
            if multiplier <= 0:
                raise Wrong(step, f"expected a positive multiplier, found {multiplier}")
            if premise.rule not in CONSTRAINTS:
                raise Wrong(step, f"expected a premise that derives a constraint, found "
                                  f"{premise.rule}")

    def derive(self, step):
        """What a step derives. The combinations below that have one parent are a tree, which
        is walked; the others are known already."""
        if step.derived is not None:
            return step.derived
        total, constant, strict, hypotheses = {}, 0, False, set()
        stack = [(1, step)]
        while stack:
            weight, node = stack.pop()
            derived = node.derived
            if derived is None:
                c, p, d, q = node.arguments
                stack += [(weight * c.constant, p), (weight * d.constant, q)]
                continue
            weight *= derived.factor
            add_scaled(total, weight, derived.sum)
            constant += weight * derived.constant
            strict = strict or derived.strict
            hypotheses.update(derived.open)
        step.derived = Derived(1, total, constant, strict, hypotheses)
        return step.derived

    def refuted(self, step, premise):
        """The open hypotheses of a premise that must be a refutation. A set that the caller
        may change if the premise has no other parent."""
        if premise.rule in LEMMAS:
            raise Wrong(step, f"expected a refutation, found the lemma {premise.rule}")
        if premise.rule in CONSTRAINTS and premise.open is None:
            derived = self.derive(premise)
            if not derived.is_contradiction:
                raise Wrong(premise, f"expected a contradiction, found {derived}")
            premise.open = set(derived.open)
        return premise.open if premise.parents < 2 else set(premise.open)

    def joined(self, step, left, closed_left, right, closed_right):
        """The open hypotheses of two refutations, but for one that is closed in each."""
        first, second = self.refuted(step, left), self.refuted(step, right)
        first.discard(closed_left)
        second.discard(closed_right)
        if len(first) < len(second):
            first, second = second, first
        first |= second
        return first

    # Refutations.

    def cases(self, step):
        """
                  a < b        a > b
                    :            :
             a != b  false     false
            ------------------------  a != b asserted
                     false
        """
        literal, below, above = self.arguments(step, "lss")
        if literal.relation != "!=":
            raise Wrong(step, f"expected a disequality, found {literal}")
        if literal.key() not in self.asserted:
            raise Wrong(step, f"expected a disequality that is asserted, found {literal}")
        step.open = self.joined(step, below, self.case(literal, -1),
                                above, self.case(literal, 1))

    def branches(self, step):
        """
             t <= c       c+1 <= t
               :             :
             false         false
            ----------------------  t of integer variables
                  false
        """
        low, left, high, right = self.arguments(step, "lsls")
        for literal in (low, high):
            if literal.relation != "<=" or not literal.is_integer:
                raise Wrong(step, "expected a branch on integer variables, <= or >=, found "
                                  f"{literal}")
        gap = combined([(-1, low.normal()), (-1, high.normal())])
        if gap.sum or gap.constant != -1:
            raise Wrong(step, f"expected branches t <= c and c + 1 <= t, found {low} and {high}")
        step.open = self.joined(step, left, low.key(), right, high.key())

    def cut(self, step):
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
        pairs = self.pairs(step, step.arguments[1:])
        if not pairs or pairs[-1][0] != 1 or not pairs[-1][1].is_inequality:
            raise Wrong(step, "expected a conclusion at the end, an inequality with number 1")
        hypotheses = []
        summands = []
        upward = pairs[-1][1].key() in self.right_branches
        for multiplier, literal in pairs:
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
            hypotheses += self.opened(step, literal.key(), normal)
        total = combined(summands)
        divisor = content(total.sum.values())
        if not divisor or k != divisor:
            raise Wrong(step, f"expected the common divisor of {sum_text(total.sum)}, found {k}")
        step.derived = Derived(1, {v: c // k for v, c in total.sum.items()},
                               total.constant // k, False, set(hypotheses))

    def equalities(self, step):
        """
             e1 = 0 .. en = 0
            ------------------  sum of mi*ei: integer coefficients of integer variables,
                  false         and a constant that is no integer
        """
        pairs = self.pairs(step, step.arguments)
        step.open = set()
        for multiplier, literal in pairs:
            if literal.relation != "=" or not literal.is_integer:
                raise Wrong(step, f"expected an equality of integers, found {literal}")
            if not multiplier:
                raise Wrong(step, "expected multipliers other than 0")
            step.open.update(self.opened(step, literal.key(), literal.normal()))
        total = combined([(m, literal.normal()) for m, literal in pairs])
        if any(c.denominator != 1 for c in total.sum.values()):
            raise Wrong(step, f"expected integer coefficients, found {sum_text(total.sum)}")
        if total.constant.denominator == 1:
            raise Wrong(step, f"expected a constant that is no integer, found {total.constant}")

    # Lemmas: clauses that hold whatever the values.

    def unit(self, step):
        """
            ---  l true without variables, or the definition of a floor
             l
        """
        (literal,) = self.arguments(step, "l")
        if literal.key() is not True and literal.key() not in self.definitions:
            raise Wrong(step, f"expected a literal that always holds, found {literal}")

    def split(self, step):
        """
            --------------------------  l1 and l2 contradict each other, or
             a = b  or not l1 or not l2   are a <= b and b <= a
        """
        equality, *halves = self.arguments(step, "lll")
        if equality.relation != "=" or not all(h.is_inequality for h in halves):
            raise Wrong(step, "expected an equality and two inequalities")
        expected = {Constraint("<=", equality.sum, equality.constant).key(),
                    Constraint("<", equality.sum, equality.constant).negated().key()}
        if {h.key() for h in halves} != expected:
            raise Wrong(step, f"expected the two sides of {equality}, found "
                              f"{halves[0]} and {halves[1]}")

    def branch_lemma(self, step):
        """
            ------------------------   ---------------------------------
             t <= c  or  c + 1 <= t     t <= c  or  c + 2 <= t  or  t = c + 1

        t of integer variables, the literals in any order. The two may overlap.
        """
        clause = self.arguments(step, "l" * max(2, len(step.arguments)))
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

RULES = {
    "la-hyp": Checker.hypothesis,
    "la-hyp-eq": Checker.half,
    "la-comb": Checker.combination,
    "la-neq": Checker.cases,
    "la-spliteq": Checker.split,
    "la-unit": Checker.unit,
    "la-branch-and-bound": Checker.branches,
    "la-branch-and-bound-lemma": Checker.branch_lemma,
    "la-dioph": Checker.equalities,
    "la-tight": Checker.cut,
}
