"""Frequency bands: identifiers, names and frequencies."""
from __future__ import annotations

import math
import numbers
import re
from typing import Any, List, Mapping, Sequence, Union

from .errors import Invalid, not_found

WHOLE_SIGNAL = 0

BandsLike = Union[None, str, float, slice, Sequence[Union[str, float]]]

_FREQUENCY = re.compile(r"\s*(\d+(?:\.\d+)?)\s*(k?)(?:hz)?\s*", re.IGNORECASE)


def frequency(name: str) -> float:
    """The frequency in Hz that a name such as "1.25 kHz" gives; NaN for others."""
    found = _FREQUENCY.fullmatch(name)
    if not found:
        return math.nan
    return float(f"{found[1]}{'e3' if found[2] else ''}")


class Bands:
    """The bands of a database by name and frequency. Band 0 is the whole signal, 0 Hz here."""

    def __init__(self, names: Mapping[int, str]) -> None:
        self._names = dict(names)

    def name(self, band: int) -> str:
        return self._names.get(band, "broadband" if band == WHOLE_SIGNAL else str(band))

    def hertz(self, band: int) -> float:
        return 0.0 if band == WHOLE_SIGNAL else frequency(self._names.get(band, ""))

    def choose(self, asked: BandsLike, stored: Sequence[int]) -> List[int]:
        """Those of the stored bands that are asked for: by frequency in Hz, by name, as a range of
        frequencies with both ends, or several of these."""
        if asked is None:
            return list(stored)
        if isinstance(asked, slice):
            if asked.step is not None:
                raise Invalid("a range of bands has no step")
            low = -math.inf if asked.start is None else _hertz(asked.start)
            high = math.inf if asked.stop is None else _hertz(asked.stop)
            if math.isnan(low) or math.isnan(high):
                raise Invalid("a range of bands is one of frequencies, as slice(100, 5000) or slice('100 Hz', '5 kHz')")
            return [band for band in stored if band and low <= self.hertz(band) <= high]
        if isinstance(asked, (str, float)) or isinstance(asked, numbers.Real):
            return [self._one(asked, stored)]
        return [self._one(each, stored) for each in asked]

    def _one(self, asked: Any, stored: Sequence[int]) -> int:
        if isinstance(asked, str):
            for band in stored:
                if self.name(band).casefold() == asked.strip().casefold():
                    return band
        hertz = _hertz(asked)
        if hertz == hertz:
            for band in stored:
                if math.isclose(self.hertz(band), hertz, rel_tol=1e-9):
                    return band
        raise not_found("band", asked, [self.name(band) for band in stored])

    def known(self) -> List[int]:
        """The bands that have a name, and the whole signal."""
        return sorted({WHOLE_SIGNAL, *self._names})

    def identify(self, asked: Any) -> int:
        """Any band of the database, as a name or a frequency in Hz."""
        return self._one(asked, self.known())


def _hertz(asked: Any) -> float:
    if isinstance(asked, str):
        return frequency(asked)
    if isinstance(asked, numbers.Real):
        return float(asked)
    raise TypeError(f"a band is a frequency in Hz or a name such as '1 kHz', not {type(asked).__name__}")
