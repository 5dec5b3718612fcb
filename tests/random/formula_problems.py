"""Families of formulas with Boolean structure: over rationals, integers, both, differences,
and none of them.

Domains are small, so that about half of the checks are unsatisfiable. Assertions are dealt
to two to five groups, a sequence or a tree, or to the background; some stand twice, some are
`true` or `false`. A third of the problems push, pop and assume literals. Names bound by `let` tell
their sort as variables do: q0 is a formula, j0 an integer, y0 a real.
"""

from dataclasses import dataclass, field, replace

from opal_lab.formulas import declarations, integer_sum, linear, negation, number, numeral
from opal_lab.formulas import relation, symbols_in
from opal_lab.problems import MODES, TREES, Check, Problem, asserts, options
from reducer import smaller_formulas

LOCAL = {"p": "q", "i": "j", "x": "y"}
STRENGTHS = ("strong", "middle", "weak", "auto")


@dataclass
class FormulaProblem(Problem):
    """`commands` are ("assert", group or None, formula), ("push",), ("pop",) and ("check",
    literals to assume or None)."""

    commands: list = field(default_factory=list)
    queries: list = field(default_factory=list)  # (mode, cuts, strength, order)
    terms: list = field(default_factory=list)  # of which values are asked
    core: bool = False

    def texts(self):
        return [c[2] for c in self.commands if c[0] == "assert"] + self.terms + [
            literal for c in self.commands if c[0] == "check" for literal in c[1] or ()]

    def checks(self, flags):
        before = [f"(set-logic {self.logic})", *declarations(symbols_in(self.texts()))]
        result, levels, number_of = [], [[]], 0
        for command, *arguments in self.commands:
            if command == "assert":
                group, formula = arguments
                name = None if group is None else f"n{group}-{number_of}"
                number_of += 1
                levels[-1].append((group, name, formula))
                before += asserts([(name, formula)])
            elif command == "check":
                result.append(self.check(before, sum(levels, []), arguments[0], flags))
                before = []
            else:
                before.append(f"({command} 1)")
                levels = levels + [[]] if command == "push" else levels[:-1]
        return result

    def check(self, before, in_force, assumptions, flags):
        """With queries where nothing is assumed and each group has an assertion."""
        assertions = [(name, formula) for _, name, formula in in_force]
        queries = []
        groups = {group for group, _, _ in in_force} - {None}
        if assumptions is None and len(groups) == self.groups:
            for mode, cuts, strength, order in self.queries:
                strength = strength if "strength" in flags else None
                queries.append(options(mode, cuts, strength) +
                               [self.query([(g, n) for g, n, _ in in_force], order)])
        return Check(before, assertions, assumptions, queries, self.terms, self.core)

    def smaller(self):
        """Problems with less in them, those with much less first."""
        for fewer in self.with_fewer_commands():
            yield replace(self, commands=fewer)
        for i in range(len(self.queries)):
            yield replace(self, queries=self.queries[:i] + self.queries[i + 1:])
        for i in range(len(self.terms)):
            yield replace(self, terms=self.terms[:i] + self.terms[i + 1:])
        if self.core:
            yield replace(self, core=False)
        if self.tree:
            yield replace(self, tree="")
        elif self.groups > 2:
            for gone in range(1, self.groups):  # joins the one before it
                yield replace(self, groups=self.groups - 1, commands=[
                    (c[0], c[1] - (c[1] >= gone), c[2]) if c[0] == "assert" and c[1] else c
                    for c in self.commands])
        for i, (kind, *rest) in enumerate(self.commands):
            if kind == "assert":
                group, whole = rest
                for changed in with_one(self.commands, i, (
                        ("assert", group, formula) for formula in smaller_formulas(whole))):
                    yield replace(self, commands=changed)
        for i, term in enumerate(self.terms):
            for changed in with_one(self.terms, i, smaller_formulas(term)):
                yield replace(self, terms=changed)

    def with_fewer_commands(self):
        for i, command in enumerate(self.commands):
            rest = self.commands[i + 1:]
            if command[0] == "push":  # with its pop
                depth, end = 1, 0
                while end < len(rest) and depth:
                    depth += {"push": 1, "pop": -1}.get(rest[end][0], 0)
                    end += 1
                rest = rest[:end - (not depth)] + rest[end:]
            if command[0] != "pop":
                yield self.commands[:i] + rest
            if command[0] == "check" and command[1]:
                for k in range(len(command[1])):
                    fewer = ("check", command[1][:k] + command[1][k + 1:])
                    yield self.commands[:i] + [fewer] + rest


def with_one(items, i, others):
    """The lists with another item at a place."""
    return (items[:i] + [other] + items[i + 1:] for other in others)


class Drawing:
    """Draws formulas over some variables; `variables` has those in scope, by the letter of
    their sort."""

    def __init__(self, rng, logic, variables):
        self.rng, self.logic, self.variables = rng, logic, variables
        self.drawn = []  # formulas without free local names, to be used again
        self.open_lets = 0

    def numeric(self):
        return [letter for letter in "ix" if self.variables[letter]]

    def letter(self):
        return self.rng.choice(self.numeric())

    # Formulas.

    def literal(self):
        atom = self.atom(0)
        return negation(atom) if self.rng.random() < 0.4 else atom

    def atom(self, depth):
        rng = self.rng
        if not self.numeric() or rng.random() < 0.35:
            return rng.choice(self.variables["p"])
        letter = self.letter()
        text = number if letter == "x" else numeral
        op = rng.choice(["<=", "<", ">=", ">", "=", "distinct"])
        if self.logic in ("QF_RDL", "QF_IDL"):
            a, b = (self.operand(letter, depth) for _ in range(2))
            if rng.random() < 0.2:
                return relation(rng, op, a, b)
            return relation(rng, op, f"(- {a} {b})", text(rng.randint(-2, 2)))
        kind = rng.random()
        if self.logic == "QF_LIRA" and letter == "x" and kind < 0.15:
            return f"(is_int {self.term('x', depth)})"
        if self.logic != "QF_LRA" and letter == "i" and kind < 0.1:
            return f"((_ divisible {rng.randint(2, 3)}) {self.term('i', depth)})"
        if kind < 0.2:  # a chain
            terms = " ".join(self.term(letter, 0) for _ in range(3))
            return f"({op} {terms})"
        if kind < 0.5:
            return relation(rng, op, self.term(letter, depth), self.term(letter, depth))
        return relation(rng, op, self.term(letter, depth), text(rng.randint(-3, 3)))

    def formula(self, depth):
        rng = self.rng
        if self.drawn and rng.random() < 0.1:
            return rng.choice(self.drawn)
        if depth == 0 or rng.random() < 0.15:
            return self.literal()
        kind = rng.choice(["and", "and", "or", "or", "or", "not", "=>", "xor", "=", "distinct",
                           "ite", "let", "atom", "atom"])
        if kind == "atom":
            result = self.atom(depth)
        elif kind == "let":
            result = self.let("p", depth)
        else:
            counts = {"not": (1, 1), "ite": (3, 3), "distinct": (2, 2), "and": (1, 4),
                      "or": (1, 4)}
            count = rng.randint(*counts.get(kind, (2, 3)))
            operands = [self.formula(depth - 1) for _ in range(count)]
            result = f"({kind} {' '.join(operands)})"
        if not self.open_lets and len(result) < 300:
            self.drawn.append(result)
        return result

    def let(self, letter, depth):
        """A formula or term under one or two bound names, which may hide others."""
        rng = self.rng
        letters = [rng.choice(["p", "p", *self.numeric()]) for _ in range(rng.randint(1, 2))]
        names = list({f"{LOCAL[l]}{rng.randint(0, 2)}": l for l in letters}.items())
        self.open_lets += 1
        bound = [self.of_sort(l, depth - 1) for _, l in names]
        outside = {l: list(vs) for l, vs in self.variables.items()}
        for name, l in names:
            self.variables[l] += [name] * 2  # likelier than others
        body = self.of_sort(letter, depth - 1)
        self.variables = outside
        self.open_lets -= 1
        bindings = " ".join(f"({name} {value})" for (name, _), value in zip(names, bound))
        return f"(let ({bindings}) {body})"

    def of_sort(self, letter, depth):
        return self.formula(max(depth, 0)) if letter == "p" else self.operand(letter, depth)

    # Terms.

    def operand(self, letter, depth):
        """A variable, or one of two by a condition."""
        if depth > 0 and self.rng.random() < 0.3:
            yes, no = (self.operand(letter, depth - 1) for _ in range(2))
            return f"(ite {self.formula(depth - 1)} {yes} {no})"
        return self.rng.choice(self.variables[letter])

    def term(self, letter, depth):
        rng = self.rng
        kind = rng.random()
        if depth > 0 and kind < 0.1:
            return self.let(letter, depth)
        if depth > 0 and kind < 0.3:
            yes, no = (self.term(letter, depth - 1) for _ in range(2))
            return f"(ite {self.formula(depth - 1)} {yes} {no})"
        if kind < 0.4 and letter == "x" and self.logic == "QF_LIRA":
            return f"(to_real {self.term('i', depth - 1)})"
        if kind < 0.4 and letter == "i" and self.logic in ("QF_LIA", "QF_LIRA"):
            if self.logic == "QF_LIRA":
                return f"(to_int {self.operand('x', depth - 1)})"
            return f"({rng.choice(['div', 'mod'])} {self.operand('i', depth - 1)} " \
                   f"{numeral(rng.choice([2, 2, 3, -2]))})"
        if kind < 0.5:
            return (number if letter == "x" else numeral)(rng.randint(-2, 2))
        row = [(self.operand(letter, depth - 1), rng.choice([1, 1, 1, -1, 2, -2, 3]))
               for _ in range(rng.randint(1, 2))]
        return (linear if letter == "x" else integer_sum)(row)

    def box(self, least, greatest):
        """Bounds on the variables, each a formula."""
        for letter in self.numeric():
            text = number if letter == "x" else numeral
            if self.logic in ("QF_RDL", "QF_IDL"):
                first, *others = self.variables[letter]
                spans = [f"(- {v} {first})" for v in others]
            else:
                spans = self.variables[letter]
            for span in spans:
                yield f"(and (<= {text(least)} {span}) (<= {span} {text(greatest)}))"


def assertions_of(rng, drawing):
    """What a problem asserts: clauses of literals, or deep formulas, or both."""
    atoms = sum(map(len, drawing.variables.values()))
    clauses = rng.choice([0, atoms, atoms, 2 * atoms])
    for _ in range(clauses):
        literals = [drawing.literal() for _ in range(rng.choice([1, 2, 2, 3, 3, 3]))]
        yield literals[0] if len(literals) == 1 else f"(or {' '.join(literals)})"
    for _ in range(rng.randint(0 if clauses else 3, 3 if clauses else 8)):
        yield drawing.formula(rng.randint(1, 3))


def dealt(rng, problem, formulas):
    """Assertions in groups or the background, some of them twice, and trivial ones."""
    in_blocks, last = rng.random() < 0.5, problem.groups - 1
    background = rng.choice([0, 0, 0.1, 0.3])
    result = []
    for i, formula in enumerate(formulas):
        group = i * problem.groups // len(formulas) if in_blocks else rng.randint(0, last)
        result.append((None if rng.random() < background else group, formula))
    for _ in range(rng.choice([0, 0, 0, 1, 2])):
        trivial = "false" if rng.random() < 0.1 else "true"
        formula = rng.choice(formulas) if rng.random() < 0.6 else trivial
        result.append((rng.choice([None, *range(problem.groups)]), formula))
    result += [(g, "true") for g in range(problem.groups) if g not in {g for g, _ in result}]
    return [("assert", group, formula) for group, formula in result]


def with_levels(rng, problem, drawing, commands):
    """The commands with pushes, pops and assumptions among the last of them."""
    kept = len(commands) - rng.randint(0, len(commands) // 2)
    result, depth = commands[:kept], 0
    for command in commands[kept:] + [None]:
        if rng.random() < 0.4 or command is None:
            assumed = [drawing.literal() for _ in range(rng.randint(1, 4))]
            result.append(("check", assumed if rng.random() < 0.4 else None))
        kind = rng.random()
        if kind < 0.4:
            result.append(("push",))
            depth += 1
        elif kind < 0.6 and depth:
            result.append(("pop",))
            depth -= 1
        if command:
            result.append(command)
    return result + [("pop",)] * depth + [("check", None)]


def family(name, logics, integers=0, reals=0):
    def draw(rng):
        logic = rng.choice(logics)
        count = {"p": rng.randint(1, 4) if integers + reals else rng.randint(3, 9),
                 "i": rng.randint(2, 3) if integers else 0,
                 "x": rng.randint(2, 3) if reals else 0}
        drawing = Drawing(rng, logic, {l: [f"{l}{k}" for k in range(n)]
                                       for l, n in count.items()})
        groups = rng.choice([2, 2, 2, 3, 4, 5])
        problem = FormulaProblem(name, logic, groups=groups, core=rng.random() < 0.5)
        formulas = list(assertions_of(rng, drawing))
        boxed = rng.random() < 0.8
        if boxed:
            formulas += drawing.box(rng.randint(-2, 0), rng.randint(1, 2))
        problem.bounded = boxed or not integers or logic == "QF_IDL"
        rng.shuffle(formulas)
        if groups > 2 and rng.random() < 0.4:
            problem.tree = TREES[groups]
        commands = dealt(rng, problem, formulas)
        many_levels = rng.random() < 0.33
        if many_levels and integers:
            problem.bounded = False  # a check may come before the bounds
        problem.commands = (with_levels(rng, problem, drawing, commands) if many_levels
                            else commands + [("check", None)])
        problem.terms = [drawing.of_sort(rng.choice(["p", *drawing.numeric()]), 2)
                         for _ in range(rng.randint(0, 2))]
        problem.queries = [query(rng, problem) for _ in range(rng.randint(1, 3))]
        return problem

    return draw


def query(rng, problem):
    """A way to ask for interpolants that the tool does not refuse."""
    modes = [*(MODES[:2] if problem.tree else MODES), "auto"]
    cuts = ["floor", "auto"] + ["modular"] * (problem.groups == 2)
    strengths = [s for s in STRENGTHS if s != "weak" or not problem.tree]
    order = "G1 G0" if problem.groups == 2 and rng.random() < 0.4 else ""
    return (rng.choice(modes), None if problem.rational() else rng.choice(cuts),
            rng.choice(strengths), order)


FAMILIES = {
    "bool-alone": family("bool-alone", ["QF_UF", "QF_LRA", "QF_LIA"]),
    "bool-rational": family("bool-rational", ["QF_LRA"], reals=1),
    "bool-integer": family("bool-integer", ["QF_LIA"], integers=1),
    "bool-mixed": family("bool-mixed", ["QF_LIRA"], integers=1, reals=1),
    "bool-real-differences": family("bool-real-differences", ["QF_RDL"], reals=1),
    "bool-integer-differences": family("bool-integer-differences", ["QF_IDL"], integers=1),
}
