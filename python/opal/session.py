"""Sessions, terms with operators, and errors."""

from __future__ import annotations

import ctypes
import functools
from fractions import Fraction
from types import TracebackType
from typing import List, Optional, Sequence, Type, Union

from opal._library import library, take_text

Number = Union[int, Fraction]
Operand = Union["Term", int, Fraction]
Condition = Union["Term", bool]
#: What check() answers: "sat", "unsat" or "unknown".
Verdict = str

_VERDICTS = ("sat", "unsat", "unknown")
_MODES = {"sum": 0, "conj": 1, "dual": 2, "auto": 3}
_CUTS = {"modular": 0, "floor": 1, "auto": 2}
_STRENGTHS = {"strong": 0, "middle": 1, "weak": 2, "auto": 3}
_INT, _REAL, _BOOL = 0, 1, 2
_OK, _UNSUPPORTED, _LIMIT, _NO_MEMORY = 0, 2, 3, 4


class Error(ValueError):
    """A call that makes no sense; the message says why."""


class Unsupported(Error):
    """A formula outside of linear arithmetic."""


class LimitReached(Exception):
    """A limit of time or memory, or an interrupt, ended a call."""


class Term:
    """A number or a formula of a session.

    Numbers have +, -, * and / (one operand of * and the divisor must be constants), and
    //, the integer division by a constant. Comparisons make formulas, also == and !=, which
    compare formulas too. Formulas have &, |, ~ and implies(), and ite() chooses. int and
    Fraction are constants, and so are True and False; float is refused.
    """

    __slots__ = ("_address", "session")
    _address: int
    session: "Session"

    def __init__(self, session: "Session", address: int) -> None:
        self.session, self._address = session, address

    def _join(self, name: str, other: object, swapped: bool = False) -> "Term":
        right = self.session._operand(other)
        if right is None:
            return NotImplemented
        pair = (right, self._address) if swapped else (self._address, right)
        return self.session._term(getattr(library, f"opal_{name}"), *pair)

    def __add__(self, other: Operand) -> "Term":
        return self._join("add", other)

    __radd__ = __add__

    def __sub__(self, other: Operand) -> "Term":
        return self._join("sub", other)

    def __rsub__(self, other: Operand) -> "Term":
        return self._join("sub", other, swapped=True)

    def __mul__(self, other: Operand) -> "Term":
        return self._join("mul", other)

    __rmul__ = __mul__

    def __truediv__(self, other: Operand) -> "Term":
        return self._join("div", other)

    def __floordiv__(self, other: Operand) -> "Term":
        right = self.session._operand(other)
        if right is None:
            return NotImplemented
        return self.session._term(library.opal_div, self._address, right).floor()

    def __neg__(self) -> "Term":
        return self * -1

    def floor(self) -> "Term":
        """The greatest integer that is not above this."""
        return self.session._term(library.opal_floor, self._address)

    def __le__(self, other: Operand) -> "Term":
        return self._join("le", other)

    def __lt__(self, other: Operand) -> "Term":
        return self._join("lt", other)

    def __ge__(self, other: Operand) -> "Term":
        return self._join("le", other, swapped=True)

    def __gt__(self, other: Operand) -> "Term":
        return self._join("lt", other, swapped=True)

    def __eq__(self, other: object) -> "Term":  # type: ignore[override]
        return self._join("eq", other)

    def __ne__(self, other: object) -> "Term":  # type: ignore[override]
        return self._join("ne", other)

    def congruent(self, other: Operand, modulus: int) -> "Term":
        """Whether the modulus divides the difference of two integers."""
        right = self.session._need(other)
        return self.session._term(library.opal_congruent, self._address, right, modulus)

    def __and__(self, other: Condition) -> "Term":
        return self._join("and", other)

    __rand__ = __and__

    def __or__(self, other: Condition) -> "Term":
        return self._join("or", other)

    __ror__ = __or__

    def __invert__(self) -> "Term":
        return self.session._term(library.opal_not, self._address)

    def same(self, other: "Term") -> bool:
        """Whether both are the same term (== makes a formula)."""
        return self.session is other.session and self._address == other._address

    def __hash__(self) -> int:
        return hash(self._address)

    def __bool__(self) -> bool:
        raise Error("a term has no truth value; join formulas by & and |, and compare in two steps")

    def __repr__(self) -> str:
        session = self.session
        return session._text(library.opal_term_text(session._handle, self._address))


def implies(a: Condition, b: Condition) -> Term:
    """That the second formula holds where the first one does; one may be True or False."""
    session = _session_of(a, b)
    return session._term(library.opal_implies, session._need(a), session._need(b))


def ite(condition: Condition, a: Operand, b: Operand) -> Term:
    """The first operand where the condition holds, else the second one: two numbers, or two
    formulas."""
    session = _session_of(condition, a, b)
    return session._term(library.opal_ite, *map(session._need, (condition, a, b)))


def _session_of(*operands: object) -> "Session":
    for operand in operands:
        if isinstance(operand, Term):
            return operand.session
    raise Error(f"none of these is a term: {', '.join(map(repr, operands))}")


class Session:
    """Assertions in groups, a decision, and what it left: a model or a refutation.

    An exception leaves a session as it was. It is used by one thread at a time. As a context manager it frees its memory at
    the end; its terms must not be used afterwards.
    """

    def __init__(self, timeout: float = 0, memory: int = 0) -> None:
        """Limits for each call: seconds, and megabytes of the process; 0 for none."""
        self._handle: Optional[int] = library.opal_session_new()
        if self._handle is None:
            raise MemoryError
        self.set_limits(timeout, memory)

    # --- variables

    def real(self, name: str) -> Term:
        """The rational variable of a name."""
        return self._term(library.opal_variable, name.encode(), _REAL)

    def integer(self, name: str) -> Term:
        """The integer variable of a name."""
        return self._term(library.opal_variable, name.encode(), _INT)

    def reals(self, names: str) -> List[Term]:
        """The rational variables of names with blanks between them."""
        return [self.real(name) for name in names.split()]

    def integers(self, names: str) -> List[Term]:
        """The integer variables of names with blanks between them."""
        return [self.integer(name) for name in names.split()]

    def bool(self, name: str) -> Term:
        """The Boolean variable of a name, which is a formula."""
        return self._term(library.opal_variable, name.encode(), _BOOL)

    def bools(self, names: str) -> List[Term]:
        """The Boolean variables of names with blanks between them."""
        return [self.bool(name) for name in names.split()]

    def number(self, value: Number) -> Term:
        """A constant."""
        return Term(self, self._constant(value))

    # --- assertions

    def add(self, group: str, *formulas: Term) -> None:
        """Asserts formulas into a group, which begins with its first one; all or, when it
        raises, none."""
        for formula in formulas:
            self._own(formula)
        if formulas:
            whole = functools.reduce(Term.__and__, formulas)
            self._do(library.opal_assert(self._handle, group.encode(), whole._address))

    def push(self) -> None:
        """Starts a level."""
        self._do(library.opal_push(self._handle))

    def pop(self) -> None:
        """Takes back what was asserted since the push that it belongs to."""
        self._do(library.opal_pop(self._handle))

    def reset(self) -> None:
        """Takes back every assertion and level; terms stay."""
        self._do(library.opal_reset(self._handle))

    def set_limits(self, timeout: float = 0, memory: int = 0) -> None:
        """Seconds that each later call may take, megabytes of the process; 0 for no limit."""
        self._do(library.opal_set_timeout(self._handle, timeout))
        self._do(library.opal_set_memory(self._handle, memory))

    def interrupt(self) -> None:
        """Makes the call that is running in another thread give up."""
        library.opal_interrupt(self._handle)

    # --- answers

    def check(self) -> Verdict:
        """Decides the assertions: "sat", "unsat", or "unknown" (see reason_unknown)."""
        verdict = ctypes.c_int()
        self._do(library.opal_check(self._handle, ctypes.byref(verdict)))
        return _VERDICTS[verdict.value]

    @property
    def reason_unknown(self) -> str:
        """After "unknown": timeout, memout, interrupted or incomplete; else nothing."""
        return str(library.opal_reason_unknown(self._handle).decode())

    def value(self, term: Term) -> Fraction:
        """After "sat": the value of a number; 1 or 0 of a formula."""
        return Fraction(self._text(library.opal_value(self._handle, self._own(term))))

    def interpolant(self, first: str, second: str, mode: str = "auto",
                    cuts: str = "auto", strength: str = "auto") -> Term:
        """After "unsat": what the first group implies and the second one contradicts."""
        return self.interpolants([first, second], mode, cuts, strength)[0]

    def interpolants(self, groups: Sequence[str], mode: str = "auto",
                     cuts: str = "auto", strength: str = "auto") -> List[Term]:
        """After "unsat": the interpolants of a sequence of groups, one fewer than groups;
        each one and the next group imply the next one. Modes are sum, conj, dual, auto;
        styles of cuts are modular, floor, auto. The strength, for formulas that are no
        conjunctions, is strong, middle, weak, auto."""
        if mode not in _MODES or cuts not in _CUTS or strength not in _STRENGTHS:
            raise Error(f"no mode, style of cuts or strength: {mode}, {cuts}, {strength}")
        if isinstance(groups, str):
            raise Error("interpolants() takes a list of groups")
        names = (ctypes.c_char_p * len(groups))(*(group.encode() for group in groups))
        answers = (ctypes.c_void_p * max(len(groups), 1))()
        self._do(library.opal_interpolants(self._handle, names, len(groups), _MODES[mode],
                                           _CUTS[cuts], _STRENGTHS[strength], answers))
        return [Term(self, address) for address in answers[:len(groups) - 1]
                if address is not None]

    def core(self) -> List[str]:
        """After "unsat": the groups that the refutation uses."""
        return [library.opal_core_group(self._handle, i).decode()
                for i in range(library.opal_core_size(self._handle))]

    def check_proof(self) -> None:
        """After "unsat": has the proof checker confirm the refutation; raises Error if not."""
        self._do(library.opal_check_proof(self._handle))

    def proof(self) -> str:
        """After "unsat": the refutation, as opal-check-proof reads it."""
        return self._text(library.opal_proof(self._handle))

    # --- the end

    def close(self) -> None:
        """Frees the session; its terms must not be used any more."""
        handle, self._handle = self._handle, None
        library.opal_session_free(handle)

    def __enter__(self) -> "Session":
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        self.close()

    def __del__(self) -> None:
        if getattr(self, "_handle", None) is not None:
            self.close()

    # --- the border to the library

    def _fail(self, status: int) -> "Exception":
        reason = library.opal_error(self._handle).decode("utf-8", "replace")
        if status == _LIMIT or (status != _UNSUPPORTED and reason in (
                "timeout", "memout", "interrupted")):
            return LimitReached(reason)
        if status == _NO_MEMORY or reason == "out of memory":
            return MemoryError(reason)
        return (Unsupported if status == _UNSUPPORTED else Error)(reason)

    def _do(self, status: int) -> None:
        if status != _OK:
            raise self._fail(status)

    def _text(self, address: Optional[int]) -> str:
        if address is None:
            raise self._fail(1)
        return take_text(address)

    def _term(self, function: "ctypes._FuncPointer", *arguments: object) -> Term:
        address = function(self._handle, *arguments)
        if address is None:
            raise self._fail(1)
        return Term(self, address)

    def _constant(self, value: Number) -> int:
        if isinstance(value, bool) or not isinstance(value, (int, Fraction)):
            raise Error(f"no exact number: {value!r}; use int or Fraction")
        text = f"{value.numerator}/{value.denominator}"
        address = library.opal_number(self._handle, text.encode())
        if address is None:
            raise self._fail(1)
        return int(address)

    def _truth(self, value: object) -> int:
        return self._term(library.opal_true if value else library.opal_false)._address

    def _own(self, term: Term) -> int:
        """The address of a term of this session, which must not be closed."""
        if not isinstance(term, Term):
            raise Error(f"no term: {term!r}")
        if term.session is not self:
            raise Error(f"a term of another session: {term!r}")
        return term._address

    def _operand(self, value: object) -> Optional[int]:
        """The address of an operand; nothing for what no operator takes."""
        if isinstance(value, Term):
            return self._own(value)
        if isinstance(value, bool):
            return self._truth(value)
        if isinstance(value, (int, Fraction, float)):
            return self._constant(value)  # type: ignore[arg-type]
        return None

    def _need(self, value: object) -> int:
        address = self._operand(value)
        if address is None:
            raise Error(f"no term and no number: {value!r}")
        return address
