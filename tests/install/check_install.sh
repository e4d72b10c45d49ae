#!/usr/bin/env bash
# Installs the built tree into a temporary prefix, then builds the example
# hosts (libtarn's and the blend library's) against the installed package
# both ways (CMake package and pkg-config) and runs them; runs the installed tarn tool; and
# installs the Python package with pip from a copy of the source tree, with
# no network, and uses it on the installed library.
set -euo pipefail
build_dir=$1 source_dir=$2 cc=${3:-cc}
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

# 4. The Python package, installed offline, finds the installed library on
# the library path.
python=${TARN_PYTHON:-/usr/bin/python3}
if "$python" -m pip --version >/dev/null 2>&1; then
  cp -r "$source_dir/python" "$work/python-source"
  "$python" -m pip install --quiet --no-build-isolation --no-index --no-deps \
    --target "$work/site" "$work/python-source" >/dev/null
  (cd "$work" && env -u TARN_LIBRARY PYTHONPATH="$work/site" LD_LIBRARY_PATH="$libdir" "$python" -c '
import tarn
assert tarn.library_path().startswith("libtarn"), tarn.library_path()
assert tarn.evaluate("RVPINDEX", [8.0]).outputs["RVPNDX"] > 13.45
')
else
  echo "pip not available: the Python package install is not checked"
fi
echo "install check passed"
