"""The operators of SMT-LIB on formulas and terms."""

from fractions import Fraction

from .formulas import equivalence, is_formula, junction, negation, related
from .linear import Constraint, Term, exact, linear_form, scaled


def apply(variables, head, values):
    """The value of an operator of SMT-LIB. Throws ValueError, or any error of a wrong use."""
    if not values:
        raise ValueError("no arguments")
    if isinstance(head, tuple):
        return related("=", values[0],
                       scaled(head[1], variables.floor(scaled(Fraction(1, head[1]), values[0]))))
    if head == "ite":
        return choice(variables, *values)
    if head in CONNECTIVES:
        if not all(map(is_formula, values)):
            raise ValueError("expected formulas")
        return CONNECTIVES[head](values)
    if head in ("=", "distinct", "<=", "<", ">=", ">"):
        return relation_chain(variables, head, values)
    if head in ARITHMETIC:
        return ARITHMETIC[head](values)
    if head in ROUNDING:
        return ROUNDING[head](variables, values)
    raise ValueError("unknown function or rule")


def choice(variables, condition, yes, no):
    if not is_formula(condition) or is_formula(yes) != is_formula(no):
        raise ValueError("expected a formula, and two formulas or two terms")
    if isinstance(condition, bool):
        return yes if condition else no
    if not is_formula(yes):
        return variables.choice(condition, yes, no)
    return junction("and", [junction("or", [negation(condition), yes]),
                            junction("or", [condition, no])])


def add_cases(formulas, relation, a, b):
    """Notes what a relation to a choice is in either case: x = ite(c, s, t) is x = s when c
    holds, else x = t."""
    stack = [(a, b)]
    while stack:
        sides = stack.pop()
        chosen = [getattr(side, "cases", None) for side in sides]
        if (chosen[0] is None) == (chosen[1] is None):
            continue
        left = chosen[1] is None
        condition, *branches = chosen[0 if left else 1]
        whole = formulas.literal(related(relation, *sides))
        for guard, branch in zip((condition ^ 1, condition), branches):
            pair = (branch, sides[1]) if left else (sides[0], branch)
            case = formulas.literal(related(relation, *pair))
            formulas.valid.add(formulas.disjunction(
                guard, formulas.disjunction(whole ^ 1, case)))
            formulas.valid.add(formulas.disjunction(
                guard, formulas.disjunction(whole, case ^ 1)))
            stack.append(pair)


def relation_chain(variables, relation, values):
    if len(values) < 2 or len({is_formula(v) for v in values}) > 1:
        raise ValueError("expected two or more terms or formulas")
    if not is_formula(values[0]):
        for i, b in enumerate(values):
            for a in values[:i] if relation == "distinct" else values[max(i - 1, 0):i]:
                add_cases(variables.formulas, "!=" if relation == "distinct" else relation, a, b)
    if relation == "distinct":
        return junction("and", [related("!=", values[j], values[i])
                                for i in range(1, len(values)) for j in range(i)])
    return junction("and", [related(relation, a, b) for a, b in zip(values, values[1:])])


def exclusive(values):
    result = values[0]
    for value in values[1:]:
        result = negation(equivalence(result, value))
    return result


CONNECTIVES = {
    "not": lambda values: negation(*values),
    "and": lambda values: junction("and", values),
    "or": lambda values: junction("or", values),
    "=>": lambda values: junction("or", [*map(negation, values[:-1]), values[-1]]),
    "xor": exclusive,
}


def total(parts):
    """A sum of (factor, term) pairs."""
    if all(t.parts == () for _, t in parts):
        return Term((), exact(sum(c * t.constant for c, t in parts)),
                    all(t.is_int for _, t in parts))
    return Term(tuple(parts), 0, all(t.is_int for _, t in parts))


def difference(values):
    if len(values) == 1:
        return scaled(-1, values[0])
    return total([(1, values[0])] + [(-1, t) for t in values[1:]])


def product(values):
    factor, rest = 1, [t for t in values if t.parts != ()]
    for t in values:
        factor *= t.constant if t.parts == () else 1
    if not rest:
        return Term((), exact(factor), all(t.is_int for t in values))
    if len(rest) > 1:
        raise ValueError("not linear")
    return scaled(exact(factor), rest[0])


def divisor(term):
    if term.parts != () or not term.constant:
        raise ValueError("expected a divisor that is a number other than 0")
    return term.constant


def quotient(values):
    factor = Fraction(1)
    for t in values[1:]:
        factor /= divisor(t)
    return scaled(exact(factor), values[0])


def to_real(values):
    (t,) = values
    return Term(t.parts, t.constant, False) if t.parts == () else Term(((1, t),), 0, False, t)


def magnitude(values):
    (t,) = values
    if t.parts != ():
        raise ValueError("not linear")
    return Term((), abs(t.constant), t.is_int)


ARITHMETIC = {
    "+": lambda values: total([(1, t) for t in values]),
    "-": difference,
    "*": product,
    "/": quotient,
    "to_real": to_real,
    "abs": magnitude,
}


def integer_quotient(variables, values):
    result = values[0]
    for t in values[1:]:
        k = divisor(t)
        result = scaled(1 if k > 0 else -1,
                        variables.floor(scaled(exact(Fraction(1, abs(k))), result)))
    return result


def remainder(variables, values):
    t, k = values[0], abs(divisor(values[1]))
    return total([(1, t), (-k, variables.floor(scaled(exact(Fraction(1, k)), t)))])


def is_integer(variables, values):
    (t,) = values
    rounded = variables.floor(t)
    return rounded is (t.inner or t) or Constraint("=", *linear_form([(1, t), (-1, rounded)]))


ROUNDING = {
    "div": integer_quotient,
    "mod": remainder,
    "to_int": lambda variables, values: variables.floor(*values),
    "is_int": is_integer,
}
