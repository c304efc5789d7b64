"""Runs the server behind the proxies of docs/server.md, with the very lines that are shown there, and asks it to check itself.

proxies.py ORVO_SERVER DOCUMENT caddy|nginx

Status 77 where the proxy is not installed.
"""

import json
import os
import shutil
import socket
import ssl
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.request
from pathlib import Path

LIMIT = 120  # Seconds that anything may take on a loaded machine.


def expect(holds, text):
    if not holds:
        raise SystemExit(f"FAILED: {text}")


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def shown(document, name):
    """The block of the document that begins with this comment."""
    return document.split(f"```\n# {name}", 1)[1].split("\n", 1)[1].split("```", 1)[0]


def caddy(lines, folder, port, behind, chain, key):
    site = lines.replace("videos.example.org {", f"https://localhost:{port} {{\n    tls {chain} {key}").replace("127.0.0.1:8080", behind)
    expect(site != lines, "the example for Caddy has another form")
    (folder / "Caddyfile").write_text("{\n    admin off\n    auto_https disable_redirects\n}\n" + site)
    return ["caddy", "run", "--config", str(folder / "Caddyfile"), "--adapter", "caddyfile"]


def nginx(lines, folder, port, behind, chain, key):
    user = "user root;" if os.geteuid() == 0 else ""
    (folder / "nginx.conf").write_text(f"""{user} daemon off; pid {folder}/nginx.pid; error_log {folder}/error.log;
events {{ }}
http {{
    access_log off; client_body_temp_path {folder}/body; proxy_temp_path {folder}/proxy; fastcgi_temp_path {folder}/fastcgi;
    uwsgi_temp_path {folder}/uwsgi; scgi_temp_path {folder}/scgi;
    server {{
        listen 127.0.0.1:{port} ssl; ssl_certificate {chain}; ssl_certificate_key {key};
        {lines.replace("127.0.0.1:8080", behind)}
    }}
}}
""")
    return [shutil.which("nginx", path="/usr/sbin:/usr/bin"), "-c", str(folder / "nginx.conf"), "-e", str(folder / "error.log")]


def main():
    program, document, name = sys.argv[1], Path(sys.argv[2]).read_text(), sys.argv[3]
    if not shutil.which(name, path="/usr/sbin:/usr/bin:/usr/local/bin"):
        print(f"{name} is not installed")
        raise SystemExit(77)
    folder = Path(tempfile.mkdtemp(prefix="orvo-proxy-"))
    processes = []
    try:
        chain, key = folder / "cert.pem", folder / "key.pem"
        subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days", "20",
                        "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost", "-keyout", key, "-out", chain],
                       check=True, stderr=subprocess.DEVNULL)
        port, inner = free_port(), free_port()
        address, data = f"https://localhost:{port}", folder / "data"
        environment = {**os.environ, "SSL_CERT_FILE": str(chain), "HOME": str(folder), "XDG_DATA_HOME": str(folder), "XDG_CONFIG_HOME": str(folder)}
        made = subprocess.run([program, "init", "--data", data, "--address", address, "--listen", f"127.0.0.1:{inner}", "--json"],
                              stdout=subprocess.PIPE, check=True)
        credential = json.loads(made.stdout)["credential"]
        start = {"caddy": caddy, "nginx": nginx}[name]
        for command in ([program, "run", "--data", str(data)],
                        start(shown(document, name.capitalize() if name == "caddy" else name), folder, port, f"127.0.0.1:{inner}", chain, key)):
            processes.append(subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
        trust = ssl.create_default_context(cafile=str(chain))

        def ask(path, method="GET", body=None, **headers):
            request = urllib.request.Request(address + path, body, headers, method=method)
            try:
                answer = urllib.request.urlopen(request, context=trust, timeout=LIMIT)
            except urllib.error.HTTPError as error:
                answer = error
            return answer.status, answer.read(), answer.headers

        end = time.monotonic() + LIMIT
        while True:
            try:
                if ask("/healthz")[0] == 200:
                    break
            except OSError:
                pass
            expect(time.monotonic() < end and all(process.poll() is None for process in processes), "it does not come up")
            time.sleep(0.1)

        checked = subprocess.run([program, "check", "--data", data, "--json"], env=environment, stdout=subprocess.PIPE)
        wrong = [check for check in json.loads(checked.stdout)["checks"] if not check["ok"]]
        expect(not wrong, f"the server finds {wrong}")

        # Each machine behind the proxy has its own guesses: the proxy says who asks.
        bearer = {"Authorization": f"Bearer {credential}"}
        guesses = [ask("/api/status", Authorization="Bearer guess")[0] for _ in range(20)]
        expect(guesses[0] == 401 and guesses[-1] == 429, f"guesses are answered with {guesses}")
        expect(ask("/api/status", **bearer)[0] == 200, "the credential does not arrive")
        expect(ask("//healthz")[0] == 200, "the path has changed on its way")
        status, _, headers = ask("/watch/00000000-0000-4000-8000-000000000000")
        expect(status == 404 and "frame-ancestors 'none'" in headers["Content-Security-Policy"], "the policy does not arrive")
    finally:
        for process in processes:
            process.terminate()
        for process in processes:
            process.wait()
        shutil.rmtree(folder, ignore_errors=True)


main()
