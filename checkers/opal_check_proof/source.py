"""Texts, their tokens, and places in them."""

import re

TOKEN = re.compile(r'[()]|[^\s()";|]+|\|[^|]*\||"(?:[^"]|"")*"|;[^\n]*|["|]')


class Unreadable(Exception):
    """An input that is not in the expected form."""


class Source:
    """A text as a stream of tokens; `depth` counts the parentheses that are open."""

    def __init__(self, name, text):
        self.name, self.text, self.depth = name, text, 0
        self.tokens = self._tokens()

    def _tokens(self):
        """Pairs of a token and its offset."""
        for match in TOKEN.finditer(self.text):
            token, at = match.group(), match.start()
            first = token[0]
            if first == ";":
                continue
            if first == "(":
                self.depth += 1
            elif first == ")":
                self.depth -= 1
            elif token in ('"', "|"):
                raise Unreadable(f"{self.place(at)}: {token} is never closed")
            yield token, at

    def next(self):
        """The next token and its offset."""
        for token in self.tokens:
            return token
        raise Unreadable(f"{self.place(len(self.text))}: the text ends within an expression")

    def skip(self, depth):
        """Skips tokens until so many parentheses are open."""
        while self.depth > depth:
            self.next()

    def place(self, at):
        line = self.text.count("\n", 0, at)
        return f"{self.name}:{line + 1}:{at - self.text.rfind(chr(10), 0, at)}"


def symbol_name(token):
    """The name of a symbol: without the bars around it."""
    return token[1:-1] if token[0] == "|" else token
