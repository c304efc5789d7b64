"""A private X11 display in memory."""

import os
import subprocess


class Display:
    """Runs until `close` or the end of a `with`, which yields the value of DISPLAY for programs on it."""

    def __init__(self, size="1280x800"):
        reading, writing = os.pipe()
        # No key repeat (-r): on a busy machine, a short press may last long enough to repeat.
        self.process = subprocess.Popen(
            ["Xvfb", "-displayfd", str(writing), "-screen", "0", f"{size}x24", "-nolisten", "tcp", "-noreset", "-r"], pass_fds=[writing],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(writing)
        with os.fdopen(reading) as answer:
            self.name = ":" + answer.readline().strip()

    def close(self):
        self.process.terminate()
        self.process.wait()

    def __enter__(self):
        return self.name

    def __exit__(self, *_):
        self.close()
