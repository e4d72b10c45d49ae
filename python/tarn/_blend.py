"""Blend models from Python: a recipe of components becomes the blended
properties of a gasoline, diesel or jet fuel (values in the recipe's units,
the reason for each figure not computed, the method, and the derivatives with
respect to every component's volume); product grades, and checks of a blend
against them.

Everything is computed by libtarnblend over libtarn; the package only moves
numbers and labels. A recipe is read by the library's own recipe reader, so
a table from pandas follows the rules of a recipe file (column headers with
their units, `RVP[psi]`, `T50[C]`, `SUL[mg/kg]`; a NAME column; a
VOLUME[unit] or MASS[unit] column) and the `tarn` tool reads the same recipe
the same way.
"""

from __future__ import annotations

import ctypes
import math
import numbers
import os
import re
from dataclasses import dataclass, field
from typing import Any, Dict, List, Mapping, Optional, Sequence, Tuple, Union

import numpy
from numpy.typing import NDArray

from . import _catalogue, _library
from ._catalogue import MISSING, TarnError
from ._tables import Frame, pandas_module, table

Floats = NDArray[numpy.float64]
PathLike = Union[str, "os.PathLike[str]"]

_lib: Optional[ctypes.CDLL] = None
_bound_to = ""  # the libtarn file the blend library calls


class BlendError(TarnError):
    """A refusal of the blend library: its status code (negative) and its
    one-line message (for files: "file:line:column: what is wrong")."""

    def __init__(self, status: int, message: str) -> None:
        super().__init__(status, message)
        self.args = (message,)

    def __str__(self) -> str:
        return self.message


def blend_library() -> ctypes.CDLL:
    """libtarnblend, loaded on first use after libtarn has been started (the
    blend library calls the libtarn this process loaded), and looked for
    first beside it."""
    global _lib, _bound_to
    current = _catalogue.library_path()
    if _lib is None:
        _lib = _library.load(_library.TARNBLEND, beside=current)
        _bound_to = current
    elif current != _bound_to:
        # The blend library resolved libtarn once, when it was loaded: its
        # blends would not see the settings of another libtarn.
        raise TarnError(-1, "the blend library calls %s, loaded first; tarn.load(%r) cannot "
                            "change it: use a new process" % (_bound_to, current))
    return _lib


def check(status: int) -> None:
    """Raises BlendError with the library's message for a failed call."""
    if status != 0:
        raise BlendError(status, text(blend_library().tarnblend_last_error()))


def text(value: Optional[bytes]) -> str:
    return "" if value is None else value.decode("utf-8", "replace")


def texts(count: Any, item: Any, *handle: Any) -> List[str]:
    """The strings of one of the library's lists: count(*handle, &n), then
    item(*handle, k, &text) for each k."""
    n, value = ctypes.c_int(), ctypes.c_char_p()
    check(count(*handle, ctypes.byref(n)))
    out = []
    for k in range(n.value):
        check(item(*handle, k, ctypes.byref(value)))
        out.append(text(value.value))
    return out


def figure(value: float) -> float:
    """The library's missing value (or anything not finite) as NaN."""
    return value if -MISSING < value < MISSING else math.nan


def figures(values: Floats) -> Floats:
    out = numpy.array(values, dtype=numpy.float64)
    out[~(numpy.abs(out) < MISSING)] = math.nan
    return out


def _int() -> ctypes.c_int:
    return ctypes.c_int()


def _double() -> ctypes.c_double:
    return ctypes.c_double()


def _string() -> ctypes.c_char_p:
    return ctypes.c_char_p()


_PRODUCTS = {1: "gasoline", 2: "diesel", 3: "jet"}


def product_code(product: Optional[str]) -> int:
    """The library's number of a product kind ("gasoline", "diesel", "jet"
    and their aliases); 0 for None."""
    if product is None:
        return 0
    if not isinstance(product, str):
        raise TypeError("product must be 'gasoline', 'diesel' or 'jet', not %r" % (product,))
    code = _int()
    check(blend_library().tarnblend_product_parse(_catalogue.keyword(product, "product"),
                                                 ctypes.byref(code)))
    return code.value


# ---- Blended properties ----------------------------------------------------------

_STATUSES = {0: "computed", 1: "not computed", 2: "not given"}


@dataclass(frozen=True)
class Blend:
    """The blended properties of one recipe at its volumes.

    `values` are in each property's unit (`units`: the recipe's unit of the
    property, "" for octane and cetane numbers and indices; blended
    temperatures that are not recipe properties use the D86 points' unit),
    NaN where not computed. `statuses` are "computed", "not computed" (the
    `reasons` say why and what to do) or "not given" (an optional figure none
    of whose inputs the recipe has; reports leave it out). `methods` say how
    each figure is computed, `property_notes` remark on a computed value, and
    `notes` on the blend as a whole. `derivatives[k, i]` is the derivative of
    property k with respect to the volume of component i, in the property's
    unit per unit volume (NaN where it cannot be computed).

    `properties` and `jacobian` give the same as tables (DataFrames when
    pandas is installed)."""
    product: str
    components: Tuple[str, ...]
    volumes: Floats
    keys: Tuple[str, ...]
    descriptions: Tuple[str, ...]
    units: Tuple[str, ...]
    sections: Tuple[str, ...]
    values: Floats
    statuses: Tuple[str, ...]
    reasons: Tuple[str, ...]
    methods: Tuple[str, ...]
    property_notes: Tuple[str, ...]
    estimates: Tuple[bool, ...]
    notes: Tuple[str, ...]
    derivatives: Optional[Floats] = None
    as_frame: Optional[bool] = field(default=None, repr=False, compare=False)

    def __getitem__(self, key: str) -> float:
        """The value of blended property `key` (NaN when not computed)."""
        return float(self.values[self._position(key)])

    def _position(self, key: str) -> int:
        wanted = key.upper()
        for k, name in enumerate(self.keys):
            if name.upper() == wanted:
                return k
        raise KeyError("%s: no blended property %s (the %s properties: %s)"
                       % (self.product, key, self.product, ", ".join(self.keys)))

    def reason(self, key: str) -> str:
        """Why property `key` was not computed ("" when it was)."""
        return self.reasons[self._position(key)]

    def to_dict(self) -> Dict[str, float]:
        """{key: value} of every property (NaN when not computed)."""
        return {k: float(v) for k, v in zip(self.keys, self.values)}

    @property
    def properties(self) -> Frame:
        """One row per blended property (indexed by key): description, value,
        unit, status, reason, method, note, section, estimate."""
        return table({"description": self.descriptions, "value": self.values, "unit": self.units,
                      "status": self.statuses, "reason": self.reasons, "method": self.methods,
                      "note": self.property_notes, "section": self.sections,
                      "estimate": numpy.array(self.estimates, dtype=bool)},
                     self.keys, "property", self.as_frame)

    @property
    def jacobian(self) -> Frame:
        """Derivatives of the properties (rows) with respect to the
        components' volumes (columns), in property unit per unit volume."""
        if self.derivatives is None:
            raise ValueError("this blend was computed without derivatives (blend(derivatives=True))")
        return table({name: self.derivatives[:, i] for i, name in enumerate(self.components)},
                     self.keys, "property", self.as_frame)


def read_blend(model: ctypes.c_void_p, derivatives: bool, as_frame: Optional[bool]) -> Blend:
    """The last evaluation of a model, copied out of the library."""
    lib = blend_library()
    count, n = _int(), _int()
    check(lib.tarnblend_model_property_count(model, ctypes.byref(count)))
    check(lib.tarnblend_model_component_count(model, ctypes.byref(n)))
    product = _int()
    check(lib.tarnblend_model_product(model, ctypes.byref(product)))
    names = texts(lib.tarnblend_model_component_count, lib.tarnblend_model_component_name, model)
    volumes, volume = numpy.zeros(n.value), _double()
    for i in range(n.value):
        check(lib.tarnblend_model_volume(model, i, ctypes.byref(volume)))
        volumes[i] = volume.value
    columns: Dict[str, List[Any]] = {c: [] for c in (
        "key", "description", "unit", "section", "value", "status", "reason", "method", "note",
        "estimate")}
    key, description, unit, section = _string(), _string(), _string(), _string()
    reason, method, note = _string(), _string(), _string()
    decimals, flags, status, value = _int(), _int(), _int(), _double()
    for k in range(count.value):
        check(lib.tarnblend_model_property_info(
            model, k, ctypes.byref(key), ctypes.byref(description), ctypes.byref(unit),
            ctypes.byref(section), ctypes.byref(decimals), ctypes.byref(flags)))
        check(lib.tarnblend_model_result(model, k, ctypes.byref(value), ctypes.byref(status),
                                         ctypes.byref(reason), ctypes.byref(method),
                                         ctypes.byref(note)))
        computed = status.value == 0
        for column, item in (("key", key), ("description", description), ("unit", unit),
                             ("section", section), ("reason", reason), ("method", method),
                             ("note", note)):
            columns[column].append(text(item.value))
        columns["value"].append(figure(value.value) if computed else math.nan)
        columns["status"].append(_STATUSES.get(status.value, "not computed"))
        columns["estimate"].append(bool(flags.value & 1))
    jacobian = None
    if derivatives:
        jacobian = numpy.zeros((count.value, n.value))
        check(lib.tarnblend_model_jacobian(model, jacobian.ctypes.data_as(_library.c_double_p),
                                           count.value, n.value))
        jacobian = figures(jacobian)
    notes = texts(lib.tarnblend_model_note_count, lib.tarnblend_model_note, model)
    return Blend(_PRODUCTS.get(product.value, str(product.value)), tuple(names), volumes,
                 tuple(columns["key"]), tuple(columns["description"]), tuple(columns["unit"]),
                 tuple(columns["section"]), numpy.array(columns["value"], dtype=numpy.float64),
                 tuple(columns["status"]), tuple(columns["reason"]), tuple(columns["method"]),
                 tuple(columns["note"]), tuple(columns["estimate"]), tuple(notes), jacobian,
                 as_frame)


# ---- Recipes ------------------------------------------------------------------------

_HEADER_UNIT = re.compile(r"[\[(]")
_POSITION = re.compile(r"^(.*?):(\d+):(\d+): ")


class _TableText:
    """A table of columns written as the recipe file the library reads (CSV),
    with the place of every cell, so that a refusal at line:column can name
    the row and column of the caller's table instead."""

    def __init__(self, columns: Mapping[str, Sequence[Any]], units: Mapping[str, str]) -> None:
        keys = {_HEADER_UNIT.split(str(name))[0].strip().upper() for name in columns}
        stray = [key for key in units if key.upper() not in keys]
        if stray:
            raise KeyError("units given for %s, which the table has no column for (its columns: %s)"
                           % (", ".join(stray), ", ".join(map(str, columns))))
        headers = [self._header(str(name), units) for name in columns]
        lengths = {len(values) for values in columns.values()}
        if len(lengths) > 1:
            raise ValueError("recipe columns differ in length: %s"
                             % ", ".join("%s %d" % (h, len(v)) for h, v in zip(headers,
                                                                             columns.values())))
        count = lengths.pop() if lengths else 0
        self.headers = headers
        self.names: List[str] = []
        self.starts: List[List[int]] = []  # per line: the column (from 1) where each cell starts
        lines = [self._line([self._quote(h) for h in headers])]
        name_column = next((c for c, h in enumerate(headers) if h.strip().upper() in
                            ("NAME", "COMPONENT")), None)
        cells = [list(values) for values in columns.values()]
        for row in range(count):
            fields = []
            for c, header in enumerate(headers):
                value = cells[c][row]
                fields.append(self._quote(self._name(value)) if c == name_column
                              else self._number(value, header, row))
            self.names.append(self._name(cells[name_column][row]) if name_column is not None
                              else "")
            lines.append(self._line(fields))
        self.text = "".join(lines).encode("utf-8")

    def _line(self, fields: List[str]) -> str:
        starts, at = [], 1
        for f in fields:
            starts.append(at)
            at += len(f) + 1
        self.starts.append(starts)
        return ",".join(fields) + "\n"

    @staticmethod
    def _header(name: str, units: Mapping[str, str]) -> str:
        # A unit given for a column written without one goes into its header,
        # where a recipe file writes it.
        key = name.strip()
        if not _HEADER_UNIT.search(key):
            for wanted, unit in units.items():
                if wanted.upper() == key.upper():
                    return "%s[%s]" % (key, unit)
        return key

    @staticmethod
    def _name(value: Any) -> str:
        # A missing name is an empty cell, which the reader refuses by row.
        missing = value is None or _is_na(value) or (isinstance(value, float) and math.isnan(value))
        return "" if missing else str(value)

    @staticmethod
    def _quote(cell: str) -> str:
        return '"' + cell.replace('"', '""') + '"'

    def _number(self, value: Any, header: str, row: int) -> str:
        if value is None or value is numpy.ma.masked or _is_na(value):
            return ""
        if isinstance(value, (str, bytes, bool, numpy.bool_)) or not isinstance(value,
                                                                                 numbers.Real):
            raise TypeError("recipe row %d, column %s: %r is not a number (strings are not numbers; "
                            "convert the column first, e.g. pandas.to_numeric)"
                            % (row, header, value))
        number = float(value)
        if math.isnan(number):
            return ""
        return repr(number) if not number.is_integer() or abs(number) >= 1e16 else str(int(number))

    def place(self, message: str, source: str) -> str:
        """The library's message with line:column turned into the row and
        column of the table."""
        found = _POSITION.match(message)
        if not found or found.group(1) != source:
            return message
        line, column = int(found.group(2)), int(found.group(3))
        if not 1 <= line <= len(self.starts):
            return source + ": " + message[found.end():]
        cell = max([c for c, start in enumerate(self.starts[line - 1]) if start <= column] or [0])
        name = self.names[line - 2] if line > 1 else ""
        where = ("column %s" % self.headers[cell] if line == 1 else
                 "row %d%s, column %s" % (line - 2, " (%s)" % name if name else "", self.headers[cell]))
        return "%s %s: %s" % (source, where, message[found.end():])


def _is_na(value: Any) -> bool:
    # pandas' missing markers (NA, NaT) without importing pandas.
    return type(value).__name__ in ("NAType", "NaTType")


def _columns(source: Any) -> Tuple[Dict[str, Sequence[Any]], bool]:
    """The columns of a DataFrame, a mapping of columns or a structured NumPy
    array, and whether the row labels of a DataFrame name the components."""
    pandas = pandas_module()
    if pandas is not None and isinstance(source, pandas.DataFrame):
        columns = {str(c): source[c].tolist() for c in source.columns}
        named = any(str(c).strip().upper() in ("NAME", "COMPONENT") for c in source.columns)
        if not named and not isinstance(source.index, pandas.RangeIndex):
            columns = {"NAME": [str(label) for label in source.index], **columns}
        return columns, True
    if isinstance(source, numpy.ndarray) and source.dtype.names:
        return {name: source[name].tolist() for name in source.dtype.names}, False
    if isinstance(source, Mapping):
        out: Dict[str, Sequence[Any]] = {}
        for name, values in source.items():
            if isinstance(values, (str, bytes)) or not hasattr(values, "__len__"):
                raise TypeError("recipe column %s must be a sequence of values, not %s"
                                % (name, type(values).__name__))
            out[str(name)] = (values.tolist() if isinstance(values, numpy.ndarray)
                              else list(values))
        return out, False
    raise TypeError("a recipe comes from a file path, a pandas DataFrame, a mapping of columns or "
                    "a structured NumPy array, not %s" % type(source).__name__)


_OPTIONS = ("D86METHOD", "DPURE")


class Recipe:
    """Components with their volumes (or masses) and properties, and the blend
    model built from them.

    `source` is a recipe file (CSV or JSON, as `tarn blend` reads it), a
    pandas DataFrame, a mapping {column: values} or a structured NumPy array.
    A table has a NAME column (or, for a DataFrame, component names as its
    row labels), a VOLUME[unit] or MASS[unit] column (bbl, m3, vol%, t, ...)
    and one column per recipe property with its unit in brackets: `RVP[psi]`,
    `T50[C]`, `SUL[mg/kg]`, `DEN[kg/m3]` (`SPG` and `API` imply theirs).
    `units` gives the unit of table columns written without one
    ({"T50": "C"}); `temperature_unit` ("F" or "C") that of every
    temperature column without one. NaN, None and masked cells are missing;
    other values must be numbers. `product` ("gasoline", "diesel", "jet")
    imposes the product kind; by default it is the recipe's own (a file's
    "# product:" line), else gasoline.

    The blended properties are reported in the recipe's units (the first unit
    each property is given in). A recipe can be pickled (it travels to Dask
    workers); it is not safe to use from two threads at once.
    """

    def __init__(self, source: Any, *, product: Optional[str] = None,
                 units: Optional[Mapping[str, str]] = None,
                 temperature_unit: Optional[str] = None) -> None:
        self._handle = ctypes.c_void_p()
        if isinstance(source, (str, os.PathLike)):
            if units:
                raise TypeError("units apply to a table; a recipe file gives its units in its "
                                "headers (or its \"units\" object)")
            path = os.fspath(source)
            with open(path, "rb") as stream:
                data = stream.read()
            self._parse(data, path, product, temperature_unit, None)
        else:
            columns, _ = _columns(source)
            written = _TableText(columns, dict(units or {}))
            kind = "DataFrame" if type(source).__name__ == "DataFrame" else "recipe table"
            self._parse(written.text, kind, product, temperature_unit, written)

    def _parse(self, data: bytes, source: str, product: Optional[str],
               temperature_unit: Optional[str], written: Optional[_TableText]) -> None:
        lib = blend_library()
        unit = None if temperature_unit is None else _catalogue.keyword(temperature_unit,
                                                                        "temperature_unit")
        self._origin = (data, source, product, temperature_unit)
        status = lib.tarnblend_recipe_parse(data, len(data), source.encode("utf-8"),
                                            product_code(product), unit,
                                            ctypes.byref(self._handle))
        if status != 0:
            message = text(lib.tarnblend_last_error())
            raise BlendError(status, written.place(message, source) if written else message)
        self._model = ctypes.c_void_p()
        check(lib.tarnblend_recipe_model(self._handle, ctypes.byref(self._model)))

    def __del__(self) -> None:
        handle = getattr(self, "_handle", None)
        if handle and _lib is not None:
            _lib.tarnblend_recipe_free(handle)
            self._handle = ctypes.c_void_p()

    # Pickling: the recipe's text, then what was changed since.
    def __reduce__(self) -> Tuple[Any, Tuple[Any, ...]]:
        options = {name: self.option(name) for name in _OPTIONS}
        return (_rebuild, (self._origin, self.product, self.volumes.tolist(), options))

    def copy(self) -> "Recipe":
        """An independent recipe with the same components, volumes, product
        kind and options."""
        rebuilt: Recipe = _rebuild(*self.__reduce__()[1])
        return rebuilt

    @property
    def model_handle(self) -> ctypes.c_void_p:
        """The library's tarnblend_model of this recipe (owned by it)."""
        return self._model

    @property
    def source(self) -> str:
        """The file the recipe was read from, or "DataFrame"/"recipe table"."""
        return str(self._origin[1])

    @property
    def components(self) -> Tuple[str, ...]:
        lib = blend_library()
        return tuple(texts(lib.tarnblend_model_component_count, lib.tarnblend_model_component_name,
                           self._model))

    @property
    def product(self) -> str:
        """The product kind: "gasoline", "diesel" or "jet". Setting it
        changes the list of blended properties."""
        code = _int()
        check(blend_library().tarnblend_model_product(self._model, ctypes.byref(code)))
        return _PRODUCTS[code.value]

    @product.setter
    def product(self, product: str) -> None:
        check(blend_library().tarnblend_model_set_product(self._model, product_code(product)))

    @property
    def quantity_unit(self) -> str:
        """The unit of the recipe's quantities as its VOLUME or MASS column
        writes it ("bbl", "m3", "t", "vol%"; "" when none is written). A
        recipe by mass has volumes of mass / specific gravity (t -> m3)."""
        unit, basis = _string(), _int()
        check(blend_library().tarnblend_recipe_info(self._handle, None, ctypes.byref(basis),
                                                   ctypes.byref(unit), None))
        return text(unit.value)

    @property
    def notes(self) -> Tuple[str, ...]:
        """Remarks of the recipe reader (a product kind imposed against the
        file's ...)."""
        lib = blend_library()
        return tuple(texts(lib.tarnblend_recipe_note_count, lib.tarnblend_recipe_note, self._handle))

    @property
    def volumes(self) -> Floats:
        """Volumes of the components (a copy), in the recipe's volume unit."""
        lib, volume = blend_library(), _double()
        out = []
        for i in range(len(self.components)):
            check(lib.tarnblend_model_volume(self._model, i, ctypes.byref(volume)))
            out.append(volume.value)
        return numpy.array(out)

    @volumes.setter
    def volumes(self, volumes: Union[Sequence[float], Mapping[str, float], Floats]) -> None:
        self.set_volumes(volumes)

    def set_volumes(self, volumes: Union[Sequence[float], Mapping[str, float], Floats]) -> None:
        """Sets every volume (a sequence in component order) or some of them
        ({name: volume}). Nothing changes when a volume is refused (negative,
        not finite, not a number)."""
        names = self.components
        if isinstance(volumes, Mapping):
            unknown = [name for name in volumes if name not in names]
            if unknown:
                raise KeyError("no component %s in the recipe (%s)"
                               % (", ".join(map(repr, unknown)), ", ".join(names)))
            current = self.volumes
            for name, v in volumes.items():
                current[names.index(name)] = _catalogue.real(v, "the volume of %s" % name)
            array = current
        else:
            if isinstance(volumes, (str, bytes)):
                raise TypeError("volumes are numbers, not %s" % type(volumes).__name__)
            array = numpy.asarray(volumes)
            if array.dtype.kind not in "fiu":
                array = numpy.array([_catalogue.real(v, "a volume") for v in array.ravel()])
            array = numpy.ascontiguousarray(array, dtype=numpy.float64)
        if array.shape != (len(names),):
            raise ValueError("%d volumes for %d components" % (array.size, len(names)))
        check(blend_library().tarnblend_model_set_volumes(
            self._model, array.ctypes.data_as(_library.c_double_p), len(names)))

    def option(self, name: str) -> float:
        """A blend-model option: "D86METHOD" (the D86 curve blend's conversion:
        0 HC94, 1 THREEA11, 2 SIXORDER, 3 ETHYLS, 4 none, 5 ETHYLS exact) or
        "DPURE" (degrees F: components boiling within it keep their curves
        through the TBP conversion)."""
        value = _double()
        check(blend_library().tarnblend_model_option(self._model, _catalogue.keyword(name, "option"),
                                                     ctypes.byref(value)))
        return value.value

    def set_option(self, name: str, value: float) -> None:
        """Sets a blend-model option (see `option`)."""
        check(blend_library().tarnblend_model_set_option(
            self._model, _catalogue.keyword(name, "option"), _catalogue.finite(value, name)))

    def blend(self, derivatives: bool = True, as_frame: Optional[bool] = None) -> Blend:
        """The blended properties at the current volumes, with their
        derivatives with respect to the volumes unless `derivatives` is
        False. Figures that cannot be computed are NaN with the reason;
        nothing is raised for them. A recipe whose volumes add up to nothing
        raises BlendError. `as_frame`: tables as DataFrames (True), as
        tarn.Table (False), or DataFrames when pandas is installed (None)."""
        check(blend_library().tarnblend_model_evaluate(self._model, 1 if derivatives else 0))
        return read_blend(self._model, derivatives, as_frame)

    def check(self, grade: Union[str, "os.PathLike[str]", "Grade"], grade_class: Optional[str] = None,
              as_frame: Optional[bool] = None) -> "Check":
        """Checks the blend at the current volumes against a grade: a built-in
        grade's name (`tarn.grades()`) with its class (None for its default),
        a grade file (CSV or JSON), or a Grade. BlendError for a grade of
        another product kind."""
        if not isinstance(grade, Grade):
            grade = Grade(grade, grade_class)
        elif grade_class is not None:
            raise ValueError("grade_class applies to a grade name, not to an opened Grade")
        lib = blend_library()
        failures, unchecked = _int(), _int()
        check(lib.tarnblend_model_check(self._model, grade.handle, ctypes.byref(failures),
                                        ctypes.byref(unchecked)))
        count = _int()
        check(lib.tarnblend_model_check_count(self._model, ctypes.byref(count)))
        property_index, verdict, flags = _int(), _int(), _int()
        low, high, value, margin = _double(), _double(), _double(), _double()
        unit, reason = _string(), _string()
        rows: Dict[str, List[Any]] = {c: [] for c in ("property", "minimum", "maximum", "value",
                                                      "margin", "unit", "verdict", "estimate",
                                                      "reason", "source")}
        limits = grade.limit_rows()
        for k in range(count.value):
            check(lib.tarnblend_model_check_row(
                self._model, k, ctypes.byref(property_index), ctypes.byref(low), ctypes.byref(high),
                ctypes.byref(value), ctypes.byref(margin), ctypes.byref(verdict), ctypes.byref(unit),
                ctypes.byref(reason)))
            checked = verdict.value != 2
            check(lib.tarnblend_model_property_info(
                self._model, property_index.value, None, None, None, None, None,
                ctypes.byref(flags)))
            rows["property"].append(limits[k][0])
            rows["minimum"].append(figure(low.value))
            rows["maximum"].append(figure(high.value))
            rows["value"].append(figure(value.value) if checked else math.nan)
            rows["margin"].append(figure(margin.value) if checked else math.nan)
            rows["unit"].append(text(unit.value))
            rows["verdict"].append({0: "PASS", 1: "FAIL"}.get(verdict.value, "not checked"))
            rows["estimate"].append(checked and bool(flags.value & 1))
            rows["reason"].append(text(reason.value))
            rows["source"].append(limits[k][4])
        return Check(grade.name, grade.grade_class, failures.value, unchecked.value,
                     {c: tuple(v) for c, v in rows.items()}, as_frame)

    def properties_at(self, volumes: Union[Sequence[float], Floats],
                      derivatives: bool = True) -> Tuple[Floats, Optional[Floats]]:
        """The optimiser's call, for a solver of your own: sets the volumes
        (in component order), evaluates, and returns the values of every
        blended property (in the order of `blend().keys`, in their units;
        NaN where not computed) and, with `derivatives`, the properties x
        components matrix of their derivatives with respect to the volumes.
        A refused volume raises BlendError and changes nothing."""
        lib = blend_library()
        array = numpy.ascontiguousarray(volumes, dtype=numpy.float64)
        count = _int()
        check(lib.tarnblend_model_property_count(self._model, ctypes.byref(count)))
        n = array.shape[0] if array.ndim == 1 else -1
        values = numpy.empty(count.value)
        jacobian = numpy.empty((count.value, max(n, 0))) if derivatives else None
        check(lib.tarnblend_model_evaluate_at(
            self._model, array.ctypes.data_as(_library.c_double_p), n,
            values.ctypes.data_as(_library.c_double_p),
            None if jacobian is None else jacobian.ctypes.data_as(_library.c_double_p)))
        return figures(values), None if jacobian is None else figures(jacobian)

    def __repr__(self) -> str:
        return "Recipe(%r, %s, %d components)" % (self.source, self.product, len(self.components))


def _rebuild(origin: Tuple[bytes, str, Optional[str], Optional[str]], product: str,
             volumes: List[float], options: Dict[str, float]) -> Recipe:
    recipe = Recipe.__new__(Recipe)
    recipe._handle = ctypes.c_void_p()
    recipe._parse(origin[0], origin[1], origin[2], origin[3], None)
    recipe.product = product
    recipe.set_volumes(volumes)
    for name, value in options.items():
        recipe.set_option(name, value)
    return recipe


# ---- Grades and checks ---------------------------------------------------------------

class Grade:
    """A product grade: a built-in one by name (case ignored) in a class
    (None for its default class), or a grade file (CSV with the columns
    property, min, max, unit[, source], or JSON). Its limits carry their
    published source."""

    def __init__(self, grade: Union[str, "os.PathLike[str]"], grade_class: Optional[str] = None) -> None:
        lib = blend_library()
        self.handle = ctypes.c_void_p()
        path = os.fspath(grade)
        if os.path.isfile(path):
            if grade_class is not None:
                raise ValueError("a class applies to a built-in grade, not to the grade file %s" % path)
            check(lib.tarnblend_grade_read(path.encode("utf-8"), ctypes.byref(self.handle)))
        else:
            check(lib.tarnblend_grade_open(
                _catalogue.keyword(path, "grade"),
                None if grade_class is None else _catalogue.keyword(grade_class, "grade class"),
                ctypes.byref(self.handle)))
        name, chosen, product = _string(), _string(), _int()
        check(lib.tarnblend_grade_info(self.handle, ctypes.byref(name), ctypes.byref(chosen),
                                       ctypes.byref(product)))
        self.name = text(name.value)
        self.grade_class = text(chosen.value)
        self.product = _PRODUCTS.get(product.value, "any")

    def __del__(self) -> None:
        handle = getattr(self, "handle", None)
        if handle and _lib is not None:
            _lib.tarnblend_grade_free(handle)
            self.handle = ctypes.c_void_p()

    def limit_rows(self) -> List[Tuple[str, float, float, str, str]]:
        """(property, min, max, unit, source) of each limit, NaN when open."""
        lib, count = blend_library(), _int()
        check(lib.tarnblend_grade_limit_count(self.handle, ctypes.byref(count)))
        key, unit, source, low, high = _string(), _string(), _string(), _double(), _double()
        rows = []
        for k in range(count.value):
            check(lib.tarnblend_grade_limit(self.handle, k, ctypes.byref(key), ctypes.byref(low),
                                            ctypes.byref(high), ctypes.byref(unit),
                                            ctypes.byref(source)))
            rows.append((text(key.value), figure(low.value), figure(high.value), text(unit.value),
                         text(source.value)))
        return rows

    def limits(self, as_frame: Optional[bool] = None) -> Frame:
        """The limits as written: property, minimum, maximum (NaN when open),
        unit, source."""
        rows = self.limit_rows()
        names = ("property", "minimum", "maximum", "unit", "source")
        return table({name: [r[c] for r in rows] for c, name in enumerate(names)},
                     range(len(rows)), None, as_frame)

    def __repr__(self) -> str:
        return "Grade(%r%s, %s)" % (self.name, ", class %r" % self.grade_class
                                    if self.grade_class else "", self.product)


@dataclass(frozen=True)
class Check:
    """A blend checked against a grade: per limit the property, the limits
    converted into the property's unit (NaN when open), the value, the margin
    (distance inside the nearest limit, the giveaway; negative when outside;
    NaN when not checked), the unit, the verdict ("PASS", "FAIL" or
    "not checked" with the reason), whether the value checked is an estimate
    (CFPP from the cloud point, T95 from T90 and FBP) and the limit's source."""
    grade: str
    grade_class: str
    failures: int
    unchecked: int
    rows: Mapping[str, Tuple[Any, ...]] = field(repr=False)
    as_frame: Optional[bool] = field(default=None, repr=False, compare=False)

    @property
    def on_spec(self) -> bool:
        """No limit failed (limits not checked are counted in `unchecked`)."""
        return self.failures == 0

    @property
    def table(self) -> Frame:
        """One row per limit of the grade, in its order."""
        return table(dict(self.rows), range(len(self.rows["property"])), None, self.as_frame)


def grades(as_frame: Optional[bool] = None) -> Frame:
    """The built-in grades (indexed by name): title, product kind, classes
    (comma-separated, "" when none) and the default class."""
    lib, count = blend_library(), _int()
    check(lib.tarnblend_grade_count(ctypes.byref(count)))
    name, title, classes, default = _string(), _string(), _string(), _string()
    product = _int()
    rows: Dict[str, List[str]] = {c: [] for c in ("title", "product", "classes", "default_class")}
    names = []
    for k in range(count.value):
        check(lib.tarnblend_grade_builtin(k, ctypes.byref(name), ctypes.byref(title),
                                          ctypes.byref(product), ctypes.byref(classes),
                                          ctypes.byref(default)))
        names.append(text(name.value))
        rows["title"].append(text(title.value))
        rows["product"].append(_PRODUCTS.get(product.value, "any"))
        rows["classes"].append(text(classes.value))
        rows["default_class"].append(text(default.value))
    return table(rows, names, "grade", as_frame)
