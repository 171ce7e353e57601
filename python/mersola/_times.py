"""Times and lengths of time.

A time of the database is a local one without a zone: a number of milliseconds since 1970-01-01T00:00
of that same clock.
"""
from __future__ import annotations

import ctypes
import re
from datetime import date, datetime, timedelta, tzinfo
from typing import Optional, Union

import numpy as np
import numpy.typing as npt

from ._library import NO_TIME, function, text
from .errors import Invalid

TimeLike = Union[str, date, datetime, np.datetime64]
LengthLike = Union[str, timedelta, np.timedelta64]
Times = npt.NDArray[np.datetime64]

_EPOCH = datetime(1970, 1, 1)
_UNITS = {"ms": 1, "s": 1000, "sec": 1000, "min": 60_000, "T": 60_000, "h": 3_600_000, "H": 3_600_000,
          "D": 86_400_000, "d": 86_400_000}
_QUARTER = 15 * 60_000  # clocks are changed at quarters of an hour


def milliseconds(length: LengthLike, what: str = "a length of time") -> int:
    """"1s", "125ms", "15min", "1h", "1D", a timedelta or timedelta64, in milliseconds."""
    if isinstance(length, str):
        found = re.fullmatch(r"\s*(\d+(?:\.\d+)?)?\s*([A-Za-z]+)\s*", length)
        if not found or found[2] not in _UNITS:
            raise Invalid(f"{what} is written as '1s', '125ms', '15min', '1h' or '1D', not {length!r}")
        exact = float(found[1] or 1) * _UNITS[found[2]]
    elif isinstance(length, timedelta):
        exact = length / timedelta(milliseconds=1)
    elif isinstance(length, np.timedelta64):
        exact = float(length / np.timedelta64(1, "ms"))
    else:
        raise TypeError(f"{what} is a text such as '1s' or a timedelta, not {type(length).__name__}")
    if not exact >= 1 or exact != int(exact):
        raise Invalid(f"{what} is a whole number of milliseconds from 1 on, not {length!r}")
    return int(exact)


def zone_of(tz: Union[None, str, tzinfo]) -> Optional[tzinfo]:
    if tz is None or isinstance(tz, tzinfo):
        return tz
    from zoneinfo import ZoneInfo
    try:
        return ZoneInfo(tz)
    except (KeyError, ValueError, OSError):
        raise Invalid(f"there is no time zone {tz!r}; zones are named as 'Europe/Berlin' or 'UTC', and "
                      "need the package tzdata") from None


def _naive(time: datetime, zone: Optional[tzinfo]) -> datetime:
    if time.tzinfo is None:
        return time
    if zone is None:
        raise Invalid(f"{time} has a time zone, and the database's times have none: give mersola.open "
                      "the zone of its clocks, as tz='Europe/Berlin'")
    return time.astimezone(zone).replace(tzinfo=None)


def from_python(time: TimeLike, zone: Optional[tzinfo], what: str = "the time") -> int:
    """A time as the database has it. An aware one is turned into the zone's local time."""
    if isinstance(time, np.datetime64):
        number = time.astype("datetime64[ms]").astype(np.int64)
        if number == NO_TIME:
            raise Invalid(f"{what} is not a time")
        return int(number)
    if isinstance(time, str):
        out = ctypes.c_int64()
        if function("time_read")(text(time.strip(), what), ctypes.byref(out)) == 0:
            return out.value
        try:
            time = datetime.fromisoformat(re.sub(r"[Zz]$", "+00:00", time.strip()))
        except ValueError:
            raise Invalid(f"{what} is written as '2026-11-15' or '2026-11-15T07:30:12.045', "
                          f"not {time!r}") from None
    if isinstance(time, datetime):
        if time != time:  # pandas' NaT
            raise Invalid(f"{what} is not a time")
        return (_naive(time, zone) - _EPOCH) // timedelta(milliseconds=1)
    if isinstance(time, date):
        return (datetime(time.year, time.month, time.day) - _EPOCH) // timedelta(milliseconds=1)
    raise TypeError(f"{what} is a text, a datetime or a datetime64, not {type(time).__name__}")


def to_python(time: int, zone: Optional[tzinfo]) -> Optional[datetime]:
    """A time of the database, aware where there is a zone; None where there is no time."""
    if time == NO_TIME:
        return None
    return (_EPOCH + timedelta(milliseconds=time)).replace(tzinfo=zone)


def now(zone: Optional[tzinfo]) -> int:
    return (datetime.now(zone).replace(tzinfo=None) - _EPOCH) // timedelta(milliseconds=1)


def to_utc(times: Times, zone: tzinfo) -> Times:
    """Local times as moments, in UTC, as Python's own zones resolve them: of an hour that comes twice
    the first one is meant, and one that is left out counts on from before the change."""
    quarters = times.astype("datetime64[ms]").astype(np.int64) // _QUARTER
    different, where = np.unique(quarters, return_inverse=True)
    offsets = np.array([_offset(int(quarter) * _QUARTER, zone) for quarter in different], np.int64)
    local: Times = times.astype("datetime64[ms]") - offsets[where].astype("timedelta64[ms]")
    return local


def _offset(time: int, zone: tzinfo) -> int:
    offset = (_EPOCH + timedelta(milliseconds=time)).replace(tzinfo=zone).utcoffset()
    return 0 if offset is None else offset // timedelta(milliseconds=1)

