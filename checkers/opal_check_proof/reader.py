"""Terms, formulas and proof steps from S-expressions. Iterative: every parenthesis that is
open is a frame on a stack, and is evaluated when it closes."""

import re
from fractions import Fraction

from .linear import Term, exact
from .operators import apply
from .source import Unreadable, symbol_name

NUMERAL = re.compile(r"\d+(\.\d+)?$")
LET, CALL, ANNOTATION = "let", "a call", "!"
BINDINGS, VALUE, BODY = range(3)  # what a let waits for


class Frame:
    """An open parenthesis: its operator, the values read so far, and what is to be restored
    when it closes."""

    __slots__ = ("head", "at", "values", "phase", "names", "saved")

    def __init__(self, head, at, phase=None):
        self.head, self.at, self.values, self.phase = head, at, [], phase
        self.names, self.saved = [], None


class Function:
    """A defined function: the names of its parameters and the tokens of its body."""

    def __init__(self, parameters, body):
        self.parameters, self.body = parameters, body


class Step:
    """A step of a proof: a rule applied to numbers, formulas and other steps. `parents`
    counts how often it is an argument."""

    __slots__ = ("rule", "at", "arguments", "parents", "derived", "open", "clause", "scope")

    def __init__(self, rule, at, arguments):
        self.rule, self.at, self.arguments, self.parents = rule, at, arguments, 0
        self.derived = self.open = self.clause = self.scope = None


class Reader:
    """Reads values from a source; `symbols` is what global names stand for. Names in `rules`
    head proof steps, which are listed in `steps`, each after its premises."""

    def __init__(self, source, symbols, variables, rules=()):
        self.source, self.symbols, self.variables = source, symbols, variables
        self.rules, self.steps = rules, []
        self._tokens, self._locals, self._calls = source, {}, {}

    def read(self, opened_at=None):
        """The value of the next S-expression, of which the parenthesis at the given offset
        may have been read already."""
        frames, self._tokens, self._locals, self._calls = [], self.source, {}, {}
        if opened_at is not None:
            frames.append(self._open(opened_at))
        while True:
            token, at = self._tokens.next()
            top = frames[-1] if frames else None
            if top and top.head is LET and top.phase != BODY:
                if self._binding(top, token, at):
                    continue
            elif top and top.head is ANNOTATION and token[0] == ":":
                self._attribute(top, token)
                continue
            if token == "(":
                frames.append(self._open(at))
                continue
            if token == ")":
                if not frames:
                    self.fail(at, "unexpected )")
                frames.pop()
                value = self._close(top)
                if top.head is CALL:
                    frames.append(top)
                    continue
            else:
                value = self.atom(token, at)
            while frames and frames[-1].head is CALL:
                self._return(frames.pop(), value)
            if not frames:
                return value
            frames[-1].values.append(value)

    def fail(self, at, what):
        raise Unreadable(f"{self.source.place(at)}: {what}")

    def _open(self, at):
        token, place = self._tokens.next()
        if token == "let":
            if self._tokens.next()[0] != "(":
                self.fail(place, "a let without bindings")
            return Frame(LET, at, BINDINGS)
        if token == "!":
            return Frame(ANNOTATION, at)
        if token == "(":  # ((_ divisible n) t)
            index = [self._tokens.next()[0] for _ in range(4)]
            if index[:2] != ["_", "divisible"] or index[3] != ")" or not index[2].isdigit():
                self.fail(place, "expected an operator")
            return Frame(("divisible", int(index[2])), at)
        if token == ")":
            self.fail(place, "expected an operator, found )")
        return Frame(symbol_name(token), at)

    def _binding(self, frame, token, at):
        """Whether the token belongs to the bindings themselves, not to a bound value."""
        if frame.phase == BINDINGS and token == "(":
            frame.names.append(symbol_name(self._tokens.next()[0]))
            frame.phase = VALUE
        elif frame.phase == BINDINGS and token == ")":
            frame.saved = [(name, self._locals.get(name)) for name in frame.names]
            self._locals.update(zip(frame.names, frame.values))
            frame.values, frame.phase = [], BODY
        elif frame.phase == VALUE and len(frame.values) == len(frame.names):
            if token != ")":
                self.fail(at, "expected ) after a bound value")
            frame.phase = BINDINGS
        elif frame.phase == BINDINGS or token == ")":
            self.fail(at, f"expected (name value), found {token}")
        else:
            return False
        return True

    def _attribute(self, frame, token):
        value, at = self._tokens.next()
        if token == ":named" and len(frame.values) == 1:
            self.symbols[symbol_name(value)] = frame.values[0]
        elif value == "(":
            self.fail(at, f"the attribute {token} is not supported")

    def atom(self, token, at):
        if token.isdigit():
            return Term((), int(token), True)
        if NUMERAL.match(token):
            return Term((), exact(Fraction(token)), "." not in token)
        name = symbol_name(token)
        value = self._locals.get(name)
        if value is None:
            value = self.symbols.get(name)
        if value is None and name in ("true", "false"):
            return name == "true"
        if value is None or isinstance(value, Function):
            self.fail(at, f"unknown symbol {token}")
        return value

    def _close(self, frame):
        values = frame.values
        if frame.head in (LET, ANNOTATION):
            if len(values) != 1:
                self.fail(frame.at, f"{frame.head} takes one term")
            for name, value in reversed(frame.saved or ()):
                self._locals[name] = value
            return values[0]
        if frame.head in self.rules:
            return self._step(frame)
        function = self.symbols.get(frame.head)
        if isinstance(function, Function):
            return self._call(frame, function)
        try:
            return apply(self.variables, frame.head, values)
        except (ValueError, AttributeError, TypeError, IndexError) as fault:
            what = fault if type(fault) is ValueError else "wrong arguments"
            self.fail(frame.at, f"{frame.head}: {what}")

    def _step(self, frame):
        step = Step(frame.head, frame.at, frame.values)
        for value in frame.values:
            if isinstance(value, Step):
                value.parents += 1
        self.steps.append(step)
        return step

    def _call(self, frame, function):
        """Turns to the tokens of a function's body; or answers what equal arguments gave."""
        if len(function.parameters) != len(frame.values):
            self.fail(frame.at, f"{frame.head} takes {len(function.parameters)} arguments")
        key = (frame.head, *map(id, frame.values))
        if key in self._calls:
            return self._calls[key][0]
        frame.names = key, frame.values
        frame.head, frame.saved = CALL, (self._tokens, self._locals)
        self._tokens = Replay(function.body)
        self._locals = dict(zip(function.parameters, frame.values))
        return None

    def _return(self, frame, value):
        self._tokens, self._locals = frame.saved
        key, arguments = frame.names
        self._calls[key] = value, arguments


class Replay:
    """Tokens that were read before."""

    def __init__(self, tokens):
        self._tokens = iter(tokens)

    def next(self):
        return next(self._tokens)
