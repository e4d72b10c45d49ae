"""evaluate_many over generated batches (shapes, dtypes, layouts, NaN/None/mask missing values): each row
as evaluate gives it, never +-1e30 or inf, status 0 exactly when all outputs are figures, input untouched."""

import numpy
import pytest

hypothesis = pytest.importorskip("hypothesis")
from hypothesis import given, settings, strategies as st  # noqa: E402
from hypothesis.extra.numpy import arrays  # noqa: E402

import tarn  # noqa: E402

# Realistic catalogue rows: several outputs, slopes whatever the flag, a missing input.
ROWS = {
    "RVPINDEX": [9.0],
    "TVL": [9.0, 130.0, 210.0],
    "E200E300EPA": [210.0, 320.0],
    "MTMF": [95.0, 85.0, 10.0, 30.0],
    "CARB": [7.5, 200.0, 300.0, 25.0, 6.0, 2.3, 40.0, 0.9],
    "CT50BLEND": [210.0, 10.0, 170.0],
}
DTYPES = [numpy.float64, numpy.float32, numpy.float16, numpy.int64, numpy.int32, numpy.uint16]


@st.composite
def batches(draw):
    name = draw(st.sampled_from(sorted(ROWS)))
    base = numpy.array(ROWS[name])
    count = draw(st.integers(0, 9))
    shape = (count, len(base))
    scale = draw(arrays(numpy.float64, shape, elements=st.floats(0.7, 1.3)))
    values = (base * scale).astype(draw(st.sampled_from(DTYPES)))
    missing = draw(arrays(numpy.bool_, shape, elements=st.sampled_from([False] * 5 + [True])))
    form = draw(st.sampled_from(["nan", "mask", "list", "strided", "fortran"]))
    derivatives = draw(st.booleans())
    return name, values, missing, form, derivatives


def as_given(values, missing, form):
    """The batch in one of the shapes a caller may hand over."""
    if form == "list":
        return [[None if gone else v for v, gone in zip(row, gaps)]
                for row, gaps in zip(values.tolist(), missing)]
    if form == "nan" and values.dtype.kind == "f":
        return numpy.where(missing, numpy.nan, values).astype(values.dtype)
    if form == "strided":
        wide = numpy.zeros((2 * values.shape[0], values.shape[1] + 1), dtype=values.dtype)
        wide[::2, :-1] = values
        return numpy.ma.masked_array(wide[::2, :-1], mask=missing)
    if form == "fortran":
        return numpy.ma.masked_array(numpy.asfortranarray(values), mask=missing)
    return numpy.ma.masked_array(values, mask=missing)


@settings(max_examples=150, deadline=None, database=None)
@given(batches())
def test_evaluate_many_agrees_with_evaluate_row_by_row(case):
    name, values, missing, form, derivatives = case
    rows = as_given(values, missing, form)
    kept = numpy.ma.copy(rows) if isinstance(rows, numpy.ndarray) else [list(r) for r in rows]
    batch = tarn.evaluate_many(name, rows, derivatives=derivatives, on_error="record")

    count = values.shape[0]
    assert batch.outputs.shape == (count, len(batch.output_ids)) and len(batch) == count
    assert not (numpy.abs(batch.outputs) >= 1e30).any()
    assert ((batch.statuses == 0) == numpy.isfinite(batch.outputs).all(axis=1)).all()
    for r in range(count):
        inputs = [None if gone else float(v) for v, gone in zip(values[r], missing[r])]
        single = tarn.evaluate(name, inputs, derivatives=derivatives, on_error="record")
        assert batch.statuses[r] == single.status and batch.reason(r) == single.reason
        assert numpy.array_equal(batch.outputs[r], list(single.outputs.values()), equal_nan=True)
        if derivatives:
            assert numpy.array_equal(batch.derivatives[r], single.derivatives.values, equal_nan=True)
    if isinstance(rows, numpy.ndarray):
        assert numpy.array_equal(numpy.ma.getdata(rows), numpy.ma.getdata(kept), equal_nan=True)
        assert (numpy.ma.getmaskarray(rows) == numpy.ma.getmaskarray(kept)).all()
    else:
        assert rows == kept
