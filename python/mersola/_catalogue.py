"""What a database holds: instruments, measurements, reports, functions."""
from __future__ import annotations

from collections.abc import Mapping
from dataclasses import dataclass
from datetime import datetime
from typing import (TYPE_CHECKING, Any, Dict, Iterable, Iterator, List, Optional, Sequence, Tuple, TypeVar, Union,
                    overload)

import numpy as np

from . import _html
from ._bands import Bands, BandsLike
from ._convert import described
from ._library import CONTINUOUS, NO_TIME, int32, text, version
from ._markers import Marker, Markers, marker_of
from ._reading import DType, chunk_periods, float_type, read_block, stored_bands
from ._series import Series, SeriesSet
from ._steps import TAKEN, read_steps, step_edges, taken
from ._times import LengthLike, TimeLike, from_python, milliseconds, to_python
from .errors import Error, Invalid, NotFound, not_found

if TYPE_CHECKING:
    from ._database import Database

_EARLIEST, _LATEST = -59_011_459_200_000, 253_402_300_799_999  # years 100 to 9999
_Named = TypeVar("_Named", "Instrument", "Measurement")


@dataclass(frozen=True)
class Function:
    """What is computed for each period: a level, a percentile."""

    id: int
    name: str      #: its number where it has no name
    channel: int
    report: int    #: identifier of the report; its type in the continuous view


@dataclass(frozen=True)
class Report:
    """A series of periods of one length."""

    id: int
    type: int                  #: a number that programs give a meaning
    period: np.timedelta64     #: nominal length of a period, from which all times are computed
    real_period: np.timedelta64  #: as it was measured, where that is known
    periods: int               #: number of periods, empty ones included


def pick(things: Iterable[_Named], asked: Union[str, int], what: str, where: str = "") -> _Named:
    """By name, without regard to case where that is enough to tell, or by identifier."""
    there = list(things)
    if isinstance(asked, str):
        found = [thing for thing in there if thing.name == asked] or \
                [thing for thing in there if thing.name.casefold() == asked.casefold()]
        if len(found) == 1:
            return found[0]
    else:
        number = int32(asked, f"the number of the {what}")
        for thing in there:
            if thing.id == number:
                return thing
    raise not_found(what, asked, [thing.name for thing in there], where)


class _Source:
    """What can be read: a measurement, or the chain of an instrument."""

    id: int
    name: str

    def __init__(self, db: Database, instrument: int, instrument_name: str) -> None:
        self._db = db
        self._instrument = instrument
        self._instrument_name = instrument_name

    @property
    def reports(self) -> List[Report]:
        """The reports by their type. In the chain, `id` and `type` are both the type."""
        return [Report(row["id"], row["type"], np.timedelta64(row["period_length"], "ms"),
                       np.timedelta64(row["real_length"], "ms"), row["periods"])
                for row in self._db._handle.rows("reports", self._instrument, self.id)]

    @property
    def functions(self) -> List[Function]:
        """What is measured, on all channels of all reports."""
        return [Function(row["id"], row["name"] or str(row["id"]), row["channel"], report.id)
                for report in self.reports
                for row in self._db._handle.rows("functions", self._instrument, self.id, report.id)]

    @property
    def channels(self) -> List[int]:
        return sorted({function.channel for function in self.functions})

    @overload
    def read(self, function: Union[str, int], start: Optional[TimeLike] = ...,  # type: ignore[misc]
             stop: Optional[TimeLike] = ..., *, channel: Optional[int] = ..., report: Optional[int] = ...,
             bands: BandsLike = ..., dtype: DType = ..., chunks: None = ...,
             every: Optional[LengthLike] = ..., by: Optional[str] = ...) -> Series: ...

    @overload
    def read(self, function: Sequence[Union[str, int]], start: Optional[TimeLike] = ...,
             stop: Optional[TimeLike] = ..., *, channel: Optional[int] = ..., report: Optional[int] = ...,
             bands: BandsLike = ..., dtype: DType = ..., chunks: None = ...,
             every: Optional[LengthLike] = ..., by: Optional[str] = ...) -> SeriesSet: ...

    @overload
    def read(self, function: Union[str, int], start: Optional[TimeLike] = ..., stop: Optional[TimeLike] = ...,
             *, channel: Optional[int] = ..., report: Optional[int] = ..., bands: BandsLike = ...,
             dtype: DType = ..., chunks: LengthLike) -> Iterator[Series]: ...

    def read(self, function: Union[str, int, Sequence[Union[str, int]]], start: Optional[TimeLike] = None,
             stop: Optional[TimeLike] = None, *, channel: Optional[int] = None, report: Optional[int] = None,
             bands: BandsLike = None, dtype: DType = "float32", chunks: Optional[LengthLike] = None,
             every: Optional[LengthLike] = None, by: Optional[str] = None
             ) -> Union[Series, SeriesSet, Iterator[Series]]:
        """Reads the values of a function.

        function  its name ("LAeq") or number, or a list of them, which gives a `SeriesSet`
        start, stop  the periods that begin from `start` on and before `stop`, as far as values are
            stored: "2026-11-01", "2026-11-01T07:30", a datetime, date or datetime64. Without them, all.
            Times are local ones; aware ones are turned into the zone that the database was opened with.
        channel, report  needed only where the function is measured on several
        bands  all that have values in these periods, by default; else a frequency in Hz, a name such as
            "1 kHz", a list of these, or a range of frequencies with both ends, as slice(100, 5000). With
            bands that are given, the values are read once; without, they are looked through before.
        dtype  "float32", or "float64" for values with all the digits that are stored
        chunks  a length such as "1D": gives an iterator of series instead, cut where days (hours, ...)
            begin on the clock, so that a long range needs the memory of one of them
        every  a length such as "1h": gives what the values of each such step come to in their place. Steps
            begin on the clock. Packed databases keep summaries: with bands that are given, a year of
            seconds takes less than a second.
        by  what is taken of a step: "energy" (the mean of levels), "mean", "rms", "min" or "max". Names of
            levels tell it by themselves: LAeq is taken by its energy, and LAFmax by its maximum.

        Raises `NotFound` (a KeyError) for a name that is not there, `Invalid` (a ValueError) where
        several channels or reports would do, `TypeError` for another dtype, `Error` when the database
        cannot be read. A KeyboardInterrupt ends a long read at once; the object can be used on.
        """
        if not isinstance(function, (str, int, np.integer)):
            if chunks is not None:
                raise Invalid("chunks are of one function: read the others in turn")
            return SeriesSet((series.name, series) for series in (
                self.read(each, start, stop, channel=channel, report=report, bands=bands, dtype=dtype,
                          every=every, by=by)
                for each in function))
        if every is None and by is not None:
            raise Invalid("by says what is taken of a step: give its length, as every='1h'")
        if every is not None and chunks is not None:
            raise Invalid("steps are read at once: give either chunks or every")
        return self._read(self._function(function, channel, report), start, stop, bands, float_type(dtype),
                          None if chunks is None else milliseconds(chunks, "chunks"),
                          None if every is None else milliseconds(every, "every"), by)

    def _read(self, function: Function, start: Optional[TimeLike], stop: Optional[TimeLike], bands: BandsLike,
              dtype: np.dtype[Any], chunk: Optional[int], every: Optional[int],
              by: Optional[str]) -> Union[Series, Iterator[Series]]:
        handle, zone = self._db._handle, self._db.tz
        key = (self._instrument, self.id, function.report, function.channel, function.id)
        with handle.lock:
            handle.select(key, anew=True)
            origin, length = handle.long("start"), handle.longs("period_length")[0]
            try:
                first, last = handle.longs("stored_periods")
            except NotFound:
                first, last = 0, -1
            if start is not None:
                first = max(first, -(-(from_python(start, zone, "start") - origin) // length))
            end = last + 1
            if stop is not None:
                end = min(end, -(-(from_python(stop, zone, "stop") - origin) // length))
            end = max(first, end)
        named = self._db._bands()
        chosen = stored_bands(handle, key, first, end) if bands is None else \
            self._chosen(named, bands, key, first, end)
        attrs = self._attributes(function, length)

        def block(begin: int, stop: int) -> Series:
            values, notes = read_block(handle, key, begin, stop - begin, chosen, dtype)
            return Series(function.name, values, chosen, [named.name(band) for band in chosen],
                          np.array([named.hertz(band) for band in chosen], float),
                          np.datetime64(origin + begin * length, "ms"), np.timedelta64(length, "ms"), begin,
                          dict(attrs), zone, notes)

        if every is not None:
            how = taken(by, attrs, function.name)
            begin, edges = step_edges(origin, length, first, end, every)
            steps = read_steps(handle, key, edges, first, end, chosen, how, dtype)
            attrs.update(cell_methods=TAKEN[how][1], period_length_ms=every)
            return Series(function.name, steps, chosen, [named.name(band) for band in chosen],
                          np.array([named.hertz(band) for band in chosen], float),
                          np.datetime64(begin, "ms"), np.timedelta64(every, "ms"), edges[0], attrs, zone)
        if chunk is None:
            return block(first, end)
        return (block(*each) for each in chunk_periods(origin, length, first, end, chunk))

    def _chosen(self, named: Bands, bands: BandsLike, key: Tuple[int, ...], first: int, end: int) -> List[int]:
        """The bands that are asked for. Those that have names need no look at the values."""
        if not isinstance(bands, slice):
            try:
                return named.choose(bands, named.known())
            except NotFound:
                pass
        return named.choose(bands, stored_bands(self._db._handle, key, first, end))

    def _function(self, asked: Union[str, int], channel: Optional[int], report: Optional[int]) -> Function:
        there = self.functions
        if isinstance(asked, str):
            found = [each for each in there if each.name == asked] or \
                    [each for each in there if each.name.casefold() == asked.casefold()]
        else:
            found = [each for each in there if each.id == asked]
        if not found:
            raise not_found("function", asked, dict.fromkeys(each.name for each in there),
                            f" in {self.name}")
        for what, wanted in (("channel", channel), ("report", report)):
            if wanted is not None:
                of = [each for each in found if getattr(each, what) == wanted]
                if not of:
                    raise not_found(what, wanted, sorted({getattr(each, what) for each in found}),
                                    f" of {found[0].name}")
                found = of
        for what in ("report", "channel"):
            numbers = sorted({getattr(each, what) for each in found})
            if len(numbers) > 1:
                raise Invalid(f"{found[0].name} is measured in {what}s {', '.join(map(str, numbers))}: "
                              f"say which one, as {what}={numbers[0]}")
        return found[0]

    def _attributes(self, function: Function, length: int) -> Dict[str, Any]:
        return {**described(function.name), "instrument": self._instrument_name, "measurement": self.name,
                "channel": function.channel, "function_id": function.id, "report": function.report,
                "period_length_ms": length, **self._settings(), "source": f"mersola {version()}"}

    def _settings(self) -> Dict[str, Any]:
        return {}

    def markers(self, start: Optional[TimeLike] = None, stop: Optional[TimeLike] = None, *,
                type: str = "", open: bool = False) -> Markers:
        """The markers (events) that start from `start` on and before `stop`, by default all.

        With `type`, those whose trigger has that `type`, as "level". With `open`, those that still go
        on, whose `stop` is None, instead of those that are closed. Raises `Error`."""
        zone = self._db.tz
        if open:
            rows = self._db._handle.rows("open_markers", self._instrument, self.id)
        else:
            begin = NO_TIME if start is None else from_python(start, zone, "start")
            end = NO_TIME if stop is None else from_python(stop, zone, "stop")
            if begin != end:  # the library takes both or none
                begin, end = max(begin, _EARLIEST), _LATEST if end == NO_TIME else end
            rows = self._db._handle.rows("markers", self._instrument, self.id, begin, end,
                                         text(type, "type"))
        made = (marker_of(row, zone) for row in rows)
        return Markers(sorted((marker for marker in made if marker), key=lambda marker: marker.start))

    def _overview(self) -> List[List[Any]]:
        functions = self.functions
        rows = []
        for report in self.reports:
            names = dict.fromkeys(each.name for each in functions if each.report == report.id)
            channels = sorted({each.channel for each in functions if each.report == report.id})
            rows.append([report.id, _html.length(report.period), report.periods,
                         ", ".join(map(str, channels)), ", ".join(names)])
        return rows

    _HEADS = ("report", "period", "periods", "channels", "functions")

    def __repr__(self) -> str:
        return self._shown(_html.columns, "<mersola.", ">")

    def _repr_html_(self) -> str:
        return self._shown(_html.table, "mersola.", "")

    def _shown(self, show: Any, before: str, after: str) -> str:
        kind = f"{before}{self.__class__.__name__} {self.name!r} of {self._instrument_name!r}"
        try:
            return str(show(kind + after, self._HEADS, self._overview()))
        except Error as reason:  # as where the database is closed
            return str(show(f"{kind}: {reason}{after}", self._HEADS, []))


class Measurement(_Source):
    """A measurement of an instrument. Its attributes are those of when it was listed."""

    def __init__(self, db: Database, instrument: int, instrument_name: str, row: Dict[str, Any]) -> None:
        super().__init__(db, instrument, instrument_name)
        self.id: int = row["id"]
        self.name: str = row["name"]
        self.info: str = row["info"]
        #: When period 0 begins: local time, aware where the database was opened with a zone.
        self.start: Optional[datetime] = to_python(row["start"], db.tz)
        self.bandwidth: int = row["bandwidth"]           #: code of the frequency resolution
        self.fullscale: float = row["fullscale"]         #: in the unit of the signal
        self.sensitivity: float = row["sensitivity"]     #: in V per unit of the signal
        self.lower_frequency: float = row["lower_frq"]   #: in Hz
        self.upper_frequency: float = row["upper_frq"]   #: in Hz

    def _settings(self) -> Dict[str, Any]:
        return {"bandwidth_code": self.bandwidth, "fullscale": self.fullscale,
                "sensitivity_V_per_unit": self.sensitivity, "lower_frequency_Hz": self.lower_frequency,
                "upper_frequency_Hz": self.upper_frequency,
                **({"measurement_info": self.info} if self.info else {})}

    def mark(self, start: TimeLike, stop: Optional[TimeLike] = None, *, id: int = 0, type: int = 0,
             ext_type: str = "", path: str = "", trigger: str = "", function: int = 0, band: int = 0,
             color: int = 0) -> None:
        """Writes a marker. Without `stop` it is open until `close_marker`. `trigger` is list text of
        pairs, as "type=level". Raises `Invalid`, also on a database that is opened for reading, and
        `Error`."""
        zone = self._db.tz
        self._db._handle.call(
            "put_marker", self._instrument, self.id, int32(id, "id"), int32(type, "type"),
            text(ext_type, "ext_type"), from_python(start, zone, "start"),
            NO_TIME if stop is None else from_python(stop, zone, "stop"), text(path, "path"),
            text(trigger, "trigger"), int32(function, "function"), int32(band, "band"), int32(color, "color"))

    def close_marker(self, marker: Marker, stop: TimeLike, trigger: Optional[str] = None) -> None:
        """Closes an open marker, as ``markers(open=True)`` gives it, with a new trigger if one is
        given."""
        stored = marker._stored
        self._db._handle.call(
            "close_marker", marker.instrument, marker.measurement, marker.id,
            text(marker.ext_type, "ext_type"), stored["start"], from_python(stop, self._db.tz, "stop"),
            text(marker.path, "path"), text(marker.trigger if trigger is None else trigger, "trigger"),
            marker.function, marker.band)


@dataclass(frozen=True)
class Member:
    """A part of the chain: a report of a measurement."""

    measurement: str
    start: Optional[datetime]
    report: int
    type: int
    period: np.timedelta64
    offset: int        #: number of its first period in the chain
    periods: int
    lost_periods: int  #: before it, that nobody recorded; negative for an overlap


class Chain(_Source):
    """The continuous view: all measurements of an instrument, one behind the other, as one. Reports
    are selected by their type. `NotFound` where measurements do not fit together."""

    id = CONTINUOUS
    name = "Continuous"

    @property
    def members(self) -> List[Member]:
        """What the chain is made of, by start."""
        return [Member(row["name"], to_python(row["start"], self._db.tz), row["report"], row["type"],
                       np.timedelta64(row["period_length"], "ms"), row["offset"], row["periods"],
                       row["lost_periods"])
                for row in self._db._handle.rows("chain", self._instrument)]


class Instrument(Mapping):  # type: ignore[type-arg]  # subscripts need Python 3.9's own class
    """An instrument, as a mapping of its measurements by name: ``garden["Summer"]``. They are also
    found by identifier, ``garden[1]``. Measurements come by their start."""

    def __init__(self, db: Database, row: Dict[str, Any]) -> None:
        self._db = db
        self.id: int = row["id"]
        self.name: str = row["name"]
        self.type: str = row["type"]    #: list text, in lower case
        self.info: str = row["info"]
        self.state: str = row["state"]  #: list text, as "0,running"

    @property
    def measurements(self) -> List[Measurement]:
        """All measurements by their start, read anew."""
        return [Measurement(self._db, self.id, self.name, row)
                for row in self._db._handle.rows("measurements", self.id)]

    @property
    def chain(self) -> Chain:
        """The continuous view of all measurements."""
        return Chain(self._db, self.id, self.name)

    def at(self, time: TimeLike) -> Measurement:
        """The measurement that began last by a time, whether it still goes on then or not. Raises
        `NotFound`."""
        moment = from_python(time, self._db.tz)
        return self[self._db._handle.integer("find_measurement_at", self.id, moment)]

    def __getitem__(self, name: Union[str, int]) -> Measurement:
        return pick(self.measurements, name, "measurement", f" of {self.name!r}")

    def __iter__(self) -> Iterator[str]:
        return iter([measurement.name for measurement in self.measurements])

    def __len__(self) -> int:
        return len(self.measurements)

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Instrument) and other.id == self.id and other._db is self._db

    def __hash__(self) -> int:
        return hash((id(self._db), self.id))

    def _ipython_key_completions_(self) -> List[str]:
        return list(self)

    _HEADS = ("measurement", "start", "functions")

    def _overview(self) -> List[List[Any]]:
        return [[each.name, each.start, ", ".join(dict.fromkeys(f.name for f in each.functions))]
                for each in self.measurements]

    def __repr__(self) -> str:
        return self._shown(_html.columns, "<mersola.", ">")

    def _repr_html_(self) -> str:
        return self._shown(_html.table, "mersola.", "")

    def _shown(self, show: Any, before: str, after: str) -> str:
        kind = f"{before}Instrument {self.name!r}"
        try:
            return str(show(kind + after, self._HEADS, self._overview()))
        except Error as reason:
            return str(show(f"{kind}: {reason}{after}", self._HEADS, []))
