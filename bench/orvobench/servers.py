"""The publishing server: viewers compared with nginx, uploads with the disk; memory, start, lists and S3."""

import http.client
import json
import os
import shutil
import sqlite3
import subprocess
import sys
import threading
import time
import uuid
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tests/support"))

from services import free_port, make_certificate  # noqa: E402: part of the tests.

from .table import Row
from .webserver import CHUNK, Client, Ours, await_port, load, memory, nginx, processor, running

SEGMENT = 3_750_000  # Six seconds of 1080p.
SEGMENTS = 8
CLIENTS = 8


def rows(programs, folder, runs, quick, say):
    if not shutil.which("nginx", path="/usr/sbin:/usr/bin"):
        # Not installed automatically, because its package starts a service on port 80.
        raise SystemExit("bench: the peer nginx is missing: apt-get install nginx-light")
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    program = programs / "orvo-server"
    result = _viewers(program, folder, runs, 1 if quick else 4, 1000 if quick else 10000, say)
    result += _uploads(program, folder, max(runs, 3), 64 if quick else 256, say)
    result += _operation(program, folder, say)
    result += _storage(program, folder, say)
    shutil.rmtree(folder)
    return result


def _package():
    names = [f"480/{number:05}.ts" for number in range(SEGMENTS)]
    playlist = "#EXTM3U\n#EXT-X-TARGETDURATION:6\n" + "".join(f"#EXTINF:6.0,\n{number:05}.ts\n" for number in range(600)) + "#EXT-X-ENDLIST\n"
    return {"hls/master.m3u8": b"#EXTM3U\n480/index.m3u8\n", "hls/480/index.m3u8": playlist.encode(), "hls/key.bin": os.urandom(16),
            **{f"hls/{name}": os.urandom(SEGMENT) for name in names}}


def _viewers(program, folder, runs, seconds, idle, say):
    files = _package()
    chain, key = make_certificate(folder)
    ours = Ours(program, folder / "viewers", [f"tls_certificate = {chain}", f"tls_key = {key}"])
    root = folder / "www"
    for path, content in files.items():
        file = root / path.removeprefix("hls/")
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_bytes(content)
    port, tls_port = free_port(), free_port()
    (folder / "nginx").mkdir()
    result = []
    with nginx(folder / "nginx", root, port, tls_port, chain, key) as peer:
        for tls in (False, True):
            kind = "TLS" if tls else "plain"
            with ours.serving(tls=False) as _:
                if not tls:
                    ours.publish(files)
                media = ours.media()
            with ours.serving(tls) as server:
                sides = ((server, ours.tls_port if tls else ours.port, media), (peer, tls_port if tls else port, "/"))
                speeds, costs, worst = ([], []), ([], []), ([], [])
                for number in range(runs):
                    say(f"server: segments, {kind}, round {number + 1} of {runs}")
                    for at, (process, where, base) in enumerate(sides):
                        before = processor(process)
                        speed, _ = load(where, [f"{base}480/{one:05}.ts" for one in range(SEGMENTS)], seconds, CLIENTS, tls)
                        speeds[at].append(speed / 1e6)
                        costs[at].append((processor(process) - before) / (speed * seconds / 1e9))
                        _, times = load(where, [base + "480/index.m3u8"], seconds / 2, CLIENTS, tls)
                        worst[at].append(1000 * sorted(times)[len(times) * 99 // 100])
                share = [100 * a / b for a, b in zip(*speeds)]
                result += [Row(f"server, segments, {kind}: bytes a second", "MB/s", speeds[0], speeds[1], "nginx"),
                           Row(f"server, segments, {kind}: share of nginx's speed", "%", share, at_least=80),
                           Row(f"server, segments, {kind}: processor time for 1 GB", "s", costs[0], costs[1], "nginx", at_most=1.25),
                           Row(f"server, playlists, {kind}: 99 of 100 within", "ms", worst[0], worst[1], "nginx"),
                           Row(f"server, playlists, {kind}: above nginx", "ms", [a - b for a, b in zip(*worst)], limit=15)]
                say(f"server: 1,000 connections, {kind}")
                held = [_stalled(process, where, base, tls) for process, where, base in sides]
                result.append(Row(f"server, 1,000 connections amid a segment, {kind}: memory", "MB", held[:1], held[1:], "nginx", limit=80))
    say("server: idle viewers")
    with ours.serving() as server:
        result += _idle(server, ours, idle)
    return result


def _stalled(process, port, base, tls):
    """Memory in MB while 1,000 clients have requested a segment and do not read it."""
    clients = []
    for number in range(1000):
        client = Client(port, tls)
        client.buffer = None
        client.send(f"{base}480/{number % SEGMENTS:05}.ts")
        clients.append(client)
    time.sleep(2)
    used = memory(process)
    for client in clients:
        client.close()
    return used


def _idle(server, ours, count):
    media = ours.media()
    clients = []
    for _ in range(count):
        client = Client(ours.port)
        client.buffer = bytearray(16)
        client.get(media + "key.bin")
        clients.append(client)
    used = memory(server)
    answering = sum(client.get(media + "key.bin") == 16 for client in clients)
    for client in clients:
        client.close()
    return [Row(f"server, {count} idle viewers: those who are answered again", "", [answering], at_least=count),
            Row(f"server, {count} idle viewers: memory", "MB", [used])]


def _uploads(program, folder, runs, megabytes, say):
    ours = Ours(program, folder / "uploads")
    speeds, disk, peaks = [], [], []
    with ours.serving() as server:
        for number in range(runs):
            say(f"server: upload, round {number + 1} of {runs}")
            content = os.urandom(megabytes << 20)
            _, ((_, _, upload),) = ours.register({"hls/master.m3u8": content})
            def uploaded():
                begin = time.monotonic()
                _sent(ours, upload, content)
                speeds.append(len(content) / 1e6 / (time.monotonic() - begin))

            def written():
                disk.append(_written(folder / "plain", content))

            for step in (uploaded, written) if number % 2 else (written, uploaded):
                step()
        say("server: 100 uploads at once")
        _, uploads = ours.register({f"hls/{number}.ts": os.urandom(CHUNK) for number in range(100)})
        threads = [threading.Thread(target=_sent, args=(ours, upload, content)) for _, content, upload in uploads]
        for thread in threads:
            thread.start()
        while any(thread.is_alive() for thread in threads):
            peaks.append(memory(server))
            time.sleep(0.02)
    return [Row("server, upload: bytes a second", "MB/s", speeds, disk, "the same writes and flushes"),
            Row("server, upload: share of the disk's speed", "%", [100 * a / b for a, b in zip(speeds, disk)], at_least=85),
            Row("server, 100 uploads at once: memory", "MB", [max(peaks)], limit=100)]


def _sent(ours, upload, content):
    connection = http.client.HTTPConnection("127.0.0.1", ours.port, timeout=600)
    view = memoryview(content)
    for at in range(0, len(content), CHUNK):
        piece = view[at:at + CHUNK]
        connection.putrequest("PUT", f"/api/uploads/{upload}")
        for name, value in (("Authorization", f"Bearer {ours.credential}"), ("Content-Length", str(len(piece))),
                            ("Content-Range", f"bytes {at}-{at + len(piece) - 1}/{len(content)}")):
            connection.putheader(name, value)
        connection.endheaders()
        connection.sock.sendall(piece)
        answer = connection.getresponse()
        told = answer.read()
        if answer.status != 200:
            raise SystemExit(f"upload: {answer.status} {told.decode(errors='replace')}")
    connection.close()


def _written(file, content):
    """The MB per second of the disk when each chunk is flushed before the next."""
    view = memoryview(content)
    begin = time.monotonic()
    descriptor = os.open(file, os.O_WRONLY | os.O_CREAT, 0o600)
    for at in range(0, len(content), CHUNK):
        piece = view[at:at + CHUNK]
        while piece:
            piece = piece[os.write(descriptor, piece):]
        os.fdatasync(descriptor)
    took = time.monotonic() - begin
    os.close(descriptor)
    file.unlink()
    return len(content) / 1e6 / took


def _operation(program, folder, say):
    say("server: start and lists")
    ours = Ours(program, folder / "list")
    with ours.serving():
        pass
    now = int(time.time())
    with sqlite3.connect(folder / "list/orvo-server.sqlite") as database:
        for number in range(10000):
            video = str(uuid.uuid4())
            database.execute("INSERT INTO videos(id, title, domains, public_link, state, revision, embed_epoch, watch_epoch, created_at,"
                             " updated_at) VALUES(?, ?, '[\"https://www.ejemplo.es\"]', 1, 'published', ?, 0, 0, ?, ?)",
                             (video, f"Lección {number}: cómo se hace", video, now - number, now - number))
            database.execute("INSERT INTO revisions VALUES(?, ?, 'published', 1000000, 60000, ?, ?)", (video, video, now, now))
            database.execute("INSERT INTO plays VALUES(?, '2026-01-01', ?)", (video, number))
    database.close()
    starts = []
    for _ in range(5):
        port = free_port()
        begin = time.monotonic()
        with subprocess.Popen([program, "run", "--data", ours.data, "--listen", f"127.0.0.1:{port}"], stderr=subprocess.DEVNULL) as process:
            await_port(port, process)
            starts.append(1000 * (time.monotonic() - begin))
            process.terminate()
    result = [Row("server, start: until it accepts connections", "ms", starts, limit=100)]
    with ours.serving():
        session, _ = ours.ask("POST", "/admin/session", json.dumps({"token": ours.credential}))
        cookie = {"Cookie": session.getheader("Set-Cookie").split(";")[0]}
        for what, query, limit in (("a page of the list", "", 50), ("a search in the titles", "?q=lecci%C3%B3n%209", 50),
                                   ("all of them at once, which no page asks for", "?limit=10000", None)):
            times = []
            for _ in range(15):
                begin = time.monotonic()
                ours.ask("GET", "/admin/data/videos" + query, headers=cookie)
                times.append(1000 * (time.monotonic() - begin))
            result.append(Row(f"server, 10,000 videos: {what}", "ms", times, limit=limit))
    return result


def _storage(program, folder, say):
    gateway = shutil.which("versitygw")
    if not gateway:
        say("server: no S3 server (versitygw) is installed; skipping S3")
        return []
    say("server: segments from S3")
    (folder / "s3/videos").mkdir(parents=True)
    port = free_port()
    ours = Ours(program, folder / "remote", ["storage = s3", f"s3_endpoint = http://127.0.0.1:{port}", "s3_bucket = videos",
                                             "s3_access_key = acceso"])
    with running([gateway, "--access", "acceso", "--secret", "secreto", "--port", f"127.0.0.1:{port}", "posix", folder / "s3"], port):
        files = _package()
        with ours.serving(ORVO_S3_SECRET_KEY="secreto"):
            ours.publish(files)
        times, peers = [], []
        keys = [file.relative_to(folder / "s3") for file in (folder / "s3/videos").rglob("*")
                if file.is_file() and file.stat().st_size == SEGMENT]
        for number in range(3 * SEGMENTS):
            if number % SEGMENTS == 0:
                shutil.rmtree(folder / "remote/cache")
            with ours.serving(ORVO_S3_SECRET_KEY="secreto"):
                media = ours.media()
                client = Client(ours.port)
                client.get(media + "key.bin")  # Warms up: the server has looked up the video, and the connection is open.
                begin = time.monotonic()
                client.get(f"{media}480/{number % SEGMENTS:05}.ts")
                times.append(1000 * (time.monotonic() - begin))
                client.close()
            told = subprocess.run(["curl", "-sS", "-o", folder / "fetched", "-w", "%{time_total}", "--aws-sigv4", "aws:amz:us-east-1:s3", "-u",
                                   "acceso:secreto", f"http://127.0.0.1:{port}/{keys[number % SEGMENTS]}"], stdout=subprocess.PIPE,
                                  check=True).stdout
            peers.append(1000 * float(told))
    return [Row("server, a segment that only S3 has", "ms", times, peers, "curl from S3", at_most=1.2)]
