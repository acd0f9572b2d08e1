#!/usr/bin/env bash
# A cold process, as CGI runs one: `vexl render` of a 100 KB static page, the
# 1,000-row table (bench/web/table.vxl) and a 1 MB page, each timed many
# times, side by side in the same run with a C++ program that only starts and
# exits (built here with the same compiler). Prints the median wall time, the
# time beyond the empty program, page faults (minor, median) and peak RSS of
# each, and MB/s for the static pages. Peak RSS counts the small program that
# starts them (it is in the empty program's figure too). With VEXL_BENCH_HUGE_MB=N (e.g. 100) it also
# renders one page of N MB of <b> tags and prints its peak memory per byte
# of page.
#
# Usage: bench/cold_process.sh [BUILD_DIR]   (default: ./build; or $VEXL_BUILD_DIR)
#   VEXL_BENCH_RUNS (runs per case, default 200)
set -euo pipefail

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$(realpath -m "${1:-${VEXL_BUILD_DIR:-$repo/build}}")
runs=${VEXL_BENCH_RUNS:-200}
huge=${VEXL_BENCH_HUGE_MB:-0}
source "$repo/scripts/e2e/site-server.sh"
vexl_ensure_built "$repo" "$build"

work=$(mktemp -d "${TMPDIR:-/tmp}/vexl-cold-XXXXXX")
trap 'rm -rf "$work"' EXIT

printf 'int main() { return 0; }\n' > "$work/empty.cpp"
"${CXX:-c++}" -O2 -o "$work/empty" "$work/empty.cpp"
# Runs one command with its output to /dev/null and prints its wall time (ns),
# page faults and peak RSS (KiB). Small, because a child's peak RSS counts the
# parent's at the fork.
cat > "$work/runone.c" <<'C'
#include <fcntl.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
int main(int argc, char** argv) {
    (void)argc;
    struct timespec a, b;
    clock_gettime(CLOCK_MONOTONIC, &a);
    pid_t pid = fork();
    if (pid == 0) {
        int out = open("/dev/null", O_WRONLY);
        dup2(out, 1);
        execv(argv[1], argv + 1);
        _exit(127);
    }
    int status = 0;
    struct rusage usage;
    wait4(pid, &status, 0, &usage);
    clock_gettime(CLOCK_MONOTONIC, &b);
    printf("%lld %ld %ld %d\n", (long long)(b.tv_sec - a.tv_sec) * 1000000000LL + (b.tv_nsec - a.tv_nsec),
           usage.ru_minflt + usage.ru_majflt, usage.ru_maxrss, status);
    return 0;
}
C
"${CC:-cc}" -O2 -o "$work/runone" "$work/runone.c"
cp "$repo"/bench/web/*.vxl "$work/"

exec python3 - "$build/vexl" "$work" "$runs" "$huge" <<'PY'
import os, statistics, subprocess, sys

vexl, work, runs, huge = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4])

def static_page(size):
    # Paragraphs of text in ordinary tags: nothing for the walker to evaluate.
    row = "<p class=\"note\">Static text of a page, <b>bold</b> and <i>not</i>, line %06d.</p>\n"
    parts, total, n = [], 0, 0
    while total < size:
        line = row % n
        parts.append(line)
        total += len(line)
        n += 1
    return "<html><head><title>Static</title></head><body>\n" + "".join(parts) + "</body></html>\n"

for name, size in (("static100k.vxl", 100 * 1024), ("static1m.vxl", 1024 * 1024)):
    with open(os.path.join(work, name), "w") as f:
        f.write(static_page(size))

def run_once(argv):
    line = subprocess.run([os.path.join(work, "runone")] + argv, check=True, capture_output=True, text=True).stdout
    nanoseconds, faults, rss, status = (int(field) for field in line.split())
    if status != 0:
        sys.exit("cold_process: %s exited with status %d" % (" ".join(argv), status))
    return nanoseconds / 1e9, faults, rss

cases = [("empty C++ program", [os.path.join(work, "empty")], 0)]
for label, page in (("100 KB static page", "static100k.vxl"), ("table of 1,000 rows", "table.vxl"),
                    ("1 MB static page", "static1m.vxl")):
    path = os.path.join(work, page)
    cases.append((label, [vexl, "render", path], os.path.getsize(path)))

results = {label: [] for label, _, _ in cases}
os.chdir(work)
# Interleaved, so that a busy moment of the machine touches every case alike.
for _ in range(runs):
    for label, argv, _ in cases:
        results[label].append(run_once(argv))

print("cold_process: %d runs each, median wall time from fork to exit, %d cores" % (runs, os.cpu_count()))
base = statistics.median(t for t, _, _ in results["empty C++ program"])
for label, argv, size in cases:
    times = [t for t, _, _ in results[label]]
    faults = statistics.median(f for _, f, _ in results[label])
    rss = max(r for _, _, r in results[label])
    median = statistics.median(times)
    line = "%-20s %7.2f ms  (+%5.2f ms)  %6d page faults  peak RSS %6.2f MiB" % (
        label, median * 1e3, (median - base) * 1e3, faults, rss / 1024)
    if size and "static" in argv[-1]:
        line += "  %7.1f MB/s (%d bytes)" % (size / median / 1e6, size)
    print(line)

if huge:
    path = os.path.join(work, "huge.vxl")
    with open(path, "w") as f:
        chunk = "<b>" * (1 << 20)
        for _ in range(huge):
            f.write(chunk[: (1 << 20) - (1 << 20) % 3])
    size = os.path.getsize(path)
    elapsed, faults, rss = run_once([vexl, "render", path])
    print("%d MB of <b> tags: %.1f s, peak RSS %.0f MiB, %.2f bytes of memory per byte of page "
          "(%.2f beyond the page's text)" % (huge, elapsed, rss / 1024, rss * 1024 / size, rss * 1024 / size - 1))
PY
