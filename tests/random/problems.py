"""Random problems of linear arithmetic, in groups, by family.

A family is a function from a random generator to a Problem; what is satisfiable is for
others to find out. The families stand in rational_problems.py, integer_problems.py and
mixed_problems.py.
"""

from dataclasses import dataclass, field, replace

TREES = {3: "G0 (G1) G2", 4: "G0 G1 (G2) G3", 5: "G0 G1 (G2 G3) G4"}


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

    def with_assertions(self, assertions):
        return replace(self, assertions=list(assertions))


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
