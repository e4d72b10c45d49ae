"""The Python package against the C library: catalogue, values, derivatives,
errors, parameters and coefficients."""

import math

import pytest

import tarn


@pytest.fixture(autouse=True)
def defaults():
    tarn.reset()
    yield
    tarn.reset()


def test_catalogue_as_the_library_lists_it():
    correlations = tarn.correlations()
    assert len(correlations) == 57
    assert [c.index for c in correlations] == list(range(57))
    tvl = tarn.describe("tvl")
    assert (tvl.index, tvl.id, tvl.description) == (0, "TVL", "TARN_TVL")
    assert tvl.inputs == ["RVP", "T10", "T50"] and tvl.outputs == ["TVL"]
    assert list(tvl.coefficients) == ["CORF", "P1", "P2", "P3", "P4"]
    assert tarn.describe(13).pair == 14 and tarn.describe(5).pair is None
    assert tarn.describe("RVPINDEX").kinds == [None]  # no kind code: the query writes nothing
    assert tarn.describe("CARBOB2").slack_count == 7
    assert tarn.describe(tvl) == tvl


def test_values_and_labelled_derivatives():
    result = tarn.evaluate("RVPINDEX", [9.0], derivatives=True)
    assert result.outputs["RVPNDX"] == pytest.approx(9.0 ** 1.25)
    assert result.derivatives["RVP", "RVPNDX"] == pytest.approx(1.25 * 9.0 ** 0.25)
    # Input-major: a wrong layout would swap the cross terms of E200/E300.
    epa = tarn.evaluate("E200E300EPA", {"T50": 200.0, "T90": 330.0}, derivatives=True)
    assert epa.outputs == pytest.approx({"E200": 49.91, "E300": 82.87})
    assert sum(epa.derivatives.values, []) == pytest.approx([-0.49, 0.0, 0.0, -0.22])
    assert epa.derivatives.as_dict()["T90"]["E300"] == pytest.approx(-0.22)
    # A configured number of outputs: only those, derivatives read with that stride.
    for name, value in (("NPTS", 2), ("P00", 200.0), ("P01", 340.0)):
        tarn.set_parameter("EVAPORATIVE", name, value)
    evaporated = tarn.evaluate("EVAPORATIVE", [100, 140, 180, 220, 260, 300, 340], derivatives=True)
    assert evaporated.outputs == {"EVP0": 40.0, "EVP1": 100.0}
    assert evaporated.derivatives["T30", "EVP0"] == evaporated.derivatives["FBP", "EVP1"] == -0.25


def test_many_rows_lists_and_arrays():
    rows = [[9.0, 120.0, 210.0], [7.5, 130.0, 220.0], [11.0, 110.0, 190.0]]
    batch = tarn.evaluate_many("TVL", rows, derivatives=True)
    assert batch.statuses == [0, 0, 0]
    for row, outputs, derivs in zip(rows, batch.outputs, batch.derivatives):
        single = tarn.evaluate("TVL", row, derivatives=True)
        assert outputs == [single.outputs["TVL"]]
        assert derivs == single.derivatives.values
    numpy = pytest.importorskip("numpy")
    array = tarn.evaluate_many("TVL", numpy.array(rows), derivatives=True)
    assert array.outputs.shape == (3, 1) and array.derivatives.shape == (3, 3, 1)
    assert array.outputs[:, 0].tolist() == [r[0] for r in batch.outputs]
    assert array.derivatives[1, 0, 0] == pytest.approx(-4.1)
    # Fewer outputs configured than the catalogue's count: each row's
    # derivatives are read with the configured stride, the caller's array
    # stays as it was.
    for name, value in (("NPTS", 2), ("P00", 200.0), ("P01", 340.0)):
        tarn.set_parameter("EVAPORATIVE", name, value)
    curves = numpy.array([[100, 140, 180, 220, 260, 300, 340], [90, 130, 175, 215, 255, 310, 360]],
                         dtype=float)
    given = curves.copy()
    evaporated = tarn.evaluate_many("EVAPORATIVE", curves, derivatives=True)
    assert (curves == given).all() and evaporated.derivatives.shape == (2, 7, 2)
    for r in range(2):
        single = tarn.evaluate("EVAPORATIVE", given[r].tolist(), derivatives=True)
        assert evaporated.outputs[r].tolist() == list(single.outputs.values())
        assert evaporated.derivatives[r].tolist() == single.derivatives.values


def test_failures_become_exceptions_with_the_library_messages():
    with pytest.raises(tarn.TarnError) as error:
        tarn.evaluate(57, [1.0])
    assert error.value.status == -4 and error.value.message == "Invalid Correlation index passed."
    with pytest.raises(KeyError):
        tarn.evaluate("NOSUCH", [1.0])
    with pytest.raises(ValueError, match="TVL takes 3 inputs"):
        tarn.evaluate("TVL", [9.0, 120.0])
    with pytest.raises(KeyError, match="no input T90"):
        tarn.evaluate("TVL", {"RVP": 9.0, "T10": 120.0, "T90": 300.0})
    # A missing input gives the library's undefined status, raised or recorded.
    with pytest.raises(tarn.UndefinedResult) as undefined:
        tarn.evaluate("RVP", [None])
    assert undefined.value.status == 1
    batch = tarn.evaluate_many("RVP", [[1.0], [math.nan]], on_error="record")
    assert batch.statuses == [0, 1] and math.isnan(batch.outputs[1][0])
    with pytest.raises(tarn.UndefinedResult) as row:
        tarn.evaluate_many("RVP", [[1.0], [None]])
    assert row.value.row == 1


def test_parameters_and_coefficients():
    keywords = {(c, p): v for c, _, p, v in tarn.parameters()}
    assert keywords[("REIDVAPORPRESSURE", "*")] == 1.25
    tarn.set_parameter("reidvaporpressure", "anything", 1.3)
    assert tarn.get_parameter("REIDVAPORPRESSURE", "*") == 1.3
    assert tarn.evaluate("RVPINDEX", [9.0]).outputs["RVPNDX"] == pytest.approx(9.0 ** 1.3)
    with pytest.raises(KeyError):
        tarn.get_parameter("TARN", "changedata")  # parameter keywords are case-sensitive
    tarn.set_parameter("CETANEIMPROVER", "P2", -5)
    with pytest.raises(ValueError, match="refused"):
        tarn.set_parameter("CETANEIMPROVER", "P2", 10)

    fahrenheit = tarn.evaluate("TVL", [9.0, 122.0, 212.0]).outputs["TVL"]
    assert tarn.set_coefficient("TVL", "CORF", 0) == 0
    celsius = tarn.evaluate("TVL", [9.0, 50.0, 100.0]).outputs["TVL"]
    assert celsius == pytest.approx((fahrenheit - 32) / 1.8)
    assert tarn.set_coefficient("EPA", "PHASE", 2.9) == 2  # integer settings truncate
    with pytest.raises(KeyError, match="has no coefficient"):
        tarn.set_coefficient("TVL", "XX", 1)
    with pytest.raises(tarn.TarnError) as error:
        tarn.set_coefficient("VISCOSITYINDEX1", 0, 1.0)
    assert error.value.status == -8
    tarn.reset()
    assert tarn.coefficients("TVL")["CORF"] == 1
