#!/usr/bin/env python3
"""Random differential test: the tool against z3 and cvc5.

Draws problems of every family and runs the tool on them in batches (one session, `reset`
between problems). z3 judges each verdict, model, value and unsatisfiable core, and for every
interpolant of every mode and cut style each step of its sequence or tree; cvc5 a sample,
and what z3 gives up on. Symbols of interpolants must be shared. `unknown` is an answer to
unbounded problems only, the time limit to none. A failing problem is reduced and printed
as a script. The last lines count what was checked.
"""

import argparse
import os
import random
import sys
from collections import Counter

import formula_problems
from claims import FAILED, GAVE_UP, Judges, claims_of
from opal_lab import integer_problems, mixed_problems, rational_problems, sexpr
from opal_lab.programs import run
from reducer import reduced

SUBJECTS = {
    "rational": rational_problems.FAMILIES,
    "integer": integer_problems.FAMILIES,
    "mixed": mixed_problems.FAMILIES,
    "formulas": formula_problems.FAMILIES,
}
FAMILIES = {name: draw for families in SUBJECTS.values() for name, draw in families.items()}
# Drawn where no subject is named. "formulas" joins them once the solver takes disjunctions.
DEFAULT_SUBJECTS = ("rational", "integer", "mixed")
FLAGS = ("strength",)  # of the tool, which asks for them only where it has them


class Campaign:
    def __init__(self, opal, judges, timeout):
        self.opal, self.judges, self.timeout = opal.split(), judges, timeout
        usage = run([*self.opal, "--help"]).output
        self.flags = [flag for flag in FLAGS if f"--{flag} " in usage]
        self.counts = {}  # by family
        self.undecided = {}  # claims that no judge decided, by formula

    def count(self, problem, **what):
        self.counts.setdefault(problem.family, Counter()).update(what)

    def total(self, what):
        return sum(counter[what] for counter in self.counts.values())

    def script_of(self, problem):
        commands = [c for check in problem.checks(self.flags) for c in check.commands()]
        return "\n".join(commands) + "\n"

    def run_tool(self, problems):
        """The answers to each check of each problem, or what is wrong."""
        checks = [[(c, len(c.commands())) for c in p.checks(self.flags)] for p in problems]
        expected = sum(count for of_problem in checks for _, count in of_problem)
        # Beyond one command's limit the tool does not heed it.
        patience = 2 * self.timeout + len(problems)
        done = run([*self.opal, "--timeout", str(self.timeout), "-"], patience,
                   "(reset)\n".join(map(self.script_of, problems)))
        if done.timed_out:
            return None, f"{GAVE_UP}: no end after {patience} s"
        end = f"exit {done.status}: {done.errors[:300]}"
        try:
            answers = sexpr.parse_all(done.output)
        except ValueError as fault:
            return None, f"{FAILED}: unreadable answers ({fault}), {end}"
        if len(answers) != expected:
            return None, f"{FAILED}: {len(answers)} answers for {expected} commands, {end}"
        rest = iter(answers)
        return [[(check, [next(rest) for _ in range(count)]) for check, count in of_problem]
                for of_problem in checks], None

    def failures(self, problems, count=False):
        """The (problem, what is wrong) pairs of a batch."""
        answered, fault = self.run_tool(problems)
        if fault and len(problems) == 1:
            return [(problems[0], fault)]
        if fault:
            return [f for p in problems for f in self.failures([p], count)]
        wrong, claims = [], []
        for problem, checks in zip(problems, answered):
            try:
                claims += self.claims(problem, checks, count)
            except ValueError as fault:
                wrong.append((problem, str(fault)))
        judged = set()
        for claim, verdict in zip(claims, self.judges.verdicts(claims)):
            if count and claim.key() not in judged:
                judged.add(claim.key())
                self.count(claim.problem, formulas=1)
            if verdict == "unknown":
                if count and claim.key() not in self.undecided:
                    self.undecided[claim.key()] = claim
                    self.count(claim.problem, undecided=1)
            elif verdict != claim.expected:
                wrong.append((claim.problem, f"{claim.what}: judged {verdict}, "
                              f"expected {claim.expected}"))
        return wrong

    def claims(self, problem, checks, count):
        """What the tool's answers to the checks of a problem claim."""
        claims, counted = [], Counter(problems=1, unbounded=not problem.bounded)
        for check, answers in checks:
            counted["checks"] += 1
            if answers[0] == "unknown" and not problem.bounded:
                counted["unknown"] += 1
                continue
            claims += claims_of(problem, check, answers)
            if answers[0] == "unsat":
                counted["unsat"] += 1
                asked = len(check.queries)
                counted["interpolants"] += sum(map(len, answers[len(answers) - asked:]))
        if count:
            self.count(problem, **counted)
        return claims

    def report(self, problem, what):
        """Prints what is wrong with a problem, reduced as long as it is wrong in that way:
        one that merely is no longer bounded does not count."""
        def fails(smaller):
            return any(kind(w) == kind(what) for _, w in self.failures([smaller]))

        if kind(what) != GAVE_UP:
            problem = reduced(problem, fails)
            what = next((w for _, w in self.failures([problem]) if kind(w) == kind(what)), what)
        bounded = "bounded" if problem.bounded else "unbounded"
        print(f"family {problem.family} ({bounded}): {what}\n{self.script_of(problem)}")

    def summary(self, seed):
        """The families in which something stayed open, and totals."""
        lines = [f"undecided: {c.problem.family}, {c.what[:100]}: {c.formula[:300]}"
                 for c in self.undecided.values()]
        for family, counter in sorted(self.counts.items()):
            if counter["unbounded"] or counter["undecided"]:
                lines.append(
                    f"{family}: {counter['problems']} problems, {counter['unbounded']} "
                    f"unbounded; unknown {share(counter['unknown'], counter['checks'])}; "
                    f"{counter['interpolants']} interpolants, undecided formulas: "
                    f"{share(counter['undecided'], counter['formulas'])}")
        if self.judges.sampled:
            lines.append(f"{self.judges.asked} different formulas judged by z3, "
                         f"{self.judges.sampled} by cvc5 too")
        undecided = self.total("undecided")
        outcome = f"all but {undecided} formulas confirmed" if undecided else "all confirmed"
        lines.append(f"{self.total('problems')} problems, {self.total('checks')} checks "
                     f"({self.total('unsat')} unsat), "
                     f"{self.total('interpolants')} interpolants, {outcome}; seed {seed}")
        return lines


def kind(what):
    """Whether a failure is by a limit, by an error, or by a wrong answer."""
    return next((k for k in (GAVE_UP, FAILED) if what.startswith(k)), "wrong")


def share(part, whole):
    return f"{part} ({100 * part / whole:.1f}%)" if part else "0"


def options_of():
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("--opal", required=True, help="the tool")
    options.add_argument("-n", type=int, default=500, help="number of problems")
    options.add_argument("--interpolants", type=int, metavar="N",
                         help="draw problems until N interpolants are confirmed instead")
    options.add_argument("--seed", type=int, default=1)
    options.add_argument("--subject", choices=list(SUBJECTS), action="append")
    options.add_argument("--family", choices=sorted(FAMILIES), action="append")
    options.add_argument("--batch", type=int, default=50)
    options.add_argument("--timeout", type=float, default=10,
                         help="seconds that the tool may take for a command")
    options.add_argument("--judge-timeout", type=float, default=1, metavar="S")
    options.add_argument("--sample", type=int, default=20, metavar="K",
                         help="cvc5 judges every K-th formula too")
    return options.parse_args()


def main():
    arguments = options_of()
    total = max(1, int(arguments.n * float(os.environ.get("OPAL_RANDOM_SCALE", "1"))))
    subjects = arguments.subject or DEFAULT_SUBJECTS
    names = arguments.family or sorted(name for s in subjects for name in SUBJECTS[s])
    judges = Judges(arguments.judge_timeout, arguments.sample)
    campaign = Campaign(arguments.opal, judges, arguments.timeout)
    start = 0
    while (campaign.total("interpolants") < arguments.interpolants
           if arguments.interpolants else start < total):
        end = start + arguments.batch
        if not arguments.interpolants:
            end = min(end, total)
        batch = [FAMILIES[names[i % len(names)]](random.Random(f"{arguments.seed}-{i}"))
                 for i in range(start, end)]
        wrong = campaign.failures(batch, count=True)
        if wrong:
            print(f"{len(wrong)} wrong; seed {arguments.seed}, problems from {start}")
            campaign.report(*wrong[0])
            return 1
        start = end
    print("\n".join(campaign.summary(arguments.seed)))
    return 0


if __name__ == "__main__":
    sys.exit(main())
