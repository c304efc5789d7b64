"""A real browser on its own display, with the extension, the helper and a library."""

import http.server
import json
import os
import subprocess
import sys
import threading
import time
from functools import partial
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "support"))

from devtools import LIMIT, DevTools, expect, wait_for  # noqa: E402: the module is in another folder.
from display import Display  # noqa: E402


class QuietHandler(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *_):
        pass


class Browser:
    """A display, a browser with the extension and the test page, and an empty library. The browser's fake microphone hums,
    and its fake camera shows a pattern."""

    def __init__(self, orvo, bridge, extension, origin, folder, size=(1000, 700), page="page.html", permitted=True):
        self.orvo = orvo
        self.size = size
        self.extension = Path(origin).read_text().strip().split("/")[2]
        self.library = folder / "library"
        self.data = folder / "data"
        self.display = Display(f"{size[0]}x{size[1]}")
        self.environment = {**os.environ, "DISPLAY": self.display.name, "HOME": str(folder), "ORVO_LIBRARY": str(self.library),
                            "XDG_CONFIG_HOME": str(folder / "config"), "XDG_DATA_HOME": str(self.data), "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}
        self.environment.pop("WAYLAND_DISPLAY", None)
        profile = folder / "profile"
        hosts = profile / "NativeMessagingHosts"
        hosts.mkdir(parents=True)
        self.manifest = hosts / "es.orvo.video.json"
        self.manifest.write_text(json.dumps({"name": "es.orvo.video", "description": "Orvo Video Native Bridge", "path": str(bridge),
                                             "type": "stdio", "allowed_origins": [Path(origin).read_text().strip()]}))
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), partial(QuietHandler, directory=HERE))
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.address = f"http://127.0.0.1:{server.server_port}/{page}"
        self.tools = DevTools(
            ["chromium", "--no-sandbox", f"--user-data-dir={profile}", f"--load-extension={extension}", "--no-first-run",
             "--disable-features=DisableLoadExtensionCommandLineSwitch", "--autoplay-policy=no-user-gesture-required",
             f"--allowlisted-extension-id={self.extension}", "--use-fake-device-for-media-stream",
             "--auto-accept-camera-and-microphone-capture", "--password-store=basic", "--disable-gpu", "--window-position=0,0",
             f"--window-size={size[0]},{size[1]}", self.address], self.environment)
        self.chromium = self.tools.process
        if permitted:
            self.tools.call("Browser.grantPermissions", origin=f"chrome-extension://{self.extension}",
                            permissions=["audioCapture", "videoCapture"])
        self.welcomed = self.leave_welcome()
        self.xdotool("search", "--sync", "--onlyvisible", "--name", "Reloj de prueba")
        # The browser registers the shortcuts a moment after it shows the window.
        wait_for("the shortcuts", lambda: self.in_extension(
            "globalThis.chrome?.commands?.getAll().then((all) => all.some((one) => one.shortcut))"))
        self.focus()

    def pages(self, name):
        """Returns the extension's open pages with this name."""
        targets = self.tools.call("Target.getTargets")["targetInfos"]
        return [one["targetId"] for one in targets if one["type"] == "page" and f"{self.extension}/{name}" in one["url"]]

    def in_page(self, page, script):
        return self.tools.run(script, self.tools.attach(page))

    def leave_welcome(self):
        """Closes the page that opens after the installation; returns the application's state on it: "good" or "problem"."""
        page = wait_for("the page after the installation", lambda: self.pages("welcome.html"))[0]
        shown = wait_for("the state of the application", lambda: self.in_page(page, "document.getElementById('connected')?.className"))
        self.tools.call("Target.closeTarget", targetId=page)
        return shown

    def close(self):
        self.tools.close()
        self.display.close()

    def xdotool(self, *words):
        return subprocess.run(["xdotool", *words], env=self.environment, timeout=LIMIT, stdout=subprocess.PIPE).stdout.decode()

    def focus(self):
        self.xdotool("search", "--sync", "--onlyvisible", "--name", "Reloj de prueba", "windowfocus", "--sync", "%@")

    def new_tab(self):
        tabs = lambda: sum(target["type"] == "page" for target in self.tools.call("Target.getTargets")["targetInfos"])  # noqa: E731
        before = tabs()
        self.press("ctrl+t")
        wait_for("the tab", lambda: tabs() > before)

    def press(self, keys):
        self.xdotool("key", "--clearmodifiers", keys)

    def command(self, *words):
        outcome = subprocess.run([self.orvo, *words], env=self.environment, stdout=subprocess.PIPE)
        expect(outcome.returncode == 0, f"orvo {words} failed")
        return outcome.stdout.decode()

    def in_extension(self, script):
        """Runs a script in the extension's worker."""
        targets = self.tools.call("Target.getTargets")["targetInfos"]
        worker = next((one for one in targets if one["type"] == "service_worker" and self.extension in one["url"]), None)
        return self.tools.run(script, self.tools.attach(worker["targetId"])) if worker else None

    def projects(self):
        """Reads the documents directly, so that no project is prepared or marked."""
        return [json.loads(file.read_text()) for file in self.library.glob("*/project.json")]

    def helper(self):
        """Returns the process of the recording helper, or None."""
        marks = list(self.library.glob("*/capture-session.json"))
        return json.loads(marks[0].read_text())["pid"] if marks else None

    def descendants(self):
        """Returns the browser's process and its descendants."""
        output = subprocess.run(["ps", "-eo", "pid=,ppid="], stdout=subprocess.PIPE, check=True).stdout.decode()
        parents = [tuple(map(int, line.split())) for line in output.splitlines()]
        found = [self.chromium.pid]
        for parent in found:
            found += [pid for pid, of in parents if of == parent]
        return found

    def badge(self):
        return self.in_extension("chrome.action.getBadgeText({})")

    def begin(self):
        before = {project["id"] for project in self.projects()}
        pressed = 0

        def begun():
            nonlocal pressed
            project = next((new for new in self.projects() if new["id"] not in before), None)
            # A new window may miss a key.
            if not project and time.monotonic() > pressed + 10 and self.badge() in (None, "", "!"):
                self.press("ctrl+shift+7")
                pressed = time.monotonic()
            return project

        project = wait_for("the beginning of a recording", begun)
        expect(project["state"] == "recording-tab", f"the project is {project['state']}")
        files = [self.media(project, track["kind"]) for track in project["tracks"]]
        wait_for("the first chunk of each track", lambda: all(file.exists() and file.stat().st_size for file in files))
        return project["id"]

    def project(self, identifier):
        return next(project for project in self.projects() if project["id"] == identifier)

    def recorded(self, identifier, seconds):
        """Waits until the helper has saved this duration in the document."""
        wait_for(f"{seconds} s of the recording", lambda: self.project(identifier)["duration"] >= seconds)

    def end(self, identifier, *keys):
        """Ends the recording with these keys, by default the shortcut. Returns the prepared project and the screen's file."""
        for key in keys or ["ctrl+shift+7"]:
            self.press(key)
        self.ended(identifier)
        return self.prepared(identifier)

    def ended(self, identifier):
        wait_for("the end", lambda: self.project(identifier)["state"] == "processing-tab")

    def media(self, project, kind):
        return self.library / project["id"] / "media" / f"{kind}.webm"

    def prepared(self, identifier):
        self.command("recover", identifier)
        project = json.loads(self.command("show", identifier, "--json"))
        expect(project["state"] == "ready", f"the prepared project is {project['state']}")
        screen = next(track for track in project["tracks"] if track["kind"] == "screen")
        return project, self.library / identifier / screen["file"]
