"""Publishing: packaging compared with ffmpeg, hashing with openssl, uploading with curl; and memory."""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import time
import uuid
from contextlib import contextmanager
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tests/support"))

from services import make_certificate  # noqa: E402: part of the tests.

from . import document, material, measure
from .document import Edit
from .lesson import HEIGHT, WIDTH
from .material import FPS
from .table import Row

ROOT = Path(__file__).resolve().parent.parent.parent
CHUNK = 8 << 20
MEMORY = 60.0  # Maximum in MB, for any size of the media.


def rows(programs, cache, folder, seconds, megabytes, runs, say):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    result = [_packaging(programs, cache, folder, seconds, runs, say)]
    library, media = _library(folder, megabytes)
    result += [_hashing(programs, library, media, runs, say), *_upload(programs, folder, library, media, runs, say)]
    shutil.rmtree(folder)
    return result


def _packaging(programs, cache, folder, seconds, runs, say):
    recording = material.recording(cache, seconds)
    movie = folder / "video.mp4"
    measure.run(["ffmpeg", "-hide_banner", "-y", "-nostdin", "-i", recording.screen, "-i", recording.microphone, "-map", "0:v",
                 "-map", "1:a", "-c:v", "libx264", "-preset", "veryfast", "-pix_fmt", "yuv420p", "-c:a", "aac", movie])
    helpers = folder / "OrvoVideo.app/Contents/Helpers"
    helpers.mkdir(parents=True)
    (folder / "bin").mkdir()
    shutil.copy(programs / "bench_publishing", folder / "bin/bench_publishing")
    shutil.copy(programs / "bench_ffmpeg", helpers / "ffmpeg")
    ours, peers = [], []
    for number in range(runs):
        say(f"publishing: packaging, round {number + 1} of {runs}")
        package = folder / "package"
        cost = measure.run([folder / "bin/bench_publishing", "package", movie, WIDTH, HEIGHT, FPS, package], folder / "runs.jsonl")
        ours.append(cost.wall)
        (package / "key-info.txt").write_text(f"../key.bin\n{package / 'key.bin'}\n")
        begin = time.monotonic()
        for height in (480, 720, 1080):
            _one_step(movie, package, height)
        peers.append(time.monotonic() - begin)
        shutil.rmtree(package)
    return Row("publishing, packaging three steps: time", "s", ours, peers, "one run of ffmpeg for each step", at_most=1.0)


def _one_step(movie, package, height):
    """Encodes one step of the ladder alone."""
    width = height * WIDTH // HEIGHT // 2 * 2
    rate = width * height * FPS * 9 // 100
    measure.run(["ffmpeg", "-hide_banner", "-nostdin", "-y", "-i", movie, "-vf", f"scale={width}:{height}", "-c:v", "libx264",
                 "-preset", "veryfast", "-b:v", rate, "-maxrate", rate, "-bufsize", rate // 2, "-g", 6 * FPS,
                 "-force_key_frames", "expr:gte(t,n_forced*6)", "-c:a", "aac", "-b:a", "128k", "-hls_time", "6",
                 "-hls_playlist_type", "vod", "-hls_flags", "independent_segments", "-hls_key_info_file",
                 package / "key-info.txt", "-hls_segment_filename", f"{package}/{height}/%05d.ts",
                 package / str(height) / "index.m3u8"])


def _library(folder, megabytes):
    """Makes a library of one project with one large file of random bytes."""
    library = folder / "library"
    library.mkdir()
    project = document.write(library, document.document(material.Material(library, 1), Edit(cuts=1)))
    media = project / "media" / "screen.mov"
    with open(media, "wb") as file:
        for _ in range(megabytes):
            file.write(os.urandom(1 << 20))
    return library, media


def _hashing(programs, library, media, runs, say):
    say("publishing: hashing")
    size = media.stat().st_size / 1e6
    ours, peers = [], []
    for _ in range(max(runs, 3)):
        told = subprocess.run([programs / "bench_publishing", "hash", library], stdout=subprocess.PIPE, check=True).stdout
        ours.append(size / json.loads(told)["seconds"])
        begin = time.monotonic()
        subprocess.run(["openssl", "dgst", "-sha256", media], stdout=subprocess.DEVNULL, check=True)
        peers.append(size / (time.monotonic() - begin))
    return Row("publishing, hashing: share of openssl's speed", "%", [100 * a / b for a, b in zip(ours, peers)], at_least=90)


def _upload(programs, folder, library, media, runs, say):
    size = media.stat().st_size / 1e6
    shares, memory = [], []
    for number in range(max(runs, 3)):
        say(f"publishing: upload, round {number + 1}")
        for measured in (True, False):  # A new server each time: a server that has the files receives nothing.
            with _server(folder / f"server{number}") as (address, authority, credential):
                environment = {"SSL_CERT_FILE": str(authority), "ORVO_ADMIN_TOKEN": credential}
                command = [programs / "bench_publishing", "publish", library, address]
                if measured:
                    memory.append(measure.run(command, **environment).own_peak)
                    continue
                told = json.loads(subprocess.run(command, stdout=subprocess.PIPE, check=True, env={**os.environ, **environment}).stdout)
            with _server(folder / f"server{number}") as (address, authority, credential):
                shares.append(100 * size * told["share"] / told["seconds"] / _curl(address, authority, credential, media))
    return [Row("publishing, upload over TLS on this machine: share of curl's speed", "%", shares, at_least=80),
            Row(f"publishing, {size:.0f} MB: memory", "MB", memory, limit=MEMORY)]


def _curl(address, authority, credential, media):
    """The MB per second of curl with the same chunks over one connection."""
    size = media.stat().st_size
    words = ["-H", f"Authorization: Bearer {credential}", "--cacert", authority, "-sS"]

    def post(path, value):
        return json.loads(subprocess.run(["curl", *words, "--json", json.dumps(value), address + path], stdout=subprocess.PIPE,
                                         check=True).stdout)

    video = str(uuid.uuid4())
    digest = subprocess.run(["sha256sum", media], stdout=subprocess.PIPE, check=True, text=True).stdout.split()[0]
    post("/api/videos", {"id": video, "title": "curl", "domains": [], "publicLink": False})
    upload = post(f"/api/videos/{video}/revisions", {"files": [{"path": "media/x", "role": "source", "size": size, "sha256": digest}]})
    address += f"/api/uploads/{upload['uploads'][0]['id']}"
    requests = []
    with tempfile.TemporaryDirectory() as folder, open(media, "rb") as content:
        for begin in range(0, size, CHUNK):
            piece = Path(folder) / str(begin)
            piece.write_bytes(content.read(CHUNK))
            requests += [*(["--next"] if requests else []), *words, "-H", "Expect:", "-H",
                         f"Content-Range: bytes {begin}-{begin + piece.stat().st_size - 1}/{size}", "-T", piece, "-o", "/dev/null", address]
        begin = time.monotonic()
        subprocess.run(["curl", *requests], check=True)
        return size / 1e6 / (time.monotonic() - begin)


@contextmanager
def _server(folder):
    """Runs orvo-server with an empty data folder and a self-signed certificate."""
    folder.mkdir()
    chain, key = make_certificate(folder)
    program = ROOT / "build/release/bin/orvo-server"
    made = subprocess.run([program, "init", "--data", folder / "data", "--address", "https://localhost", "--listen", "127.0.0.1:0",
                           "--json"], stdout=subprocess.PIPE, check=True)
    with open(folder / "data/orvo-server.conf", "a") as configuration:
        configuration.write(f"tls_certificate = {chain}\ntls_key = {key}\n")
    with subprocess.Popen([program, "run", "--data", folder / "data"], stderr=subprocess.PIPE) as server:
        try:
            port = next(facts["port"] for facts in map(json.loads, server.stderr) if "port" in facts)
            yield f"https://localhost:{port}", chain, json.loads(made.stdout)["credential"]
        finally:
            server.kill()
    shutil.rmtree(folder)
