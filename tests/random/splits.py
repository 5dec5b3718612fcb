#!/usr/bin/env python3
"""Asks the tool for shared terms of random problems and has z3 judge the answers.

Each problem has two groups that are satisfiable together, most of them with an equality
between a term of each that they imply. The tool runs with --verify, so that an outside
solver confirms the term and both interpolants; here z3 is asked once more whether a denied
equality has the model's verdict, and whether the groups imply a = t and t = b.
"""

import argparse
import random
import sys

from opal_lab import sexpr
from opal_lab.formulas import conjunction, decision, number, numeral
from opal_lab.judges import verdicts
from opal_lab.programs import run

SHARED = ["s", "u", "w"]


class Problem:
    """Chains low <= ... <= a <= ... <= high in A and high <= ... <= b <= ... <= low in B, where
    low and high agree at a random point, and noise that the point satisfies."""

    def __init__(self, rng):
        self.rng = rng
        self.integers = rng.random() < 0.2
        self.logic = "QF_LIA" if self.integers else "QF_LRA"
        self.number = numeral if self.integers else number
        self.point = {x: rng.randint(-9, 9) for x in SHARED}
        low = self.combination()
        high = low if rng.random() < 0.4 else self.shifted(self.combination(), low)
        ends = [(low, high), (high, low)]
        if rng.random() < 0.2:  # one side pins its term
            ends[rng.randint(0, 1)] = (low, low)
        if rng.random() < 0.15:  # perhaps not implied
            ends[1] = (low, high)
        self.locals = [["a", "a1", "a2"], ["b", "b1", "b2"]]
        self.groups = [self.group(names, *end) for names, end in zip(self.locals, ends)]
        factor = rng.choice([1, 1, 1, 2, 3, -1, -2])
        more = self.total({rng.choice(SHARED): rng.randint(-3, 3)}, rng.randint(-5, 5))
        self.sides = [f"(+ (* {self.number(factor)} {x}) {more})" for x in ("a", "b")]
        if rng.random() < 0.3:
            self.sides.reverse()

    def total(self, coefficients, constant=0):
        """sum of coefficient * symbol, plus a constant"""
        summands = [f"(* {self.number(q)} {x})" for x, q in coefficients.items()]
        return f"(+ {self.number(constant)} {' '.join(summands)})"

    def value(self, combination):
        coefficients, constant = combination
        return sum(q * self.point[x] for x, q in coefficients.items()) + constant

    def combination(self):
        return ({x: self.rng.randint(-3, 3) for x in SHARED}, self.rng.randint(-9, 9))

    def shifted(self, combination, target):
        gap = self.value(target) - self.value(combination)
        return (combination[0], combination[1] + gap)

    def group(self, names, low, high):
        order = names[:]
        self.rng.shuffle(order)
        chain = [self.total(*low)] + order + [self.total(*high)]
        atoms = [f"(<= (+ s u w) {self.number(1000)})"]  # every shared symbol occurs on both sides
        for left, right in zip(chain, chain[1:]):
            k = self.rng.choice([1, 1, 2, 5])
            atoms.append(f"(<= (* {self.number(k)} {left}) (* {self.number(k)} {right}))")
        for _ in range(self.rng.randint(0, 4)):
            coefficients, constant = self.combination()
            value = self.value((coefficients, constant))
            relation, slack = self.rng.choice([("<=", 0), ("<", 1), ("distinct", 1)])
            bound = value + slack + self.rng.randint(0, 3)
            atoms.append(f"({relation} {self.total(coefficients, constant)} {self.number(bound)})")
        self.rng.shuffle(atoms)
        return conjunction(atoms)

    def declarations(self):
        sort = "Int" if self.integers else "Real"
        names = SHARED + self.locals[0] + self.locals[1]
        return [f"(declare-const {x} {sort})" for x in names]

    def script(self):
        named = [f"(assert (! {g} :named {n}))" for g, n in zip(self.groups, "AB")]
        query = f"(get-shared-term A B {' '.join(self.sides)})"
        return "\n".join([f"(set-logic {self.logic})"] + self.declarations() + named + [query])

    def claims(self, answer):
        """What z3 must say unsat to, what it must say sat to, and the kind of the answer."""
        both = " ".join(self.groups)
        if answer[0] != "error":
            term = sexpr.show(answer) if isinstance(answer, list) else answer
            return [f"(and {both} (distinct {x} {term}))" for x in self.sides], [], "split"
        differ = f"(and {both} (distinct {' '.join(self.sides)}))"
        if "do not imply" in answer[1]:
            return [], [differ], "not implied"
        if self.integers and "needs a cut" in answer[1]:
            return [differ], [], "cut"
        raise ValueError(f"unexpected answer {answer}")


def check(opal, problem, counts):
    done = run([opal, "--verify", "--stats", "json", "-"], 60, problem.script())
    unsat, sat, kind = problem.claims(sexpr.parse_all(done.output)[0])
    said = verdicts([decision([f], problem.declarations(), problem.logic) for f in unsat + sat])
    if said != ["unsat"] * len(unsat) + ["sat"] * len(sat):
        raise ValueError(f"{kind}, but z3 says {said}")
    counts[kind] = counts.get(kind, 0) + 1
    statistics = done.statistics()
    if kind == "split":
        completed = int(statistics["completed-halves"])
        counts["halves completed"] = counts.get("halves completed", 0) + completed
        counts["halves alone"] = counts.get("halves alone", 0) + 2 - completed


def main():
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("--opal", required=True, help="the tool")
    options.add_argument("-n", type=int, default=100, help="problems")
    options.add_argument("--seed", type=int, default=1)
    arguments = options.parse_args()
    rng = random.Random(arguments.seed)
    counts, failed = {}, 0
    for i in range(arguments.n):
        problem = Problem(rng)
        try:
            check(arguments.opal, problem, counts)
        except Exception as fault:  # any fault belongs to the problem that shows it
            failed += 1
            print(f"problem {i} of seed {arguments.seed}: {fault!r}\n{problem.script()}\n")
    print(", ".join(f"{n} {kind}" for kind, n in sorted(counts.items())) + f", {failed} wrong")
    wanted = ("split", "not implied", "halves alone", "halves completed")
    return 1 if failed or not all(map(counts.get, wanted)) else 0


if __name__ == "__main__":
    sys.exit(main())
