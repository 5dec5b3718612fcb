"""Carries the rules out, step by step, and keeps which hypotheses are open."""

from .linear import add_scaled
from .rules import RULES
from .rules.steps import CONSTRAINTS, LEMMAS, Derived, Wrong, literal_of


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

    def _find_right_branches(self, steps):
        for step in steps:
            if step.rule == "la-branch-and-bound" and len(step.arguments) == 4:
                self.right_branches.add(literal_of(step, 3, step.arguments[2]).key())
        self.right_branches -= self.asserted

    def opened(self, step, key, constraint):
        """The open hypotheses of a literal: none if it holds, else the key itself."""
        if key in self.asserted or key in self.definitions:
            return ()
        self.users.setdefault(key, (step, constraint))
        return (key,)

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
