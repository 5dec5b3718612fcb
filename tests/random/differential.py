#!/usr/bin/env python3
"""Random differential test: the tool against z3 and cvc5.

Draws problems of every family and runs the tool on them in batches (one session, `reset`
between problems). z3 judges the verdict, the model of every `sat`, and for every
interpolant of every mode and cut style each step of its sequence or tree; cvc5 a sample,
and what z3 gives up on. Symbols of interpolants must be shared. `unknown` is an answer to
unbounded problems only, the time limit to none. A failing problem is reduced and printed
as a script. The last lines count what was checked.
"""

import argparse
import os
import random
import subprocess
import sys
from collections import Counter

import integer_problems
import mixed_problems
import rational_problems
import sexpr
from formulas import conjunction
from judges import Claim, Judges
from queries import queries_of, script_of, steps_of

SUBJECTS = {
    "rational": rational_problems.FAMILIES,
    "integer": integer_problems.FAMILIES,
    "mixed": mixed_problems.FAMILIES,
}
FAMILIES = {name: draw for families in SUBJECTS.values() for name, draw in families.items()}
GAVE_UP = "gave up"  # what a failure by the time limit, or by `unknown`, begins with


class Campaign:
    def __init__(self, opal, judges, timeout):
        self.opal, self.judges, self.timeout = opal.split(), judges, timeout
        self.counts = {}  # by family
        self.undecided = {}  # claims that no judge decided, by formula

    def count(self, problem, **what):
        self.counts.setdefault(problem.family, Counter()).update(what)

    def total(self, what):
        return sum(counter[what] for counter in self.counts.values())

    def run_tool(self, problems):
        text = "(reset)\n".join(script_of(p) for p in problems)
        command = self.opal + ["--timeout", str(self.timeout), "-"]
        # Beyond one command's limit the tool does not heed it.
        patience = 2 * self.timeout + len(problems)
        try:
            run = subprocess.run(command, input=text, capture_output=True, text=True,
                                 timeout=patience)
        except subprocess.TimeoutExpired:
            return None, f"{GAVE_UP}: no end after {patience} s"
        try:
            answers = sexpr.parse_all(run.stdout)
        except ValueError as fault:
            return None, f"unreadable answers ({fault}), exit {run.returncode}: {run.stderr}"
        expected = sum(2 + len(queries_of(p)) for p in problems)
        if len(answers) != expected:
            return None, (f"{len(answers)} answers for {expected} commands, "
                          f"exit {run.returncode}: {run.stderr[:300]}")
        return answers, None

    def failures(self, problems, count=False):
        """The (problem, what is wrong) pairs of a batch."""
        answers, fault = self.run_tool(problems)
        if fault:
            if len(problems) == 1:
                return [(problems[0], fault)]
            return [f for p in problems for f in self.failures([p], count)]
        wrong, claims, at = [], [], 0
        for problem in problems:
            mine = answers[at : at + 2 + len(queries_of(problem))]
            at += len(mine)
            try:
                claims += self.claims(problem, mine, count)
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

    def claims(self, problem, answers, count):
        """What the tool's answers to a problem claim."""
        verdict = answers[0]
        if verdict == "unknown" and not problem.bounded:
            if count:
                self.count(problem, problems=1, unbounded=1, unknown=1)
            return []
        if verdict not in ("sat", "unsat"):
            kind = GAVE_UP if verdict == "unknown" else "failed"
            raise ValueError(f"{kind}: answer to check-sat: {sexpr.show(verdict)}")
        everything = conjunction(f for _, f in problem.assertions)
        claims = [Claim(problem, "verdict", verdict, everything)]
        interpolants = 0
        if verdict == "sat":
            values = [f"(= {d[1]} {sexpr.show(d[4])})" for d in answers[1]
                      if isinstance(d, list) and d[0] == "define-fun"]
            claims.append(Claim(problem, "model", "sat", conjunction([everything] + values)))
        else:
            for query, answer in zip(queries_of(problem), answers[2:]):
                claims += self.claims_of_query(problem, query, answer)
                interpolants += len(answer)
        if count:
            self.count(problem, problems=1, unbounded=not problem.bounded,
                       unsat=verdict == "unsat", interpolants=interpolants)
        return claims

    @staticmethod
    def claims_of_query(problem, query, answer):
        mode, cuts, order, exchanged = query
        where = f"mode {mode}, cuts {cuts}, {order}"
        if isinstance(answer, str) or answer[:1] == ["error"]:
            text = sexpr.show(answer)
            kind = GAVE_UP if "timeout" in text else "failed"
            raise ValueError(f"{kind}: {where}: {text}")
        try:
            steps = steps_of(problem, answer, exchanged)
        except ValueError as fault:
            raise ValueError(f"{where}: {fault}") from None
        shown = sexpr.show(answer)
        return [Claim(problem, f"{where}, step {number}: {shown}", "unsat", step)
                for number, step in enumerate(steps)]

    def reduced(self, problem):
        """A problem with as few assertions as keep it failing in substance: one that merely
        is no longer bounded does not count."""
        kept = list(problem.assertions)
        i = 0
        while i < len(kept):
            smaller = problem.with_assertions(kept[:i] + kept[i + 1 :])
            enough = all(smaller.in_group(g) for g in range(problem.groups))
            if enough and any(not what.startswith(GAVE_UP)
                              for _, what in self.failures([smaller])):
                kept = smaller.assertions
            else:
                i += 1
        return problem.with_assertions(kept)

    def report(self, problem, what):
        if not what.startswith(GAVE_UP):
            problem = self.reduced(problem)
            what = (self.failures([problem]) or [(problem, what)])[0][1]
        bounded = "bounded" if problem.bounded else "unbounded"
        print(f"family {problem.family} ({bounded}): {what}\n{script_of(problem)}")

    def summary(self, seed):
        """The families in which something stayed open, and totals."""
        lines = [f"undecided: {c.problem.family}, {c.what[:100]}: {c.formula[:300]}"
                 for c in self.undecided.values()]
        for family, counter in sorted(self.counts.items()):
            if counter["unbounded"] or counter["undecided"]:
                lines.append(
                    f"{family}: {counter['problems']} problems, {counter['unbounded']} "
                    f"unbounded; unknown {share(counter['unknown'], counter['problems'])}; "
                    f"{counter['interpolants']} interpolants, undecided formulas: "
                    f"{share(counter['undecided'], counter['formulas'])}")
        if self.judges.sampled:
            lines.append(f"{self.judges.asked} different formulas judged by z3, "
                         f"{self.judges.sampled} by cvc5 too")
        undecided = self.total("undecided")
        outcome = f"all but {undecided} formulas confirmed" if undecided else "all confirmed"
        lines.append(f"{self.total('problems')} problems ({self.total('unsat')} unsat), "
                     f"{self.total('interpolants')} interpolants, {outcome}; seed {seed}")
        return lines


def share(part, whole):
    return f"{part} ({100 * part / whole:.1f}%)" if part else "0"


def options_of():
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("--opal", required=True, help="the tool")
    options.add_argument("--z3", default="z3 -in -smt2", help="the judge")
    options.add_argument("--cvc5", default="cvc5 --lang smt2 -", help="the other judge")
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
    subjects = arguments.subject or list(SUBJECTS)
    names = arguments.family or sorted(name for s in subjects for name in SUBJECTS[s])
    judges = Judges(arguments.z3, arguments.cvc5, arguments.judge_timeout, arguments.sample)
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
