"""Proves or refutes safety of transition systems by interpolation.

The algorithm is that of McMillan, "Interpolation and SAT-based model checking" (2003). R is
what is known to be reachable, at first the initial states. A step from R, and no bad state
within the next k moments after it, contradict each other or they do not:

    R(s0) and trans(s0, s1)     |     bad(s1) or trans(s1, s2) and (bad(s2) or ...)

If they do, the interpolant is a formula over s1 alone. It holds wherever one step leads from
R, and is far enough from bad states; it joins R. When it adds nothing to R, then R is an
invariant. When there is no contradiction, and R is still the initial states, the model is a
path to a bad state. With a larger R it may be no path; then k grows and R starts again.
"""

from dataclasses import dataclass
from types import SimpleNamespace
from typing import Callable, Dict

from opal import LimitReached, Session
from predicates import Predicate, any_of


@dataclass(frozen=True)
class System:
    """Variables with their sorts (Bool, Int, Real), and formulas over states, whose
    attributes the variables are."""

    name: str
    variables: Dict[str, str]
    init: Callable
    trans: Callable
    bad: Callable
    safe: bool = True


@dataclass(frozen=True)
class Answer:
    """An invariant, or a path to a bad state (a list of values of all variables), or neither
    where the search gave up; the depth k and the number of interpolants it took."""

    invariant: Predicate = None
    path: list = None
    depth: int = 0
    interpolants: int = 0


class Search:
    """The search of one system. Every question is put to the same session."""

    DEPTHS, ROUNDS = 12, 12

    def __init__(self, system, timeout=10):
        self.system, self.session = system, Session(timeout=timeout)
        self.states, self.interpolants = [], 0

    def state(self, moment):
        """The variables as they are at a moment."""
        makers = {"Bool": self.session.bool, "Int": self.session.integer,
                  "Real": self.session.real}
        while len(self.states) <= moment:
            self.states.append(SimpleNamespace(**{
                name: makers[sort](f"{name}@{len(self.states)}")
                for name, sort in self.system.variables.items()}))
        return self.states[moment]

    def possible(self, **groups):
        """Whether formulas, each in a group of its name, have a common model."""
        self.session.reset()
        for group, formula in groups.items():
            self.session.add(group, formula)
        verdict = self.session.check()
        if verdict == "unknown":
            raise LimitReached(self.session.reason_unknown)
        return verdict == "sat"

    def run(self):
        """The answer. Raises LimitReached when a question takes too long."""
        if self.possible(init=self.system.init(self.state(0)), bad=self.system.bad(self.state(0))):
            return Answer(path=self.path(0))
        for depth in range(1, self.DEPTHS + 1):
            answer = self.reach(depth)
            if answer:
                return answer
        return Answer(depth=self.DEPTHS, interpolants=self.interpolants)

    def reach(self, depth):
        """The answer, if k = depth is enough for one."""
        reached, (now, then) = [self.system.init], (self.state(0), self.state(1))
        while len(reached) <= self.ROUNDS:
            step = any_of(reached, now) & self.system.trans(now, then)
            if self.possible(step=step, rest=self.bad_within(1, depth)):
                return Answer(None, self.path(depth), depth, self.interpolants) \
                    if len(reached) == 1 else None
            self.interpolants += 1
            new = Predicate(self.session.interpolant("step", "rest"), 1)
            if self.is_invariant(new):
                return Answer(new, None, depth, self.interpolants)
            if not self.possible(new=new(then), old=~any_of(reached, then)):
                found = Predicate(any_of(self.needed(reached), now), 0)
                return Answer(found, None, depth, self.interpolants)
            reached.append(new)
        return None

    def bad_within(self, first, last):
        """That a bad state is met at one of these moments, reached from the first one."""
        formula = self.system.bad(self.state(last))
        for k in range(last - 1, first - 1, -1):
            formula = self.system.bad(self.state(k)) | (
                self.system.trans(self.state(k), self.state(k + 1)) & formula)
        return formula

    def is_invariant(self, p):
        """Whether an interpolant, which no bad state satisfies, is an invariant by itself."""
        now, then = self.state(0), self.state(1)
        return not self.possible(init=self.system.init(now), out=~p(now)) and not self.possible(
            step=p(now) & self.system.trans(now, then), out=~p(then))

    def needed(self, parts):
        """Some of the parts of a disjunction, equivalent to all."""
        now, parts = self.state(0), list(parts)
        for part in list(parts):
            others = [p for p in parts if p is not part]
            if others and not self.possible(this=part(now), others=~any_of(others, now)):
                parts = others
        return parts

    def path(self, last):
        """The states of the model, until the first bad one."""
        value, states = self.session.value, []
        for state in self.states[:last + 1]:
            states.append({name: value(term) for name, term in vars(state).items()})
            if value(self.system.bad(state)):
                break
        return states
