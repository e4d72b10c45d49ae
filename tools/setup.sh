#!/usr/bin/env bash
# Installs the Debian packages that building TARN and running all its tests
# need, when they are missing (and any further packages named as arguments).
# A machine that has them all is left alone; apt-get runs as root, through
# sudo when the caller is not root.
set -euo pipefail

packages=(cmake g++ make pkgconf binutils libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev
          nlohmann-json3-dev coinor-libipopt-dev python3 python3-scipy python3-pytest python3-numpy python3-pip python3-setuptools python3-wheel
          python3-venv python3-hypothesis python3-mypy python3-pandas python3-dask python3-distributed "$@")
missing=()
for package in "${packages[@]}"; do
  dpkg -s "$package" >/dev/null 2>&1 || missing+=("$package")
done
((${#missing[@]})) || exit 0

echo "Installing: ${missing[*]}"
as_root=()
[[ $(id -u) -eq 0 ]] || as_root=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
