#!/usr/bin/env bash
# Two "machines" and one database server: two lighttpd instances on two
# loopback ports, each with its own vexl fcgi workers and its own copy of the
# example site, both keeping sessions in one PostgreSQL database (a server of
# the test's own, scripts/postgres-test-server.sh). scripts/e2e/check_two_machines.py
# then alternates one session between them, runs parallel increments over
# both, and restarts the database in the middle.
#
# Usage: scripts/e2e/two_machines.sh BUILD_DIR
#   VEXL_TWO_MACHINES_LOAD_SECONDS=N adds a load run with wrk over both
#   machines (bench/two_machines_load.sh)
set -euo pipefail

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$(realpath -m "${1:-${VEXL_BUILD_DIR:-$repo/build}}")
source "$repo/scripts/e2e/site-server.sh"
vexl_ensure_built "$repo" "$build"
vexl="$build/vexl"

work=$(mktemp -d "${TMPDIR:-/tmp}/vexl-two-machines-XXXXXX")
state="$work/postgres.state"
pids=()
cleanup() {
    local pid
    for pid in "${pids[@]}"; do
        kill "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    bash "$repo/scripts/postgres-test-server.sh" stop "$state" > /dev/null 2>&1 || true
    rm -rf "$work"
}
trap cleanup EXIT

bash "$repo/scripts/postgres-test-server.sh" start "$state" > /dev/null
uri=$(head -n 1 "$state")
case "$uri" in
    unavailable:*) echo "two machines: SKIP: $uri"; exit 0 ;;
esac

bases=()
for machine in a b; do
    mkdir -p "$work/$machine"
    vexl_prepare_site "$repo" "$work/$machine"
    # Both machines keep their sessions in the one database.
    python3 - "$work/$machine/site/vexl.ini" "$uri" <<'PY'
import re, sys
path, uri = sys.argv[1], sys.argv[2]
text = open(path, encoding="utf-8").read()
text = re.sub(r"(?m)^SessionStore\s*=.*$", lambda _: "SessionStore = " + uri, text)
open(path, "w", encoding="utf-8").write(text)
PY
    cgi_port=$(vexl_free_port)
    fcgi_port=$(vexl_free_port)
    while [ "$fcgi_port" = "$cgi_port" ]; do fcgi_port=$(vexl_free_port); done
    vexl_write_lighttpd_conf "$vexl" "$work/$machine" "$cgi_port" "$fcgi_port"
    vexl_start_lighttpd "$work/$machine"
    pids+=("$VEXL_LIGHTTPD_PID")
    VEXL_LIGHTTPD_PID=
    bases+=("http://127.0.0.1:$fcgi_port/")
done

python3 "$repo/scripts/e2e/check_two_machines.py" --restart "bash $repo/scripts/postgres-test-server.sh restart $state" \
    --load "${VEXL_TWO_MACHINES_LOAD_SECONDS:-0}" "${bases[@]}"
