#!/usr/bin/env python3
"""The tool, z3 and cvc5 on the same problems: what they decide and interpolate.

    bench/compare.py TOOL [--timeout S] [--seeds N] [--family F ...] [--page]

prints a table for each family, and with --page writes them into the page of results. Every
program reads the same formulas and decides them. For interpolants Opal gets two groups; cvc5
gets A as assertions and the negation of B as the conjecture, first in the problem's logic, and
once more without a logic when that ends in an error. z3 4.8 has no interpolation. All times include the start of the process; a run that
gives no answer counts with the time limit.
"""

import argparse
import math
import pathlib
import statistics
import tempfile
from collections import defaultdict
from dataclasses import dataclass

import families
import machine
import page
from opal_lab import programs
from opal_lab.formulas import conjunction
from opal_lab.sexpr import parse_all, size

PROGRAMS = ("opal", "z3", "cvc5")


@dataclass
class Outcome:
    answer: bool  # whether there was one within the limit
    seconds: float
    size: int = 0  # of the interpolant


class Runs:
    """Runs one problem's questions from files in a folder."""

    def __init__(self, tool, folder, timeout):
        self.tool, self.script, self.timeout = tool, folder / "problem.smt2", timeout
        self.deciders = {"opal": [tool], "z3": ["z3", "-smt2"], "cvc5": ["cvc5", "--lang", "smt2"]}

    def run(self, command, text):
        self.script.write_text(text)
        return programs.run(command + [str(self.script)], self.timeout)

    def decide(self, program, problem):
        """The verdict, and the better of two runs unless they are long."""
        runs = [self.run(self.deciders[program], problem.to_decide())]
        if runs[0].seconds < 1:
            runs.append(self.run(self.deciders[program], problem.to_decide()))
        verdict = runs[-1].verdict()
        seconds = min(r.seconds for r in runs) if verdict != "none" else self.timeout
        return verdict, Outcome(verdict != "none", seconds)

    def interpolate_opal(self, problem):
        run = self.run([self.tool], problem.to_interpolate())
        if run.timed_out:
            return Outcome(False, self.timeout)
        if run.status:
            raise SystemExit(f"{run.output[:300]}{run.errors[:300]}")
        return Outcome(True, run.seconds, size(parse_all(run.output)[1][0]))

    def interpolate_cvc5(self, problem):
        command = self.deciders["cvc5"] + ["--produce-interpolants"]
        lines = problem.header()[1:]
        lines += [f"(assert {formula})" for side, formula in problem.assertions if side == 0]
        second = [formula for side, formula in problem.assertions if side == 1]
        lines.append(f"(get-interpolant I (not {conjunction(second)}))\n")
        seconds = 0
        for logic in (problem.logic, "ALL"):
            run = self.run(command, "\n".join([f"(set-logic {logic})"] + lines))
            seconds += run.seconds
            if not run.timed_out and run.output.startswith("(define-fun I"):
                return Outcome(True, seconds, size(parse_all(run.output)[0][4]))
            if not run.output.startswith("(error"):
                break
        return Outcome(False, self.timeout)


def percentile(values, share):
    ordered = sorted(values)
    return ordered[max(0, math.ceil(share * len(ordered)) - 1)]


def compare_family(runs, family, seeds):
    """Outcomes by program of the family's problems: decisions, interpolants."""
    decisions, interpolants = defaultdict(list), defaultdict(list)
    for count in families.FAMILIES[family][1]:
        for seed in range(1, seeds + 1):
            problem = families.problem(family, count, seed)
            verdicts = {}
            for program in PROGRAMS:
                verdicts[program], outcome = runs.decide(program, problem)
                decisions[program].append(outcome)
            answers = set(verdicts.values()) - {"none"}
            if len(answers) > 1:
                raise SystemExit(f"{family} {count} #{seed}: the programs disagree: {verdicts}")
            if answers == {"unsat"}:
                interpolants["opal"].append(runs.interpolate_opal(problem))
                interpolants["cvc5"].append(runs.interpolate_cvc5(problem))
    return decisions, interpolants


def columns(outcomes, ours):
    """Answers, median and 95th percentile of the seconds, median ratio to our seconds."""
    seconds = [o.seconds for o in outcomes]
    ratio = statistics.median(o.seconds / u.seconds for o, u in zip(outcomes, ours))
    return [f"{sum(o.answer for o in outcomes)}/{len(outcomes)}",
            f"{statistics.median(seconds):.3f}", f"{percentile(seconds, 0.95):.3f}",
            f"{ratio:.1f}"]


def table(decisions, interpolants):
    lines = ["| Program | Decided | Seconds, median | 95 % | Ratio | Interpolated "
             "| Seconds, median | 95 % | Ratio | Size, median | Sum where both |",
             "|---|---|---|---|---|---|---|---|---|---|---|"]
    pairs = list(zip(interpolants["opal"], interpolants["cvc5"]))
    both = [pair for pair in pairs if all(outcome.answer for outcome in pair)]
    for program in PROGRAMS:
        cells = columns(decisions[program], decisions["opal"])
        outcomes = interpolants[program]
        if outcomes:
            sizes = [o.size for o in outcomes if o.answer]
            common = sum(pair[program == "cvc5"].size for pair in both)
            cells += columns(outcomes, interpolants["opal"])
            cells += [f"{statistics.median(sizes):.0f}" if sizes else "",
                      f"{common} ({len(both)})" if both else ""]
        else:
            cells += [""] * 6
        lines.append(f"| {program} | {' | '.join(cells)} |")
    return lines


def main():
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("tool", type=pathlib.Path)
    options.add_argument("--timeout", type=float, default=5)
    options.add_argument("--seeds", type=int, default=3, help="problems of each size")
    options.add_argument("--family", action="append", choices=families.FAMILIES)
    options.add_argument("--page", action="store_true")
    arguments = options.parse_args()
    described = machine.description()
    lines = [f"{arguments.timeout:g} s a run, {arguments.seeds} problems a size; ratio: the "
             "median of time / Opal's time."]
    with tempfile.TemporaryDirectory() as folder:
        runs = Runs(str(arguments.tool.resolve()), pathlib.Path(folder), arguments.timeout)
        for family in arguments.family or families.FAMILIES:
            rows = table(*compare_family(runs, family, arguments.seeds))
            print("\n".join([f"\n### {family}\n"] + rows), flush=True)
            lines += ["", f"### {family}", ""] + rows
    if arguments.page:
        page.write_part("rivals", described, lines)


if __name__ == "__main__":
    main()
