# Shared by scripts/e2e/run.sh and bench/load/run.sh (source it, bash):
# prepares a copy of examples/site in a scratch folder and runs lighttpd on
# 127.0.0.1 with the site behind `vexl cgi` on one port and `vexl fcgi` on
# another. Nothing here installs packages.

# vexl_free_port: prints a TCP port on 127.0.0.1 that is free right now.
vexl_free_port() {
    python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1]); s.close()'
}

# vexl_prepare_site REPO WORK: copies the example site to WORK/site, builds
# its translation database from translations.sql and points the session
# store into WORK, so that the repository stays untouched.
vexl_prepare_site() {
    local repo=$1 work=$2
    rm -rf "$work/site"
    cp -R "$repo/examples/site" "$work/site"
    sh "$work/site/make-translations.sh" "$work/site/translations.db" > /dev/null
    # The copy's configuration keeps sessions in the scratch folder.
    python3 - "$work/site/vexl.ini" "$work/sessions.db" <<'PY'
import re, sys
path, store = sys.argv[1], sys.argv[2]
text = open(path, encoding="utf-8").read()
line = "SessionStore = " + store
if re.search(r"(?m)^SessionStore\s*=", text):
    text = re.sub(r"(?m)^SessionStore\s*=.*$", line, text)
elif re.search(r"(?mi)^\[QuinceConfig\]\s*$", text):
    text = re.sub(r"(?mi)^\[QuinceConfig\]\s*$", "[QuinceConfig]\n" + line, text, count=1)
else:
    text += "\n[QuinceConfig]\n" + line + "\n"
open(path, "w", encoding="utf-8").write(text)
PY
}

# vexl_write_lighttpd_conf VEXL WORK CGI_PORT FCGI_PORT: writes WORK/lighttpd.conf.
# Port CGI_PORT runs .vxl pages with `vexl` as a CGI handler (it answers as
# `vexl cgi` when started by a web server); FCGI_PORT sends them to one
# long-lived `vexl fcgi` process that lighttpd starts itself.
vexl_write_lighttpd_conf() {
    local vexl=$1 work=$2 cgi_port=$3 fcgi_port=$4
    cat > "$work/lighttpd.conf" <<CONF
server.document-root = "$work/site"
server.bind = "127.0.0.1"
server.port = $cgi_port
server.errorlog = "$work/lighttpd-error.log"
server.max-request-size = 2048
server.modules = ( "mod_access", "mod_cgi", "mod_fastcgi" )
index-file.names = ( "index.vxl" )
# Configuration, databases, SQL and page fragments are not for the browser.
url.access-deny = ( ".ini", ".db", ".sql", ".inc", ".sh", "~" )
static-file.exclude-extensions = ( ".vxl" )
mimetype.assign = ( ".css" => "text/css", ".html" => "text/html", ".png" => "image/png", ".txt" => "text/plain" )

\$SERVER["socket"] == "127.0.0.1:$fcgi_port" {
    fastcgi.server = ( ".vxl" => ((
        "bin-path" => "$vexl fcgi",
        "socket" => "$work/vexl-fcgi.sock",
        "max-procs" => 2,
        "bin-environment" => ( "VEXL_MAX_BODY" => "1048576" ),
        "check-local" => "enable"
    )) )
}
else \$SERVER["socket"] == "127.0.0.1:$cgi_port" {
    cgi.assign = ( ".vxl" => "$vexl" )
}
CONF
}

# vexl_start_lighttpd WORK: starts lighttpd in the foreground of a background
# job, waits until both ports answer, and sets VEXL_LIGHTTPD_PID.
vexl_start_lighttpd() {
    local work=$1
    lighttpd -tt -f "$work/lighttpd.conf" > "$work/lighttpd-check.log" 2>&1 || {
        cat "$work/lighttpd-check.log" >&2
        return 1
    }
    lighttpd -D -f "$work/lighttpd.conf" > "$work/lighttpd-stdout.log" 2>&1 &
    VEXL_LIGHTTPD_PID=$!
    local port
    for port in $(grep -oE '(port = |127\.0\.0\.1:)[0-9]+' "$work/lighttpd.conf" | grep -oE '[0-9]+$'); do
        local tries=0
        until python3 -c "import socket,sys; socket.create_connection(('127.0.0.1', $port), 0.5).close()" 2>/dev/null; do
            tries=$((tries + 1))
            if [ $tries -gt 100 ] || ! kill -0 "$VEXL_LIGHTTPD_PID" 2>/dev/null; then
                echo "lighttpd did not come up on port $port" >&2
                cat "$work/lighttpd-error.log" "$work/lighttpd-stdout.log" >&2 2>/dev/null
                return 1
            fi
            sleep 0.1
        done
    done
}

# vexl_stop_lighttpd: stops the lighttpd started above (and its vexl fcgi children).
vexl_stop_lighttpd() {
    if [ -n "${VEXL_LIGHTTPD_PID:-}" ] && kill -0 "$VEXL_LIGHTTPD_PID" 2>/dev/null; then
        kill "$VEXL_LIGHTTPD_PID" 2>/dev/null || true
        wait "$VEXL_LIGHTTPD_PID" 2>/dev/null || true
    fi
    VEXL_LIGHTTPD_PID=
}

# vexl_install_missing PACKAGE...: apt-get installs the packages not yet there.
vexl_install_missing() {
    local missing=() package
    for package in "$@"; do
        dpkg -s "$package" > /dev/null 2>&1 || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "installing: ${missing[*]}"
    local sudo=
    [ "$(id -u)" -ne 0 ] && sudo=sudo
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
}

# vexl_ensure_built REPO BUILD: builds vexl and the html module unless present.
vexl_ensure_built() {
    local repo=$1 build=$2
    if [ ! -f "$build/CMakeCache.txt" ]; then
        cmake -S "$repo" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVEXL_BENCH=OFF -DVEXL_TESTS=OFF
    fi
    ninja -C "$build" -j2 vexl
    ninja -C "$build" -j2 vexl_html_module > /dev/null 2>&1 || true
    [ -x "$build/vexl" ]
}
