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
        if isinstance(item, str):
            pieces.append(item)
        else:
            work.append(")")
            work.extend(reversed(item))
            work.append("(")
    return " ".join(pieces)


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
