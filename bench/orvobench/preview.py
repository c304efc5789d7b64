#!/usr/bin/env python3
"""Measures the live preview beside mpv on one recording, seek by seek in turn: bench/seek/run [--seeks N] [--program FILE]"""

import argparse
import json
import random
import socket
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from statistics import median

ROOT = Path(__file__).resolve().parent.parent.parent
LENGTH = 120


def main():
    options = argparse.ArgumentParser(description=__doc__)
    options.add_argument("--seeks", type=int, default=100)
    options.add_argument("--program", type=Path, default=ROOT / "build/bench/bin/bench_preview")
    options.add_argument("--media", type=Path, default=ROOT / "build/bench-media")
    chosen = options.parse_args()

    screen, microphone, system = media(chosen.media)
    rows = []
    with Preview(chosen.program) as preview, Mpv(screen, microphone) as mpv:
        first = preview.ask(f"load 30 1920 1080 {screen} {microphone} {system}")
        rows.append(("first picture", f"{first[0]:.0f} ms", "", "", ""))
        order = random.Random(3)
        targets = [order.randrange(LENGTH * 30 - 30) / 30 for _ in range(chosen.seeks)]
        ours, peers = [], []
        for target in targets:
            ours += preview.ask(f"seek {target}")
            peers.append(mpv.seek(target))
        rows.append(ratio("exact seek, median", median(ours), median(peers), 1.2))
        rows.append(ratio("exact seek, 95th percentile", percentile(ours), percentile(peers), 1.2))
        for what, start, end in (("slowly forwards", 10, 20), ("slowly backwards", 50, 40), ("fast forwards", 5, 105),
                                 ("fast backwards", 115, 15)):
            rate = preview.ask(f"scrub {start} {end} 4")[0]
            rows.append((f"scrubbing {what}", f"{rate:.0f} pictures/s", "", "≥ 10", verdict(rate >= 10)))
        preview.ask("display 800 450")
        preview.ask("seek 30")
        shown, due = preview.ask("play 8")
        dropped = max(1 - shown / due, 0) * 100
        rows.append(("dropped in playback, shown at 800×450", f"{dropped:.1f} %", "", "≤ 2 %", verdict(dropped <= 2)))
        jumps = {}
        for expected in (0, 1):
            preview.ask("seek 3")
            jumps[expected] = [preview.ask(f"jump {target} {expected}")[0] for target in targets[:15]]
        rows.append(limit("jump over a cut, announced, 95th percentile", percentile(jumps[1]), 150))
        rows.append(limit("jump over a cut, median", median(jumps[0]), 150))
    show(rows)


def media(folder):
    """A busy screen with a key frame every two seconds, and two sound tracks."""
    folder.mkdir(parents=True, exist_ok=True)
    screen, microphone, system = (folder / name for name in ("seek-screen.mov", "seek-microphone.m4a", "seek-system.m4a"))
    picture = f"testsrc2=size=1920x1080:rate=30:duration={LENGTH},noise=alls=6:allf=t,format=yuv420p"
    make(screen, ["-f", "lavfi", "-i", picture, "-c:v", "libx264", "-preset", "veryfast", "-b:v", "6M", "-g", "60",
                  "-keyint_min", "60", "-sc_threshold", "0"])
    make(microphone, ["-f", "lavfi", "-i", f"sine=440:duration={LENGTH}", "-c:a", "aac"])
    make(system, ["-f", "lavfi", "-i", f"sine=660:duration={LENGTH}", "-ac", "2", "-c:a", "aac"])
    return screen, microphone, system


def make(file, arguments):
    if file.exists():
        return
    print(f"bench: making {file.name}", file=sys.stderr, flush=True)
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
    """mpv without a window or a sound device, so that it is timed for decoding alone."""

    def __init__(self, video, sound):
        self.folder = tempfile.TemporaryDirectory()
        address = self.folder.name + "/mpv"
        self.process = subprocess.Popen(
            ["mpv", "--no-config", "--pause", "--hr-seek=yes", "--keep-open=always", "--vo=null", "--ao=null", "--no-terminal",
             f"--input-ipc-server={address}", f"--audio-file={sound}", video])
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


def verdict(met):
    return "met" if met else "MISSED"


def ratio(what, ours, peer, most):
    return (what, f"{ours:.0f} ms", f"{peer:.0f} ms (mpv)", f"{ours / peer:.2f}, ≤ {most} ×", verdict(ours / peer <= most))


def limit(what, ours, most):
    return (what, f"{ours:.0f} ms", "", f"≤ {most} ms", verdict(ours <= most))


def show(rows):
    lines = [("what", "ours", "peer", "target", "verdict"), *rows]
    widths = [max(len(line[column]) for line in lines) for column in range(5)]
    for number, line in enumerate(lines):
        print("  ".join(text.ljust(width) for text, width in zip(line, widths)).rstrip())
        if number == 0:
            print("  ".join("─" * width for width in widths))


if __name__ == "__main__":
    main()
