"""Clauses, which are lists of formulas of which one holds, and resolution."""

from ..formulas import is_formula
from .steps import Wrong, literal_of, number_of, step_of

CLAUSES = ("cl-input", "cl-lemma", "cl-resolve")


def formula_of(checker, step, position, value):
    if not is_formula(value):
        raise Wrong(step, f"expected a formula as argument {position}")
    return checker.formulas.literal(value)


def clause_of(checker, step):
    """The literals that a step has from its second argument on."""
    return frozenset(formula_of(checker, step, i, value)
                     for i, value in enumerate(step.arguments[1:], 2))


def input_clause(checker, step):
    """
         assertion n
        --------------   by propagation
         l1 or ... lk
    """
    if not step.arguments:
        raise Wrong(step, "expected the number of an assertion")
    number = number_of(step, 1, step.arguments[0])
    if number not in range(1, checker.assertion_count + 1):
        raise Wrong(step, f"expected the number of an assertion, at most "
                          f"{checker.assertion_count}, found {number}")
    step.clause = clause_of(checker, step)
    if not checker.formulas.contradict([l ^ 1 for l in step.clause],
                                       checker.facts_of(number)):
        raise Wrong(step, f"expected a clause that follows from assertion {number}")


def denials(step):
    """The keys of what a lemma's proof refutes."""
    return {literal_of(step, i, value).negated().key()
            for i, value in enumerate(step.arguments[1:], 2)}


def lemma(checker, step):
    """
         not l1 .. not lk
                :
              false
        ------------------
          l1 or ... lk
    """
    if not step.arguments:
        raise Wrong(step, "expected a proof")
    step.clause = clause_of(checker, step)
    checker.expect_closed(checker.refuted(step, step_of(step, 1, step.arguments[0])))


def resolution(checker, step):
    """
         C or not p    D or p
        ----------------------   once for each p and the clause after it
               C or D

    A premise without its literal is itself a part of the conclusion, and taken for it: the
    search may have two variables for what is one formula here, and resolve on each. One of
    the two premises must have its literal.
    """
    if len(step.arguments) < 3 or len(step.arguments) % 2 == 0:
        raise Wrong(step, "expected a clause, and pairs of a pivot and a clause")
    clause = set(clause_step(step, 1))
    for i in range(1, len(step.arguments), 2):
        pivot = formula_of(checker, step, i + 1, step.arguments[i])
        other = clause_step(step, i + 2)
        if pivot not in other and pivot ^ 1 not in clause:
            raise Wrong(step, f"expected argument {i + 1} in the clause after it, and its "
                              "negation in the one before")
        if pivot not in other:
            clause = set(other)
        elif pivot ^ 1 in clause:
            clause.remove(pivot ^ 1)
            clause |= other - {pivot}
    step.clause = frozenset(clause)


def clause_step(step, position):
    """The clause of a premise."""
    premise = step_of(step, position, step.arguments[position - 1])
    if premise.rule not in CLAUSES:
        raise Wrong(step, f"expected a clause as argument {position}, found {premise.rule}")
    return premise.clause
