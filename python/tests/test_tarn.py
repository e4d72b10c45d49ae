"""The Python package against the C library: values, derivatives, missing values, errors, parameters."""

import math
import os

import numpy
import pytest

import tarn

NAN = math.nan


@pytest.fixture(autouse=True)
def defaults():
    tarn.reset()
    yield
    tarn.reset()


def test_catalogue_and_version():
    correlations = tarn.correlations()
    assert [c.index for c in correlations] == list(range(57))
    tvl = tarn.describe("tvl")
    assert (tvl.index, tvl.id, tvl.description) == (0, "TVL", "TARN_TVL")
    assert tvl.inputs == ("RVP", "T10", "T50") and tvl.outputs == ("TVL",)
    assert list(tvl.coefficients) == ["CORF", "P1", "P2", "P3", "P4"]
    assert tarn.describe(13).pair == 14 and tarn.describe(5).pair is None
    assert tarn.describe("RVPINDEX").kinds == (None,)  # no kind code: the query writes nothing
    assert tarn.describe("CARBOB2").slack_count == 7
    assert tarn.describe(tvl) is tvl
    # One version: the CMake project's, as the library reports it.
    expected = os.environ.get("TARN_EXPECTED_VERSION")
    assert tarn.__version__ == expected if expected else tarn.__version__.count(".") == 2


def test_values_and_labelled_derivatives():
    result = tarn.evaluate("RVPINDEX", [9.0], derivatives=True)
    assert result.outputs["RVPNDX"] == pytest.approx(9.0 ** 1.25)
    assert result.derivatives["RVP", "RVPNDX"] == pytest.approx(1.25 * 9.0 ** 0.25)
    # Input-major, or the cross terms swap (EPA: E200 = 147.91 - 0.49 T50, E300 = 155.47 - 0.22 T90).
    epa = tarn.evaluate("E200E300EPA", {"T50": 200.0, "T90": 330.0}, derivatives=True)
    assert epa.outputs == pytest.approx({"E200": 49.91, "E300": 82.87})
    assert epa.derivatives.values.ravel().tolist() == pytest.approx([-0.49, 0.0, 0.0, -0.22])
    assert epa.derivatives.as_dict()["T90"]["E300"] == pytest.approx(-0.22)
    assert (epa.input_ids, epa.output_ids) == (("T50", "T90"), ("E200", "E300"))


def test_a_configured_output_count():
    # Derivatives read with the configured stride, the cached plan follows (layouts: test_properties.py).
    curves = numpy.array([[100, 140, 180, 220, 260, 300, 340], [90, 130, 175, 215, 255, 310, 360]],
                         dtype=float)
    given = curves.copy()
    assert tarn.evaluate_many("EVAPORATIVE", curves, on_error="record").statuses.tolist() == [1, 1]
    for name, value in (("NPTS", 2), ("P00", 200.0), ("P01", 340.0)):
        tarn.set_parameter("EVAPORATIVE", name, value)
    evaporated = tarn.evaluate_many("EVAPORATIVE", curves, derivatives=True)
    assert (curves == given).all() and evaporated.derivatives.shape == (2, 7, 2)
    assert evaporated.outputs[0].tolist() == [40.0, 100.0]  # 200 F and 340 F on the first curve
    assert evaporated.derivatives[0, 2, 0] == evaporated.derivatives[0, 6, 1] == -0.25  # T30, FBP
    for r in range(2):
        single = tarn.evaluate("EVAPORATIVE", given[r].tolist(), derivatives=True)
        assert evaporated.outputs[r].tolist() == list(single.outputs.values())
        assert (evaporated.derivatives[r] == single.derivatives.values).all()


# (correlation, inputs, status, reason, outputs or None for all NaN)
MISSING_CASES = [
    # The library would answer 2.0e29, -4.1e30 and 216.5 here.
    ("TVL", [9, NAN, 210], 1, "missing input T10", None),
    ("TVL", [None, 120, 210], 1, "missing input RVP", None),
    ("CETANEINDEX2", [NAN, 500], 1, "missing input SPG", None),
    ("TVL", [None, None, 210], 1, "missing inputs RVP, T10", None),
    ("RVP", [None], 1, "missing input RVPNDX", None),
    # A missing oxygenate volume is a blend without oxygenate: the value itself.
    ("CT50BLEND", [210, None, 170], 0, None, {"OBST50": 210.0}),
    # The CARB model reads a missing property as 0, as with 0 given.
    ("CARB", [7.5, 200, 300, 25, 6, 2.3, 40, None], 0, None,
     lambda: tarn.evaluate("CARB", [7.5, 200, 300, 25, 6, 2.3, 40, 0]).outputs),
    # A missing 30 % point is estimated from the rest of the curve.
    ("D86TOPERCENTOFF", [95, 130, None, 200, 250, 320, 400], 0, None, "finite"),
    # The N-point conversion reads NTEMP (7) points; the rest may be missing.
    ("ND86TOPERCENTOFF", [95, 130, 160, 200, 250, 320, 400] + [None] * 6, 0, None, "finite"),
    ("ND86TOPERCENTOFF", [95, 130, 160, 200, 250, None, 400] + [None] * 6, 1, "missing input T6",
     None),
    # CARBOB2's trailing offsets: missing means no offset.
    ("CARBOB2", [7.5, 210, 320, 25, 0.8, 8, 20] + [None] * 7, 0, None, "finite"),
    # An infinite input is a number the library cannot use, not a missing one.
    ("TVL", [math.inf, 120, 210], 1, "no result for these inputs", None),
    # T10INDEX reports an undefined index as NaN with status 0; here it is not computed.
    ("T10INDEX", [130, 210, 1e300], 1, "no result for these inputs", None),
]


@pytest.mark.parametrize("correlation, inputs, status, reason, expected", MISSING_CASES)
def test_missing_in_missing_out(correlation, inputs, status, reason, expected):
    single = tarn.evaluate(correlation, inputs, derivatives=True, on_error="record")
    batch = tarn.evaluate_many(correlation, [inputs], derivatives=True, on_error="record")
    assert (single.status, single.reason) == (status, reason)
    assert (batch.statuses.tolist(), batch.reason(0)) == ([status], reason)
    values = list(single.outputs.values())
    assert numpy.array_equal(batch.outputs[0], values, equal_nan=True)
    if expected is None:
        assert all(math.isnan(v) for v in values)
        assert numpy.isnan(single.derivatives.values).all() and numpy.isnan(batch.derivatives).all()
    elif expected == "finite":
        assert all(abs(v) < 1e29 for v in values)
    else:
        assert single.outputs == pytest.approx(expected() if callable(expected) else expected)
    if status == 0 or reason.startswith("missing"):
        tarn.evaluate(correlation, inputs)  # missing inputs raise nothing
        tarn.evaluate_many(correlation, [inputs])


def test_masked_arrays_and_refused_inputs():
    masked = numpy.ma.masked_array([[9.0], [8.0], [7.0]], mask=[[False], [True], [False]])
    batch = tarn.evaluate_many("RVPINDEX", masked)
    assert batch.statuses.tolist() == [0, 1, 0] and math.isnan(batch.outputs[1, 0])
    assert batch.outputs[2, 0] == pytest.approx(7.0 ** 1.25)
    refused = [
        (TypeError, lambda: tarn.evaluate("RVPINDEX", ["9"])),
        (TypeError, lambda: tarn.evaluate("RVPINDEX", [True])),
        (TypeError, lambda: tarn.evaluate("RVPINDEX", "9")),
        (TypeError, lambda: tarn.evaluate_many("RVPINDEX", [["9"]])),
        (TypeError, lambda: tarn.evaluate_many("RVPINDEX", numpy.array([[1 + 2j]]))),
        (TypeError, lambda: tarn.evaluate_many("RVPINDEX", numpy.array([[True]]))),
        (TypeError, lambda: tarn.evaluate_many("RVPINDEX", numpy.array([[9.0, "x"]], dtype=object))),
        (ValueError, lambda: tarn.evaluate_many("TVL", [[9.0, 120.0], [9.0, 120.0, 210.0]])),
        (ValueError, lambda: tarn.evaluate_many("TVL", numpy.zeros((2, 2)))),
        (ValueError, lambda: tarn.evaluate("TVL", [9.0, 120.0])),
        (ValueError, lambda: tarn.evaluate("TVL", [9.0, 120.0, 210.0], on_error="ignore")),
        (KeyError, lambda: tarn.evaluate("TVL", {"RVP": 9.0, "T10": 120.0, "T90": 300.0})),
        (KeyError, lambda: tarn.evaluate("NOSUCH", [1.0])),
        (TypeError, lambda: tarn.evaluate(9.0, [1.0])),
    ]
    for kind, call in refused:
        with pytest.raises(kind):
            call()
    assert tarn.evaluate_many("TVL", numpy.zeros((0, 3))).outputs.shape == (0, 1)


def test_failures_become_exceptions_with_the_library_messages():
    with pytest.raises(tarn.TarnError) as error:
        tarn.evaluate(57, [1.0])
    assert error.value.status == -4 and error.value.message == "Invalid Correlation index passed."
    with pytest.raises(tarn.UndefinedResult) as undefined:
        tarn.evaluate("TVL", [math.inf, 120, 210])
    assert undefined.value.status == 1
    with pytest.raises(tarn.UndefinedResult) as row:
        tarn.evaluate_many("TVL", [[9, 120, 210], [9, None, 210], [-math.inf, 120, 210]])
    assert row.value.row == 2  # the missing row is not a failure


def test_parameters_and_coefficients():
    keywords = {(c, p): v for c, _, p, v in tarn.parameters()}
    assert keywords[("REIDVAPORPRESSURE", "*")] == 1.25
    before = tarn.evaluate("RVPINDEX", [9.0]).outputs["RVPNDX"]  # keeps a plan
    tarn.set_parameter("reidvaporpressure", "anything", 1.3)
    assert tarn.get_parameter("REIDVAPORPRESSURE", "*") == 1.3
    assert tarn.evaluate("RVPINDEX", [9.0]).outputs["RVPNDX"] == pytest.approx(9.0 ** 1.3) != before
    with pytest.raises(KeyError):
        tarn.get_parameter("TARN", "changedata")  # parameter keywords are case-sensitive
    tarn.set_parameter("CETANEIMPROVER", "P2", -5)
    refused = [
        (ValueError, ("CETANEIMPROVER", "P2", 10)),   # refused by the library's store rule
        (ValueError, ("TARN\0X", "ChangeData", 1)),   # a NUL would cut the keyword short
        (ValueError, ("TÄRN", "ChangeData", 1)),
        (ValueError, ("T" * 80, "ChangeData", 1)),
        (ValueError, ("TVL20", "P1", NAN)),           # NaN and infinities, as the CLI
        (ValueError, ("TVL20", "P1", -math.inf)),
        (TypeError, ("TVL20", "P1", "3")),
        (TypeError, (b"TVL20", "P1", 3)),
    ]
    for kind, arguments in refused:
        with pytest.raises(kind):
            tarn.set_parameter(*arguments)

    fahrenheit = tarn.evaluate("TVL", [9.0, 122.0, 212.0]).outputs["TVL"]
    assert tarn.describe("TVL").coefficients["CORF"] == 1
    assert tarn.set_coefficient("TVL", "CORF", 0) == 0
    assert tarn.describe("TVL").coefficients["CORF"] == 0  # the kept description follows
    celsius = tarn.evaluate("TVL", [9.0, 50.0, 100.0]).outputs["TVL"]
    assert celsius == pytest.approx((fahrenheit - 32) / 1.8)
    assert tarn.set_coefficient("EPA", "PHASE", 2.9) == 2  # integer settings truncate
    for kind, arguments in ((KeyError, ("TVL", "XX", 1)), (ValueError, ("TVL", "P1", NAN)),
                            (TypeError, ("TVL", "P1", "1"))):
        with pytest.raises(kind):
            tarn.set_coefficient(*arguments)
    with pytest.raises(tarn.TarnError) as error:
        tarn.set_coefficient("VISCOSITYINDEX1", 0, 1.0)
    assert error.value.status == -8
    tarn.reset()
    assert tarn.coefficients("TVL")["CORF"] == 1
