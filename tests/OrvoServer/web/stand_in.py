"""A publishing server that serves one package: pages, tickets, renewal and beats.

Stands in for the real server where a test controls its faults: tickets that expire early, renewals that fail or are refused, and
lost connections.

stand_in.py PACKAGE WEB_FOLDER HLS [PORT] serves the package until it is stopped.
"""

import hashlib
import html
import http.server
import importlib.util
import json
import secrets
import sys
import threading
import time
from pathlib import Path

VIDEO = "7c9e6679-7425-40de-944b-e07fc1f90ae7"
TYPES = {".js": "text/javascript; charset=utf-8", ".css": "text/css; charset=utf-8", ".html": "text/html; charset=utf-8",
         ".m3u8": "application/vnd.apple.mpegurl", ".ts": "video/mp2t", ".vtt": "text/vtt; charset=utf-8", ".jpg": "image/jpeg",
         ".bin": "application/octet-stream"}
POLICY = ("default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; media-src 'self' blob:; "
          "connect-src 'self'; worker-src 'self' blob:; font-src 'self'; base-uri 'none'; form-action 'self'; frame-ancestors *")


class StandIn:
    """`life` is the announced life of a ticket, `real_life` the real one, in seconds."""

    def __init__(self, package, web, hls, port=0, prefix="/base"):
        self.package, self.web, self.hls, self.prefix = Path(package), Path(web), Path(hls), prefix
        # Serves the files as the program embeds them.
        embed = importlib.util.spec_from_file_location("embed", self.web / "embed.py")
        module = importlib.util.module_from_spec(embed)
        embed.loader.exec_module(module)
        self.squeezed = module.squeezed
        self.life = self.real_life = 600
        self.renewal = 200  # The status of responses to renewals.
        self.media_away = False
        self.delay = 0  # Seconds before a segment is sent.
        self.title, self.embedded = "Lección 3: «publicar» <b>un vídeo</b>", True
        self.tickets, self.grants = {}, set()
        self.requests, self.beats, self.renewals, self.refused = [], [], 0, 0
        self.server = Server(("127.0.0.1", port), type("Bound", (Handler,), {"stand_in": self}))
        self.origin = f"http://127.0.0.1:{self.server.server_port}"
        self.address = self.origin + prefix
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def close(self):
        self.server.shutdown()
        self.server.server_close()

    def ticket(self):
        name, grant = secrets.token_urlsafe(12), secrets.token_urlsafe(12)
        self.tickets[name] = time.monotonic() + self.real_life
        self.grants.add(grant)
        return {"media": f"{self.prefix}/m/{name}/", "expiresIn": self.life, "grant": grant, "revision": "1"}

    def asset(self, name):
        file = self.hls if name == self.hls.name else self.web / name
        return self.squeezed(name, file.read_bytes()) if file.is_file() and "/" not in name else None

    def template(self, name, **values):
        text = (self.web / name).read_text()
        for key, value in values.items():
            text = text.replace("{{%s}}" % key, html.escape(value))
        while "{{asset:" in text:
            asset = text.split("{{asset:", 1)[1].split("}}", 1)[0]
            digest = hashlib.sha256(b"".join(file.read_bytes() for file in sorted(self.web.iterdir()) if file.is_file())).hexdigest()
            text = text.replace("{{asset:%s}}" % asset, f"{self.prefix}/assets/{digest[:16]}/{asset}")
        return text.encode()


class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def handle_error(self, *_):
        """Ignores connections that the browser has closed."""


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    stand_in: StandIn

    def log_message(self, *_):
        pass

    def do_OPTIONS(self):
        self.answer(204, b"", headers={"Access-Control-Allow-Methods": "GET, POST", "Access-Control-Allow-Headers": "content-type"})

    def do_GET(self):
        self.route("GET")

    def do_POST(self):
        self.route("POST")

    def answer(self, status, body, kind="application/json", headers=None):
        self.send_response(status)
        # A sandboxed page has the origin "null", so the ticket is the permission.
        common = {"Content-Type": kind, "Content-Length": str(len(body)), "X-Content-Type-Options": "nosniff",
                  "Access-Control-Allow-Origin": "*", "Cache-Control": "no-store", **(headers or {})}
        for name, value in common.items():
            self.send_header(name, value)
        self.end_headers()
        if status != 204:
            self.wfile.write(body)

    def json(self, status, value):
        self.answer(status, json.dumps(value).encode())

    def page(self, status, name, **values):
        self.answer(status, self.stand_in.template(name, **values), TYPES[".html"], {"Content-Security-Policy": POLICY})

    def route(self, method):
        server = self.stand_in
        body = self.rfile.read(int(self.headers.get("Content-Length") or 0))
        path = self.path.partition("?")[0]
        server.requests.append((method, self.path, self.headers.get("Host")))
        if not path.startswith(server.prefix + "/"):
            return self.json(404, {"error": "No existe."})
        parts = path[len(server.prefix) + 1:].split("/")
        match parts:
            case ["embed" | "watch" as kind, video] if method == "GET":
                if video != VIDEO:
                    return self.page(404, "unavailable.html", lang="es")
                config = {"video": video, "title": server.title, **server.ticket(), "renew": f"{server.prefix}/renew",
                          "beat": f"{server.prefix}/beat", "embedded": kind == "embed"}
                return self.page(200, "player.html", lang="es", title=server.title, config=json.dumps(config))
            case ["assets", _, name] if method == "GET":
                content = server.asset(name)
                if content is None:
                    return self.json(404, {"error": "No existe."})
                return self.answer(200, content, TYPES[Path(name).suffix], {"Cache-Control": "public, max-age=31536000, immutable"})
            case ["m", ticket, *rest] if method == "GET":
                return self.media(ticket, "/".join(rest))
            case ["renew"] if method == "POST":
                server.renewals += 1
                known = json.loads(body).get("grant") in server.grants
                if server.renewal != 200 or not known:
                    return self.json(server.renewal if known else 403, {"error": "Ya no se puede ver."})
                return self.json(200, server.ticket())
            case ["beat"] if method == "POST":
                server.beats.append(json.loads(body))
                return self.answer(204, b"")
        return self.json(404, {"error": "No existe."})

    def media(self, ticket, name):
        server = self.stand_in
        if server.media_away:
            self.close_connection = True
            return None
        if server.tickets.get(ticket, 0) < time.monotonic():
            server.refused += 1
            return self.json(403, {"error": "El permiso ha caducado."})
        file = (server.package / name).resolve()
        if not file.is_relative_to(server.package.resolve()) or not file.is_file():
            return self.json(404, {"error": "No existe."})
        content = file.read_bytes()
        if file.suffix == ".ts":
            time.sleep(server.delay)
        return self.answer(200, content, TYPES[file.suffix], {"Cache-Control": "max-age=600" if file.suffix == ".ts" else "no-store"})


def main():
    package, web, hls, *port = sys.argv[1:]
    server = StandIn(package, web, hls, int(port[0]) if port else 0)
    print(f"{server.address}/watch/{VIDEO}", flush=True)
    threading.Event().wait()


if __name__ == "__main__":
    main()
