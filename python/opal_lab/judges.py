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
    if not scripts:
        return []
    text = "\n".join("(reset)\n(set-option :print-success false)\n" + s for s in scripts)
    # Where z3 does not heed its limit, the process ends at this one.
    done = run(["z3", "-in", "-smt2", *sorts, f"-t:{int(1000 * seconds)}"], 2 * seconds * len(scripts) + 5, text)
    answers = ["unknown" if line == "timeout" else line
               for line in done.output.split("\n")[:-1] if line != "success"]
    if len(answers) == len(scripts) and set(answers) <= set(VERDICTS):
        return answers
    if len(scripts) > 1:
        return [answer for script in scripts for answer in ask_z3([script], seconds, sorts)]
    if done.timed_out:
        return ["unknown"]
    raise Unjudged(f"z3: {done.output[:500]}{done.errors[:500]}\n{scripts[0]}")


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
