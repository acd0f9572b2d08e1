#!/usr/bin/env bash
# Installs what is missing, builds Vexl, and renders the example site's start page.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
bash scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DVEXL_TESTS=OFF -DVEXL_BENCH=OFF
cmake --build build/release -j"$(nproc)"
echo
echo "==== vexl render examples/site/index.vxl ===="
cd examples/site
../../build/release/vexl render index.vxl --ini vexl.ini
