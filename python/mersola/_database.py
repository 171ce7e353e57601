"""Databases."""
from __future__ import annotations

import errno
import os
import re
from collections.abc import Mapping
from contextlib import contextmanager
from datetime import tzinfo
from types import TracebackType
from typing import Any, Dict, Iterator, List, Optional, Type, Union

from . import _html
from ._bands import Bands
from ._catalogue import Instrument, pick
from ._library import Handle, int32, text
from ._recorder import Recorder
from ._times import LengthLike, TimeLike, zone_of
from .errors import Duplicate, Error

# One of these keys makes a text a connection string.
_CONNECTION = re.compile(
    r"(?:^|;)\s*(?:Provider|Driver|DSN|FILEDSN|Data Source|Server|Address|Addr|Network|Initial Catalog|"
    r"Database|User ID|UID|User|Password|PWD|Mode)\s*=", re.IGNORECASE)


def open(source: Union[str, "os.PathLike[str]"], user: str = "", password: str = "", *,
         tz: Union[None, str, tzinfo] = None, readonly: bool = False,
         timeout: Optional[int] = None) -> Database:
    """Opens a database.

    source  the path of a SQLite file, or a connection string such as
        "Provider=MSOLEDBSQL;Data Source=HOST;Initial Catalog=NAME"
    tz  the zone of the clocks that recorded, as "Europe/Berlin" or a tzinfo. Times come as aware ones
        then, and aware ones can be given. Without it times are naive, as they are stored.
    readonly  refuses everything that writes; a SQLite file is opened so that it cannot be changed
    timeout  seconds for connecting and for each statement, 0 to wait without end; by default 15 and 30

    The result is closed by ``close()``, by ``with``, or when nobody holds it any more. Several threads
    may use it, and take turns; to read at the same time, each opens its own. After a fork the child
    opens its own as well. Raises `FileNotFoundError` for a file that is not there, and `Error`.
    """
    is_file = not isinstance(source, str) or not _CONNECTION.search(source)
    if is_file and not os.path.exists(source):
        raise FileNotFoundError(errno.ENOENT, "there is no database; mersola init makes one",
                                os.fspath(source))
    zone = zone_of(tz)
    handle = Handle(source, is_file, user, password, -1 if timeout is None else int32(timeout, "timeout"),
                    readonly)
    name = os.path.basename(os.fspath(source)) if is_file else "database"
    return Database(handle, name, zone)


class Database(Mapping):  # type: ignore[type-arg]  # subscripts need Python 3.9's own class
    """A database that is open, as a mapping of its instruments by name: ``db["Garden"]``. They are also
    found by identifier, ``db[1]``. `open` makes one."""

    def __init__(self, handle: Handle, name: str, tz: Optional[tzinfo]) -> None:
        self._handle = handle
        self._name = name
        self._recorder: Optional[Any] = None
        self.tz = tz  #: the zone of its times, or None

    # ---- What there is

    @property
    def instruments(self) -> List[Instrument]:
        """All instruments, alarm instruments and stations included, read anew."""
        return [Instrument(self, row) for row in self._handle.rows("instruments")]

    def __getitem__(self, name: Union[str, int]) -> Instrument:
        return pick(self.instruments, name, "instrument")

    def __iter__(self) -> Iterator[str]:
        return iter([instrument.name for instrument in self.instruments])

    def __len__(self) -> int:
        return len(self.instruments)

    def __eq__(self, other: object) -> bool:
        return self is other

    __hash__ = object.__hash__

    def __bool__(self) -> bool:
        return True  # also when it is empty or closed

    def _ipython_key_completions_(self) -> List[str]:
        return list(self)

    @property
    def functions(self) -> Dict[str, int]:
        """The numbers of functions by their names."""
        return _numbers(self._handle.rows("function_names"))

    @property
    def bands(self) -> Dict[str, int]:
        """The numbers of frequency bands by their names, as "1 kHz"."""
        return _numbers(self._handle.rows("band_names"))

    def _bands(self) -> Bands:
        return Bands({row["id"]: row["name"] for row in self._handle.rows("band_names")})

    # ---- Writing

    def name_function(self, name: str, id: int) -> None:
        """Gives a function a name in this database. Raises `Duplicate` when it has another one, or when
        another function has this one."""
        self._give_name("function", self.functions, name, id)

    def name_band(self, name: str, id: int) -> None:
        """Gives a frequency band a name, as "1 kHz". Raises `Duplicate` when it has another one, or when
        another band has this one."""
        self._give_name("band", self.bands, name, id)

    def _give_name(self, what: str, numbers: Dict[str, int], name: str, id: int) -> None:
        number, encoded = int32(id, "id"), text(name, "name")
        for known, other in numbers.items():
            if other != number and known.casefold() == name.casefold():
                raise Duplicate(f"{what} {other} has the name {known!r}, so that {number} cannot have it")
        self._handle.call(f"put_{what}_name", number, encoded)

    def record(self, instrument: str, measurement: str, period: LengthLike, *,
               start: Optional[TimeLike] = None, report: int = 1, report_type: Optional[int] = None,
               bandwidth: Optional[int] = None, info: str = "", instrument_type: str = "0",
               instrument_info: str = "", lower_frequency: float = 0, upper_frequency: float = 0,
               fullscale: float = 0, sensitivity: float = 0) -> Recorder:
        """Registers an instrument, a measurement and a report, and gives a `Recorder` for its values.

            with db.record("Garden", "Summer", period="1s") as recorder:
                recorder.write({"LAeq": 61.2})

        What is registered already is taken up again: the recording goes on in the same measurement, at
        the period where the clock is.

        period  the length of a period, as "1s" or a timedelta
        start  when this recording begins, by default now; within ten years of now, and not before the
            start of a known measurement
        report, report_type  numbers that the program chooses; the type is that of a known report, else
            the same as `report`
        bandwidth  code of the frequency resolution, as 3 for third octaves; of a known measurement by
            default, else 3
        lower_frequency, upper_frequency  in Hz;  fullscale in the unit of the signal;  sensitivity in V
            per unit

        A database object has one recorder at a time. Raises `Invalid`, also on a database that is
        opened for reading, and `Error`."""
        return Recorder(self, instrument, measurement, period, start, report, report_type, bandwidth,
                        info, instrument_type, instrument_info, lower_frequency, upper_frequency,
                        fullscale, sensitivity)

    @contextmanager
    def transaction(self) -> Iterator[None]:
        """Makes what is written inside of ``with db.transaction():`` one transaction, which is rolled
        back when an exception leaves it. A recording that began inside has ended then. Other threads
        wait for its end. Raises `Error`, also when it cannot be committed, which rolls it back."""
        with self._handle.lock:
            before = self._recorder
            self._handle.call("begin")
            try:
                yield
                self._handle.call("commit")
            except BaseException:
                if self._recorder is not before:
                    self._recorder = None  # what it registered is gone
                elif before is not None:
                    before._registered.clear()
                if not self._handle.is_closed:
                    self._handle.call("rollback")
                raise

    # ---- Life

    def close(self) -> None:
        """Closes the database; what goes through it afterwards raises `Error`. What was read stays.
        Closing again does nothing."""
        self._handle.close()

    @property
    def closed(self) -> bool:
        return self._handle.is_closed

    def __enter__(self) -> Database:
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        self.close()

    _HEADS = ("instrument", "type", "state", "measurements")

    def _overview(self) -> List[List[Any]]:
        return [[each.name, each.type, each.state, len(each)] for each in self.instruments]

    def __repr__(self) -> str:
        return self._shown(_html.columns, "<mersola.", ">")

    def _repr_html_(self) -> str:
        return self._shown(_html.table, "mersola.", "")

    def _shown(self, show: Any, before: str, after: str) -> str:
        kind = f"{before}Database {self._name!r}"
        try:
            return str(show(kind + after, self._HEADS, self._overview()))
        except Error as reason:
            return str(show(f"{kind}: {reason}{after}", self._HEADS, []))


def _numbers(rows: List[Dict[str, Any]]) -> Dict[str, int]:
    """Numbers by name, in their order; of a name that comes twice the first one."""
    numbers: Dict[str, int] = {}
    for row in rows:
        numbers.setdefault(row["name"], row["id"])
    return numbers
