"""mersola: what monitoring instruments measured, as NumPy arrays.

    >>> import mersola
    >>> db = mersola.open("noise.db")
    >>> leq = db["Garden"]["Summer"].read("LAeq", start="2026-11-01", stop="2026-11-08")
    >>> leq.values, leq.times, leq.bands
    >>> leq.to_xarray(), leq.to_pandas(), leq.plot()

NumPy is needed, and libmersola; pandas, xarray and matplotlib only for what gives their objects.
docs/python.md explains the rest.
"""
from ._catalogue import Chain, Function, Instrument, Measurement, Member, Report
from ._database import Database, open
from ._library import version as library_version
from ._markers import Marker, Markers
from ._recorder import Recorder
from ._series import Series, SeriesSet
from .errors import Duplicate, Error, Invalid, NotFound

__version__ = "1.0.0"

__all__ = [
    "open", "Database", "Instrument", "Measurement", "Chain", "Member", "Report", "Function", "Series",
    "SeriesSet", "Marker", "Markers", "Recorder", "Error", "Duplicate", "NotFound", "Invalid",
    "library_version",
]
