#!/usr/bin/env bash
# The package as a user gets it: builds Vexl in a scratch folder, makes the
# Debian package with CPack, removes the build folder, unpacks the package
# into a scratch root (prefix ROOT/usr, not /usr/local), and then
#   1. renders the example site's start page and a page with a user tag with
#      the installed program, and checks the example site;
#   2. builds and runs a small consumer program against the installed
#      library, once through CMake's find_package and once through pkg-config.
# Extra CMake arguments for the build may come in VEXL_PACKAGE_CMAKE_ARGS.
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
source_dir="$(cd "$here/../.." && pwd)"
jobs="${VEXL_JOBS:-2}"
scratch="$(mktemp -d "${TMPDIR:-/tmp}/vexl-package.XXXXXX")"
trap 'rm -rf "$scratch"' EXIT

step() { printf '\n---- package: %s ----\n' "$*"; }
fail() { echo "package: FAILED: $*" >&2; exit 1; }

step "build and cpack -G DEB"
build="$scratch/build"
# shellcheck disable=SC2086
cmake -S "$source_dir" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DVEXL_TESTS=OFF -DVEXL_BENCH=OFF \
  ${VEXL_PACKAGE_CMAKE_ARGS:-} > "$scratch/cmake.log"
cmake --build "$build" -j"$jobs" > "$scratch/build.log" || { cat "$scratch/build.log"; fail "build"; }
(cd "$build" && cpack -G DEB > "$scratch/cpack.log") || { cat "$scratch/cpack.log"; fail "cpack"; }
deb="$(ls "$build"/vexl_*.deb)"
mv "$deb" "$scratch/"
deb="$scratch/$(basename "$deb")"
dpkg-deb -I "$deb" | sed -n 's/^ \(Package\|Version\|Depends\): /  \1: /p'
# Nothing may come from the build folder from here on.
rm -rf "$build"

step "install into a scratch root"
root="$scratch/root"
dpkg-deb -x "$deb" "$root"
prefix="$root/usr"
for file in bin/vexl lib/libNyxVexl.so lib/vexl/html.qnc include/vexl/page/VexlPage.h \
            lib/cmake/Vexl/VexlConfig.cmake lib/pkgconfig/vexl.pc share/doc/vexl/README.md \
            share/doc/vexl/deploy.md share/doc/vexl/examples/site/index.vxl; do
  [ -e "$prefix/$file" ] || fail "the package has no $file"
done
# Pages write sessions under $HOME; keep them in the scratch folder.
export HOME="$scratch/home"
mkdir -p "$HOME"

step "the installed program"
"$prefix/bin/vexl" --version | tee "$scratch/version.txt"
grep -qx "html module: $prefix/lib/vexl/html.qnc" "$scratch/version.txt" || fail "html.qnc is not found beside the installed library"
"$prefix/bin/vexl" check --ini "$prefix/share/doc/vexl/examples/site/vexl.ini" "$prefix/share/doc/vexl/examples/site"
site="$scratch/site"
cp -r "$prefix/share/doc/vexl/examples/site" "$site"
(cd "$site" && "$prefix/bin/vexl" render index.vxl --ini vexl.ini) > "$scratch/index.html" 2> "$scratch/index.err"
[ ! -s "$scratch/index.err" ] || { cat "$scratch/index.err"; fail "render wrote to standard error"; }
grep -q "</html>" "$scratch/index.html" || fail "the start page did not render to its end"
if grep -q "Failed to create HtmlTagList" "$scratch/index.html"; then fail "the example site's user tags found no module"; fi
"$prefix/bin/vexl" render "$here/page.vxl" --var who=program > "$scratch/page.html"
grep -q '<b>a user tag</b>' "$scratch/page.html" || { cat "$scratch/page.html"; fail "the user tag did not run"; }
echo "rendered index.vxl ($(wc -c < "$scratch/index.html") bytes) and a page with a user tag"

expect_consumer_output() {
  grep -q '<p class="from-consumer">' "$1" && grep -q '<b>a user tag</b>' "$1" || { cat "$1"; fail "$2"; }
}

step "a consumer through CMake (find_package(Vexl), no C++ standard of its own)"
cmake -S "$here" -B "$scratch/consumer-cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" > "$scratch/consumer-cmake.log" \
  || { cat "$scratch/consumer-cmake.log"; fail "configuring the consumer"; }
cmake --build "$scratch/consumer-cmake" >> "$scratch/consumer-cmake.log" \
  || { cat "$scratch/consumer-cmake.log"; fail "building the consumer with CMake"; }
"$scratch/consumer-cmake/consumer" "$here/page.vxl" > "$scratch/consumer-cmake.html"
expect_consumer_output "$scratch/consumer-cmake.html" "the CMake consumer's page"
echo "built and ran the CMake consumer"

step "a consumer through pkg-config"
pc_dir="$prefix/lib/pkgconfig"
flags="$(PKG_CONFIG_PATH="$pc_dir" pkg-config --cflags --libs vexl)"
case "$flags" in *"$prefix"*) ;; *) fail "pkg-config flags do not point into the scratch root: $flags" ;; esac
# shellcheck disable=SC2086
c++ -o "$scratch/consumer-pc" "$here/consumer.cpp" $flags -Wl,-rpath,"$prefix/lib"
"$scratch/consumer-pc" "$here/page.vxl" > "$scratch/consumer-pc.html"
expect_consumer_output "$scratch/consumer-pc.html" "the pkg-config consumer's page"
echo "built and ran the pkg-config consumer ($flags)"

echo "package: $(basename "$deb") installs, renders and links under $prefix"
