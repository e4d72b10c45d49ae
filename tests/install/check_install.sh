#!/usr/bin/env bash
# Installs into a temporary prefix; builds and runs the example hosts against
# it (CMake package, pkg-config), the tarn tool and the Python package (as
# installed, and pip-installed into a venv offline).
set -euo pipefail
build_dir=$1 source_dir=$2 cc=${3:-cc} version=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build_dir" --prefix "$prefix" >/dev/null
libdir=$(dirname "$(find "$prefix" -name 'libtarn.so' | head -n 1)")
test -L "$libdir/libtarn.so"
readelf -d "$libdir/libtarn.so" | grep -q 'SONAME.*libtarn\.so\.1'
test -L "$libdir/libtarnblend.so"
readelf -d "$libdir/libtarnblend.so" | grep -q 'SONAME.*libtarnblend\.so\.1'

# 1. CMake package
cmake -S "$source_dir/tests/install/consumer" -B "$work/consumer" \
  -DCMAKE_PREFIX_PATH="$prefix" -DTARN_EXAMPLE_SOURCE="$source_dir/examples/host.c" \
  -DTARN_BLEND_EXAMPLE_SOURCE="$source_dir/examples/blend_host.c" >/dev/null
cmake --build "$work/consumer" >/dev/null
LD_LIBRARY_PATH="$libdir" "$work/consumer/host"
LD_LIBRARY_PATH="$libdir" "$work/consumer/blend_host"

# 2. pkg-config
export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046
"$cc" -std=c11 -o "$work/host-pc" "$source_dir/examples/host.c" $(pkg-config --cflags --libs tarn)
LD_LIBRARY_PATH="$libdir" "$work/host-pc"
# shellcheck disable=SC2046
"$cc" -std=c11 -o "$work/blend-host-pc" "$source_dir/examples/blend_host.c" $(pkg-config --cflags --libs tarnblend)
LD_LIBRARY_PATH="$libdir" "$work/blend-host-pc"

# 3. The installed command-line tool finds its library without help.
"$prefix/bin/tarn" blend --csv | grep -q '^Volatility,RVP,'

# 4. The installed Python package loads the installed library unaided.
python=${TARN_PYTHON:-/usr/bin/python3}
installed=$(find "$prefix" -name _installed.py | head -n 1)
if [ -z "$installed" ]; then
  echo "the Python package was not installed (no interpreter at configure time): not checked"
  echo "install check passed"
  exit 0
fi
package=$(dirname "$installed")
test -f "$package/py.typed"
env -i "$python" -c "
import os, sys
sys.path.insert(0, os.path.dirname('$package'))
import tarn
assert os.path.samefile(tarn.library_path(), '$libdir/libtarn.so.1'), tarn.library_path()
assert tarn.__version__ == '$version', tarn.__version__
assert tarn.evaluate('RVPINDEX', [8.0]).outputs['RVPNDX'] > 13.45
assert 'EN228' in list(tarn.grades(as_frame=False).index)  # libtarnblend, beside libtarn
"

# 5. pip into a venv borrowing the system's setuptools and NumPy, offline;
# the build writes nothing into the source tree.
if "$python" -c "import venv, ensurepip" >/dev/null 2>&1; then
  before=$(find "$source_dir/python" | sort)
  "$python" -m venv --system-site-packages "$work/venv"
  "$work/venv/bin/python" -m pip install --quiet --no-index --no-build-isolation \
    "$source_dir/python" >/dev/null
  test "$before" = "$(find "$source_dir/python" | sort)" ||
    { echo "pip install wrote into $source_dir/python"; exit 1; }
  (cd "$work" && TARN_LIBRARY="$libdir/libtarn.so.1" "$work/venv/bin/python" -c "
import importlib.metadata, os, tarn
assert tarn.__file__.startswith('$work/venv/'), tarn.__file__
assert tarn.__version__ == importlib.metadata.version('tarn') == '$version'
assert os.path.isfile(os.path.join(os.path.dirname(tarn.__file__), 'py.typed'))
assert tarn.evaluate('RVPINDEX', [8.0]).outputs['RVPNDX'] > 13.45
import tarn._blend
tarn.grades(as_frame=False)  # libtarnblend found beside the libtarn named
assert os.path.samefile(tarn._blend.blend_library().tarn_path, '$libdir/libtarnblend.so.1')
")
else
  echo "venv not available for $python: the virtual-environment install is not checked"
fi
echo "install check passed"
