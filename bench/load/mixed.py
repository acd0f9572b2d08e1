#!/usr/bin/env python3
"""Mixed load against one front end: well-behaved visitors ask for the start
page in a loop while, at the same time, slow clients trickle their request
heads a byte at a time, bursts of connections arrive all at once (more than
a server takes), and a runaway page is asked for now and then. Prints what
each kind of client got; exits 1 if a well-behaved request was not answered
with 200.

Usage: mixed.py LABEL BASE_URL [SECONDS]   (BASE_URL ends in "/"; the site has
       endless.vxl, a page that never ends)
Only the Python standard library is used."""

import socket
import sys
import threading
import time
import urllib.parse

GOOD_CLIENTS = 8
SLOW_CLIENTS = 40
BURST_SIZE = 80
BURST_EVERY = 2.0
RUNAWAY_EVERY = 3.0
TIMEOUT = 30


def exchange(host, port, path, timeout=TIMEOUT):
    """One HTTP/1.0 request; the status code, or a word for what went wrong."""
    try:
        with socket.create_connection((host, port), timeout=timeout) as connection:
            connection.sendall(f"GET {path} HTTP/1.0\r\nHost: {host}\r\n\r\n".encode())
            data = b""
            while True:
                piece = connection.recv(65536)
                if not piece:
                    break
                data += piece
        if not data.startswith(b"HTTP/1."):
            return "no answer"
        return int(data.split(b" ", 2)[1])
    except ConnectionResetError:
        return "reset"
    except socket.timeout:
        return "timeout"
    except OSError as error:
        return type(error).__name__


def main():
    label, base = sys.argv[1], sys.argv[2]
    seconds = float(sys.argv[3]) if len(sys.argv) > 3 else 20.0
    url = urllib.parse.urlsplit(base)
    host, port, root = url.hostname, url.port, url.path or "/"
    stop = time.monotonic() + seconds
    lock = threading.Lock()
    good_latencies, good_failures, burst, slow, runaway = [], [], {}, {}, []

    def good_visitor():
        while time.monotonic() < stop:
            started = time.monotonic()
            status = exchange(host, port, root)
            with lock:
                if status == 200:
                    good_latencies.append(time.monotonic() - started)
                else:
                    good_failures.append(status)

    def slow_client():
        # A head sent one byte every two seconds: the server must not keep
        # other clients waiting for it.
        outcome = "held to the end"
        try:
            with socket.create_connection((host, port), timeout=TIMEOUT) as connection:
                request = f"GET {root} HTTP/1.1\r\nHost: {host}\r\nX-Slow: ".encode() + b"a" * 100
                for byte in request:
                    if time.monotonic() >= stop:
                        break
                    connection.sendall(bytes([byte]))
                    time.sleep(2)
                else:
                    outcome = "sent whole"
        except (ConnectionResetError, BrokenPipeError):
            outcome = "closed by the server"
        except OSError as error:
            outcome = type(error).__name__
        with lock:
            slow[outcome] = slow.get(outcome, 0) + 1

    def bursts():
        while time.monotonic() < stop:
            results = []
            threads = [threading.Thread(target=lambda: results.append(exchange(host, port, root)))
                       for _ in range(BURST_SIZE)]
            for thread in threads:
                thread.start()
            for thread in threads:
                thread.join()
            with lock:
                for status in results:
                    burst[status] = burst.get(status, 0) + 1
            time.sleep(BURST_EVERY)

    def runaways():
        while time.monotonic() < stop:
            started = time.monotonic()
            status = exchange(host, port, root + "endless.vxl")
            with lock:
                runaway.append((status, time.monotonic() - started))
            time.sleep(RUNAWAY_EVERY)

    threads = [threading.Thread(target=good_visitor) for _ in range(GOOD_CLIENTS)]
    threads += [threading.Thread(target=slow_client) for _ in range(SLOW_CLIENTS)]
    threads += [threading.Thread(target=bursts), threading.Thread(target=runaways)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()

    good_latencies.sort()
    count = len(good_latencies)

    def percentile(p):
        return good_latencies[min(count - 1, int(count * p))] * 1000 if count else float("nan")

    print(f"{label}: {seconds:.0f} s; {GOOD_CLIENTS} visitors, {SLOW_CLIENTS} slow clients, "
          f"bursts of {BURST_SIZE} every {BURST_EVERY:.0f} s, a runaway page every {RUNAWAY_EVERY:.0f} s")
    print(f"  visitors: {count} answered 200 ({count / seconds:.0f}/s), {len(good_failures)} not "
          f"{sorted(set(map(str, good_failures)))[:5]}; latency p50 {percentile(0.5):.1f} ms, "
          f"p99 {percentile(0.99):.1f} ms, max {percentile(1.0):.1f} ms")
    print(f"  bursts: {dict(sorted(burst.items(), key=lambda item: str(item[0])))}")
    print(f"  slow clients: {slow}")
    print(f"  runaway page: {[f'{status} after {taken:.1f} s' for status, taken in runaway]}")
    return 1 if good_failures else 0


if __name__ == "__main__":
    sys.exit(main())
