#!/usr/bin/env python3
"""Follows the guide in docs/server.md in a bare Debian and times it, from the empty system to the first embedded video.

tools/server-guide.py   (as root: creates a Debian 13 in a temporary folder with mmdebstrap, and works inside it)

Two things differ from a rented machine: the address is localhost with a self-signed certificate, instead of one that the proxy
obtains, and the two programs are started without systemd. The time does not include making the video.
"""

import json
import os
import re
import shutil
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
sys.path[:0] = [str(ROOT / folder) for folder in ("tests/OrvoServer/web", "tests/support")]
sys.dont_write_bytecode = True

from make_package import lesson  # noqa: E402: in another folder.
from services import Client, Services, free_port, make_certificate  # noqa: E402

MINUTES = 10


def main():
    if os.geteuid() != 0 or not shutil.which("mmdebstrap"):
        raise SystemExit("Hace falta ser administrador, y mmdebstrap: apt-get install mmdebstrap")
    orvo, server = ROOT / "build/release/bin/orvo", ROOT / "build/release/bin/orvo-server"
    guide = (ROOT / "docs/server.md").read_text()
    commands = guide.split("```sh\n", 1)[1].split("```", 1)[0]
    site = guide.split("```\n# Caddy\n", 1)[1].split("```", 1)[0]
    with Services("orvo-guide-") as services:
        follow(services, orvo, server, commands, site)


def follow(services, orvo, server, commands, site):
    folder = services.folder
    # The server does not run as root, so other users need access.
    folder.chmod(0o755)
    fresh = folder / "debian"
    environment = {**os.environ, "ORVO_LIBRARY": str(folder / "library"), "XDG_CONFIG_HOME": str(folder / "config"),
                   "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}

    def client(*arguments):
        return json.loads(subprocess.run([orvo, *arguments, "--json"], env=environment, stdout=subprocess.PIPE, check=True).stdout)

    def inside(script, **more):
        return subprocess.run(["chroot", fresh, "bash", "-ec", script], check=True, stdin=subprocess.DEVNULL, text=True,
                              env={"PATH": "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin", "HOME": "/root",
                                   "DEBIAN_FRONTEND": "noninteractive"}, **more)

    project = lesson(client, folder)
    subprocess.run(["mmdebstrap", "--quiet", "--variant=minbase", "--include=ca-certificates", "trixie", fresh], check=True)
    shutil.copy("/etc/resolv.conf", fresh / "etc/resolv.conf")
    (fresh / "usr/sbin/policy-rc.d").write_text("#!/bin/sh\nexit 101\n")  # Keeps packages from starting services.
    (fresh / "usr/sbin/policy-rc.d").chmod(0o755)
    shutil.copy(server, fresh / "root/orvo-server")
    shutil.copytree(ROOT / "packaging", fresh / "root/packaging")
    port, inner = free_port(), free_port()
    address = f"https://localhost:{port}"
    certificate = str(make_certificate(fresh / "root")[0])

    begin = time.monotonic()
    marks = []

    def mark(what):
        marks.append((what, time.monotonic() - begin))

    shown = ""
    for command in re.sub(r"\\\n\s*", "", commands).splitlines():
        if command.startswith("systemctl") or " check " in command:
            continue
        command = command.replace("https://videos.example.org", address)
        if " init " in command:
            command += f" --listen 127.0.0.1:{inner}"
        shown += inside("cd /root; " + command, stdout=subprocess.PIPE).stdout
        mark(command.split("&&")[-1].strip()[:60])
    credential = re.search(r"Credencial: (\S+)", shown)[1]
    (fresh / "etc/caddy").mkdir(exist_ok=True)
    (fresh / "etc/caddy/Caddyfile").write_text(
        "{\n admin off\n auto_https disable_redirects\n}\n" +
        site.replace("videos.example.org {", f"{address} {{\n tls /root/cert.pem /root/key.pem").replace("127.0.0.1:8080", f"127.0.0.1:{inner}"))
    for command in (["runuser", "-u", "orvo-server", "--", "/usr/local/bin/orvo-server", "run", "--data", "/var/lib/orvo-server"],
                    ["caddy", "run", "--config", "/etc/caddy/Caddyfile"]):
        services.start(["chroot", fresh, *command], {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "HOME": "/root"})
    viewer = Client(address, certificate)
    services.wait_for(viewer)
    inside("cp /root/cert.pem /etc/ssl/certs/orvo.pem; SSL_CERT_FILE=/etc/ssl/certs/orvo.pem runuser -u orvo-server -- /usr/local/bin/orvo-server check --data /var/lib/orvo-server")
    mark("the server and its proxy answer, and check passes")
    environment |= {"ORVO_ADMIN_TOKEN": credential, "SSL_CERT_FILE": certificate}
    client("settings", "--server", address)
    client("publish", project, "--domain", "https://www.ejemplo.es")
    mark("a video of a minute and a half is packaged and published")
    status, page, _ = viewer.ask(f"/embed/{project.lower()}", Sec_Fetch_Dest="iframe")
    media = re.search(r"/m/[^&]+", page.decode())[0]
    if status != 200 or viewer.ask(media + "master.m3u8")[0] != 200 or len(viewer.ask(media + "key.bin")[1]) != 16:
        raise SystemExit(f"FAILED: the embedded player is answered with {status}")
    mark("the embedded player has its playlist and its key")
    for what, seconds in marks:
        print(f"{int(seconds // 60)}:{seconds % 60:04.1f}  {what}")
    if marks[-1][1] > 60 * MINUTES:
        raise SystemExit(f"FAILED: more than {MINUTES} minutes")


main()
