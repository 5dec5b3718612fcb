"""Linear terms and constraints, exact: numbers are ints, or Fractions where they must be."""

from fractions import Fraction
from math import ceil, floor, gcd, lcm
from operator import attrgetter

# Terms of which a walk as a tree may visit so many nodes are not taken for DAGs.
TREE_VISITS = 2000


def exact(number):
    """The same number, an int if possible."""
    return number.numerator if number.denominator == 1 else number


class Term:
    """A sum of coefficient * term for `parts`, plus a constant. A term without parts is a
    numeral. `is_int` is its sort; `inner` is t where the term is (to_real t)."""

    __slots__ = ("parts", "constant", "is_int", "inner")

    def __init__(self, parts, constant, is_int, inner=None):
        self.parts, self.constant, self.is_int, self.inner = parts, constant, is_int, inner


class Variable(Term):
    """A declared constant, the floor of `argument`, a form and a constant, or a choice, whose
    `cases` are a formula's literal and what it is then and else. One object for each."""

    __slots__ = ("name", "index", "argument", "cases")

    def __init__(self, name, is_int, index, argument=None):
        super().__init__(None, 0, is_int)
        self.name, self.index, self.argument, self.cases = name, index, argument, None


INDEX = attrgetter("index")


def scaled(factor, term):
    """As a term: `factor * term`."""
    if factor == 1:
        return term
    if term.parts == ():
        return Term((), exact(factor * term.constant),
                    term.is_int and factor.denominator == 1)
    return Term(((factor, term),), 0, term.is_int and factor.denominator == 1)


def linear_form(weighted):
    """The sum of (weight, term) pairs as a dictionary of coefficients other than zero by
    variable, and a constant. Time linear in the DAG below the terms."""
    coefficients, constant, stack = {}, 0, list(weighted)
    for _ in range(TREE_VISITS):
        if not stack:
            break
        weight, term = stack.pop()
        if term.parts is None:
            coefficients[term] = coefficients.get(term, 0) + weight
        else:
            constant += weight * term.constant
            stack += [(weight * factor, part) for factor, part in term.parts]
    if stack:
        return form_of_dag(weighted)
    return {v: exact(c) for v, c in coefficients.items() if c}, exact(constant)


def form_of_dag(weighted):
    """As linear_form: a shared term has its whole weight before it passes it on."""
    order, seen = [], set()
    stack = [(term, False) for _, term in weighted]
    while stack:
        term, done = stack.pop()
        if done:
            order.append(term)
        elif term not in seen:
            seen.add(term)
            stack.append((term, True))
            stack += [(part, False) for _, part in term.parts or ()]
    weights = dict.fromkeys(order, 0)
    for weight, term in weighted:
        weights[term] += weight
    constant = 0
    for term in reversed(order):
        constant += weights[term] * term.constant
        for factor, part in term.parts or ():
            weights[part] += weights[term] * factor
    return ({t: exact(w) for t, w in weights.items() if w and t.parts is None},
            exact(constant))


def content(numbers):
    """The positive number that divides all to coprime integers; 0 without numbers."""
    if all(type(n) is int for n in numbers):
        return gcd(*numbers)
    multiple = lcm(*(n.denominator for n in numbers))
    divisor = gcd(*(int(n * multiple) for n in numbers))
    return exact(Fraction(divisor, multiple))


def divided(number, divisor):
    return number if divisor == 1 else exact(Fraction(number) / divisor)


def add_scaled(total, factor, coefficients):
    """total += factor * coefficients, in place, without zeros."""
    for variable, coefficient in coefficients.items():
        value = total.get(variable, 0) + factor * coefficient
        if value:
            total[variable] = value
        else:
            total.pop(variable, None)


class Constraint:
    """`sum + constant relation 0`, the relation being one of <= < = !=. For an atom `a rel b`
    it is `a - b rel 0`."""

    __slots__ = ("relation", "sum", "constant", "_normal", "_key")

    def __init__(self, relation, coefficients, constant):
        self.relation, self.sum, self.constant = relation, coefficients, constant
        self._normal = self._key = None

    @property
    def is_inequality(self):
        return self.relation in ("<=", "<")

    @property
    def is_integer(self):
        """Whether it has variables, all of them integer ones."""
        return bool(self.sum) and all(v.is_int for v in self.sum)

    def negated(self):
        if not self.is_inequality:
            return Constraint("!=" if self.relation == "=" else "=", self.sum, self.constant)
        return Constraint("<" if self.relation == "<=" else "<=",
                          {v: -c for v, c in self.sum.items()}, -self.constant)

    def normal(self):
        """Over integers the coefficients are coprime integers and the constant is an
        integer, rounded; nothing is strict. Only an equality that no integers satisfy keeps
        a common divisor of its coefficients.

            2x - 4y < 5   is   x - 2y <= 2       3x != 4   always holds: 0 <= 0
            6x = 4y       is   3x - 2y = 0       2x = 4y + 1   stays
        """
        if self._normal is None:
            self._normal = self._rounded() if self.is_integer else self
        return self._normal

    def _rounded(self):
        factor = Fraction(1, content(self.sum.values()))
        constant = exact(self.constant * factor)
        relation = self.relation
        if relation == "<":
            relation, constant = "<=", floor(constant) + 1
        elif relation == "<=":
            constant = ceil(constant)
        elif constant.denominator > 1:
            if relation == "!=":
                return Constraint("<=", {}, 0)
            factor *= constant.denominator
            constant = constant.numerator
        if factor == 1:
            return Constraint(relation, self.sum, constant)
        return Constraint(relation, {v: exact(c * factor) for v, c in self.sum.items()},
                          constant)

    def key(self):
        """Equal for constraints whose normal forms are multiples of each other, by a
        positive number or, for = and !=, any number. True or false without variables."""
        if self._key is None:
            self._key = self.normal()._make_key()
        return self._key

    def _make_key(self):
        constant = self.constant
        if not self.sum:
            return {"<=": constant <= 0, "<": constant < 0, "=": constant == 0,
                    "!=": constant != 0}[self.relation]
        divisor = content(self.sum.values()) * self.orientation()
        key = [self.relation, divided(constant, divisor)]
        for variable in sorted(self.sum, key=INDEX):
            key += [variable.index, divided(self.sum[variable], divisor)]
        return tuple(key)

    def orientation(self):
        """-1 for an = or != whose key is of the opposite sign, else 1."""
        if self.is_inequality or not self.sum:
            return 1
        return 1 if self.sum[min(self.sum, key=INDEX)] > 0 else -1

    def __str__(self):
        return f"{sum_text(self.sum)} {self.relation} {exact(-self.constant)}"


def sum_text(coefficients):
    """As in 2*x - y; 0 for the empty sum."""
    text = ""
    for variable, c in coefficients.items():
        sign = (" - " if text else "-") if c < 0 else (" + " if text else "")
        factor = "" if abs(c) == 1 else f"{abs(c)}*"
        text += sign + factor + variable.name
    return text or "0"


class Variables:
    """All variables of a problem and its proofs. `definitions` are the keys of what holds for
    every floor term f of t: f <= t and t < f + 1. `formulas` are those of the problem; what
    defines floors and choices is valid there."""

    def __init__(self, formulas):
        self._declared, self._floors, self._choices = {}, {}, {}
        self.definitions, self.formulas = set(), formulas
        self.has_integers = True  # else a numeral is a real number

    def _count(self):
        return len(self._declared) + len(self._floors) + len(self._choices)

    def declared(self, name, is_int):
        if (name, is_int) not in self._declared:
            self._declared[name, is_int] = Variable(name, is_int, self._count())
        return self._declared[name, is_int]

    def floor(self, term):
        """The greatest integer that is at most a term, as a term."""
        term = term.inner or term
        if term.is_int:
            return term
        form, constant = linear_form([(1, term)])
        if not term.parts and not form:
            return Term((), floor(constant), True)
        key = tuple(sorted((v.index, c) for v, c in form.items())), constant
        if key not in self._floors:
            name = f"floor({sum_text(form)}{f' + {constant}' if constant else ''})"
            variable = self._floors[key] = Variable(name, True, self._count(),
                                                          (form, constant))
            below, above = dict(form), dict(form)
            add_scaled(above, -1, {variable: 1})
            add_scaled(below, -1, {variable: 1})
            below = {v: -c for v, c in below.items()}
            for definition in (Constraint("<=", below, -constant),
                               Constraint("<", above, constant - 1)):
                self.definitions.add(definition.key())
                self.formulas.valid.add(self.formulas.literal(definition))
        return self._floors[key]

    def choice(self, condition, yes, no):
        """The term `yes` where a formula holds, else the term `no`."""
        literal, is_int = self.formulas.literal(condition), (
            self.has_integers and yes.is_int and no.is_int)
        if literal & 1:
            literal, yes, no = literal ^ 1, no, yes
        forms = [linear_form([(1, branch)]) for branch in (yes, no)]
        if forms[0] == forms[1]:
            return yes
        key = (literal, is_int) + tuple((tuple(sorted((v.index, c) for v, c in form.items())),
                                         constant) for form, constant in forms)
        if key not in self._choices:
            variable = self._choices[key] = Variable(f"choice{len(self._choices)}", is_int,
                                                     self._count())
            variable.cases = literal, yes, no
            for negation, (form, constant) in zip((1, 0), forms):
                equality = dict(form)
                add_scaled(equality, -1, {variable: 1})
                self.formulas.valid.add(self.formulas.disjunction(
                    literal ^ negation,
                    self.formulas.literal(Constraint("=", equality, constant))))
        return self._choices[key]
