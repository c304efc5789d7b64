"""A recording of half an hour with microphone and system sound: what it costs, what is lost, and whether picture and sound
stay together.

The picture shows the time of the monotonic clock; a tone begins at every full second of it and is heard by both sound tracks.
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
from orvobench.capture import HEIGHT, WARM_UP, WIDTH, Display, shown_times
from orvobench.table import Row

sys.path.insert(0, str(Path(__file__).resolve().parent.parent.parent / "tests/support"))

from sound import Sound  # noqa: E402: it lies with the tests.

FPS = 30
MOVING = 1280, 720  # The window that moves on the display.
RATE = 8000  # Samples a second that the tones are looked for in.
QUIET = 0.3  # Seconds of silence before a tone.
ENDS = 60  # Seconds of the start and of the end that offsets are taken from.


def rows(programs, folder, minutes, say):
    shutil.rmtree(folder, ignore_errors=True)
    library = folder / "library"
    library.mkdir(parents=True)
    sound = Sound(folder / "runtime", heard="speakers")
    try:
        with Display(programs, folder, FPS, sound.environment, MOVING) as display:
            say(f"recording {minutes} minutes with sound")
            began = time.monotonic()
            cost = measure.run([programs / "orvo", "record", "--seconds", 60 * minutes, "--fps", FPS, "--library", library],
                               **sound.environment, DISPLAY=display.name)
            shown = display.shown()
    finally:
        sound.close()
    say("reading what was recorded")
    document = next(library.glob("*/project.json"))
    ready = document.stat().st_mtime - time.time() + time.monotonic()
    project = json.loads(document.read_text())
    tracks = {track["kind"]: track for track in project["tracks"]}
    file = {kind: document.parent / track["file"] for kind, track in tracks.items()}
    frames = list(zip(_times_of(file["screen"]), shown_times(file["screen"])))
    recorded = {seen for _, seen in frames}
    counted = {seen for seen in shown if min(recorded) + 1000 * WARM_UP <= seen <= max(recorded) - 1000 * WARM_UP}
    ends = [track["start"] + _length_of(file[kind]) for kind, track in tracks.items()]
    what = f"recording {WIDTH}×{HEIGHT} at {FPS} with sound, {minutes} minutes"
    result = [
        Row(f"{what}: processor", "% of a core", [100 * cost.cpu / (60 * minutes)]),
        Row(f"{what}: pictures lost", "%", [100 * len(counted - recorded) / len(counted)]),
        Row(f"{what}: peak memory", "MB", [cost.peak], limit=250),
        Row(f"{what}: growth of memory after the first quarter", "MB", [_growth(cost.private)], limit=10),
        Row(f"{what}: from the command to the first picture", "ms", [frames[0][1] - 1000 * began], limit=500),
        Row(f"{what}: from the last picture to the ready project", "s", [ready - frames[-1][1] / 1000], limit=1.5),
        Row(f"{what}: ends of the tracks apart", "ms", [1000 * (max(ends) - min(ends))], limit=20),
    ]
    for kind in ("microphone", "system"):
        offsets = _offsets(file[kind], tracks[kind]["start"] - tracks["screen"]["start"], frames)
        first = median(offset for at, offset in offsets if at < ENDS)
        last = median(offset for at, offset in offsets if at > 60 * minutes - ENDS)
        result += [
            Row(f"{what}: {kind} after picture at the start", "ms", [abs(first)], limit=40),
            Row(f"{what}: {kind} after picture at the end", "ms", [abs(last)], limit=40),
            Row(f"{what}: {kind} drifts a minute", "ms", [abs(last - first) / (minutes - ENDS / 60)], limit=1),
        ]
    shutil.rmtree(folder)
    return result


def _growth(private):
    quarter = len(private) // 4
    around = max(quarter // 10, 1)
    # Medians: one look may fall between two buffers.
    return median(private[-2 * around:-around]) - median(private[quarter:quarter + around])


def _times_of(file):
    """When the frames of a file are shown, in seconds."""
    lines = subprocess.run(["ffprobe", "-v", "error", "-select_streams", "v", "-show_entries", "packet=pts_time", "-of", "csv=p=0",
                            str(file)], stdout=subprocess.PIPE, check=True).stdout.split()
    return sorted(float(line.rstrip(b",")) for line in lines)


def _length_of(file):
    return float(subprocess.run(["ffprobe", "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", str(file)],
                                stdout=subprocess.PIPE, check=True).stdout)


def _offsets(file, start, frames):
    """For every tone: when it is heard, in seconds, and by how many milliseconds after the picture of that moment. `start` is
    that of the sound on the picture's time."""
    # By how much the time that is shown is ahead of the file's, over a second or two of frames.
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
    """When tones begin, in seconds, to a millisecond."""
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
