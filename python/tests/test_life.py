"""Objects that are closed, collected, forked, interrupted and shared."""
import gc
import itertools
import os
import signal
import sqlite3
import threading
import time

import numpy as np
import pytest
from conftest import tool

import mersola


@pytest.fixture(scope="module")
def long(tmp_path_factory):
    """A million and a half values as rows."""
    path = tmp_path_factory.mktemp("long") / "long.db"
    tool("init", path)
    with mersola.open(path) as db, db.record("Garden", "Summer", period="1s") as recorder:
        recorder.write({"LAeq": 0})
    other = sqlite3.connect(path)
    other.execute("INSERT INTO MeasuredValues (MeasValueId,PeriodNo,Channel,FuncId,FrqId,Value,Status) WITH RECURSIVE "
                  "n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<1500000) SELECT 1,i,1,2,0,i%97,'' FROM n")
    other.commit()
    other.close()
    return path


def expected(count):
    return np.arange(count) % 97


@pytest.mark.parametrize("bands", ["broadband", None])
def test_an_interrupt_ends_a_long_read_at_once_and_the_object_is_usable(long, bands):
    db = mersola.open(long)
    summer = db["Garden"]["Summer"]
    begun = time.perf_counter()
    summer.read("LAeq", bands=bands)
    whole = time.perf_counter() - begun

    def interrupt(number, frame):
        raise KeyboardInterrupt

    before = signal.signal(signal.SIGALRM, interrupt)
    try:
        signal.setitimer(signal.ITIMER_REAL, whole / 10)
        begun = time.perf_counter()
        with pytest.raises(KeyboardInterrupt):
            summer.read("LAeq", bands=bands)
        assert time.perf_counter() - begun < whole / 2 + 0.1
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, before)
    np.testing.assert_array_equal(summer.read("LAeq", bands=0).values[:1000, 0], expected(1000))


def test_threads_with_an_object_each_and_with_one_for_all(long):
    shared = mersola.open(long)
    wrong = []

    def read(own, first):
        try:
            db = mersola.open(long) if own else shared
            start = db["Garden"]["Summer"].start + np.timedelta64(first, "s").item()
            for part in itertools.islice(db["Garden"]["Summer"].read("LAeq", start, chunks="1h"), 5):
                np.testing.assert_array_equal(part.values[:, 0], (np.arange(len(part)) + part.first_period) % 97)
        except BaseException as error:  # pytest sees none of another thread
            wrong.append(error)

    threads = [threading.Thread(target=read, args=(i % 2 == 0, i * 100_000)) for i in range(6)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not wrong


def test_a_child_is_told_to_open_its_own_and_the_parent_goes_on(empty):
    db = mersola.open(empty)
    with db.record("Garden", "Summer", period="1s") as recorder:
        recorder.write({"LAeq": 1})
        child = os.fork()
        if child == 0:
            code = 1
            try:
                recorder.write({"LAeq": 3})
            except mersola.Error as error:
                with mersola.open(empty) as own:
                    fine = "forked" in str(error) and len(own["Garden"]["Summer"].read("LAeq")) == 1
                db.close()
                del db, recorder
                gc.collect()
                code = 0 if fine else 2
            finally:
                os._exit(code)
        assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0
        recorder.write({"LAeq": 2})
        assert list(recorder.measurement.read("LAeq").values[:, 0]) == [1, 2]


def test_objects_are_collected_in_any_order(long):
    for order in itertools.permutations(range(5)):
        db = mersola.open(long)
        summer = db["Garden"]["Summer"]
        chunks = summer.read("LAeq", chunks="1h", bands=0)
        held = [db, summer, chunks, next(chunks), db.transaction()]
        del db, summer, chunks
        for index in order:
            held[index] = None
            gc.collect(0)
            if held[3] is not None:
                assert held[3].values[-1, 0] == (len(held[3]) - 1) % 97
            if held[2] is not None:
                next(held[2])


def test_a_closed_database_says_so_and_what_was_read_stays(long):
    with mersola.open(long) as db:
        summer = db["Garden"]["Summer"]
        series = summer.read("LAeq", stop=summer.start.replace(microsecond=0) + np.timedelta64(5, "s").item())
        chunks = summer.read("LAeq", chunks="1h")
        next(chunks)
    assert db.closed and db and len(series) in (5, 6) and series.values[3, 0] == 3
    for use in (lambda: db["Garden"], lambda: summer.read("LAeq"), lambda: next(chunks), summer.markers,
                lambda: db.record("a", "b", period="1s"), lambda: db.transaction().__enter__()):
        with pytest.raises(mersola.Error, match="closed"):
            use()
    assert "closed" in repr(db) and "closed" in summer._repr_html_()
    db.close()
