"""Publishing: packaging beside the same runs of ffmpeg, hashing beside openssl, uploading beside curl, and its memory."""

import json
import os
import shutil
import subprocess
import time
from contextlib import contextmanager
from pathlib import Path

from . import document, material, measure
from .document import Edit
from .lesson import HEIGHT, WIDTH
from .material import FPS
from .table import Row

ROOT = Path(__file__).resolve().parent.parent.parent
TOKEN = "secreto"
MEMORY = 60.0  # MB, at most, whatever the size of the media.


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
    """One step of the ladder by itself."""
    width = height * WIDTH // HEIGHT // 2 * 2
    rate = width * height * FPS * 9 // 100
    measure.run(["ffmpeg", "-hide_banner", "-nostdin", "-y", "-i", movie, "-vf", f"scale={width}:{height}", "-c:v", "libx264",
                 "-preset", "veryfast", "-b:v", rate, "-maxrate", rate, "-bufsize", rate // 2, "-g", 6 * FPS,
                 "-force_key_frames", "expr:gte(t,n_forced*6)", "-c:a", "aac", "-b:a", "128k", "-hls_time", "6",
                 "-hls_playlist_type", "vod", "-hls_flags", "independent_segments", "-hls_key_info_file",
                 package / "key-info.txt", "-hls_segment_filename", f"{package}/{height}/%05d.ts",
                 package / str(height) / "index.m3u8"])


def _library(folder, megabytes):
    """A library of one project with one large file that does not compress."""
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
        with _server(folder / f"server{number}") as (address, authority):
            environment = {"SSL_CERT_FILE": str(authority), "ORVO_ADMIN_TOKEN": TOKEN}
            cost = measure.run([programs / "bench_publishing", "publish", library, address], **environment)
            memory.append(cost.own_peak)
            told = json.loads(subprocess.run([programs / "bench_publishing", "publish", library, address], stdout=subprocess.PIPE,
                                             check=True, env={**os.environ, **environment}).stdout)
            shares.append(100 * size * told["share"] / told["seconds"] / _curl(address, authority, media))
    return [Row("publishing, upload over TLS on this machine: share of curl's speed", "%", shares, at_least=80),
            Row(f"publishing, {size:.0f} MB: memory", "MB", memory, limit=MEMORY)]


def _curl(address, authority, media):
    """MB a second that curl reaches with one request for the whole file."""
    size = media.stat().st_size
    credential = ["-H", f"Authorization: Bearer {TOKEN}", "--cacert", authority, "-sS"]

    def post(path, value):
        return json.loads(subprocess.run(["curl", *credential, "--json", json.dumps(value), address + path], stdout=subprocess.PIPE,
                                         check=True).stdout)

    post("/api/videos", {"id": "curl"})
    revision = post("/api/videos/curl/revisions", {"files": [{"path": "media/x", "role": "source", "size": size, "sha256": ""}]})
    speed = subprocess.run(["curl", *credential, "-H", "Expect:", "-H", f"Content-Range: bytes 0-{size - 1}/{size}", "-T", media,
                            "-o", "/dev/null", "-w", "%{speed_upload}", f"{address}/api/uploads/{revision['uploads'][0]['id']}"],
                           stdout=subprocess.PIPE, check=True).stdout
    return float(speed) / 1e6


@contextmanager
def _server(folder):
    folder.mkdir()
    with subprocess.Popen([ROOT / "tests/support/publishing-server", folder], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          text=True) as server:
        try:
            yield f"https://localhost:{server.stdout.readline().strip()}", folder / "ca.pem"
        finally:
            server.kill()
    shutil.rmtree(folder)
