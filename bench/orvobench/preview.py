"""The live preview compared with mpv on the same recording, alternating after each seek."""

import json
import random
import socket
import subprocess
import tempfile
import time
from statistics import median

from orvobench.table import Row

LENGTH = 120  # Seconds.


def rows(programs, cache, seeks, say):
    say("the preview and mpv")
    screen, microphone, system = media(cache, say)
    with Preview(programs / "bench_preview") as preview, Mpv(screen, microphone) as mpv:
        preview.ask(f"load 30 1920 1080 {screen} {microphone} {system}")
        order = random.Random(3)
        targets = [order.randrange(LENGTH * 30 - 30) / 30 for _ in range(seeks)]
        ours, peers = [], []
        for target in targets:
            ours += preview.ask(f"seek {target}")
            peers.append(mpv.seek(target))
        result = [
            Row("exact seek, median", "ms", [median(ours)], [median(peers)], "mpv", at_most=1.2),
            Row("exact seek, 95th percentile", "ms", [percentile(ours)], [percentile(peers)], "mpv", at_most=1.2),
        ]
        for what, start, end in (("slowly forwards", 10, 20), ("slowly backwards", 50, 40), ("fast forwards", 5, 105),
                                 ("fast backwards", 115, 15)):
            result.append(Row(f"scrubbing {what}", "frames/s", preview.ask(f"scrub {start} {end} 4"), at_least=10))
        preview.ask("display 800 450")
        preview.ask("seek 30")
        shown, due = preview.ask("play 8")
        result.append(Row("playback at 800×450: frames dropped", "%", [max(1 - shown / due, 0) * 100], limit=2))
        for text, expected in (("announced as a cut is", 1), ("not announced", 0)):
            preview.ask("seek 3")
            jumps = [preview.ask(f"jump {target} {expected}")[0] for target in targets[:40]]
            result.append(Row(f"jump while playing, {text}: 95th percentile", "ms", [percentile(jumps)],
                              limit=150 if expected else None))
    return result


def media(folder, say):
    """Generates a busy screen with a key frame every two seconds, and two audio tracks."""
    folder.mkdir(parents=True, exist_ok=True)
    screen, microphone, system = (folder / name for name in ("seek-screen.mov", "seek-microphone.m4a", "seek-system.m4a"))
    pattern = f"testsrc2=size=1920x1080:rate=30:duration={LENGTH},noise=alls=6:allf=t,format=yuv420p"
    make(say, screen, ["-f", "lavfi", "-i", pattern, "-c:v", "libx264", "-preset", "veryfast", "-b:v", "6M", "-g", "60",
                  "-keyint_min", "60", "-sc_threshold", "0"])
    make(say, microphone, ["-f", "lavfi", "-i", f"sine=440:duration={LENGTH}", "-c:a", "aac"])
    make(say, system, ["-f", "lavfi", "-i", f"sine=660:duration={LENGTH}", "-ac", "2", "-c:a", "aac"])
    return screen, microphone, system


def make(say, file, arguments):
    if file.exists():
        return
    say(f"making {file.name}")
    part = file.with_name("part-" + file.name)
    subprocess.run(["ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", "-y", *arguments, part], check=True)
    part.rename(file)


class Preview:
    def __init__(self, program):
        self.process = subprocess.Popen([program], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait()

    def ask(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        return [float(word) for word in self.process.stdout.readline().split()]


class Mpv:
    """mpv without a window or an audio device, to measure decoding alone."""

    def __init__(self, video, audio):
        self.folder = tempfile.TemporaryDirectory()
        address = self.folder.name + "/mpv"
        self.process = subprocess.Popen(
            ["mpv", "--no-config", "--pause", "--hr-seek=yes", "--keep-open=always", "--vo=null", "--ao=null", "--no-terminal",
             f"--input-ipc-server={address}", f"--audio-file={audio}", video])
        self.socket = socket.socket(socket.AF_UNIX)
        for _ in range(200):
            try:
                self.socket.connect(address)
                break
            except OSError:
                time.sleep(0.05)
        self.lines = self.socket.makefile("rw")
        self._wait("playback-restart", 10)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()
        self.folder.cleanup()

    def seek(self, seconds):
        start = time.monotonic()
        self.lines.write(json.dumps({"command": ["seek", seconds, "absolute+exact"]}) + "\n")
        self.lines.flush()
        self._wait("playback-restart", 30)
        return (time.monotonic() - start) * 1000

    def _wait(self, event, limit):
        self.socket.settimeout(limit)
        while json.loads(self.lines.readline()).get("event") != event:
            pass


def percentile(values, part=0.95):
    return sorted(values)[min(int(len(values) * part), len(values) - 1)]
