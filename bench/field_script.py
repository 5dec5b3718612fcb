"""Scripts made of those that others wrote."""

import re

from opal_lab.scripts import name_of
from opal_lab.sexpr import show

LEVELS = {"push", "pop", "reset", "reset-assertions", "check-sat-assuming"}


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
