"""The publishing server and its peers as processes, and clients with little overhead."""

import http.client
import json
import multiprocessing
import os
import socket
import ssl
import subprocess
import sys
import time
from contextlib import contextmanager
from hashlib import sha256
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tests/support"))

from services import free_port  # noqa: E402: part of the tests.

VIDEO = "0d8c5b6e-7f00-4a52-9d5e-1f2a3b4c5d6e"
CHUNK = 8 << 20


def await_port(port, process):
    while True:
        if process.poll() is not None:
            raise SystemExit(f"{process.args[0]} ended with status {process.returncode}")
        try:
            socket.create_connection(("127.0.0.1", port)).close()
            return
        except ConnectionRefusedError:
            time.sleep(0.002)


@contextmanager
def running(command, port, **environment):
    with subprocess.Popen([str(word) for word in command], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL, env={**os.environ, **environment}) as process:
        try:
            await_port(port, process)
            yield process
        finally:
            process.terminate()


class Ours:
    """A data folder of the publishing server."""

    def __init__(self, program, folder, lines=()):
        self.program, self.data = program, folder
        self.port, self.tls_port = free_port(), free_port()
        made = subprocess.run([program, "init", "--data", folder, "--address", f"http://localhost:{self.port}", "--listen",
                               f"127.0.0.1:{self.tls_port}", "--json"], stdout=subprocess.PIPE, check=True).stdout
        self.credential = json.loads(made)["credential"]
        with open(folder / "orvo-server.conf", "a") as file:
            file.writelines(line + "\n" for line in lines)

    def serving(self, tls=False, **environment):
        listen = [] if tls else ["--listen", f"127.0.0.1:{self.port}"]
        return running([self.program, "run", "--data", self.data, *listen], self.tls_port if tls else self.port, **environment)

    def ask(self, method, path, body=None, headers=None):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=600)
        connection.request(method, path, body, {"Authorization": f"Bearer {self.credential}", **(headers or {})})
        answer = connection.getresponse()
        content = answer.read()
        if answer.status >= 300:
            raise SystemExit(f"{method} {path}: {answer.status} {content.decode(errors='replace')}")
        connection.close()
        return answer, content

    def register(self, files):
        """Registers uploads for these contents. Returns the revision and the uploads as (path, content, upload)."""
        self.ask("POST", "/api/videos", json.dumps({"id": VIDEO, "title": "Medida", "domains": [], "publicLink": True}))
        manifest = [{"path": path, "role": "stream", "size": len(content), "sha256": sha256(content).hexdigest()}
                    for path, content in files.items()]
        revision = json.loads(self.ask("POST", f"/api/videos/{VIDEO}/revisions", json.dumps({"files": manifest}))[1])
        uploads = {upload["path"]: upload["id"] for upload in revision["uploads"]}
        return revision["id"], [(path, content, uploads[path]) for path, content in files.items()]

    def publish(self, files):
        revision, uploads = self.register(files)
        for _, content, upload in uploads:
            for at in range(0, len(content), CHUNK):
                piece = content[at:at + CHUNK]
                self.ask("PUT", f"/api/uploads/{upload}", piece,
                         {"Content-Range": f"bytes {at}-{at + len(piece) - 1}/{len(content)}"})
        self.ask("POST", f"/api/revisions/{revision}/retry", "")
        while any(file["status"] != "ready" for file in json.loads(self.ask("GET", f"/api/revisions/{revision}")[1])["files"]):
            time.sleep(0.05)
        self.ask("POST", f"/api/revisions/{revision}/publish", "")

    def media(self):
        """The path of the package for a new viewer."""
        page = self.ask("GET", f"/watch/{VIDEO}")[1].decode()
        return page[page.index("/m/"):].split("&quot;", 1)[0]


def nginx(folder, root, port, tls_port, chain, key):
    """Runs nginx, tuned for sending files."""
    conf = folder / "nginx.conf"
    user = "user root;" if os.geteuid() == 0 else ""
    conf.write_text(f"""{user} daemon off; pid {folder}/nginx.pid; error_log {folder}/error.log; worker_processes auto;
events {{ worker_connections 12000; }}
http {{
    access_log off; sendfile on; tcp_nopush on; tcp_nodelay on; keepalive_requests 1000000; open_file_cache max=1000;
    client_body_temp_path {folder}/body; proxy_temp_path {folder}/proxy; fastcgi_temp_path {folder}/fastcgi;
    uwsgi_temp_path {folder}/uwsgi; scgi_temp_path {folder}/scgi;
    types {{ video/mp2t ts; application/vnd.apple.mpegurl m3u8; }}
    server {{
        listen 127.0.0.1:{port} backlog=4096; listen 127.0.0.1:{tls_port} ssl backlog=4096;
        ssl_certificate {chain}; ssl_certificate_key {key}; root {root};
    }}
}}
""")
    return running(["nginx", "-c", conf, "-e", folder / "error.log"], port)


def tree(process):
    """The process and its children."""
    children = Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text().split()
    return [process.pid, *map(int, children)]


def memory(process):
    """The memory of all its processes in MB; shared pages are divided among them."""
    total = 0
    for pid in tree(process):
        for line in Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines():
            if line.startswith("Pss:"):
                total += int(line.split()[1])
    return total / 1000


def processor(process):
    """The processor time of all its processes in seconds."""
    ticks = 0
    for pid in tree(process):
        fields = Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
        ticks += int(fields[11]) + int(fields[12])
    return ticks / os.sysconf("SC_CLK_TCK")


class Client:
    """A connection that sends one request after the other."""

    def __init__(self, port, tls=False):
        self.socket = socket.create_connection(("127.0.0.1", port))
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        if tls:
            context = ssl.create_default_context()
            context.check_hostname, context.verify_mode = False, ssl.CERT_NONE
            self.socket = context.wrap_socket(self.socket)
        # The kernel discards the received bytes, so that a client costs almost nothing.
        self.flags = 0 if tls else socket.MSG_TRUNC
        self.buffer = bytearray(1 << 18)

    def send(self, path):
        self.socket.sendall(f"GET {path} HTTP/1.1\r\nHost: localhost\r\n\r\n".encode())

    def get(self, path):
        """Sends a request. Returns the length of the answer's body in bytes."""
        self.send(path)
        head = b""
        while b"\r\n\r\n" not in head:
            head += self._some()
        head, _, body = head.partition(b"\r\n\r\n")
        if b" 200 " not in head.split(b"\r\n", 1)[0]:
            raise SystemExit(f"{path}: {head.decode(errors='replace')}")
        length = next(int(line.split(b":")[1]) for line in head.lower().split(b"\r\n") if line.startswith(b"content-length:"))
        left = length - len(body)
        while left > 0:
            count = self.socket.recv_into(self.buffer, min(left, len(self.buffer)), self.flags)
            if count == 0:
                raise SystemExit(f"{path}: cut off")
            left -= count
        return length

    def _some(self):
        piece = self.socket.recv(4096)
        if not piece:
            raise SystemExit("the server has closed the connection")
        return piece

    def close(self):
        self.socket.close()


def _work(number, port, tls, paths, seconds, ready, go, results):
    client = Client(port, tls)
    client.get(paths[0])
    ready.release()
    go.wait()
    end, total, times = time.monotonic() + seconds, 0, []
    while (begin := time.monotonic()) < end:
        total += client.get(paths[(number + len(times)) % len(paths)])
        times.append(time.monotonic() - begin)
    results.put((total, times))


def load(port, paths, seconds, clients, tls=False):
    """Runs so many clients for this time. Returns bytes per second, and the duration of each request."""
    context = multiprocessing.get_context("fork")
    ready, go, results = context.Semaphore(0), context.Event(), context.Queue()
    workers = [context.Process(target=_work, args=(number, port, tls, paths, seconds, ready, go, results), daemon=True)
               for number in range(clients)]
    for worker in workers:
        worker.start()
    for _ in workers:
        ready.acquire()
    begin = time.monotonic()
    go.set()
    got = [results.get() for _ in workers]
    took = time.monotonic() - begin
    for worker in workers:
        worker.join()
    return sum(total for total, _ in got) / took, [moment for _, times in got for moment in times]
