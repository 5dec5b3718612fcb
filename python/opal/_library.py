"""The shared library with the C interface (opal/capi/opal.h), and its functions' types."""

import ctypes
import os
import pathlib
from ctypes import POINTER, c_char_p, c_double, c_int, c_int64, c_size_t, c_void_p

from opal._version import VERSION

_SONAME = "libopal_capi.so." + ".".join(VERSION.split(".")[:2])
_SESSION = c_void_p
_TERM = c_void_p
_TEXT = c_void_p  # a char* that is given back by opal_string_free

# Function: result and arguments.
_FUNCTIONS = {
    "opal_version": (c_char_p, []),
    "opal_session_new": (_SESSION, []),
    "opal_session_free": (None, [_SESSION]),
    "opal_error": (c_char_p, [_SESSION]),
    "opal_string_free": (None, [_TEXT]),
    "opal_variable": (_TERM, [_SESSION, c_char_p, c_int]),
    "opal_integer": (_TERM, [_SESSION, c_int64]),
    "opal_number": (_TERM, [_SESSION, c_char_p]),
    "opal_congruent": (_TERM, [_SESSION, _TERM, _TERM, c_int64]),
    "opal_term_text": (_TEXT, [_SESSION, _TERM]),
    "opal_assert": (c_int, [_SESSION, c_char_p, _TERM]),
    "opal_set_timeout": (c_int, [_SESSION, c_double]),
    "opal_set_memory": (c_int, [_SESSION, c_size_t]),
    "opal_interrupt": (None, [_SESSION]),
    "opal_check": (c_int, [_SESSION, POINTER(c_int)]),
    "opal_reason_unknown": (c_char_p, [_SESSION]),
    "opal_value": (_TEXT, [_SESSION, _TERM]),
    "opal_interpolants": (c_int, [_SESSION, POINTER(c_char_p), c_size_t, c_int, c_int, c_int,
                                  POINTER(c_void_p)]),
    "opal_core_size": (c_size_t, [_SESSION]),
    "opal_core_group": (c_char_p, [_SESSION, c_size_t]),
    "opal_proof": (_TEXT, [_SESSION]),
    **{f"opal_{name}": (_TERM, [_SESSION, _TERM, _TERM])
       for name in ("add", "sub", "mul", "div", "le", "lt", "eq", "ne", "and", "or",
                    "implies")},
    **{f"opal_{name}": (_TERM, [_SESSION, _TERM]) for name in ("floor", "not")},
    **{f"opal_{name}": (_TERM, [_SESSION]) for name in ("true", "false")},
    "opal_ite": (_TERM, [_SESSION, _TERM, _TERM, _TERM]),
    **{f"opal_{name}": (c_int, [_SESSION]) for name in ("push", "pop", "reset", "check_proof")},
}


def _places() -> "list[str]":
    """Where the library may be, in the order of the search."""
    chosen = os.environ.get("OPAL_LIBRARY")
    if chosen:
        return [chosen]
    # Beside this package, in the tree where both are installed, or where the loader looks.
    package = pathlib.Path(__file__).resolve().parent
    near = [package / _SONAME] + [parent / _SONAME for parent in package.parents]
    return [str(path) for path in near if path.exists()] + [_SONAME]


def _load() -> ctypes.CDLL:
    reasons = []
    for place in _places():
        try:
            library = ctypes.CDLL(place)
            break
        except OSError as error:
            reasons.append(str(error))
    else:
        raise ImportError(
            f"cannot load {_SONAME} ({'; '.join(reasons)}): install Opal, or set OPAL_LIBRARY "
            "to the file")
    for name, (result, arguments) in _FUNCTIONS.items():
        function = getattr(library, name)
        function.restype, function.argtypes = result, arguments
    found = library.opal_version().decode()
    if found.split(".")[:2] != VERSION.split(".")[:2]:
        raise ImportError(f"the library is Opal {found}, this package is for {VERSION}")
    return library


library = _load()


def take_text(address: int) -> str:
    """The text of a char* that the library handed over, which is given back."""
    try:
        return ctypes.string_at(address).decode("utf-8", "replace")
    finally:
        library.opal_string_free(address)
