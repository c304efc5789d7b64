"""A private PipeWire with its PulseAudio server, loudspeakers and a microphone.

audio.py FOLDER runs them on the bus of its environment. It prints "ready" when they can be used, and "done" after each command
that it reads: "end server", "start server" or "end". They end with its input.
"""

import os
import subprocess
import sys
import time
from pathlib import Path

LIMIT = 60  # Seconds. Generous, for a loaded machine.


class Audio:
    """Runs until `close`. Programs with `environment` use it.

    The microphone records what is played into `heard`, "micfeed" or "speakers". Without `bus`, starts a private one."""

    def __init__(self, runtime, heard="micfeed", bus=None):
        self.environment = {"XDG_RUNTIME_DIR": str(runtime), "DBUS_SESSION_BUS_ADDRESS": bus or f"unix:path={runtime}/bus"}
        self._heard = heard
        self._started = []
        runtime.mkdir(mode=0o700, exist_ok=True)
        if not bus:
            self._start("dbus-daemon", "--session", f"--address=unix:path={runtime}/bus", "--nofork", "--nopidfile")
        self._start("pipewire")
        until((runtime / "pipewire-0").exists, "PipeWire")  # The session manager exits without it.
        self._start("wireplumber")
        self.start_server()

    def close(self):
        for process in reversed(self._started):
            if process.poll() is None:
                process.kill()
            process.wait()

    def start_server(self):
        self._server = self._start("pipewire-pulse")
        until(lambda: self._pactl("info"), "the audio server")
        for name in ("speakers", "micfeed"):
            self._pactl("load-module", "module-null-sink", f"sink_name={name}")
        self._pactl("load-module", "module-remap-source", f"master={self._heard}.monitor", "source_name=microphone")
        # Right after the start, the server may report that it does not support this.
        until(lambda: self._pactl("set-default-sink", "speakers") and self._pactl("set-default-source", "microphone"),
              "the default devices")

    def end_server(self):
        self._server.kill()
        self._server.wait()

    def _start(self, *command):
        process = subprocess.Popen(command, env={**os.environ, **self.environment}, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        self._started.append(process)
        return process

    def _pactl(self, *words):
        return subprocess.run(["pactl", *words], env={**os.environ, **self.environment}, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, check=False).returncode == 0


def until(condition, what):
    end = time.monotonic() + LIMIT
    while not condition():
        if time.monotonic() > end:
            raise RuntimeError(f"waited too long for {what}")
        time.sleep(0.02)


def main():
    sound = Audio(Path(sys.argv[1]), bus=os.environ["DBUS_SESSION_BUS_ADDRESS"])
    try:
        print("ready", flush=True)
        for line in sys.stdin:
            {"end server": sound.end_server, "start server": sound.start_server, "end": sound.close}[line.strip()]()
            print("done", flush=True)
    finally:
        sound.close()


if __name__ == "__main__":
    main()
