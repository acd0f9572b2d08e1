"""vexl serve under requests that went wrong before: a runaway page ends at the
request's time limit, says so in the log, and the server answers the next request and,
meanwhile, the requests beside it; a page whose process crashes answers 500 alone; past the
connection limit a request gets a readable 503, not a reset; a head past
16 KiB is refused even when it arrives in one piece; a "%0a" in a path cannot
forge a line of the log.

Usage: serve_test.py VEXL"""
import concurrent.futures
import os
import socket
import subprocess
import sys
import tempfile
import time


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def ask(port, request, timeout=10):
    with socket.create_connection(("127.0.0.1", port), timeout=timeout) as connection:
        connection.sendall(request)
        answer = b""
        while True:
            piece = connection.recv(65536)
            if not piece:
                return answer
            answer += piece


def status_of(answer):
    line = answer.split(b"\r\n", 1)[0]
    return int(line.split()[1]) if line.startswith(b"HTTP/") else 0


def main():
    vexl = sys.argv[1]
    failures = []
    with tempfile.TemporaryDirectory() as root:
        with open(os.path.join(root, "vexl.ini"), "w") as ini:
            ini.write("[QuinceConfig]\nMaxRunSeconds = 1\nSessionStore =\n")
        with open(os.path.join(root, "endless.vxl"), "w") as page:
            page.write('<LOOP condition="1"></LOOP>')
        with open(os.path.join(root, "index.vxl"), "w") as page:
            page.write("<p>start</p>")
        # A foreign interpreter that kills the page's process, as a crash would.
        with open(os.path.join(root, "vexl.ini"), "a") as ini:
            ini.write("[ScriptInterpreters]\nkiller = sh " + os.path.join(root, "kill-parent.sh") + "\n")
        with open(os.path.join(root, "kill-parent.sh"), "w") as script:
            script.write("kill -9 $PPID\n")
        with open(os.path.join(root, "crash.vxl"), "w") as page:
            page.write('<SCRIPT language="killer">x</SCRIPT>')
        port = free_port()
        log = open(os.path.join(root, "serve.log"), "w+")
        server = subprocess.Popen([vexl, "serve", "--root", root, "--port", str(port)], stderr=log)
        try:
            for _ in range(100):
                try:
                    socket.create_connection(("127.0.0.1", port), timeout=1).close()
                    break
                except OSError:
                    time.sleep(0.05)
            started = time.monotonic()
            answer = ask(port, b"GET /endless.vxl HTTP/1.0\r\n\r\n")
            seconds = time.monotonic() - started
            if b"ran longer than 1 second" not in answer or seconds > 5:
                failures.append(f"the endless page answered after {seconds:.1f} s: {answer[:300]!r}")
            if b"start</p>" not in ask(port, b"GET / HTTP/1.0\r\n\r\n"):
                failures.append("no answer after the endless page")
            # Pages run side by side: while the endless page runs its second,
            # other pages are answered, before it ends.
            def timed(request):
                answer = ask(port, request)
                return answer, time.monotonic()

            with concurrent.futures.ThreadPoolExecutor(4) as pool:
                endless = pool.submit(timed, b"GET /endless.vxl HTTP/1.0\r\n\r\n")
                time.sleep(0.2)
                quick = [pool.submit(timed, b"GET / HTTP/1.0\r\n\r\n") for _ in range(3)]
                answers = [future.result() for future in quick]
                endless_done = endless.result()[1]
            if not all(b"start</p>" in answer for answer, _ in answers) or max(done for _, done in answers) >= endless_done:
                failures.append(f"pages beside a running one waited for it: {answers[0][0][:200]!r}")
            # A page that crashes its process takes only itself down.
            crash = ask(port, b"GET /crash.vxl HTTP/1.0\r\n\r\n")
            if status_of(crash) != 500 or b"start</p>" not in ask(port, b"GET / HTTP/1.0\r\n\r\n"):
                failures.append(f"a crashing page: {crash[:200]!r}, or no answer after it")
            # Past the connection limit (512) a request gets a 503 it can read, not a reset.
            idle = []
            opening = time.monotonic()
            try:
                # Each holds a head begun and not ended: the server keeps it for the
                # head's time (10 s), not only the idle time (5 s) of a silent one.
                for _ in range(520):
                    connection = socket.create_connection(("127.0.0.1", port), timeout=5)
                    connection.sendall(b"GET / HTTP/1.0\r\n")
                    idle.append(connection)
                opening = time.monotonic() - opening
                time.sleep(0.3)
                refused = [status_of(ask(port, b"GET / HTTP/1.0\r\n\r\n")) for _ in range(5)]
            finally:
                for connection in idle:
                    connection.close()
            if refused != [503] * 5:
                failures.append(f"past the connection limit the answers were {refused}, not five 503s (520 opened in {opening:.1f} s)")
            time.sleep(0.5)
            if b"start</p>" not in ask(port, b"GET / HTTP/1.0\r\n\r\n"):
                failures.append("no answer once the idle connections went")
            big = b"GET / HTTP/1.0\r\nX-Filler: " + b"a" * (20 * 1024) + b"\r\n\r\n"
            if status_of(ask(port, big)) != 431:
                failures.append("a head of 20 KiB in one piece was not refused with 431")
            ask(port, b"GET /forged%0aGET%20/admin%20200 HTTP/1.0\r\n\r\n")
        finally:
            server.terminate()
            server.wait(10)
        log.seek(0)
        lines = log.read().splitlines()
        if not any(line.endswith("endless.vxl: the page was ended by its limit MaxRunSeconds") for line in lines):
            failures.append("the limit that ended the endless page is not in the log: " + repr(lines[:5]))
        if any(line.startswith("GET /admin") for line in lines):
            failures.append("a %0a in a path forged a log line: " + repr(lines[-3:]))
        if not any("/forged\\x0aGET\\x20/admin" in line for line in lines):
            failures.append("the path with %0a is not in the log, escaped: " + repr(lines[-3:]))
    for failure in failures:
        print("FAIL " + failure)
    if not failures:
        print("ok   vexl serve: runaway page ended at its limit, pages beside it answered at once, a crashing page took only itself, big head refused, log escaped")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
