#!/usr/bin/env bash
# Installs what is missing, builds Vexl, renders the example site's start
# page, and prints the commands to take it further. It puts nothing on the
# PATH: the commands it prints name the program by its full path.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
root="$PWD"
bash scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DVEXL_TESTS=OFF -DVEXL_BENCH=OFF
cmake --build build/release -j"$(nproc)"
vexl="$root/build/release/vexl"
echo
echo "==== vexl render examples/site/index.vxl ===="
(cd examples/site && "$vexl" render index.vxl --ini vexl.ini)
echo
echo "==== vexl check examples/site ===="
"$vexl" check --ini examples/site/vexl.ini examples/site
cat <<NEXT

==== Next ====
vexl is built at $vexl (it is not on your PATH).

Serve the example site, then open http://127.0.0.1:8080/ in a browser:
  $vexl serve --root $root/examples/site --port 8080

Check pages for mistakes before they run:
  $vexl check $root/examples/site

To type just 'vexl' in this shell:
  export PATH="$root/build/release:\$PATH"
NEXT
