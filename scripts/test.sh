#!/usr/bin/env bash
# Builds and runs every test (what CI runs): installs the dependencies, then
#   1. a normal build with every test,
#   2. the end-to-end test: the example site behind lighttpd (CGI and
#      FastCGI), driven by headless Chromium; two lighttpd "machines"
#      sharing one PostgreSQL session store,
#      and every web server configuration of docs/deploy.md, taken from the
#      document and started as written there (scripts/e2e/deploy_snippets.py),
#   3. the Debian package (scripts/package/run.sh): built with CPack,
#      unpacked into a scratch root with the build folder gone, the installed
#      program run and a consumer program built against it,
#   4. the same build and tests under AddressSanitizer and
#      UndefinedBehaviorSanitizer,
#   5. a clang libFuzzer build, each fuzz target run for a short while.
# Made to finish well within 30 minutes on 2 cores.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
root="$PWD"
jobs=2
fuzz_seconds=20
logs="$root/build/ci-logs"

step() { printf '\n==== %s ====\n' "$*"; }

step "dependencies"
bash scripts/install-deps.sh

mkdir -p "$logs"
summaries=()
fuzz_summaries=()

# Runs ctest in a build folder, keeps its log and remembers its summary line.
run_tests() {
  local name="$1" folder="$2"
  local status=0
  (cd "$folder" && ctest --output-on-failure -j"$jobs" --timeout 300) 2>&1 | tee "$logs/$name-ctest.log" || status=$?
  local summary
  summary="$(grep -E 'tests passed|tests failed' "$logs/$name-ctest.log" | tail -n 1 || true)"
  summaries+=("$name tests:" "${summary:-no ctest summary}")
  return "$status"
}

step "release build"
cmake -S . -B build/ci-release -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVEXL_BENCH=ON
cmake --build build/ci-release -j"$jobs"
step "release tests"
run_tests release build/ci-release

step "end-to-end: lighttpd and Chromium"
bash scripts/e2e/run.sh build/ci-release 2>&1 | tee "$logs/e2e.log"
summaries+=("end-to-end:" "$(grep -E '^e2e: ' "$logs/e2e.log" | tail -n 1)")

step "end-to-end: two machines, one PostgreSQL session store"
bash scripts/e2e/two_machines.sh build/ci-release 2>&1 | tee "$logs/two-machines.log"
summaries+=("two machines:" "$(grep -E '^two machines: ' "$logs/two-machines.log" | tail -n 1)")
grep -q '^two machines: \(all checks passed\|SKIP\)' "$logs/two-machines.log"

step "deploy snippets: each server configuration of docs/deploy.md, as written there"
python3 scripts/e2e/deploy_snippets.py build/ci-release/vexl 2>&1 | tee "$logs/deploy.log"
summaries+=("deploy snippets:" "$(grep -E '^deploy: [0-9]' "$logs/deploy.log" | tail -n 1)")

step "package: cpack -G DEB, installed into a scratch root, program and consumers"
VEXL_JOBS="$jobs" bash scripts/package/run.sh 2>&1 | tee "$logs/package.log"
summaries+=("package:" "$(grep -E '^package: ' "$logs/package.log" | tail -n 1)")

step "sanitizer build (ASan + UBSan)"
cmake -S . -B build/ci-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVEXL_SANITIZE=ON -DVEXL_BENCH=OFF
cmake --build build/ci-asan -j"$jobs"
step "sanitizer tests"
ASAN_OPTIONS="detect_leaks=1:abort_on_error=0:strict_string_checks=1" \
UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1" \
  run_tests asan build/ci-asan

step "fuzz build (clang, libFuzzer)"
fuzz_sources=(fuzz/*.cpp)
if [ -e "${fuzz_sources[0]}" ]; then
  CC=clang CXX=clang++ cmake -S . -B build/ci-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
    -DVEXL_FUZZ=ON -DVEXL_TESTS=OFF -DVEXL_BENCH=OFF
  cmake --build build/ci-fuzz -j"$jobs"
  for source in "${fuzz_sources[@]}"; do
    target="$(basename "$source" .cpp)"
    step "fuzz $target for ${fuzz_seconds}s"
    # New inputs go to a scratch folder; the seed corpus in the repository is
    # only read.
    scratch="build/ci-fuzz/corpus/$target"
    artifacts="build/ci-fuzz/artifacts/$target/"
    mkdir -p "$scratch" "$artifacts"
    corpora=("$scratch")
    [ -d "fuzz/corpus/$target" ] && corpora+=("fuzz/corpus/$target")
    ASAN_OPTIONS="detect_leaks=1" UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1" \
      "build/ci-fuzz/fuzz/$target" -max_total_time="$fuzz_seconds" -timeout=10 -rss_limit_mb=2048 \
        -artifact_prefix="$artifacts" -print_final_stats=1 "${corpora[@]}" 2>&1 | tail -n 60
    fuzz_summaries+=("fuzz $target: ${fuzz_seconds}s, no crash")
  done
else
  echo "no fuzz targets"
fi

# The ctest summary lines come last, each under the name of its build.
step "summary"
for line in "${fuzz_summaries[@]}" "${summaries[@]}"; do echo "$line"; done
