#!/usr/bin/env python3
"""The Python package: its examples, its misuse, and its answers against the tool's.

    PYTHONPATH=python OPAL_LIBRARY=.../libopal_capi.so tests/python/test_opal.py TOOL
"""

import doctest
import functools
import pathlib
import random
import re
import runpy
import subprocess
import sys
import time
import unittest
from fractions import Fraction

import opal

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent

TOOL = sys.argv.pop(1)


def drawn(rng, session):
    """A problem as SMT-LIB, after it has been asserted into a session."""
    sort = rng.choice(["Int", "Real"])
    names, flags = [f"x{i}" for i in range(4)], ["p0", "p1", "p2"]
    truths = session.bools(" ".join(flags))
    variables = session.integers(" ".join(names)) if sort == "Int" else session.reals(
        " ".join(names))
    lines = ["(set-logic QF_L" + ("I" if sort == "Int" else "R") + "A)"]
    lines += [f"(declare-fun {name} () {sort})" for name in names]
    lines += [f"(declare-fun {name} () Bool)" for name in flags]
    groups, formulas = {"A": [], "B": []}, {"A": [], "B": []}
    for _ in range(rng.randint(2, 12)):
        group = rng.choice("AB")
        shared = range(0, 3) if group == "A" else range(1, 4)
        total, texts = session.number(0), []
        for i in shared:
            c = rng.randint(-3, 3)
            total = total + c * variables[i]
            texts.append(f"(* (- {-c}) {names[i]})" if c < 0 else f"(* {c} {names[i]})")
        bound, relation = rng.randint(0, 5), rng.choice(["<=", "<", ">=", "=", "distinct"])
        formula = {"<=": total <= bound, "<": total < bound, ">=": total >= bound,
                   "=": total == bound, "distinct": total != bound}[relation]
        text = f"({relation} (+ {' '.join(texts)}) {bound})"
        i, shape = rng.randint(0, 1) + (group == "B"), rng.randint(0, 5)
        if shape == 0:
            formula, text = truths[i] | formula, f"(or {flags[i]} {text})"
        elif shape == 1:
            formula, text = ~(truths[i] & formula), f"(not (and {flags[i]} {text}))"
        elif shape == 2:
            formula, text = truths[i] == formula, f"(= {flags[i]} {text})"
        formulas[group].append(formula)
        groups[group].append(f"(! {text} :named {group}{len(groups[group])})")
    for group in "AB":
        for formula in formulas[group]:
            session.add(group, formula)
    names_of = {g: [f.rsplit(" ", 1)[1][:-1] for f in fs] for g, fs in groups.items()}
    lines += [f"(assert {f})" for fs in groups.values() for f in fs] + ["(check-sat)"]
    if all(groups.values()):
        lines.append("(get-interpolants (and %s) (and %s))" % tuple(
            " ".join(names_of[g]) for g in "AB"))
    return "\n".join(lines) + "\n", all(groups.values())


class Package(unittest.TestCase):
    def test_doc_strings_and_example(self):
        self.assertEqual(doctest.testmod(opal).failed, 0)
        self.assertGreater(doctest.testmod(opal).attempted, 5)
        runpy.run_path(str(ROOT / "examples" / "python" / "planners.py"))

    def test_same_answers_as_the_tool(self):
        rng, unsat = random.Random(5), 0
        for _ in range(200):
            with opal.Session() as session:
                script, asks = drawn(rng, session)
                told = subprocess.run([TOOL], input=script, capture_output=True, text=True).stdout
                verdict = session.check()
                self.assertEqual(told.split("\n")[0], verdict, script)
                if verdict == "unsat" and asks:
                    unsat += 1
                    answer = session.interpolant("A", "B")
                    interpolant = " ".join(told.split("\n", 1)[1].split())
                    interpolant = re.sub(r"(?<=\() | (?=\)$)", "", interpolant)
                    self.assertEqual(f"({answer})", interpolant, script)
                    session.check_proof()
        self.assertGreater(unsat, 10)

    def test_long_formulas_are_printed_whole(self):
        s = opal.Session()
        names = [f"x{i}" for i in range(300)]
        text = repr(functools.reduce(opal.Term.__or__, (s.real(n) < 1 for n in names)))
        self.assertEqual(sorted(re.findall(r"x\d+", text)), sorted(names))

    def test_misuse_says_what_is_wrong(self):
        s, other = opal.Session(), opal.Session()
        x, n = s.real("x"), s.integer("n")
        y = other.real("y")
        s.add("A", x <= Fraction(1, 3))
        cases = [
            (lambda: x * n, "a product of two terms is not linear"),
            (lambda: x / 0, "a division by zero"),
            (lambda: x + True, "an operand of . is a formula: true"),
            (lambda: opal.ite(True, 1, 2), "none of these is a term: True, 1, 2"),
            (lambda: opal.implies(x < 1, "p"), "no term and no number: 'p'"),
            (lambda: x + 0.5, "no exact number: 0.5"),
            (lambda: x + y, "a term of another session: y"),
            (lambda: bool(x < 1), "a term has no truth value"),
            (lambda: s.add("A", x), "an assertion is no formula"),
            (lambda: s.add("A", True), "no term: True"),
            (lambda: s.value(x), "there is no model"),
            (lambda: s.interpolants("AB"), "takes a list"),
            (lambda: s.interpolant("A", "B"), "no refutation|no assertion"),
            (lambda: s.interpolant("A", "B", strength="best"), "strength: auto, auto, best"),
            (lambda: s.pop(), "there is no level"),
            (lambda: s.integer("x"), "is declared already"),
            (lambda: s.set_limits(timeout=-1), "a time limit"),
            (lambda: n.congruent("1", 2), "no term and no number"),
        ]
        for action, message in cases:
            with self.assertRaisesRegex(opal.Error, message):
                action()
        with self.assertRaisesRegex(opal.Error, "another session"):
            s.add("A", x > 1, y > 1)  # neither: x > 1 would be unsat below
        with self.assertRaises(TypeError):
            x < "1"
        self.assertEqual((s.check(), s.value(3 * x + n) <= 1 + s.value(n)), ("sat", True))
        self.assertEqual(s.value((2 * n + 1) // 2 - n), 0)
        p, q = s.bools("p q")
        s.add("A", (p != True) & ~q | False, x == opal.ite(q, -2, opal.ite(p, -3, n) + 0))
        s.add("A", opal.implies(~p, n == -4))
        self.assertEqual((s.check(), s.value(x), s.value(p)), ("sat", -4, 0))
        s.set_limits(timeout=0.2)  # a call's, not that of all calls after it
        time.sleep(0.3)
        self.assertIn("x", repr(functools.reduce(opal.Term.__add__, [x] * 100)))
        s.set_limits()
        s.interrupt()
        self.assertEqual((s.check(), s.reason_unknown), ("unknown", "interrupted"))
        s.close()
        with self.assertRaisesRegex(opal.Error, "the session is NULL"):
            x + 1


if __name__ == "__main__":
    unittest.main()
