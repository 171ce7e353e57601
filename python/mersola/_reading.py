"""Reading blocks straight into arrays.

A block is read in steps of some fiftieths of a second, each into its part of the array. Between two
of them a KeyboardInterrupt gets through, and status bytes are kept only where they say something, so
that nothing of the size of the array is needed beside it.
"""
from __future__ import annotations

import time
from typing import Any, List, Sequence, Set, Tuple, Type, Union

import numpy as np

from ._library import MISSING, Handle
from ._series import Bytes, Values
from .errors import Invalid

DType = Union[str, Type[np.floating[Any]], "np.dtype[Any]"]

_STEP_SECONDS = 0.04
_MOST_CELLS = 1 << 20   # of a step: what it needs beside the array is a byte for each
_WIDEST_GAP = 64        # bands that are further apart are read by themselves


def float_type(dtype: DType) -> np.dtype[Any]:
    try:
        found = np.dtype(dtype)
    except TypeError as reason:
        raise TypeError(f"dtype is 'float32' or 'float64': {reason}") from None
    if found not in (np.dtype(np.float32), np.dtype(np.float64)):
        raise TypeError(f"dtype is 'float32' or 'float64', not {found}")
    return found


def _groups(bands: Sequence[int]) -> List[Tuple[int, int, List[Tuple[int, int, int]]]]:
    """What is read together: its first band, how many, and the runs of columns in it, each as
    (place in the array, place in what is read, length)."""
    groups: List[Tuple[int, int, List[Tuple[int, int, int]]]] = []
    for column in sorted(range(len(bands)), key=lambda each: bands[each]):
        band = bands[column]
        if groups and 0 < band - (groups[-1][0] + groups[-1][1] - 1) <= _WIDEST_GAP:
            first, count, runs = groups[-1]
            at, begin, length = runs[-1]
            if band == first + count and column == at + length:
                runs[-1] = (at, begin, length + 1)
            else:
                runs.append((column, band - first, 1))
            groups[-1] = (first, band - first + 1, runs)
        else:
            groups.append((band, 1, [(column, 0, 1)]))
    return groups


def read_block(handle: Handle, key: Tuple[int, ...], first: int, periods: int, bands: Sequence[int],
               dtype: np.dtype[Any]) -> Tuple[Values, List[Tuple[int, Bytes]]]:
    """Values of `periods` x `bands`, and the status of those periods whose status says more than that
    a value is there or missing, by their place."""
    try:
        values: Values = np.empty((periods, len(bands)), dtype)
    except (MemoryError, ValueError):
        raise MemoryError(f"{periods} periods of {len(bands)} bands do not fit into memory: read them "
                          "in chunks, as chunks='1D'") from None
    notes: List[Tuple[int, Bytes]] = []
    groups = _groups(bands)
    if not values.size:
        return values, notes
    if len(groups) == 1 and len(groups[0][2]) == 1:
        scratch = None  # the array itself takes what is read
    else:
        scratch = np.empty(0, dtype)
    name = "read_float" if dtype == np.float32 else "read_double"
    widest = max(count for _, count, _ in groups)
    status = spare = np.empty(0, np.uint8)
    at = 0
    while at < periods:
        cells = min(max(int(handle.rate * _STEP_SECONDS), 4096), _MOST_CELLS)
        step = min(max(1, cells // widest), periods - at)
        if len(status) < step * widest:
            status, spare = np.empty(step * widest, np.uint8), np.empty(step * widest, np.uint8)
            if scratch is not None:
                scratch = np.empty(step * widest, dtype)
        begun = time.perf_counter()
        kept = None
        with handle.lock:
            handle.select(key)
            for lowest, count, runs in groups:
                block = values[at:at + step] if scratch is None else \
                    scratch[:step * count].reshape(step, count)
                marks = status[:step * count]
                handle.call(name, first + at, step, lowest, count, block.ctypes.data, marks.ctypes.data)
                # Of 255, 0 and the others only the others are more than 1 then.
                says = int(np.add(marks, 1, out=spare[:step * count]).max()) > 1
                if says and kept is None:
                    kept = np.full((step, len(bands)), MISSING, np.uint8)
                    _assume(kept, values[at:at + step], groups, lowest)
                for to, begin, length in runs:
                    if scratch is not None:
                        values[at:at + step, to:to + length] = block[:, begin:begin + length]
                    if kept is not None:
                        kept[:, to:to + length] = marks.reshape(step, count)[:, begin:begin + length]
        if kept is not None:
            notes.append((at, kept))
        at += step
        passed = max(time.perf_counter() - begun, 1e-6)
        # No more than four times the last step, so that one that was quick by chance does little harm.
        handle.rate = min(step * widest / passed, 4 * max(handle.rate, 1e5))
    return values, notes


def stored_bands(handle: Handle, key: Tuple[int, ...], first: int, end: int) -> List[int]:
    """The bands that have values in the periods from `first` up to `end`, looked up in steps as well."""
    found: Set[int] = set()
    step = 4096
    while first < end:
        count = min(step, end - first)
        begun = time.perf_counter()
        with handle.lock:
            handle.select(key)
            found.update(row["band"] for row in handle.rows("bands", first, count))
        passed = max(time.perf_counter() - begun, 1e-6)
        step = max(1, int(count * min(_STEP_SECONDS / passed, 4)))
        first += count
    return sorted(found)


def _assume(kept: Bytes, values: Values, groups: Sequence[Tuple[int, int, Any]], until: int) -> None:
    """The status of the groups before the one that says something: they had nothing to say."""
    for lowest, _, runs in groups:
        if lowest == until:
            return
        for to, _, length in runs:
            kept[:, to:to + length][~np.isnan(values[:, to:to + length])] = 0


def chunk_periods(start: int, length: int, first: int, end: int, chunk: int) -> List[Tuple[int, int]]:
    """Cuts the periods from `first` to `end` where multiples of `chunk` ms begin on the clock."""
    if chunk < length:
        raise Invalid("a chunk is not shorter than a period")
    cuts = [first]
    while cuts[-1] < end:
        time_of = start + cuts[-1] * length
        border = (time_of // chunk + 1) * chunk
        cuts.append(min(end, max(cuts[-1] + 1, -(-(border - start) // length))))
    return list(zip(cuts[:-1], cuts[1:]))

