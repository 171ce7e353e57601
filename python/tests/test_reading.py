"""Reading, beside what the tool says of the same database."""
import csv
import io
from datetime import datetime, timedelta, timezone

import numpy as np
import pytest
from conftest import tool

import mersola


def of_the_tool(path, *arguments):
    rows = list(csv.reader(io.StringIO(tool("values", path, "--instrument", "Garden", "--csv", *arguments))))
    times = np.array([row[1].replace(" ", "T") for row in rows[1:]], "datetime64[ms]")
    return rows[0][2:], times, np.array([[float(cell or "nan") for cell in row[2:]] for row in rows[1:]], np.float32)


@pytest.mark.parametrize("function", ["Leq", "LAeq", "L90"])
@pytest.mark.parametrize("measurement", ["Summer", "Autumn", None])
@pytest.mark.parametrize("window", [(None, None), ("2026-11-01 07:30:01.2", "2026-11-01T07:30:12")])
def test_every_result_is_that_of_the_tool(recorded, measurement, function, window):
    chosen = ["--continuous"] if measurement is None else ["--measurement", measurement]
    for name, time in zip(("--from", "--to"), window):
        chosen += [name, time.replace("T", " ")] if time else []
    names, times, values = of_the_tool(recorded, "--function", function, *chosen)
    garden = mersola.open(recorded, readonly=True)["Garden"]
    source = garden.chain if measurement is None else garden[measurement]
    series = source.read(function, *window)
    assert series.band_names == names
    np.testing.assert_array_equal(series.times, times)
    np.testing.assert_array_equal(series.values, values)
    assert series.values.dtype == np.float32 and series.values.flags.c_contiguous
    parts = list(source.read(function, *window, bands=names, chunks="2s"))
    np.testing.assert_array_equal(np.concatenate([part.times for part in parts]), times)
    np.testing.assert_array_equal(np.concatenate([part.values for part in parts]), values)
    assert all(part.times[0].astype("datetime64[s]").astype(int) % 2 == 0 for part in parts[1:])


def test_markers_are_those_of_the_tool(recorded):
    rows = list(csv.DictReader(io.StringIO(
        tool("markers", recorded, "--instrument", "Garden", "--measurement", "Summer", "--csv"))))
    markers = mersola.open(recorded)["Garden"]["Summer"].markers()
    assert len(markers) == len(rows) > 0
    assert [marker.start.isoformat(" ", "milliseconds") for marker in markers] == [row["Start"] for row in rows]
    later = mersola.open(recorded)["Garden"]["Summer"].markers(start=markers[0].stop)
    assert list(later) == [marker for marker in markers if marker.start >= markers[0].stop]


def test_bands_are_chosen_by_frequency_name_and_range(recorded):
    summer = mersola.open(recorded)["Garden"]["Summer"]
    whole = summer.read("Leq", dtype="float64")
    column = whole.band_names.index("1 kHz")
    for asked in 1000, "1 kHz", "1000 Hz", [1000.0], slice(990, 1010):
        one = summer.read("Leq", bands=asked, dtype=np.float64)
        np.testing.assert_array_equal(one.values[:, 0], whole.values[:, column])
        assert one.bands == [1000]
    apart = summer.read("Leq", bands=["2 kHz", "25 Hz", "1 kHz"])  # neither in order nor side by side
    for name in apart.band_names:
        np.testing.assert_array_equal(apart.band(name), whole.band(name).astype(np.float32))
    assert np.shares_memory(whole.band(1000), whole.values) and np.shares_memory(whole[3:9].values, whole.values)
    np.testing.assert_array_equal(whole["2026-11-01T07:30:01":"2026-11-01T07:30:02"].times,
                                  [time for time in whole.times if str(time)[:19] == "2026-11-01T07:30:01"])


def test_a_wrong_name_says_what_there_is(recorded):
    db = mersola.open(recorded)
    for wrong, said in [
        (lambda: db["Gardn"], "there is no instrument 'Gardn'; there is 'Garden'"),
        (lambda: db["Garden"]["Sumer"], "there is 'Summer', 'Autumn'. Did you mean 'Summer'?"),
        (lambda: db["Garden"]["Summer"].read("LCeq"), "there is 'Leq', 'LAeq'"),
        (lambda: db["Garden"]["Summer"].read("Leq", channel=7), "there is no channel 7 of Leq; there is 1"),
        (lambda: db["Garden"]["Summer"].read("Leq", bands="3 GHz"), "'25 Hz', '31.5 Hz'"),
    ]:
        with pytest.raises(KeyError) as raised:
            wrong()
        assert isinstance(raised.value, mersola.Error) and said in str(raised.value)
    assert db["garden"] == db[1] and db.get("Nobody") is None and "Summer" in db["Garden"]
    for kind, wrong in [(TypeError, {"dtype": "int16"}), (TypeError, {"start": 3}), (ValueError, {"start": "noon"}),
                        (ValueError, {"chunks": "50ms"}), (ValueError, {"start": datetime.now(timezone.utc)}),
                        (ValueError, {"bands": slice("low", None)})]:
        with pytest.raises(kind):
            list(db["Garden"]["Summer"].read("Leq", **{"chunks": "1h", **wrong}))
    for text in (repr(db), db._repr_html_(), repr(db["Garden"]), db["Garden"]["Summer"]._repr_html_()):
        assert "Garden" in text
    with pytest.raises(FileNotFoundError):
        mersola.open(recorded.with_name("none.db"))
    with pytest.raises(mersola.Error, match="Provider"):
        mersola.open("Provider=Nobody;Data Source=x")
    with pytest.raises(mersola.Invalid, match="timeout"):
        mersola.open(recorded, timeout=2**32)  # not one that waits without end


def test_missing_and_invalid_are_told_apart_without_an_array_of_status(db):
    values = np.arange(12.0).reshape(4, 3)
    values[1, 1] = np.nan
    status = np.zeros((4, 3), np.uint8)
    status[2] = [ord("A"), ord("O"), 0]
    with db.record("Garden", "Summer", period="1s") as recorder:
        recorder.write({"Leq": values}, bands=["25 Hz", "50 Hz", "20 kHz"], status=status)
        measurement = recorder.measurement
    series = measurement.read("Leq", bands=["25 Hz", "50 Hz", "20 kHz"])
    expected = status.copy()
    expected[1, 1] = 255
    np.testing.assert_array_equal(series.status, expected)
    np.testing.assert_array_equal(series.missing, expected == 255)
    np.testing.assert_array_equal(series.invalid, expected == ord("A"))
    np.testing.assert_array_equal(series.mask, series.missing | series.invalid)
    np.testing.assert_array_equal(series.values[~series.mask], values[~series.mask])
    np.testing.assert_array_equal(series[2:].status, expected[2:])
    empty = measurement.read("Leq", start="1999-01-01", stop="1999-01-02")
    assert empty.shape == (0, 0) and repr(empty)


def test_bands_far_apart_are_read_by_themselves(db):
    db.name_band("ultra", 2_000_000)
    with pytest.raises(mersola.Duplicate, match="named ultra"):
        db.name_band("infra", 2_000_000)
    with pytest.raises(mersola.Duplicate, match="band 2000000 has"):
        db.name_band("Ultra", 2_000_001)
    with db.record("Garden", "Summer", period="1s") as recorder:
        recorder.write({"Leq": [[1, 2, 3], [4, 5, 6]]}, bands=["broadband", "1 kHz", "ultra"],
                       status=[[0, 0, 0], [0, 0, ord("O")]])
        series = recorder.measurement.read("Leq")
    np.testing.assert_array_equal(series.values, [[1, 2, 3], [4, 5, 6]])
    np.testing.assert_array_equal(series.status, [[0, 0, 0], [0, 0, ord("O")]])
    assert series.band_names == ["broadband", "1 kHz", "ultra"] and np.isnan(series.bands[2])


def test_times_of_a_zone_are_aware_and_the_hour_that_comes_twice_is_the_first(empty):
    year = datetime.now().year - 1
    sunday = datetime(year, 10, 31) - timedelta(days=(datetime(year, 10, 31).weekday() + 1) % 7)
    with mersola.open(empty, tz="Europe/Berlin") as db:
        start = sunday.replace(hour=1)
        with db.record("Garden", "Summer", period="30min", start=start) as recorder:
            recorder.write({"LAeq": np.arange(6.0)})
            measurement = recorder.measurement
        assert measurement.start.utcoffset() == timedelta(hours=2)
        series = measurement.read("LAeq")
        hours = (series.utc - np.datetime64(sunday, "ms")) / np.timedelta64(1, "h")
        assert list(hours) == [-1, -0.5, 0, 0.5, 2, 2.5]  # 02:00 and 02:30 of summer time, then 03:00 of winter
        index = series.to_pandas().index
        assert str(index.tz) == "Europe/Berlin" and list(index.tz_localize(None)) == list(series.times)
        aware = datetime(sunday.year, sunday.month, sunday.day, 2, tzinfo=timezone.utc)  # 03:00 there
        assert list(measurement.read("LAeq", start=aware).values[:, 0]) == [4, 5]
        np.testing.assert_array_equal(series.to_xarray().time, series.utc)
    with pytest.raises(ValueError, match="Mars"):
        mersola.open(empty, tz="Mars/Olympus")
