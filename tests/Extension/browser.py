"""A real browser on a display of its own, with the extension, the helper and a library."""

import http.server
import json
import os
import signal
import subprocess
import sys
import threading
import time
from functools import partial
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "support"))

from devtools import DevTools  # noqa: E402: it lies in another folder.

LIMIT = 60  # Seconds that anything may take on a loaded machine.


def fail(text):
    raise SystemExit(f"FAILED: {text}")


def expect(holds, text):
    if not holds:
        fail(text)


def wait_for(what, condition):
    end = time.monotonic() + LIMIT
    while time.monotonic() < end:
        if result := condition():
            return result
        time.sleep(0.1)
    fail(f"waited too long for {what}")


class QuietHandler(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *_):
        pass


class Browser:
    """A display, a browser with the extension and the test page, and a library of its own. The browser's microphone hums and
    its camera shows a pattern."""

    def __init__(self, orvo, bridge, extension, origin, folder, size=(1000, 700), page="page.html"):
        self.orvo = orvo
        self.size = size
        self.extension = Path(origin).read_text().strip().split("/")[2]
        self.library = folder / "library"
        self.processes = []
        number = self._display()
        self.environment = {**os.environ, "DISPLAY": f":{number}", "HOME": str(folder), "ORVO_LIBRARY": str(self.library),
                            "XDG_CONFIG_HOME": str(folder / "config"), "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}
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
        self.tools.call("Browser.grantPermissions", origin=f"chrome-extension://{self.extension}",
                        permissions=["audioCapture", "videoCapture"])
        self.xdotool("search", "--sync", "--onlyvisible", "--name", "Reloj de prueba")
        time.sleep(2)  # The extension's shortcuts are there a moment after the window.
        self.focus()

    def _display(self):
        read, write = os.pipe()
        self._start(["Xvfb", "-displayfd", str(write), "-screen", "0", f"{self.size[0]}x{self.size[1]}x24", "-nolisten", "tcp", "-noreset"],
                    pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as numbers:
            return int(numbers.readline())

    def _start(self, command, **options):
        environment = getattr(self, "environment", None)
        process = subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   start_new_session=True, **options)
        self.processes.append(process)
        return process

    def close(self):
        self.tools.close()
        for process in reversed(self.processes):
            try:
                os.killpg(process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            process.wait()

    def xdotool(self, *words):
        return subprocess.run(["xdotool", *words], env=self.environment, timeout=LIMIT, stdout=subprocess.PIPE).stdout.decode()

    def focus(self):
        self.xdotool("search", "--sync", "--onlyvisible", "--name", "Reloj de prueba", "windowfocus", "--sync", "%@")

    def press(self, keys):
        self.xdotool("key", "--clearmodifiers", keys)

    def command(self, *words):
        outcome = subprocess.run([self.orvo, *words], env=self.environment, stdout=subprocess.PIPE)
        expect(outcome.returncode == 0, f"orvo {words} failed")
        return outcome.stdout.decode()

    def in_extension(self, script):
        """Runs a script in the extension's worker."""
        targets = self.tools.call("Target.getTargets")["targetInfos"]
        worker = next(target for target in targets if target["type"] == "service_worker" and self.extension in target["url"])
        session = self.tools.attach(worker["targetId"])
        return self.tools.run(script, session)

    def projects(self):
        """The documents themselves: nothing prepares or marks them here."""
        return [json.loads(file.read_text()) for file in self.library.glob("*/project.json")]

    def helper(self):
        """The process of the helper that records."""
        marks = list(self.library.glob("*/capture-session.json"))
        return json.loads(marks[0].read_text())["pid"] if marks else None

    def descendants(self):
        """The processes of the browser and those that they began."""
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
        self.press("ctrl+shift+7")
        project = wait_for("the recording", lambda: next((new for new in self.projects() if new["id"] not in before), None))
        expect(project["state"] == "recording-tab", f"the project is {project['state']}")
        files = [self.media(project, track["kind"]) for track in project["tracks"]]
        wait_for("the first piece of each track", lambda: all(file.exists() and file.stat().st_size for file in files))
        return project["id"]

    def media(self, project, kind):
        return self.library / project["id"] / "media" / f"{kind}.webm"

    def prepared(self, identifier):
        self.command("recover", identifier)
        project = json.loads(self.command("show", identifier, "--json"))
        expect(project["state"] == "ready", f"the prepared project is {project['state']}")
        screen = next(track for track in project["tracks"] if track["kind"] == "screen")
        return project, self.library / identifier / screen["file"]
