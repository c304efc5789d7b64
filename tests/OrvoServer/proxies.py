"""Runs the server behind the proxies of docs/server.md, with exactly the lines shown there, and runs its `check`.

proxies.py ORVO_SERVER DOCUMENT caddy|nginx

Exits with 77 if the proxy is not installed.
"""

import json
import os
import shutil
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))

from services import Client, Services, free_port, make_certificate  # noqa: E402: the module is in another folder.


def expect(holds, text):
    if not holds:
        raise SystemExit(f"FAILED: {text}")


def shown(document, name):
    """The block of the document that begins with this comment."""
    return document.split(f"```\n# {name}", 1)[1].split("\n", 1)[1].split("```", 1)[0]


def caddy(lines, folder, port, behind, chain, key):
    site = lines.replace("videos.example.org {", f"https://localhost:{port} {{\n    tls {chain} {key}").replace("127.0.0.1:8080", behind)
    expect(site != lines, "the example for Caddy has changed")
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
    with Services("orvo-proxy-") as services:
        folder = services.folder
        chain, key = make_certificate(folder)
        port, inner = free_port(), free_port()
        address, data = f"https://localhost:{port}", folder / "data"
        environment = {**os.environ, "SSL_CERT_FILE": str(chain), "HOME": str(folder), "XDG_DATA_HOME": str(folder), "XDG_CONFIG_HOME": str(folder)}
        made = subprocess.run([program, "init", "--data", data, "--address", address, "--listen", f"127.0.0.1:{inner}", "--json"],
                              stdout=subprocess.PIPE, check=True)
        credential = json.loads(made.stdout)["credential"]
        begin = {"caddy": caddy, "nginx": nginx}[name]
        services.start([program, "run", "--data", str(data)], environment)
        services.start(begin(shown(document, name.capitalize() if name == "caddy" else name), folder, port, f"127.0.0.1:{inner}", chain, key),
                       environment)
        client = Client(address, chain)
        services.wait_for(client)

        checked = subprocess.run([program, "check", "--data", data, "--json"], env=environment, stdout=subprocess.PIPE)
        wrong = [check for check in json.loads(checked.stdout)["checks"] if not check["ok"]]
        expect(not wrong, f"failed checks: {wrong}")

        # The limit of wrong credentials is per client, whose address the proxy reports.
        bearer = {"Authorization": f"Bearer {credential}"}
        guesses = [client.ask("/api/status", Authorization="Bearer guess")[0] for _ in range(20)]
        expect(guesses[0] == 401 and guesses[-1] == 429, f"statuses of wrong credentials: {guesses}")
        expect(client.ask("/api/status", **bearer)[0] == 200, "the proxy drops the credential")
        expect(client.ask("//healthz")[0] == 200, "the proxy changes the path")
        status, _, headers = client.ask("/watch/00000000-0000-4000-8000-000000000000")
        expect(status == 404 and "frame-ancestors 'none'" in headers["Content-Security-Policy"], "the proxy drops the policy")


main()
