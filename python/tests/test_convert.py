"""What other libraries are given."""
import subprocess
import sys

import numpy as np
import pytest
import xarray

import mersola


def test_a_netcdf_file_explains_itself(db, tmp_path):
    with db.record("Garden", "Summer", period="250ms", start="2026-11-01T07:30:00.125", fullscale=130) as recorder:
        recorder.write({"Leq": [[1, 2], [np.nan, 4], [5, 6]]}, bands=["1 kHz", "2 kHz"],
                       status=[[0, 0], [0, ord("A")], [ord("O"), 0]])
        recorder.write({"LAeq": [7, 8, 9]}, period=0)
        summer = recorder.measurement
    for dataset in (summer.read(["Leq", "LAeq"]).to_xarray(), summer.read("Leq").to_dataset()):
        dataset.to_netcdf(tmp_path / "test.nc")
        with xarray.open_dataset(tmp_path / "test.nc") as file:
            assert file.attrs["Conventions"] == "CF-1.8" and file.attrs["instrument"] == "Garden"
            leq = file["Leq"]
            np.testing.assert_array_equal(leq.values, summer.read("Leq").values)
            assert leq.dtype == np.float32 and leq.attrs["cell_methods"] == "time: mean"
            assert (leq.attrs["units"], leq.attrs["reference"], leq.attrs["fullscale"]) == ("dB", "20 uPa", 130)
            np.testing.assert_array_equal(file["time"].values, summer.read("Leq").times)
            np.testing.assert_array_equal(file["time_bounds"].values[:, 1] - file["time"].values,
                                          np.timedelta64(250, "ms"))
            assert file["band"].attrs["units"] == "Hz" and list(file["band_name"].values) == ["1 kHz", "2 kHz"]
            assert file[leq.attrs["ancillary_variables"]].attrs["flag_meanings"].split() == [
                "valid", "invalid", "status_O", "missing"]
    assert summer.read("LAeq").to_xarray().dims == ("time",)


def test_views_of_pandas_and_xarray_share_the_memory(db):
    with db.record("Garden", "Summer", period="1s") as recorder:
        recorder.write({"Leq": np.ones((5, 2))}, bands=[1000, 2000])
        series = recorder.measurement.read("Leq")
    assert np.shares_memory(series.to_xarray().values, series.values)
    assert np.shares_memory(series.to_pandas().values, series.values)
    np.testing.assert_array_equal(np.asarray(series), series.values)


def test_functions_are_put_side_by_side_also_where_spring_gives_two_times_one_moment(empty):
    with mersola.open(empty, tz="Europe/Berlin") as db:
        with db.record("Garden", "Spring", period="30min", start="2026-03-28T22:00") as recorder:
            recorder.write({"LAeq": np.arange(20.0)})
            recorder.write({"Lmax": np.arange(15.0)}, period=3)
        both = db["Garden"]["Spring"].read(["LAeq", "Lmax"])
    table, dataset = both.to_pandas(), both.to_xarray()
    np.testing.assert_array_equal(table["LAeq"], np.arange(20))
    np.testing.assert_array_equal(dataset["Lmax"][3:18], np.arange(15))
    np.testing.assert_array_equal(dataset["time"], both["LAeq"].utc)
    assert str(table.index[10]) == "2026-03-29 03:00:00+02:00" and table.index[8] == table.index[10]
    assert "UTC" in dataset["time"].attrs["comment"]


@pytest.mark.parametrize("module, use", [("pandas", "to_pandas"), ("xarray", "to_xarray"), ("matplotlib", "plot")])
def test_what_is_not_installed_is_named_and_imported_only_where_it_is_used(db, monkeypatch, module, use):
    with db.record("Garden", "Summer", period="1s") as recorder:
        recorder.write({"LAeq": [1, 2]})
        series = recorder.measurement.read("LAeq")
    for name in [module, *(name for name in sys.modules if name.split(".")[0] == module)]:
        monkeypatch.setitem(sys.modules, name, None)
    with pytest.raises(ImportError, match=f"{use} needs {module}.*python3-{module}"):
        getattr(series, use)()
    program = "import mersola, sys; mersola.library_version(); print(*sys.modules)"
    loaded = subprocess.run([sys.executable, "-c", program],
                            check=True, capture_output=True, text=True).stdout.split()
    assert module not in loaded and "numpy" in loaded


def test_package_and_library_have_one_version():
    assert mersola.__version__ == mersola.library_version()


def test_a_library_that_is_not_there_or_too_old_is_named():
    for library, said in ("/nowhere/libmersola.so.1", "Install libmersola1"), ("libc.so.6", "older than this package"):
        program = f"import os; os.environ['MERSOLA_LIBRARY'] = '{library}'; import mersola; mersola.open('/')"
        ended = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True)
        assert "ImportError" in ended.stderr and said in ended.stderr
