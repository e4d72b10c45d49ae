"""Builds the tarn package with setuptools.

The version is the library's: the project() line of the CMake build this
folder belongs to (or, in a source distribution, its PKG-INFO). The build's
scratch folders go to a temporary directory, so installing from the source
tree writes nothing into it.
"""

import atexit
import re
import shutil
import tempfile
from pathlib import Path

from setuptools import setup

HERE = Path(__file__).resolve().parent


def version() -> str:
    cmake = HERE.parent / "CMakeLists.txt"
    if cmake.is_file():
        found = re.search(r"project\(\s*tarn\s+VERSION\s+([0-9][0-9.]*)", cmake.read_text())
        if found:
            return found.group(1)
    info = HERE / "PKG-INFO"
    if info.is_file():
        found = re.search(r"^Version:\s*(\S+)", info.read_text(), re.MULTILINE)
        if found:
            return found.group(1)
    raise SystemExit("tarn: no version found (expected %s with project(tarn VERSION ...))" % cmake)


scratch = tempfile.mkdtemp(prefix="tarn-build-")
atexit.register(shutil.rmtree, scratch, True)
setup(version=version(),
      options={"build": {"build_base": scratch}, "egg_info": {"egg_base": scratch}})
