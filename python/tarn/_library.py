"""Finding and loading libtarn, and the C prototypes of the functions used."""

import ctypes
import ctypes.util
import os
from pathlib import Path

c_int_p = ctypes.POINTER(ctypes.c_int)
c_double_p = ctypes.POINTER(ctypes.c_double)

# Buffer sizes of the C interface (terminator included), from tarn/tarn.h and
# tarn/corparms.h.
ID_SIZE = 19
DESC_SIZE = 24
PROPERTY_ID_SIZE = 18
COEF_NAME_SIZE = 9
MESSAGE_SIZE = 69
KEYWORD_SIZE = 20

# name: (restype, argtypes); functions that may be absent are marked optional.
_PROTOTYPES = {
    "gfx_tarnInitializeAllocate": (ctypes.c_int, [ctypes.c_void_p]),
    "gfx_tarnInitializeCoefs": (ctypes.c_int, []),
    "TARNReset": (ctypes.c_int, []),
    "gfx_tarnFree": (ctypes.c_int, []),
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
    "tarn_GetActualNumberOutput": (ctypes.c_int, [ctypes.c_int]),
}

ENVIRONMENT_VARIABLE = "TARN_LIBRARY"


class LibraryNotFound(OSError):
    """libtarn could not be found or loaded."""


def _candidates():
    """Where to look for the library, in order, with a label for each."""
    explicit = os.environ.get(ENVIRONMENT_VARIABLE)
    if explicit:
        yield explicit, "$" + ENVIRONMENT_VARIABLE
        return
    # A source checkout: python/tarn/ sits next to the CMake build folder.
    root = Path(__file__).resolve().parent.parent.parent
    for build in ("build", "build-debug"):
        path = root / build / "libtarn.so"
        if path.exists():
            yield str(path), "build tree"
    found = ctypes.util.find_library("tarn")
    if found:
        yield found, "system library path"
    yield "libtarn.so.1", "system library path"


def load(path=None):
    """Loads libtarn (from `path` when given) and declares its prototypes."""
    tried = []
    candidates = [(path, "argument")] if path else _candidates()
    for candidate, origin in candidates:
        try:
            library = ctypes.CDLL(candidate)
        except OSError as error:
            tried.append("%s (%s): %s" % (candidate, origin, error))
            continue
        for name, (restype, argtypes) in _PROTOTYPES.items():
            try:
                function = getattr(library, name)
            except AttributeError:
                raise LibraryNotFound("%s does not export %s: is it an older TARN?" % (candidate, name))
            function.restype = restype
            function.argtypes = argtypes
        library.tarn_path = candidate
        return library
    raise LibraryNotFound(
        "libtarn not found; set %s to the path of libtarn.so. Tried: %s"
        % (ENVIRONMENT_VARIABLE, "; ".join(tried) or "nothing"))
