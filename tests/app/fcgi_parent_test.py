"""vexl fcgi started by a web server (its socket on descriptor 0) ends when
that server goes away, even killed, instead of waiting on a socket that
nobody will connect to again.

Usage: fcgi_parent_test.py VEXL"""
import os
import signal
import socket
import subprocess
import sys
import tempfile
import time


def alive(pid):
    try:
        os.kill(pid, 0)
    except ProcessLookupError:
        return False
    # A zombie is gone for our purpose.
    with open(f"/proc/{pid}/stat") as stat:
        return stat.read().rsplit(")", 1)[1].split()[0] != "Z"


def main():
    vexl = sys.argv[1]
    with tempfile.TemporaryDirectory() as folder:
        listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        listener.bind(os.path.join(folder, "fcgi.sock"))
        listener.listen(8)
        # The shell stands for the web server: it starts the worker on the
        # socket (kept on descriptor 3 first: a job in the background gets
        # /dev/null as its standard input) and waits for it.
        server = subprocess.Popen(["sh", "-c", 'exec 3<&0; "$0" fcgi <&3 3<&- & echo $!; wait', vexl], stdin=listener.fileno(),
                                  stdout=subprocess.PIPE, text=True)
        worker = int(server.stdout.readline())
        time.sleep(0.3)
        if not alive(worker):
            print("FAIL the worker did not start")
            return 1
        server.send_signal(signal.SIGKILL)
        server.wait()
        for _ in range(50):
            if not alive(worker):
                print("ok   vexl fcgi: the worker ended when the process that started it was killed")
                return 0
            time.sleep(0.1)
        os.kill(worker, signal.SIGKILL)
        print("FAIL the worker outlived the process that started it by 5 s")
        return 1


if __name__ == "__main__":
    sys.exit(main())
