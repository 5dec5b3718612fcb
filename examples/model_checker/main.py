#!/usr/bin/env python3
"""Proves or refutes the systems of systems.py, and has z3 judge each invariant and path.

    PYTHONPATH=python OPAL_LIBRARY=.../libopal_capi.so examples/model_checker/main.py [NAME...]

Answers a table: the system, the depth and the number of interpolants, seconds, what was
found, which is shortened unless systems are named. Fails when z3 does not confirm something, or a system is not what it says it is.
"""

import subprocess
import sys
import time
from fractions import Fraction

from checker import Answer, Search
from opal import LimitReached
from systems import SYSTEMS


def z3_refutes(system, formulas):
    """Whether z3 finds a formula over any moments contradictory."""
    lines = [f"(declare-const {name}@{k} {sort})" for name, sort in system.variables.items()
             for k in range(2)]
    lines += [f"(assert {formula!r})" for formula in formulas] + ["(check-sat)"]
    run = subprocess.run(["z3", "-in", "-T:60"], input="\n".join(lines), capture_output=True,
                         text=True)
    return {"unsat\n": True, "sat\n": False}[run.stdout]


def confirmed_invariant(search, invariant):
    """It holds at first, steps keep it, and it excludes bad states."""
    system, now, then = search.system, search.state(0), search.state(1)
    return all(z3_refutes(system, formulas) for formulas in (
        [system.init(now), ~invariant(now)],
        [invariant(now), system.trans(now, then), ~invariant(then)],
        [invariant(now), system.bad(now)]))


def confirmed_path(search, path):
    """It starts at first, each two states are a step, and the last state is bad."""
    system, now, then = search.system, search.state(0), search.state(1)

    def holds(formula, *values):
        fixed = [term == (bool(value[name]) if system.variables[name] == "Bool" else value[name])
                 for state, value in zip((now, then), values)
                 for name, term in vars(state).items()]
        return not z3_refutes(system, [formula, *fixed])

    return holds(system.init(now), path[0]) and holds(system.bad(now), path[-1]) and all(
        holds(system.trans(now, then), *pair) for pair in zip(path, path[1:]))


def described(system, path):
    """A path in one line, variables in the order of their declaration."""
    def text(name, value):
        return str(bool(value))[0] if system.variables[name] == "Bool" else str(Fraction(value))

    states = (" ".join(text(name, value) for name, value in state.items()) for state in path)
    return f"({' '.join(system.variables)}): {' -> '.join(states)}"


def shortened(text, width=110):
    return text if len(text) <= width else f"{text[:width]}... ({len(text)} characters)"


def checked(system, show):
    """Prints the row of a system; whether all is as it should be."""
    search, start = Search(system), time.perf_counter()
    try:
        answer = search.run()
    except LimitReached:
        answer = Answer(interpolants=search.interpolants)
    seconds = time.perf_counter() - start
    if answer.path:
        found, right = described(system, answer.path), \
            not system.safe and confirmed_path(search, answer.path)
    elif answer.invariant:
        found, right = str(answer.invariant), \
            system.safe and confirmed_invariant(search, answer.invariant)
    else:
        found, right = "gave up", False
    print(f"{system.name:24} {answer.depth:5} {answer.interpolants:12} {seconds:8.2f}  "
          f"{show(found)}{'' if right else '   NOT CONFIRMED'}", flush=True)
    return right


def main():
    chosen = [s for s in SYSTEMS if not sys.argv[1:] or s.name in sys.argv[1:]]
    print(f"{'system':24} depth interpolants  seconds  found, and confirmed by z3")
    right = [checked(system, str if sys.argv[1:] else shortened) for system in chosen]
    print(f"{len(right)} systems, {right.count(False)} not confirmed")
    return 0 if right and all(right) else 1


if __name__ == "__main__":
    sys.exit(main())
