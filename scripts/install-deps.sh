#!/usr/bin/env bash
# Installs what building, testing and fuzzing Vexl needs on Debian 12 (or a
# close relative). Idempotent: it asks apt only for packages that are missing,
# and refreshes the package lists only when there is something to install.
set -euo pipefail

packages=(
  build-essential g++ cmake ninja-build pkg-config   # building
  libgtest-dev                                        # unit tests
  libsqlite3-dev sqlite3                              # the translation store
  clang libclang-rt-14-dev                            # fuzzing (libFuzzer)
  python3 perl                                        # test tools and foreign-script tests
  libfcgi-dev                                         # the FastCGI front end
  libpcre2-dev                                        # regular expressions in Quince
  nlohmann-json3-dev                                  # JSON in Quince
  dpkg-dev                                            # the Debian package (cpack -G DEB, dpkg-shlibdeps)
  lighttpd nginx apache2                              # the servers of docs/deploy.md, started by its test
  libpq-dev postgresql                                # PostgreSQL stores, and the tests' own server
)

is_installed() {
  [ "$(dpkg-query -W -f='${Status}' "$1" 2>/dev/null || true)" = "install ok installed" ]
}

missing=()
for package in "${packages[@]}"; do
  is_installed "$package" || missing+=("$package")
done

if [ "${#missing[@]}" -eq 0 ]; then
  echo "install-deps: everything is installed"
  exit 0
fi

run_as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null 2>&1; then
    sudo "$@"
  else
    echo "install-deps: need root (or sudo) to install: ${missing[*]}" >&2
    exit 1
  fi
}

echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
# The web servers are only started by the tests, on 127.0.0.1 and free
# ports: keep their packages from starting a service on port 80 as they
# install (a policy-rc.d that refuses, unless the machine has one already).
policy=/usr/sbin/policy-rc.d
made_policy=0
if [ ! -e "$policy" ]; then
  run_as_root sh -c "printf '#!/bin/sh\nexit 101\n' > $policy && chmod 755 $policy"
  made_policy=1
fi
status=0
run_as_root apt-get update -q || status=$?
[ "$status" -ne 0 ] || run_as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}" || status=$?
[ "$made_policy" -eq 0 ] || run_as_root rm -f "$policy"
exit "$status"
