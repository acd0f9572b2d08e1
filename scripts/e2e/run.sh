#!/usr/bin/env bash
# End-to-end test of the vexl front ends behind a real web server.
#
# Installs what is missing (lighttpd, libfcgi-dev, chromium, chromium-driver,
# python3; needs root or sudo for that), builds vexl if needed, serves a copy
# of examples/site with lighttpd on 127.0.0.1 through `vexl cgi` (one port)
# and `vexl fcgi` (another), and runs scripts/e2e/check_site.py against both:
# HTTP checks, then headless Chromium through chromedriver. Screenshots and
# logs go to BUILD/e2e/. Not part of ctest, since it installs packages.
#
# Usage: scripts/e2e/run.sh [BUILD_DIR]   (default: ./build; or $VEXL_BUILD_DIR)
#        VEXL_E2E_NO_INSTALL=1 skips apt-get; VEXL_E2E_NO_BROWSER=1 skips Chromium.
set -euo pipefail

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$(realpath -m "${1:-${VEXL_BUILD_DIR:-$repo/build}}")
source "$repo/scripts/e2e/site-server.sh"

if [ "${VEXL_E2E_NO_INSTALL:-0}" != 1 ]; then
    packages=(lighttpd libfcgi-dev python3)
    [ "${VEXL_E2E_NO_BROWSER:-0}" != 1 ] && packages+=(chromium chromium-driver)
    vexl_install_missing "${packages[@]}"
fi
for tool in lighttpd python3; do
    command -v "$tool" > /dev/null || { echo "e2e: $tool is missing" >&2; exit 1; }
done

vexl_ensure_built "$repo" "$build"
vexl="$build/vexl"

work=$(mktemp -d "${TMPDIR:-/tmp}/vexl-e2e-XXXXXX")
artefacts="$build/e2e"
mkdir -p "$artefacts"
cleanup() {
    vexl_stop_lighttpd
    cp "$work"/lighttpd-error.log "$artefacts/" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

vexl_prepare_site "$repo" "$work"
# The page that writes a visitor's value in every place a page can, for the
# injection checks (the site runs with SafeOutput = 1).
cp "$repo/scripts/e2e/payloads.vxl" "$work/site/payloads.vxl"
# A page that never ends, for the request's clock: the site's pages all end
# well within the 2 seconds it gets here.
printf '<p>before</p><LOOP condition="1"></LOOP>\n' > "$work/site/endless.vxl"
printf 'MaxRunSeconds = 2\n' >> "$work/site/vexl.ini"
cgi_port=$(vexl_free_port)
fcgi_port=$(vexl_free_port)
while [ "$fcgi_port" = "$cgi_port" ]; do fcgi_port=$(vexl_free_port); done
vexl_write_lighttpd_conf "$vexl" "$work" "$cgi_port" "$fcgi_port"
# A folder the web server protects by password: no path through vexl may
# reach its pages without it (the site sends _htmlfile to a page's own URL).
mkdir -p "$work/site/admin"
printf '<p id="secret">the admin page</p>\n' > "$work/site/admin/secret.vxl"
printf 'admin:not-a-real-password\n' > "$work/admin-users"
cat >> "$work/lighttpd.conf" <<CONF
server.modules += ( "mod_auth", "mod_authn_file" )
auth.backend = "plain"
auth.backend.plain.userfile = "$work/admin-users"
auth.require = ( "/admin/" => ( "method" => "basic", "realm" => "admin", "require" => "valid-user" ) )
CONF
cp "$work/lighttpd.conf" "$artefacts/lighttpd.conf"
vexl_start_lighttpd "$work"
echo "lighttpd: cgi on http://127.0.0.1:$cgi_port/, fcgi on http://localhost:$fcgi_port/"

browser_flag=()
[ "${VEXL_E2E_NO_BROWSER:-0}" = 1 ] && browser_flag=(--no-browser)
# Two host names keep the two front ends' session cookies apart.
python3 "$repo/scripts/e2e/check_site.py" \
    --site "cgi=http://127.0.0.1:$cgi_port/" \
    --site "fcgi=http://localhost:$fcgi_port/" \
    --artefacts "$artefacts" "${browser_flag[@]}"
