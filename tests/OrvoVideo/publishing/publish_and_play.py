"""Publishes a project with `orvo`, interrupted in the middle, and plays what arrived in a browser, with mpv and with ffmpeg;
changes who may embed it, and withdraws it.

publish_and_play.py ORVO PUBLISHING_SERVER PLAYER
"""

import base64
import hashlib
import http.server
import json
import os
import shutil
import signal
import ssl
import subprocess
import sys
import tempfile
import threading
import time
import urllib.request
import uuid
from pathlib import Path

from chromium import Chromium, Page
from devtools import LIMIT
from mpv import Mpv

HERE = Path(__file__).resolve().parent
CHUNK = 8 << 20
# The colour that the movie shows from each of these seconds on.
COLOURS = {0: "red", 5: "lime", 10: "blue", 15: "white"}
SECONDS = 20
RATE = 30
MOMENTS = [13.2, 1.0, 17.5, 7.3]  # In this order: back and forth, in every segment.
WORDS = [(0.5, 3.0, "Empieza"), (6.5, 9.0, "¿Qué"), (12.5, 15.0, "año?"), (17.0, 19.5, "Fin.")]


def expect(holds, text):
    if not holds:
        raise SystemExit(f"FAILED: {text}")


def wait_for(what, condition):
    end = time.monotonic() + LIMIT
    while time.monotonic() < end:
        if result := condition():
            return result
        time.sleep(0.01)
    expect(False, f"waited too long for {what}")


def colour_at(moment):
    return COLOURS[max(second for second in COLOURS if second <= moment)]


def words_at(moment):
    return [text for start, end, text in WORDS if start <= moment < end]


class Server:
    """The publishing server, with the player that it shows."""

    def __init__(self, program, player, folder):
        self.program, self.player, self.folder, self.port = program, player, folder, 0
        folder.mkdir()
        self.start()
        self.address = f"https://localhost:{self.port}"
        self.authority = folder / "ca.pem"

    def start(self):
        self.process = subprocess.Popen(
            [sys.executable, self.program, self.folder, "--port", str(self.port), "--player", self.player],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
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

    def state(self):
        return json.loads((self.folder / "state.json").read_text())

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
        """A movie of four colours with a tone, words that are said in it, and an original beside it that takes several chunks."""
        movie = folder / "clase.mp4"
        inputs = [word for second in COLOURS for word in
                  ("-f", "lavfi", "-i", f"color={COLOURS[second]}:size=1920x1080:rate={RATE}:duration=5")]
        subprocess.run(["ffmpeg", "-v", "error", *inputs, "-f", "lavfi", "-i", f"sine=440:d={SECONDS}:r=48000", "-filter_complex",
                        f"concat=n={len(COLOURS)}", "-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-c:a", "aac",
                        movie], check=True)
        project = self("import", str(movie))["id"]
        document = self.library / project / "project.json"
        content = json.loads(document.read_text())
        content["edit"]["words"] = [{"id": str(uuid.uuid4()).upper(), "start": start, "end": end, "text": text}
                                    for start, end, text in WORDS]
        document.write_text(json.dumps(content, ensure_ascii=False))
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
    files = [server.state()["uploads"][one["id"]] for one in server.state()["revisions"].popitem()[1]["uploads"]]
    total = sum(file["size"] for file in files)
    expect(0 <= sent - total <= CHUNK, f"{sent} bytes sent of {total}")
    expect(not server.requests("refused"), "something was sent that the server had")
    expect(not (orvo.library / project / "upload-session.json").exists(), "the session's file is left")
    print(f"{len(files)} files, {total} bytes, {sent - total} of them announced once more")
    return published


def play_in_browser(browser, address):
    """Every quality in turn."""
    page = Page(browser, address)
    page.run((HERE / "watching.js").read_text())
    levels = page.run("levels()")
    expect([level["height"] for level in levels] == [480, 720, 1080], f"the qualities are {levels}")
    expect(page.run("cues()") == [text for _, _, text in WORDS], f"the captions are {page.run('cues()')}")
    for number, level in enumerate(levels):
        outcome = page.run(f"played({number}, {json.dumps(MOMENTS)})")
        print(level, outcome)
        for seen in outcome["seen"]:
            moment = seen["moment"]
            expect(seen["height"] == level["height"], f"{level['height']}: shows {seen['height']} lines at {moment} s")
            expect(seen["colour"] == colour_at(moment), f"{level['height']}: {seen['colour']} at {moment} s")
            expect(seen["captions"] == words_at(moment + 0.5), f"{level['height']}: {seen['captions']} at {moment} s")
        expect(abs(outcome["duration"] - SECONDS) < 0.2, f"{outcome['duration']} s")
        expect(outcome["soundBytes"] > 0, "there is no sound")
    page.close()


def play_with_the_wrong_key(browser, server, address, video):
    """Nobody can watch it without the key."""
    key = f"/media/{video}/key.bin"
    expect([one for one in server.requests() if one["path"] == key], "nobody has asked for the key")
    server.set_faults({"path": key, "times": 1000, "do": "status", "status": 200, "body": "0123456789abcdef"})
    page = Page(browser, address)
    page.run((HERE / "watching.js").read_text())
    error = page.run("error()")
    expect(error in ("fragParsingError", "fragDecryptError"), f"with another key: {error}")
    # Now and then noise looks like the head of a stream to the player. Nothing of the picture is seen all the same.
    shown = page.run("({ state: video.readyState, frames: video.getVideoPlaybackQuality().totalVideoFrames })")
    expect(shown["state"] < 2 and shown["frames"] == 0, f"with another key it is played: {shown}")
    server.set_faults()
    page.close()


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


def shown_colour(file):
    """The colour in the middle of a picture."""
    pixel = subprocess.run(["ffmpeg", "-v", "error", "-i", file, "-vf", "crop=16:16,scale=1:1", "-f", "rawvideo", "-pix_fmt", "rgb24",
                            "-"], stdout=subprocess.PIPE, check=True).stdout
    return {(1, 0, 0): "red", (0, 1, 0): "lime", (0, 0, 1): "blue", (1, 1, 1): "white"}.get(tuple(value > 120 for value in pixel))


def play_with_mpv(server, address, folder):
    """Every quality in turn, as a desktop's player does."""
    trusted = ssl.create_default_context(cafile=server.authority)
    with urllib.request.urlopen(f"{address}/master.m3u8", context=trusted) as answer:
        lines = answer.read().decode().splitlines()
    bandwidths = [int(line.partition("BANDWIDTH=")[2].split(",")[0]) for line in lines if line.startswith("#EXT-X-STREAM-INF")]
    for height, bandwidth in zip((480, 720, 1080), bandwidths, strict=True):
        mpv = Mpv(f"{address}/master.m3u8", server.authority, f"--hls-bitrate={bandwidth}",
                  f"--sub-file={address}/captions.vtt", "--sid=1")
        try:
            expect(mpv.call("get_property", "video-params/h") == height, f"mpv does not play the quality {height}")
            expect(abs(mpv.call("get_property", "duration") - SECONDS) < 0.2, f"mpv: {height} is not as long as it should be")
            for moment in MOMENTS:
                mpv.seek(moment)
                mpv.picture(folder / "shown.png")
                seen = mpv.call("get_property", "time-pos"), shown_colour(folder / "shown.png"), mpv.call("get_property", "sub-text")
                print(height, moment, seen)
                expect(abs(seen[0] - moment) < 1.5 / RATE, f"mpv: {height} is at {seen[0]} instead of {moment} s")
                expect(seen[1] == colour_at(moment), f"mpv: {height} shows {seen[1]} at {moment} s")
                expect(seen[2] == " ".join(words_at(moment)), f"mpv: {height} says {seen[2]} at {moment} s")
            mpv.seek(SECONDS - 2)
            position, reason, status = mpv.finish()
            expect(reason == "eof" and status == 0, f"mpv: {height} ends with {reason}, {status}")
            expect(position > SECONDS - 0.5, f"mpv: {height} ends at {position} s")
        finally:
            mpv.close()


def is_shown_by(browser, site):
    """Whether the site's page shows the video that it embeds."""
    page = Page(browser, site.origin)
    frame = page.frame_session()
    shown = page.run("Boolean(document.querySelector('video'))", frame)
    if shown:
        page.run((HERE / "watching.js").read_text(), frame)
        expect(page.run("played(0, [1.0])", frame)["seen"][0]["colour"] == "red", "the embedded video is not the one")
    page.close()
    return shown


def status_of(page):
    return page.run("performance.getEntriesByType('navigation')[0].responseStatus")


def main():
    program, server_program, player = sys.argv[1:]
    expect(Path(player).exists(), f"there is no {player}: tools/player.sh puts it there")
    folder = Path(tempfile.mkdtemp(prefix="orvo-publication-"))
    server = Server(server_program, player, folder / "server")
    browser = None
    try:
        orvo = Orvo(program, folder, server)
        site = Site()
        orvo("settings", "--server", server.address)
        project = orvo.make_project(folder)
        published = publish_interrupted(orvo, server, project, "--domain", site.origin, "--public-link")
        video, site.code = published["videoID"], published["embed"]
        watch, media = f"{server.address}/watch/{video}", f"{server.address}/media/{video}"

        browser = Chromium(folder, server.trusted())
        play_in_browser(browser, watch)
        play_with_mpv(server, media, folder)
        play_with_ffmpeg(server, media)
        play_with_the_wrong_key(browser, server, watch, video)

        expect(is_shown_by(browser, site), "the site may not embed it")
        orvo("publish", project, "--only-access", "--domain", "https://otra.es", "--private-link")
        expect(not is_shown_by(browser, site), "the site still embeds it")
        expect(status_of(Page(browser, watch)) == 403, "the link is still public")
        orvo("publish", project, "--only-access", "--domain", f"https://otra.es, {site.origin}")
        expect(is_shown_by(browser, site), "the site may not embed it again")

        orvo("unpublish", project)
        expect(not is_shown_by(browser, site), "the site still shows what was withdrawn")
        for address in (watch, f"{media}/key.bin", f"{media}/master.m3u8"):
            expect(status_of(Page(browser, address)) == 404, f"{address} is still there")
    finally:
        if browser:
            browser.close()
        server.kill()
        shutil.rmtree(folder, ignore_errors=True)


main()
