"""Checks of two front machines sharing one PostgreSQL session store (started
by scripts/e2e/two_machines.sh): one session alternating between the machines
keeps counting; 100 increments of one counter, 8 at a time over both machines,
end at 100; after the database restarts, the next requests are served and the
count goes on.

With --load SECONDS, wrk then sends the session's counter page to both
machines at once for that long (16 connections each) and the count must have
gone up by every request wrk saw answered: requests/s and errors are printed.

Usage: check_two_machines.py --restart COMMAND [--load SECONDS] BASE_A BASE_B"""
import argparse
import concurrent.futures
import os
import re
import subprocess
import sys
import urllib.parse
import urllib.request

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from check_site import TIMEOUT_SECONDS, CheckFailed, Client, expect, visits_of  # noqa: E402


def count_at(base, header):
    request = urllib.request.Request(urllib.parse.urljoin(base, "counter.vxl"), headers=header)
    with urllib.request.urlopen(request, timeout=TIMEOUT_SECONDS) as response:
        return visits_of(response.read().decode("utf-8", "replace"))


def load(seconds, header, first, second):
    cookie = header["Cookie"]
    runs = [subprocess.Popen(["wrk", "-t1", "-c16", f"-d{seconds}s", "--timeout", "10s", "-H", f"Cookie: {cookie}",
                              urllib.parse.urljoin(base, "counter.vxl")], stdout=subprocess.PIPE, text=True)
            for base in (first, second)]
    answered, errors, rates = 0, 0, []
    for run in runs:
        output = run.communicate()[0]
        answered += int(re.search(r"(\d+) requests in", output).group(1))
        rates.append(float(re.search(r"Requests/sec:\s+([\d.]+)", output).group(1)))
        bad = re.search(r"Non-2xx or 3xx responses: (\d+)", output)
        socket_errors = re.search(r"Socket errors: connect (\d+), read (\d+), write (\d+), timeout (\d+)", output)
        errors += int(bad.group(1)) if bad else 0
        errors += sum(int(n) for n in socket_errors.groups()) if socket_errors else 0
    before = 109
    final = count_at(first, header)
    print(f"load: {seconds} s, 16 connections on each machine, one session: {rates[0]:.0f} + {rates[1]:.0f} "
          f"requests/s, {answered} answered, {errors} errors; count {before} -> {final}")
    expect(errors == 0, f"the load run had {errors} errors")
    # wrk leaves out the requests still under way when it stops (at most one
    # per connection), which the server may have finished: the count may be
    # up to 32 more than wrk saw, never less.
    kept = final - before - 1
    expect(answered <= kept <= answered + 32, f"the count went from {before} to {final} for {answered} requests: "
           f"{answered - kept} lost")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--restart", required=True)
    parser.add_argument("--load", type=int, default=0)
    parser.add_argument("bases", nargs=2)
    arguments = parser.parse_args()
    first, second = arguments.bases
    try:
        client = Client(first)
        expect(visits_of(client.get("counter.vxl")[2]) == 1, "a new session did not begin at 1")
        cookies = {cookie.name: cookie.value for cookie in client.jar}
        header = {"Cookie": "; ".join(f"{name}={value}" for name, value in cookies.items())}
        counts = [1] + [count_at(base, header) for base in (second, first, second, first, second)]
        expect(counts == [1, 2, 3, 4, 5, 6], f"alternating between the machines counted {counts}")
        print("ok   one session alternating between two machines counts 1..6")

        bases = [first, second] * 50
        with concurrent.futures.ThreadPoolExecutor(8) as pool:
            seen = sorted(pool.map(lambda base: count_at(base, header), bases))
        expect(seen == list(range(7, 107)), f"100 increments over both machines lost or repeated some: "
               f"{sorted(set(range(7, 107)) - set(seen))[:10]} missing")
        print("ok   100 increments, 8 at a time over both machines, ended at 106 (from 6)")

        subprocess.run(arguments.restart, shell=True, check=True, stdout=subprocess.DEVNULL)
        after = [count_at(base, header) for base in (first, second, first)]
        expect(after == [107, 108, 109], f"after the database restarted the count went {after}")
        print("ok   the database restarted: the next requests on both machines went on counting")
        if arguments.load > 0:
            load(arguments.load, header, first, second)
    except CheckFailed as failure:
        print(f"FAIL two machines: {failure}")
        print("two machines: FAILED")
        return 1
    print("two machines: all checks passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
