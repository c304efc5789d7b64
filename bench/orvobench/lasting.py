"""A recording of half an hour with microphone and system audio: its cost, lost frames, and audio delay.

The display shows the time of the monotonic clock. A tone begins at every full second and reaches both audio tracks.
"""

import array
import json
import os
import shutil
import subprocess
import sys
import time
from pathlib import Path
from statistics import median

from orvobench import measure
from orvobench.capture import HEIGHT, WARM_UP, WIDTH, Display, frame_times, shown_times
from orvobench.table import Row

sys.path.insert(0, str(Path(__file__).resolve().parent.parent.parent / "tests/support"))

from audio import Audio  # noqa: E402: part of the tests.

FPS = 30
MOVING = 1280, 720  # The size of the moving window.
RATE = 8000  # Sample rate for detecting the tones.
QUIET = 0.3  # Seconds of silence before a tone.
ENDS = 60  # Seconds at the start and at the end for measuring offsets.


def rows(programs, folder, minutes, say):
    shutil.rmtree(folder, ignore_errors=True)
    library = folder / "library"
    library.mkdir(parents=True)
    sound = Audio(folder / "runtime", heard="speakers")
    try:
        with Display(programs, folder, FPS, sound.environment, MOVING) as display:
            say(f"recording {minutes} minutes with audio")
            began = time.monotonic()
            cost = measure.run([programs / "orvo", "record", "--seconds", 60 * minutes, "--fps", FPS, "--library", library],
                               **sound.environment, DISPLAY=display.name)
            shown = display.shown()
    finally:
        sound.close()
    say("analysing the recording")
    document = next(library.glob("*/project.json"))
    ready = document.stat().st_mtime - time.time() + time.monotonic()
    project = json.loads(document.read_text())
    tracks = {track["kind"]: track for track in project["tracks"]}
    file = {kind: document.parent / track["file"] for kind, track in tracks.items()}
    frames = list(zip(frame_times(file["screen"]), shown_times(file["screen"])))
    recorded = {seen for _, seen in frames}
    counted = {seen for seen in shown if min(recorded) + 1000 * WARM_UP <= seen <= max(recorded) - 1000 * WARM_UP}
    ends = [track["start"] + _length_of(file[kind]) for kind, track in tracks.items()]
    what = f"recording {WIDTH}×{HEIGHT} at {FPS} with audio, {minutes} minutes"
    result = [
        Row(f"{what}: processor", "% of a core", [100 * cost.cpu / (60 * minutes)]),
        Row(f"{what}: frames lost", "%", [100 * len(counted - recorded) / len(counted)]),
        Row(f"{what}: peak memory", "MB", [cost.peak], limit=250),
        Row(f"{what}: growth of memory after the first quarter", "MB", [_growth(cost.private)], limit=10),
        Row(f"{what}: from the command to the first frame", "ms", [frames[0][1] - 1000 * began], limit=500),
        Row(f"{what}: from the last frame to the ready project", "s", [ready - frames[-1][1] / 1000], limit=1.5),
        Row(f"{what}: ends of the tracks apart", "ms", [1000 * (max(ends) - min(ends))], limit=20),
    ]
    for kind in ("microphone", "system"):
        offsets = _offsets(file[kind], tracks[kind]["start"] - tracks["screen"]["start"], frames)
        first = median(offset for at, offset in offsets if at < ENDS)
        last = median(offset for at, offset in offsets if at > 60 * minutes - ENDS)
        result += [
            Row(f"{what}: {kind} after video at the start", "ms", [abs(first)], limit=40),
            Row(f"{what}: {kind} after video at the end", "ms", [abs(last)], limit=40),
            Row(f"{what}: {kind} drifts a minute", "ms", [abs(last - first) / (minutes - ENDS / 60)], limit=1),
        ]
    shutil.rmtree(folder)
    return result


def _growth(private):
    quarter = len(private) // 4
    around = max(quarter // 10, 1)
    # Medians, because a single sample may fall between two buffers.
    return median(private[-2 * around:-around]) - median(private[quarter:quarter + around])


def _length_of(file):
    return float(subprocess.run(["ffprobe", "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", str(file)],
                                stdout=subprocess.PIPE, check=True).stdout)


def _offsets(file, start, frames):
    """For each tone: its time in seconds, and its delay after the corresponding frame in milliseconds. `start` is the start of
    the audio track relative to the video track."""
    # The shown time minus the file's time, as a median over about two seconds of frames.
    ahead = [(at, seen / 1000 - at) for at, seen in frames]
    result, place = [], 0
    for tone in _tones(file):
        heard = tone + start
        while place + FPS < len(ahead) and ahead[place + FPS][0] < heard:
            place += 1
        real = heard + median(difference for _, difference in ahead[place:place + 2 * FPS])
        result.append((heard, 1000 * (real - round(real))))
    return result


def _tones(file):
    """The start times of the tones, in seconds, with a resolution of one millisecond."""
    raw = subprocess.run(["ffmpeg", "-v", "error", "-i", str(file), "-af", f"aresample={RATE}:async=1:first_pts=0", "-ac", "1",
                          "-f", "s16le", "-"], stdout=subprocess.PIPE, check=True).stdout
    samples = array.array("h", raw)
    step = RATE // 1000
    result, quiet = [], 0
    for at in range(0, len(samples), step):
        block = samples[at:at + step]
        if max(max(block), -min(block)) > 2000:
            if quiet > 1000 * QUIET:
                result.append(at / RATE)
            quiet = 0
        else:
            quiet += 1
    return result
