#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, only those that are missing, and
# says which. Run as root (or with sudo available) on a Debian machine.
set -euo pipefail

packages=(
    cmake g++ make          # toolchain
    libgtest-dev            # tests
    libbenchmark-dev        # bench/ (optional build)
    gemmi-dev tao-pegtl-dev # CIF grammar and space-group tables of the database reader
    libcli11-dev            # the teska command line
    clang libclang-rt-14-dev # fuzz/: clang and its libFuzzer runtime (only recommended by clang)
    pybind11-dev python3-dev python3-numpy # the Python module
    python3-venv python3-pip python3-setuptools python3-wheel # pip install . (offline)
    pkg-config              # the test of the installed package
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
    echo "setup: every package is installed"
    exit 0
fi
echo "setup: installing ${missing[*]}"
sudo_cmd=()
[ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
echo "setup: done"
