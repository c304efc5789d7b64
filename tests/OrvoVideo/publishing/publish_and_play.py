"""Publishes a project with `orvo` on orvo-server, interrupted in the middle, and plays what arrived with ffmpeg and in a
browser; changes who may embed it, and withdraws it.

publish_and_play.py ORVO PUBLISHING_SERVER ORVO_SERVER
"""

import base64
import hashlib
import html
import http.server
import json
import os
import re
import shutil
import signal
import sqlite3
import ssl
import subprocess
import sys
import tempfile
import threading
import time
import urllib.request
from pathlib import Path

from chromium import Chromium, Page
from devtools import LIMIT

HERE = Path(__file__).resolve().parent
WATCHING = HERE.parents[1] / "OrvoServer/web/watching.js"
CHUNK = 8 << 20
# The colour that the movie shows from each of these seconds on.
COLOURS = {0: "red", 5: "lime", 10: "blue", 15: "white"}
SECONDS = 20
RATE = 30
MOMENTS = [1.0, 7.3, 13.2, 17.5]  # One of each colour.


def expect(holds, text):
    if not holds:
        raise SystemExit(f"FAILED: {text}")


def wait_for(what, condition):
    end = time.monotonic() + 3 * LIMIT  # A video is rendered meanwhile.
    while time.monotonic() < end:
        if result := condition():
            return result
        time.sleep(0.01)
    expect(False, f"waited too long for {what}")


def colour_at(moment):
    return COLOURS[max(second for second in COLOURS if second <= moment)]


class Server:
    """orvo-server behind the proxy that fails when it is told to."""

    def __init__(self, proxy, program, folder):
        self.proxy, self.program, self.folder, self.port = proxy, program, folder, 0
        folder.mkdir()
        self.start()
        with open(folder / "data/orvo-server.conf", "a") as configuration:  # From the next start on.
            configuration.write("ticket_seconds = 86400\n")
        self.address = f"https://localhost:{self.port}"
        self.authority = folder / "ca.pem"
        self.trusting = ssl.create_default_context(cafile=self.authority)

    def start(self):
        self.process = subprocess.Popen(
            [sys.executable, self.proxy, self.folder, "--port", str(self.port), "--server", self.program, "--address",
             "https://localhost:PORT"], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.port = int(self.process.stdout.readline())

    def kill(self):
        self.process.kill()
        self.process.communicate()

    def set_faults(self, *faults):
        (self.folder / "faults.new").write_text(json.dumps(faults))
        (self.folder / "faults.new").replace(self.folder / "faults.json")

    def requests(self, event="asked", method=None):
        lines = (self.folder / "requests.jsonl").read_text().splitlines(keepends=True)
        found = [json.loads(line) for line in lines if line.endswith("\n")]
        return [one for one in found if one["event"] == event and method in (None, one.get("method"))]

    def files(self):
        """The sizes of the files of each revision."""
        with sqlite3.connect(self.folder / "data/orvo-server.sqlite") as database:
            return [row[0] for row in database.execute("SELECT size FROM files")]

    def get(self, address):
        """Status and text of an answer."""
        try:
            with urllib.request.urlopen(address, context=self.trusting) as answer:
                return answer.status, answer.read().decode()
        except urllib.error.HTTPError as error:
            return error.code, ""

    def media(self, page):
        """Where the media are that a page plays."""
        config = re.search('data-config="([^"]*)"', self.get(page)[1])[1]
        return self.address + json.loads(html.unescape(config))["media"].removesuffix("/")

    def trusted(self):
        """The digest of the certificate's public key."""
        key = subprocess.run(["openssl", "x509", "-in", "server.pem", "-pubkey", "-noout"], cwd=self.folder,
                             stdout=subprocess.PIPE, check=True).stdout
        der = subprocess.run(["openssl", "pkey", "-pubin", "-outform", "der"], input=key, stdout=subprocess.PIPE, check=True)
        return base64.b64encode(hashlib.sha256(der.stdout).digest()).decode()


class Site:
    """The web page of somebody who embeds a video, at an origin of its own."""

    def __init__(self):
        site = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                content = f"<!doctype html><title>Mi web</title>{site.code}".encode()
                self.send_response(200)
                self.send_header("Content-Type", "text/html; charset=utf-8")
                self.end_headers()
                self.wfile.write(content)

            def log_message(self, *_):
                pass

        self.code = ""
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.origin = f"http://127.0.0.1:{self.server.server_port}"
        threading.Thread(target=self.server.serve_forever, daemon=True).start()


class Orvo:
    """The terminal's program with a library and settings of its own."""

    def __init__(self, program, folder, server):
        self.program = program
        self.library = folder / "library"
        self.environment = {**os.environ, "ORVO_LIBRARY": str(self.library), "XDG_CONFIG_HOME": str(folder / "config"),
                            "ORVO_ADMIN_TOKEN": "secreto", "SSL_CERT_FILE": str(server.authority),
                            "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}

    def start(self, *words):
        return subprocess.Popen([self.program, *words], env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def __call__(self, *words):
        process = self.start(*words, "--json")
        out, err = process.communicate()
        expect(process.returncode == 0, f"orvo {words}: {err.decode()}")
        return json.loads(out)

    def make_project(self, folder):
        """A movie of four colours with a tone, and an original beside it that takes several chunks."""
        movie = folder / "clase.mp4"
        inputs = [word for second in COLOURS for word in
                  ("-f", "lavfi", "-i", f"color={COLOURS[second]}:size=1920x1080:rate={RATE}:duration=5")]
        subprocess.run(["ffmpeg", "-v", "error", *inputs, "-f", "lavfi", "-i", f"sine=440:d={SECONDS}:r=48000", "-filter_complex",
                        f"concat=n={len(COLOURS)}", "-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-c:a", "aac",
                        movie], check=True)
        project = self("import", str(movie))["id"]
        (self.library / project / "media/original.mkv").write_bytes(os.urandom(2 * CHUNK + 1_000_000))
        return project


def publish_interrupted(orvo, server, project, *options):
    """Program and server are killed in the middle of a file; the next publication goes on, a connection that is cut included."""
    server.set_faults({"method": "PUT", "skip": 1, "do": "hang"})
    publishing = orvo.start("publish", project, *options)
    wait_for("the second chunk", lambda: len(server.requests(method="PUT")) == 2 or publishing.poll() is not None)
    expect(publishing.poll() is None, "the publication has ended by itself")
    server.kill()
    publishing.send_signal(signal.SIGKILL)
    publishing.communicate()
    expect((orvo.library / project / "upload-session.json").exists(), "nothing is left to go on with")

    server.set_faults({"method": "PUT", "do": "cut", "bytes": 3_000_000})
    server.start()
    before = len(server.requests())
    published = orvo("publish", project, *options)
    after = server.requests()[before:]
    expect(not [one for one in after if one["path"].endswith("/revisions")], "another revision was begun")
    # What was asked for and what was not taken: every byte once, but for those that were on their way when the connection ended.
    sent = sum(one["length"] for one in server.requests(method="PUT")) - CHUNK
    files = server.files()
    total = sum(files)
    expect(0 <= sent - total <= CHUNK, f"{sent} bytes sent of {total}")
    expect(not server.requests("refused"), "something was sent that the server had")
    expect(not (orvo.library / project / "upload-session.json").exists(), "the session's file is left")
    print(f"{len(files)} files, {total} bytes, {sent - total} of them announced once more")
    return published


def play_with_the_wrong_key(server, address):
    """Nobody can watch it without the key."""
    server.set_faults({"path": address.removeprefix(server.address) + "/key.bin", "times": 1000, "do": "status", "status": 200,
                       "body": "0123456789abcdef"})
    frames = subprocess.run(["ffmpeg", "-v", "quiet", "-xerror", "-i", f"{address}/master.m3u8", "-map", "0:v:0", "-vf", "scale=1:1",
                             "-f", "rawvideo", "-pix_fmt", "rgb24", "-"], stdout=subprocess.PIPE).stdout
    expect(not frames, f"with another key {len(frames) // 3} frames are shown")
    server.set_faults()


def play_with_ffmpeg(server, address):
    """Every quality, whole, from the master playlist."""
    master = f"{address}/master.m3u8"
    probed = subprocess.run(["ffprobe", "-v", "error", "-show_programs", "-of", "json", master], stdout=subprocess.PIPE, check=True)
    programs = json.loads(probed.stdout)["programs"]
    sizes = [next((stream["width"], stream["height"]) for stream in program["streams"] if stream["codec_type"] == "video")
             for program in programs]
    expect(sizes == [(852, 480), (1280, 720), (1920, 1080)], f"the sizes are {sizes}")
    for program in programs:
        number = program["program_id"]
        frames = subprocess.run(["ffmpeg", "-v", "error", "-xerror", "-i", master, "-map", f"0:p:{number}:v", "-vf", "scale=1:1",
                                 "-f", "rawvideo", "-pix_fmt", "rgb24", "-"], stdout=subprocess.PIPE, check=True).stdout
        expect(len(frames) == 3 * SECONDS * RATE, f"{len(frames) // 3} pictures")
        for moment in MOMENTS:
            at = int(moment * RATE) * 3
            shown = tuple(value > 120 for value in frames[at:at + 3])
            expected = {"red": (1, 0, 0), "lime": (0, 1, 0), "blue": (0, 0, 1), "white": (1, 1, 1)}[colour_at(moment)]
            expect(shown == expected, f"program {number} shows {shown} at {moment} s")


def plays(page, frame=None):
    """Whether there is a player, and it shows the video."""
    if not page.run("Boolean(document.querySelector('[data-config]'))", frame):
        return False
    page.run("new Promise((done) => { const look = () => document.querySelector('.big') ? done() : setTimeout(look, 20); look(); })", frame)
    page.run(WATCHING.read_text(), frame)
    page.run("document.querySelector('.big').click(), watching.played(0.3)", frame)
    page.run("watching.until(() => watching.colour() === 'red', 'the first colour')", frame)
    return True


def is_shown_by(browser, site):
    page = Page(browser, site.origin)
    shown = plays(page, page.frame_session())
    page.close()
    return shown


def main():
    program, proxy, server_program = sys.argv[1:]
    folder = Path(tempfile.mkdtemp(prefix="orvo-publication-"))
    server = Server(proxy, server_program, folder / "server")
    browser = None
    try:
        orvo = Orvo(program, folder, server)
        site = Site()
        orvo("settings", "--server", server.address)
        project = orvo.make_project(folder)
        published = publish_interrupted(orvo, server, project, "--domain", site.origin, "--public-link")
        video, site.code = published["videoID"], published["embed"]
        watch = f"{server.address}/watch/{video}"
        media = server.media(watch)
        play_with_ffmpeg(server, media)
        play_with_the_wrong_key(server, media)

        browser = Chromium(folder, server.trusted())
        expect(plays(Page(browser, watch)), "the link does not play")
        expect(is_shown_by(browser, site), "the site may not embed it")
        orvo("publish", project, "--only-access", "--domain", "https://otra.es", "--private-link")
        expect(not is_shown_by(browser, site), "the site still embeds it")
        for address in (watch, f"{media}/key.bin", f"{media}/master.m3u8"):
            expect(server.get(address)[0] != 200, f"{address} is still public")
        orvo("publish", project, "--only-access", "--domain", f"https://otra.es, {site.origin}")
        expect(is_shown_by(browser, site), "the site may not embed it again")

        orvo("unpublish", project)
        expect(not is_shown_by(browser, site), "the site still shows what was withdrawn")
    finally:
        if browser:
            browser.close()
        server.kill()
        shutil.rmtree(folder, ignore_errors=True)


main()
