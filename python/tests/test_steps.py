"""Steps of time beside the values that they sum up."""
import numpy as np
import pytest

import mersola


@pytest.mark.parametrize("by, of", [
    ("energy", lambda v: 10 * np.log10(np.mean(10 ** (v / 10)))), ("mean", np.mean), ("min", np.min), ("max", np.max),
    ("rms", lambda v: np.sqrt(np.mean(v ** 2)))])
@pytest.mark.parametrize("measurement", ["Summer", None])
def test_steps_are_those_of_the_values(recorded, measurement, by, of):
    garden = mersola.open(recorded, readonly=True)["Garden"]
    source = garden.chain if measurement is None else garden[measurement]
    values = source.read("Leq", bands=["2 kHz", "25 Hz"], dtype="float64")
    steps = source.read("Leq", bands=["2 kHz", "25 Hz"], dtype="float64", every="0.7s", by=by)
    assert steps.period == np.timedelta64(700, "ms") and int(steps.start.astype(int)) % 700 == 0
    assert steps.times[0] <= values.times[0] < steps.times[1] and steps.times[-1] <= values.times[-1]
    for time, row in zip(steps.times, steps.values):
        within = values.values[(values.times >= time) & (values.times < time + steps.period)]
        for band, found in enumerate(row):
            there = within[:, band][~np.isnan(within[:, band])]
            assert np.isnan(found) if not len(there) else abs(found - of(there)) < 1e-5


def test_names_tell_what_is_taken_of_levels_and_of_nothing_else(recorded):
    summer = mersola.open(recorded)["Garden"]["Summer"]
    assert len(summer.read("LAeq", every="1h")) == 1
    levels = summer.read("LAeq", dtype="float64").values
    energy = 10 * np.log10(np.mean(10 ** (levels / 10)))
    assert abs(summer.read("LAeq", every="1D", dtype="float64").values[0, 0] - energy) < 1e-5
    assert summer.read("Lmax", every="1h", bands="broadband").attrs["cell_methods"] == "time: maximum"
    both = summer.read(["LAeq", "Lmin"], every="2s", dtype="float64")
    np.testing.assert_array_equal(both["Lmin"].values, summer.read("Lmin", every="2s", by="min", dtype="float64").values)
    for wrong in {"function": "L90", "every": "1h"}, {"every": "1h", "by": "median"}, {"by": "max"}, \
            {"every": "50ms"}, {"every": "1h", "chunks": "1h"}:
        with pytest.raises(mersola.Invalid):
            summer.read(**{"function": "LAeq", **wrong})


def test_steps_of_no_time_are_none_and_squares_go_beyond_what_the_values_are_rounded_to(db):
    db.name_function("v rms", 100)
    with db.record("Roof", "Spring", "1s") as recorder:
        recorder.write({"v rms": np.full(9, 3e-30)})
    spring = db["Roof"]["Spring"]
    np.testing.assert_allclose(spring.read("v rms", every="1h", by="rms").values, 3e-30, rtol=1e-6)
    for start in "9999-01-01T00:00:01", spring.read("v rms").times[-1] + np.timedelta64(1, "s"):
        assert spring.read("v rms", start, bands=0, every="1h", by="rms").shape == (0, 1)
