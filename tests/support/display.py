"""An X11 display of its own, in memory."""

import os
import subprocess


class Display:
    """Runs until it is closed, or until the end of a `with`, which gives its name: what DISPLAY is for programs on it."""

    def __init__(self, size="1280x800"):
        reading, writing = os.pipe()
        # Without repeating keys (-r): on a busy machine a key that is pressed shortly is held for long.
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
