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
run_as_root apt-get update -q
run_as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
