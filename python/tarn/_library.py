"""Finding and loading TARN's shared libraries and declaring the C prototypes
the package calls.

One loader serves every library of the product: libtarn (the correlations)
and libtarnblend (blend models, grades, the optimiser). A library is looked
for, in order, at the path its environment variable names, beside the package
when both were installed by `cmake --install`, in the CMake build folder of
the source checkout the package sits in, beside a library already loaded
(libtarnblend next to the libtarn in use), and on the system's library path.
"""

from __future__ import annotations

import ctypes
import ctypes.util
import importlib
import os
from dataclasses import dataclass
from pathlib import Path
from typing import Any, Dict, Iterator, List, Optional, Sequence, Tuple

c_int_p = ctypes.POINTER(ctypes.c_int)
c_double_p = ctypes.POINTER(ctypes.c_double)

# Buffer sizes of the C interface (terminator included): tarn/tarn.h and
# tarn/corparms.h.
ID_SIZE = 19
DESC_SIZE = 24
PROPERTY_ID_SIZE = 18
COEF_NAME_SIZE = 9
MESSAGE_SIZE = 69
KEYWORD_SIZE = 20

Prototype = Tuple[Any, List[Any]]

TARN_PROTOTYPES: Dict[str, Prototype] = {
    "tarn_GetVersion": (ctypes.c_char_p, []),
    "gfx_tarnInitializeAllocate": (ctypes.c_int, [ctypes.c_void_p]),
    "gfx_tarnInitializeCoefs": (ctypes.c_int, []),
    "TARNReset": (ctypes.c_int, []),
    "gfx_tarnGetCorrelationCount": (ctypes.c_int, [c_int_p]),
    "gfx_tarnGetCorrelationId": (ctypes.c_int, [ctypes.c_int, ctypes.c_char_p]),
    "gfx_tarnGetCorrelationDesc": (ctypes.c_int, [ctypes.c_int, ctypes.c_char_p]),
    "gfx_tarnGetCorrelationType": (ctypes.c_int, [ctypes.c_int, c_int_p]),
    "gfx_tarnGetCorrelationInpPropCount": (ctypes.c_int, [ctypes.c_int, c_int_p]),
    "gfx_tarnGetCorrelationInpPropId": (ctypes.c_int, [ctypes.c_int, ctypes.c_int, ctypes.c_char_p]),
    "gfx_tarnGetCorrelationOutPropCount": (ctypes.c_int, [ctypes.c_int, c_int_p]),
    "gfx_tarnGetCorrelationOutPropId": (ctypes.c_int, [ctypes.c_int, ctypes.c_int, ctypes.c_char_p]),
    "gfx_tarnGetCorrelationOutPropType": (ctypes.c_int, [ctypes.c_int, ctypes.c_int, c_int_p]),
    "gfx_tarnGetCorrelationSlackCount": (ctypes.c_int, [ctypes.c_int, c_int_p]),
    "gfx_tarnGetIndexPair": (ctypes.c_int, [ctypes.c_int, c_int_p]),
    "gfx_tarnGetCoefCount": (ctypes.c_int, [ctypes.c_int, c_int_p]),
    "gfx_tarnGetCoef": (ctypes.c_int, [ctypes.c_int, ctypes.c_int, ctypes.c_char_p, c_double_p]),
    "gfx_tarnSetCoefValue": (ctypes.c_int, [ctypes.c_int, ctypes.c_int, ctypes.c_double]),
    "gfx_tarnGetErrorMsg": (ctypes.c_int, [ctypes.c_int, ctypes.c_char_p]),
    "gfx_setCorParms": (ctypes.c_int, [ctypes.c_char_p, ctypes.c_char_p, ctypes.c_double]),
    "gfx_getCorParms": (ctypes.c_double, [ctypes.c_char_p, ctypes.c_char_p]),
    "gfx_getCorParmsCount": (ctypes.c_int, [c_int_p]),
    "gfx_getCorParmsKeywords": (
        ctypes.c_int, [ctypes.c_int, ctypes.c_char_p, ctypes.c_char_p, ctypes.c_char_p]),
    "gfx_tarnGenCalc": (
        ctypes.c_int,
        [ctypes.c_int, ctypes.c_int, ctypes.c_int, c_double_p, c_double_p, c_double_p]),
    "gfx_tarnGenCalcBatch": (
        ctypes.c_int,
        [ctypes.c_int, ctypes.c_int, ctypes.c_int, c_double_p, c_double_p, c_double_p, c_int_p]),
    "tarn_GetActualNumberOutput": (ctypes.c_int, [ctypes.c_int]),
}


@dataclass(frozen=True)
class LibrarySpec:
    """How to find one of the product's shared libraries."""
    stem: str                  # "tarn" for libtarn.so
    soversion: str             # the SONAME's ABI version
    variable: str              # environment variable naming the file
    build_path: str            # the file, relative to a CMake build folder
    prototypes: Dict[str, Prototype]


# The blend-model library and its optimiser (tarn/blend.h, tarn/optimize.h):
# only the functions the package calls. Handles are opaque pointers; strings
# handed out belong to the library.
_P, _I, _D, _S = ctypes.c_void_p, ctypes.c_int, ctypes.c_double, ctypes.c_char_p
_pP, _pI, _pD, _pS = (ctypes.POINTER(t) for t in (_P, _I, _D, _S))
TARNBLEND_PROTOTYPES: Dict[str, Prototype] = {
    "tarnblend_last_error": (_S, []),
    "tarnblend_version": (_S, []),
    "tarnblend_product_name": (_S, [_I]),
    "tarnblend_product_parse": (_I, [_S, _pI]),
    "tarnblend_recipe_parse": (_I, [_S, ctypes.c_size_t, _S, _I, _S, _pP]),
    "tarnblend_recipe_free": (None, [_P]),
    "tarnblend_recipe_model": (_I, [_P, _pP]),
    "tarnblend_recipe_info": (_I, [_P, _pS, _pI, _pS, _pI]),
    "tarnblend_recipe_note_count": (_I, [_P, _pI]),
    "tarnblend_recipe_note": (_I, [_P, _I, _pS]),
    "tarnblend_model_product": (_I, [_P, _pI]),
    "tarnblend_model_set_product": (_I, [_P, _I]),
    "tarnblend_model_set_option": (_I, [_P, _S, _D]),
    "tarnblend_model_option": (_I, [_P, _S, _pD]),
    "tarnblend_model_component_count": (_I, [_P, _pI]),
    "tarnblend_model_component_name": (_I, [_P, _I, _pS]),
    "tarnblend_model_set_volumes": (_I, [_P, _pD, _I]),
    "tarnblend_model_volume": (_I, [_P, _I, _pD]),
    "tarnblend_model_evaluate": (_I, [_P, _I]),
    "tarnblend_model_evaluate_at": (_I, [_P, _pD, _I, _pD, _pD]),
    "tarnblend_model_property_count": (_I, [_P, _pI]),
    "tarnblend_model_property_info": (_I, [_P, _I, _pS, _pS, _pS, _pS, _pI, _pI]),
    "tarnblend_model_result": (_I, [_P, _I, _pD, _pI, _pS, _pS, _pS]),
    "tarnblend_model_jacobian": (_I, [_P, _pD, _I, _I]),
    "tarnblend_model_note_count": (_I, [_P, _pI]),
    "tarnblend_model_note": (_I, [_P, _I, _pS]),
    "tarnblend_grade_count": (_I, [_pI]),
    "tarnblend_grade_builtin": (_I, [_I, _pS, _pS, _pI, _pS, _pS]),
    "tarnblend_grade_open": (_I, [_S, _S, _pP]),
    "tarnblend_grade_read": (_I, [_S, _pP]),
    "tarnblend_grade_free": (None, [_P]),
    "tarnblend_grade_info": (_I, [_P, _pS, _pS, _pI]),
    "tarnblend_grade_limit_count": (_I, [_P, _pI]),
    "tarnblend_grade_limit": (_I, [_P, _I, _pS, _pD, _pD, _pS, _pS]),
    "tarnblend_model_check": (_I, [_P, _P, _pI, _pI]),
    "tarnblend_model_check_count": (_I, [_P, _pI]),
    "tarnblend_model_check_row": (_I, [_P, _I, _pI, _pD, _pD, _pD, _pD, _pI, _pS, _pS]),
    "tarnblend_problem_parse": (_I, [_S, _S, _P, _pP]),
    "tarnblend_problem_read": (_I, [_S, _P, _pP]),
    "tarnblend_problem_free": (None, [_P]),
    "tarnblend_problem_solve": (_I, [_P, _pI]),
    "tarnblend_problem_solution": (_I, [_P, _pI, _pS, _pS, _pI, _pD]),
    "tarnblend_problem_objective": (_I, [_P, _pI]),
    "tarnblend_problem_units": (_I, [_P, _pS, _pS]),
    "tarnblend_problem_component_count": (_I, [_P, _pI]),
    "tarnblend_problem_component_name": (_I, [_P, _I, _pS]),
    "tarnblend_problem_component_result": (_I, [_P, _I, _pD, _pD, _pD, _pI]),
    "tarnblend_problem_product_count": (_I, [_P, _pI]),
    "tarnblend_problem_product_info": (_I, [_P, _I, _pS, _pI, _pS, _pS]),
    "tarnblend_problem_product_result": (_I, [_P, _I, _pD, _pD, _pD, _pD, _pI]),
    "tarnblend_problem_volumes": (_I, [_P, _I, _pD, _I]),
    "tarnblend_problem_model": (_I, [_P, _I, _pP]),
    "tarnblend_problem_limit_count": (_I, [_P, _I, _pI]),
    "tarnblend_problem_limit": (_I, [_P, _I, _I, _pS, _pI, _pD, _pD, _pD, _pD, _pI, _pD, _pS, _pS]),
    "tarnblend_problem_relaxation_count": (_I, [_P, _pI]),
    "tarnblend_problem_relaxation": (_I, [_P, _I, _pI, _pI, _pI, _pD, _pD]),
    "tarnblend_problem_note_count": (_I, [_P, _pI]),
    "tarnblend_problem_note": (_I, [_P, _I, _pS]),
}

TARN = LibrarySpec("tarn", "1", "TARN_LIBRARY", "libtarn.so", TARN_PROTOTYPES)
TARNBLEND = LibrarySpec("tarnblend", "1", "TARNBLEND_LIBRARY", "blend/libtarnblend.so",
                        TARNBLEND_PROTOTYPES)

# The CMake build folders of a source checkout, as the presets name them.
BUILD_FOLDERS = ("build", "build-debug")


class LibraryNotFound(OSError):
    """A TARN library could not be found or loaded."""


def installed_directory() -> Optional[Path]:
    """The library folder recorded by `cmake --install` when it placed this
    package beside the library, or None for a package installed otherwise."""
    try:
        installed = importlib.import_module(__package__ + "._installed")  # written at install
    except ImportError:
        return None
    return (Path(__file__).resolve().parent / str(installed.LIBRARY_DIRECTORY)).resolve()


def _candidates(wanted: LibrarySpec, beside: Optional[str]) -> Iterator[Tuple[str, str]]:
    """Where to look for a library, in order, each with where it came from.
    `beside` is a library already loaded whose folder comes first (so that
    libtarnblend is the one built or installed with the libtarn in use)."""
    explicit = os.environ.get(wanted.variable)
    if explicit:
        yield explicit, "$" + wanted.variable
        return
    if beside and os.sep in beside:
        folder = Path(beside).resolve().parent
        for path in (folder / ("lib%s.so.%s" % (wanted.stem, wanted.soversion)), folder / wanted.build_path):
            if path.exists():
                yield str(path), "beside " + beside
    installed = installed_directory()
    if installed is not None:
        yield str(installed / ("lib%s.so.%s" % (wanted.stem, wanted.soversion))), "installed beside the package"
    root = Path(__file__).resolve().parent.parent.parent
    if (root / "CMakeLists.txt").is_file():
        for build in BUILD_FOLDERS:
            path = root / build / wanted.build_path
            if path.exists():
                yield str(path), "build tree"
    found = ctypes.util.find_library(wanted.stem)
    if found:
        yield found, "system library path"
    yield "lib%s.so.%s" % (wanted.stem, wanted.soversion), "system library path"


def load(wanted: LibrarySpec, path: Optional[str] = None, beside: Optional[str] = None) -> ctypes.CDLL:
    """Loads a library (from `path` when given, else looked for first beside
    the library file `beside`) and declares its prototypes. The returned
    handle carries the file it came from as `tarn_path`."""
    tried: List[str] = []
    candidates: Sequence[Tuple[str, str]] = ([(path, "argument")] if path
                                              else list(_candidates(wanted, beside)))
    for candidate, origin in candidates:
        try:
            library = ctypes.CDLL(candidate)
        except OSError as error:
            tried.append("%s (%s): %s" % (candidate, origin, error))
            continue
        for name, (restype, argtypes) in wanted.prototypes.items():
            try:
                function = getattr(library, name)
            except AttributeError:
                raise LibraryNotFound("%s does not export %s: is it an older lib%s?"
                                      % (candidate, name, wanted.stem)) from None
            function.restype = restype
            function.argtypes = argtypes
        setattr(library, "tarn_path", candidate)
        return library
    raise LibraryNotFound("lib%s not found; set %s to the path of lib%s.so. Tried: %s"
                          % (wanted.stem, wanted.variable, wanted.stem, "; ".join(tried) or "nothing"))
