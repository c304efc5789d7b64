"""Reads the flashes, beeps and presses of the test page from a recorded file."""

import array
import json
import subprocess

from browser import expect


def probed(file):
    output = subprocess.run(["ffprobe", "-v", "error", "-count_frames", "-show_streams", "-of", "json", str(file)],
                            stdout=subprocess.PIPE, check=True).stdout
    streams = json.loads(output)["streams"]
    return {stream["codec_type"]: stream for stream in streams}


def brightness(file, area):
    """Returns the time in seconds and the mean brightness (16–235) of an area for each frame."""
    graph = f"movie={file},crop={area},signalstats"
    output = subprocess.run(["ffprobe", "-v", "error", "-f", "lavfi", graph, "-show_entries",
                             "frame=pts_time:frame_tags=lavfi.signalstats.YAVG", "-of", "csv=p=0"],
                            stdout=subprocess.PIPE, check=True).stdout.decode()
    return [tuple(float(part) for part in line.split(",")[:2]) for line in output.splitlines()]


def flashes(file):
    """Returns the times at which the middle of the video becomes white, in seconds."""
    result, white = [], True
    for at, light in brightness(file, "iw/4:ih/4:iw/4:ih/4"):
        if light > 150 and not white:
            result.append(at)
        white = light > 150
    return result


def pressed(file):
    """Returns the time of the press, at which the corner becomes white for good, in seconds."""
    dark = [at for at, light in brightness(file, "iw/20:ih/20:iw/80:ih/80") if light < 150]
    return dark[-1]


def samples_of(file):
    """Returns the samples from time zero, with silence in gaps of the audio."""
    raw = subprocess.run(["ffmpeg", "-v", "error", "-i", str(file), "-vn", "-af", "aresample=48000:async=1:first_pts=0",
                          "-ac", "1", "-f", "s16le", "-"], stdout=subprocess.PIPE, check=True).stdout
    return array.array("h", raw)


def beeps(file):
    """Returns the times at which the audio begins after silence, in seconds."""
    result, quiet = [], 0
    for at, sample in enumerate(samples_of(file)):
        if abs(sample) > 1500:
            if quiet > 24000:
                result.append(at / 48000)
            quiet = 0
        else:
            quiet += 1
    return result


def offsets(file):
    white = flashes(file)
    heard = beeps(file)
    expect(len(white) >= 5 and len(heard) >= 5, f"{len(white)} flashes and {len(heard)} beeps")
    return [min((beep - flash for beep in heard), key=abs) for flash in white[1:-1]]
