#!/usr/bin/env python3
"""Runs the tool on the examples and has z3 judge each answer on its own.

    scripts/demo.py TOOL FOLDER

For each problem: its story, the tool's answers, and z3's verdict on every interpolant and
shared term. The tool checks its answers too (--verify); here z3 is asked again, by a second
way: each step of a sequence or tree of interpolants must be unsatisfiable, and so must be
what denies that a shared term is equal to either side. The check files that the tool writes
for each interpolant go to z3 and cvc5. The proof behind each query is exported, and re-checked
by the stand-alone checker. Fails when anything is not confirmed.
"""

import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "random"))
import sexpr  # noqa: E402


def show(expression):
    return sexpr.show(expression).replace("( ", "(").replace(" )", ")")


def as_conjunction(formulas):
    return f"(and true {' '.join(formulas)})"


def groups_of(arguments):
    """The nodes of a query in post-order: (names, children), the root last."""
    nodes = []

    def visit(items):
        below = []
        for item in items:
            if isinstance(item, list) and item[0] != "and":
                below += visit(item)
            else:
                nodes.append((item[1:] if isinstance(item, list) else [item], below))
                below = [len(nodes) - 1]
        return below

    visit(arguments)
    return nodes


def steps_of(arguments, interpolants, assertions):
    """What must be unsatisfiable for an answer to be right, one formula a step."""
    nodes = groups_of(arguments)
    if len(interpolants) != len(nodes) - 1:
        raise ValueError("wrong number of interpolants")
    mentioned = {name for names, _ in nodes for name in names}
    background = [f for name, f in assertions if name not in mentioned]
    formula = {name: f for name, f in assertions}
    steps = []
    for i, (names, children) in enumerate(nodes):
        premises = background + [formula[name] for name in names]
        premises += [interpolants[c] for c in children]
        if i < len(interpolants):
            premises.append(f"(not {interpolants[i]})")
        steps.append(as_conjunction(premises))
    return steps


def ask_z3(declarations, formula):
    script = "\n".join(declarations + [f"(assert {formula})", "(check-sat)"])
    run = subprocess.run(["z3", "-in", "-smt2"], input=script, capture_output=True, text=True)
    return run.stdout.strip().split("\n")[-1]


class Example:
    """A script, walked command by command beside the tool's answers to it."""

    def __init__(self, path):
        self.text = path.read_text()
        self.declarations, self.assertions, self.marks = [], [], []
        self.confirmed = self.refused = self.proofs = 0

    def story(self):
        return re.match(r"(;.*\n)+", self.text).group(0).rstrip()

    def check(self, answers):
        """Prints each answer with z3's verdict on it."""
        answers = iter(answers)
        for command in sexpr.parse_all(self.text):
            name, arguments = command[0], command[1:]
            if name in ("declare-fun", "declare-const", "define-fun"):
                self.declarations.append(show(command))
            elif name == "assert":
                term = arguments[0]
                named = isinstance(term, list) and term[0] == "!"
                label = term[term.index(":named") + 1] if named else None
                self.assertions.append((label, show(term[1] if named else term)))
            elif name == "push":
                self.marks.append(len(self.assertions))
            elif name == "pop":
                del self.assertions[self.marks.pop():]
            elif name in ("check-sat", "get-value", "get-model", "get-unsat-core"):
                self.print_answer(command, [show(next(answers))])
            elif name == "get-interpolants":
                interpolants = [show(i) for i in next(answers)]
                self.print_answer(command, interpolants)
                self.judge(steps_of(arguments, interpolants, self.assertions), interpolants)
            elif name == "get-shared-term":
                term = show(next(answers))
                self.print_answer(command, [term])
                groups = as_conjunction([formula for _, formula in self.assertions])
                denials = [f"(and {groups} (distinct {show(side)} {term}))"
                           for side in arguments[2:]]
                self.judge(denials, [term])

    def check_proofs(self, tool):
        """Exports the proof of each query and has the checker verify it. Whether all are."""
        script = re.sub(r"(?=^\(get-interpolants)", "(get-proof)\n", self.text, flags=re.M)
        run = subprocess.run([tool, "-"], input=script, capture_output=True, text=True)
        with tempfile.NamedTemporaryFile("w", suffix=".smt2") as file:
            file.write(script)
            file.flush()
            checker = [sys.executable, str(ROOT / "checkers" / "opal-check-proof"), file.name, "-"]
            check = subprocess.run(checker, input=run.stdout, capture_output=True, text=True)
        verdicts = check.stdout.splitlines()
        print("\n" + "\n".join(verdicts) + check.stderr)
        self.proofs = sum(": verified" in verdict for verdict in verdicts)
        return check.returncode == 0

    @staticmethod
    def print_answer(command, lines):
        print(f"\n{show(command)}")
        for line in lines:
            print(f"    {line}")

    def judge(self, steps, answers):
        verdicts = [ask_z3(self.declarations, step) for step in steps]
        right = all(v == "unsat" for v in verdicts)
        self.confirmed += len(answers) if right else 0
        self.refused += 0 if right else len(answers)
        print(f"  z3 on the {len(steps)} steps: {' '.join(verdicts)}"
              f" ({'confirmed' if right else 'NOT CONFIRMED'})")


def judge_files(folder):
    """Has both solvers judge the check files in a folder; how many answers are not unsat."""
    files = sorted([*folder.glob("la_a_imp_itp.*"), *folder.glob("la_b_and_itp.*")])
    refused = 0
    for solver in [["z3", "-T:20"], ["cvc5", "--tlimit=20000"]]:
        for file in files:
            run = subprocess.run([*solver, file], capture_output=True, text=True)
            refused += run.stdout.strip() != "unsat"
    if files:
        print(f"\n  z3 and cvc5 on the {len(files)} check files "
              f"({f'{refused} answers NOT CONFIRMED' if refused else 'confirmed'})")
    return refused


def main():
    tool, folder = sys.argv[1], pathlib.Path(sys.argv[2])
    paths = sorted(folder.glob("*.smt2"))
    confirmed = proofs = faults = 0
    for path in paths:
        example = Example(path)
        print(f"{'=' * 92}\n{path}\n\n{example.story()}")
        with tempfile.TemporaryDirectory() as files:
            run = subprocess.run([tool, "--verify", "--check-files", files, str(path)],
                                 capture_output=True, text=True)
            if run.returncode != 0:
                print(f"exit status {run.returncode}\n{run.stdout}{run.stderr}")
                faults += 1
                continue
            example.check(sexpr.parse_all(run.stdout))
            faults += example.refused + judge_files(pathlib.Path(files))
        if "(get-interpolants" in example.text and not example.check_proofs(tool):
            faults += 1
        confirmed += example.confirmed
        proofs += example.proofs
    print(f"{'=' * 92}\n{len(paths)} problems, {confirmed} interpolants and shared terms "
          f"confirmed by the tool's own checks and by z3, {proofs} exported proofs verified; "
          f"{faults} not")
    return 0 if paths and confirmed and proofs and not faults else 1


if __name__ == "__main__":
    sys.exit(main())
