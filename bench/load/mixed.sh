#!/usr/bin/env bash
# Mixed load (bench/load/mixed.py) against `vexl serve` and against lighttpd
# in front of `vexl fcgi` (2 processes), one after the other, on a copy of
# examples/site with a page that never ends (MaxRunSeconds = 2 there).
# Fails if a well-behaved request was not answered with 200.
#
# Usage: bench/load/mixed.sh [BUILD_DIR]   (default: ./build; or $VEXL_BUILD_DIR)
#        VEXL_LOAD_SECONDS (default 20) for each front end.
set -euo pipefail

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$(realpath -m "${1:-${VEXL_BUILD_DIR:-$repo/build}}")
seconds=${VEXL_LOAD_SECONDS:-20}
source "$repo/scripts/e2e/site-server.sh"
for tool in lighttpd python3; do
    command -v "$tool" > /dev/null || { echo "mixed: $tool is missing" >&2; exit 1; }
done
vexl_ensure_built "$repo" "$build"
vexl="$build/vexl"

work=$(mktemp -d "${TMPDIR:-/tmp}/vexl-mixed-XXXXXX")
serve_pid=
cleanup() {
    [ -n "$serve_pid" ] && kill "$serve_pid" 2> /dev/null || true
    vexl_stop_lighttpd
    rm -rf "$work"
}
trap cleanup EXIT

vexl_prepare_site "$repo" "$work"
printf '<p>before</p><LOOP condition="1"></LOOP>\n' > "$work/site/endless.vxl"
printf 'MaxRunSeconds = 2\n' >> "$work/site/vexl.ini"
status=0

serve_port=$(vexl_free_port)
"$vexl" serve --root "$work/site" --port "$serve_port" 2> "$work/serve.log" &
serve_pid=$!
for _ in $(seq 100); do
    python3 -c "import socket; socket.create_connection(('127.0.0.1', $serve_port), 1).close()" 2> /dev/null && break
    sleep 0.1
done
python3 "$repo/bench/load/mixed.py" "vexl serve" "http://127.0.0.1:$serve_port/" "$seconds" || status=1
kill "$serve_pid"
wait "$serve_pid" 2> /dev/null || true
serve_pid=

cgi_port=$(vexl_free_port)
fcgi_port=$(vexl_free_port)
while [ "$fcgi_port" = "$cgi_port" ]; do fcgi_port=$(vexl_free_port); done
vexl_write_lighttpd_conf "$vexl" "$work" "$cgi_port" "$fcgi_port"
vexl_start_lighttpd "$work"
python3 "$repo/bench/load/mixed.py" "lighttpd + vexl fcgi" "http://127.0.0.1:$fcgi_port/" "$seconds" || status=1
exit $status
