#!/usr/bin/env python3
"""Runs the tool on the examples and has z3 judge each answer on its own.

    scripts/demo.py TOOL FOLDER

For each problem: its story, the tool's answers, and z3's verdict on every interpolant and
shared term. The tool checks its answers too (--verify); here z3 is asked again, by a second
way: each step of a sequence or tree of interpolants must be unsatisfiable, and so must be
what denies that a shared term is equal to either side. The check files that the tool writes
for each interpolant go to z3 and cvc5. The proof behind each query is exported, and re-checked
by the stand-alone checker. Fails when anything is not confirmed. Refutations of formulas with
disjunctions have neither check files nor an exported proof so far, which the demo says.
"""

import pathlib
import re
import subprocess
import sys
import tempfile

from opal_lab.formulas import conjunction
from opal_lab.interpolation import steps_of
from opal_lab.judges import LENIENT, ask_z3, not_confirmed
from opal_lab.scripts import State, commands_of
from opal_lab.sexpr import parse_all, show

CHECKER = pathlib.Path(__file__).resolve().parent.parent / "checkers" / "opal-check-proof"
# How the tool answers what it has only for refutations of conjunctions.
OF_CLAUSES = "the refutation is one of clauses"


class Example:
    """A script, walked command by command beside the tool's answers to it."""

    def __init__(self, path):
        self.text = path.read_text()
        self.state = State()
        self.confirmed = self.refused = self.proofs = 0

    def story(self):
        return re.match(r"(;.*\n)+", self.text).group(0).rstrip()

    def check(self, answers):
        """Prints each answer with z3's verdict on it."""
        answers = iter(answers)
        for command in commands_of(self.text):
            self.state.take(command)
            name, arguments = command.name(), command.expression[1:]
            if name in ("check-sat", "get-value", "get-model", "get-unsat-core"):
                self.print_answer(command, [show(next(answers))])
            elif name == "get-interpolants":
                interpolants = next(answers)
                self.print_answer(command, map(show, interpolants))
                self.judge(steps_of(arguments, interpolants, self.state.assertions(),
                                    self.state.symbols_in()), interpolants)
            elif name == "get-shared-term":
                term = show(next(answers))
                self.print_answer(command, [term])
                groups = conjunction([formula for _, formula in self.state.assertions()])
                denials = [f"(and {groups} (distinct {show(side)} {term}))"
                           for side in arguments[2:]]
                self.judge(denials, [term])

    def check_proofs(self, tool):
        """Exports the proof of each query and has the checker verify it. Whether all are."""
        script = re.sub(r"(?=^\(get-interpolants)", "(get-proof)\n", self.text, flags=re.M)
        run = subprocess.run([tool, "-"], input=script, capture_output=True, text=True)
        if OF_CLAUSES in run.stdout:
            print("\nno exported proof: " + OF_CLAUSES)
            return True
        with tempfile.NamedTemporaryFile("w", suffix=".smt2") as file:
            file.write(script)
            file.flush()
            check = subprocess.run([CHECKER, file.name, "-"], input=run.stdout,
                                   capture_output=True, text=True)
        verdicts = check.stdout.splitlines()
        print("\n" + "\n".join(verdicts) + check.stderr)
        self.proofs = sum(": verified" in verdict for verdict in verdicts)
        return check.returncode == 0

    @staticmethod
    def print_answer(command, lines):
        print(f"\n{show(command.expression)}")
        for line in lines:
            print(f"    {line}")

    def judge(self, steps, answers):
        verdicts = ask_z3(["\n".join([*self.state.declarations(), f"(assert {step})", "(check-sat)\n"])
                           for step in steps], 60, LENIENT)
        right = all(v == "unsat" for v in verdicts)
        self.confirmed += len(answers) if right else 0
        self.refused += 0 if right else len(answers)
        print(f"  z3 on the {len(steps)} steps: {' '.join(verdicts)}"
              f" ({'confirmed' if right else 'NOT CONFIRMED'})")


def judge_files(folder):
    """Has both solvers judge the check files in a folder; how many answers are not unsat."""
    refused, count = not_confirmed(folder)
    if count:
        print(f"\n  z3 and cvc5 on the {count} check files "
              f"({f'{len(refused)} answers NOT CONFIRMED' if refused else 'confirmed'})")
    return len(refused)


def main():
    tool, folder = sys.argv[1], pathlib.Path(sys.argv[2])
    paths = sorted(folder.glob("*.smt2"))
    confirmed = proofs = faults = 0
    for path in paths:
        example = Example(path)
        print(f"{'=' * 92}\n{path}\n\n{example.story()}")
        with tempfile.TemporaryDirectory() as files:
            for arguments in (["--check-files", files], []):
                run = subprocess.run([tool, "--verify", *arguments, str(path)],
                                     capture_output=True, text=True)
                if OF_CLAUSES not in run.stdout:
                    break
            if run.returncode != 0:
                print(f"exit status {run.returncode}\n{run.stdout}{run.stderr}")
                faults += 1
                continue
            example.check(parse_all(run.stdout))
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
