"""Outside solvers that judge formulas, and the check files of the tool.

A question is a script with one check-sat.
"""

from .programs import run

VERDICTS = ("sat", "unsat", "unknown")
# z3 takes integer numerals where a real is due, unless it is strict.
STRICT = ["smtlib2_compliant=true"]
LENIENT = []
CVC5 = ["cvc5", "--lang", "smt2"]


class Unjudged(Exception):
    """A judge did not take a question."""


def ask_z3(scripts, seconds, sorts=STRICT):
    """z3's verdicts on scripts, in one process, with so many seconds each."""
    answers, done = z3_answers("".join("(reset)\n(set-option :print-success false)\n" + s
                                       for s in scripts), len(scripts), seconds, sorts)
    if answers is not None:
        return answers
    if len(scripts) > 1:
        return [answer for script in scripts for answer in ask_z3([script], seconds, sorts)]
    if done.timed_out:
        return ["unknown"]
    raise Unjudged(f"z3: {done.output[:500]}{done.errors[:500]}\n{scripts[0]}")


def ask_z3_about(declared, questions, seconds):
    """z3's verdicts on lists of formulas over the same declarations. Faster than scripts
    of which each declares them."""
    lines = ["(set-option :print-success false)", *declared]
    for formulas in questions:
        lines += ["(push)", *(f"(assert {f})" for f in formulas), "(check-sat)", "(pop)"]
    answers, done = z3_answers("\n".join(lines), len(questions), seconds, STRICT)
    if answers is None:
        raise Unjudged(f"z3: {done.output[:500]}{done.errors[:500]}")
    return answers


def z3_answers(text, count, seconds, sorts):
    """So many verdicts, or None where others were given, and the run."""
    limit = [f"-t:{int(1000 * seconds)}"]
    # Where z3 does not heed its limit, the process ends at this one.
    done = run(["z3", "-in", "-smt2", *sorts, *limit], 2 * seconds * count + 5, text)
    answers = ["unknown" if line == "timeout" else line
               for line in done.output.split("\n")[:-1] if line != "success"]
    right = len(answers) == count and set(answers) <= set(VERDICTS)
    return answers if right else None, done


def ask_cvc5(script, seconds):
    done = run([*CVC5, "-"], seconds, script)
    answer = done.output.strip()
    if done.timed_out:
        return "unknown"
    if answer not in VERDICTS:
        raise Unjudged(f"cvc5: {done.output[:500]}{done.errors[:500]}\n{script}")
    return answer


def verdicts(scripts, seconds=1, sorts=STRICT):
    """z3's verdicts, and where it gives up, cvc5's, which may take three times as long."""
    return [ask_cvc5(script, 3 * seconds) if answer == "unknown" else answer
            for script, answer in zip(scripts, ask_z3(scripts, seconds, sorts))]


def not_confirmed(folder):
    """The (solver, file) pairs of a folder of check files where a solver does not refute
    one, and how many files there are to refute."""
    files = sorted([*folder.glob("la_a_imp_itp.*"), *folder.glob("la_b_and_itp.*")])
    return [(solver[0], file) for solver in (["z3"], CVC5) for file in files
            if run([*solver, file], 20).output != "unsat\n"], len(files)
