"""Publishes to `orvo-server` while client and server are killed, and plays the video in a browser: on an authorised page while
tickets expire, on a foreign page, after the domains have changed, and after the withdrawal. Then publishes again and uses the
administration page.

end_to_end.py ORVO ORVO_SERVER PLAYER_FOLDER [APPLICATION HANDS]

The client is `orvo`, or the application, whose buttons HANDS presses. With the application, skips the detailed checks of the
player and the administration page.
"""

import html
import http.server
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.request
from pathlib import Path

import in_browser
from administration import administers
from clients import Desktop, Orvo, Windows
from film import SECONDS, spoken_at
from in_browser import World, check_frame
from make_package import lesson
from tab import LIMIT, Site, Tab, expect, wait_for

TICKET = 4  # Seconds that a ticket is valid.


class Server:
    """The built server with a data folder; can be killed and restarted on the same port."""

    def __init__(self, program, folder):
        self.program, self.data = program, folder / "server"
        with http.server.HTTPServer(("127.0.0.1", 0), http.server.BaseHTTPRequestHandler) as probe:
            self.port = probe.server_port
        self.address = f"http://localhost:{self.port}"
        made = subprocess.run([program, "init", "--data", self.data, "--address", self.address, "--json"], stdout=subprocess.PIPE, check=True)
        self.credential = json.loads(made.stdout)["credential"]
        with open(self.data / "orvo-server.conf", "a") as file:
            file.write(f"ticket_seconds = {TICKET}\n")
        self.log = folder / "server.log"
        self.start()

    def start(self):
        with open(self.log, "a") as log:
            self.process = subprocess.Popen([self.program, "run", "--data", self.data, "--listen", f"127.0.0.1:{self.port}"], stderr=log)
        wait_for("the server", lambda: self.process.poll() is not None or self.status("/healthz") == 200)
        expect(self.process.poll() is None, self.log.read_text())

    def kill(self):
        self.process.kill()
        self.process.wait()

    def status(self, path, credential=None):
        """Returns the status of a request, or 0 while the server is down."""
        request = urllib.request.Request(f"http://127.0.0.1:{self.port}{path}")
        if credential:
            request.add_header("Authorization", f"Bearer {credential}")
        try:
            return urllib.request.urlopen(request, timeout=LIMIT).status
        except urllib.error.HTTPError as error:
            return error.code
        except OSError:
            return 0

    def media(self, page, site):
        """Returns the media path of a new viewer in a frame of this site."""
        request = urllib.request.Request(page, headers={"Referer": f"{site}/", "Sec-Fetch-Dest": "iframe"})
        config = re.search('data-config="([^"]*)"', urllib.request.urlopen(request, timeout=LIMIT).read().decode())[1]
        return json.loads(html.unescape(config))["media"]


def publish(client, server, project, origin):
    """Begins to publish twice, killing first the client and then also the server, then publishes to the end."""
    for victim in ("client", "server"):
        seen = server.log.read_text().count('"route":"api/uploads')
        process = client.begin(project, origin)
        wait_for("an upload", lambda: server.log.read_text().count('"route":"api/uploads') > seen + 2 or process.poll() is not None)
        expect(process.poll() is None, "the publication ended before the kill")
        if victim == "server":
            server.kill()
            server.start()
        process.send_signal(signal.SIGKILL)
        process.communicate()
    return client.publish(project, origin)


def frame_of(tab):
    session = tab.frame_session()
    tab.watch(session)
    return session


def watches(server, tab, page, site):
    """Plays past the life of a ticket; checks seeking and captions in the embedded player."""
    session = frame_of(tab)
    # Uses a new ticket: on a busy machine the player's own may expire before the page is drawn.
    expect(server.status(server.media(page, site) + "key.bin") == 200, "a new ticket is refused")
    first = tab.run("JSON.parse(document.querySelector('[data-config]').dataset.config).media", session)
    tab.run("document.querySelector('.big').click(), watching.played(1)", session)
    begin = time.monotonic()
    wait_for("the first ticket's end", lambda: server.status(first + "key.bin") == 403)
    tab.run("watching.played(2)", session)
    expect(time.monotonic() - begin < LIMIT, "the ticket expired too late")
    tab.run("watching.video.pause()", session)
    for moment in (SECONDS * 0.9, 31.0):
        tab.run(f"watching.video.currentTime = {moment}", session)
        check_frame(tab, moment, session)
    word = tab.run("watching.until(() => document.querySelector('.captions .spoken')?.textContent)", session)
    expect(word == spoken_at(31.0), f"the word {word} is marked")
    expect(tab.run("watching.seen.message", session) == 0, "the player showed a message")
    return session


def main():
    folder = Path(tempfile.mkdtemp(prefix="orvo-end-to-end-"))
    orvo_program, server_program, player, *windows = sys.argv[1:]
    if windows and not Desktop.is_available():
        print("at-spi2-core is not installed")
        raise SystemExit(77)
    server = Server(server_program, folder)
    world = client = None
    try:
        expect(server.status("/api/status") == 401, "the interface answers without a credential")
        expect(server.status("/api/status", server.credential) == 200, "the credential is not right")
        orvo = Orvo(orvo_program, folder, server)
        project = lesson(orvo, folder)
        client = Windows(*windows, folder) if windows else orvo
        client.connect(server.address, server.credential)
        page = f"{server.address}/embed/{project.lower()}"
        site_code = f'<iframe src="{page}" style="width:960px;height:540px" allow="autoplay"></iframe>'
        # Not localhost, which is the server's site: the browser runs the frame of another site in its own process.
        home, foreign = Site(site_code), Site(site_code)
        address = publish(client, server, project, home.origin)
        expect(address == f"{server.address}/watch/{project.lower()}", f"the address is {address}")

        world = World(folder, folder, player, server.address, project.lower())
        tab = Tab(world.browser, home.origin)
        session = watches(server, tab, page, home.origin)
        stranger = Tab(world.browser, foreign.origin)
        wait_for("the refusal", lambda: [event for event in stranger.events("Log.entryAdded") if "frame-ancestors" in event["entry"]["text"]]
                 or stranger.run("1") != 1)
        if not windows:
            in_browser.plays(world)

        # Only the other page may embed the video now; the player in the first one stops.
        client.move(project, foreign.origin)
        # The player may have stopped already, so play() may fail.
        tab.run("watching.video.play().catch(() => {}), watching.video.currentTime = 75, watching.until(() => !document.querySelector('.message').hidden)", session)
        expect(server.status(f"/watch/{project.lower()}") == 404, "the link still works")
        moved = Tab(world.browser, foreign.origin)
        session = frame_of(moved)
        moved.run("document.querySelector('.big').click(), watching.played(1)", session)

        client.withdraw(project)
        moved.run("watching.video.currentTime = 75, watching.until(() => !document.querySelector('.message').hidden)", session)
        expect(server.status(f"/embed/{project.lower()}") == 404, "the withdrawn video is still served")
        if not windows:
            orvo("set", project, "title", "Lección 3: <b>un vídeo</b>")
            client.publish(project, home.origin)
            administers(world.browser, server, project.lower(), foreign.origin, (Path(player) / "axe.min.js").read_text())
    except BaseException:
        print(server.log.read_text()[-4000:])
        if client and "ORVO_TEST_PICTURES" in os.environ:
            client.photograph(Path(os.environ["ORVO_TEST_PICTURES"]) / "end-to-end.png")
        raise
    finally:
        if world:
            world.close()
        if client:
            client.close()
        server.kill()
        shutil.rmtree(folder, ignore_errors=True)


main()
