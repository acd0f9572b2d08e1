#!/usr/bin/env bash
# Load run: lighttpd on 127.0.0.1 in front of `vexl fcgi` (lighttpd starts
# the FastCGI processes), serving a copy of examples/site. Measures requests
# per second for the start page with wrk (apt package wrk), or with a bounded
# loop of parallel curl calls when wrk is missing, and fails on any error or
# non-2xx answer.
#
# Usage: bench/load/run.sh [BUILD_DIR]   (default: ./build; or $VEXL_BUILD_DIR)
#   VEXL_LOAD_CONNECTIONS (default 50), VEXL_LOAD_SECONDS (default 30),
#   VEXL_LOAD_THREADS (wrk threads, default 2), VEXL_LOAD_PROCS (vexl fcgi
#   processes, default 2), VEXL_LOAD_PAGE (default /, the start page),
#   VEXL_LOAD_FRONTEND (fcgi, the default, or cgi: one vexl process per request),
#   VEXL_LOAD_SESSION=1 (every request carries the session cookies of the first
#   answer, as one visitor's requests would; without it a page that binds a
#   session variable makes a new session per request). With a session the run
#   ends by printing the store's sessions and the page's last count.
set -euo pipefail

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$(realpath -m "${1:-${VEXL_BUILD_DIR:-$repo/build}}")
connections=${VEXL_LOAD_CONNECTIONS:-50}
seconds=${VEXL_LOAD_SECONDS:-30}
threads=${VEXL_LOAD_THREADS:-2}
procs=${VEXL_LOAD_PROCS:-2}
page=${VEXL_LOAD_PAGE:-/}
frontend=${VEXL_LOAD_FRONTEND:-fcgi}
source "$repo/scripts/e2e/site-server.sh"

for tool in lighttpd python3 curl; do
    command -v "$tool" > /dev/null || { echo "load: $tool is missing (apt-get install lighttpd python3 curl wrk)" >&2; exit 1; }
done
vexl_ensure_built "$repo" "$build"
vexl="$build/vexl"

work=$(mktemp -d "${TMPDIR:-/tmp}/vexl-load-XXXXXX")
cleanup() {
    vexl_stop_lighttpd
    rm -rf "$work"
}
trap cleanup EXIT

vexl_prepare_site "$repo" "$work"
cgi_port=$(vexl_free_port)
fcgi_port=$(vexl_free_port)
while [ "$fcgi_port" = "$cgi_port" ]; do fcgi_port=$(vexl_free_port); done
vexl_write_lighttpd_conf "$vexl" "$work" "$cgi_port" "$fcgi_port"
sed -i "s/\"max-procs\" => [0-9]*/\"max-procs\" => $procs/" "$work/lighttpd.conf"
vexl_start_lighttpd "$work"
if [ "$frontend" = cgi ]; then
    url="http://127.0.0.1:$cgi_port$page"
else
    url="http://127.0.0.1:$fcgi_port$page"
fi

# The page must answer 200 before it is measured.
status=$(curl -s -o "$work/first.html" -D "$work/first.head" -w '%{http_code}' "$url")
cookie_header=()
if [ "${VEXL_LOAD_SESSION:-0}" = 1 ]; then
    cookies=$(sed -n 's/^[Ss]et-[Cc]ookie: \([^;]*\).*/\1/p' "$work/first.head" | paste -sd ';' | sed 's/;/; /g')
    [ -n "$cookies" ] || { echo "load: VEXL_LOAD_SESSION=1, but $url set no cookie" >&2; exit 1; }
    cookie_header=(-H "Cookie: $cookies")
fi
if [ "$status" != 200 ]; then
    echo "load: $url answered $status" >&2
    head -c 2000 "$work/first.html" >&2
    exit 1
fi
processes=
[ "$frontend" = fcgi ] && processes=", $procs vexl fcgi processes"
echo "load: $url ($(wc -c < "$work/first.html") bytes) through vexl $frontend, $connections connections, ${seconds}s$processes"

if command -v wrk > /dev/null; then
    # Count non-2xx answers too: wrk reports them only in its summary.
    wrk -t "$threads" -c "$connections" -d "${seconds}s" --latency --timeout 10s "${cookie_header[@]}" "$url" | tee "$work/wrk.txt"
    rps=$(awk '/^Requests\/sec:/ { print $2 }' "$work/wrk.txt")
    non2xx=$(awk '/Non-2xx or 3xx responses:/ { print $5 }' "$work/wrk.txt")
    socket_errors=$(awk '/Socket errors:/ { gsub(",", ""); print $4 + $6 + $8 + $10 }' "$work/wrk.txt")
    total=$(awk '/requests in/ { print $1 }' "$work/wrk.txt")
    echo "load: $total requests, ${rps} requests/s, non-2xx: ${non2xx:-0}, socket errors: ${socket_errors:-0}"
    if [ "${non2xx:-0}" != 0 ] || [ "${socket_errors:-0}" != 0 ]; then
        echo "load: FAIL (errors under load)" >&2
        exit 1
    fi
else
    # Bounded fallback: `connections` workers, each issuing requests one after
    # the other until the time is up; every status is recorded.
    echo "load: wrk not found, using parallel curl loops (numbers are lower than wrk's)"
    end=$(( $(date +%s) + seconds ))
    for worker in $(seq "$connections"); do
        (
            while [ "$(date +%s)" -lt "$end" ]; do
                curl -s -o /dev/null -w '%{http_code}\n' --max-time 10 "${cookie_header[@]}" "$url" || echo 000
            done > "$work/statuses.$worker"
        ) &
    done
    wait
    total=$(cat "$work"/statuses.* | wc -l)
    bad=$(cat "$work"/statuses.* | grep -vc '^200$' || true)
    echo "load: $total requests, $(( total / seconds )) requests/s, errors: $bad"
    [ "$bad" = 0 ] || { echo "load: FAIL (errors under load)" >&2; exit 1; }
fi
grep -iE "error|crash|died" "$work/lighttpd-error.log" | grep -v "server started" > "$work/errors" || true
if [ -s "$work/errors" ]; then
    echo "load: lighttpd reported:" >&2
    head -20 "$work/errors" >&2
fi
if [ -f "$work/sessions.db" ] && command -v sqlite3 > /dev/null; then
    echo "load: session store: $(sqlite3 "$work/sessions.db" 'SELECT COUNT(*) FROM sessions') sessions"
    if [ "${VEXL_LOAD_SESSION:-0}" = 1 ]; then
        echo "load: the session's last count: $(curl -s "${cookie_header[@]}" "$url" | grep -o "id='visits'>[^<]*")"
    fi
elif [ ! -f "$work/sessions.db" ]; then
    echo "load: session store: never opened"
fi
echo "load: PASS"
