"""Series as objects of pandas, xarray and matplotlib, which are imported only here."""
from __future__ import annotations

import importlib
import re
from dataclasses import replace
from datetime import tzinfo
from typing import TYPE_CHECKING, Any, Dict, List, Optional, Sequence, Tuple

import numpy as np

from ._bands import WHOLE_SIGNAL
from ._library import INVALID, MISSING
from ._times import Times, to_utc
from .errors import Invalid

if TYPE_CHECKING:
    from ._series import Series

# How a file has times: exactly, whatever the first one is.
_TIME_ENCODING = {"units": "milliseconds since 1970-01-01", "calendar": "proleptic_gregorian", "dtype": "int64"}
_CELL_METHODS = {"eq": "time: mean", "max": "time: maximum", "min": "time: minimum"}


def _needed(module: str, use: str) -> Any:
    try:
        return importlib.import_module(module)
    except ImportError as reason:
        package = module.split(".")[0]
        raise ImportError(f"{use} needs {package}, which cannot be imported ({reason}): install "
                          f"python3-{package}, or pip install {package}") from reason


def described(name: str) -> Dict[str, Any]:
    """What a function's name says about its values: those that begin as levels do are in dB."""
    found = re.fullmatch(r"L(?P<weight>[ACZ]?)(?:[FSI]?(?P<how>eq|max|min)|(?P<part>\d{1,2}(?:\.\d+)?))", name)
    if not found:
        return {}
    attrs: Dict[str, Any] = {"units": "dB", "reference": "20 uPa"}
    if found["how"]:
        attrs["cell_methods"] = _CELL_METHODS[found["how"]]
        if not found["weight"]:
            attrs["standard_name"] = "sound_pressure_level_in_air"
    else:
        attrs["comment"] = f"level that is exceeded for {found['part']} % of the period"
    return attrs


# ---- pandas ------------------------------------------------------------------------------------


def _index(times: Times, zone: Optional[tzinfo], pandas: Any) -> Any:
    if zone is None:
        return pandas.DatetimeIndex(times, name="time")
    return pandas.DatetimeIndex(to_utc(times, zone), tz="UTC", name="time").tz_convert(zone)


def _columns(series: Series, pandas: Any) -> Any:
    if _has_frequencies(series):
        return pandas.Index(series.bands, name="frequency")
    return pandas.Index(series.band_names, name="band")


def to_pandas(series: Series) -> Any:
    pandas = _needed("pandas", "to_pandas")
    index = _index(series.times, series.tz, pandas)
    if len(series.band_ids) == 1:
        return pandas.Series(series.values[:, 0], index, name=series.name, copy=False)
    return pandas.DataFrame(series.values, index, _columns(series, pandas), copy=False)


def frame(members: Sequence[Series]) -> Any:
    pandas = _needed("pandas", "to_pandas")
    if not members:
        return pandas.DataFrame()
    parts = []
    for series in members:
        part = to_pandas(replace(series, tz=None))  # a moment may come twice, a local time does not
        if len(series.band_ids) == 1:
            part = part.to_frame()
        else:
            part.columns = [f"{series.name} {name}" for name in series.band_names]
        parts.append(part)
    whole = pandas.concat(parts, axis=1)
    whole.index = _index(whole.index.values, members[0].tz, pandas)
    return whole


# ---- xarray ------------------------------------------------------------------------------------


def _has_frequencies(series: Series) -> bool:
    return not np.isnan(series.bands).any() and len(set(series.bands)) == len(series.bands)


def _is_whole_signal(series: Series) -> bool:
    return series.band_ids == [WHOLE_SIGNAL]


def _shaped(series: Series, values: Any) -> Tuple[Tuple[str, ...], Any]:
    """Dimensions and values: those of the whole signal have no band."""
    return (("time",), values[:, 0]) if _is_whole_signal(series) else (("time", "band"), values)


def _coordinates(series: Series, moments: Times) -> Dict[str, Any]:
    aware = series.tz is not None
    time: Dict[str, Any] = {
        "standard_name": "time", "axis": "T",
        "long_name": "beginning of the period" + ("" if aware else ", as local time without a zone")}
    if aware:
        time["comment"] = f"in UTC; the database has local times of {series.tz}"
    if _has_frequencies(series):
        bands: Any = series.bands
        band = {"standard_name": "sound_frequency", "units": "Hz",
                "long_name": "nominal mid frequency of the band", "comment": "0 is the whole signal"}
    else:
        bands = np.array(series.band_ids, np.int32)
        band = {"long_name": "number of the frequency band"}
    times = {"time": ("time", moments.astype("datetime64[ns]"), time)}
    return times if _is_whole_signal(series) else {
            **times, "band": ("band", bands, band),
            "band_name": ("band", np.array(series.band_names, dtype=str), {"long_name": "name of the band"})}


def _attributes(series: Series) -> Dict[str, Any]:
    return {"long_name": f"{series.name} of {series.attrs.get('instrument', '?')}", **series.attrs}


def to_xarray(series: Series) -> Any:
    xarray = _needed("xarray", "to_xarray")
    dimensions, values = _shaped(series, series.values)
    moments = series.times if series.tz is None else series.utc
    array = xarray.DataArray(values, _coordinates(series, moments), dimensions, series.name, _attributes(series))
    array["time"].encoding.update(_TIME_ENCODING)
    return array


def _status(series: Series) -> Optional[Tuple[Any, Dict[str, Any]]]:
    """The status as a flag variable, if it says more than what is missing."""
    status = series.status
    codes = np.unique(status)
    if not len(np.setdiff1d(codes, [0, MISSING])):
        return None
    words = {0: "valid", INVALID: "invalid", MISSING: "missing"}
    meanings = [words.get(int(code), f"status_{chr(int(code))}") for code in codes]
    return status, {"long_name": f"status of {series.name}", "flag_values": codes,
                    "flag_meanings": " ".join(meanings)}


def to_dataset(members: List[Series]) -> Any:
    xarray = _needed("xarray", "to_xarray")
    parts: List[Any] = []
    missing: Dict[str, Any] = {}
    for series in members:
        attributes = _attributes(series)
        name = _variable(series.name)
        if name != series.name:
            attributes.setdefault("function", series.name)
        variables: Dict[str, Any] = {name: (*_shaped(series, series.values), attributes)}
        status = _status(series)
        if status:
            attributes["ancillary_variables"] = f"{name}_status"
            variables[f"{name}_status"] = (*_shaped(series, status[0]), status[1])
            missing[f"{name}_status"] = np.uint8(MISSING)
        parts.append(xarray.Dataset(variables, _coordinates(series, series.times)))
    whole = xarray.merge(parts, combine_attrs="override",
                         fill_value={**{name: np.nan for part in parts for name in part}, **missing})
    if members:
        if members[0].tz is not None:  # only now, since a moment may come twice
            moments = to_utc(whole["time"].values, members[0].tz)
            whole = whole.assign_coords(time=("time", moments.astype("datetime64[ns]"), whole["time"].attrs))
        lengths = {series.period for series in members}
        if len(lengths) == 1:  # where a period ends
            begin = whole["time"].values
            ends = np.stack([begin, begin + members[0].period.astype("timedelta64[ns]")], axis=1)
            whole["time_bounds"] = (("time", "bounds"), ends)
            whole["time"].attrs["bounds"] = "time_bounds"
            whole["time_bounds"].encoding.update(_TIME_ENCODING)
        whole["time"].encoding.update(_TIME_ENCODING)
        common = {key: value for key, value in members[0].attrs.items()
                  if all(series.attrs.get(key) == value for series in members)}
        whole.attrs.update({
            "Conventions": "CF-1.8",
            "title": f"{common.get('instrument', 'measured values')}: {', '.join(s.name for s in members)}",
            "source": common.get("source", "mersola"),
            **{key: common[key] for key in ("instrument", "measurement") if key in common}})
    return whole


def _variable(name: str) -> str:
    """A name as netCDF allows it."""
    return re.sub(r"[^A-Za-z0-9_.@+-]", "_", name) or "values"


# ---- matplotlib --------------------------------------------------------------------------------


def plot(series: Series, ax: Any, options: Dict[str, Any]) -> Any:
    pyplot = _needed("matplotlib.pyplot", "plot")
    if not series.values.size:
        raise Invalid("there is nothing to draw")
    if ax is None:
        ax = pyplot.gca()
    unit = series.attrs.get("units")
    label = f"{series.name} in {unit}" if unit else series.name
    times = series.times
    columns = [i for i, hertz in enumerate(series.bands) if hertz > 0]
    if len(columns) < 2:
        ax.plot(times, series.values, **{"linewidth": 0.8, **options})
        ax.set_ylabel(label)
        ax.grid(True, alpha=0.3)
        ax.margins(x=0)
    else:
        # Edges lie half-way between the bands, on a scale of octaves.
        middle = np.log(series.bands[columns])
        between = (middle[1:] + middle[:-1]) / 2
        edges = np.exp(np.concatenate([[2 * middle[0] - between[0]], between,
                                       [2 * middle[-1] - between[-1]]]))
        ends = np.append(times, times[-1] + series.period)
        mesh = ax.pcolormesh(ends, edges, series.values[:, columns].T,
                             **{"shading": "flat", "rasterized": True, **options})
        ax.set_yscale("log")
        ax.set_ylabel("frequency in Hz")
        ax.figure.colorbar(mesh, ax=ax, label=label)
    ax.set_title(series._title())
    dates = _needed("matplotlib.dates", "plot")
    locator = dates.AutoDateLocator()
    ax.xaxis.set_major_locator(locator)
    ax.xaxis.set_major_formatter(dates.ConciseDateFormatter(locator))
    return ax
