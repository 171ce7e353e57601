"""Steps of time in place of values: means and extremes of hours, as the library summarises them."""
from __future__ import annotations

from typing import Any, Dict, List, Optional, Sequence, Tuple

import numpy as np

from ._library import Handle
from ._reading import _groups
from ._series import Values
from .errors import Invalid

# The array of mersola_read_overview that each of them is, and how conventions for files call it.
TAKEN: Dict[str, Tuple[int, str]] = {
    "min": (1, "time: minimum"), "max": (2, "time: maximum"), "mean": (3, "time: mean"),
    "energy": (4, "time: mean"), "rms": (5, "time: root_mean_square")}
_ARRAYS = 8
_MOST_CELLS = 1 << 20  # of a call: on rows, where all values are read, it takes a fraction of a second


def taken(by: Optional[str], described: Dict[str, Any], name: str) -> str:
    """What is taken of a function, where nobody says it by what its name says."""
    if by is None:
        by = {"time: mean": "energy", "time: maximum": "max", "time: minimum": "min"}.get(
            described.get("cell_methods", ""))
        if by is None:
            raise Invalid(f"the name {name} does not tell how its values are averaged: say it, as by='mean'")
    if by not in TAKEN:
        raise Invalid(f"by is one of {', '.join(map(repr, TAKEN))}, not {by!r}")
    return by


def step_edges(start: int, length: int, first: int, end: int, every: int) -> Tuple[int, List[int]]:
    """When the first step begins, on the clock, and the periods from which steps begin and the last ends."""
    if every < length:
        raise Invalid("a step is not shorter than a period")
    begin = (start + first * length) // every * every
    count = -(-(start + end * length - begin) // every) if end > first else 0
    return begin, [-(-(begin + step * every - start) // length) for step in range(count + 1)]


def read_steps(handle: Handle, key: Tuple[int, ...], edges: Sequence[int], first: int, end: int,
               bands: Sequence[int], by: str, dtype: np.dtype[Any]) -> Values:
    """What is taken of each step and band, of the periods from `first` up to `end` alone; NaN without values."""
    cuts = np.clip(np.asarray(edges, np.int64), first, end)
    values: Values = np.full((len(cuts) - 1, len(bands)), np.nan, dtype)
    place = TAKEN[by][0]
    for lowest, count, runs in _groups(bands):
        at = 0
        while at < len(values):
            # As many steps as a call bears, one at least.
            stop = int(np.searchsorted(cuts, cuts[at] + max(1, _MOST_CELLS // count), "right")) - 1
            stop = min(max(stop, at + 1), len(values))
            found = np.empty((stop - at, count), np.float64)
            arrays: List[Any] = [None] * _ARRAYS
            arrays[place] = found.ctypes.data
            with handle.lock:
                handle.select(key)
                handle.call("read_overview", cuts[at:stop + 1].ctypes.data, stop - at, lowest, count, *arrays)
            if by == "rms":  # before it is rounded: squares go further than the values do
                np.sqrt(found, out=found)
            for to, begin, width in runs:
                values[at:stop, to:to + width] = found[:, begin:begin + width]
            at = stop
    return values
