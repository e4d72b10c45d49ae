"""TARN fuel-blending property correlations, over the library's C interface.

The library is loaded and started on first use (see `load`). Values follow
the library's conventions: temperatures in the unit of the correlation's
CORF coefficient (degrees F by default), derivatives input-major. A missing
value is None, NaN or a masked value on the way in and NaN on the way out;
a result the library cannot compute is NaN with a status and a reason,
never a figure. All state is the library's and process-wide: use the
package from one thread.

Over the blend-model library (libtarnblend): `Recipe` (components with
volumes and properties in their units, from a recipe file or a table) and
its `blend()` (blended properties in the recipe's units, reasons for what is
not computed, derivatives with respect to the volumes), `grades()` and
`Recipe.check()`, and `optimize()` (least cost, greatest margin,
back-solving, shadow prices, relaxations). Tables are pandas DataFrames when
pandas is installed. `tarn.dask` spreads sweeps over worker processes.

`tarn.__version__` is the loaded library's version.
"""

from typing import Any

from ._catalogue import (MISSING, Correlation, TarnError, UndefinedResult, coefficients,
                         correlations, describe, forget, get_parameter, library_path, load,
                         message, parameters, reset, set_coefficient, set_parameter)
from ._evaluation import Batch, Evaluation, Jacobian, evaluate, evaluate_many
from ._library import LibraryNotFound
from ._blend import Blend, BlendError, Check, Grade, Recipe, grades
from ._optimize import Optimum, optimize
from ._tables import Table

__all__ = [
    "MISSING", "TarnError", "UndefinedResult", "LibraryNotFound", "Correlation", "Evaluation",
    "Batch", "Jacobian", "load", "library_path", "reset", "forget", "correlations", "describe",
    "evaluate", "evaluate_many", "parameters", "get_parameter", "set_parameter", "coefficients",
    "set_coefficient", "message", "Recipe", "Blend", "Grade", "Check", "grades", "BlendError",
    "Table", "optimize", "Optimum",
]


def __getattr__(name: str) -> Any:
    # The version is the library's own, read when first asked for.
    if name == "__version__":
        from ._catalogue import version
        return version()
    raise AttributeError("module 'tarn' has no attribute %r" % (name,))
