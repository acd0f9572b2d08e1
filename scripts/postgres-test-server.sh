#!/usr/bin/env bash
# A PostgreSQL server of the tests' own: a fresh cluster in a temporary folder,
# listening only on a Unix socket in that folder, run as an unprivileged user
# when we are root.
#
#   postgres-test-server.sh start STATE   starts it; STATE (a file) then holds
#                                         the libpq URI on its first line, or
#                                         "unavailable: WHY" when the server
#                                         programs are not installed
#   postgres-test-server.sh restart STATE restarts it (open connections break)
#   postgres-test-server.sh stop STATE    stops it and removes the cluster
#
# Starting succeeds with "unavailable" only when the packages are missing (see
# scripts/install-deps.sh); any other failure is an error.
set -euo pipefail

action=${1:-}
state=${2:-}
if [ -z "$action" ] || [ -z "$state" ]; then
    echo "usage: $0 start|stop STATE" >&2
    exit 2
fi

find_bindir() {
    local dir
    for dir in $(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V -r); do
        [ -x "$dir/initdb" ] && [ -x "$dir/pg_ctl" ] && { echo "$dir"; return 0; }
    done
    command -v initdb >/dev/null 2>&1 && command -v pg_ctl >/dev/null 2>&1 && { dirname "$(command -v initdb)"; return 0; }
    return 1
}

# Runs a command as the cluster's owner: ourselves, or an unprivileged user
# when we are root (the server refuses to run as root).
as_owner() {
    if [ "$(id -u)" -eq 0 ]; then
        runuser -u "$owner" -- "$@"
    else
        "$@"
    fi
}

pick_owner() {
    if [ "$(id -u)" -ne 0 ]; then id -un; return; fi
    if id postgres >/dev/null 2>&1; then echo postgres; else echo nobody; fi
}

case "$action" in
start)
    mkdir -p "$(dirname "$state")"
    if ! bindir=$(find_bindir); then
        echo "unavailable: the PostgreSQL server programs (package postgresql) are not installed" > "$state"
        echo "postgres-test-server: $(cat "$state")"
        exit 0
    fi
    owner=$(pick_owner)
    cluster=$(mktemp -d /tmp/vexl-postgres-XXXXXX)
    chmod 755 "$cluster"
    [ "$(id -u)" -eq 0 ] && chown "$owner" "$cluster"
    as_owner "$bindir/initdb" -D "$cluster/data" -U vexl --auth=trust -E UTF8 --no-sync > "$cluster/initdb.log" 2>&1 || {
        cat "$cluster/initdb.log" >&2; rm -rf "$cluster"; exit 1; }
    # No TCP at all: the socket in the cluster's folder is the only way in.
    if ! as_owner "$bindir/pg_ctl" -D "$cluster/data" -l "$cluster/server.log" -w -t 60 start \
        -o "-c listen_addresses='' -k $cluster -c fsync=off -c synchronous_commit=off -c max_connections=60" \
        > /dev/null; then
        cat "$cluster/server.log" >&2
        rm -rf "$cluster"
        exit 1
    fi
    printf 'postgresql:///postgres?host=%s&user=vexl\n%s\n%s\n%s\n' "$cluster" "$cluster" "$bindir" "$owner" > "$state"
    echo "postgres-test-server: started in $cluster"
    ;;
restart)
    { read -r uri; read -r cluster; read -r bindir; read -r owner; } < "$state"
    case "$uri" in unavailable:*) exit 1 ;; esac
    as_owner "$bindir/pg_ctl" -D "$cluster/data" -w -t 60 -m fast restart > /dev/null
    ;;
stop)
    [ -f "$state" ] || exit 0
    { read -r uri; read -r cluster; read -r bindir; read -r owner; } < "$state" || true
    rm -f "$state"
    case "$uri" in unavailable:*) exit 0 ;; esac
    if [ -n "${cluster:-}" ] && [ -d "$cluster/data" ]; then
        as_owner "$bindir/pg_ctl" -D "$cluster/data" -w -t 60 -m fast stop > /dev/null || true
        rm -rf "$cluster"
    fi
    echo "postgres-test-server: stopped"
    ;;
*)
    echo "usage: $0 start|stop STATE" >&2
    exit 2
    ;;
esac
