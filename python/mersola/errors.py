"""What goes wrong, as exceptions.

=====================  ==============================================================================
`Error`                the base of all of them: the database refused, or could not be reached
`Duplicate`            a value is stored there already, and stays as it is
`NotFound`             no such instrument, measurement, function...: a `KeyError` that says what there is
`Invalid`              an argument is out of its range, or comes at a wrong time: a `ValueError`
=====================  ==============================================================================

Besides these: `FileNotFoundError` for a file that is not there, `TypeError` for an argument of a wrong
type, `ImportError` where pandas, xarray or matplotlib is needed and not installed, `MemoryError`.
"""
from __future__ import annotations

import difflib
from typing import Iterable

__all__ = ["Error", "Duplicate", "NotFound", "Invalid"]


class Error(Exception):
    """The database refused, or could not be reached. The text is the engine's reason."""


class Duplicate(Error):
    """Some values were stored already. They stay as they are, and all others were written."""


class NotFound(Error, KeyError):
    """There is no such thing. The text lists what there is."""

    def __str__(self) -> str:  # a KeyError would show its text in quotes
        return str(self.args[0]) if self.args else ""


class Invalid(Error, ValueError):
    """An argument is out of its range, or the order of calls is wrong."""


def not_found(what: str, asked: object, there: Iterable[object], where: str = "") -> NotFound:
    """A NotFound with the names that there are, the nearest one first."""
    choices = list(there)
    names = [str(name) for name in choices]
    listed = ", ".join(repr(name) for name in choices[:20]) + (", ..." if len(names) > 20 else "")
    text = f"there is no {what} {asked!r}{where}; there is {listed or 'none'}"
    near = difflib.get_close_matches(str(asked), names, 1)
    return NotFound(text + (f". Did you mean {near[0]!r}?" if near and len(names) > 1 else ""))
