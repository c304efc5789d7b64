"""Records a page with the real extension in a real browser, by its shortcuts, and looks at what is in the library then.

record_tab.py ORVO ORVOBRIDGE EXTENSION ORIGIN_FILE CASE
"""

import array
import http.server
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
from functools import partial
from pathlib import Path

HERE = Path(__file__).resolve().parent
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
    """A display, a browser with the extension and the test page, and a library of its own."""

    def __init__(self, orvo, bridge, extension, origin, folder):
        self.orvo = orvo
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
        self.manifest.write_text(json.dumps({"name": "es.orvo.video", "description": "Orvo Video Native Bridge", "path": bridge,
                                             "type": "stdio", "allowed_origins": [Path(origin).read_text().strip()]}))
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), partial(QuietHandler, directory=HERE))
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.address = f"http://127.0.0.1:{server.server_port}/page.html"
        self.chromium = self._start(
            ["chromium", "--no-sandbox", f"--user-data-dir={profile}", f"--load-extension={extension}", "--no-first-run",
             "--disable-features=DisableLoadExtensionCommandLineSwitch", "--autoplay-policy=no-user-gesture-required",
             f"--allowlisted-extension-id={Path(origin).read_text().strip().split('/')[2]}",
             "--password-store=basic", "--disable-gpu", "--window-position=0,0", "--window-size=1000,700", self.address])
        self.xdotool("search", "--sync", "--onlyvisible", "--name", "Reloj de prueba")
        time.sleep(2)  # The extension's shortcuts are there a moment after the window.
        self.focus()

    def _display(self):
        read, write = os.pipe()
        self._start(["Xvfb", "-displayfd", str(write), "-screen", "0", "1000x700x24", "-nolisten", "tcp", "-noreset"],
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

    def projects(self):
        """The documents themselves: nothing prepares or marks them here."""
        return [json.loads(file.read_text()) for file in self.library.glob("*/project.json")]

    def helper(self):
        """The process of the helper that records."""
        marks = list(self.library.glob("*/capture-session.json"))
        return json.loads(marks[0].read_text())["pid"] if marks else None

    def begin(self):
        self.press("ctrl+shift+7")
        project = wait_for("the recording", lambda: next(iter(self.projects()), None))
        expect(project["state"] == "recording-tab", f"the project is {project['state']}")
        wait_for("the first piece", lambda: self.media(project, "screen").exists() and self.media(project, "screen").stat().st_size)
        return project["id"]

    def media(self, project, kind):
        return self.library / project["id"] / "media" / f"{kind}.webm"

    def prepared(self, identifier):
        self.command("recover", identifier)
        project = json.loads(self.command("show", identifier, "--json"))
        expect(project["state"] == "ready", f"the prepared project is {project['state']}")
        screen = next(track for track in project["tracks"] if track["kind"] == "screen")
        return project, self.library / identifier / screen["file"]


def probed(file):
    output = subprocess.run(["ffprobe", "-v", "error", "-count_frames", "-show_streams", "-of", "json", str(file)],
                            stdout=subprocess.PIPE, check=True).stdout
    streams = json.loads(output)["streams"]
    return {stream["codec_type"]: stream for stream in streams}


def flashes(file):
    """When the middle of the picture becomes white, in seconds."""
    graph = f"movie={file},crop=iw/4:ih/4:iw/4:ih/4,signalstats"
    output = subprocess.run(["ffprobe", "-v", "error", "-f", "lavfi", graph, "-show_entries",
                             "frame=pts_time:frame_tags=lavfi.signalstats.YAVG", "-of", "csv=p=0"],
                            stdout=subprocess.PIPE, check=True).stdout.decode()
    result, white = [], True
    for line in output.splitlines():
        at, brightness = (float(part) for part in line.split(",")[:2])
        if brightness > 150 and not white:
            result.append(at)
        white = brightness > 150
    return result


def beeps(file):
    """When the sound begins after silence, in seconds."""
    raw = subprocess.run(["ffmpeg", "-v", "error", "-i", str(file), "-vn", "-ac", "1", "-ar", "48000", "-f", "s16le", "-"],
                         stdout=subprocess.PIPE, check=True).stdout
    samples = array.array("h", raw)
    result, quiet = [], 0
    for at, sample in enumerate(samples):
        if abs(sample) > 1500:
            if quiet > 24000:
                result.append(at / 48000)
            quiet = 0
        else:
            quiet += 1
    return result


def offsets(file):
    white = flashes(file)
    sound = beeps(file)
    expect(len(white) >= 5 and len(sound) >= 5, f"{len(white)} flashes and {len(sound)} beeps")
    return [min((beep - flash for beep in sound), key=abs) for flash in white[1:-1]]


def whole(browser):
    """From the shortcut to the prepared project."""
    identifier = browser.begin()
    began = time.monotonic()
    browser.xdotool("mousemove", "250", "400")
    time.sleep(1)
    browser.xdotool("mousemove", "500", "400", "sleep", "0.3", "click", "1")
    time.sleep(4)
    browser.press("ctrl+shift+9")
    time.sleep(2.5)
    browser.press("ctrl+shift+7")
    wait_for("the end", lambda: browser.projects()[0]["state"] == "processing-tab")
    lasted = time.monotonic() - began
    project, screen = browser.prepared(identifier)
    print(f"{project['title']}: {project['width']}×{project['height']}, {project['duration']:.2f} s, {len(project['edit']['events'])} events")
    expect(project["title"] == "Reloj de prueba", project["title"])
    facts = probed(screen)
    video, sound = facts["video"], facts["audio"]
    expect(video["codec_name"] == "h264" and int(video["width"]) == project["width"], "the picture")
    seconds = float(video["duration"])
    expect(abs(seconds - project["duration"]) < 0.5, f"{seconds} s of picture, {project['duration']} s of project")
    expect(lasted - 2 < seconds < lasted + 2, f"{seconds} s of picture in {lasted:.1f} s")
    expect(abs(float(sound["duration"]) - seconds) < 0.5, "the sound's length")
    apart = offsets(screen)
    print("sound after picture, ms:", [round(value * 1000) for value in apart])
    expect(all(abs(value) < 0.12 for value in apart), "picture and sound are apart")
    expect(abs(apart[-1] - apart[0]) < 0.06, "picture and sound drift apart")

    kinds = [event["kind"] for event in project["edit"]["events"]]
    expect(kinds.count("click") == 1 and kinds.count("zoom") == 1 and kinds.count("move") > 20, f"events {kinds}")
    click = next(event for event in project["edit"]["events"] if event["kind"] == "click")
    # The tab's area takes the whole width of the window.
    expect(abs(click["x"] - 0.5) < 0.03, f"the press at {click['x']}")
    expect(0.7 < click["time"] < 6, f"the press at {click['time']} s")


def cut_off(action):
    """The recording is cut off in the middle; what is there can be prepared."""
    def run(browser):
        identifier = browser.begin()
        time.sleep(5)
        action(browser)
        wait_for("the helper's end", lambda: not helper_lives(browser))
        project = next(project for project in browser.projects() if project["id"] == identifier)
        expect(project["state"] in ("recoverable-tab", "recording-tab", "processing-tab"), f"the project is {project['state']}")
        project, screen = browser.prepared(identifier)
        seconds = float(probed(screen)["video"]["duration"])
        print(f"{seconds:.2f} s of about 5 s and more")
        expect(seconds > 3, f"only {seconds} s are left")
    return run


def helper_lives(browser):
    pid = browser.helper()
    return pid is not None and Path(f"/proc/{pid}").exists() and not is_zombie(pid)


def is_zombie(pid):
    try:
        return Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()[0] == "Z"
    except OSError:
        return True


def closed_tab(browser):
    identifier = browser.begin()
    time.sleep(4)
    browser.press("ctrl+t")
    time.sleep(1)
    browser.press("ctrl+1")
    time.sleep(0.5)
    browser.press("ctrl+w")
    wait_for("the end", lambda: browser.projects()[0]["state"] == "processing-tab")
    _, screen = browser.prepared(identifier)
    expect(float(probed(screen)["video"]["duration"]) > 3, "too little is left")


CASES = {
    "whole": whole,
    "closed_tab": closed_tab,
    "browser_killed": cut_off(lambda browser: os.killpg(browser.chromium.pid, signal.SIGKILL)),
    "browser_closed": cut_off(lambda browser: browser.press("ctrl+shift+w")),
    "helper_killed": cut_off(lambda browser: os.kill(browser.helper(), signal.SIGKILL)),
}


def main():
    orvo, bridge, extension, origin, case = sys.argv[1:]
    folder = Path(tempfile.mkdtemp(prefix="orvo-tab-"))
    browser = Browser(orvo, bridge, extension, origin, folder)
    try:
        CASES[case](browser)
    except BaseException:
        if picture := os.environ.get("ORVO_TEST_PICTURE"):
            subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "x11grab", "-i", browser.environment["DISPLAY"],
                            "-frames:v", "1", picture])
        raise
    finally:
        browser.close()
        shutil.rmtree(folder, ignore_errors=True)


main()
