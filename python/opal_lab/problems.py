"""Problems of linear arithmetic, in groups, and the scripts that ask about them.

A family is a function from a random generator to a Problem; what is satisfiable is for
others to find out. The families stand in rational_problems.py, integer_problems.py,
mixed_problems.py and formula_problems.py.
"""

import re
from dataclasses import dataclass, field, replace

from .formulas import declarations, decision, symbols_in

TREES = {3: "G0 (G1) G2", 4: "G0 G1 (G2) G3", 5: "G0 G1 (G2 G3) G4"}
MODES = ("sum", "conj", "dual")


@dataclass
class Problem:
    """Assertions with the group that each belongs to (None: shared background)."""

    family: str
    logic: str = "QF_LRA"
    assertions: list = field(default_factory=list)  # (group or None, formula)
    groups: int = 2
    tree: str = ""  # how get-interpolants is asked; "" for the sequence of all groups
    bounded: bool = True  # whether `unknown` is no answer to it

    def add(self, group, formula):
        self.assertions.append((group, formula))

    def in_group(self, group):
        return [f for g, f in self.assertions if g == group]

    def rational(self):
        return self.logic in ("QF_LRA", "QF_RDL")

    def header(self):
        formulas = [f for _, f in self.assertions]
        return [f"(set-logic {self.logic})", *declarations(symbols_in(formulas))]

    def to_decide(self):
        return decision([f for _, f in self.assertions], logic=self.logic)

    def named(self):
        """The (name or None, formula) pairs of the assertions, and the (group, name) pairs of
        those that have one: nG-K is the K-th of group G."""
        counts, assertions, names = {}, [], []
        for group, formula in self.assertions:
            name = None
            if group is not None:
                counts[group] = counts.get(group, -1) + 1
                name = f"n{group}-{counts[group]}"
                names.append((group, name))
            assertions.append((name, formula))
        return assertions, names

    def to_interpolate(self, mode="auto", cuts=None):
        assertions, names = self.named()
        lines = ["(set-option :produce-interpolants true)", *options(mode, cuts), *self.header(),
                 *asserts(assertions), "(check-sat)", self.query(names)]
        return "\n".join(lines) + "\n"

    def query(self, names, order=""):
        """The command that asks for interpolants of the groups in an order, of the assertions
        with these (group, name) pairs."""
        order = order or self.tree or " ".join(f"G{g}" for g in range(self.groups))

        def together(group):
            mine = [name for g, name in names if g == int(group[1])]
            return mine[0] if len(mine) == 1 else f"(and {' '.join(mine)})"

        return f"(get-interpolants {re.sub(r'G([0-9]+)', together, order)})"

    def checks(self, flags):
        """What a differential test asks, in order, of a tool that has these flags."""
        assertions, names = self.named()
        queries = [options(mode, cuts) + [self.query(names, order)]
                   for mode, cuts, order in self.ways()]
        return [Check([*self.header(), *asserts(assertions)], assertions, queries=queries)]

    def ways(self):
        """The ways in which interpolants are asked: (mode, cuts, order)."""
        modes = MODES[:2] if self.tree else MODES
        asked = [(mode, None) for mode in (*modes, "auto")]
        if not self.rational():
            styles = ["modular", "floor"] if self.groups == 2 else ["floor"]
            asked = [(mode, cuts) for cuts in styles for mode in modes] + [("auto", "auto")]
            if self.groups > 2:
                asked.append(("conj", "auto"))
        orders = ["", "G1 G0"] if self.groups == 2 else [""]
        return [(mode, cuts, order) for order in orders for mode, cuts in asked]

    def smaller(self):
        """The same with fewer assertions, as long as each group keeps one."""
        for i, (group, _) in enumerate(self.assertions):
            if group is None or len(self.in_group(group)) > 1:
                yield replace(self, assertions=self.assertions[:i] + self.assertions[i + 1:])


@dataclass
class Check:
    """A check-sat, with the commands before it that have no answer, the assertions in force
    by name, literals to assume, and what is asked after it. A query for interpolants is lines
    of which only the last has an answer."""

    before: list
    assertions: list
    assumptions: list = None
    queries: list = field(default_factory=list)
    terms: list = field(default_factory=list)  # of which values are asked
    core: bool = False  # whether an unsatisfiable core is asked for

    def formulas(self):
        return [f for _, f in self.assertions] + (self.assumptions or [])

    def commands(self):
        """The commands that are answered, each with what stands before it; the check first."""
        check = "(check-sat)"
        if self.assumptions is not None:
            check = f"(check-sat-assuming ({' '.join(self.assumptions)}))"
        asked = ["(get-model)"]
        if self.terms:
            asked.append(f"(get-value ({' '.join(self.terms)}))")
        if self.core:
            asked.append("(get-unsat-core)")
        if self.core and self.assumptions:
            asked.append("(get-unsat-assumptions)")
        return ["\n".join([*self.before, check]), *asked, *map("\n".join, self.queries)]


def options(mode=None, cuts=None, strength=None):
    return [f"(set-option :opal-{name} {value})" for name, value in
            (("mode", mode), ("cuts", cuts), ("strength", strength)) if value]


def asserts(assertions):
    return [f"(assert {f})" if name is None else f"(assert (! {f} :named {name}))"
            for name, f in assertions]


def split(rng, problem, formulas, background=0.1, filler="(<= x0 x0)"):
    """Deals the formulas to the groups: in blocks, or one by one."""
    last = problem.groups - 1
    in_blocks = rng.random() < 0.5
    for i, formula in enumerate(formulas):
        group = i * problem.groups // len(formulas) if in_blocks else rng.randint(0, last)
        problem.add(None if rng.random() < background else group, formula)
    if rng.random() < 0.2:  # the same formula on both sides, or it and its negation
        group, formula = rng.choice(problem.assertions)
        problem.add(rng.randint(0, last), formula)
        if rng.random() < 0.3:
            problem.add(rng.randint(0, last), f"(not {formula})")
    fill(problem, filler)


def fill(problem, filler):
    """No group is empty."""
    for group in range(problem.groups):
        if not problem.in_group(group):
            problem.add(group, filler)


def dealt_to_tree(rng, problem, filler="(<= x0 x0)"):
    """The problem's formulas, dealt anew to a tree of three to five groups."""
    problem.groups = rng.randint(3, 5)
    problem.assertions = [(None if g is None else rng.randint(0, problem.groups - 1), f)
                          for g, f in problem.assertions]
    fill(problem, filler)
    problem.tree = TREES[problem.groups]
    return problem
