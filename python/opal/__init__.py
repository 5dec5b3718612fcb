"""Craig interpolants for linear arithmetic.

    >>> from opal import Session, implies, ite
    >>> s = Session()
    >>> x, y = s.reals("x y")
    >>> s.add("A", x >= 1, y >= x + 2)
    >>> s.add("B", 2 * y < 5)
    >>> s.check()
    'unsat'
    >>> s.interpolant("A", "B")
    (<= 3.0 y)

`A` implies the interpolant, `B` contradicts it, and it has only symbols of both.

Formulas have any Boolean structure:

    >>> p = s.bool("p")
    >>> s.reset()
    >>> s.add("A", p | (x >= 1), implies(p, x == 3))
    >>> s.add("B", ite(p, x, y) < 1, y >= x)
    >>> s.check()
    'unsat'
    >>> s.interpolant("A", "B", strength="weak")
    (<= 1.0 x)
"""

from opal._version import VERSION as __version__
from opal.session import (Error, LimitReached, Session, Term, Unsupported, Verdict, implies,
                          ite)

__all__ = ["Error", "LimitReached", "Session", "Term", "Unsupported", "Verdict", "implies",
           "ite", "__version__"]
