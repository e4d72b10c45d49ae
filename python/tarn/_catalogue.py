"""The started library, its status codes as exceptions, the catalogue of
correlations, parameters and coefficients.

Descriptions are read from the library once and kept; every change made
through this package (a parameter, a coefficient, a reset, a new load) drops
them, since coefficient values and the number of outputs some correlations
produce follow those settings. Changes made to the library behind the
package's back (another binding in the same process) are not seen until
`forget()` is called.
"""

from __future__ import annotations

import ctypes
import math
import numbers
from dataclasses import dataclass
from types import MappingProxyType
from typing import Any, Callable, Dict, List, Mapping, Optional, Tuple, Union

from . import _library

MISSING = 1e30

# Longest keyword the library matches (tarn/corparms.h).
_KEYWORD_LIMIT = 79


class TarnError(Exception):
    """A non-zero status of the library, with the library's message."""

    def __init__(self, status: int, message: str, correlation: Optional[str] = None,
                 row: Optional[int] = None) -> None:
        self.status = status
        self.message = message
        self.correlation = correlation
        self.row = row
        where = correlation or ""
        if row is not None:
            where += " row %d" % row
        super().__init__("%sstatus %d: %s" % (where + ": " if where else "", status, message))


class UndefinedResult(TarnError):
    """Status 1: the correlation has no result for these inputs."""


_lib: Optional[ctypes.CDLL] = None
_forgetters: List[Callable[[], None]] = []


def load(path: Optional[str] = None) -> ctypes.CDLL:
    """Loads and starts libtarn (again, when `path` names another one).

    Without a path it is found through $TARN_LIBRARY, beside the package
    (installed with the library by cmake --install), in the build tree of
    this source checkout, then on the system's library path."""
    global _lib
    library = _library.load(_library.TARN, path)
    status = library.gfx_tarnInitializeAllocate(None)
    if status != 0:
        raise TarnError(status, message(status, library))
    _lib = library
    forget()
    return library


def library() -> ctypes.CDLL:
    """The started library, loaded on first use."""
    return _lib if _lib is not None else load()


def library_path() -> str:
    """The file the library was loaded from."""
    return str(getattr(library(), "tarn_path"))


def version() -> str:
    """The library's release version."""
    return str(library().tarn_GetVersion().decode("ascii"))


def on_forget(callback: Callable[[], None]) -> None:
    """Registers a cache to drop whenever the library's settings change."""
    _forgetters.append(callback)


def forget() -> None:
    """Drops every description and evaluation plan kept for speed. The
    package calls it after each change it makes; call it after changing the
    library by other means."""
    _describe_cache.clear()
    for callback in _forgetters:
        callback()


def reset() -> None:
    """Returns every parameter and coefficient to its start-up default."""
    lib = library()
    lib.TARNReset()
    lib.gfx_tarnInitializeCoefs()
    forget()


def message(status: int, lib: Optional[ctypes.CDLL] = None) -> str:
    """The library's message for a status code; for a code it has no text for,
    what is known: an undefined result for 1, else the bare code."""
    buffer = ctypes.create_string_buffer(_library.MESSAGE_SIZE)
    if (lib or library()).gfx_tarnGetErrorMsg(status, buffer) == 0:
        return buffer.value.decode("ascii", "replace")
    if status == 1:
        return "no result for these inputs"
    return "status %d (the library has no message for it)" % status


def error(status: int, correlation: Optional[str] = None, row: Optional[int] = None) -> TarnError:
    """The exception for a non-zero status."""
    kind = UndefinedResult if status == 1 else TarnError
    return kind(status, message(status), correlation, row)


# ---- Values the package passes on ----------------------------------------------

def real(value: Any, what: str) -> float:
    """`value` as a float. Numbers only: a string, bytes or a bool is refused
    even where it would convert, since a figure typed as text is a mistake."""
    if isinstance(value, (str, bytes, bool)) or not isinstance(value, numbers.Real):
        raise TypeError("%s must be a number, not %s %r" % (what, type(value).__name__, value))
    return float(value)


def finite(value: Any, what: str) -> float:
    """A setting's value: a finite number (the command-line tool refuses NaN
    and infinities the same way; 1e30 is the library's missing value)."""
    number = real(value, what)
    if not math.isfinite(number):
        raise ValueError("%s must be finite, not %r" % (what, number))
    return number


def keyword(text: Any, what: str) -> bytes:
    """A keyword as the library reads it: printable ASCII, 1 to 79 characters.
    A NUL would cut it short and a longer one could never match."""
    if not isinstance(text, str):
        raise TypeError("%s must be a str, not %s" % (what, type(text).__name__))
    if not text or len(text) > _KEYWORD_LIMIT or not (text.isascii() and text.isprintable()):
        raise ValueError("%s %r: a keyword is 1 to %d printable ASCII characters"
                         % (what, text, _KEYWORD_LIMIT))
    return text.encode("ascii")


# ---- Catalogue --------------------------------------------------------------------

_TYPE_NAMES = {-7: "general", -6: "distillation index", -5: "index to property",
               -4: "property to index"}


@dataclass(frozen=True)
class Correlation:
    """What the catalogue says about one correlation: property ids of its
    inputs and outputs in order, output kind codes (None where there is
    none), the index of its inverse, trailing slack inputs and the current
    values of its coefficients. Outputs are the catalogue's; a correlation
    with a configured output count produces the first ones only."""
    index: int
    id: str
    description: str
    type: int
    inputs: Tuple[str, ...]
    outputs: Tuple[str, ...]
    kinds: Tuple[Optional[int], ...]
    pair: Optional[int]
    slack_count: int
    coefficients: Mapping[str, float]

    @property
    def type_name(self) -> str:
        return _TYPE_NAMES.get(self.type, "type %d" % self.type)


_describe_cache: Dict[int, Correlation] = {}


def _text(size: int) -> Any:
    return ctypes.create_string_buffer(size)


def _count(function: Any, index: int) -> int:
    count = ctypes.c_int(0)
    status = function(index, ctypes.byref(count))
    if status != 0:
        raise error(status)
    return count.value


def correlation_count() -> int:
    count = ctypes.c_int(0)
    library().gfx_tarnGetCorrelationCount(ctypes.byref(count))
    return count.value


def _read_description(index: int) -> Correlation:
    lib = library()
    text = _text(_library.DESC_SIZE)
    status = lib.gfx_tarnGetCorrelationId(index, text)
    if status != 0:
        raise error(status, str(index))
    ident = text.value.decode("ascii")
    lib.gfx_tarnGetCorrelationDesc(index, text)
    description = text.value.decode("ascii")
    kind_type = ctypes.c_int(0)
    lib.gfx_tarnGetCorrelationType(index, ctypes.byref(kind_type))

    def names(count_function: Any, id_function: Any) -> Tuple[str, ...]:
        out = []
        for k in range(_count(count_function, index)):
            buffer = _text(_library.PROPERTY_ID_SIZE)
            id_function(index, k, buffer)
            out.append(buffer.value.decode("ascii"))
        return tuple(out)

    inputs = names(lib.gfx_tarnGetCorrelationInpPropCount, lib.gfx_tarnGetCorrelationInpPropId)
    outputs = names(lib.gfx_tarnGetCorrelationOutPropCount, lib.gfx_tarnGetCorrelationOutPropId)
    kinds: List[Optional[int]] = []
    for k in range(len(outputs)):
        # The kind query leaves the value alone where the catalogue has none.
        kind = ctypes.c_int(-(2 ** 31))
        lib.gfx_tarnGetCorrelationOutPropType(index, k, ctypes.byref(kind))
        kinds.append(None if kind.value == -(2 ** 31) else kind.value)
    pair = ctypes.c_int(0)
    pair_value = pair.value if lib.gfx_tarnGetIndexPair(index, ctypes.byref(pair)) == 0 else None
    slack = ctypes.c_int(0)
    lib.gfx_tarnGetCorrelationSlackCount(index, ctypes.byref(slack))
    return Correlation(index, ident, description, kind_type.value, inputs, outputs, tuple(kinds),
                       pair_value, slack.value, MappingProxyType(_read_coefficients(index)))


def _describe_index(index: int) -> Correlation:
    found = _describe_cache.get(index)
    if found is None:
        found = _describe_cache[index] = _read_description(index)
    return found


def correlations() -> List[Correlation]:
    """Every correlation of the catalogue, in index order."""
    return [_describe_index(i) for i in range(correlation_count())]


CorrelationKey = Union[int, str, Correlation]


def index_of(correlation: CorrelationKey) -> int:
    """The index of a correlation given by index, identifier (any case) or
    Correlation."""
    if isinstance(correlation, Correlation):
        return correlation.index
    if isinstance(correlation, numbers.Integral) and not isinstance(correlation, bool):
        index = int(correlation)
        if 0 <= index < correlation_count():
            return index
        raise error(-4, str(index))
    if not isinstance(correlation, str):
        raise TypeError("a correlation is an index, an identifier or a Correlation, not %s"
                        % type(correlation).__name__)
    wanted = correlation.upper()
    for candidate in correlations():
        if candidate.id == wanted:
            return candidate.index
    raise KeyError("unknown correlation %r" % (correlation,))


def describe(correlation: CorrelationKey) -> Correlation:
    """Everything the catalogue says about one correlation."""
    return _describe_index(index_of(correlation))


def produced_outputs(index: int, catalogue_count: int) -> int:
    """Outputs really produced: some correlations have a configured count."""
    actual = library().tarn_GetActualNumberOutput(index)
    return int(actual) if 0 < actual <= catalogue_count else catalogue_count


# ---- Parameters and coefficients ------------------------------------------------

def parameters() -> List[Tuple[str, str, str, float]]:
    """Every parameter reachable by keyword: (correlation, alias, parameter,
    value) tuples, alias "" where the group has no second keyword."""
    lib = library()
    count = ctypes.c_int(0)
    lib.gfx_getCorParmsCount(ctypes.byref(count))
    out = []
    for k in range(count.value):
        group, alias, name = (_text(_library.KEYWORD_SIZE) for _ in range(3))
        if lib.gfx_getCorParmsKeywords(k, group, alias, name) != 0:
            continue
        out.append((group.value.decode("ascii"), alias.value.decode("ascii"),
                    name.value.decode("ascii"), float(lib.gfx_getCorParms(group.value, name.value))))
    return out


def _known_parameter(correlation: str, parameter: str) -> bool:
    wanted = correlation.upper()
    return any((wanted in (group, alias)) and (name in (parameter, "*"))
               for group, alias, name, _ in parameters())


def get_parameter(correlation: str, parameter: str) -> float:
    """The value of a parameter by keyword (correlation keyword in any case,
    parameter keyword exact). Raises KeyError for an unknown pair."""
    group, name = keyword(correlation, "correlation keyword"), keyword(parameter, "parameter keyword")
    if not _known_parameter(correlation, parameter):
        raise KeyError("unknown parameter %s %s" % (correlation, parameter))
    return float(library().gfx_getCorParms(group, name))


def set_parameter(correlation: str, parameter: str, value: float) -> None:
    """Changes a parameter by keyword. Raises KeyError for an unknown pair,
    ValueError for a value that is not finite or that the library refuses."""
    group, name = keyword(correlation, "correlation keyword"), keyword(parameter, "parameter keyword")
    number = finite(value, "%s %s" % (correlation, parameter))
    status = library().gfx_setCorParms(group, name, number)
    forget()  # a refused store may still have reset its group (T20GAUSSIAN)
    if status == 0:
        return
    if not _known_parameter(correlation, parameter):
        raise KeyError("unknown parameter %s %s" % (correlation, parameter))
    raise ValueError("the library refused %s %s = %r" % (correlation, parameter, value))


def _read_coefficients(index: int) -> Dict[str, float]:
    lib = library()
    out: Dict[str, float] = {}
    for k in range(_count(lib.gfx_tarnGetCoefCount, index)):
        name = _text(_library.COEF_NAME_SIZE)
        value = ctypes.c_double(0.0)
        lib.gfx_tarnGetCoef(index, k, name, ctypes.byref(value))
        out[name.value.decode("ascii")] = value.value
    return out


def coefficients(correlation: CorrelationKey) -> Mapping[str, float]:
    """{name: current value} of a correlation's coefficients, in order."""
    return describe(correlation).coefficients


def set_coefficient(correlation: CorrelationKey, name: Union[str, int], value: float) -> float:
    """Changes a coefficient, given by name or position. Returns the value
    the library holds afterwards (integer settings are truncated; some
    coefficients are read-only). The value must be finite."""
    info = describe(correlation)
    names = list(info.coefficients)
    if isinstance(name, numbers.Integral) and not isinstance(name, bool):
        position = int(name)
    elif isinstance(name, str) and name in names:
        position = names.index(name)
    else:
        raise KeyError("%s has no coefficient %r (it has %s)"
                       % (info.id, name, ", ".join(names) or "none"))
    number = finite(value, "%s %s" % (info.id, name))
    status = library().gfx_tarnSetCoefValue(info.index, position, number)
    forget()
    if status != 0:
        raise error(status, info.id)
    return list(describe(info.index).coefficients.values())[position]
