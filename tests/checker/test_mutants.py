#!/usr/bin/env python3
"""Mutation test of the checker of exported proofs.

Each proof is accepted, and each of its mutants is rejected unless z3 confirms that it is
right. Both forms of a proof that the tool makes, S-expression and JSON, say the same. The
proofs are those that the tool gives for the problems in cases.py and for random ones, and
those in cases.py that the tool does not make.
"""

import argparse
import json
import os
import pathlib
import random
import sys
import tempfile
from collections import Counter
from fractions import Fraction

from cases import CASES, FORMULAS, WRONG, WRONG_PROBLEM
from mutants import Judge, mutants, value
from opal_check_proof.main import verdicts
from opal_check_proof.problem import Problem
from opal_check_proof.source import Source, Unreadable
from opal_lab import integer_problems, mixed_problems, rational_problems, sexpr
from opal_lab.formulas import declarations, symbols_in
from opal_lab.programs import run
from opal_lab.sexpr import expanded

CHECKER = pathlib.Path(__file__).resolve().parents[2] / "checkers" / "opal-check-proof"


class Case:
    """A problem and the tool's or another proof of it."""

    def __init__(self, name, declarations, formulas, proof=""):
        self.name, self.proof = name, proof
        self.asserted = [conjunct for f in formulas for conjunct in conjuncts(f)]
        self.declarations = declarations
        self.script = "\n".join(declarations + [f"(assert {f})" for f in formulas]
                                + ["(check-sat)", "(get-proof)"])


def conjuncts(formula):
    """The texts of the formulas whose conjunction a formula is; no deeper than `and` and
    chains of relations go."""
    result, stack = [], sexpr.parse_all(formula)
    while stack:
        e = stack.pop()
        if e[0] == "and":
            stack += e[1:]
        elif e[0] in ("=", "<=", "<", ">=", ">") and len(e) > 3:
            stack += [[e[0], a, b] for a, b in zip(e[1:], e[2:])]
        elif e[0] == "distinct" and len(e) > 3:
            stack += [[e[0], e[i], e[j]] for i in range(1, len(e)) for j in range(1, i)]
        else:
            result.append(sexpr.show(e))
    return result


def written_cases():
    for name, (integers, reals, formulas, proof) in CASES.items():
        declarations = [f"(declare-const {v} {sort})" for names, sort in
                        ((integers, "Int"), (reals, "Real")) for v in names.split(" ") if v]
        yield Case(name, declarations, formulas, proof)
    for name, (booleans, integers, reals, formulas) in FORMULAS.items():
        declarations = [f"(declare-const {v} {sort})" for names, sort in
                        ((booleans, "Bool"), (integers, "Int"), (reals, "Real"))
                        for v in names.split()]
        yield Case(name, declarations, formulas)


def random_cases(seed, count):
    families = {**rational_problems.FAMILIES, **integer_problems.FAMILIES,
                **mixed_problems.FAMILIES}
    names = sorted(families)
    for i in range(count):
        problem = families[names[i % len(names)]](random.Random(f"{seed}-{i}"))
        formulas = [f for _, f in problem.assertions]
        yield Case(f"{problem.family} {seed}-{i}", declarations(symbols_in(formulas)), formulas)


def difference(root, document):
    """Where an S-expression and the JSON object of the same proof differ, or None. Each step
    must stand once in both."""
    nodes = {node["id"]: node for node in document["nodes"]}
    pairs, steps = [(expanded(root), document["root"])], set()
    while pairs:
        e, at = pairs.pop()
        node = nodes[at] if isinstance(at, int) else at
        if "number" in node:
            same = value(e) == Fraction(node["number"])
        elif "term" in node:
            same = e == expanded(sexpr.parse_all(node["term"])[0])
        else:
            same = [e[0], len(e)] == [node["rule"], len(node["children"]) + 1]
            if (id(e), at) not in steps:
                pairs += zip(e[1:], node["children"])
            steps.add((id(e), at))
        if not same:
            return f"{sexpr.show(e)} is {node} as JSON"
    count = sum("rule" in node for node in document["nodes"])
    return None if len(steps) == count else f"{len(steps)} steps, as JSON {count}"


class Test:
    def __init__(self, opal):
        self.opal, self.counts = opal, Counter()

    def run(self, case, most):
        """What is wrong, or None, after at most so many mutants of a proof."""
        proof = case.proof
        if not proof:
            done = run([self.opal, "--timeout", "10", "-"], 60, case.script
                       + "(set-option :opal-proof-format json)(get-proof)")
            verdict, _, rest = done.output.partition("\n")
            proof, _, as_json = rest.partition('{"root"')
            if verdict != "unsat":
                self.counts["not unsat"] += 1
                return None
            if proof.startswith("(error"):
                return f"no proof: {proof}"
            other = difference(sexpr.parse_all(proof)[0], json.loads('{"root"' + as_json))
            if other:
                return f"the forms differ: {other}"
        self.problem = Problem(Source("problem", case.script))
        self.judge = Judge(case.declarations, case.asserted)
        self.counts["proofs"] += 1
        proof = sexpr.show(sexpr.parse_all(proof)[0])  # mutants are written so
        if not self.accepts(proof):
            return f"the proof is rejected: {self.fault}\n{proof}"
        if not self.judge.confirms(proof, self.root):
            return f"z3 does not confirm the proof\n{proof}"
        texts = list(mutants(proof))
        if len(texts) > most:
            texts = random.Random(case.name).sample(texts, most)
        for text in texts:
            self.counts["mutants"] += 1
            if not self.accepts(text):
                self.counts["rejected"] += 1
            elif self.judge.confirms(text, self.root):
                self.counts["confirmed"] += 1
            else:
                return f"a wrong proof is accepted\n{text}\nfor\n{proof}"
        return None

    def accepts(self, text):
        try:
            ((steps, self.fault, _),) = verdicts(self.problem, Source("proof", text))
        except Unreadable as fault:
            self.fault = fault
            return False
        self.root = steps[-1]
        return self.fault is None


def fault_of_wrong():
    """What is wrong about how the program answers to wrong proofs, or None."""
    script = WRONG_PROBLEM + "(get-proof)" * len(WRONG)
    proofs = "".join(f"unsat\n{proof}\n" for proof, _ in WRONG)
    expected = [f"proof {i + 1}: wrong: -:{2 * i + 2}:{said}" for i, (_, said) in enumerate(WRONG)]
    for text, status, answers in ((proofs, 1, expected), (proofs + WRONG[0][0], 2, expected),
                                  ("(la-hyp", 2, []), ("unsat", 2, [])):
        with tempfile.NamedTemporaryFile("w", suffix=".smt2") as file:
            file.write(script)
            file.flush()
            done = run([CHECKER, file.name, "-"], 60, text)
        if (done.status, done.output.splitlines()) != (status, answers):
            return f"exit status {done.status}, expected {status}\n{done.output}{done.errors}"
    return None


def main():
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("--opal", required=True, help="the tool")
    options.add_argument("-n", type=int, default=40, help="number of random problems")
    options.add_argument("--seed", type=int, default=1)
    options.add_argument("--most", type=int, default=150, help="mutants of a random proof")
    arguments = options.parse_args()
    fault = fault_of_wrong()
    if fault:
        print(f"wrong proofs: {fault}")
    test, faults = Test(arguments.opal), 1 if fault else 0
    count = int(arguments.n * float(os.environ.get("OPAL_RANDOM_SCALE", "1")))
    cases = [(case, 10**6) for case in written_cases()]
    cases += [(case, arguments.most) for case in random_cases(arguments.seed, count)]
    for case, most in cases:
        fault = test.run(case, most)
        if fault:
            faults += 1
            print(f"{case.name}: {fault}\n{case.script}\n")
    print(f"{test.counts['proofs']} proofs, {test.counts['mutants']} mutants: "
          f"{test.counts['rejected']} rejected, {test.counts['confirmed']} confirmed by z3; "
          f"{faults} faults; seed {arguments.seed}")
    return 1 if faults or not test.counts["mutants"] else 0


if __name__ == "__main__":
    sys.exit(main())
