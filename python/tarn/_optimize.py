"""The blend optimiser from Python: least-cost or greatest-margin recipes of
one or more products from shared components, back-solving (a property held
at a target), shadow prices, and for a problem no recipe can meet, the least
relaxation of each limit that would make it feasible.

A problem is written as the optimiser's problem files are (JSON, see the
README): a dict, or the path of a file. libtarnblend solves it with IPOPT on
the blend models' exact derivatives; the package reads the answer out.
"""

from __future__ import annotations

import ctypes
import json
import math
import os
from dataclasses import dataclass, field
from typing import Any, Dict, List, Mapping, Optional, Tuple, Union

import numpy
from numpy.typing import NDArray

from . import _library
from ._blend import Blend, BlendError, Recipe, blend_library, check, figure, read_blend, text, texts
from ._tables import Frame, table

Floats = NDArray[numpy.float64]

_OUTCOMES = {0: "optimal", 1: "infeasible", 2: "not solved", 3: "feasible"}
_OBJECTIVES = {1: "least cost", 2: "greatest margin", 3: "least change"}
_SIDES = {0: "", 1: "min", 2: "max", 3: "target"}
_PRODUCTS = {1: "gasoline", 2: "diesel", 3: "jet"}


def _json_value(value: Any) -> Any:
    # NumPy numbers and arrays in a problem written from Python.
    if isinstance(value, numpy.generic):
        return value.item()
    if isinstance(value, numpy.ndarray):
        return value.tolist()
    raise TypeError("a problem holds numbers, text, lists and dicts, not %s" % type(value).__name__)


@dataclass(frozen=True)
class Optimum:
    """The answer to a blending problem.

    `outcome` is "optimal" (the solver's optimum), "feasible" (a recipe
    meeting every limit, not proven optimal: no shadow prices), "infeasible"
    (no recipe meets every limit: the recipe is the least-relaxed one and
    `relaxations` say what to relax) or "not solved" (`solver_status` says
    why; no recipe). `objective` is the cost or margin in `currency` (for
    least change, the sum of squared changes relative to the total volume),
    NaN unless optimal or feasible.

    Tables (DataFrames when pandas is installed):
    - `recipe`: volume of each component (rows) in each product (columns),
      in `volume_unit`;
    - `limits`: per product and limit, the minimum and maximum in the
      property's recipe unit, the value, the margin (negative outside), the
      side that binds and its shadow price (change of the objective per unit
      the binding bound moves up, currency per property unit; 0 when free);
    - `products`: volume, revenue, cost and the marginal value of the demand;
    - `components`: total volume used, its cost, the bound of availability
      that binds and its marginal value (currency per unit volume);
    - `relaxations`: for an infeasible problem, per limit the relaxation in
      the least-relaxed recipe (`together`) and the least relaxation of that
      limit alone that makes the problem feasible (`alone`, NaN when it alone
      cannot);
    - `properties`: every blended property of each product (rows) by
      product (columns).
    `blends[product]` is the product's full Blend (units, reasons, methods,
    derivatives with respect to its component volumes)."""
    outcome: str
    solver_status: str
    summary: str
    iterations: int
    objective: float
    objective_kind: str
    volume_unit: str
    currency: str
    component_names: Tuple[str, ...]
    product_names: Tuple[str, ...]
    volumes: Floats  # components x products
    blends: Mapping[str, Blend]
    notes: Tuple[str, ...]
    limit_rows: Mapping[str, Tuple[Any, ...]] = field(repr=False)
    product_rows: Mapping[str, Tuple[Any, ...]] = field(repr=False)
    component_rows: Mapping[str, Tuple[Any, ...]] = field(repr=False)
    relaxation_rows: Mapping[str, Tuple[Any, ...]] = field(repr=False)
    as_frame: Optional[bool] = field(default=None, repr=False, compare=False)

    @property
    def solved(self) -> bool:
        """A recipe meeting every limit was found (optimal or feasible)."""
        return self.outcome in ("optimal", "feasible")

    @property
    def recipe(self) -> Frame:
        return table({p: self.volumes[:, k] for k, p in enumerate(self.product_names)},
                     self.component_names, "component", self.as_frame)

    @property
    def limits(self) -> Frame:
        return table(dict(self.limit_rows), range(len(self.limit_rows["product"])), None,
                     self.as_frame)

    @property
    def products(self) -> Frame:
        return table(dict(self.product_rows), self.product_names, "product", self.as_frame)

    @property
    def components(self) -> Frame:
        return table(dict(self.component_rows), self.component_names, "component", self.as_frame)

    @property
    def relaxations(self) -> Frame:
        return table(dict(self.relaxation_rows), range(len(self.relaxation_rows["product"])),
                     None, self.as_frame)

    @property
    def properties(self) -> Frame:
        keys: List[str] = []
        for blend in self.blends.values():
            keys += [k for k in blend.keys if k not in keys]
        columns = {}
        for name, blend in self.blends.items():
            values = blend.to_dict()
            columns[name] = [values.get(k, math.nan) for k in keys]
        return table(columns, keys, "property", self.as_frame)

    def row(self) -> Dict[str, Any]:
        """The answer as one flat row, for collecting many cases in one
        table: outcome, objective, iterations, summary, then
        "volume:product:component" for every volume and
        "shadow:product:property" for the shadow price of every limit (0
        where it does not bind; a second limit on the same property gets
        ":2")."""
        out: Dict[str, Any] = {"outcome": self.outcome, "objective": self.objective,
                               "iterations": self.iterations, "summary": self.summary}
        for k, product in enumerate(self.product_names):
            for i, component in enumerate(self.component_names):
                out["volume:%s:%s" % (product, component)] = float(self.volumes[i, k])
        rows = self.limit_rows
        for r in range(len(rows["product"])):
            key = "shadow:%s:%s" % (rows["product"][r], rows["property"][r])
            repeat = 2
            while key + (":%d" % repeat if repeat > 2 else "") in out:
                repeat += 1
            out[key + (":%d" % repeat if repeat > 2 else "")] = rows["shadow_price"][r]
        return out


def optimize(problem: Union[Mapping[str, Any], str, "os.PathLike[str]"],
             recipe: Optional[Recipe] = None, as_frame: Optional[bool] = None) -> Optimum:
    """Solves a blending problem and returns its Optimum.

    `problem` is a dict in the problem-file format ({"components": [...],
    "products": [...], "objective": ...}; files it names are found relative
    to the working folder) or the path of a problem file (files it names
    are found relative to it). `recipe` gives the components' properties
    (else the problem's "recipe" file or its components' "properties").
    Raises BlendError for a problem that cannot be posed (no product, a
    missing cost, an unknown property ...); an infeasible problem is not an
    error: its outcome says so and its relaxations say what to relax."""
    lib = blend_library()
    handle = ctypes.c_void_p()
    model = recipe.model_handle if recipe is not None else None
    if isinstance(problem, Mapping):
        data = json.dumps(problem, allow_nan=False, default=_json_value).encode("utf-8")
        check(lib.tarnblend_problem_parse(data, b"problem", model, ctypes.byref(handle)))
    elif isinstance(problem, (str, os.PathLike)):
        path = os.fspath(problem)
        if not os.path.isfile(path):
            raise FileNotFoundError("no problem file %s" % path)
        check(lib.tarnblend_problem_read(path.encode("utf-8"), model, ctypes.byref(handle)))
    else:
        raise TypeError("a problem is a dict in the problem-file format or a file path, not %s"
                        % type(problem).__name__)
    try:
        check(lib.tarnblend_problem_solve(handle, None))
        return _read(handle, as_frame)
    finally:
        lib.tarnblend_problem_free(handle)


def _count(function: Any, *arguments: Any) -> int:
    count = ctypes.c_int()
    check(function(*arguments, ctypes.byref(count)))
    return count.value


def _freeze(rows: Dict[str, List[Any]]) -> Dict[str, Tuple[Any, ...]]:
    return {c: tuple(v) for c, v in rows.items()}


def _read(handle: ctypes.c_void_p, as_frame: Optional[bool]) -> Optimum:
    lib = blend_library()
    outcome, iterations, objective_kind = ctypes.c_int(), ctypes.c_int(), ctypes.c_int()
    status, summary, unit, currency = (ctypes.c_char_p() for _ in range(4))
    objective = ctypes.c_double()
    check(lib.tarnblend_problem_solution(handle, ctypes.byref(outcome), ctypes.byref(status),
                                         ctypes.byref(summary), ctypes.byref(iterations),
                                         ctypes.byref(objective)))
    check(lib.tarnblend_problem_objective(handle, ctypes.byref(objective_kind)))
    check(lib.tarnblend_problem_units(handle, ctypes.byref(unit), ctypes.byref(currency)))
    has_recipe = outcome.value != 2
    n = _count(lib.tarnblend_problem_component_count, handle)
    m = _count(lib.tarnblend_problem_product_count, handle)
    name = ctypes.c_char_p()
    components = texts(lib.tarnblend_problem_component_count, lib.tarnblend_problem_component_name,
                       handle)
    products, blends = [], {}
    volumes = numpy.full((n, m), math.nan)
    limits: Dict[str, List[Any]] = {c: [] for c in (
        "product", "property", "minimum", "maximum", "value", "margin", "binding", "shadow_price",
        "unit", "source")}
    product_rows: Dict[str, List[Any]] = {c: [] for c in (
        "kind", "grade", "grade_class", "volume", "revenue", "cost", "demand_value",
        "demand_binding")}
    d = [ctypes.c_double() for _ in range(5)]
    i1, i2 = ctypes.c_int(), ctypes.c_int()
    s = [ctypes.c_char_p() for _ in range(3)]
    keys_by_product: List[List[str]] = []
    for p in range(m):
        check(lib.tarnblend_problem_product_info(handle, p, ctypes.byref(name), ctypes.byref(i1),
                                                 ctypes.byref(s[0]), ctypes.byref(s[1])))
        product = text(name.value)
        products.append(product)
        product_rows["kind"].append(_PRODUCTS.get(i1.value, ""))
        product_rows["grade"].append(text(s[0].value))
        product_rows["grade_class"].append(text(s[1].value))
        if has_recipe:
            column = numpy.zeros(n)
            check(lib.tarnblend_problem_volumes(handle, p, column.ctypes.data_as(_library.c_double_p),
                                                n))
            volumes[:, p] = column
            check(lib.tarnblend_problem_product_result(handle, p, *(ctypes.byref(x) for x in d[:4]),
                                                       ctypes.byref(i1)))
            model = ctypes.c_void_p()
            check(lib.tarnblend_problem_model(handle, p, ctypes.byref(model)))
            blends[product] = read_blend(model, True, as_frame)
        for c, x in zip(("volume", "revenue", "cost", "demand_value"), d[:4]):
            product_rows[c].append(x.value if has_recipe else math.nan)
        product_rows["demand_binding"].append(_SIDES.get(i1.value, "") if has_recipe else "")
        keys: List[str] = []
        for k in range(_count(lib.tarnblend_problem_limit_count, handle, p)):
            check(lib.tarnblend_problem_limit(
                handle, p, k, ctypes.byref(s[0]), ctypes.byref(i1), ctypes.byref(d[0]),
                ctypes.byref(d[1]), ctypes.byref(d[2]), ctypes.byref(d[3]), ctypes.byref(i2),
                ctypes.byref(d[4]), ctypes.byref(s[1]), ctypes.byref(s[2])))
            keys.append(text(s[0].value))
            limits["product"].append(product)
            limits["property"].append(keys[-1])
            for c, x in zip(("minimum", "maximum"), d[:2]):
                limits[c].append(figure(x.value))
            for c, x in zip(("value", "margin", "shadow_price"), (d[2], d[3], d[4])):
                limits[c].append(figure(x.value) if has_recipe else math.nan)
            limits["binding"].append(_SIDES.get(i2.value, "") if has_recipe else "")
            limits["unit"].append(text(s[1].value))
            limits["source"].append(text(s[2].value))
        keys_by_product.append(keys)
    component_rows: Dict[str, List[Any]] = {c: [] for c in (
        "volume", "cost", "availability_value", "availability_binding")}
    for i in range(n):
        if has_recipe:
            check(lib.tarnblend_problem_component_result(handle, i, *(ctypes.byref(x) for x in d[:3]),
                                                         ctypes.byref(i1)))
        for c, x in zip(("volume", "cost", "availability_value"), d[:3]):
            component_rows[c].append(figure(x.value) if has_recipe else math.nan)
        component_rows["availability_binding"].append(_SIDES.get(i1.value, "") if has_recipe else "")
    relaxations: Dict[str, List[Any]] = {c: [] for c in (
        "product", "property", "side", "together", "alone", "unit")}
    for k in range(_count(lib.tarnblend_problem_relaxation_count, handle)):
        p_index = ctypes.c_int()
        check(lib.tarnblend_problem_relaxation(handle, k, ctypes.byref(p_index), ctypes.byref(i1),
                                               ctypes.byref(i2), ctypes.byref(d[0]),
                                               ctypes.byref(d[1])))
        first = sum(len(keys) for keys in keys_by_product[:p_index.value])
        relaxations["product"].append(products[p_index.value])
        relaxations["property"].append(keys_by_product[p_index.value][i1.value])
        relaxations["side"].append(_SIDES.get(i2.value, ""))
        relaxations["together"].append(figure(d[0].value))
        relaxations["alone"].append(figure(d[1].value))
        relaxations["unit"].append(limits["unit"][first + i1.value])
    notes = texts(lib.tarnblend_problem_note_count, lib.tarnblend_problem_note, handle)
    return Optimum(_OUTCOMES.get(outcome.value, "not solved"), text(status.value),
                   text(summary.value), iterations.value, figure(objective.value),
                   _OBJECTIVES.get(objective_kind.value, ""), text(unit.value),
                   text(currency.value), tuple(components), tuple(products), volumes, blends,
                   tuple(notes), _freeze(limits), _freeze(product_rows), _freeze(component_rows),
                   _freeze(relaxations), as_frame)


__all__ = ["Optimum", "optimize", "BlendError"]
