#!/usr/bin/env python3
"""Measures the project against its targets and writes the results into the page.

    bench/run.py --build build/bench [--skip PART]

Everything that is compared is run side by side, in turns, on the same machine. A ratio is
the rival's time divided by ours: above 1 we are faster.
"""

import argparse
import json
import math
import pathlib
import statistics
import subprocess
import tempfile
from collections import defaultdict

import chains
import families
import integer_sizes
import machine
import page
from opal_lab import programs

RIVALS = (["z3", "-smt2"], ["cvc5", "--lang", "smt2"])
SEEDS = 3
TIMEOUT = 10


# Why a target is out of reach where it is, by the beginning of its row.
SHORTFALLS = {
    "hash map: find": (
        "the row that falls short looks up absent keys. A chained table with 0.7 elements a "
        "bucket has an empty bucket half of the time, which the branch predictor cannot "
        "guess; keys that are present are found faster than in the standard map."),
    "size of interpolants": (
        "a sum is one inequality over the variables that both sides share. A's sum and B's "
        "(dual) have the same variables, and a conjunction is rarely smaller than the sum "
        "of its parts, so the modes of one proof differ little. Smaller interpolants need "
        "other refutations, with fewer shared variables."),
}


class Micro:
    """Times of Google Benchmark programs by operation, operands and implementation."""

    def __init__(self):
        self.times = defaultdict(list)
        self.counters = {}

    def run(self, program, repetitions=5, min_time=0.01):
        command = [str(program), "--benchmark_format=json",
                   f"--benchmark_repetitions={repetitions}",
                   f"--benchmark_min_time={min_time}",
                   "--benchmark_enable_random_interleaving=true"]
        output = subprocess.run(command, capture_output=True, text=True, check=True).stdout
        units = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
        for entry in json.loads(output)["benchmarks"]:
            if entry["run_type"] != "iteration":
                continue
            operation, operands, implementation = entry["run_name"].split("/")[:3]
            key = (operation, operands, implementation)
            self.times[key].append(entry["cpu_time"] * units[entry["time_unit"]])
            self.counters[key] = entry

    def median(self, *key):
        return statistics.median(self.times[key])

    def ratio(self, operation, operands, rival):
        """The median over the repetitions of rival's time / ours; nothing if not measured."""
        ours = self.times.get((operation, operands, "opal"))
        theirs = self.times.get((operation, operands, rival))
        if not ours or not theirs:
            return None
        return statistics.median(t / o for o, t in zip(ours, theirs))


def micro_rows(micro):
    """Rows of the summary about numbers and containers: (what, against, target, measured,
    met). A target is met when the worst of its measurements meets it."""
    core = ("add", "mul", "less")
    words = [("int", "wideint"), ("frac", "widefrac")]
    large = ("int200", "frac200", "int2000", "frac2000")
    finds = [kind + str(10**e) for kind in ("", "dense", "pointers", "absent")
             for e in range(3, 7)]
    targets = [
        ("numbers, integers in words: add, mul, less", core, words[0], "mpq", 10),
        ("numbers, fractions in words: add, mul, less", core, words[1], "mpq", 3),
        ("numbers, fractions in words: add, mul, less", core, words[1], "fmpq", 1),
        ("numbers of 200 and 2000 bits: add, mul, less", core, large, "mpq", 1 / 1.1),
        ("hash map: fill with 20 and clear", ("fillclear",), ("20", "pointers20"), "std", 2),
        ("hash map: find among 10^3 to 10^6", ("find",), finds, "std", 1),
    ]
    rows = []
    for what, operations, kinds, rival, target in targets:
        ratios = {(o, k): micro.ratio(o, k, rival) for o in operations for k in kinds}
        ratios = {key: ratio for key, ratio in ratios.items() if ratio is not None}
        if ratios:
            worst = min(ratios, key=ratios.get)
            measured = (f"median {statistics.median(ratios.values()):.2f}, "
                        f"worst {ratios[worst]:.2f} ({' '.join(worst)})")
            rows.append((what, rival, f"ratio {target:.2g}", measured, ratios[worst] >= target))
    return rows


def micro_details(micro):
    lines = ["| Operation, operands | Opal, ns a round | absl | fmpq | mpq | std |",
             "|---|---|---|---|---|---|"]
    ours = [key[1::-1] for key in micro.times if key[2] == "opal" and key[0] != "chain"]
    for operands, operation in sorted(ours):
        ratios = [micro.ratio(operation, operands, r) for r in ("absl", "fmpq", "mpq", "std")]
        shown = " | ".join("" if r is None else f"{r:.2f}" for r in ratios)
        lines.append(f"| {operation} {operands} "
                     f"| {micro.median(operation, operands, 'opal'):.1f} | {shown} |")
    return lines


def engine_rows(micro):
    rows = []
    for variant, what in (("opal", "half of it A's"), ("opal_all_A", "all of it A's")):
        sizes = sorted(int(k[1]) for k in micro.times if k[0] == "chain" and k[2] == variant)
        if len(sizes) < 2:
            continue
        first, last = sizes[0], sizes[-1]
        growth = (micro.median("chain", str(last), variant) /
                  micro.median("chain", str(first), variant))
        exponent = math.log(growth) / math.log(last / first)
        memory = max(micro.counters["chain", str(n), variant]["bytes_per_combination"]
                     for n in sizes)
        chain = f"engine: chain of {first} to {last}, {what}"
        rows.append((f"{chain}: time's exponent", "itself", "at most 1.1", f"{exponent:.2f}",
                     exponent <= 1.1))
        rows.append((f"{chain}: bytes a combination", "itself", "at most 400",
                     f"{memory:.0f}", memory <= 400))
    return rows


class Case:
    """One problem: the best time of each program and what it answered."""

    def __init__(self, family, size, seed, tool, folder):
        drawn = families.problem(family, size, seed)
        self.family, self.size = family, size
        self.name = f"{family} {size} #{seed}"
        self.decide = folder / "decide.smt2"
        self.decide.write_text(drawn.to_decide())
        self.files = {mode: folder / f"{mode}.smt2" for mode in ("auto", "sum")}
        for mode, path in self.files.items():
            path.write_text(drawn.to_interpolate(mode))
        self.commands = {"opal": [tool, "--stats", "json", str(self.files["auto"])]}
        for rival in RIVALS:
            self.commands[rival[0]] = rival + [str(self.decide)]
        self.seconds, self.verdicts, self.statistics = {}, {}, {}
        self.measure(tool)

    def measure(self, tool):
        for turn in range(3):
            for name, command in self.commands.items():
                if turn and self.seconds[name] > 1:  # long runs vary little
                    continue
                run = programs.run(command, TIMEOUT)
                if name == "opal":
                    self.check(run)
                    if run.seconds < self.seconds.get(name, math.inf):
                        self.statistics = run.statistics()
                self.seconds[name] = min(run.seconds, self.seconds.get(name, TIMEOUT))
                self.verdicts[name] = run.verdict()
        decided = {v for v in self.verdicts.values() if v != "none"}
        if len(decided) > 1:
            raise SystemExit(f"{self.name}: the programs disagree: {self.verdicts}")
        self.size_of_sum = None
        if self.verdicts["opal"] == "unsat":
            run = programs.run([tool, "--stats", "json", str(self.files["sum"])], TIMEOUT)
            self.check(run)
            self.size_of_sum = run.statistics().get("interpolant-size")

    def check(self, run):
        """An interpolant must have been answered wherever there is one."""
        if run.verdict() == "unsat" and (run.status or "(error" in run.output):
            raise SystemExit(f"{self.name}: {run.output[:300]}{run.errors[:300]}")

    def fastest_rival(self):
        """The time of the faster of the rivals that decide; nothing if none does."""
        times = [self.seconds[r[0]] for r in RIVALS if self.verdicts[r[0]] != "none"]
        return min(times, default=None)

    def decided(self):
        return self.verdicts["opal"] != "none"

    def faster(self):
        rival = self.fastest_rival()
        return self.decided() and (rival is None or self.seconds["opal"] < rival)


def measure_cases(tool):
    cases = []
    with tempfile.TemporaryDirectory() as folder:
        for family, (_, sizes) in families.FAMILIES.items():
            for size in sizes:
                for seed in range(1, SEEDS + 1):
                    cases.append(Case(family, size, seed, tool, pathlib.Path(folder)))
                print(f"{family} {size}", flush=True)
    return cases


def median_text(values, form="{:.3f}"):
    values = list(values)
    return form.format(statistics.median(values)) if values else ""


def case_table(cases):
    names = ["opal"] + [r[0] for r in RIVALS]
    lines = ["| Family | Size | Decided by Opal, z3, cvc5 | Median seconds of each "
             "| Median ratio to the faster rival | Faster than both |",
             "|---|---|---|---|---|---|"]
    groups = defaultdict(list)
    for case in cases:
        groups[case.family, case.size].append(case)
    for (family, size), group in groups.items():
        decided = " ".join(f"{sum(c.verdicts[n] != 'none' for c in group)}/{len(group)}"
                           for n in names)
        seconds = " ".join(median_text(c.seconds[n] for c in group) for n in names)
        ratios = [c.fastest_rival() / c.seconds["opal"] for c in group
                  if c.fastest_rival() is not None and c.decided()]
        faster = sum(c.faster() for c in group)
        lines.append(f"| {family} | {size} | {decided} | {seconds} "
                     f"| {median_text(ratios, '{:.1f}')} | {faster}/{len(group)} |")
    return lines


def size_table(cases):
    lines = ["| Family | Interpolants | Size, auto | Size, sum | Ratio |", "|---|---|---|---|---|"]
    groups = defaultdict(list)
    for case in cases:
        if case.size_of_sum:
            groups[case.family].append((case.statistics["interpolant-size"], case.size_of_sum))
    for family, sizes in groups.items():
        auto, total = (sum(column) for column in zip(*sizes))
        lines.append(f"| {family} | {len(sizes)} | {auto:.0f} | {total:.0f} "
                     f"| {auto / total:.2f} |")
    return lines


def case_rows(cases):
    known = [c for c in cases if c.decided() or c.fastest_rival() is not None]
    faster = sum(c.faster() for c in known) / len(known)
    missed = [c.name for c in known if not c.decided()]
    rows = [
        ("tool decides and interpolates, over all cases", "faster of z3 and cvc5 deciding",
         "faster on 0.90", f"{faster:.2f}", faster >= 0.9),
        ("cases decided by a rival and not by the tool", "z3 and cvc5", "none",
         str(len(missed)) + (f" ({', '.join(missed)})" if missed else ""), not missed),
    ]
    sized = [c for c in cases if c.size_of_sum]
    if sized:
        ratio = statistics.geometric_mean(
            c.statistics["interpolant-size"] / c.size_of_sum for c in sized)
        rows.append(("size of interpolants, auto mode, geometric mean", "sum mode",
                     "at most 0.90", f"{ratio:.2f}", ratio <= 0.9))
        shares = [c.statistics["engine-seconds"] / c.seconds["opal"] for c in sized]
        rows.append((f"engine's share of a run, median (worst {max(shares):.2f})",
                     "whole run", "under 0.20", f"{statistics.median(shares):.2f}",
                     statistics.median(shares) < 0.2))
    return rows


def links_rows(tool):
    """A hundred links of a cycle: cut in two blocks, they meet at two variables; in blocks
    of ten, at ten."""
    rows = []
    for family, most in (("cycle-blocks", 10), ("cycle-alternating", 40)):
        with tempfile.NamedTemporaryFile("w", suffix=".smt2") as script:
            script.write(families.problem(family, 100, 1).to_interpolate("auto"))
            script.flush()
            run = programs.run([tool, "--stats", "json", script.name], TIMEOUT)
        size = run.statistics().get("interpolant-size", math.inf)
        rows.append((f"size of the interpolant of {family} 100", "itself",
                     f"at most {most}", f"{size:.0f}", run.status == 0 and size <= most))
    return rows


def summary(rows):
    lines = ["| What | Against | Target | Measured | Met |", "|---|---|---|---|---|"]
    lines += [f"| {what} | {against} | {target} | {measured} | {'yes' if met else '**no**'} |"
              for what, against, target, measured, met in rows]
    met = sum(row[4] for row in rows)
    lines += ["", f"{met} of {len(rows)} targets met."]
    for what, _, _, _, was_met in rows:
        reasons = [text for start, text in SHORTFALLS.items() if what.startswith(start)]
        if not was_met and reasons:
            lines += ["", f"*{what}*: {reasons[0]}"]
    return lines


def main():
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("--build", type=pathlib.Path, required=True)
    options.add_argument("--skip", action="append", default=[],
                         choices=["micro", "tool", "chains"])
    arguments = options.parse_args()
    tool = str((arguments.build / "opal").resolve())
    described = machine.description()
    rows, parts = [], []
    if "micro" not in arguments.skip:
        micro = Micro()
        for program in ("bench_numbers", "bench_containers"):
            micro.run(arguments.build / program)
        micro.run(arguments.build / "bench_engine", repetitions=3)
        rows += micro_rows(micro) + engine_rows(micro)
        parts += ["", "### Numbers and containers", "",
                  "Median ratio of the rival's time to ours over 5 repetitions.", ""]
        parts += micro_details(micro)
    if "tool" not in arguments.skip:
        cases = measure_cases(tool)
        rows += case_rows(cases) + links_rows(tool)
        parts += ["", "### The tool on the families of bench/families.py", "",
                  "Opal reads, decides, interpolates (auto mode) and prints; z3 and cvc5 read "
                  f"and decide the same formulas. {SEEDS} problems a size, each run in turns, "
                  f"the best of 3 wall times (one run where it takes over a second), at most "
                  f"{TIMEOUT} s. All times include the start of the process.", ""]
        parts += case_table(cases)
        parts += ["", "### Size of interpolants (distinct sub-terms, simplified)", ""]
        parts += size_table(cases)
        parts += ["", "### Integer interpolants by cut style (distinct sub-terms)", "",
                  f"Sums over {integer_sizes.SEEDS} problems, auto mode; in brackets how many "
                  f"were interpolated within {integer_sizes.TIMEOUT} s where not all.", ""]
        parts += integer_sizes.table(tool)
    if "chains" not in arguments.skip:
        parts += ["", "### Very long chains (bench/chains.py)", ""] + chains.table(tool)
    page.write_part("targets", described, summary(rows) + parts)
    print("\n".join(summary(rows)))


if __name__ == "__main__":
    main()
