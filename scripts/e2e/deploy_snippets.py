#!/usr/bin/env python3
"""Starts a web server with each configuration snippet of docs/deploy.md, as
written there, and checks that it serves the example site.

The snippets are taken from the document itself, so that the two cannot
drift apart. Only these placeholders are replaced by scratch values:
/srv/site (the site), /usr/local/bin/vexl (the program), /etc/vexl/site.ini
(the configuration), /run/vexl/ (sockets), and the port 80, which becomes a
free port on 127.0.0.1. Whatever a server needs around a snippet (pid file,
logs, the modules Debian enables by default) comes from a small base file
written here; the snippet itself is included unchanged.

Each server is asked for: the start page (rendered, as HTML), the style
sheet (with its CSS type), a page reached by a form field _htmlfile, and the
configuration and a fragment (refused).

Usage: deploy_snippets.py VEXL [DOC]. Servers that are not installed are
passed over with a note; lighttpd must be there. Exit status 1 on a failure.
"""
import os
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.parse
import urllib.request

REPO = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def snippets(doc):
    """The fenced blocks of the document: (language, first line, text)."""
    blocks = re.findall(r"^```([a-z]+)\n(.*?)^```$", open(doc, encoding="utf-8").read(), re.M | re.S)
    return [(language, text.split("\n", 1)[0], text) for language, text in blocks]


def find(blocks, language, first_line):
    found = [text for lang, first, text in blocks if lang == language and first == first_line]
    if len(found) != 1:
        raise SystemExit(f"deploy: docs/deploy.md has {len(found)} {language} blocks beginning {first_line!r}")
    return found[0]


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


class Site:
    """A scratch copy of the example site and the paths that replace the placeholders."""

    def __init__(self, vexl, work):
        self.work = work
        self.vexl = vexl
        self.site = os.path.join(work, "site")
        self.run = os.path.join(work, "run")
        self.ini = os.path.join(work, "etc", "site.ini")
        self.port = free_port()
        shutil.copytree(os.path.join(REPO, "examples", "site"), self.site)
        os.makedirs(self.run)
        os.makedirs(os.path.dirname(self.ini))
        subprocess.run(["sh", os.path.join(self.site, "make-translations.sh"),
                        os.path.join(self.site, "translations.db")], check=True, stdout=subprocess.DEVNULL)
        state = os.path.join(work, "state")
        os.makedirs(state)
        text = open(os.path.join(self.site, "vexl.ini"), encoding="utf-8").read()
        text = re.sub(r"(?mi)^\[QuinceConfig\]\s*$",
                      "[QuinceConfig]\nSessionStore = " + os.path.join(state, "sessions.db"), text, count=1)
        open(self.ini, "w", encoding="utf-8").write(text)
        if os.getuid() == 0:
            # Apache and nginx hand requests to an unprivileged user.
            for folder in (work, self.site, self.run, state, os.path.dirname(self.ini)):
                os.chmod(folder, 0o777)
            for name in os.listdir(self.site):
                os.chmod(os.path.join(self.site, name), 0o666)
            os.chmod(os.path.join(self.site, "make-translations.sh"), 0o777)

    def place(self, text):
        text = text.replace("/usr/local/bin/vexl", self.vexl)
        text = text.replace("/srv/site", self.site)
        text = text.replace("/etc/vexl/site.ini", self.ini)
        text = text.replace("/run/vexl/", self.run + "/")
        text = text.replace("server.port = 80\n", f'server.bind = "127.0.0.1"\nserver.port = {self.port}\n')
        text = text.replace("listen 80;", f"listen 127.0.0.1:{self.port};")
        text = text.replace("<VirtualHost *:80>", f"<VirtualHost 127.0.0.1:{self.port}>")
        return text

    def write(self, name, text, mode=0o644):
        path = os.path.join(self.work, name)
        with open(path, "w", encoding="utf-8") as out:
            out.write(text)
        os.chmod(path, mode)
        return path


def get(url, data=None):
    for _ in range(5):
        request = urllib.request.Request(url, data=data)
        try:
            with urllib.request.urlopen(request, timeout=10) as response:
                return response.status, response.headers.get("Content-Type", ""), response.read().decode("utf-8", "replace")
        except urllib.error.HTTPError as error:
            # The site sends a form's post on to the named page's own URL
            # (307), which a browser posts again; urllib does not.
            if error.code in (307, 308) and data is not None:
                url = urllib.parse.urljoin(url, error.headers["Location"])
                continue
            return error.code, error.headers.get("Content-Type", ""), error.read().decode("utf-8", "replace")
    return 0, "", "too many redirects"


def wait_for(port, process, seconds=15):
    deadline = time.time() + seconds
    while time.time() < deadline:
        if process.poll() is not None:
            return False
        try:
            with socket.create_connection(("127.0.0.1", port), timeout=1):
                return True
        except OSError:
            time.sleep(0.1)
    return False


def check_site(name, site):
    base = f"http://127.0.0.1:{site.port}"
    failures = []

    def expect(condition, what):
        if not condition:
            failures.append(what)

    status, kind, body = get(base + "/")
    expect(status == 200, f"/ gave {status}")
    expect(kind.startswith("text/html"), f"/ came as {kind!r}")
    expect("</html>" in body and "<SETVAR" not in body and "<INCLUDE" not in body, "/ is not a rendered page")
    status, kind, body = get(base + "/style.css")
    expect(status == 200 and kind.startswith("text/css"), f"/style.css gave {status} as {kind!r}")
    status, kind, body = get(base + "/index.vxl", data=b"_htmlfile=greet.vxl&visitor=Ann")
    expect(status == 200 and "Ann" in body, f"a form to greet.vxl gave {status}")
    for private in ("/vexl.ini", "/header.inc", "/translations.db"):
        status, kind, body = get(base + private)
        expect(status in (403, 404), f"{private} gave {status}")
    if failures:
        print(f"deploy: {name}: FAILED: " + "; ".join(failures))
    else:
        print(f"deploy: {name}: page, style sheet, form and private files as expected")
    return not failures


def run_server(name, command, site, logs, service=None):
    """Starts `command` (and `service` before it), checks, stops both."""
    started = []
    try:
        if service is not None:
            started.append(subprocess.Popen(service, stdout=logs, stderr=logs))
            socket_path = os.path.join(site.run, "vexl.sock")
            for _ in range(100):
                if os.path.exists(socket_path):
                    break
                time.sleep(0.05)
            if os.getuid() == 0 and os.path.exists(socket_path):
                os.chmod(socket_path, 0o777)
        server = subprocess.Popen(command, stdout=logs, stderr=logs)
        started.append(server)
        if not wait_for(site.port, server):
            print(f"deploy: {name}: FAILED: the server did not start (see the log)")
            return False
        return check_site(name, site)
    finally:
        for process in reversed(started):
            process.terminate()
            try:
                process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()


def lighttpd(snippet, name, vexl, scratch, logs):
    site = Site(vexl, tempfile.mkdtemp(dir=scratch))
    conf = site.write("lighttpd.conf", site.place(snippet))
    return run_server(name, ["lighttpd", "-D", "-f", conf], site, logs)


def nginx(snippet, service_text, name, vexl, scratch, logs):
    site = Site(vexl, tempfile.mkdtemp(dir=scratch))
    site.write("vexl-site.conf", site.place(snippet))
    temp = os.path.join(site.work, "nginx-temp")
    os.makedirs(temp)
    user = "user root;\n" if os.getuid() == 0 else ""
    base = site.write("nginx.conf", f"""{user}daemon off;
pid {site.work}/nginx.pid;
error_log {site.work}/nginx-error.log;
events {{ worker_connections 64; }}
http {{
    access_log off;
    client_body_temp_path {temp}/body;
    fastcgi_temp_path {temp}/fastcgi;
    proxy_temp_path {temp}/proxy;
    uwsgi_temp_path {temp}/uwsgi;
    scgi_temp_path {temp}/scgi;
    include {site.work}/vexl-site.conf;
}}
""")
    service = site.place(service_text.split("\n", 1)[1]).split()
    return run_server(name, ["nginx", "-p", site.work, "-c", base], site, logs, service=service)


APACHE_MODULES = ["mpm_event", "authz_core", "authz_host", "mime", "dir", "alias", "env"]  # and the built-in ones


def apache_fcgi(blocks, service_text, vexl, scratch, logs):
    snippet = find(blocks, "apache", "# vexl.conf: pages through a vexl fcgi service on a socket")
    site = Site(vexl, tempfile.mkdtemp(dir=scratch))
    service = site.place(service_text.split("\n", 1)[1]).split()
    return apache_with(site, snippet, "Apache FastCGI", logs, ["proxy", "proxy_fcgi"], service=service)


def main():
    vexl = os.path.abspath(sys.argv[1])
    doc = sys.argv[2] if len(sys.argv) > 2 else os.path.join(REPO, "docs", "deploy.md")
    blocks = snippets(doc)
    scratch = tempfile.mkdtemp(prefix="vexl-deploy-")
    if os.getuid() == 0:
        os.chmod(scratch, 0o755)  # for the servers' unprivileged users
    results = []
    try:
        with open(os.path.join(scratch, "servers.log"), "w") as logs:
            results.append(lighttpd(find(blocks, "lighttpd", "# lighttpd.conf: pages through vexl as a CGI program"),
                                    "lighttpd CGI", vexl, scratch, logs))
            results.append(lighttpd(find(blocks, "lighttpd", "# lighttpd.conf: pages through vexl fcgi processes that lighttpd starts"),
                                    "lighttpd FastCGI", vexl, scratch, logs))
            service = find(blocks, "sh", "# e.g. a systemd service, or: spawn-fcgi -s /run/vexl/vexl.sock -F 4 -- /usr/local/bin/vexl fcgi")
            if shutil.which("nginx"):
                results.append(nginx(find(blocks, "nginx", "# vexl: pages through a vexl fcgi service on a socket"),
                                     service, "nginx FastCGI", vexl, scratch, logs))
            else:
                print("deploy: nginx is not installed; its snippet is not tried")
            if shutil.which("apache2") and os.path.isdir("/usr/lib/apache2/modules"):
                wrapper = find(blocks, "sh", "#!/bin/sh")
                results.append(apache_cgi(blocks, wrapper, vexl, scratch, logs))
                results.append(apache_fcgi(blocks, service, vexl, scratch, logs))
            else:
                print("deploy: apache2 is not installed; its snippets are not tried")
    finally:
        if not all(results):
            print(open(os.path.join(scratch, "servers.log")).read()[-4000:])
        shutil.rmtree(scratch, ignore_errors=True)
    print(f"deploy: {sum(results)} of {len(results)} server snippets serve the site")
    return 0 if results and all(results) else 1


def apache_cgi(blocks, wrapper, vexl, scratch, logs):
    snippet = find(blocks, "apache", "# vexl.conf: pages through vexl as a CGI program")
    site = Site(vexl, tempfile.mkdtemp(dir=scratch))
    # The wrapper script of the document, at the place the snippet names.
    wrapper_path = os.path.join(site.work, "bin", "vexl-cgi")
    os.makedirs(os.path.dirname(wrapper_path))
    os.chmod(os.path.dirname(wrapper_path), 0o755)
    with open(wrapper_path, "w") as out:
        out.write(site.place(wrapper))
    os.chmod(wrapper_path, 0o755)
    snippet = snippet.replace("/usr/local/bin/vexl-cgi", wrapper_path)
    return apache_with(site, snippet, "Apache CGI", logs, ["cgid", "actions"])


def apache_with(site, snippet, name, logs, modules, service=None):
    site.write("vexl-site.conf", site.place(snippet))
    loads = "\n".join(f"LoadModule {m}_module /usr/lib/apache2/modules/mod_{m}.so" for m in APACHE_MODULES + modules)
    user = "User www-data\nGroup www-data\n" if os.getuid() == 0 else ""
    script_sock = f"ScriptSock {site.run}/cgid.sock\n" if "cgid" in modules else ""
    base = site.write("apache2.conf", f"""ServerRoot {site.work}
ServerName localhost
{loads}
{user}PidFile {site.work}/apache2.pid
ErrorLog {site.work}/apache2-error.log
Listen 127.0.0.1:{site.port}
TypesConfig /etc/mime.types
{script_sock}Include {site.work}/vexl-site.conf
""")
    return run_server(name, ["apache2", "-X", "-f", base], site, logs, service=service)


if __name__ == "__main__":
    sys.exit(main())
