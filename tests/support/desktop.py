"""A private desktop: a display, a session bus, a keyring and the accessibility service."""

import os
import signal
import subprocess
from pathlib import Path

from display import Display

LIMIT = 240  # Seconds. Generous, for a loaded machine.
LAUNCHER = "/usr/libexec/at-spi-bus-launcher"
# Without service folders, the bus never activates installed services.
BUS = """<busconfig><type>session</type><listen>unix:path={}</listen><policy context="default"><allow send_destination="*"
eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>"""


class Desktop:
    """Runs until `close`. `environment` is for applications on the desktop; `hands` is the program that presses their buttons."""

    def __init__(self, folder, hands):
        self._started = []
        self.display = Display()
        address = folder / "bus"
        (folder / "bus.conf").write_text(BUS.format(address))
        self.environment = {
            **os.environ, "DISPLAY": self.display.name, "HOME": str(folder), "XDG_CONFIG_HOME": str(folder / "config"),
            "XDG_CACHE_HOME": str(folder / "cache"), "XDG_DATA_HOME": str(folder / "data"), "XDG_RUNTIME_DIR": str(folder),
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={address}", "QT_QPA_PLATFORM": "xcb", "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
            "LC_ALL": "C.UTF-8"}
        self.environment.pop("WAYLAND_DISPLAY", None)
        # Each service that others need prints a line when it is ready.
        self._start("dbus-daemon", f"--config-file={folder / 'bus.conf'}", "--nofork", "--print-address").stdout.readline()
        keyring = self._start("gnome-keyring-daemon", "--foreground", "--components=secrets", "--unlock")
        keyring.stdin.write("x")
        keyring.stdin.close()
        keyring.stdout.readline()
        self._start(LAUNCHER, "--launch-immediately")
        self._hands = self._start(hands)
        self._hands.stdout.readline()

    @staticmethod
    def is_available():
        return Path(LAUNCHER).exists()

    def start(self, *command, **more):
        """Starts a program on this desktop. The caller ends it."""
        return subprocess.Popen(command, env={**self.environment, **more}, stdin=subprocess.DEVNULL)

    def focus_window(self, title):
        """Waits for a window whose title contains this text, and focuses it."""
        self._xdotool("search", "--sync", "--onlyvisible", "--name", title, "windowfocus", "--sync", "%@")

    def key(self, *keys):
        self._xdotool("key", "--delay", "30", *keys)

    def type(self, text):
        self._xdotool("type", "--delay", "20", text)

    def fill(self, name, text):
        """Replaces the text in the field of this name."""
        self.do("focus", name)
        self.key("ctrl+a")
        self.type(text)

    def do(self, verb, name):
        """Performs a verb of `hands` (see, press, focus, turn-on, turn-off) on the control with this name."""
        self._hands.stdin.write(f"{verb} {name}\n")
        self._hands.stdin.flush()
        answer = self._hands.stdout.readline().strip()
        if answer != "done":
            raise RuntimeError(f"{verb} {name}: {answer or 'the hands have ended'}")

    def photograph(self, file):
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "x11grab", "-video_size", "1280x800", "-i", self.display.name, "-frames:v",
                        "1", str(file)], check=False)

    def close(self):
        for process in reversed(self._started):
            os.killpg(process.pid, signal.SIGKILL)  # Includes its children.
            process.wait()
        self.display.close()

    def _start(self, *command):
        process = subprocess.Popen(command, env=self.environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                   start_new_session=True, text=True)
        self._started.append(process)
        return process

    def _xdotool(self, *words):
        subprocess.run(["xdotool", *words], env=self.environment, stdout=subprocess.DEVNULL, check=True, timeout=LIMIT)
