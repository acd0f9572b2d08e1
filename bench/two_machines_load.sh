#!/usr/bin/env bash
# Load over two front machines sharing one PostgreSQL session store: the
# end-to-end setup of scripts/e2e/two_machines.sh, then wrk on both machines
# at once with one visitor's session (16 connections each), printing
# requests/s, errors and whether every request's increment was kept.
#
# Usage: bench/two_machines_load.sh [BUILD_DIR] [SECONDS]   (default 10 s)
set -euo pipefail
repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
command -v wrk > /dev/null || { echo "two machines load: wrk is missing (apt-get install wrk)" >&2; exit 1; }
VEXL_TWO_MACHINES_LOAD_SECONDS=${2:-10} exec bash "$repo/scripts/e2e/two_machines.sh" "${1:-$repo/build}"
