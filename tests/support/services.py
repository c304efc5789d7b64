"""Starts servers for a script, and sends them requests over TLS."""

import shutil
import socket
import ssl
import subprocess
import tempfile
import time
import urllib.error
import urllib.request
from pathlib import Path

LIMIT = 120  # Seconds. Generous, for a loaded machine.


def free_port():
    """A free port on the loopback address."""
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def make_certificate(folder):
    """Makes a certificate for localhost. Returns the files of the certificate and of its key."""
    chain, key = folder / "cert.pem", folder / "key.pem"
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days", "20",
                    "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost", "-keyout", key, "-out", chain],
                   check=True, stderr=subprocess.DEVNULL)
    return chain, key


class Services:
    """Programs and their folder; both end with the `with`."""

    def __init__(self, prefix):
        self.folder = Path(tempfile.mkdtemp(prefix=prefix))
        self._processes = []

    def start(self, command, environment):
        self._processes.append(subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL))

    def wait_for(self, client):
        """Waits until the server answers at its health address."""
        end = time.monotonic() + LIMIT
        while True:
            try:
                if client.ask("/healthz")[0] == 200:
                    return
            except OSError:
                pass
            if time.monotonic() > end or any(process.poll() is not None for process in self._processes):
                raise SystemExit("FAILED: the server does not start")
            time.sleep(0.1)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in self._processes:
            process.terminate()
        for process in self._processes:
            process.wait()
        shutil.rmtree(self.folder, ignore_errors=True)


class Client:
    """Sends requests to a server with this certificate."""

    def __init__(self, address, certificate):
        self.address = address
        self._trust = ssl.create_default_context(cafile=str(certificate))

    def ask(self, path, **headers):
        """Sends a GET and returns status, body and headers. `headers` are named with "_" for "-"."""
        request = urllib.request.Request(self.address + path, headers={name.replace("_", "-"): value for name, value in headers.items()})
        try:
            answer = urllib.request.urlopen(request, context=self._trust, timeout=LIMIT)
        except urllib.error.HTTPError as error:
            answer = error
        return answer.status, answer.read(), answer.headers
