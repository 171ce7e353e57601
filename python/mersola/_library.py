"""The C interface of libmersola, through ctypes: the only module that knows of pointers."""
from __future__ import annotations

import ctypes
import ctypes.util
import operator
import os
import threading
import weakref
from ctypes import POINTER, c_char_p, c_double, c_int32, c_int64, c_uint32, c_void_p
from typing import Any, Dict, List, Optional, Sequence, Tuple, Union

from .errors import Duplicate, Error, Invalid, NotFound

NO_TIME = -(2**63)
CONTINUOUS = -3
VALID, INVALID, MISSING = 0, ord("A"), 255

_FAILURES = {-1: Error, -2: NotFound, -3: Invalid, -4: Duplicate, -5: MemoryError}

# The fields of listings, by the names that they have here.
FIELDS = {
    "id": 1, "name": 2, "info": 3, "type": 4, "state": 5, "start": 6, "stop": 7, "bandwidth": 8,
    "fullscale": 9, "sensitivity": 10, "lower_frq": 11, "upper_frq": 12, "period_length": 13,
    "real_length": 14, "periods": 15, "channel": 16, "function": 17, "band": 18, "instrument": 19,
    "measurement": 20, "report": 21, "offset": 22, "lost_periods": 23, "path": 24, "trigger": 25,
    "ext_type": 26, "color": 27, "is_open": 28,
}
_KIND_INTEGER, _KIND_REAL, _KIND_TEXT, _KIND_TIME = 1, 2, 3, 4

_OUT32, _OUT64, _LIST = POINTER(c_int32), POINTER(c_int64), POINTER(c_void_p)
_FUNCTIONS: Dict[str, Tuple[Any, Sequence[Any]]] = {
    "version": (c_char_p, []),
    "time_read": (c_int32, [c_char_p, _OUT64]),
    "open": (c_int32, [c_char_p, c_char_p, c_char_p, c_int32, c_uint32, _LIST]),
    "open_file": (c_int32, [c_char_p, c_int32, c_uint32, _LIST]),
    "close": (None, [c_void_p]),
    "error": (c_char_p, [c_void_p]),
    "begin": (c_int32, [c_void_p]),
    "commit": (c_int32, [c_void_p]),
    "rollback": (c_int32, [c_void_p]),
    "list_free": (None, [c_void_p]),
    "list_size": (c_int64, [c_void_p]),
    "list_kind": (c_int32, [c_void_p, c_int32]),
    "list_integer": (c_int64, [c_void_p, c_int64, c_int32]),
    "list_real": (c_double, [c_void_p, c_int64, c_int32]),
    "list_text": (c_char_p, [c_void_p, c_int64, c_int32]),
    "instruments": (c_int32, [c_void_p, _LIST]),
    "measurements": (c_int32, [c_void_p, c_int32, _LIST]),
    "reports": (c_int32, [c_void_p, c_int32, c_int32, _LIST]),
    "functions": (c_int32, [c_void_p, c_int32, c_int32, c_int32, _LIST]),
    "chain": (c_int32, [c_void_p, c_int32, _LIST]),
    "function_names": (c_int32, [c_void_p, _LIST]),
    "band_names": (c_int32, [c_void_p, _LIST]),
    "markers": (c_int32, [c_void_p, c_int32, c_int32, c_int64, c_int64, c_char_p, _LIST]),
    "open_markers": (c_int32, [c_void_p, c_int32, c_int32, _LIST]),
    "find_measurement_at": (c_int32, [c_void_p, c_int32, c_int64, _OUT32]),
    "select": (c_int32, [c_void_p, c_int32, c_int32, c_int32, c_int32, c_int32]),
    "start": (c_int32, [c_void_p, _OUT64]),
    "period_length": (c_int32, [c_void_p, _OUT64, _OUT64]),
    "stored_periods": (c_int32, [c_void_p, _OUT64, _OUT64]),
    "bands": (c_int32, [c_void_p, c_int64, c_int64, _LIST]),
    "read_float": (c_int32, [c_void_p, c_int64, c_int64, c_int32, c_int32, c_void_p, c_void_p]),
    "read_double": (c_int32, [c_void_p, c_int64, c_int64, c_int32, c_int32, c_void_p, c_void_p]),
    "read_overview": (c_int32, [c_void_p, c_void_p, c_int64, c_int32, c_int32] + [c_void_p] * 8),
    "put_instrument": (c_int32, [c_void_p, c_char_p, c_char_p, c_char_p, _OUT32]),
    "put_measurement": (c_int32, [c_void_p, c_int32, c_char_p, c_char_p, c_int64, c_int32, c_double,
                                  c_double, c_double, c_double, _OUT32]),
    "put_report": (c_int32, [c_void_p, c_int32, c_int32, c_int64]),
    "put_function": (c_int32, [c_void_p, c_int32, c_int32]),
    "put_function_name": (c_int32, [c_void_p, c_int32, c_char_p]),
    "put_band_name": (c_int32, [c_void_p, c_int32, c_char_p]),
    "put_values": (c_int32, [c_void_p, c_int64] + [c_void_p] * 6),
    "put_periods": (c_int32, [c_void_p, c_int64]),
    "put_marker": (c_int32, [c_void_p, c_int32, c_int32, c_int32, c_int32, c_char_p, c_int64, c_int64,
                             c_char_p, c_char_p, c_int32, c_int32, c_int32]),
    "close_marker": (c_int32, [c_void_p, c_int32, c_int32, c_int32, c_char_p, c_int64, c_int64,
                               c_char_p, c_char_p, c_int32, c_int32]),
}

_loaded: Optional[ctypes.CDLL] = None


def _load() -> ctypes.CDLL:
    global _loaded
    if _loaded is not None:
        return _loaded
    name = os.environ.get("MERSOLA_LIBRARY") or "libmersola.so.1"
    try:
        library = ctypes.CDLL(name)
    except OSError as reason:
        raise ImportError(
            f"mersola needs its library: {reason}. Install libmersola1, or set MERSOLA_LIBRARY to the "
            "path of libmersola.so.1.") from None
    for function, (result, arguments) in _FUNCTIONS.items():
        try:
            entry = getattr(library, "mersola_" + function)
        except AttributeError:
            raise ImportError(f"the library {name} is older than this package: it has no "
                              f"mersola_{function}. Install its newer version.") from None
        entry.restype, entry.argtypes = result, arguments
    _loaded = library
    return library


def function(name: str) -> Any:
    """A function of the library without its prefix."""
    return getattr(_load(), "mersola_" + name)


def version() -> str:
    return str(function("version")().decode())


def text(value: str, what: str) -> bytes:
    """A text as the library takes it; what it cannot take as a whole is refused."""
    if not isinstance(value, str):
        raise TypeError(f"{what} is a text, not {type(value).__name__}")
    if "\0" in value:
        raise Invalid(f"{what} has a zero character")
    try:
        return value.encode()
    except UnicodeEncodeError:
        raise Invalid(f"{what} is not UTF-8") from None


def int32(value: Any, what: str) -> int:
    """An identifier: ctypes would cut off what is too large."""
    try:
        number = operator.index(value)
    except TypeError:
        raise TypeError(f"{what} is a whole number, not {type(value).__name__}") from None
    if not -(2**31) <= number < 2**31:
        raise Invalid(f"{what} {number} is beyond 32 bits")
    return number


def _raise(code: int, words: bytes) -> None:
    raise _FAILURES.get(code, Error)(words.decode(errors="replace") or f"the library failed ({code})")


def _close(library: ctypes.CDLL, pointer: c_void_p, process: int) -> None:
    # In a child the database belongs to the parent: closing it here would take the parent's locks.
    if os.getpid() == process:
        library.mersola_close(pointer)


class Handle:
    """A database that is open. Calls of several threads take turns."""

    def __init__(self, source: Union[str, "os.PathLike[str]"], is_file: bool, user: str, password: str,
                 timeout: int, readonly: bool) -> None:
        library, pointer = _load(), c_void_p()
        flags = 1 if readonly else 0
        if is_file:
            code = library.mersola_open_file(os.fsencode(source), timeout, flags, ctypes.byref(pointer))
        else:
            code = library.mersola_open(text(str(source), "the connection string"),
                                        text(user, "the user"), text(password, "the password"),
                                        timeout, flags, ctypes.byref(pointer))
        if code:
            _raise(code, library.mersola_error(None))
        self.lock = threading.RLock()
        self.selected: Optional[Tuple[int, ...]] = None
        self.rate = 4e6  # values that it reads in a second, as seen last
        self._library, self._pointer, self._process = library, pointer, os.getpid()
        self._end = weakref.finalize(self, _close, library, pointer, self._process)

    @property
    def is_closed(self) -> bool:
        return not self._end.alive

    def close(self) -> None:
        with self.lock:
            self._end()

    def call(self, name: str, *arguments: Any) -> None:
        """Calls a function on this database and raises what it says."""
        with self.lock:
            if not self._end.alive:
                raise Error("the database is closed")
            if os.getpid() != self._process:
                raise Error("this database was opened before the process forked: open it in the child")
            code = getattr(self._library, "mersola_" + name)(self._pointer, *arguments)
            if code:
                _raise(code, self._library.mersola_error(self._pointer))

    def integer(self, name: str, *arguments: Any) -> int:
        """Calls a function that hands out an identifier."""
        out = c_int32()
        self.call(name, *arguments, ctypes.byref(out))
        return out.value

    def long(self, name: str, *arguments: Any) -> int:
        """Calls a function that hands out a number of 64 bits, the first one if there are two."""
        out = c_int64()
        rest = [None] * (len(_FUNCTIONS[name][1]) - len(arguments) - 2)
        self.call(name, *arguments, ctypes.byref(out), *rest)
        return out.value

    def longs(self, name: str) -> Tuple[int, int]:
        first, second = c_int64(), c_int64()
        self.call(name, ctypes.byref(first), ctypes.byref(second))
        return first.value, second.value

    def rows(self, name: str, *arguments: Any) -> List[Dict[str, Any]]:
        """A listing as dictionaries; times are milliseconds or NO_TIME."""
        listed = c_void_p()
        self.call(name, *arguments, ctypes.byref(listed))
        library = self._library
        try:
            readers = {_KIND_INTEGER: library.mersola_list_integer, _KIND_REAL: library.mersola_list_real,
                       _KIND_TIME: library.mersola_list_integer, _KIND_TEXT: library.mersola_list_text}
            columns = []
            for field, number in FIELDS.items():
                kind = library.mersola_list_kind(listed, number)
                if kind:
                    columns.append((field, number, readers[kind], kind == _KIND_TEXT))
            return [{field: read(listed, row, number).decode(errors="replace") if is_text
                     else read(listed, row, number) for field, number, read, is_text in columns}
                    for row in range(library.mersola_list_size(listed))]
        finally:
            library.mersola_list_free(listed)

    def select(self, key: Tuple[int, ...], anew: bool = False) -> None:
        """Selects instrument, measurement, report, channel and function for reading."""
        if anew or self.selected != key:
            self.selected = None
            self.call("select", *key)
            self.selected = key
