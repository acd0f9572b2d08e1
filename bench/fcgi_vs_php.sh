#!/usr/bin/env bash
# Behind a real web server: lighttpd on 127.0.0.1 in front of `vexl fcgi` and
# of PHP's FastCGI program (`php-cgi`, without and with opcache), the same
# pages (bench/web: a table of 1,000 rows with two includes, and a page that
# counts a session variable), 2 worker processes each, measured one after the
# other with the same wrk settings. Checks first that both give the same page
# (whitespace, quotes and case aside), then prints requests/s and the ratios.
# Beside them, the ceiling: a FastCGI program of a few lines that only writes
# the page PHP gave, behind the same lighttpd, which no backend can pass.
# Installs lighttpd, wrk and php-cgi when missing (Debian packages).
#
# Usage: bench/fcgi_vs_php.sh [BUILD_DIR]   (default: ./build; or $VEXL_BUILD_DIR)
#   VEXL_BENCH_SECONDS (per run, default 10), VEXL_BENCH_CONNECTIONS (default 16),
#   VEXL_BENCH_THREADS (default 2), VEXL_BENCH_PROCS (workers per server, default 2).
set -euo pipefail

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$(realpath -m "${1:-${VEXL_BUILD_DIR:-$repo/build}}")
seconds=${VEXL_BENCH_SECONDS:-10}
connections=${VEXL_BENCH_CONNECTIONS:-16}
threads=${VEXL_BENCH_THREADS:-2}
procs=${VEXL_BENCH_PROCS:-2}
source "$repo/scripts/e2e/site-server.sh"

vexl_install_missing lighttpd wrk php-cgi curl python3
vexl_ensure_built "$repo" "$build"
vexl="$build/vexl"
php=$(command -v php-cgi)

work=$(mktemp -d "${TMPDIR:-/tmp}/vexl-vs-php-XXXXXX")
cleanup() {
    vexl_stop_lighttpd
    rm -rf "$work"
}
trap cleanup EXIT

cp -R "$repo/bench/web" "$work/site"
mkdir -p "$work/php-sessions"
printf '[QuinceConfig]\nSessionStore = %s\n' "$work/sessions.db" > "$work/site/vexl.ini"

vexl_port=$(vexl_free_port)
php_port=$(vexl_free_port)
opcache_port=$(vexl_free_port)
ceiling_port=$(vexl_free_port)
while [ "$php_port" = "$vexl_port" ]; do php_port=$(vexl_free_port); done
while [ "$opcache_port" = "$vexl_port" ] || [ "$opcache_port" = "$php_port" ]; do opcache_port=$(vexl_free_port); done
while [ "$ceiling_port" = "$vexl_port" ] || [ "$ceiling_port" = "$php_port" ] || [ "$ceiling_port" = "$opcache_port" ]; do
    ceiling_port=$(vexl_free_port)
done

# The ceiling: answers each request with one of the two files named in its
# arguments (the second for the session page), read at the first request:
# they are saved from PHP's answers once lighttpd runs.
cat > "$work/ceiling.c" <<'C'
#include <fcgiapp.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
static char* page[2];
static long size[2];
static void load(int i, const char* path) {
    FILE* f = fopen(path, "rb");
    if (f == NULL) exit(1);
    fseek(f, 0, SEEK_END);
    size[i] = ftell(f);
    fseek(f, 0, SEEK_SET);
    page[i] = malloc(size[i] > 0 ? size[i] : 1);
    if (fread(page[i], 1, size[i], f) != (size_t)size[i]) exit(1);
    fclose(f);
}
int main(int argc, char** argv) {
    FCGX_Stream *in, *out, *err;
    FCGX_ParamArray env;
    if (argc < 3) return 1;
    while (FCGX_Accept(&in, &out, &err, &env) >= 0) {
        const char* script = FCGX_GetParam("SCRIPT_NAME", env);
        int i = script != NULL && strstr(script, "session") != NULL;
        if (page[i] == NULL) load(i, argv[1 + i]);
        FCGX_FPrintF(out, "Content-Type: text/html\r\nContent-Length: %ld\r\n\r\n", size[i]);
        FCGX_PutStr(page[i], (int)size[i], out);
    }
    return 0;
}
C
"${CC:-cc}" -O2 -o "$work/ceiling" "$work/ceiling.c" -lfcgi

# One FastCGI server block per port; PHP_FCGI_CHILDREN=0 keeps php-cgi to
# one process per lighttpd worker, as `vexl fcgi` is.
php_server() {
    local extension=$1 socket=$2 opcache=$3
    cat <<CONF
    fastcgi.server = ( "$extension" => ((
        "bin-path" => "$php -d opcache.enable=$opcache -d session.save_path=$work/php-sessions",
        "socket" => "$work/$socket.sock",
        "max-procs" => $procs,
        "bin-environment" => ( "PHP_FCGI_CHILDREN" => "0", "PHP_FCGI_MAX_REQUESTS" => "0" ),
        "check-local" => "enable"
    )) )
CONF
}
cat > "$work/lighttpd.conf" <<CONF
server.document-root = "$work/site"
server.bind = "127.0.0.1"
server.port = $vexl_port
server.errorlog = "$work/lighttpd-error.log"
server.modules = ( "mod_access", "mod_fastcgi" )
url.access-deny = ( ".ini", ".db" )
static-file.exclude-extensions = ( ".vxl", ".php" )
\$SERVER["socket"] == "127.0.0.1:$php_port" {
$(php_server .php php 0)
}
else \$SERVER["socket"] == "127.0.0.1:$opcache_port" {
$(php_server .php opcache 1)
}
else \$SERVER["socket"] == "127.0.0.1:$ceiling_port" {
    fastcgi.server = ( ".txt" => ((
        "bin-path" => "$work/ceiling $work/table.saved.html $work/session.saved.html",
        "socket" => "$work/ceiling.sock",
        "max-procs" => $procs,
        "check-local" => "disable"
    )) )
}
else \$SERVER["socket"] == "127.0.0.1:$vexl_port" {
    fastcgi.server = ( ".vxl" => ((
        "bin-path" => "$vexl fcgi",
        "socket" => "$work/vexl-fcgi.sock",
        "max-procs" => $procs,
        "check-local" => "enable"
    )) )
}
CONF
vexl_start_lighttpd "$work"

# Whitespace, quotes and case aside.
normalised() { tr -d " \t\r\n\"'" < "$1" | tr '[:upper:]' '[:lower:]'; }

fetch() {
    local url=$1 file=$2 status
    status=$(curl -s -o "$file" -w '%{http_code}' "$url")
    if [ "$status" != 200 ]; then
        echo "fcgi_vs_php: $url answered $status" >&2
        head -c 2000 "$file" >&2
        cat "$work/lighttpd-error.log" >&2 2>/dev/null || true
        exit 1
    fi
}

# Prints the requests/s of one wrk run; fails on errors or non-2xx answers.
measure() {
    local url=$1 out
    out=$(wrk -t "$threads" -c "$connections" -d "${seconds}s" --timeout 10s "$url")
    if grep -qE 'Non-2xx|Socket errors' <<< "$out"; then
        echo "fcgi_vs_php: errors under load at $url" >&2
        echo "$out" >&2
        exit 1
    fi
    awk '/^Requests\/sec:/ { printf "%d", $2 }' <<< "$out"
}

echo "fcgi_vs_php: lighttpd, wrk -t$threads -c$connections -d${seconds}s, $procs workers per server, $(nproc) cores"
for page in table session; do
    fetch "http://127.0.0.1:$vexl_port/$page.vxl" "$work/$page.vexl.html"
    fetch "http://127.0.0.1:$php_port/$page.php" "$work/$page.php.html"
    fetch "http://127.0.0.1:$opcache_port/$page.php" "$work/$page.opcache.html"
    for other in php opcache; do
        if ! cmp -s <(normalised "$work/$page.vexl.html") <(normalised "$work/$page.$other.html"); then
            echo "fcgi_vs_php: $page.vxl and $page.php ($other) give different pages" >&2
            diff <(normalised "$work/$page.vexl.html" | fold -w 100) <(normalised "$work/$page.$other.html" | fold -w 100) | head -20 >&2
            exit 1
        fi
    done
    # Warm every worker before the measured runs.
    for port in "$vexl_port" "$php_port" "$opcache_port"; do
        extension=php
        [ "$port" = "$vexl_port" ] && extension=vxl
        wrk -t "$threads" -c "$connections" -d 1s "http://127.0.0.1:$port/$page.$extension" > /dev/null
    done
    cp "$work/$page.php.html" "$work/$page.saved.html"
    fetch "http://127.0.0.1:$ceiling_port/$page.txt" "$work/$page.ceiling.html"
    wrk -t "$threads" -c "$connections" -d 1s "http://127.0.0.1:$ceiling_port/$page.txt" > /dev/null
    vexl_rps=$(measure "http://127.0.0.1:$vexl_port/$page.vxl")
    php_rps=$(measure "http://127.0.0.1:$php_port/$page.php")
    opcache_rps=$(measure "http://127.0.0.1:$opcache_port/$page.php")
    ceiling_rps=$(measure "http://127.0.0.1:$ceiling_port/$page.txt")
    printf '%-8s %6d bytes  vexl fcgi %7d req/s   php-cgi %7d req/s   php-cgi+opcache %7d req/s   ratio %.2f / %.2f   ceiling %7d req/s\n' \
        "$page" "$(wc -c < "$work/$page.vexl.html")" "$vexl_rps" "$php_rps" "$opcache_rps" \
        "$(awk -v a="$vexl_rps" -v b="$php_rps" 'BEGIN { print a / b }')" \
        "$(awk -v a="$vexl_rps" -v b="$opcache_rps" 'BEGIN { print a / b }')" "$ceiling_rps"
done
echo "fcgi_vs_php: ratio is vexl fcgi's requests/s over php-cgi's / over php-cgi+opcache's;"
echo "fcgi_vs_php: ceiling is a FastCGI program that only writes PHP's page, behind the same lighttpd"
