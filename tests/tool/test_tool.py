#!/usr/bin/env python3
"""What the tool does with pipes, signals, limits and huge inputs."""

import json
import os
import pathlib
import random
import re
import resource
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import xml.etree.ElementTree

from opal_lab.judges import not_confirmed

OPAL = ""
CONTRADICTION = """(declare-const x Real)
(assert (! (<= x 1) :named a)) (assert (! (> x 1) :named b)) (check-sat)
"""


def run(text, *arguments, **options):
    return subprocess.run([OPAL, *arguments, "-"], input=text, capture_output=True, text=True,
                          timeout=120, **options)


def is_running(pid):
    """Whether there is a process that has not ended; one that waits to be reaped has."""
    try:
        return pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()[0] != "Z"
    except FileNotFoundError:
        return False


def small_stack():
    resource.setrlimit(resource.RLIMIT_STACK, (1 << 20, 1 << 20))


def hard_problem():
    """A dense one, which takes the exact simplex seconds."""
    rng = random.Random(1)
    names = [f"x{i}" for i in range(60)]
    lines = [f"(declare-const {name} Real)" for name in names]
    for _ in range(120):
        summands = " ".join(f"(* {rng.randint(1, 9999)} {name})" if rng.random() < 0.5 else
                            f"(* (- {rng.randint(1, 9999)}) {name})" for name in names)
        lines.append(f"(assert (<= (+ {summands}) (- {rng.randint(0, 9)})))")
    return "\n".join(lines) + "\n(check-sat)\n"


def long_chain(links):
    """One group a link, so that there are as many partitions as links."""
    lines = [f"(declare-const x{i} Real)" for i in range(links + 1)]
    lines += [f"(assert (! (< x{i} x{i + 1}) :named n{i}))" for i in range(links)]
    lines += [f"(assert (! (< x{links} x0) :named n{links}))", "(check-sat)"]
    return "\n".join(lines + ["(get-interpolants " +
                              " ".join(f"n{i}" for i in range(links + 1)) + ")"])


class Pipes(unittest.TestCase):
    def test_each_answer_comes_before_the_next_command(self):
        tool = subprocess.Popen([OPAL], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        for command, answer in [
            ("(set-option :print-success true)", "success"),
            ("(declare-const x Real)", "success"),
            ("(assert (! (< x\n0) :named a))", "success"),
            ("(assert (< x y))", '(error "<stdin>:2:27: undeclared symbol: y")'),
            ("(check-sat)", "unknown"),
            ("(assert (! (> x 0) :named b))", "success"),
            ("(check-sat)", "unsat"),
            ("(get-interpolants a b)", "((< x 0.0))"),
        ]:
            # Nothing follows the last parenthesis, not even the end of the line.
            tool.stdin.write(command.encode())
            tool.stdin.flush()
            self.assertEqual(tool.stdout.readline().decode().rstrip("\n"), answer)
        tool.stdin.close()
        self.assertEqual(tool.wait(timeout=10), 1)
        tool.stdout.close()

    def test_an_output_that_takes_nothing_is_a_failure(self):
        reader, writer = os.pipe()
        os.close(reader)
        for output in [writer, os.open("/dev/full", os.O_WRONLY)]:
            done = subprocess.run([OPAL, "-"], input=CONTRADICTION.encode(), stdout=output,
                                  stderr=subprocess.PIPE, timeout=10)
            os.close(output)
            self.assertIn(b"cannot write", done.stderr)
            self.assertEqual(done.returncode, 1)


class Files(unittest.TestCase):
    def test_each_file_is_a_session_and_a_bad_one_stops_no_other(self):
        with tempfile.TemporaryDirectory() as folder:
            good = pathlib.Path(folder, "good.smt2")
            good.write_text(CONTRADICTION)
            done = subprocess.run([OPAL, "--stats", "json", good, folder, f"{folder}/none", good],
                                  capture_output=True, text=True, timeout=10)
            self.assertEqual(done.returncode, 1)
            self.assertEqual(done.stdout, f'unsat\n(error "{folder}: Is a directory")\n'
                             f'(error "{folder}/none: No such file or directory")\nunsat\n')
            lines = [json.loads(line) for line in done.stderr.split("\n")[:-1]]
            self.assertEqual([line["exit"] for line in lines], [0, 1, 1, 0])
            self.assertEqual([line["checks"] for line in lines], [1, 0, 0, 1])

    def test_where_an_error_ends_the_input(self):
        text = "(assert y)" + CONTRADICTION
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder, "bad.smt2")
            file.write_text(text)
            for name, option, answers in [
                    (file, "auto", 1), (file, "stop", 1), (file, "continue", 2),
                    ("-", "auto", 2), ("-", "stop", 1), ("-", "continue", 2)]:
                done = subprocess.run([OPAL, "--on-error", option, name], input=text,
                                      capture_output=True, text=True, timeout=10)
                self.assertEqual((done.returncode, done.stdout.count("\n")), (1, answers))

    def test_usage(self):
        for arguments, status, text in [
            (["--help"], 0, "Examples:"), (["--version"], 0, "opal "),
            (["--mode", "most"], 2, "sum, conj, dual or auto"), (["--no-such"], 2, "no-such"),
            (["--cuts", "round"], 2, "modular, floor or auto"),
            (["--on-error", "halt"], 2, "auto, stop or continue"),
            (["--timeout", "soon"], 2, "number"), (["--stats=xml"], 2, "xml"),
        ]:
            done = run("", *arguments)
            self.assertEqual(done.returncode, status, arguments)
            self.assertIn(text, done.stdout + done.stderr)
        bare = run(CONTRADICTION, "--stats")
        self.assertEqual((bare.returncode, bare.stdout), (0, "unsat\n"))
        self.assertIn("opal: checks 1", bare.stderr)


class CheckFiles(unittest.TestCase):
    def test_both_solvers_confirm_what_is_written_for_each_interpolant(self):
        here = pathlib.Path(__file__).resolve().parent
        scripts = [here / "explain.smt2", here / "shown_formulas.smt2", *here.parents[1].glob("examples/*.smt2")]
        with tempfile.TemporaryDirectory() as folder:
            made = pathlib.Path(folder, "made", "here")
            done = subprocess.run([OPAL, "--explain", "--check-files", made, *scripts],
                                  capture_output=True, text=True, timeout=60)
            count = done.stderr.count("\ninterpolant ")
            self.assertEqual((done.returncode, count > 30), (0, True), done.stderr)
            stems = ["la_a", "la_a_imp_itp", "la_b", "la_b_and_itp", "la_itp"]
            self.assertEqual(sorted(f.name for f in made.iterdir()),
                             sorted(f"{stem}.{number:03}.smt2" for stem in stems
                                    for number in range(1, count + 1)))
            self.assertEqual(not_confirmed(made), ([], 2 * count))

    def test_what_cannot_be_written_is_named(self):
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "la_b.001.smt2").mkdir()
            pathlib.Path(folder, "file").touch()
            for where, fault in [(folder, "/la_b.001.smt2: Is a directory"),
                                 (f"{folder}/file/x", ": Not a directory")]:
                done = run(CONTRADICTION + "(get-interpolants a b)", "--check-files", where)
                self.assertEqual(done.returncode, 1)
                self.assertIn(f"cannot write check files: {where}{fault}", done.stdout)


class Sorts(unittest.TestCase):
    """Values of random terms over Int and Real, and their sorts, against z3."""

    def term(self, rng, depth, integer):
        if depth == 0 or rng.random() < 0.1:
            if integer:
                return rng.choice(["i", "j", str(rng.randint(0, 9))])
            return rng.choice(["r", "i", "7", "2.5", f"{rng.randint(0, 9)}.0"])
        sub = lambda kind: self.term(rng, depth - 1, kind)
        number = lambda: rng.choice(["{}", "(- {})"]).format(rng.randint(1, 9))
        if integer:
            return rng.choice([
                lambda: f"(div {sub(True)} {number()})", lambda: f"(mod {sub(True)} {number()})",
                lambda: f"(to_int {sub(False)})", lambda: f"(- {sub(True)} {sub(True)})",
                lambda: f"(* {number()} {sub(True)})", lambda: f"(abs {number()})",
                lambda: f"(let ((i {sub(True)})) {sub(True)})",
                lambda: f"(div {sub(True)} {number()} {number()})"])()
        return rng.choice([
            lambda: f"(/ {sub(False)} {number()})", lambda: f"(+ {sub(False)} {sub(False)})",
            lambda: f"(to_real {sub(True)})", lambda: f"(* {number()} {sub(False)})",
            lambda: f"(+ {sub(True)} {sub(False)})", lambda: f"(half {sub(True)})"])()

    def formula(self, rng):
        a, b = (self.term(rng, 2, rng.random() < 0.5) for _ in "ab")
        return rng.choice([f"(= {a} {b})", f"(<= {a} {b} r)", f"(distinct {a} {b} i)",
                           f"(is_int (* 2 {a}))", f"(divides3 (to_int {a}))"])

    def test_values_are_those_of_z3(self):
        rng = random.Random(5)
        terms = [self.formula(rng) if k % 3 == 2 else self.term(rng, 3, k % 3 == 1)
                 for k in range(1500)]
        script = ["(declare-const i Int) (declare-const j Int) (declare-const r Real)",
                  "(define-fun half ((x Real)) Real (/ x 2))",
                  "(assert (and (= i (- 7)) (= j 12) (= (* 4 r) (- 13))))", "(check-sat)"]
        divides = "(define-fun divides3 ((n Int)) Bool (= (mod n 3) 0))"  # unknown to old z3
        z3 = subprocess.run(["z3", "-in"], input="\n".join([divides, *script] + [
            f"(eval {term})" for term in terms]), capture_output=True, text=True, timeout=60)
        wanted = z3.stdout.split("\n")
        terms = [term.replace("divides3", "(_ divisible 3)") for term in terms]
        ours = run("\n".join(["(set-logic ALL)", *script] + [
            f"(get-value ({term}))" for term in terms])).stdout.split("\n")
        self.assertEqual((ours[0], len(ours)), ("sat", len(wanted)))
        for term, answer, value in zip(terms, ours[1:], wanted[1:]):
            self.assertEqual(answer, f"(({term} {value}))")


class LostCommands(unittest.TestCase):
    """Scripts of which a part is refused here, and nothing by z3."""

    def script(self, rng):
        lines = ["(declare-const x Int) (declare-const y Int) (declare-fun f (Int) Int)"]
        atom = lambda: f"({rng.choice(['<=', '<', '='])} {rng.choice('xy')} {rng.randint(0, 4)})"
        level = 0
        for k in range(40):
            kind = rng.choice(["push", "pop", "check", "check", "lost", "simple", "simple", "name"])
            if kind == "pop" and level == 0:
                continue
            level += {"push": 1, "pop": -1}.get(kind, 0)
            lines.append({
                "push": "(push 1)", "pop": "(pop 1)", "check": "(check-sat)",
                "lost": rng.choice([f"(assert (or {atom()} {atom()}))", "(assert (> (f x) x))",
                                    f"(assert (! (or {atom()} {atom()}) :named n{k}))",
                                    f"(define-fun n{k} () Int (f y)) (assert (> x n{k}))"]),
                "simple": f"(assert {rng.choice([atom(), f'(not {atom()})'])})",
                "name": f"(assert (! {atom()} :named n{k}))"}[kind])
        return "\n".join(lines)

    def test_no_answer_is_given_that_they_could_have_made_another(self):
        rng, counts = random.Random(7), {}
        for _ in range(60):
            text = self.script(rng)
            truth = subprocess.run(["z3", "-in"], input=text, capture_output=True, text=True,
                                   timeout=60).stdout.split()
            ours = [line for line in run(text).stdout.split("\n") if line and line[0] != "("]
            self.assertEqual(len(ours), len(truth), text)
            for answer, right in zip(ours, truth):
                self.assertIn(answer, [right, "unknown"], text)
                counts[answer] = counts.get(answer, 0) + 1
        self.assertGreater(min(counts[a] for a in ("sat", "unsat", "unknown")), 20, counts)


class HugeInputs(unittest.TestCase):
    def answers(self, text, status=0):
        done = run(text + "\n(echo \"alive\")", preexec_fn=small_stack)
        self.assertEqual(done.returncode, status, done.stderr)
        lines = done.stdout.split("\n")
        self.assertEqual(lines[-2:], ['"alive"', ""])
        return lines[:-2]

    def test_a_million_levels_on_a_small_stack(self):
        n = 10**6
        declared = "(declare-const x Real)"
        for head, leaf in [("(and ", "(< x 1)"), ("(not ", "(< x 1)"),
                           ("(let ((y (< x 1))) ", "y"), ("(! ", "(< x 1)")]:
            tail = " :note)" if head == "(! " else ")"
            script = f"{declared}(assert {head * n}{leaf}{tail * n})(check-sat)"
            self.assertEqual(self.answers(script), ["sat"], head)
        self.assertEqual(self.answers(
            f"{declared}(assert (! (< {'(+ x ' * n}1{')' * n} 0) :named a))"
            "(assert (! (> x 0) :named b))(check-sat)(get-interpolants b a)"),
            ["unsat", "((< 0.0 x))"])
        halves = f"{'(div (+ 1 ' * (n // 10)}x{') 2)' * (n // 10)}"
        self.assertEqual(self.answers(
            f"(declare-const x Int)(assert (< {halves} 3))(check-sat)"), ["sat"])
        self.assertEqual(self.answers(
            f"{declared}(assert {'(or (< x 1) ' * n}(< x 2){')' * n})(check-sat)"), ["sat"])
        self.assertEqual(self.answers(
            f"(declare-const p Bool){'(assert (or p ' }{'(and p (or p ' * (n // 2)}p"
            f"{'))' * (n // 2)}))(assert (not p))(check-sat)"), ["unsat"])
        self.assertEqual(len(self.answers("(" * n + ")" * n, 1)), 1)
        self.assertEqual(len(self.answers(f"(get-interpolants {'(' * n}a{')' * n})", 1)), 1)
        open_lists = run("(" * n)
        self.assertIn("missing parenthesis", open_lists.stdout)

    def test_numbers_of_100000_digits(self):
        digits = "7" * 10**5
        answers = self.answers(
            "(declare-const x Real)(assert (! (< (* 2 x) " + digits + ") :named a))"
            "(assert (! (> x " + digits + "." + digits + ") :named b))(check-sat)"
            "(get-interpolants a b)(assert " + digits + ")", 1)
        self.assertEqual(answers[0], "unsat")
        self.assertIn(digits, "".join(answers[1:]))
        self.assertLess(len(answers[-1]), 300)

    def test_a_long_file(self):
        line = "(assert (< x 1)) ; " + "a comment " * 20 + "\n"
        count = 50000  # 11 MB
        self.assertEqual(self.answers("(declare-const x Real)\n" + line * count +
                                      "(assert (> x 1))(check-sat)"), ["unsat"])
        self.assertEqual(len(self.answers("rubbish " * 10**6, 1)), 1)


class Limits(unittest.TestCase):
    def test_time_ends_checks_and_interpolation(self):
        reason = "(get-info :reason-unknown)"
        done = run(hard_problem() + reason, "--method", "exact", "--timeout", "0.2")
        self.assertEqual(done.stdout, "unknown\n(:reason-unknown timeout)\n")
        self.assertEqual(done.returncode, 124)
        start = time.monotonic()
        done = run(long_chain(3000) + "(get-interpolants n0 (and n1 n2))", "--timeout", "0.5")
        self.assertLess(time.monotonic() - start, 20)
        self.assertRegex(done.stdout, r'^unsat\n\(error "<stdin>:\d+:\d+: timeout"\)\n\(\(')
        self.assertEqual(done.returncode, 124)

    # Cuts with large divisors: nearly every combination of their values is impossible.
    def test_time_ends_an_enumeration_that_builds_nothing(self):
        pairs = [(f"s{i}", f"a{i}", f"b{i}", 1000003 + 2 * i) for i in range(8)]
        lines = [f"(declare-const {name} Int)" for pair in pairs for name in pair[:3]]
        rows_a = [f"(= {s} (* {m} {a}))" for s, a, _, m in pairs]
        rows_b = [f"(<= (+ (* {m} {b}) 1) {s})(<= {s} (+ (* {m} {b}) {m - 5}))"
                  for s, _, b, m in pairs]
        lines += [f"(assert (! (and {' '.join(rows)}) :named {name}))"
                  for name, rows in (("A", rows_a), ("B", rows_b))]
        done = run("\n".join(lines) + "(check-sat)(get-interpolants A B)", "--cuts", "modular",
                   "--timeout", "0.3")
        self.assertRegex(done.stdout, r'^unsat\n\(error "<stdin>:\d+:\d+: timeout"\)\n$')

    def test_memory(self):
        hard = hard_problem().replace("(check-sat)", "(set-option :opal-memory 1)(check-sat)")
        done = run(hard + "(get-info :reason-unknown)", "--method", "exact")
        self.assertEqual(done.stdout, "unknown\n(:reason-unknown memout)\n")
        # A command that is too long is passed over, and the session goes on.
        long = "(declare-const x Real)(assert (<= (+ " + "x " * 3 * 10**6 + ") 0))"
        start = 'import resource, subprocess, sys; subprocess.run(sys.argv[1:]); print(' \
                'resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)'
        done = subprocess.run([sys.executable, "-c", start, OPAL, "--memory", "120", "-"],
                              input=long + '(echo "on")', capture_output=True, text=True)
        error, echo, peak = done.stdout.splitlines()
        self.assertRegex(error, r'^\(error "<stdin>:1:\d+: memout"\)$')
        self.assertEqual(echo, '"on"')
        if b"__asan_init" not in pathlib.Path(OPAL).read_bytes():
            self.assertLess(int(peak), 130 * 1024)

    def test_outside_solvers_end_with_their_command(self):
        with tempfile.TemporaryDirectory() as folder:
            solver, pid = pathlib.Path(folder) / "solver", pathlib.Path(folder) / "pid"
            solver.write_text(f"#!/bin/sh\nsleep 600 &\necho $! > {pid}\nwait\n")
            solver.chmod(0o755)
            for number, rest, status in [(signal.SIGINT, '"on"\n', 1), (signal.SIGTERM, "", 143)]:
                pid.unlink(missing_ok=True)
                tool = subprocess.Popen([OPAL, "--verify", "--verify-with", solver],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
                tool.stdin.write(CONTRADICTION + '(get-interpolants a b)(echo "on")')
                tool.stdin.flush()
                while not pid.exists() or not pid.read_text().strip():
                    time.sleep(0.02)
                tool.send_signal(number)
                answers, _ = tool.communicate(timeout=20)
                self.assertRegex(answers, r'^unsat\n\(error "<stdin>:3:1: interrupted"\)\n' + rest)
                self.assertEqual(tool.returncode, status)
                started = int(pid.read_text())
                for _ in range(500):  # until the system has carried out the kill
                    if not is_running(started):
                        break
                    time.sleep(0.02)
                self.assertFalse(is_running(started))

    def test_signals(self):
        for number, rest, status in [(signal.SIGINT, '(:reason-unknown interrupted)\n"on"\n', 0),
                                     (signal.SIGTERM, "", 143)]:
            tool = subprocess.Popen([OPAL, "--method", "exact"], stdin=subprocess.PIPE,
                                    stdout=subprocess.PIPE, text=True)
            tool.stdin.write('(echo "first")' + hard_problem())
            tool.stdin.write('(get-info :reason-unknown)(echo "on")')
            tool.stdin.flush()
            self.assertEqual(tool.stdout.readline(), '"first"\n')
            time.sleep(0.7)
            tool.send_signal(number)
            answers, _ = tool.communicate(timeout=20)
            self.assertEqual((answers, tool.returncode), ("unknown\n" + rest, status))
        idle = subprocess.Popen([OPAL], stdin=subprocess.PIPE)
        time.sleep(0.5)
        idle.send_signal(signal.SIGINT)
        self.assertEqual(idle.wait(timeout=10), 130)
        idle.stdin.close()


class Verification(unittest.TestCase):
    def test_only_a_confirmed_answer_is_given(self):
        question = CONTRADICTION + "(get-interpolants a b)"
        for solver, fault in [
            ("no-such-solver", "no-such-solver"), ("false", "false"), ("true", "0 answers"),
            ("echo 'sat\nsat'", "wrong"), ("echo '(error \"x\")'", "x"),
            ("echo 'unsat\nunknown'", "undecided"), ("", "no command"),
            ("sh -c 'echo (", "unbalanced quote"), ("sh -c 'kill -9 $$'", "signal 9"),
            ("sh -c 'echo it broke >&2; exit 3'", "exit status 3: it broke"),
        ]:
            done = run(question, "--verify", "--verify-with", solver)
            self.assertEqual(done.returncode, 1, solver)
            self.assertRegex(done.stdout, r'(?s)^unsat\n\(error "<stdin>:3:1: .*"\)\n$')
            self.assertIn(fault, done.stdout)
        done = run(question, "--verify")
        self.assertEqual((done.returncode, done.stdout), (0, "unsat\n((<= x 1.0))\n"))
        self.assertIn("2 step(s) confirmed by an outside solver", done.stderr)

    def test_cuts_are_expressed_as_asked(self):
        parity = """(set-logic QF_LIA)
            (declare-const x Int) (declare-const y Int) (declare-const z Int)
            (assert (! (and (<= (* 2 y) x) (<= x (* 2 y))) :named a))
            (assert (! (and (< (* 2 z) x) (<= x (+ (* 2 z) 1))) :named b))
            (assert (! (= x x) :named c)) (check-sat) (get-interpolants a """
        for cuts, word in [("modular", "(mod "), ("floor", "(div "), ("auto", "(")]:
            done = run(parity + "b)", "--raw", "--verify", "--cuts", cuts)
            self.assertEqual((done.returncode, done.stdout.count(word) > 0), (0, True), done)
        self.assertEqual(run(parity + "b c)", "--verify").returncode, 0)
        refused = run(parity + "b c)", "--cuts", "modular")
        self.assertIn("modular", refused.stdout)
        self.assertEqual(refused.returncode, 1)

    def test_background_is_mentioned_once(self):
        ask = "(get-interpolants a b)"
        done = run("(assert true)" + CONTRADICTION + ask + ask)
        self.assertEqual(done.stderr.count("1 assertion(s)"), 1)


class Drawings(unittest.TestCase):
    EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"
    WORKSHOP = """(declare-const start Real) (declare-const turn Real)
        (declare-const |a "<&>\t\u00e9| Real) (declare-const leave Real)
        (define-fun paint () Real |a "<&>\t\u00e9|)
        (assert (! (and (>= (- turn start) 7) (>= (- paint turn) 5)) :named lathe))
        (assert (! (>= (- leave paint) 9) :named painters))
        (assert (! (<= (- leave start) 20) :named promise)) (check-sat)"""

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.path = pathlib.Path(self.folder.name)

    def test_graphviz_takes_each_drawing_and_answers_stay_the_same(self):
        files = sorted(self.EXAMPLES.glob("*.smt2"))
        files.append(pathlib.Path(__file__).with_name("shown_formulas.smt2"))
        plain = subprocess.run([OPAL, *files], capture_output=True, text=True, timeout=60)
        done = subprocess.run([OPAL, "--dot", self.path / "p.dot", *files],
                              capture_output=True, text=True, timeout=60)
        self.assertEqual((done.stdout, done.returncode), (plain.stdout, 0))
        names = re.findall(r"opal: (\S+) shows ", done.stderr)
        expected = [self.path / f"p{f'-{k}' if k > 1 else ''}.dot"
                    for k in range(1, len(names) + 1)]
        self.assertEqual([pathlib.Path(name) for name in names], expected)
        self.assertGreater(len(names), 30)
        for name in names:
            dot = subprocess.run(["dot", "-Tsvg", name], capture_output=True, timeout=60)
            self.assertEqual((dot.returncode, dot.stderr), (0, b""), name)
            xml.etree.ElementTree.fromstring(dot.stdout)

    def test_sides_and_interpolants(self):
        done = run(self.WORKSHOP + "(get-interpolants lathe painters promise)", "--svg",
                   str(self.path / "p.svg"))
        self.assertIn("p-2.svg shows interpolant 2 of 2", done.stderr)
        name = '|a "<&> \u00e9|'
        lathe = {f"{name} - turn ≥ 5", "turn - start ≥ 7"}
        painters, promise = {f"leave - {name} ≥ 9"}, {"leave - start ≤ 20"}
        for file, of_A, of_B, answer in [
                ("p.svg", lathe, painters | promise, f"I: start + 12 ≤ {name}"),
                ("p-2.svg", lathe | painters, promise, "I: start + 21 ≤ leave")]:
            groups = [[text.text.replace("\u00a0", " ") for text in group.iter()
                       if text.tag.endswith("}text")]
                      for group in xml.etree.ElementTree.parse(self.path / file).iter()
                      if group.get("class") == "node"]
            for side, facts in [("A: hypothesis", of_A), ("B: hypothesis", of_B)]:
                self.assertEqual({g[1] for g in groups if g[0] == side}, facts)
            self.assertEqual([g[2] for g in groups if g[1] == "false"], [answer])

    def test_large_proofs_and_foregone_answers_have_no_partial_interpolants(self):
        two = long_chain(400).replace(" n1 ", " (and n1 ", 1)[:-1] + "))"
        alone = """(declare-const x Int) (declare-const y Int) (assert (! (= y 0) :named a))
            (assert (! (and (= (* 3 y) 0) (= (+ y (* 4 x)) (- 3))) :named b))
            (check-sat) (get-interpolants a b)"""
        pigeons = [[f"p{i}{j}" for j in range(6)] for i in range(7)]
        holes = [f"(not (and p{i}{k} p{j}{k}))" for k in range(6) for j in range(7)
                 for i in range(j)]
        clauses = "".join(f"(declare-const {p} Bool)" for row in pigeons for p in row) + (
            "".join(f"(assert (! (or {' '.join(row)}) :named a{row[0]}))" for row in pigeons)
            + f"(assert (! (and {' '.join(holes)}) :named b)) (check-sat)"
            + "(get-interpolants (and " + " ".join(f"a{row[0]}" for row in pigeons) + ") b)")
        for text, remark in [(two, "the proof has 400 steps"), (alone, "contradictory by itself"),
                             (clauses, "resolutions are not drawn")]:
            done = run(text, "--dot", str(self.path / "p.dot"))
            self.assertEqual(done.returncode, 0, done)
            self.assertIn(remark, (self.path / "p.dot").read_text())

    def test_what_cannot_be_drawn_is_an_error_and_leaves_nothing(self):
        tools = self.path / "bin"
        tools.mkdir()
        broken = "#!/bin/sh\n"
        for option, file, script, fault, status in [
                ("--dot", "none/p.dot", "", "none/p.dot: No such file or directory", 1),
                ("--dot", "bin", "", "bin: Is a directory", 1),
                ("--dot", "/dev/full", "", "/dev/full: No space left on device", 1),
                ("--svg", "p.svg", "", "'dot' of Graphviz: No such file or directory", 1),
                ("--svg", "p.svg", "echo half; echo worn >&2; exit 3", "status 3: worn", 1),
                ("--svg", "p.svg", "while :; do :; done", "timeout", 124)]:
            if script:
                (tools / "dot").write_text(broken + script)
                (tools / "dot").chmod(0o755)
            done = run(self.WORKSHOP + "(get-interpolants lathe (and painters promise))",
                       option, str(self.path / file), "--timeout", "1",
                       env={**os.environ, "PATH": str(tools)})
            self.assertRegex(done.stdout, r'^unsat\n\(error "<stdin>:6:\d+: ')
            self.assertIn(fault, done.stdout)
            self.assertEqual(done.returncode, status)
            self.assertIn("nothing was drawn", done.stderr)
            self.assertEqual(os.listdir(self.path), ["bin"])


class Repeatability(unittest.TestCase):
    def test_answers_do_not_depend_on_addresses(self):
        rng = random.Random(3)
        lines = [f"(declare-const x{i} Real)" for i in range(12)]
        for k in range(40):
            row = " ".join(f"(* {rng.randint(1, 5)} x{i})" for i in rng.sample(range(12), 3))
            op = "=" if k in (3, 20) else rng.choice(["<=", "<"])
            lines.append(f"(assert (! ({op} (- (+ {row}) (* 3 x{k % 12})) {rng.randint(3, 30)}) "
                         f":named n{k}))")
        names = [" ".join(f"n{k}" for k in block) for block in (range(20), range(20, 40))]
        lines += ["(check-sat)", "(get-model)", "(assert (! (> (+ x0 x1 x2 x5 x7) 999) :named p))",
                  "(assert (! (> (+ x3 x4 x6 x8) 0) :named q))", "(check-sat)", "(get-unsat-core)"]
        for mode in ["sum", "dual"]:
            lines += [f"(set-option :opal-mode {mode})",
                      f"(get-interpolants (and {names[0]}) (and q {names[1]}) p)"]
        answers = {run("\n".join(lines)).stdout for _ in range(20)}
        self.assertEqual(len(answers), 1)
        self.assertRegex(answers.pop(), r"(?s)^sat.*\nunsat.*\n\([^()]*\)\n\(\n? *\([<=]")


if __name__ == "__main__":
    OPAL = str(pathlib.Path(sys.argv.pop(1)).resolve())
    unittest.main()
