#!/usr/bin/env python3
"""Random differential test: the tool against z3.

Draws problems of every family, runs the tool on them in batches (one session, `reset`
between problems), and has z3 judge in one process a batch: the verdict, the model of
every `sat`, and for every interpolant of every mode each step of its sequence or tree.
Symbols of interpolants must be shared. A failing problem is reduced and printed as a
script. The last line counts what was checked.
"""

import argparse
import os
import random
import re
import subprocess
import sys

import sexpr
from problems import FAMILIES, Problem

VARIABLE = re.compile(r"x\d+$")


def group_names(problem):
    return [f"G{i}" for i in range(problem.groups)]


def tree_of(problem):
    """For each group its children and its parent (None for the root)."""
    children = {i: [] for i in range(problem.groups)}
    roots = []

    def visit(items, open_roots):
        for item in items:
            if isinstance(item, list):
                done = visit(item, [])
                open_roots.extend(done)
            else:
                node = int(item[1:])
                children[node], open_roots = open_roots, [node]
        return open_roots

    # Groups in parentheses are trees of their own until the next group adopts them.
    roots = visit(sexpr.parse_all(problem.tree or " ".join(group_names(problem))), [])
    assert len(roots) == 1
    return children, roots[0]


def queries_of(problem):
    """The ways in which interpolants are asked: (mode, text, exchanged)."""
    order = problem.tree or " ".join(group_names(problem))
    modes = ["sum", "conj", "auto"] if problem.tree else ["sum", "conj", "dual", "auto"]
    result = [(mode, order, False) for mode in modes]
    if problem.groups == 2:
        result += [(mode, "G1 G0", True) for mode in modes]
    return result


def script_of(problem):
    lines = [f"(set-logic {problem.logic})"]
    symbols = set()
    for _, formula in problem.assertions:
        symbols |= {s for s in re.findall(r"x\d+", formula)}
    lines += [f"(declare-fun {s} () Real)" for s in sorted(symbols)]
    count = {}
    names = {g: [] for g in range(problem.groups)}
    for group, formula in problem.assertions:
        if group is None:
            lines.append(f"(assert {formula})")
        else:
            name = f"n{group}-{len(names[group])}"
            names[group].append(name)
            lines.append(f"(assert (! {formula} :named {name}))")
    lines += ["(check-sat)", "(get-model)"]
    for mode, order, _ in queries_of(problem):
        named = re.sub(r"G(\d+)", lambda m: group_text(names[int(m.group(1))]), order)
        lines += [f"(set-option :opal-mode {mode})", f"(get-interpolants {named})"]
    return "\n".join(lines) + "\n"


def group_text(names):
    return names[0] if len(names) == 1 else f"(and {' '.join(names)})"


def symbols_in(formulas):
    return set(re.findall(r"x\d+", " ".join(formulas)))


def conjunction(formulas):
    return f"(and true {' '.join(formulas)})"


def steps_of(problem, interpolants, exchanged):
    """The conditions on the interpolants of one query: formulas that z3 must refute.
    Raises ValueError when the shape or a symbol is wrong."""
    children, root = tree_of(problem)
    if exchanged:
        children, root = {1: [], 0: [1]}, 0
    order = []
    work = [root]
    while work:
        node = work.pop()
        order.append(node)
        work.extend(children[node])
    order.reverse()
    post = [n for n in post_order(children, root)]
    if not isinstance(interpolants, list) or len(interpolants) != len(post) - 1:
        raise ValueError("wrong number of interpolants")
    terms = {n: interpolants[i] for i, n in enumerate(post[:-1])}
    background = problem.in_group(None)
    below = {}
    for node in post:
        below[node] = {node}.union(*(below[c] for c in children[node]))
    refutations = []
    for node in post:
        premises = background + problem.in_group(node)
        premises += [sexpr.show(terms[c]) for c in children[node]]
        if node != root:
            inside = [f for g, f in problem.assertions if g in below[node]]
            outside = [f for g, f in problem.assertions if g is None or g not in below[node]]
            shared = symbols_in(inside + background) & symbols_in(outside)
            free = {a for a in sexpr.atoms(terms[node]) if VARIABLE.match(a)}
            if not free <= shared:
                raise ValueError(f"symbols of one side: {sorted(free - shared)}")
            premises.append(f"(not {sexpr.show(terms[node])})")
        refutations.append(conjunction(premises))
    return refutations


def post_order(children, root):
    order, work = [], [(root, False)]
    while work:
        node, done = work.pop()
        if done:
            order.append(node)
        else:
            work.append((node, True))
            work.extend((c, False) for c in reversed(children[node]))
    return order


def ask_z3(command, queries):
    """The verdicts on a list of (symbols, formula), from one process."""
    script = []
    for symbols, formula in queries:
        script.append("(push)")
        script += [f"(declare-fun {s} () Real)" for s in sorted(symbols)]
        script += [f"(assert {formula})", "(check-sat)", "(pop)"]
    run = subprocess.run(command, input="\n".join(script), capture_output=True, text=True)
    answers = run.stdout.split("\n")[:-1]
    if run.returncode != 0 or len(answers) != len(queries):
        raise SystemExit(f"outside solver failed: {run.stdout[:500]}{run.stderr[:500]}")
    return answers


class Campaign:
    def __init__(self, opal, z3):
        self.opal, self.z3 = opal.split(), z3.split()
        self.problems = self.unsat = self.interpolants = 0

    def run_tool(self, problems):
        text = "(reset)\n".join(script_of(p) for p in problems)
        run = subprocess.run(self.opal + ["-"], input=text, capture_output=True, text=True)
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
        wrong, queries, owners, at = [], [], [], 0
        for problem in problems:
            mine = answers[at : at + 2 + len(queries_of(problem))]
            at += len(mine)
            everything = conjunction(f for _, f in problem.assertions)
            symbols = symbols_in([everything])
            try:
                for what, expected, formula in self.claims(problem, mine, everything, count):
                    queries.append((symbols, formula))
                    owners.append((problem, what, expected))
            except ValueError as fault:
                wrong.append((problem, str(fault)))
        verdicts = ask_z3(self.z3, queries)
        for (problem, what, expected), verdict in zip(owners, verdicts):
            if verdict != expected:
                wrong.append((problem, f"{what}: z3 says {verdict}, expected {expected}"))
        return wrong

    def claims(self, problem, answers, everything, count):
        """What the tool's answers to a problem claim: (what, verdict, formula)."""
        verdict = answers[0]
        if verdict not in ("sat", "unsat"):
            raise ValueError(f"answer to check-sat: {sexpr.show(verdict)}")
        self.problems += count
        yield "verdict", verdict, everything
        if verdict == "sat":
            values = [f"(= {d[1]} {sexpr.show(d[4])})" for d in answers[1]
                      if isinstance(d, list) and d[0] == "define-fun"]
            yield "model", "sat", conjunction([everything] + values)
            return
        self.unsat += count
        for (mode, order, exchanged), answer in zip(queries_of(problem), answers[2:]):
            if isinstance(answer, str) or answer[:1] == ["error"]:
                raise ValueError(f"{mode} {order}: {sexpr.show(answer)}")
            try:
                steps = steps_of(problem, answer, exchanged)
            except ValueError as fault:
                raise ValueError(f"{mode} {order}: {fault}") from None
            self.interpolants += count * len(answer)
            for number, step in enumerate(steps):
                yield f"{mode} {order} step {number}: {sexpr.show(answer)}", "unsat", step

    def reduced(self, problem):
        """A problem with as few assertions as keep it failing."""
        kept = list(problem.assertions)
        i = 0
        while i < len(kept):
            fewer = kept[:i] + kept[i + 1 :]
            smaller = Problem(problem.family, problem.logic, fewer, problem.groups, problem.tree)
            enough = all(smaller.in_group(g) for g in range(problem.groups))
            if enough and self.failures([smaller]):
                kept = fewer
            else:
                i += 1
        return Problem(problem.family, problem.logic, kept, problem.groups, problem.tree)


def main():
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("--opal", required=True, help="the tool")
    options.add_argument("--z3", default="z3 -in -smt2", help="the judge")
    options.add_argument("-n", type=int, default=500, help="number of problems")
    options.add_argument("--seed", type=int, default=1)
    options.add_argument("--family", choices=sorted(FAMILIES), action="append")
    options.add_argument("--batch", type=int, default=50)
    arguments = options.parse_args()
    total = max(1, int(arguments.n * float(os.environ.get("OPAL_RANDOM_SCALE", "1"))))
    names = arguments.family or sorted(FAMILIES)
    campaign = Campaign(arguments.opal, arguments.z3)
    for start in range(0, total, arguments.batch):
        batch = []
        for i in range(start, min(total, start + arguments.batch)):
            seed = f"{arguments.seed}-{i}"
            batch.append(FAMILIES[names[i % len(names)]](random.Random(seed)))
        wrong = campaign.failures(batch, count=True)
        if wrong:
            problem, what = wrong[0]
            print(f"{len(wrong)} wrong; seed {arguments.seed}, problems from {start}")
            problem = campaign.reduced(problem)
            what = (campaign.failures([problem]) or [(problem, what)])[0][1]
            print(f"family {problem.family}: {what}\n{script_of(problem)}")
            return 1
    print(f"{campaign.problems} problems ({campaign.unsat} unsat), "
          f"{campaign.interpolants} interpolants, all confirmed; seed {arguments.seed}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
