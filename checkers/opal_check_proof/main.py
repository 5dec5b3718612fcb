"""The command line."""

import argparse
import gc
import re
import sys

from .checker import Checker
from .problem import Problem
from .reader import Reader, Step
from .rules import RULES
from .rules.steps import Wrong
from .source import Source, Unreadable

BEGINNING = re.compile(r"\(\s*(la-|cl-|let\b)")  # of a proof

HELP = """\
Checks exported proofs against the problem that they refute, step by step and exactly. It
shares no code with the solver that made them.

PROBLEM is an SMT-LIB script. PROOF has the answers to its (get-proof) commands, alone or
among the other answers of `opal PROBLEM`: the first proof belongs to the first (get-proof),
and so on. In a problem without that command, one proof belongs to the last check-sat.
Either may be - for standard input.

For each proof one line is written:

  proof 1: verified, 12 steps
  proof 2: valid lemma             it holds by itself, but refutes nothing
  proof 3: wrong: FILE:LINE:COLUMN: RULE: what was expected, and what was found

exit status:
  0  all proofs are right
  1  one is wrong
  2  an input cannot be read, or the numbers of proofs and (get-proof) commands differ
"""


def proofs_in(source, problem, checks):
    """For each proof in the source its steps and its check, which says what names in it
    stand for."""
    count = 0
    for token, at in source.tokens:
        if token == ")":
            raise Unreadable(f"{source.place(at)}: unexpected )")
        if token != "(":
            continue
        if BEGINNING.match(source.text, at):
            check = checks[min(count, len(checks) - 1)]
            steps = read_proof(source, at, check, problem.variables)
            if steps:
                count += 1
                if count > len(checks):
                    raise Unreadable(f"{source.place(at)}: a proof too many; the problem "
                                     f"asks for {len(checks)}")
                yield steps, check
        source.skip(0)
    if count < len(checks):
        raise Unreadable(f"{source.name}: {count} proofs found; the problem asks for "
                         f"{len(checks)}")


def read_proof(source, at, check, variables):
    """The steps of the proof of which the first parenthesis was read, the root last. None
    for a let around something else."""
    reader = Reader(source, dict(check.symbols), variables, RULES)
    try:
        root = reader.read(at)
    except Unreadable:
        if reader.steps or BEGINNING.match(source.text, at).group(1) != "let":
            raise
        return None
    # Steps that are named after the root are no part of the proof.
    return reader.steps[:reader.steps.index(root) + 1] if isinstance(root, Step) else None


def verdicts(problem, source):
    """For each proof in the source: its steps, what is wrong (a Wrong, or None), and whether
    it is a lemma. Throws Unreadable."""
    checks = problem.proofs or [problem.last_check]
    if checks == [None]:
        raise Unreadable(f"{problem.source.name}: there is no check-sat")
    for steps, check in proofs_in(source, problem, checks):
        checker = Checker(check, problem.variables)
        try:
            yield steps, None, checker.check(steps)
        except Wrong as wrong:
            yield steps, wrong, False


def run(problem_name, proof_name):
    problem = Problem(Source(problem_name, text_of(problem_name)))
    for note in problem.notes:
        print(f"opal-check-proof: {note}", file=sys.stderr)
    source = Source(proof_name, text_of(proof_name))
    status = 0
    for number, (steps, wrong, lemma) in enumerate(verdicts(problem, source), 1):
        line = "valid lemma" if lemma else f"verified, {len(steps)} steps"
        if wrong is not None:
            status = 1
            line = f"wrong: {source.place(wrong.step.at)}: {wrong.step.rule}: {wrong}"
        print(f"proof {number}: {line}")
    return status


def text_of(name):
    if name == "-":
        return sys.stdin.read()
    try:
        with open(name, encoding="utf-8", errors="surrogateescape") as file:
            return file.read()
    except OSError as fault:
        raise Unreadable(f"{name}: {fault.strerror}") from None


def main():
    options = argparse.ArgumentParser(
        prog="opal-check-proof", description=HELP,
        formatter_class=argparse.RawDescriptionHelpFormatter)
    options.add_argument("problem", metavar="PROBLEM", help="an SMT-LIB script")
    options.add_argument("proof", metavar="PROOF", help="a proof, or the answers to PROBLEM")
    arguments = options.parse_args()
    if arguments.problem == arguments.proof == "-":
        options.error("PROBLEM and PROOF cannot both be -")
    gc.disable()  # what is read has no cycles
    if hasattr(sys, "set_int_max_str_digits"):
        sys.set_int_max_str_digits(0)
    try:
        return run(arguments.problem, arguments.proof)
    except Unreadable as fault:
        print(f"opal-check-proof: {fault}", file=sys.stderr)
        return 2
