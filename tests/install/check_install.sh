#!/usr/bin/env bash
# Installs the built tree into a temporary prefix, then builds the example
# host against the installed package both ways (CMake package and
# pkg-config) and runs both programs.
set -euo pipefail
build_dir=$1 source_dir=$2 cc=${3:-cc}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build_dir" --prefix "$prefix" >/dev/null
libdir=$(dirname "$(find "$prefix" -name 'libtarn.so' | head -n 1)")
test -L "$libdir/libtarn.so"
readelf -d "$libdir/libtarn.so" | grep -q 'SONAME.*libtarn\.so\.1'

# 1. CMake package
cmake -S "$source_dir/tests/install/consumer" -B "$work/consumer" \
  -DCMAKE_PREFIX_PATH="$prefix" -DTARN_EXAMPLE_SOURCE="$source_dir/examples/host.c" >/dev/null
cmake --build "$work/consumer" >/dev/null
LD_LIBRARY_PATH="$libdir" "$work/consumer/host"

# 2. pkg-config
export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046
"$cc" -std=c11 -o "$work/host-pc" "$source_dir/examples/host.c" $(pkg-config --cflags --libs tarn)
LD_LIBRARY_PATH="$libdir" "$work/host-pc"
echo "install check passed"
