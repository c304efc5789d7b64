"""Recording a moving display, compared with ffmpeg's x11grab with the same encoder settings on the same display.

Each displayed frame shows its time as black and white blocks, so lost frames are detected independently of the file's timestamps.
"""

import contextlib
import os
import shutil
import signal
import subprocess
import sys
import time
from dataclasses import dataclass
from pathlib import Path
from statistics import median

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tests/support"))

from display import Display as XServer  # noqa: E402: part of the tests.

from orvobench import measure
from orvobench.table import Row

WIDTH, HEIGHT = 1920, 1080
BITS, BLOCK, LEFT, TOP = 24, 12, 24, 24  # Same as in tests/support/TimePattern.h.
PERIOD = 16_000_000  # Milliseconds until the shown time wraps; same as there.
BIT_RATE = WIDTH * HEIGHT * 5
WARM_UP = 1.0  # Seconds ignored at both ends of a recording.


def rows(programs, folder, seconds, runs, say):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    table = []
    for fps in (30, 60):
        ours, peers = [], []
        for number in range(runs):
            say(f"recording 1080p at {fps} frames a second, round {number + 1} of {runs}")
            with Display(programs, folder, fps) as display:
                ours.append(display.record(seconds, fps))
                peers.append(display.grab(seconds, fps))
        table += _rows(f"recording 1080p{fps}", fps, ours, peers, max_loss=10 if fps == 60 else None)
    with one_core():
        lost = []
        for number in range(runs):
            say(f"recording 1080p at 60 frames a second on one core, round {number + 1} of {runs}")
            with Display(programs, folder, 60) as display:
                lost.append(display.record(seconds, 60).lost_share())
    table.append(Row("recording 1080p60, display and recorder on one core: frames lost", "%", lost, limit=10))
    return table


@contextlib.contextmanager
def one_core():
    """Runs the programs started inside the block on a single core."""
    cores = os.sched_getaffinity(0)
    os.sched_setaffinity(0, {min(cores)})
    try:
        yield
    finally:
        os.sched_setaffinity(0, cores)


@dataclass
class Recorded:
    cost: measure.Cost
    seconds: float
    shown: int  # Frames that the display showed during the recording.
    lost: int  # Those that are missing in the file.
    drift: float  # Milliseconds by which the last frames are later than the first ones, relative to the times they show.

    def core_share(self):
        return 100 * self.cost.cpu / self.seconds

    def lost_share(self):
        return 100 * self.lost / max(self.shown, 1)


def _rows(what, fps, ours, peers, max_loss):
    peer = "ffmpeg x11grab"
    return [
        Row(f"{what}: processor", "% of a core", [one.core_share() for one in ours], [one.core_share() for one in peers], peer,
            at_most=1.0),
        Row(f"{what}: frames lost", "%", [one.lost_share() for one in ours], [one.lost_share() for one in peers], peer,
            limit=max_loss),
        Row(f"{what}: drift from the first second to the last", "ms", [abs(one.drift) for one in ours],
            [abs(one.drift) for one in peers], peer, limit=1000 / fps),
        Row(f"{what}: peak memory", "MB", [one.cost.peak for one in ours], [one.cost.peak for one in peers], peer),
    ]


class Display:
    """An X server that shows the moving pattern. `audio` is the environment of an audio server for its tone, or None."""

    def __init__(self, programs, folder, fps, audio=None, moving=(WIDTH, HEIGHT)):
        self._programs, self._folder, self._fps, self._audio, self._moving = programs, folder, fps, audio, moving
        self._started = []

    def __enter__(self):
        self._server = XServer(f"{WIDTH}x{HEIGHT}")
        self.name = self._server.name
        self._log = self._folder / "shown.txt"
        pattern = [self._programs / "bench_pattern", 0, 0, *self._moving, self._fps, "--motion", "--log", self._log]
        shown = self._start([*pattern, *(["--sound"] if self._audio else [])], stdout=subprocess.PIPE)
        shown.stdout.readline()
        return self

    def __exit__(self, *_):
        for process in reversed(self._started):
            process.send_signal(signal.SIGTERM)
            process.wait()
        self._server.close()

    def _start(self, command, **options):
        environment = {**os.environ, **(self._audio or {}), "DISPLAY": self.name}
        process = subprocess.Popen([str(word) for word in command], stderr=subprocess.DEVNULL, env=environment, **options)
        self._started.append(process)
        return process

    def shown(self):
        """The times of all frames shown so far, in milliseconds of the monotonic clock."""
        return [_on_the_clock(int(line)) for line in self._log.read_text().split()]

    def record(self, seconds, fps):
        library = self._folder / "library"
        shutil.rmtree(library, ignore_errors=True)
        library.mkdir(parents=True)
        command = [self._programs / "orvo", "record", "--seconds", seconds, "--fps", fps, "--library", library,
                   "--no-microphone", "--no-system-audio"]
        cost = measure.run(command, DISPLAY=self.name)
        return self._counted(cost, seconds, next(library.glob("*/media/screen.mov")))

    def grab(self, seconds, fps):
        """Records with ffmpeg: the recorder's preset, rate control, key frames and pixel format."""
        file = self._folder / "grabbed.mov"
        cost = measure.run(
            ["ffmpeg", "-v", "error", "-nostdin", "-y", "-f", "x11grab", "-draw_mouse", 0, "-framerate", fps,
             "-video_size", f"{WIDTH}x{HEIGHT}", "-i", self.name, "-t", seconds, *encoding(PRESETS[fps]), file])
        return self._counted(cost, seconds, file)

    def _counted(self, cost, seconds, file):
        times = shown_times(file)
        recorded = set(times)
        first, last = min(recorded) + 1000 * WARM_UP, max(recorded) - 1000 * WARM_UP
        counted = {seen for seen in self.shown() if first <= seen <= last}
        return Recorded(cost, seconds, len(counted), len(counted - recorded), _drift(file, times))


def encoding(preset):
    """ffmpeg's arguments for the recorder's rate control, key frames and pixel format."""
    rate = f"{BIT_RATE // 1000}k"
    return ["-c:v", "libx264", *preset, "-tune", "zerolatency", "-b:v", rate, "-maxrate", rate, "-bufsize",
            f"{2 * BIT_RATE // 1000}k", "-g", 60, "-pix_fmt", "yuv420p"]


def shown_times(file):
    """The times that the frames of a file show, in order, in milliseconds of the monotonic clock."""
    row = subprocess.run(
        ["ffmpeg", "-v", "error", "-nostdin", "-i", str(file), "-vf",
         f"crop={BITS * BLOCK}:{BLOCK}:{LEFT}:{TOP},format=gray,scale={BITS}:1:flags=area", "-fps_mode", "passthrough",
         "-f", "rawvideo", "-pix_fmt", "gray", "-"], stdout=subprocess.PIPE, check=True).stdout
    times = []
    for at in range(0, len(row), BITS):
        value = 0
        for brightness in row[at:at + BITS]:
            value = value << 1 | (brightness >= 128)
        times.append(_on_the_clock(value))
    return times


def frame_times(file):
    """The presentation times of the frames of a file, in seconds."""
    lines = subprocess.run(["ffprobe", "-v", "error", "-select_streams", "v", "-show_entries", "packet=pts_time", "-of", "csv=p=0",
                            str(file)], stdout=subprocess.PIPE, check=True).stdout.split()
    return sorted(float(line.rstrip(b",")) for line in lines)


def _drift(file, shown):
    """By how many milliseconds the frames of the last second are later than those of the first, relative to the times they show."""
    late = [(at, 1000 * at - seen) for at, seen in zip(frame_times(file), shown, strict=True)]
    return median(delay for at, delay in late if at > late[-1][0] - 1) - median(delay for at, delay in late if at < late[0][0] + 1)


def _on_the_clock(shown):
    """The latest moment that is shown this way, in milliseconds of the monotonic clock."""
    now = int(time.monotonic() * 1000)
    return now - (now - shown) % PERIOD


PRESETS = {30: ["-preset", "veryfast"], 60: ["-preset", "ultrafast", "-coder", "ac"]}  # The recorder's choice on two cores.
