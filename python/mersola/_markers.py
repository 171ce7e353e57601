"""Markers: events beside the values."""
from __future__ import annotations

from dataclasses import dataclass, field
from datetime import datetime, tzinfo
from typing import TYPE_CHECKING, Any, Dict, List, Optional

from . import _html
from ._times import to_python

if TYPE_CHECKING:
    import pandas


@dataclass(frozen=True)
class Marker:
    """An event of a measurement. Programs give numbers, types and colours their meaning."""

    id: int                    #: number that the recorder gave it
    type: int                  #: kind of the marker, a number
    ext_type: str              #: a finer kind
    start: datetime            #: local time; aware where the database was opened with a zone
    stop: Optional[datetime]   #: None while the event goes on
    path: str                  #: the recording file
    trigger: str               #: list text of pairs, as "type=level,threshold=60"
    function: int              #: identifier of the function that triggered
    band: int                  #: identifier of its band
    color: int
    instrument: int            #: identifiers of instrument and measurement
    measurement: int
    _stored: Dict[str, Any] = field(repr=False, compare=False, default_factory=dict)

    @property
    def is_open(self) -> bool:
        """Whether the event goes on."""
        return self.stop is None

    @property
    def duration(self) -> Optional[Any]:
        """A timedelta; None while the event goes on."""
        return None if self.stop is None else self.stop - self.start


_SHOWN = ("start", "stop", "type", "ext_type", "trigger", "path")


class Markers(List[Marker]):
    """Markers by their start, as a list that shows itself as a table."""

    def to_pandas(self) -> pandas.DataFrame:
        """A DataFrame with a row for each marker. `ImportError` without pandas."""
        from ._convert import _needed
        names = [name for name in Marker.__dataclass_fields__ if not name.startswith("_")]
        rows = [[getattr(marker, name) for name in names] for marker in self]
        return _needed("pandas", "to_pandas").DataFrame(rows, columns=names)

    def _rows(self) -> List[List[Any]]:
        return [["" if each is None else each for each in (getattr(marker, name) for name in _SHOWN)]
                for marker in self]

    def __repr__(self) -> str:
        return _html.columns(f"<mersola.Markers: {len(self)}>", _SHOWN, self._rows())

    def _repr_html_(self) -> str:
        return _html.table(f"mersola.Markers: {len(self)}", _SHOWN, self._rows())


def marker_of(row: Dict[str, Any], zone: Optional[tzinfo]) -> Optional[Marker]:
    start = to_python(row["start"], zone)
    if start is None:  # a time that cannot be read
        return None
    values = {name: row[name] for name in ("id", "type", "ext_type", "path", "trigger", "function", "band",
                                           "color", "instrument", "measurement")}
    return Marker(start=start, stop=None if row["is_open"] else to_python(row["stop"], zone), _stored=row,
                  **values)
