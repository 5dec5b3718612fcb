"""The rules of inference.

A hypothesis or a step that derives a constraint says `e >= 0`, or `e > 0`. The literal of an
atom `a <= b` is read as `b - a >= 0`, `a < b` as `b - a > 0`, in the normal form of
linear.Constraint. A refutation is a step that says `false`, or a combination of which the
constraint is a contradiction: no variables, and e is negative, or zero in `e > 0`.

Hypotheses need not be asserted where a branch or a case makes them: a step says which such
hypotheses are open, branches and cases close theirs, and a proof must leave none open. So a
step is checked once, however many paths lead to it. What holds below a cl-lemma are the
negations of its literals, and nothing that is asserted.

    hypotheses    literals that are asserted, or that a branch or a case makes
    combinations  sums of constraints
    cases         refutations of each of several cases
    integers      rounded sums, and sums of equalities that are no integer
    lemmas        clauses that hold by themselves
    clauses       clauses of assertions, lemmas with a refutation below, resolution

Each rule's check is given the checker of the proof and the step; the steps before it, its
premises among them, are checked already.
"""

from . import cases, clauses, combinations, hypotheses, integers, lemmas

RULES = {
    "la-hyp": hypotheses.hypothesis,
    "la-hyp-eq": hypotheses.half,
    "la-comb": combinations.combination,
    "la-neq": cases.disequality,
    "la-branch-and-bound": cases.branches,
    "la-dioph": integers.equalities,
    "la-tight": integers.cut,
    "la-unit": lemmas.unit,
    "la-spliteq": lemmas.split,
    "la-branch-and-bound-lemma": lemmas.branch_lemma,
    "cl-input": clauses.input_clause,
    "cl-lemma": clauses.lemma,
    "cl-resolve": clauses.resolution,
}
