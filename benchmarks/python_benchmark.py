#!/usr/bin/python3
"""Reads 54 million values through Python, beside the library in C++ and pandas.read_sql, in turns:
    python_benchmark.py BUILD [PERIODS]
BUILD is a build of the preset bench. The databases are made in it, take 2.4 GB, and are removed at the end. Pandas
reads two days of them in each turn.
"""
import os
import pathlib
import resource
import sqlite3
import statistics
import subprocess
import sys
import tempfile
import time
import warnings

ROOT = pathlib.Path(__file__).resolve().parent.parent
build = pathlib.Path(sys.argv[1]).resolve()
periods = int(sys.argv[2]) if len(sys.argv) > 2 else 1_500_000
BANDS, DAY, TURNS, PANDAS_DAYS = 36, 86_400, 3, 2
os.environ["MERSOLA_LIBRARY"] = str(build / "src/libmersola.so.1")
sys.path.insert(0, str(ROOT / "python"))

import numpy as np  # noqa: E402
import pandas as pd  # noqa: E402

import mersola  # noqa: E402


def make(path, layout):
    subprocess.run([build / "tool/mersola", "init", path, "--layout", layout], check=True, capture_output=True)
    with mersola.open(path) as db:
        for band in set(range(1, BANDS + 1)) - set(db.bands.values()):
            db.name_band(f"band {band}", band)
        with db.record("Garden", "Summer", period="1s", start="2026-01-01") as recorder:
            recorder.write({"Leq": 0})
            recorder.skip(periods - 1)
    db = connected(path)
    with db:  # levels of two decimals
        db.execute("DELETE FROM MeasuredValues")
        for begin in range(0, periods, 10_000):
            db.execute("INSERT INTO MeasuredValues (MeasValueId,PeriodNo,Channel,FuncId,FrqId,Value,Status) "
                       "WITH RECURSIVE p(i) AS (SELECT ? UNION ALL SELECT i+1 FROM p WHERE i+1<?), "
                       "b(f) AS (SELECT 1 UNION ALL SELECT f+1 FROM b WHERE f<?) "
                       "SELECT 1,i,1,1,f,(5000+abs(random())%3000)/100.0,'' FROM p CROSS JOIN b",
                       (begin, min(begin + 10_000, periods), BANDS))
    db.close()


def connected(path):
    db = sqlite3.connect(path)
    db.enable_load_extension(True)
    db.load_extension(str(build / "src/providers/sqlite/packed/mersola_values.so"))
    return db


def in_cpp(path):
    said = subprocess.run([build / "benchmarks/block_reader", path], check=True, capture_output=True, text=True)
    return float(said.stdout.split()[0])


def in_python(path, **bands):
    with mersola.open(path, readonly=True) as db:
        source, values = db["Garden"]["Summer"], 0
        begun = time.perf_counter()
        for part in source.read("Leq", chunks="1D", **bands):
            values += part.values.size
        passed = time.perf_counter() - begun
    assert values == periods * BANDS
    return passed


def in_pandas(path):
    """The seconds that a value takes: the rows alone, and as a matrix of the days that it reads."""
    db = connected(path)
    rows, reading, begun = 0, 0.0, time.perf_counter()
    for first in range(0, min(periods, PANDAS_DAYS * DAY), DAY):
        before = time.perf_counter()
        frame = pd.read_sql(
            "SELECT PeriodNo,FrqId,Value,Status FROM MeasuredValues WHERE MeasValueId=1 AND Channel=1 AND FuncId=1 "
            "AND PeriodNo>=? AND PeriodNo<?", db, params=(first, first + DAY))
        reading += time.perf_counter() - before
        rows += len(frame)
        frame.loc[frame["Status"] == "A", "Value"] = np.nan
        frame.pivot(index="PeriodNo", columns="FrqId", values="Value").to_numpy(np.float32)
    return reading / rows, (time.perf_counter() - begun) / rows


def beside_the_array(path):
    """MiB of a read of everything at once that are not the array's."""
    program = """
import mersola, sys
def mib(what):
    return next(int(line.split()[1]) for line in open("/proc/self/status") if line.startswith(what)) / 1024
summer = mersola.open(sys.argv[1])["Garden"]["Summer"]
summer.read("Leq", stop=summer.start.replace(day=2))  # what is loaded and kept once
open("/proc/self/clear_refs", "w").write("5")
before = mib("VmRSS")
series = summer.read("Leq")
print(mib("VmHWM") - before - series.values.nbytes / 2**20)
"""
    return float(subprocess.run([sys.executable, "-c", program, path], check=True, capture_output=True, text=True,
                                env={**os.environ, "PYTHONPATH": str(ROOT / "python")}).stdout)


def main():
    warnings.simplefilter("ignore")
    count = periods * BANDS
    with tempfile.TemporaryDirectory(dir=build) as folder:
        for layout in ("packed", "rows"):
            path = os.path.join(folder, layout + ".db")
            make(path, layout)
            with mersola.open(path) as db:
                names = [name for name, band in db.bands.items() if 1 <= band <= BANDS]
            rivals = {"C++": in_cpp, "Python": lambda path: in_python(path, bands=names),
                      "Python that looks for the bands": in_python}
            taken = {name: [] for name in (*rivals, "pandas.read_sql", "pandas.read_sql, as a matrix")}
            for turn in range(TURNS):
                for name in list(rivals)[turn % 3:] + list(rivals)[:turn % 3]:
                    taken[name].append(rivals[name](path))
                for name, seconds in zip(list(taken)[3:], in_pandas(path)):
                    taken[name].append(seconds * count)
            best = statistics.median(taken["C++"])
            for name, seconds in taken.items():
                median = statistics.median(seconds)
                print(f"{layout}: {name}: {count / median / 1e6:.2f} million values/s, {best / median:.4f} of C++ "
                      f"({min(seconds):.2f} to {max(seconds):.2f} s)", flush=True)
            print(f"{layout}: {beside_the_array(path):.1f} MiB beside the array of {count * 4 / 2**20:.0f} MiB", flush=True)


main()
