"""Craig interpolants for linear arithmetic.

    >>> from opal import Session
    >>> s = Session()
    >>> x, y = s.reals("x y")
    >>> s.add("A", x >= 1, y >= x + 2)
    >>> s.add("B", 2 * y < 5)
    >>> s.check()
    'unsat'
    >>> s.interpolant("A", "B")
    (<= 3.0 y)

`A` implies the interpolant, `B` contradicts it, and it has only symbols of both.
"""

from opal._version import VERSION as __version__
from opal.session import Error, LimitReached, Session, Term, Unsupported, Verdict

__all__ = ["Error", "LimitReached", "Session", "Term", "Unsupported", "Verdict", "__version__"]
