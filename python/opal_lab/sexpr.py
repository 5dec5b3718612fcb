"""S-expressions as nested lists of strings."""

import re

TOKEN = re.compile(r'"(?:[^"]|"")*"|\|[^|]*\||[()]|;[^\n]*|[^\s()";|]+')


def parse_all(text):
    """Every S-expression of a text, in order."""
    stack = [[]]
    for match in TOKEN.finditer(text):
        token = match.group()
        if token[0] == ";":
            continue
        if token == "(":
            stack.append([])
        elif token == ")":
            if len(stack) == 1:
                raise ValueError("unbalanced parenthesis")
            done = stack.pop()
            stack[-1].append(done)
        else:
            stack[-1].append(token)
    if len(stack) != 1:
        raise ValueError("missing parenthesis")
    return stack[0]


def show(expression):
    """The text of an S-expression."""
    pieces, work = [], [expression]
    while work:
        item = work.pop()
        if item == ")":
            pieces.append(item)
            continue
        if pieces and pieces[-1] != "(":
            pieces.append(" ")
        if isinstance(item, str):
            pieces.append(item)
        else:
            pieces.append("(")
            work.append(")")
            work.extend(reversed(item))
    return "".join(pieces)


def atoms(expression):
    """The set of symbols and constants in an S-expression."""
    found, work = set(), [expression]
    while work:
        item = work.pop()
        if isinstance(item, str):
            found.add(item)
        else:
            work.extend(item)
    return found


def is_number(e):
    """A numeral or decimal, a negative one or a fraction, as answers have them."""
    if isinstance(e, str):
        return e[0].isdigit()
    return len(e) > 1 and e[0] in ("-", "/") and all(map(is_number, e[1:]))


def size(term):
    """The distinct sub-terms of a printed term, its `let`s expanded; a number is one, with
    its sign and denominator."""
    numbers = {}  # of the distinct sub-terms
    scopes = []
    values = []
    work = [("read", term)]
    while work:
        action, item = work.pop()
        if action == "make":
            head, count = item
            values[-count:] = [numbers.setdefault((head, *values[-count:]), len(numbers))]
        elif action == "bind":
            scopes.append(dict(zip(item, values[-len(item):])))
            del values[-len(item):]
        elif action == "unbind":
            scopes.pop()
        elif isinstance(item, str) or is_number(item):
            known = [s[item] for s in reversed(scopes) if isinstance(item, str) and item in s]
            values.append(known[0] if known else numbers.setdefault(str(item), len(numbers)))
        elif item[0] == "let":
            work += [("unbind", None), ("read", item[2]), ("bind", [n for n, _ in item[1]])]
            work += [("read", bound) for _, bound in reversed(item[1])]
        else:
            work.append(("make", (str(item[0]), len(item) - 1)))
            work += [("read", argument) for argument in reversed(item[1:])]
    return len(numbers)


def expanded(e, names=()):
    """An S-expression with the names that its `let`s bind replaced by what they stand for,
    which is shared."""
    names = dict(names)
    while e[0] == "let":
        names.update([(name, substituted(value, names)) for name, value in e[1]])
        e = e[2]
    return substituted(e, names)


def substituted(e, names):
    if isinstance(e, str):
        return names.get(e, e)
    return expanded(e, names) if e[0] == "let" else [substituted(part, names) for part in e]
