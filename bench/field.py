#!/usr/bin/env python3
"""How the tool does on scripts that others wrote.

    bench/field.py TOOL FOLDER [--timeout T] [--only PATTERN] [--halves] [--sequence]
                   [--rivals] [--out FILE] [--jobs J] [--expect VERDICT]

Runs every .smt2 file of a folder, T seconds each, and compares the verdicts with the list
LIST.tsv in the folder or above it (file, logic, size, checks, expected verdicts), else with
:status in the file, else with what is expected of all. Every interpolant that is answered is
judged, step by step, by z3 and, where z3 gives up, cvc5: where a script asks for one; with
--halves of the first and the second half of an unsatisfiable script's assertions; and with
--sequence of all its assertions one by one, if it asks for some. --rivals measures z3 and
cvc5 too. FILE gets a line of JSON for each script; what is in it already is not run again.
"""

import argparse
import json
import multiprocessing
import pathlib
import re
import resource
import statistics
import tempfile
from collections import Counter
from functools import partial

from field_script import halves, with_query, without_questions
from opal_lab import judges
from opal_lab.interpolation import steps_of
from opal_lab.programs import run
from opal_lab.scripts import State, commands_of
from opal_lab.sexpr import parse_all, size

VERDICTS = ("sat", "unsat", "unknown")
OUTCOMES = ("right", "not known", "wrong", "refused", "unknown", "out of time", "crashed")
JUDGEMENTS = ("confirmed", "wrong", "undecided", "refused", "out of time", "crashed")
JUDGE_SECONDS = 5
MEMORY = 4 << 30
PLACE = re.compile(r"^\S*?:(\d+):(\d+): ")


def little_memory():
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))


class Answers:
    """The answers of a run, by the command that each belongs to."""

    def __init__(self, done, commands):
        self.done, self.commands, self.of = done, commands, {}
        try:
            replies = parse_all(done.output)
        except ValueError:  # ended within an answer
            replies = parse_all(done.output[:max(0, done.output.rfind("\n("))])
        replies = [reply for reply in replies if reply != "success"]
        at = 0
        for command in commands:
            if at < len(replies) and self.belongs(replies[at], command):
                self.of[id(command)] = replies[at]
                at += 1

    def belongs(self, reply, command):
        """Whether a reply, the next one, is to a command: most have one to errors only, which
        name their place."""
        answers = command.name().startswith(("check-sat", "get-")) or command.name() == "echo"
        place = PLACE.match(reply[1].strip('"')) if is_error(reply) else None
        if place:
            at = int(place[1]), int(place[2])
            return [c for c in self.commands if (c.line, c.column) <= at][-1:] == [command]
        return answers or reply == "unsupported" and command.name().startswith("set-")

    def said(self, command):
        """What the error that answers a command says, or None."""
        reply = self.of.get(id(command))
        return PLACE.sub("", reply[1].strip('"')) if is_error(reply) else None

    def end(self):
        """How a run ended, if before its time."""
        if self.done.timed_out:
            return "out of time"
        return "crashed" if self.done.status not in (0, 1) else None

    def refusal(self):
        """The first error that is about what the script states, not about a question, unless
        that one ended the run before its last check."""
        errors = [(c, self.said(c)) for c in self.commands if self.said(c) is not None]
        about_statements = [text for c, text in errors if not c.name().startswith(
            ("get-", "set-option", "set-info"))]
        if not about_statements and None in self.verdicts():
            about_statements = [text for _, text in errors]
        return about_statements[0] if about_statements else None

    def verdicts(self):
        """Of each check; None where there is none."""
        return [reply if (reply := self.of.get(id(c))) in VERDICTS else None
                for c in self.commands if c.name().startswith("check-sat")]


def is_error(reply):
    return isinstance(reply, list) and reply[:1] == ["error"]


def execute(tool, text, seconds):
    """The answers to a script."""
    with tempfile.NamedTemporaryFile("w", suffix=".smt2", encoding="utf-8",
                                     errors="surrogateescape") as file:
        file.write(text)
        file.flush()
        return Answers(run([tool, file.name], seconds, preexec_fn=little_memory),
                       commands_of(text))


def outcome(answers, expected):
    """What became of a script's checks, by the worst of them."""
    given, refusal = answers.verdicts(), answers.refusal()
    shown = " ".join(map(str, given))
    if refusal is not None:
        return "refused", refusal
    if any({a, b} == {"sat", "unsat"} for a, b in zip(given, expected)):
        return "wrong", shown
    if None in given:
        return answers.end() or "crashed", f"status {answers.done.status}"
    if "unknown" in given:
        return "unknown", shown
    return "not known" if "?" in expected else "right", shown


def judged(formula, state):
    script = "\n".join([*state.declarations(), f"(assert {formula})", "(check-sat)\n"])
    for ask in (lambda: judges.ask_z3([script], JUDGE_SECONDS, judges.LENIENT)[0],
                lambda: judges.ask_cvc5("(set-logic ALL)\n" + script, JUDGE_SECONDS)):
        try:
            verdict = ask()
        except judges.Unjudged:
            continue
        if verdict != "unknown":
            return verdict
    return "unknown"


def judge(groups, answer, state):
    """Whether an answer is right, and what is wrong with it."""
    try:
        steps = steps_of(groups, answer, state.assertions(), state.symbols_in())
    except ValueError as fault:
        return "wrong", str(fault)
    said = [judged(step, state) for step in steps]
    if "sat" in said:
        return "wrong", f"step {said.index('sat')} of {len(steps)} is satisfiable"
    return ("undecided", "") if "unknown" in said else ("confirmed", "")


def queries(kind, answers):
    """A record for each query for interpolants of a run."""
    state = State()
    for command in answers.commands:
        state.take(command)
        if command.name() != "get-interpolants":
            continue
        record, answer = {"kind": kind, "sizes": []}, answers.of.get(id(command))
        if answers.refusal() is not None:
            record["outcome"], record["reason"] = "refused", "a script that is refused"
        elif answer is None:
            record["outcome"], record["reason"] = answers.end() or "crashed", "no answer"
        elif is_error(answer):
            record["outcome"], record["reason"] = "refused", answers.said(command)
        else:
            record["sizes"] = [size(term) for term in answer]
            record["outcome"], record["reason"] = judge(command.expression[1:], answer, state)
        yield record


def expected_of(path, commands, wanted, default):
    if path.name in wanted:
        return wanted[path.name]
    status = [c.expression[2] for c in commands
              if c.name() == "set-info" and c.expression[1] == ":status"]
    return status or [default] * sum(c.name().startswith("check-sat") for c in commands)


def examine(path, arguments, wanted):
    """The record of one script."""
    text = path.read_text(encoding="utf-8", errors="surrogateescape")
    commands = commands_of(text)
    expected = expected_of(path, commands, wanted, arguments.expect)
    answers = execute(arguments.tool, text, arguments.timeout)
    result, reason = outcome(answers, expected)
    logic = next((c.expression[1] for c in commands if c.name() == "set-logic"), "none")
    record = {"file": path.name, "logic": logic, "outcome": result, "reason": reason,
              "expected": expected, "seconds": round(answers.done.seconds, 4),
              "peak_mb": round(answers.done.peak_mb, 1)}
    record["queries"] = list(queries("asked", answers))
    asks = bool(record["queries"])
    if answers.verdicts() == ["unsat"] and answers.refusal() is None:
        for kind, wished, groups in (("halves", arguments.halves, halves),
                                     ("sequence", arguments.sequence and asks, " ".join)):
            script = with_query(commands, groups) if wished else None
            if script:
                again = execute(arguments.tool, script, arguments.timeout)
                record["queries"] += queries(kind, again)
    if arguments.rivals:
        record["rivals"] = rivals(arguments, commands)
    return record


def rivals(arguments, commands):
    """Seconds of the tool and of others for the same script without its questions; None for
    who does not decide all of it."""
    seconds, checks = {}, sum(c.name().startswith("check-sat") for c in commands)
    with tempfile.NamedTemporaryFile("w", suffix=".smt2", errors="surrogateescape") as file:
        file.write("\n".join(without_questions(commands)) + "\n")
        file.flush()
        for name, command in (("opal", [arguments.tool]), ("z3", ["z3", "-smt2"]),
                              ("cvc5", judges.CVC5 + ["--incremental"])):
            done = run([*command, file.name], arguments.timeout, preexec_fn=little_memory)
            given = [line for line in done.output.split("\n") if line in VERDICTS[:2]]
            decided = len(given) == checks and "(error" not in done.output
            seconds[name] = done.seconds if decided else None
    return seconds


# The tables.

def reasons(records, most=3):
    """The most frequent reasons, without what is particular to a script."""
    said = Counter(re.split(r": |[(|]", r["reason"])[0].strip()[:70] for r in records)
    return "; ".join(f"{reason} ({count})" for reason, count in said.most_common(most))


def counts_table(records):
    lines = ["| Logic | Scripts | " + " | ".join(OUTCOMES) + " |",
             "|---|" + "---|" * (1 + len(OUTCOMES))]
    logics = Counter(r["logic"] for r in records)
    for logic in ["all", *(name for name, _ in logics.most_common())]:
        chosen = [r for r in records if logic in ("all", r["logic"])]
        found = Counter(r["outcome"] for r in chosen)
        lines.append(f"| {logic} | {len(chosen)} | "
                     + " | ".join(str(found[o]) for o in OUTCOMES) + " |")
    for kind in ("refused", "crashed"):
        some = [r for r in records if r["outcome"] == kind]
        if some:
            lines += ["", f"{kind.capitalize()}: {reasons(some)}."]
    return lines + [f"WRONG: {r['file']}: {r['reason']}, expected {' '.join(r['expected'])}"
                    for r in records if r["outcome"] == "wrong"]


def interpolants_table(records):
    lines = ["| Interpolants | Queries | " + " | ".join(JUDGEMENTS)
             + " | Formulas | Size, median | largest |", "|---|" + "---|" * (4 + len(JUDGEMENTS))]
    for kind in ("asked", "halves", "sequence"):
        asked = [q for r in records for q in r["queries"] if q["kind"] == kind]
        if asked:
            found = Counter(q["outcome"] for q in asked)
            sizes = [s for q in asked for s in q["sizes"]]
            lines.append(f"| {kind} | {len(asked)} | "
                         + " | ".join(str(found[o]) for o in JUDGEMENTS) + f" | {len(sizes)} | "
                         + (f"{statistics.median(sizes):g} | {max(sizes)} |" if sizes else "| |"))
    refused = [q for r in records for q in r["queries"] if q["outcome"] == "refused"]
    if refused:
        lines += ["", f"Refused: {reasons(refused)}."]
    return lines + [f"WRONG: {r['file']}, {q['kind']}: {q['reason']}"
                    for r in records for q in r["queries"] if q["outcome"] == "wrong"]


def rivals_table(records, timeout):
    lines = []
    for rival in ("z3", "cvc5"):
        ratios = sorted(((r["rivals"]["opal"] / (r["rivals"][rival] or timeout), r["file"])
                         for r in records if r.get("rivals", {}).get("opal")
                         and r["outcome"] in ("right", "not known")), reverse=True)
        if ratios:
            worst = ", ".join(f"{ratio:.1f} {name}" for ratio, name in ratios[:10])
            lines.append(f"Seconds to those of {rival}, {len(ratios)} scripts decided: median "
                         f"{statistics.median(r for r, _ in ratios):.2f}; worst: {worst}.")
    return lines


def options_of():
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("tool", type=pathlib.Path)
    options.add_argument("folder", type=pathlib.Path)
    options.add_argument("--timeout", type=float, default=10, help="seconds a script")
    options.add_argument("--only", default="", help="a regular expression on the file's name")
    options.add_argument("--halves", action="store_true")
    options.add_argument("--sequence", action="store_true")
    options.add_argument("--rivals", action="store_true")
    options.add_argument("--out", type=pathlib.Path, help="JSON lines, to be gone on with")
    options.add_argument("--jobs", type=int, default=2)
    options.add_argument("--expect", default="?", choices=("sat", "unsat", "?"))
    arguments = options.parse_args()
    arguments.tool = str(arguments.tool.resolve())
    return arguments


def wanted_in(folder):
    """The expected verdicts by file, from the list in a folder or above it."""
    for place in (folder, folder.parent):
        if (place / "LIST.tsv").exists():
            rows = [line.split("\t") for line in
                    (place / "LIST.tsv").read_text().splitlines()[1:]]
            return {row[0]: row[4].split() for row in rows}
    return {}


def main():
    arguments = options_of()
    paths = sorted(p for p in arguments.folder.glob("*.smt2")
                   if re.search(arguments.only, p.name))
    records = {}
    if arguments.out and arguments.out.exists():
        known = map(json.loads, arguments.out.read_text().splitlines())
        records = {r["file"]: r for r in known if r["file"] in {p.name for p in paths}}
    rest = [p for p in paths if p.name not in records]
    work = partial(examine, arguments=arguments, wanted=wanted_in(arguments.folder))
    with multiprocessing.Pool(arguments.jobs) as pool:
        for record in pool.imap_unordered(work, rest):
            records[record["file"]] = record
            if arguments.out:
                with open(arguments.out, "a") as out:
                    out.write(json.dumps(record) + "\n")
    found = [records[p.name] for p in paths]
    lines = [f"{len(found)} scripts, {arguments.timeout:g} s each", "", *counts_table(found)]
    if any(r["queries"] for r in found):
        lines += ["", *interpolants_table(found)]
    print("\n".join([*lines, "", *rivals_table(found, arguments.timeout)]))
    wrong = any("wrong" in (r["outcome"], *(q["outcome"] for q in r["queries"])) for r in found)
    return 1 if wrong or not found else 0


if __name__ == "__main__":
    raise SystemExit(main())
