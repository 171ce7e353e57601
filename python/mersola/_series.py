"""What was read: values by period and band, and what they are."""
from __future__ import annotations

from dataclasses import dataclass, field, replace
from datetime import tzinfo
from typing import TYPE_CHECKING, Any, Dict, List, Optional, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _convert, _html
from ._library import INVALID, MISSING
from ._times import Times, from_python, to_utc
from .errors import Invalid, not_found

if TYPE_CHECKING:
    import matplotlib.axes
    import pandas
    import xarray

Values = Union[npt.NDArray[np.float32], npt.NDArray[np.float64]]
Bytes = npt.NDArray[np.uint8]
Flags = npt.NDArray[np.bool_]


@dataclass(repr=False, eq=False)
class Series:
    """Values of one function on one channel, by period and band.

    `values[t, b]` is a level (or whatever the function measures) of the period that begins at
    `times[t]`, in the band `bands[b]`. Values that are not there are NaN: `missing` tells those that
    nobody stored from those that were stored as `invalid`. `attrs` says what the values are; what you
    add there goes into xarray objects and files, such as ``series.attrs["units"] = "mm/s"``.

    ``series[10:20]`` is a range of periods and ``series["2026-11-02":"2026-11-03"]`` one of times,
    without its end; both are views of the same memory. ``series.band("1 kHz")`` is one column.
    """

    name: str                        #: name of the function, as "LAeq"
    values: Values                   #: periods x bands, C order
    band_ids: List[int]              #: identifiers of the bands, as the database has them
    band_names: List[str]            #: their names, as "1 kHz"
    bands: npt.NDArray[np.float64]   #: nominal frequencies in Hz; 0 is the whole signal, NaN unknown
    start: np.datetime64             #: local time at which the first period begins
    period: np.timedelta64           #: length of a period
    first_period: int                #: number of the first period in its measurement
    attrs: Dict[str, Any]            #: what the values are, by names of the CF conventions
    tz: Optional[tzinfo] = None      #: the zone that the database was opened with
    _notes: List[Tuple[int, Bytes]] = field(default_factory=list)  # status bytes that say something

    @property
    def times(self) -> Times:
        """When each period begins, as stored: local times (datetime64[ms]), also with a zone."""
        length = int(self.period / np.timedelta64(1, "ms"))
        count = np.arange(len(self.values), dtype=np.int64) * length
        times: Times = self.start.astype("datetime64[ms]") + count.astype("timedelta64[ms]")
        return times

    @property
    def utc(self) -> Times:
        """When each period begins, in UTC. `Invalid` where the database was opened without a zone."""
        if self.tz is None:
            raise Invalid("UTC is not known: give mersola.open the zone, as tz='Europe/Berlin'")
        return to_utc(self.times, self.tz)

    @property
    def status(self) -> Bytes:
        """Status bytes, periods x bands: 0 for a value, 255 (missing), 65 (invalid, "A"), or the
        character that the recorder gave, such as "O" for an overload."""
        status = np.where(np.isnan(self.values), np.uint8(MISSING), np.uint8(0))
        for at, note in self._notes:
            begin, end = max(at, 0), min(at + len(note), len(status))
            if begin < end:
                status[begin:end] = note[begin - at:end - at]
        return status

    @property
    def mask(self) -> Flags:
        """Where there is no value, missing or invalid; for ``numpy.ma.array(s.values, mask=s.mask)``."""
        return np.isnan(self.values)

    @property
    def missing(self) -> Flags:
        """Where nothing is stored."""
        flags: Flags = self.status == MISSING
        return flags

    @property
    def invalid(self) -> Flags:
        """Where something was stored as invalid."""
        flags: Flags = np.isnan(self.values) & (self.status != MISSING)
        return flags

    @property
    def shape(self) -> Tuple[int, int]:
        return len(self.values), len(self.band_ids)

    def __len__(self) -> int:
        return len(self.values)

    def __array__(self, dtype: Any = None, copy: Optional[bool] = None) -> npt.NDArray[Any]:
        return np.array(self.values, dtype) if copy else np.asarray(self.values, dtype)

    def band(self, asked: Union[str, float]) -> Values:
        """The values of one band by its name ("1 kHz") or frequency in Hz (1000): a view."""
        if isinstance(asked, str) and asked in self.band_names:
            return self.values[:, self.band_names.index(asked)]
        from ._bands import frequency
        hertz = frequency(asked) if isinstance(asked, str) else float(asked)
        found = np.flatnonzero(np.isclose(self.bands, hertz, rtol=1e-9, atol=0))
        if not len(found):
            raise not_found("band", asked, self.band_names)
        return self.values[:, found[0]]

    def __getitem__(self, rows: slice) -> Series:
        """A range of periods, by their position or by times: a view."""
        if not isinstance(rows, slice) or rows.step not in (None, 1):
            raise TypeError("a series is indexed by a range of positions or times, as [10:20] or "
                            "['2026-11-02':'2026-11-03']; single values are in .values")
        begin, end, _ = slice(self._row(rows.start), self._row(rows.stop)).indices(len(self))
        end = max(begin, end)
        return replace(self, values=self.values[begin:end], start=self.start + begin * self.period,
                       first_period=self.first_period + begin, attrs=dict(self.attrs),
                       _notes=[(at - begin, note) for at, note in self._notes])

    def _row(self, end: Any) -> Optional[int]:
        if end is None or isinstance(end, (int, np.integer)):
            return None if end is None else int(end)
        passed = from_python(end, self.tz) - int(self.start.astype("datetime64[ms]").astype(np.int64))
        return max(0, -(-passed // int(self.period / np.timedelta64(1, "ms"))))

    def to_pandas(self) -> Union[pandas.Series[Any], pandas.DataFrame]:
        """A pandas Series for one band, or a DataFrame with the frequencies as columns. The index is
        the beginnings of periods: naive local times, or aware ones where the database was opened with
        a zone. `ImportError` without pandas."""
        return _convert.to_pandas(self)

    def to_xarray(self) -> xarray.DataArray:
        """A DataArray, described after the CF conventions, with the dimensions time and band, or time
        alone where the whole signal is the only band. The time is local, or UTC where the database was
        opened with a zone. `ImportError` without xarray."""
        array: xarray.DataArray = _convert.to_xarray(self)
        return array

    def to_dataset(self) -> xarray.Dataset:
        """The same as a Dataset that explains itself as a netCDF file: with the ends of periods, and
        the status where it says more than that values are missing. `ImportError` without xarray."""
        dataset: xarray.Dataset = _convert.to_dataset([self])
        return dataset

    def plot(self, ax: Optional[matplotlib.axes.Axes] = None, **options: Any) -> matplotlib.axes.Axes:
        """Draws levels over time, or a spectrogram of several bands, and returns the axes. Options go
        to matplotlib's plot or pcolormesh. `ImportError` without matplotlib."""
        return _convert.plot(self, ax, options)

    def __repr__(self) -> str:
        return "\n".join([f"<mersola.Series {self._title()}>", *self._facts()])

    def _repr_html_(self) -> str:
        return _html.facts(f"mersola.Series {self._title()}", self._facts())

    def _title(self) -> str:
        where = " / ".join(str(self.attrs[key]) for key in ("instrument", "measurement")
                           if key in self.attrs)
        return f"{self.name} of {where}, channel {self.attrs.get('channel')}"

    def _facts(self) -> List[str]:
        periods, bands = self.shape
        facts = [f"{periods} periods of {_html.length(self.period)} x {bands} "
                 f"{'band' if bands == 1 else 'bands'}, {self.values.dtype}"]
        if periods:
            facts.append(f"from {self.start} to {self.start + periods * self.period}"
                         + (f" ({self.tz})" if self.tz else ""))
        if bands:
            names = self.band_names
            facts.append("band: " + names[0] if bands == 1 else f"bands: {names[0]} to {names[-1]}")
        if self.values.size:
            absent = int(np.count_nonzero(self.mask))
            finite = self.values[~self.mask] if absent else self.values
            unit = f" {self.attrs['units']}" if "units" in self.attrs else ""
            if finite.size:
                facts.append(f"values: {finite.min():.1f} to {finite.max():.1f}{unit}")
            if absent:
                facts.append(f"without a value: {absent} ({100 * absent / self.values.size:.1f} %)")
        return facts


class SeriesSet(Dict[str, Series]):
    """Several functions that were read together, by their names."""

    def to_xarray(self) -> xarray.Dataset:
        """A Dataset with a variable for each function."""
        dataset: xarray.Dataset = _convert.to_dataset(list(self.values()))
        return dataset

    def to_pandas(self) -> pandas.DataFrame:
        """A DataFrame with a column for each function, and for each of its bands if it has several."""
        return _convert.frame(list(self.values()))

    def __repr__(self) -> str:
        return "\n".join(repr(series) for series in self.values()) or "<mersola.SeriesSet, empty>"

    def _repr_html_(self) -> str:
        return "".join(series._repr_html_() for series in self.values())


__all__ = ["Series", "SeriesSet", "INVALID", "MISSING"]
