"""Changed proofs, and an outside solver's verdict on those that are accepted."""

from fractions import Fraction
from math import lcm

from opal_check_proof.formulas import literals
from opal_lab import sexpr
from opal_lab.formulas import decision, negation, number, numeral
from opal_lab.judges import ask_cvc5, ask_z3_about
from opal_lab.sexpr import expanded, is_number

RULES = ["la-hyp", "la-hyp-eq", "la-comb", "la-neq", "la-spliteq", "la-unit",
         "la-branch-and-bound", "la-branch-and-bound-lemma", "la-dioph", "la-tight",
         "cl-input", "cl-lemma", "cl-resolve"]
RELATIONS = {"<=", "<", ">=", ">", "=", "distinct"}
OTHER_STRICTNESS = {"<=": "<", "<": "<=", ">=": ">", ">": ">="}


def is_literal(e):
    return isinstance(e, list) and bool(e) and (
        isinstance(e[0], str) and e[0] in RELATIONS or
        e[0] == "not" and isinstance(e[1], list) and e[1][0] == "=")


def is_step(e):
    return isinstance(e, list) and bool(e) and e[0] in RULES


def places(root):
    """The (parent, position) of every part of an S-expression."""
    stack = [root]
    while stack:
        parent = stack.pop()
        for i, child in enumerate(parent):
            yield parent, i
            if isinstance(child, list):
                stack.append(child)


def replacements(e, parent, others):
    """What may stand in place of a part of a proof, to be tried one by one."""
    if is_number(e) and not is_number(parent):
        decimal = ".0" if "." in sexpr.show(e) else ""
        yield from (["+", e, "1" + decimal], ["-", e], "0" + decimal, ["+", e, e])
    if is_literal(e) and not is_literal(parent):
        yield ["not", e]
        if e[0] in OTHER_STRICTNESS:
            yield [OTHER_STRICTNESS[e[0]]] + e[1:]
            yield [e[0]] + e[:0:-1]
        yield from others
    if is_step(e):
        yield from ([rule] + e[1:] for rule in RULES if rule != e[0])
        yield from (e[:i] + e[i + 1:] for i in range(1, len(e)))
        yield from (e[:i] + [e[i + 1], e[i]] + e[i + 2:] for i in range(1, len(e) - 1))


def mutants(text):
    """The texts of all proofs that differ from one in a number, a literal, a child or a
    rule."""
    root = [sexpr.parse_all(text)[0]]
    literals = [p[i] for p, i in places(root) if is_literal(p[i]) and not is_literal(p)]
    seen = {sexpr.show(root[0])}
    for parent, i in list(places(root)):
        original = parent[i]
        for changed in replacements(original, parent, literals):
            parent[i] = changed
            text = sexpr.show(root[0])
            if text not in seen:
                seen.add(text)
                yield text
        parent[i] = original


def value(e):
    """The number that a part of a proof says."""
    if isinstance(e, str):
        return Fraction(e)
    numbers = [value(part) for part in e[1:]]
    if e[0] == "-":
        return -numbers[0] if len(numbers) == 1 else numbers[0] - numbers[1]
    return numbers[0] / numbers[1] if e[0] == "/" else numbers[0] + numbers[1]


def exact_text(variable):
    """A variable as a Real term of the problem."""
    return f"(to_real {integer_text(variable)})" if variable.is_int else f"|{variable.name}|"


def integer_text(variable):
    """An integer variable as a term. A floor is a division where it can be, which z3 knows
    more about."""
    if variable.argument is None:
        return f"|{variable.name}|"
    coefficients, constant = variable.argument
    if not all(v.is_int for v in coefficients):
        return f"(to_int {polynomial(coefficients, constant)})"
    k = lcm(*(c.denominator for c in [constant, *coefficients.values()]))
    parts = [f"(* {numeral(c * k)} {integer_text(v)})" for v, c in coefficients.items()]
    return f"(div (+ 0 {' '.join(parts)} {numeral(constant * k)}) {k})"


def polynomial(coefficients, constant, name=exact_text, weight=1):
    parts = [f"(* {number(weight * c)} {name(v)})" for v, c in coefficients.items()]
    return f"(+ 0.0 {' '.join(parts)} {number(weight * constant)})"


def derived_text(derived, name=exact_text, weight=1):
    """What a step derives, as a term, with a weight."""
    return polynomial(derived.sum, derived.constant, name, weight * derived.factor)


def relaxed(variable):
    """A variable of the relaxation over the reals."""
    return f"r{variable.index}"


class Judge:
    """Asks z3 about an accepted proof, step by step, and cvc5 about what z3 leaves open.

    A literal that a step brings in must be equivalent to an asserted one or to one of a
    branch above, or be valid. What the checker says that it is must follow. From there on
    only the numbers in the proof's text count: the weighted sum of what the leaves derive
    must be impossible over the reals; a cut's conclusion must be what its sum rounds to; a
    sum of equalities must be no integer for all integers.

    A clause must follow from all assertions, or be a lemma; z3 says which literals of two
    clauses are resolved, if their texts do not."""

    def __init__(self, declarations, asserted):
        self.declarations, self.asserted = declarations, asserted  # texts
        self.groups = []  # of each group, one list of formulas must be unsatisfiable
        self.indices = set()  # of relaxed variables

    def confirms(self, text, root):
        """Whether z3 confirms every step of a proof, given as text and as it was read."""
        self.groups, self.indices = [], set()
        e = expanded(sexpr.parse_all(text)[0])
        clauses = {"la-unit": 0, "la-branch-and-bound-lemma": 0, "la-spliteq": 2}
        if e[0] in clauses:
            literals = [sexpr.show(literal) for literal in e[1:]]
            count = len(literals) - clauses[e[0]]
            self.ask([negation(x) for x in literals[:count]] + literals[count:])
        elif e[0].startswith("cl-"):
            if self.clause(e, root) != set():
                return False
        else:
            self.refutation(e, root, [])
        return self.answer()

    def clause(self, e, root):
        """The literals of a clause, as texts; None where a pivot is missing. Children
        first, each once."""
        clauses, stack = {}, [(e, root)]
        while stack:
            e, step = stack[-1]
            missing = [(part, value) for part, value in zip(e[1:], step.arguments)
                       if e[0] == "cl-resolve" and part[0] in RULES and id(part) not in clauses]
            if missing:
                stack += missing
                continue
            stack.pop()
            if e[0] == "cl-resolve":
                found = self.resolvent([part if part[0] not in RULES else clauses[id(part)]
                                        for part in e[1:]])
                if found is None:
                    return None
            else:
                found = {sexpr.show(literal) for literal in e[2:]}
                denied = [negation(literal) for literal in found]
                self.ask(denied + (self.asserted if e[0] == "cl-input" else []))
                if e[0] == "cl-lemma":
                    self.refutation(e[1], step.arguments[0], denied)
            clauses[id(e)] = found
        return clauses[id(e)]

    def resolvent(self, parts):
        clause = parts[0]
        for pivot, other in zip(parts[1::2], parts[2::2]):
            pivot = sexpr.show(pivot)
            left = {l for l in clause if not self.are_equal(l, negation(pivot))}
            right = {l for l in other if not self.are_equal(l, pivot)}
            if left == clause and right == other:
                return None
            clause = clause if left == clause else other if right == other else left | right
        return clause

    def are_equal(self, a, b):
        return a == b or ask_z3_about(
            self.names(), [[f"(distinct {a} {b})"]], 1)[0] == "unsat"

    def ask(self, *alternatives):
        self.groups.append(alternatives)

    def answer(self):
        answers = iter(ask_z3_about(self.names(), [f for group in self.groups for f in group], 1))
        for group in self.groups:
            said = [next(answers) for _ in group]
            if "unsat" not in said and not any(
                    verdict == "unknown" and
                    ask_cvc5(decision(formulas, self.names()), 5) == "unsat"
                    for verdict, formulas in zip(said, group)):
                return False
        return True

    def names(self):
        relaxed = [f"(declare-const r{i} Real)" for i in sorted(self.indices)]
        return self.declarations + ["(declare-const k! Int)"] + relaxed

    def literal(self, text, above):
        """One that a step brings in."""
        self.ask([negation(text)], *([f"(distinct {text} {other})"]
                                   for other in self.asserted + above))

    def normal(self, text, constraint):
        """The normal form that the checker gives to a literal."""
        normal = constraint.normal()
        relation = "distinct" if normal.relation == "!=" else normal.relation
        said = f"({relation} {polynomial(normal.sum, normal.constant)} 0.0)"
        self.ask([f"(distinct {text} {said})"])
        return normal

    def refutation(self, e, step, above):
        rule, arguments = e[0], step.arguments
        if rule in ("la-neq", "la-branch-and-bound"):
            if rule == "la-neq":
                literal = e[1][1] if e[1][0] == "not" else e[1]
                left, right = (sexpr.show([r] + literal[1:]) for r in "<>")
                self.literal(sexpr.show(e[1]), above)
                cases = (e[2], arguments[1]), (e[3], arguments[2])
            else:
                left, right = sexpr.show(e[1]), sexpr.show(e[3])
                self.ask([negation(left), negation(right)])
                cases = (e[2], arguments[1]), (e[4], arguments[3])
            self.refutation(*cases[0], above + [left])
            self.refutation(*cases[1], above + [right])
        elif rule == "la-dioph":
            total = self.premises(e[1:], arguments, above)
            terms = [polynomial(n.sum, n.constant, weight=m) for m, n in total]
            self.ask([f"(= (to_real k!) (+ 0.0 {' '.join(terms)}))"])
        else:
            leaves = self.leaves(e, step, above)
            terms = [derived_text(d, self.relax, w) for w, d in leaves]
            relation = ">" if any(d.strict for _, d in leaves) else ">="
            self.ask([f"({relation} (+ 0.0 {' '.join(terms)}) 0.0)"])

    def relax(self, variable):
        self.indices.add(variable.index)
        return relaxed(variable)

    def premises(self, pairs, arguments, above):
        result = []
        for i in range(0, len(pairs), 2):
            text = sexpr.show(pairs[i + 1])
            self.literal(text, above)
            (constraint,) = literals(arguments[i + 1])
            result.append((value(pairs[i]), self.normal(text, constraint)))
        return result

    def leaves(self, e, step, above):
        """The (weight, derived) pairs that a combination sums up, after their checks."""
        if e[0] == "la-comb":
            return [(value(e[i]) * w, d) for i in (1, 3)
                    for w, d in self.leaves(e[i + 1], step.arguments[i], above)]
        if e[0] == "la-tight":
            self.cut(e, step, above)
        else:
            text = self.hypothesis(e, above)
            said = f"({'>' if step.derived.strict else '>='} {derived_text(step.derived)} 0.0)"
            self.ask([text, negation(said)])
        return [(1, step.derived)]

    def hypothesis(self, e, above):
        """What a hypothesis says."""
        if e[0] == "la-hyp":
            text = sexpr.show(e[1])
            self.literal(text, above)
            return text
        sides = e[2][1][1:] if e[2][0] == "not" else e[2][1:]
        relation = "<" if value(e[1]) < 0 else ">"
        if e[2][0] == "=":
            self.literal(sexpr.show(e[2]), above)
            return sexpr.show([relation + "="] + sides)
        self.ask(*([f"(distinct {sexpr.show([relation] + sides)} {case})"] for case in above))
        return sexpr.show([relation] + sides)

    def cut(self, e, step, above):
        premises = self.premises(e[2:], step.arguments[1:], above)
        texts = [sexpr.show(literal) for literal in e[3::2]]
        self.ask(texts + [f"(< {derived_text(step.derived)} 0.0)"])
        # An equality's direction is that of the conclusion, as it is written.
        alternatives = []
        for sign in (-1, 1):
            terms = [polynomial(n.sum, n.constant, self.relax,
                                sign * m if n.relation == "=" else -abs(m))
                     for m, n in premises]
            rest = (f"(- (+ 0.0 {' '.join(terms)}) "
                    f"{derived_text(step.derived, self.relax, value(e[1]))})")
            alternatives.append([f"(or (< {rest} 0.0) (>= {rest} {number(value(e[1]))}))"])
        self.ask(*alternatives)
