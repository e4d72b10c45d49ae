"""Scenario sweeps on Dask: evaluation rows of a Dask DataFrame, or lists of
cases (optimisation problems, blend scenarios), spread over worker processes.

libtarn's state (parameters, coefficients, emission models) is process-wide,
so the unit of parallel work is a process: every worker process loads its own
libtarn and libtarnblend on first use, and within a process the helpers run
one task at a time (a lock), so a worker with several threads is safe but
gains nothing: give workers one thread each (`local_cluster` does). Each task
starts from the library's defaults (`tarn.reset()`) and then runs `setup`, a
picklable callable of no arguments that makes the settings the sweep needs
(`functools.partial(tarn.set_parameter, "TVL", "P1", 1.0)`), so no task sees
another's settings.

Needs Dask (Debian: python3-dask, python3-distributed) and pandas
(python3-pandas). Without a client the cases run here, one after another:
the single-machine reference.
"""

from __future__ import annotations

import importlib
import math
import threading
from typing import Any, Callable, Dict, Iterable, List, Mapping, Optional, Sequence, TypeVar, Union

import numpy

from . import _catalogue, _evaluation
from ._blend import BlendError, Recipe
from ._optimize import optimize
from ._tables import pandas_module


def _module(name: str) -> Any:
    try:
        return importlib.import_module(name)
    except ImportError:
        raise ImportError("tarn.dask needs %s (Debian: apt-get install python3-dask python3-distributed "
                          "python3-pandas)" % name) from None


_module("dask")
_pandas = pandas_module(required=True)

Setup = Optional[Callable[[], Any]]
Case = TypeVar("Case")
Result = TypeVar("Result")

# One task at a time per process: the library's state is the process's.
_process_lock = threading.Lock()


def _fresh(setup: Setup) -> None:
    _catalogue.reset()
    if setup is not None:
        setup()


def local_cluster(n_workers: int = 2, **options: Any) -> Any:
    """A distributed.LocalCluster of `n_workers` worker processes with one
    thread each (what the library's process-wide state wants). Other options
    go to LocalCluster."""
    distributed = _module("distributed")
    options.setdefault("processes", True)
    options.setdefault("threads_per_worker", 1)
    return distributed.LocalCluster(n_workers=n_workers, **options)


def _client(client: Any) -> Any:
    """The client given, else the current one, else None (run here)."""
    if client is not None:
        return client
    try:
        return importlib.import_module("distributed").default_client()
    except (ImportError, ValueError):  # no distributed, or no client started
        return None


# ---- Cases ---------------------------------------------------------------------------

def _run_batch(function: Callable[[Any], Any], batch: List[Any], setup: Setup) -> List[Any]:
    with _process_lock:
        _fresh(setup)
        return [function(case) for case in batch]


def map_cases(function: Callable[[Case], Result], cases: Iterable[Case], client: Any = None,
              setup: Setup = None, batch_size: Optional[int] = None) -> List[Result]:
    """`[function(case) for case in cases]`, the cases spread over the
    client's worker processes in batches (by default about four per worker),
    results in the order of the cases. `function` and the cases must pickle
    (a module-level function; Recipes pickle). Without a client (and no
    current one) the cases run in this process, one after another."""
    items = list(cases)
    client = _client(client)
    if client is None or not items:
        return _run_batch(function, items, setup)
    workers = max(1, len(client.scheduler_info().get("workers", {})))
    size = batch_size or max(1, math.ceil(len(items) / (4 * workers)))
    batches = [items[k:k + size] for k in range(0, len(items), size)]
    futures = client.map(_run_batch, [function] * len(batches), batches, [setup] * len(batches),
                         pure=False)
    out: List[Result] = []
    for part in client.gather(futures):
        out.extend(part)
    return out


class _Optimise:
    """One optimisation case as a row (picklable: the recipe travels with it)."""

    def __init__(self, recipe: Optional[Recipe]) -> None:
        self.recipe = recipe

    def __call__(self, problem: Any) -> Dict[str, Any]:
        try:
            return optimize(problem, self.recipe, as_frame=False).row()
        except BlendError as refused:
            return {"outcome": "refused", "objective": math.nan, "iterations": 0,
                    "summary": str(refused)}


def optimize_cases(cases: Sequence[Any], recipe: Optional[Recipe] = None, client: Any = None,
                   setup: Setup = None, batch_size: Optional[int] = None) -> Any:
    """Solves every problem of `cases` (dicts in the problem-file format, or
    paths) with `tarn.optimize`, on the client's worker processes, and
    collects the answers in one DataFrame, a row per case (in order): outcome,
    objective, iterations, summary, the volume of each component in each
    product ("volume:product:component") and the shadow price of each limit
    ("shadow:product:property", 0 where it does not bind; see
    Optimum.row). A
    case the optimiser refuses (no product, a missing cost ...) is a row with
    outcome "refused" and the reason as its summary."""
    rows = map_cases(_Optimise(recipe), cases, client, setup, batch_size)
    return _pandas.DataFrame(rows)


class _Blend:
    def __init__(self, recipe: Recipe) -> None:
        self.recipe = recipe

    def __call__(self, volumes: Any) -> Dict[str, float]:
        self.recipe.set_volumes(volumes)
        return self.recipe.blend(derivatives=False, as_frame=False).to_dict()


def blend_cases(recipe: Recipe, volumes: Sequence[Union[Sequence[float], Mapping[str, float]]],
                client: Any = None, setup: Setup = None,
                batch_size: Optional[int] = None) -> Any:
    """The blended properties of `recipe` at each set of volumes (a sequence
    in component order, or {component: volume} changing some), one row per
    case, one column per property in the recipe's units (NaN where not
    computed; `recipe.blend()` at those volumes gives the reasons)."""
    rows = map_cases(_Blend(recipe), volumes, client, setup, batch_size)
    return _pandas.DataFrame(rows)


# ---- Evaluation rows of a Dask DataFrame ---------------------------------------------

def _columns(correlation: Any, derivatives: bool) -> List[str]:
    info = _catalogue.describe(correlation)
    produced = _catalogue.produced_outputs(info.index, len(info.outputs))
    outputs = list(info.outputs[:produced])
    names = outputs + ["status", "reason"]
    if derivatives:
        names += ["d%s/d%s" % (o, i) for i in info.inputs for o in outputs]
    return names


def _evaluate_partition(part: Any, correlation: Any, inputs: List[str], derivatives: bool,
                        setup: Setup) -> Any:
    with _process_lock:
        _fresh(setup)
        rows = part[inputs].to_numpy(dtype=numpy.float64, na_value=numpy.nan)
        batch = _evaluation.evaluate_many(correlation, rows, derivatives=derivatives,
                                          on_error="record")
        columns: Dict[str, Any] = {name: batch.outputs[:, k] for k, name in enumerate(batch.output_ids)}
        columns["status"] = batch.statuses.astype(numpy.int64)
        columns["reason"] = [batch.reason(r) or "" for r in range(len(batch))]
        if derivatives and batch.derivatives is not None:
            for j, i in enumerate(batch.input_ids):
                for k, o in enumerate(batch.output_ids):
                    columns["d%s/d%s" % (o, i)] = batch.derivatives[:, j, k]
        return _pandas.DataFrame(columns, index=part.index)


def evaluate(correlation: Any, frame: Any, inputs: Optional[Sequence[str]] = None,
             derivatives: bool = False, setup: Setup = None) -> Any:
    """A lazy Dask DataFrame of `tarn.evaluate_many(correlation, ...)` over
    every partition of the Dask DataFrame `frame`, with its index: a column
    per output, "status" and "reason" (missing inputs and failures are
    recorded per row, never raised), and with `derivatives` a column
    "dOUT/dIN" per derivative. `inputs` names the frame's columns in the
    correlation's input order (by default its input ids). The settings are
    the library's defaults, then `setup` (run in each worker for each
    partition)."""
    info = _catalogue.describe(correlation)
    wanted = list(inputs) if inputs is not None else list(info.inputs)
    if len(wanted) != len(info.inputs):
        raise ValueError("%s takes %d inputs (%s), %d columns named"
                         % (info.id, len(info.inputs), ", ".join(info.inputs), len(wanted)))
    absent = [c for c in wanted if c not in frame.columns]
    if absent:
        raise KeyError("the frame has no column %s (it has %s)"
                       % (", ".join(absent), ", ".join(map(str, frame.columns))))
    names = _columns(correlation, derivatives)
    meta = _pandas.DataFrame({name: _pandas.Series(dtype="int64" if name == "status" else
                                                   object if name == "reason" else "float64")
                              for name in names})
    return frame.map_partitions(_evaluate_partition, info.id, wanted, derivatives, setup, meta=meta)


__all__ = ["local_cluster", "map_cases", "optimize_cases", "blend_cases", "evaluate"]
