"""A player without windows that is spoken to over a socket."""

import json
import socket
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "support"))

from devtools import LIMIT  # noqa: E402: it lies in another folder.


class Mpv:
    """Plays an address, standing still at its beginning. Trusts the authority in the file alone."""

    def __init__(self, address, authority, *options):
        self.socket, end = socket.socketpair()
        self.socket.settimeout(LIMIT)
        self.process = subprocess.Popen(
            ["mpv", "--no-config", "--vo=null", "--ao=null", "--pause", "--tls-verify=yes", f"--tls-ca-file={authority}",
             f"--input-ipc-client=fd://{end.fileno()}", "--msg-level=all=error", *options, address],
            pass_fds=[end.fileno()], stdin=subprocess.DEVNULL)
        end.close()
        self.lines = self.socket.makefile("r", encoding="utf-8")
        self.number = 0
        self.events = []
        self.position = None  # Where it was last.
        self.call("observe_property", 1, "time-pos")
        self.wait_for("playback-restart")

    def close(self):
        self.process.kill()
        self.process.wait()
        self.socket.close()

    def call(self, *words):
        """The outcome of a command. Events that come before it are kept."""
        self.number += 1
        self.socket.sendall(json.dumps({"command": words, "request_id": self.number}).encode() + b"\n")
        while (answer := self._receive()).get("request_id") != self.number:
            self.events.append(answer)
        if answer["error"] != "success":
            raise SystemExit(f"FAILED: mpv {words}: {answer['error']}")
        return answer.get("data")

    def wait_for(self, name):
        """The next event of this name; those before it are forgotten."""
        while True:
            event = self.events.pop(0) if self.events else self._receive()
            if event.get("event") == name:
                return event

    def seek(self, moment):
        self.events.clear()
        self.call("seek", moment, "absolute+exact")
        self.wait_for("playback-restart")

    def picture(self, file):
        """Writes what is shown."""
        self.call("screenshot-to-file", str(file), "video")

    def finish(self):
        """Plays on to the end; the last position and the exit status."""
        self.events.clear()
        self.call("set_property", "pause", False)
        reason = self.wait_for("end-file")["reason"]
        return self.position, reason, self.process.wait(LIMIT)

    def _receive(self):
        line = self.lines.readline()
        if not line:
            raise SystemExit(f"FAILED: mpv has ended ({self.process.wait(LIMIT)})")
        answer = json.loads(line)
        if answer.get("event") == "property-change" and answer.get("data") is not None:
            self.position = answer["data"]
        return answer
