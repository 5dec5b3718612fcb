"""Outside solvers that judge what the tool claims."""

import subprocess
from dataclasses import dataclass

from formulas import declarations, symbols_in

VERDICTS = ("sat", "unsat", "unknown")
# An interpolant of differences may be a sum of several.
GENERAL = {"QF_RDL": "QF_LRA", "QF_IDL": "QF_LIA"}


@dataclass
class Claim:
    """`formula` has the verdict `expected`; `what` says whose claim it is."""

    problem: object
    what: str
    expected: str
    formula: str

    def logic(self):
        return GENERAL.get(self.problem.logic, self.problem.logic)

    def key(self):
        return self.logic(), self.formula

    def script(self):
        lines = [f"(set-logic {self.logic()})"]
        lines += declarations(symbols_in([self.formula]))
        return "\n".join(lines + [f"(assert {self.formula})", "(check-sat)"])


class Judges:
    """z3 judges every claim, with sorts as SMT-LIB has them (no integer numeral where a real
    is due). cvc5 gets those that z3 gives up on and every `sample`-th of the others. Equal
    formulas are asked once."""

    def __init__(self, z3, cvc5, seconds, sample):
        milliseconds = int(1000 * seconds)
        self.z3 = z3.split() + ["smtlib2_compliant=true", f"-t:{milliseconds}"]
        self.cvc5 = cvc5.split()
        self.seconds, self.sample = seconds, sample
        self.asked = self.sampled = 0

    def verdicts(self, claims):
        """The verdict on each claim: `unknown` where all gave up."""
        first = {claim.key(): claim for claim in claims}
        answers = dict(zip(first, self.ask_z3(list(first.values()))))
        for key, claim in first.items():
            self.asked += 1
            if answers[key] == "unknown":
                answers[key] = self.ask_cvc5(claim, 3 * self.seconds)
            elif self.asked % self.sample == 0:
                other = self.ask_cvc5(claim, self.seconds)
                self.sampled += other != "unknown"
                if other not in ("unknown", answers[key]):
                    answers[key] = f"{answers[key]} (cvc5: {other})"
        return [answers[claim.key()] for claim in claims]

    def ask_z3(self, claims):
        script = "\n".join("(reset)\n(set-option :print-success false)\n" + claim.script()
                           for claim in claims)
        run = subprocess.run(self.z3, input=script, capture_output=True, text=True)
        answers = ["unknown" if line == "timeout" else line
                   for line in run.stdout.split("\n")[:-1] if line != "success"]
        if len(answers) != len(claims) or not set(answers) <= set(VERDICTS):
            fault = next((a for a in answers if a not in VERDICTS), "answers missing")
            if len(claims) == 1:
                raise SystemExit(f"z3 failed: {fault}\n{claims[0].what}\n{claims[0].script()}")
            return [answer for claim in claims for answer in self.ask_z3([claim])]
        return answers

    def ask_cvc5(self, claim, seconds):
        try:
            run = subprocess.run(self.cvc5, input=claim.script(), capture_output=True,
                                 text=True, timeout=seconds)
        except subprocess.TimeoutExpired:
            return "unknown"
        answer = run.stdout.strip()
        if answer not in VERDICTS:
            raise SystemExit(f"cvc5 failed: {answer}{run.stderr}\n{claim.what}\n"
                             f"{claim.script()}")
        return answer
