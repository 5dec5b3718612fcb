"""What a script asserts at each of its checks."""

from .formulas import Junction, conjuncts, is_formula
from .linear import Variables
from .propagation import Formulas
from .reader import Function, Reader
from .source import Unreadable, symbol_name


class Check:
    """The state at a check: what is asserted and assumed, the keys of the literals among it,
    and what names stand for."""

    def __init__(self, formulas, symbols):
        self.formulas, self.symbols = formulas, symbols
        self.keys = {c.key() for f in formulas for c in conjuncts(f)}


class Problem:
    """A script, carried out. `proofs` are the checks that each (get-proof) asks about, and
    `last_check` is the last one. A command that cannot be read is left out, and noted in
    `notes`: a proof that needs it is refused."""

    def __init__(self, source):
        self.source, self.variables = source, Variables(Formulas())
        self.proofs, self.last_check, self.notes = [], None, []
        self.global_declarations = False
        self.reset()
        for token, at in source.tokens:
            if token != "(":
                raise Unreadable(f"{source.place(at)}: expected a command, found {token}")
            command = source.next()[0]
            try:
                if command in COMMANDS:
                    COMMANDS[command](self)
            except Unreadable as fault:
                self.notes.append(f"{fault}; left out")
            source.skip(0)
            if command == "exit":
                break

    def reset(self):
        self.symbols = {}
        self.levels = [[]]  # the formulas that each level asserts
        self.symbols_below = []  # what names stand for before each push

    def reset_assertions(self):
        symbols = self.symbols
        self.reset()
        if self.global_declarations:
            self.symbols = symbols

    def set_option(self):
        if self.source.next()[0] == ":global-declarations":
            self.global_declarations = self.source.next()[0] == "true"

    def set_logic(self):
        self.variables.has_integers = self.source.next()[0] not in ("QF_LRA", "QF_RDL")

    def declare(self, name, at):
        sort = self.source.next()[0]
        if sort not in ("Bool", "Int", "Real"):
            raise Unreadable(f"{self.source.place(at)}: the sort {sort} is not supported")
        self.symbols[name] = (Junction("", [], name=("Bool", name)) if sort == "Bool"
                              else self.variables.declared(name, sort == "Int"))

    def declare_const(self):
        token, at = self.source.next()
        self.declare(symbol_name(token), at)

    def declare_fun(self):
        token, at = self.source.next()
        if self.source.next()[0] != "(" or self.source.next()[0] != ")":
            raise Unreadable(f"{self.source.place(at)}: {token} has arguments")
        self.declare(symbol_name(token), at)

    def define_const(self):
        name = symbol_name(self.source.next()[0])
        self.source.next()
        self.symbols[name] = self.reader().read()

    def define_fun(self):
        name = symbol_name(self.source.next()[0])
        parameters = []
        self.source.next()
        while self.source.next()[0] == "(":
            parameters.append(symbol_name(self.source.next()[0]))
            self.source.skip(2)
        self.source.next()
        if parameters:
            body = []
            while self.source.depth > 0:
                body.append(self.source.next())
            self.symbols[name] = Function(parameters, body)
        else:
            self.symbols[name] = self.reader().read()

    def reader(self):
        return Reader(self.source, self.symbols, self.variables)

    def formula_from(self, token, at):
        """The formula that begins with the token. One that cannot be read is asserted as
        true, so that those after it keep their numbers."""
        value = self.read_from(token, at)
        if is_formula(value):
            return value
        raise Unreadable(f"{self.source.place(at)}: not a formula")

    def assert_formula(self):
        self.levels[-1].append(True)
        token, at = self.source.next()
        self.levels[-1][-1] = self.formula_from(token, at)

    def read_from(self, token, at):
        """The value of the S-expression that begins with the token."""
        reader = self.reader()
        return reader.read(at) if token == "(" else reader.atom(token, at)

    def count(self):
        token, at = self.source.next()
        if token == ")":
            return 1
        if not token.isdigit():
            raise Unreadable(f"{self.source.place(at)}: expected a numeral, found {token}")
        return int(token)

    def push(self):
        for _ in range(self.count()):
            self.levels.append([])
            self.symbols_below.append(dict(self.symbols))

    def pop(self):
        for _ in range(min(self.count(), len(self.symbols_below))):
            self.levels.pop()
            symbols = self.symbols_below.pop()
            if not self.global_declarations:
                self.symbols = symbols

    def check(self, assumed=()):
        formulas = [f for level in self.levels for f in level] + list(assumed)
        self.last_check = Check(formulas, dict(self.symbols))

    def check_assuming(self):
        self.source.next()
        assumed = []
        token, at = self.source.next()
        while token != ")":
            assumed.append(self.formula_from(token, at))
            token, at = self.source.next()
        self.check(assumed)

    def get_proof(self):
        if self.last_check is not None:
            self.proofs.append(self.last_check)


COMMANDS = {
    "assert": Problem.assert_formula,
    "check-sat": Problem.check,
    "check-sat-assuming": Problem.check_assuming,
    "declare-const": Problem.declare_const,
    "declare-fun": Problem.declare_fun,
    "define-const": Problem.define_const,
    "define-fun": Problem.define_fun,
    "get-proof": Problem.get_proof,
    "pop": Problem.pop,
    "push": Problem.push,
    "reset": Problem.reset,
    "reset-assertions": Problem.reset_assertions,
    "set-logic": Problem.set_logic,
    "set-option": Problem.set_option,
}
