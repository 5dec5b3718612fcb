"""What the tool's answers claim, and the judgement of z3 and cvc5 on it."""

from dataclasses import dataclass

from opal_lab import judges, sexpr
from opal_lab.formulas import conjunction, decision, symbols_in
from opal_lab.interpolation import steps_of

# An interpolant of differences may be a sum of several.
GENERAL = {"QF_RDL": "QF_LRA", "QF_IDL": "QF_LIA"}
GAVE_UP = "gave up"  # what a failure by the time limit, or by `unknown`, begins with
FAILED = "failed"  # what one by an error of the tool begins with


@dataclass
class Claim:
    """`formula` has the verdict `expected`; `what` says whose claim it is."""

    problem: object
    what: str
    expected: str
    formula: str

    def key(self):
        return GENERAL.get(self.problem.logic, self.problem.logic), self.formula

    def script(self):
        return decision([self.formula], logic=self.key()[0])


class Judges:
    """z3 judges every claim. cvc5 gets those that z3 gives up on and every `sample`-th of the
    others. Equal formulas are asked once."""

    def __init__(self, seconds, sample):
        self.seconds, self.sample = seconds, sample
        self.asked = self.sampled = 0

    def verdicts(self, claims):
        """The verdict on each claim: `unknown` where both gave up."""
        first = {claim.key(): claim.script() for claim in claims}
        answers = dict(zip(first, judges.verdicts(list(first.values()), self.seconds)))
        for key, script in first.items():
            self.asked += 1
            if self.asked % self.sample == 0 and answers[key] != "unknown":
                other = judges.ask_cvc5(script, self.seconds)
                self.sampled += other != "unknown"
                if other not in ("unknown", answers[key]):
                    answers[key] = f"{answers[key]} (cvc5: {other})"
        return [answers[claim.key()] for claim in claims]


def claims_of(problem, check, answers):
    """The claims of the answers to the commands of a check. Raises ValueError where an answer
    is missing, or wrong by its form."""
    verdict = answers[0]
    if verdict not in ("sat", "unsat"):
        kind = GAVE_UP if verdict == "unknown" else FAILED
        raise ValueError(f"{kind}: answer to check-sat: {sexpr.show(verdict)}")
    yield Claim(problem, "verdict", verdict, conjunction(check.formulas()))
    questions = check.commands()[1:]
    for question, answer in zip(questions, answers[1:]):
        command = question.split("\n")[-1].strip("()").split()[0]
        if (command in ("get-model", "get-value")) != (verdict == "sat"):
            continue
        if isinstance(answer, str) or answer[:1] == ["error"]:
            text = sexpr.show(answer)
            raise ValueError(f"{GAVE_UP if 'timeout' in text else FAILED}: {question}: {text}")
        try:
            for what, expected, formula in ANSWERED[command](check, question, answer):
                yield Claim(problem, f"{question}{what}", expected, formula)
        except ValueError as fault:
            raise ValueError(f"{question}: {fault}") from None


def of_model(check, question, answer):
    values = [f"(= {d[1]} {sexpr.show(d[4])})" for d in answer if d[:1] == ["define-fun"]]
    yield "", "sat", conjunction(check.formulas() + values)


def of_values(check, question, answer):
    asked = [sexpr.show(term) for term in sexpr.parse_all(question)[0][1]]
    if [sexpr.show(pair[0]) for pair in answer] != asked:
        raise ValueError(f"not the terms that were asked: {sexpr.show(answer)}")
    values = [sexpr.show(["=", *pair]) for pair in answer]
    yield "", "sat", conjunction(check.formulas() + values)


def of_core(check, question, answer):
    formulas = dict(check.assertions)
    if not set(answer) <= set(formulas) - {None}:
        raise ValueError(f"no names: {sexpr.show(answer)}")
    others = [f for name, f in check.assertions if name is None] + (check.assumptions or [])
    yield "", "unsat", conjunction(others + [formulas[name] for name in answer])


def of_assumptions(check, question, answer):
    assumed = [sexpr.show(e) for e in sexpr.parse_all(" ".join(check.assumptions))]
    needed = [sexpr.show(e) for e in answer]
    if not set(needed) <= set(assumed):
        raise ValueError(f"no assumptions: {sexpr.show(answer)}")
    yield "", "unsat", conjunction([f for _, f in check.assertions] + needed)


def of_interpolants(check, question, answer):
    groups = sexpr.parse_all(question)[-1][1:]
    steps = steps_of(groups, answer, check.assertions, symbols_in)
    for number, step in enumerate(steps):
        yield f", step {number}: {sexpr.show(answer)}", "unsat", step


ANSWERED = {
    "get-model": of_model,
    "get-value": of_values,
    "get-unsat-core": of_core,
    "get-unsat-assumptions": of_assumptions,
    "get-interpolants": of_interpolants,
}
