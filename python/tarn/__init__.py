"""TARN fuel-blending property correlations, over the library's C interface.

The library is loaded and started on first use (see `load`). Values follow
the library's conventions: temperatures in the unit of the correlation's
CORF coefficient (degrees F by default), derivatives input-major. A missing
value is `None` or NaN on the way in and NaN on the way out (the library's
1e30).
"""

import ctypes
import math
from collections import OrderedDict
from dataclasses import dataclass, field
from typing import Dict, List, Optional, Sequence

from . import _library
from ._library import LibraryNotFound

__all__ = [
    "MISSING", "TarnError", "UndefinedResult", "LibraryNotFound", "Correlation", "Evaluation",
    "Batch", "Jacobian", "load", "library_path", "reset", "correlations", "describe", "evaluate",
    "evaluate_many", "parameters", "get_parameter", "set_parameter", "coefficients",
    "set_coefficient", "message",
]

MISSING = 1e30

# Codes without an entry in the library's message table.
_MEANINGS = {
    0: "success",
    1: "the result is undefined (the library returned its missing value)",
    12: "the correlation has no inverse",
    -999: "the correlation's type cannot be evaluated",
    -8888: "derivatives requested without a derivative array",
}


class TarnError(Exception):
    """A non-zero status of the library, with its message."""

    def __init__(self, status, message, correlation=None):
        self.status = status
        self.message = message
        self.correlation = correlation
        where = "%s: " % correlation if correlation else ""
        super().__init__("%sstatus %d: %s" % (where, status, message))


class UndefinedResult(TarnError):
    """Status 1: the correlation could not compute a result for these inputs."""


_lib = None


def load(path=None):
    """Loads and starts the library (again, when `path` names another one).

    Without a path it is found through $TARN_LIBRARY, the build tree of this
    source checkout, then the system's library path."""
    global _lib
    library = _library.load(path)
    if library.gfx_tarnInitializeAllocate(None) != 0:
        raise TarnError(-1, message(-1, library))
    _lib = library
    return library


def _get():
    return _lib if _lib is not None else load()


def library_path():
    """The file the library was loaded from."""
    return _get().tarn_path


def reset():
    """Returns every parameter and coefficient to its start-up default."""
    lib = _get()
    lib.TARNReset()
    lib.gfx_tarnInitializeCoefs()


def message(status, library=None):
    """The library's message for a status code, or what the code means."""
    lib = library or _get()
    buffer = ctypes.create_string_buffer(_library.MESSAGE_SIZE)
    if lib.gfx_tarnGetErrorMsg(status, buffer) == 0:
        return buffer.value.decode()
    return _MEANINGS.get(status, "status %d of the correlation" % status)


def _raise(status, correlation=None):
    kind = UndefinedResult if status == 1 else TarnError
    raise kind(status, message(status), correlation)


# ---- Catalogue --------------------------------------------------------------

@dataclass
class Correlation:
    index: int
    id: str
    description: str
    type: int
    inputs: List[str]
    outputs: List[str]
    kinds: List[Optional[int]]
    pair: Optional[int]
    slack_count: int
    coefficients: "OrderedDict[str, float]" = field(default_factory=OrderedDict)

    @property
    def type_name(self):
        return {-7: "general", -6: "distillation index", -5: "index to property",
                -4: "property to index"}.get(self.type, "type %d" % self.type)


def _text(size):
    return ctypes.create_string_buffer(size)


def _describe_index(index):
    lib = _get()
    text = _text(_library.DESC_SIZE)
    status = lib.gfx_tarnGetCorrelationId(index, text)
    if status != 0:
        _raise(status)
    ident = text.value.decode()
    lib.gfx_tarnGetCorrelationDesc(index, text)
    description = text.value.decode()
    number = ctypes.c_int(0)
    lib.gfx_tarnGetCorrelationType(index, ctypes.byref(number))
    kind_type = number.value

    def names(count_function, id_function):
        count = ctypes.c_int(0)
        count_function(index, ctypes.byref(count))
        out = []
        for k in range(count.value):
            buffer = _text(_library.PROPERTY_ID_SIZE)
            id_function(index, k, buffer)
            out.append(buffer.value.decode())
        return out

    inputs = names(lib.gfx_tarnGetCorrelationInpPropCount, lib.gfx_tarnGetCorrelationInpPropId)
    outputs = names(lib.gfx_tarnGetCorrelationOutPropCount, lib.gfx_tarnGetCorrelationOutPropId)
    kinds = []
    for k in range(len(outputs)):
        # The kind query leaves the value alone where the catalogue has none.
        kind = ctypes.c_int(-(2 ** 31))
        lib.gfx_tarnGetCorrelationOutPropType(index, k, ctypes.byref(kind))
        kinds.append(None if kind.value == -(2 ** 31) else kind.value)
    pair = ctypes.c_int(0)
    pair_value = pair.value if lib.gfx_tarnGetIndexPair(index, ctypes.byref(pair)) == 0 else None
    slack = ctypes.c_int(0)
    lib.gfx_tarnGetCorrelationSlackCount(index, ctypes.byref(slack))
    return Correlation(index, ident, description, kind_type, inputs, outputs, kinds, pair_value,
                       slack.value, _coefficients(index))


def correlations():
    """Every correlation of the catalogue, in index order."""
    count = ctypes.c_int(0)
    _get().gfx_tarnGetCorrelationCount(ctypes.byref(count))
    return [_describe_index(i) for i in range(count.value)]


def _index(correlation):
    """The index of a correlation given by index, identifier (any case) or
    Correlation."""
    if isinstance(correlation, Correlation):
        return correlation.index
    lib = _get()
    count = ctypes.c_int(0)
    lib.gfx_tarnGetCorrelationCount(ctypes.byref(count))
    if isinstance(correlation, int) and not isinstance(correlation, bool):
        if 0 <= correlation < count.value:
            return correlation
        raise TarnError(-4, message(-4), str(correlation))
    wanted = str(correlation).upper()
    buffer = _text(_library.ID_SIZE)
    for i in range(count.value):
        if lib.gfx_tarnGetCorrelationId(i, buffer) == 0 and buffer.value.decode() == wanted:
            return i
    raise KeyError("unknown correlation %r" % (correlation,))


def describe(correlation):
    """Everything the catalogue says about one correlation."""
    return _describe_index(_index(correlation))


# ---- Evaluation ---------------------------------------------------------------

class Jacobian:
    """Derivatives of a correlation's outputs with respect to its inputs,
    labelled by property ids: `jac[input, output]`. `values[j][k]` is the
    derivative of output k with respect to input j (input-major, as the
    library lays them out)."""

    def __init__(self, inputs, outputs, values):
        self.inputs = list(inputs)
        self.outputs = list(outputs)
        self.values = values

    def __getitem__(self, key):
        wanted_input, wanted_output = key
        return self.values[self._position(self.inputs, wanted_input)][
            self._position(self.outputs, wanted_output)]

    @staticmethod
    def _position(names, key):
        if isinstance(key, int):
            return key
        try:
            return names.index(key)
        except ValueError:
            raise KeyError(key) from None

    def as_dict(self):
        """{input: {output: derivative}}."""
        return OrderedDict((i, OrderedDict(zip(self.outputs, row)))
                           for i, row in zip(self.inputs, self.values))

    def __repr__(self):
        return "Jacobian(inputs=%r, outputs=%r, values=%r)" % (self.inputs, self.outputs, self.values)


@dataclass
class Evaluation:
    correlation: str
    status: int
    outputs: "OrderedDict[str, float]"
    derivatives: Optional[Jacobian] = None


def _to_library(value):
    if value is None:
        return MISSING
    value = float(value)
    return MISSING if math.isnan(value) else value


def _from_library(value):
    return math.nan if value >= MISSING else value


def _output_count(index, catalogue_count):
    """Outputs really produced: some correlations have a configurable count."""
    actual = _get().tarn_GetActualNumberOutput(index)
    return actual if 0 < actual <= catalogue_count else catalogue_count


def _evaluate_rows(index, derivatives, rows, n_in, n_out, inputs, outputs, derivs, statuses):
    """One evaluation per row of the row-major ctypes arrays `inputs` (rows x
    n_in) into `outputs` (rows x n_out), `derivs` (rows x n_in x n_out, when
    asked) and `statuses` (rows). This is the one place that calls the
    library's evaluation; a batch entry point taking the same arrays replaces
    the loop."""
    lib = _get()
    # Some correlations write a few derivative entries whatever the flag, so
    # every call gets room for at least eight.
    width = max(n_in * n_out, 8)
    scratch = (ctypes.c_double * width)()
    row_inputs = (ctypes.c_double * max(n_in, 1))()
    double_size = ctypes.sizeof(ctypes.c_double)
    out_address = ctypes.addressof(outputs)
    for r in range(rows):
        # A private copy: the library may write into its input array.
        ctypes.memmove(row_inputs, ctypes.addressof(inputs) + r * n_in * double_size, n_in * double_size)
        row_outputs = ctypes.cast(out_address + r * n_out * double_size, _library.c_double_p)
        statuses[r] = lib.gfx_tarnGenCalc(index, 1 if derivatives else 0, 0, row_inputs, row_outputs,
                                          scratch)
        if derivatives:
            ctypes.memmove(ctypes.addressof(derivs) + r * n_in * n_out * double_size, scratch,
                           n_in * n_out * double_size)


def evaluate(correlation, inputs, derivatives=False):
    """Evaluates a correlation (index, identifier or Correlation) once.

    `inputs` is a sequence in catalogue order or a mapping {input id: value}.
    Returns an Evaluation with outputs {id: value} and, when asked, a
    Jacobian. Raises TarnError (UndefinedResult for status 1) when the
    library reports a failure."""
    info = describe(correlation)
    values = _input_row(info, inputs)
    n_in, n_out = len(info.inputs), len(info.outputs)
    array_in = (ctypes.c_double * max(n_in, 1))(*values)
    array_out = (ctypes.c_double * max(n_out, 1))(*([MISSING] * n_out))
    array_d = (ctypes.c_double * max(n_in * n_out, 1))()
    statuses = (ctypes.c_int * 1)()
    _evaluate_rows(info.index, derivatives, 1, n_in, n_out, array_in, array_out, array_d, statuses)
    if statuses[0] != 0:
        _raise(statuses[0], info.id)
    produced = _output_count(info.index, n_out)
    outputs = OrderedDict((info.outputs[k], _from_library(array_out[k])) for k in range(produced))
    jacobian = None
    if derivatives:
        jacobian = Jacobian(info.inputs, info.outputs[:produced],
                            [[array_d[j * produced + k] for k in range(produced)] for j in range(n_in)])
    return Evaluation(info.id, 0, outputs, jacobian)


def _input_row(info, inputs):
    if hasattr(inputs, "keys"):
        unknown = set(inputs) - set(info.inputs)
        if unknown:
            raise KeyError("%s has no input %s (its inputs: %s)"
                           % (info.id, ", ".join(sorted(unknown)), ", ".join(info.inputs)))
        missing = [name for name in info.inputs if name not in inputs]
        if missing:
            raise ValueError("%s needs %s" % (info.id, ", ".join(missing)))
        return [_to_library(inputs[name]) for name in info.inputs]
    values = [_to_library(v) for v in inputs]
    if len(values) != len(info.inputs):
        raise ValueError("%s takes %d inputs (%s), got %d"
                         % (info.id, len(info.inputs), ", ".join(info.inputs), len(values)))
    return values


@dataclass
class Batch:
    """Results of evaluate_many. With NumPy input, `outputs` is an array
    (rows x outputs), `derivatives` (rows x inputs x outputs) and `statuses`
    (rows); otherwise lists of the same shapes. Failed rows (on_error
    "record") have NaN outputs and their status in `statuses`."""
    correlation: str
    inputs: List[str]
    outputs_ids: List[str]
    outputs: object
    statuses: object
    derivatives: object = None


def evaluate_many(correlation, rows, derivatives=False, on_error="raise"):
    """Evaluates a correlation for every row of `rows` (a sequence of input
    sequences, or a 2-D NumPy array of shape (rows, inputs)).

    on_error "raise" raises TarnError at the first failed row; "record"
    keeps going and reports each row's status."""
    if on_error not in ("raise", "record"):
        raise ValueError("on_error must be 'raise' or 'record'")
    info = describe(correlation)
    n_in, n_out = len(info.inputs), len(info.outputs)
    numpy = _numpy_if_array(rows)
    if numpy is not None:
        matrix = numpy.asarray(rows, dtype=float)
        if matrix.ndim != 2 or matrix.shape[1] != n_in:
            raise ValueError("%s takes %d inputs per row; got an array of shape %s"
                             % (info.id, n_in, matrix.shape))
        matrix = numpy.where(numpy.isnan(matrix), MISSING, matrix)
        flat = [float(v) for v in matrix.ravel()]
        count = matrix.shape[0]
    else:
        rows = list(rows)
        flat = [v for row in rows for v in _input_row(info, row)]
        count = len(rows)
    array_in = (ctypes.c_double * max(count * n_in, 1))(*flat)
    array_out = (ctypes.c_double * max(count * n_out, 1))(*([MISSING] * (count * n_out)))
    array_d = (ctypes.c_double * max(count * n_in * n_out if derivatives else 1, 1))()
    statuses = (ctypes.c_int * max(count, 1))()
    _evaluate_rows(info.index, derivatives, count, n_in, n_out, array_in, array_out, array_d, statuses)
    produced = _output_count(info.index, n_out)
    status_list = [statuses[r] for r in range(count)]
    if on_error == "raise":
        for r, status in enumerate(status_list):
            if status != 0:
                try:
                    _raise(status, "%s row %d" % (info.id, r))
                except TarnError as error:
                    error.row = r
                    raise
    out_rows = [[_from_library(array_out[r * n_out + k]) if status_list[r] == 0 else math.nan
                 for k in range(produced)] for r in range(count)]
    deriv_rows = None
    if derivatives:
        # Each row's block holds n_in x produced derivatives (the outputs
        # really produced set the stride).
        deriv_rows = [[[array_d[r * n_in * n_out + j * produced + k] for k in range(produced)]
                       for j in range(n_in)] for r in range(count)]
    if numpy is not None:
        return Batch(info.id, info.inputs, info.outputs[:produced],
                     numpy.array(out_rows, dtype=float).reshape(count, produced),
                     numpy.array(status_list, dtype=int),
                     None if deriv_rows is None
                     else numpy.array(deriv_rows, dtype=float).reshape(count, n_in, produced))
    return Batch(info.id, info.inputs, info.outputs[:produced], out_rows, status_list, deriv_rows)


def _numpy_if_array(rows):
    """The numpy module when `rows` is a NumPy array, else None."""
    if type(rows).__module__ != "numpy":
        return None
    import numpy
    return numpy


# ---- Parameters and coefficients ----------------------------------------------

def parameters():
    """Every parameter reachable by keyword: (correlation, alias, parameter,
    value) tuples, alias "" where the group has no second keyword."""
    lib = _get()
    count = ctypes.c_int(0)
    lib.gfx_getCorParmsCount(ctypes.byref(count))
    out = []
    for k in range(count.value):
        group, alias, name = (_text(_library.KEYWORD_SIZE) for _ in range(3))
        if lib.gfx_getCorParmsKeywords(k, group, alias, name) != 0:
            continue
        out.append((group.value.decode(), alias.value.decode(), name.value.decode(),
                    lib.gfx_getCorParms(group.value, name.value)))
    return out


def _known_parameter(correlation, parameter):
    wanted = correlation.upper()
    return any((wanted in (group, alias)) and (name in (parameter, "*"))
               for group, alias, name, _ in parameters())


def get_parameter(correlation, parameter):
    """The value of a parameter by keyword (correlation keyword in any case,
    parameter keyword exact). Raises KeyError for an unknown pair."""
    if not _known_parameter(correlation, parameter):
        raise KeyError("unknown parameter %s %s" % (correlation, parameter))
    return _get().gfx_getCorParms(correlation.encode(), parameter.encode())


def set_parameter(correlation, parameter, value):
    """Changes a parameter by keyword. Raises KeyError for an unknown pair and
    ValueError when the library refuses the value."""
    if _get().gfx_setCorParms(correlation.encode(), parameter.encode(), float(value)) == 0:
        return
    if not _known_parameter(correlation, parameter):
        raise KeyError("unknown parameter %s %s" % (correlation, parameter))
    raise ValueError("the library refused %s %s = %r" % (correlation, parameter, value))


def _coefficients(index):
    lib = _get()
    count = ctypes.c_int(0)
    status = lib.gfx_tarnGetCoefCount(index, ctypes.byref(count))
    if status != 0:
        _raise(status)
    out = OrderedDict()
    for k in range(count.value):
        name = _text(_library.COEF_NAME_SIZE)
        value = ctypes.c_double(0.0)
        lib.gfx_tarnGetCoef(index, k, name, ctypes.byref(value))
        out[name.value.decode()] = value.value
    return out


def coefficients(correlation):
    """{name: current value} of a correlation's coefficients, in order."""
    return _coefficients(_index(correlation))


def set_coefficient(correlation, name, value):
    """Changes a coefficient, given by name or position. Returns the value
    the library holds afterwards (integer settings are truncated; some
    coefficients are read-only)."""
    index = _index(correlation)
    names = list(_coefficients(index))
    if isinstance(name, int) and not isinstance(name, bool):
        position = name
    elif name in names:
        position = names.index(name)
    else:
        raise KeyError("%s has no coefficient %r (it has %s)"
                       % (describe(index).id, name, ", ".join(names) or "none"))
    status = _get().gfx_tarnSetCoefValue(index, position, float(value))
    if status != 0:
        _raise(status, describe(index).id)
    return list(_coefficients(index).values())[position]
