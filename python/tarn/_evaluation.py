"""Evaluating correlations: one row with `evaluate`, many with `evaluate_many`.

Missing in, missing out. A missing input (None, NaN, a masked value) makes a
row not computed: NaN outputs and derivatives, status 1, the missing inputs
named as the reason, and no exception. The exceptions are the inputs a
correlation reads as missing by a rule of its own (listed below): those are
passed on as the library's missing value 1e30. An output that comes back as
+-1e30 or not finite is NaN, never a figure, and its row has status 1.
"""

from __future__ import annotations

import ctypes
import math
from dataclasses import dataclass, field
from typing import Any, Dict, List, Mapping, Optional, Sequence, Tuple, Union

import numpy
from numpy.typing import NDArray

from . import _catalogue
from ._catalogue import MISSING, CorrelationKey, real

# Inputs that a correlation reads as missing by a rule of its own.
_ALL = "*"
_OWN_MISSING_RULES: Dict[str, Tuple[str, ...]] = {
    # The emission models' catalogue entries read a missing property as 0.
    "CARB": (_ALL,), "CARB3": (_ALL,), "CARB3M": (_ALL,), "EPA": (_ALL,),
    # A missing oxygenate volume is a blend without oxygenate.
    "CARBOB": ("VOLETOH",), "CT10BLEND": ("VOLETOH",), "CT50BLEND": ("VOLETOH",),
    "CT90BLEND": ("VOLETOH",), "CD86ONE90BLEND": ("VOLETOH",), "CRVP": ("VOLETOH",),
    "CD86FROMPERCENTOFF": ("VOLETOH",),
    # A missing 30 % or 70 % point of a seven-point curve is estimated from
    # the rest of the curve.
    "D86TOPERCENTOFF": ("T30", "T70"),
}
# Correlations that read only as many inputs as a count coefficient says; the
# inputs past it may be anything.
_INPUTS_READ = {"ND86TOPERCENTOFF": "NTEMP", "ND86FROMPERCENTOFF": "NPOFF"}
# Trailing slack inputs (CARBOB2's property offsets) are missing when there
# is no offset: read from the catalogue's slack count.

ErrorPolicy = str  # "raise" or "record"
Floats = NDArray[numpy.float64]
Flags = NDArray[numpy.bool_]


class _Plan:
    """What evaluating one correlation needs, read once: ids, the outputs
    produced under the current settings, the inputs that may be missing, and
    the argument buffers of the one-row path."""

    __slots__ = ("index", "id", "inputs", "outputs", "catalogue_outputs", "produced",
                 "accepts", "accepts_missing", "names", "buffer_in", "buffer_out", "buffer_d",
                 "blank_out")

    def __init__(self, info: _catalogue.Correlation) -> None:
        self.index = info.index
        self.id = info.id
        self.inputs = info.inputs
        n_in, n_out = len(info.inputs), len(info.outputs)
        self.catalogue_outputs = n_out
        self.produced = _catalogue.produced_outputs(info.index, n_out)
        self.outputs = info.outputs[:self.produced]
        accepted = _OWN_MISSING_RULES.get(info.id, ())
        read = n_in - info.slack_count
        if info.id in _INPUTS_READ:
            read = min(read, max(0, int(info.coefficients[_INPUTS_READ[info.id]])))
        self.accepts: Tuple[bool, ...] = tuple(
            _ALL in accepted or name in accepted or j >= read for j, name in enumerate(info.inputs))
        self.accepts_missing = numpy.array(self.accepts, dtype=bool)
        self.names = {name: j for j, name in enumerate(info.inputs)}
        self.buffer_in = (ctypes.c_double * max(n_in, 1))()
        self.buffer_out = (ctypes.c_double * max(n_out, 1))()
        self.buffer_d = (ctypes.c_double * max(n_in * n_out, 1))()
        self.blank_out = (ctypes.c_double * max(n_out, 1))(*([MISSING] * max(n_out, 1)))


_plans: Dict[Any, _Plan] = {}
_catalogue.on_forget(_plans.clear)


def _plan(correlation: CorrelationKey) -> _Plan:
    kind = type(correlation)
    if kind is str or kind is int:
        found = _plans.get(correlation)
        if found is not None:
            return found
    info = _catalogue.describe(correlation)
    plan = _plans.get(info.index)
    if plan is None:
        plan = _plans[info.index] = _Plan(info)
    if kind is str or kind is int:
        _plans[correlation] = plan
    return plan


def _check_policy(on_error: ErrorPolicy) -> None:
    if on_error not in ("raise", "record"):
        raise ValueError("on_error must be 'raise' or 'record', not %r" % (on_error,))


def _missing_reason(names: Sequence[str]) -> str:
    return "missing input%s %s" % ("s" if len(names) > 1 else "", ", ".join(names))


# ---- One row ----------------------------------------------------------------------

class Jacobian:
    """Derivatives of a correlation's outputs with respect to its inputs,
    labelled by property ids: `jac[input, output]`. `values[j, k]` is the
    derivative of output k with respect to input j (input-major, as the
    library lays them out), in output units per input unit."""

    def __init__(self, input_ids: Sequence[str], output_ids: Sequence[str],
                 values: Floats) -> None:
        self.input_ids = tuple(input_ids)
        self.output_ids = tuple(output_ids)
        self.values = values

    def __getitem__(self, key: Tuple[Union[str, int], Union[str, int]]) -> float:
        wanted_input, wanted_output = key
        return float(self.values[self._position(self.input_ids, wanted_input),
                                 self._position(self.output_ids, wanted_output)])

    @staticmethod
    def _position(names: Tuple[str, ...], key: Union[str, int]) -> int:
        if isinstance(key, int):
            return key
        try:
            return names.index(key)
        except ValueError:
            raise KeyError(key) from None

    def as_dict(self) -> Dict[str, Dict[str, float]]:
        """{input: {output: derivative}}."""
        return {i: dict(zip(self.output_ids, map(float, row)))
                for i, row in zip(self.input_ids, self.values)}

    def __repr__(self) -> str:
        return "Jacobian(input_ids=%r, output_ids=%r, values=%r)" % (
            self.input_ids, self.output_ids, self.values.tolist())


@dataclass
class Evaluation:
    """One evaluation: outputs {id: value} (NaN where not computed), the
    derivatives when asked for, the status (0 computed, 1 not computed,
    other codes the library's) and the reason when it is not 0."""
    correlation: str
    input_ids: Tuple[str, ...]
    output_ids: Tuple[str, ...]
    outputs: Dict[str, float]
    derivatives: Optional[Jacobian] = None
    status: int = 0
    reason: Optional[str] = None


def _value(value: Any, what: str) -> float:
    kind = type(value)
    if kind is float:
        return value  # type: ignore[no-any-return]
    if value is None or value is numpy.ma.masked:
        return math.nan
    return real(value, what)


def _row(plan: _Plan, inputs: Union[Sequence[Any], Mapping[str, Any]]) -> List[float]:
    kind = type(inputs)
    if kind is not list and kind is not tuple:
        if isinstance(inputs, Mapping):
            unknown = [name for name in inputs if name not in plan.names]
            if unknown:
                raise KeyError("%s has no input %s (its inputs: %s)"
                               % (plan.id, ", ".join(map(str, unknown)), ", ".join(plan.inputs)))
            absent = [name for name in plan.inputs if name not in inputs]
            if absent:
                raise ValueError("%s needs %s (pass None for a missing value)"
                                 % (plan.id, ", ".join(absent)))
            inputs = [inputs[name] for name in plan.inputs]
        elif isinstance(inputs, (str, bytes)):
            raise TypeError("%s: inputs are numbers, not %s" % (plan.id, kind.__name__))
        else:
            inputs = list(inputs)
    if len(inputs) != len(plan.inputs):
        raise ValueError("%s takes %d inputs (%s), got %d"
                         % (plan.id, len(plan.inputs), ", ".join(plan.inputs), len(inputs)))
    return [v if type(v) is float else _value(v, name) for v, name in zip(inputs, plan.inputs)]


def evaluate(correlation: CorrelationKey, inputs: Union[Sequence[Any], Mapping[str, Any]],
             derivatives: bool = False, on_error: ErrorPolicy = "raise") -> Evaluation:
    """Evaluates a correlation (index, identifier or Correlation) once.

    `inputs` is a sequence in catalogue order or a mapping {input id: value},
    in the units of the correlation (temperatures in the unit of its CORF
    coefficient, degrees F by default). None or NaN is a missing value.
    Returns an Evaluation; with derivatives, a Jacobian. A row with a missing
    input is not computed (NaN, status 1, the reason) and raises nothing;
    otherwise a library failure raises TarnError (UndefinedResult for status
    1), or with on_error="record" comes back as NaN with its status."""
    plan = _plan(correlation)
    values = _row(plan, inputs)
    if on_error != "raise":
        _check_policy(on_error)
    buffer_in, buffer_out = plan.buffer_in, plan.buffer_out
    absent = None
    for j, v in enumerate(values):
        if v != v:
            if not plan.accepts[j]:
                absent = (absent or []) + [plan.inputs[j]]
            v = MISSING
        buffer_in[j] = v
    if absent:
        return _not_computed(plan, derivatives, 1, _missing_reason(absent))
    ctypes.memmove(buffer_out, plan.blank_out, ctypes.sizeof(buffer_out))
    if derivatives:
        ctypes.memset(plan.buffer_d, 0, ctypes.sizeof(plan.buffer_d))
    # The derivative array goes along whatever the flag: some correlations
    # write into it even without derivatives.
    status = _catalogue.library().gfx_tarnGenCalc(
        plan.index, 1 if derivatives else 0, 0, buffer_in, buffer_out, plan.buffer_d)
    outputs = {}
    undefined = False
    for k, name in enumerate(plan.outputs):
        v = buffer_out[k]
        if not -MISSING < v < MISSING:
            v, undefined = math.nan, True
        outputs[name] = v
    if status == 0 and undefined:
        status = 1
    if status != 0:
        if on_error == "raise":
            raise _catalogue.error(status, plan.id)
        return _not_computed(plan, derivatives, status, _catalogue.message(status))
    jacobian = None
    if derivatives:
        n_out = plan.produced
        d = numpy.ctypeslib.as_array(plan.buffer_d)[:len(plan.inputs) * n_out]
        jacobian = Jacobian(plan.inputs, plan.outputs, d.reshape(len(plan.inputs), n_out).copy())
    return Evaluation(plan.id, plan.inputs, plan.outputs, outputs, jacobian)


def _not_computed(plan: _Plan, derivatives: bool, status: int, reason: str) -> Evaluation:
    jacobian = None
    if derivatives:
        jacobian = Jacobian(plan.inputs, plan.outputs,
                            numpy.full((len(plan.inputs), len(plan.outputs)), math.nan))
    return Evaluation(plan.id, plan.inputs, plan.outputs,
                      {name: math.nan for name in plan.outputs}, jacobian, status, reason)


# ---- Many rows --------------------------------------------------------------------

@dataclass
class Batch:
    """Results of evaluate_many: `outputs` (rows x outputs), `derivatives`
    (rows x inputs x outputs, when asked for) and `statuses` (rows), as
    NumPy arrays. A row not computed has NaN outputs and derivatives and a
    non-zero status; `reason(row)` says why."""
    correlation: str
    input_ids: Tuple[str, ...]
    output_ids: Tuple[str, ...]
    outputs: Floats
    statuses: NDArray[numpy.intc]
    derivatives: Optional[Floats] = None
    # rows x inputs: the missing inputs that kept each row from being computed
    missing: Flags = field(default_factory=lambda: numpy.zeros((0, 0), dtype=bool),
                                   repr=False)

    def __len__(self) -> int:
        return int(self.statuses.shape[0])

    def reason(self, row: int) -> Optional[str]:
        """Why row was not computed (the missing inputs, or the library's
        message for its status), or None for a computed row."""
        status = int(self.statuses[row])
        if status == 0:
            return None
        if self.missing[row].any():
            return _missing_reason([name for name, gone in zip(self.input_ids, self.missing[row])
                                    if gone])
        return _catalogue.message(status)


def _matrix(plan: _Plan, rows: Any) -> Tuple[Floats, Flags]:
    """The rows as a C-ordered float64 copy (rows x inputs) and the mask of
    missing values. Numbers only: strings, booleans, complex numbers and
    dates are refused; None, NaN and masked values are missing."""
    if isinstance(rows, (str, bytes)):
        raise TypeError("%s: rows are numbers, not %s" % (plan.id, type(rows).__name__))
    mask = None
    if isinstance(rows, numpy.ma.MaskedArray):
        mask = numpy.ma.getmaskarray(rows)  # type: ignore[no-untyped-call]
        rows = rows.data
    try:
        array = numpy.asarray(rows)
    except ValueError as problem:  # ragged rows
        raise ValueError("%s takes %d inputs in every row: %s"
                         % (plan.id, len(plan.inputs), problem)) from None
    kind = array.dtype.kind
    if kind == "O":
        flat = [_value(v, "an input of %s" % plan.id) for v in array.ravel()]
        array = numpy.array(flat, dtype=numpy.float64).reshape(array.shape)
    elif kind not in "fiu":
        raise TypeError("%s: inputs are numbers, not %s (dtype %s)"
                        % (plan.id, type(rows).__name__, array.dtype))
    n_in = len(plan.inputs)
    if array.size == 0:
        array = array.reshape(0, n_in)
        mask = None
    elif array.ndim == 1 and n_in == 1:
        array = array.reshape(-1, 1)
        mask = None if mask is None else mask.reshape(-1, 1)
    if array.ndim != 2 or array.shape[1] != n_in:
        raise ValueError("%s takes %d inputs per row (%s); got an array of shape %s"
                         % (plan.id, n_in, ", ".join(plan.inputs), array.shape))
    matrix = numpy.array(array, dtype=numpy.float64, order="C")
    missing = numpy.isnan(matrix)
    if mask is not None:
        missing |= mask
    return matrix, missing


def evaluate_many(correlation: CorrelationKey, rows: Any, derivatives: bool = False,
                  on_error: ErrorPolicy = "raise") -> Batch:
    """Evaluates a correlation for every row of `rows`: a 2-D array (rows x
    inputs, any numeric dtype and strides, masked values missing), a
    sequence of input sequences, or for a one-input correlation a 1-D array.
    Lists are converted once to an array.

    Rows with a missing input are not computed (NaN, status 1) and raise
    nothing. on_error "raise" raises TarnError at the first row the library
    fails; "record" keeps going and reports each row's status."""
    _check_policy(on_error)
    plan = _plan(correlation)
    matrix, missing = _matrix(plan, rows)
    count, n_in = matrix.shape
    n_out, produced = plan.catalogue_outputs, plan.produced
    # Rows with a missing input the correlation does not read itself are not
    # evaluated; the others get the library's missing value where one is.
    unread = missing & ~plan.accepts_missing
    chosen = None
    work = matrix
    if missing.any():
        skipped = unread.any(axis=1)
        if skipped.any():
            chosen = numpy.flatnonzero(~skipped)
            work, missing = matrix[chosen], missing[chosen]
        work[missing] = MISSING
    m = work.shape[0]
    out = numpy.full((m, n_out), MISSING)
    statuses = numpy.zeros(m, dtype=numpy.intc)
    d = numpy.zeros((m, n_in * n_out)) if derivatives else None
    if m:
        _catalogue.library().gfx_tarnGenCalcBatch(
            plan.index, 1 if derivatives else 0, m, _pointer(work), _pointer(out),
            None if d is None else _pointer(d), statuses.ctypes.data_as(_INT_P))
    values = out[:, :produced]
    # +-1e30, NaN and infinities are not figures: such a row is not computed.
    statuses[(statuses == 0) & ~(numpy.abs(values) < MISSING).all(axis=1)] = 1
    failed = statuses != 0
    any_failed = bool(failed.any())
    if on_error == "raise" and any_failed:
        first = int(numpy.argmax(failed))
        raise _catalogue.error(int(statuses[first]), plan.id,
                               first if chosen is None else int(chosen[first]))
    if any_failed:
        values[failed] = math.nan
    jacobians = None
    if d is not None:
        # Each row's block holds inputs x produced derivatives: the outputs
        # really produced set the stride.
        jacobians = d[:, :n_in * produced].reshape(m, n_in, produced)
        if any_failed:
            jacobians[failed] = math.nan
    if chosen is not None:
        values, statuses, jacobians = (_spread(values, chosen, count, math.nan),
                                       _spread(statuses, chosen, count, 1),
                                       None if jacobians is None else
                                       _spread(jacobians, chosen, count, math.nan))
    return Batch(plan.id, plan.inputs, plan.outputs, numpy.ascontiguousarray(values), statuses,
                 None if jacobians is None else numpy.ascontiguousarray(jacobians), unread)


def _spread(rows: NDArray[Any], chosen: NDArray[numpy.intp], count: int,
            fill: Any) -> NDArray[Any]:
    """rows placed at the positions chosen of count rows; fill elsewhere."""
    out = numpy.full((count,) + rows.shape[1:], fill, dtype=rows.dtype)
    out[chosen] = rows
    return out


_DOUBLE_P = ctypes.POINTER(ctypes.c_double)
_INT_P = ctypes.POINTER(ctypes.c_int)


def _pointer(array: Floats) -> Any:
    return array.ctypes.data_as(_DOUBLE_P)
