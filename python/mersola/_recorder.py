"""Recording values."""
from __future__ import annotations

from types import TracebackType
from typing import TYPE_CHECKING, Any, List, Mapping, Optional, Sequence, Set, Tuple, Type, Union

import numpy as np
import numpy.typing as npt

from ._bands import WHOLE_SIGNAL
from ._html import length
from ._library import int32, text
from ._series import Series
from ._times import LengthLike, TimeLike, from_python, milliseconds, now
from .errors import Duplicate, Error, Invalid, not_found

if TYPE_CHECKING:
    from ._catalogue import Measurement
    from ._database import Database

_VALID = 0


class Recorder:
    """A recording that goes on; ``db.record`` makes one. Each `write` is one transaction: when it
    returns, its values are stored. Leaving ``with`` ends the recording and writes nothing more."""

    def __init__(self, db: Database, instrument: str, measurement: str, period: LengthLike,
                 start: Optional[TimeLike], report: int, report_type: Optional[int],
                 bandwidth: Optional[int], info: str, instrument_type: str, instrument_info: str,
                 lower_frequency: float, upper_frequency: float, fullscale: float,
                 sensitivity: float) -> None:
        handle = db._handle
        self._db, self._handle = db, handle
        self._length = milliseconds(period, "period")
        self._start = now(db.tz) if start is None else from_python(start, db.tz, "start")
        self._measurement_name = measurement
        #: Number of the next period, counted from the start of this recording.
        self.period = 0
        self._registered: Set[Tuple[int, int]] = set()
        # All of these before anything is registered.
        report = int32(report, "report")
        name = text(measurement, "measurement")
        if not name:
            raise Invalid("a measurement has a name")
        who = (text(instrument, "instrument"), text(instrument_type, "instrument_type"),
               text(instrument_info, "instrument_info"))
        described = text(info, "info")
        settings = [float(each) for each in (lower_frequency, upper_frequency, fullscale, sensitivity)]
        report_type = None if report_type is None else int32(report_type, "report_type")
        bandwidth = None if bandwidth is None else int32(bandwidth, "bandwidth")
        with handle.lock:
            if db._recorder is not None:
                raise Error("this database object records already: end that, or open another one")
            self._instrument = handle.integer("put_instrument", *who)
            known = db[self._instrument].get(measurement)
            if known is not None:
                of = [each for each in known.reports if each.id == report]
                report_type = of[0].type if report_type is None and of else report_type
                bandwidth = known.bandwidth if bandwidth is None else bandwidth
            self._measurement = handle.integer(
                "put_measurement", self._instrument, name, described, self._start,
                3 if bandwidth is None else bandwidth, *settings)
            handle.call("put_report", report, report if report_type is None else report_type, self._length)
            db._recorder = self

    @property
    def measurement(self) -> Measurement:
        """What is being recorded, as it can be read now."""
        return self._db[self._instrument][self._measurement]

    def write(self, values: Mapping[Union[str, int], Any], *, channel: int = 1,
              bands: Optional[Sequence[Union[str, float]]] = None, period: Optional[int] = None,
              time: Optional[TimeLike] = None, status: Union[None, str, npt.ArrayLike] = None) -> None:
        """Writes the values of one period, or of several.

            recorder.write({"LAeq": 61.2})                             # a period
            recorder.write({"LAeq": [61.2, 60.8, 61.0]})               # three periods
            recorder.write({"LAeq": 61.2, "Leq": spectrum}, bands=["1 kHz", "2 kHz"])
            recorder.write({"Leq": array}, bands=[...])                # periods x bands
            recorder.write({"Leq": series})                            # what `read` gave, with its bands

        values  by function: a name of the database or a number. A number is a value of the whole signal
            in one period. Without `bands` an array is one of periods; with them its last axis is the band.
            All functions have the same number of periods.
        bands  frequencies in Hz or names, as "1 kHz"
        period, time  where the first one goes: a number counted from the start of this recording, or the
            time in which it lies; by default behind the last one
        status  None for plain values, a character for all of them ("A" for invalid, "O" for an overload),
            or bytes as `Series.status` has them

        NaN, and what is masked, is not written; its period counts all the same. Raises `Duplicate` when
        some were stored already: these stay, and all others are written. Raises `NotFound` for an unknown
        name and `Invalid` for what has no place, before anything is written. Raises `Error` when the
        database refuses: the whole call can be repeated."""
        if not hasattr(values, "items"):
            raise TypeError(f"values go by function, as {{'LAeq': 61.2}}, not {type(values).__name__}")
        with self._handle.lock:  # of two threads the second one writes behind the first
            self._write(values, int32(channel, "channel"), bands, self._at(period, time), status)

    def _write(self, values: Mapping[Union[str, int], Any], channel: int,
               bands: Optional[Sequence[Union[str, float]]], at: int, status: Any) -> None:
        blocks = [self._block(function, value, bands, status) for function, value in values.items()]
        periods = max((block[2].shape[0] for block in blocks), default=1)
        if any(block[2].shape[0] != periods for block in blocks):
            raise Invalid("all functions have the same number of periods")
        if at + periods > 2**31 - 1:
            raise Invalid(f"the period {at + periods - 1} is out of its range")
        columns: List[List[npt.NDArray[Any]]] = [[], [], [], []]
        for function, numbers, levels, marks in blocks:
            columns[0].append(np.repeat(np.arange(at, at + periods, dtype=np.int64), len(numbers)))
            columns[1].append(np.full(levels.size, function, np.int32))
            columns[2].append(np.tile(np.array(numbers, np.int32), periods))
            columns[3].append(levels.ravel())
        self._require()
        for function, _, _, _ in blocks:
            if (function, channel) not in self._registered:
                self._handle.call("put_function", function, channel)
                self._registered.add((function, channel))
        try:
            if blocks:
                self._put(channel, [np.concatenate(column) for column in columns],
                          np.concatenate([marks.ravel() for _, _, _, marks in blocks]))
            self._handle.call("put_periods", at + periods)
        except Duplicate:
            self._handle.call("put_periods", at + periods)
            self.period = at + periods
            raise
        self.period = at + periods

    def _put(self, channel: int, columns: List[npt.NDArray[Any]], marks: npt.NDArray[np.uint8]) -> None:
        where, function, band, level = (np.ascontiguousarray(column) for column in columns)
        channels = np.full(level.size, channel, np.int32)
        self._handle.call("put_values", level.size, where.ctypes.data, function.ctypes.data,
                          channels.ctypes.data, band.ctypes.data, level.ctypes.data, marks.ctypes.data)

    def skip(self, periods: int = 1) -> None:
        """Counts periods in which there was nothing to write."""
        if periods < 0:
            raise Invalid("the number of periods is from 0 on")
        with self._handle.lock:
            self._require()
            self._handle.call("put_periods", self.period + periods)
            self.period += periods

    def close(self) -> None:
        """Ends the recording. Doing it again does nothing."""
        if self._db._recorder is self:
            self._db._recorder = None

    def _require(self) -> None:
        if self._db._recorder is not self:
            raise Error("this recording has ended")

    def _at(self, period: Optional[int], time: Optional[TimeLike]) -> int:
        if period is not None and time is not None:
            raise Invalid("give the period or the time")
        if time is not None:
            period = (from_python(time, self._db.tz) - self._start) // self._length
            if period < 0:
                raise Invalid(f"{time} lies before the start of this recording")
        at = self.period if period is None else int32(period, "period")
        if at < 0:
            raise Invalid("periods are counted from 0 on")
        return at

    def _block(self, function: Union[str, int], given: Any, bands: Optional[Sequence[Union[str, float]]],
               status: Any) -> Tuple[int, List[int], npt.NDArray[np.float64], npt.NDArray[np.uint8]]:
        """The number of the function, those of its bands, and values and status of periods x bands."""
        number = self._function(function)
        if isinstance(given, np.ma.MaskedArray):  # what is masked is no value
            masked: Any = given
            given = masked.astype(np.float64).filled(np.nan)
        levels = np.asarray(given.values if isinstance(given, Series) else given)
        if levels.dtype.kind not in "fiu":
            raise TypeError(f"the values of {function} are numbers, not {levels.dtype}")
        levels = levels.astype(np.float64)
        if isinstance(given, Series) and bands is None:
            numbers = list(given.band_ids)
            status = given.status if status is None else status
        elif levels.ndim == 0 or bands is None:
            numbers = [WHOLE_SIGNAL]
            levels = levels.reshape(-1, 1) if levels.ndim < 2 or levels.shape[-1] == 1 else levels
        else:
            known = self._db._bands()
            numbers = [known.identify(band) for band in bands]
            levels = levels.reshape(1, -1) if levels.ndim == 1 else levels
        if levels.ndim != 2 or levels.shape[1] != len(numbers):
            raise Invalid(f"the values of {function} have the shape {levels.shape}, and there "
                          f"{'is 1 band' if len(numbers) == 1 else f'are {len(numbers)} bands'}")
        if status is None:
            marks = np.zeros(levels.shape, np.uint8)
        elif isinstance(status, str):
            if len(status) > 1 or not status.isascii():
                raise Invalid(f"a status is one ASCII character, not {status!r}")
            marks = np.full(levels.shape, ord(status) if status else _VALID, np.uint8)
        else:
            codes = np.asarray(status)
            if codes.dtype.kind not in "iu" or (codes.size and not 0 <= codes.min() <= codes.max() <= 255):
                raise Invalid("status bytes are whole numbers from 0 to 255")
            marks = np.array(np.broadcast_to(codes.astype(np.uint8), levels.shape))
        return number, numbers, levels, marks

    def _function(self, function: Union[str, int]) -> int:
        if not isinstance(function, str):
            return int32(function, "the number of the function")
        known = self._db.functions
        if function not in known:
            raise not_found("function", function, known, "; name it with db.name_function")
        return known[function]

    def __enter__(self) -> Recorder:
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        self.close()

    def __repr__(self) -> str:
        state = "" if self._db._recorder is self else ", ended"
        return (f"<mersola.Recorder of {self._measurement_name!r}, next period {self.period} "
                f"of {length(np.timedelta64(self._length, 'ms'))}{state}>")
