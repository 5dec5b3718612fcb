"""SMT-LIB scripts from elsewhere: their commands, what is in force at each, and other scripts
made of them."""

import re
from dataclasses import dataclass, field

from opal_lab.sexpr import TOKEN, atoms, parse_all, show

SIMPLE = re.compile(r"\|([A-Za-z~!@$%^&*_+=<>.?/-][\w~!@$%^&*+=<>.?/-]*)\|$")
LEVELS = {"push", "pop", "reset", "reset-assertions", "check-sat-assuming"}


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
        made = [(name_of(c), show(c.expression[1])) for c in self.commands()
                if c.name() == "assert"]
        return made + [(None, literal) for literal in self.assumed]

    def symbols_in(self):
        """A function that tells the declared symbols of texts, by way of definitions too."""
        used = {}  # of each symbol, the declared ones that it stands for
        for command in self.commands():
            kind, *rest = command.expression
            if kind.startswith("declare") and kind != "declare-sort":
                used[plain(rest[0])] = {plain(rest[0])}
            elif kind.startswith("define") and kind != "define-sort":
                inside = map(plain, atoms(rest[-1]))
                used[plain(rest[0])] = set().union(*(used.get(s, ()) for s in inside))

        def symbols_in(texts):
            found = map(plain, atoms(parse_all(" ".join(texts))))
            return set().union(*(used.get(symbol, ()) for symbol in found))

        return symbols_in


def without_questions(commands):
    """The texts of a script that only decides."""
    return [c.text for c in commands if not c.name().startswith("get-")
            and ":produce-interpolants" not in c.text]


def with_query(commands, groups_of):
    """A script that asks for interpolants of the groups that `groups_of` makes of the names
    of all assertions, or None where that is not possible: with several checks or levels, or
    fewer than two assertions."""
    names = [c.name() for c in commands]
    if LEVELS & set(names) or names.count("check-sat") != 1:
        return None
    lines, asserted = ["(set-option :produce-interpolants true)"], []
    taken = {name_of(c) for c in commands if c.name() == "assert"}
    for command in commands:
        if command.name() == "check-sat":
            break
        if command.name() == "assert":
            name = name_of(command) or next(n for k in range(len(taken) + 1)
                                            if (n := f"h{len(asserted) + k}!") not in taken)
            asserted.append(name if re.match(r"[\w~!@$%^&*+=<>.?/-]+$", name) else f"|{name}|")
            if name_of(command) is None:
                formula = show(command.expression[1])
                lines.append(f"(assert (! {formula} :named {asserted[-1]}))")
                continue
        if not command.name().startswith("get-"):
            lines.append(command.text)
    if len(asserted) < 2:
        return None
    return "\n".join([*lines, "(check-sat)", f"(get-interpolants {groups_of(asserted)})\n"])


def halves(names):
    middle = len(names) // 2
    return " ".join(part[0] if len(part) == 1 else f"(and {' '.join(part)})"
                    for part in (names[:middle], names[middle:]))
