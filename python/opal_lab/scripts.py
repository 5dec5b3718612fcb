"""SMT-LIB scripts: their commands, and what is in force at each."""

import re
from dataclasses import dataclass, field

from .sexpr import TOKEN, atoms, parse_all, show

SIMPLE = re.compile(r"\|([A-Za-z~!@$%^&*_+=<>.?/-][\w~!@$%^&*+=<>.?/-]*)\|$")
NAMING = {"declare-fun", "declare-const", "define-fun", "define-const", "define-fun-rec"}


@dataclass
class Command:
    line: int
    column: int
    text: str
    expression: list

    def name(self):
        return self.expression[0]


def commands_of(text):
    """The commands of a script, with the places where they begin."""
    commands, depth, start = [], 0, 0
    for match in TOKEN.finditer(text):
        token = match.group()
        if token == "(":
            start = start if depth else match.start()
            depth += 1
        elif token == ")":
            depth -= 1
            if not depth:
                piece = text[start:match.end()]
                commands.append(Command(text.count("\n", 0, start) + 1,
                                        start - text.rfind("\n", 0, start), piece,
                                        parse_all(piece)[0]))
    return commands


def plain(symbol):
    """A symbol without bars that it does not need."""
    return SIMPLE.sub(r"\1", symbol)


def name_of(command):
    """The name of the formula that a command asserts, or None."""
    term = command.expression[1]
    if isinstance(term, list) and term[0] == "!" and ":named" in term:
        return plain(term[term.index(":named") + 1])
    return None


@dataclass
class State:
    """What is declared and asserted at a place of a script, by level."""

    levels: list = field(default_factory=lambda: [[]])
    assumed: list = field(default_factory=list)  # at the last check

    def take(self, command):
        name, arguments = command.name(), command.expression[1:]
        if name == "assert" or name.startswith(("declare", "define")):
            self.levels[-1].append(command)
        elif name == "push":
            self.levels += [[] for _ in range(int(arguments[0]) if arguments else 1)]
        elif name == "pop":
            del self.levels[len(self.levels) - (int(arguments[0]) if arguments else 1):]
        elif name in ("reset", "reset-assertions"):
            self.levels = [[]]
        elif name.startswith("check-sat"):
            self.assumed = [show(literal) for literal in arguments[0]] if arguments else []

    def commands(self):
        return sum(self.levels, [])

    def declarations(self):
        return [c.text for c in self.commands() if c.name() != "assert"]

    def assertions(self):
        """Pairs of a name, or None, and a formula."""
        made = [c for c in self.commands() if c.name() == "assert"]
        terms = [c.expression[1][1] if name_of(c) else c.expression[1] for c in made]
        return [*zip(map(name_of, made), map(show, terms)),
                *((None, literal) for literal in self.assumed)]

    def symbols_in(self):
        """A function that tells the declared symbols of texts, by way of definitions too."""
        used = {}  # of each symbol, the declared ones that it stands for
        for command in self.commands():
            kind, *rest = command.expression
            if kind not in NAMING:
                continue
            if kind.startswith("declare"):
                used[plain(rest[0])] = {plain(rest[0])}
            else:
                inside = map(plain, atoms(rest[-1]))
                used[plain(rest[0])] = set().union(*(used.get(s, ()) for s in inside))

        def symbols_in(texts):
            found = map(plain, atoms(parse_all(" ".join(texts))))
            return set().union(*(used.get(symbol, ()) for symbol in found))

        return symbols_in
