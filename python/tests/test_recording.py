"""Recording."""
import sqlite3
from datetime import datetime, timedelta

import numpy as np
import pytest
from conftest import tool

import mersola


def test_what_was_written_is_read_and_a_recording_is_resumed(empty):
    start = datetime.now().replace(microsecond=0) - timedelta(hours=1)
    with mersola.open(empty) as db, db.record("Garden", "Summer", period="1min", start=start) as recorder:
        recorder.write({"LAeq": [60.123456789, np.nan]})
        recorder.write({"LAeq": 61, "Leq": [50, 51]}, bands=[1000, 2000])
        recorder.write({"LAeq": 62}, time=start + timedelta(minutes=5, seconds=30))
        recorder.skip(2)
        assert recorder.period == 8 and recorder.measurement.reports[0].periods == 8
    with mersola.open(empty) as db:
        with db.record("Garden", "Summer", period="1min", start=start + timedelta(minutes=10)) as recorder:
            recorder.write({"LAeq": 63})
            with pytest.raises(mersola.Error, match="records already"):
                db.record("Garden", "Winter", period="1s")
        with pytest.raises(mersola.Error, match="ended"):
            recorder.write({"LAeq": 64})
        summer = db["Garden"]["Summer"]
        assert summer.start == start
        levels = summer.read("LAeq", dtype="float64")
        expected = {0: 60.123456789, 2: 61, 5: 62, 10: 63}
        assert {int(i): levels.values[i, 0] for i in np.flatnonzero(~levels.mask[:, 0])} == expected
        spectra = summer.read("Leq")
        with db.record("Garden", "Copy", period="1min", start=start) as recorder:
            recorder.write({"Leq": spectra})
        np.testing.assert_array_equal(db["Garden"]["Copy"].read("Leq").values, spectra.values)
    tool("check", empty)


def test_duplicates_stay_and_what_has_no_place_is_refused_before_anything_is_written(db):
    with db.record("Garden", "Summer", period="1s") as recorder:
        recorder.write({"LAeq": [1, 2]})
        with pytest.raises(mersola.Duplicate):
            recorder.write({"LAeq": [9, 9, 3]}, period=0)
        assert recorder.period == 3
        for kind, values, options in [
            (KeyError, {"PPV": 1}, {}), (TypeError, {"LAeq": "loud"}, {}), (TypeError, 5, {}),
            (ValueError, {"LAeq": np.inf}, {}),
            (ValueError, {"LAeq": [1, 2], "Leq": [1]}, {}), (ValueError, {"LAeq": 1}, {"status": "Äh"}),
            (ValueError, {"Leq": [1, 2, 3]}, {"bands": [1000]}), (ValueError, {"LAeq": 1}, {"period": 2**40}),
            (ValueError, {"LAeq": 1}, {"time": "2001-01-01"}), (ValueError, {2**40: 1}, {}),
        ]:
            with pytest.raises(kind):
                recorder.write(values, **options)
        db.name_function("PPV", 100)
        recorder.write({"PPV": 0.5})
        series = recorder.measurement.read(["LAeq", "PPV"])
        assert list(series["LAeq"].values[:, 0]) == [1, 2, 3] and list(series["PPV"].values[:, 0]) == [0.5]
    for name in "O'Neill", "zero\0", "\ud800":
        with pytest.raises(ValueError):
            db.record(name, "Summer", period="1s")
    with pytest.raises(ValueError):
        db.record("Shed", "Summer", period="1s", bandwidth=2**40)
    assert "Shed" not in db, "nothing is registered before all of it is known to be good"


def test_a_transaction_is_undone_as_a_whole(db):
    with db.record("Garden", "Summer", period="1s") as recorder:
        recorder.write({"LAeq": 1})
        with pytest.raises(ZeroDivisionError):
            with db.transaction():
                recorder.write({"LAeq": 2})
                1 / 0
        assert len(recorder.measurement.read("LAeq")) == 1
        db.name_function("PPV", 100)
        with pytest.raises(ZeroDivisionError), db.transaction():
            recorder.write({"PPV": 2})
            1 / 0
        recorder.write({"PPV": 3}, period=1)
        assert list(recorder.measurement.read("PPV").values[:, 0]) == [3], "its function is registered anew"
    with pytest.raises(ZeroDivisionError), db.transaction():
        inside = db.record("Balcony", "Summer", period="1s")
        1 / 0
    with pytest.raises(mersola.Error):
        inside.write({"LAeq": 1})


def test_masked_values_and_broken_status_are_not_written(db):
    with db.record("Garden", "Summer", period="1s") as recorder:
        recorder.write({"LAeq": np.ma.array([1.0, 1e20, 3.0], mask=[0, 1, 0])})
        for status in [300], [-1], [0.5]:
            with pytest.raises(mersola.Invalid):
                recorder.write({"LAeq": 4}, status=np.array(status))
        assert list(np.isnan(recorder.measurement.read("LAeq").values[:, 0])) == [False, True, False]


def test_markers_are_written_and_closed(db):
    with db.record("Garden", "Summer", period="1s") as recorder:
        recorder.write({"LAeq": [60, 70]})
        summer = recorder.measurement
    summer.mark(summer.start, trigger="type=level", path="/var/recordings/1.wav", id=7)
    (event,) = summer.markers(open=True)
    assert event.is_open and event.id == 7 and event.start == summer.start and not summer.markers()
    summer.close_marker(event, event.start + timedelta(seconds=2))
    (event,) = summer.markers(type="level")
    assert event.duration == timedelta(seconds=2) and event.path == "/var/recordings/1.wav"
    assert summer.markers().to_pandas()["id"].tolist() == [7] and not summer.markers(type="other")
    assert "type=level" in repr(summer.markers()) and "type=level" in summer.markers()._repr_html_()


def test_a_database_for_reading_or_in_the_hands_of_another_refuses_and_loses_nothing(empty):
    with mersola.open(empty, readonly=True) as db:
        with pytest.raises(ValueError, match="reading only"):
            db.record("Garden", "Summer", period="1s")
    with mersola.open(empty, timeout=1) as db, db.record("Garden", "Summer", period="1s") as recorder:
        recorder.write({"LAeq": 1})
        other = sqlite3.connect(empty, isolation_level=None)
        other.execute("BEGIN IMMEDIATE")
        with pytest.raises(mersola.Error, match="locked"):
            recorder.write({"LAeq": 2})
        other.execute("ROLLBACK")
        other.close()
        recorder.write({"LAeq": 2})
        assert list(recorder.measurement.read("LAeq").values[:, 0]) == [1, 2]
