"""Carries the rules out, step by step, and keeps which hypotheses are open."""

from .linear import add_scaled
from .reader import Step
from .rules import RULES
from .rules.clauses import CLAUSES, denials
from .rules.steps import CONSTRAINTS, LEMMAS, Derived, Wrong, literal_of, step_of


class Scope:
    """What holds for a step: the keys of literals, and those of the branches `c <= t`."""

    def __init__(self, keys):
        self.keys, self.right_branches = keys, set()


class Checker:
    """Checks the steps of one proof against what a check asserts."""

    def __init__(self, check, variables):
        self.asserted, self.definitions = Scope(check.keys), variables.definitions
        self.formulas, self._assertions = variables.formulas, check.formulas
        self._facts = {}  # of assertions, by number
        self.users = {}  # of an open hypothesis, the first step that uses it, and its constraint

    @property
    def assertion_count(self):
        return len(self._assertions)

    def facts_of(self, number):
        """The literals whose conjunction an assertion is."""
        if number not in self._facts:
            literal = self.formulas.literal(self._assertions[number - 1])
            self._facts[number] = self.formulas.conjuncts(literal)
        return self._facts[number]

    def check(self, steps):
        """Whether the last of the steps is a lemma; a refutation otherwise. Throws Wrong."""
        root = steps[-1]
        self._find_scopes(steps)
        for step in steps:
            RULES[step.rule](self, step)
            if step.rule == "la-comb" and step.parents > 1:
                self.derive(step)
        if root.rule in CLAUSES:
            if root.clause:
                raise Wrong(root, "expected the empty clause, found one of "
                                  f"{len(root.clause)} literals")
        elif root.rule not in LEMMAS:
            self.expect_closed(self.refuted(root, root))
        return root.rule in LEMMAS

    def expect_closed(self, hypotheses):
        for hypothesis in hypotheses:
            user, constraint = self.users[hypothesis]
            raise Wrong(user, f"expected a literal that is asserted, a branch or case above, "
                              f"or the definition of a floor, found {constraint}")

    def _find_scopes(self, steps):
        """The steps below a lemma are in a scope of its own, with its premises."""
        for step in steps:
            step.scope = self.asserted
            if step.rule == "cl-lemma" and step.arguments:
                scope = Scope(denials(step))
                self._enter(step, step_of(step, 1, step.arguments[0]), scope)
        for step in steps:
            if step.rule != "cl-lemma" and any(
                    isinstance(premise, Step) and premise.scope is not step.scope
                    for premise in step.arguments):
                raise Wrong(step, "expected no premise from the proof of a lemma")
            if step.rule == "la-branch-and-bound" and len(step.arguments) == 4:
                right = literal_of(step, 3, step.arguments[2]).key()
                if right not in step.scope.keys:
                    step.scope.right_branches.add(right)

    def _enter(self, lemma, premise, scope):
        stack = [premise]
        while stack:
            step = stack.pop()
            if step.scope is scope:
                continue
            if step.scope is not self.asserted or step.rule in CLAUSES:
                raise Wrong(lemma, "expected a proof of arithmetic that no other lemma has")
            step.scope = scope
            stack += [part for part in step.arguments if isinstance(part, Step)]

    def opened(self, step, key, constraint):
        """The open hypotheses of a literal: none if it holds, else the key itself."""
        if key in step.scope.keys or key in self.definitions:
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
        if premise.rule in LEMMAS or premise.rule in CLAUSES:
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
