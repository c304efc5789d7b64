"""The recording for measuring exports: generated once, cached, and shared by all runs.

Screen 1080p30, camera 720p30, a microphone with speech and system audio, encoded like the recorder's files:
H.264 without lookahead and B-frames, with a key frame every two seconds at the recorder's bit rates, and AAC at 128 kbit/s.
"""

import itertools
import math
import random
import shutil
import subprocess
from dataclasses import dataclass
from pathlib import Path

from orvobench.lesson import HEIGHT, SENTENCES, WIDTH, Lesson
from orvobench.frame import Frame

FPS = 30
VERSION = "3"  # Change it to regenerate the material.


@dataclass(frozen=True)
class Material:
    """A recording: the folder with its four files, and its length in seconds."""

    folder: Path
    seconds: int

    screen = property(lambda self: self.folder / "screen.mov")
    camera = property(lambda self: self.folder / "camera.mov")
    microphone = property(lambda self: self.folder / "microphone.m4a")
    system = property(lambda self: self.folder / "system.m4a")

    @property
    def files(self):
        return self.screen, self.microphone, self.system, self.camera


def recording(cache, seconds):
    """The material of this length, generated if it is not in the cache."""
    return _cached(Path(cache, f"{seconds}s"), seconds, _record)


def repeated(cache, material, times):
    """The recording repeated, without re-encoding."""

    def join(made):
        for source, target in zip(material.files, made.files):
            names = made.folder / "parts.txt"
            names.write_text(f"file '{source}'\n" * times)
            _ffmpeg("-f", "concat", "-safe", "0", "-i", names, "-c", "copy", "-t", str(made.seconds), target)

    return _cached(Path(cache, f"{material.seconds}s-x{times}"), material.seconds * times, join)


def with_film(cache, lesson):
    """The recording with a film that plays on the screen throughout."""

    def put(made):
        # Loops the first ten seconds, because deeper zooms take longer to compute.
        film = f"mandelbrot=s=640x360:r={FPS}:start_scale=2,loop=loop=-1:size={10 * FPS},scale=1280:720,setsar=1"
        _ffmpeg("-i", lesson.screen, "-f", "lavfi", "-i", film, "-filter_complex", "[0:v][1:v]overlay=320:150:shortest=1",
                *_encoding(WIDTH, HEIGHT), "-t", str(made.seconds), made.screen)
        for source, target in zip(lesson.files, made.files):
            if target != made.screen:
                shutil.copy(source, target)

    return _cached(Path(cache, f"{lesson.seconds}s-film"), lesson.seconds, put)


def _cached(folder, seconds, make):
    mark = folder / "complete"
    if not (mark.exists() and mark.read_text() == VERSION):
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        make(Material(folder.resolve(), seconds))
        mark.write_text(VERSION)
    return Material(folder.resolve(), seconds)


def _record(made):
    _speak(made)
    _system_audio(made)
    _video(made.screen, Lesson(FPS).frames(), WIDTH, HEIGHT, made.seconds)
    _video(made.camera, _teacher(), 1280, 720, made.seconds, "noise=alls=5:allf=t")


def _video(target, frames, width, height, seconds, filters="null"):
    command = ["ffmpeg", "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", "yuv420p", "-s", f"{width}x{height}",
               "-r", str(FPS), "-i", "-", "-vf", filters, *_encoding(width, height), str(target)]
    with subprocess.Popen(command, stdin=subprocess.PIPE) as encoder:
        for frame in itertools.islice(frames, seconds * FPS):
            encoder.stdin.write(frame.data)
        encoder.stdin.close()
        if encoder.wait() != 0:
            raise SystemExit(f"{target} could not be encoded")


def _encoding(width, height):
    """The recorder's encoder settings: five bits per pixel of a frame and second, averaged over two seconds."""
    rate = width * height * 5
    return ["-c:v", "libx264", "-preset", "veryfast", "-tune", "zerolatency", "-b:v", str(rate), "-maxrate", str(rate),
            "-bufsize", str(2 * rate), "-g", str(2 * FPS), "-pix_fmt", "yuv420p"]


def _speak(made):
    """Sentences with pauses, over faint room noise."""
    chosen = random.Random(3)
    text = "\n\n".join(chosen.choice(SENTENCES) for _ in range(made.seconds // 4 + 2))
    speech = made.folder / "speech.wav"
    subprocess.run(["espeak-ng", "-v", "es", "-s", "150", "-w", speech], input=text.encode(), check=True)
    graph = "[0:a]aresample=48000,apad[voice];anoisesrc=r=48000:a=0.002[room];[voice][room]amix=normalize=0:duration=shortest"
    _ffmpeg("-i", speech, "-filter_complex", graph, "-t", str(made.seconds), "-ac", "1", "-c:a", "aac", "-b:a", "128k",
            made.microphone)
    speech.unlink()


def _system_audio(made):
    """A quiet chord that swells every seven seconds."""
    swell = "0.05*max(0,sin(2*PI*t/7))"
    tones = "|".join(f"{swell}*(sin({f}*2*PI*t)+0.5*sin({f * 1.5}*2*PI*t))" for f in (220, 330))
    _ffmpeg("-f", "lavfi", "-i", f"aevalsrc='{tones}':s=48000:c=stereo", "-t", str(made.seconds), "-c:a", "aac",
            "-b:a", "128k", made.system)


def _teacher():
    """A moving head in front of a wall."""
    wall = Frame(1280, 720)
    for y in range(0, 720, 2):
        wall.fill((90 + y // 12, 122, 134), 0, y, 1280, 2)
    frame = Frame(1280, 720)
    for number in itertools.count():
        t = number / FPS
        x, y = 640 + 40 * math.sin(t * 0.7) + 12 * math.sin(t * 2.3), 330 + 14 * math.sin(t * 1.1)
        frame.draw(wall, 0, 0)
        _ellipse(frame, x - 8, 780, 330, 300, (70, 140, 118))
        _ellipse(frame, x, y, 130, 175, (165, 112, 150))
        for side in (-48, 48):
            _ellipse(frame, x + side, y - 30, 18, 2 if number % 97 < 4 else 10, (40, 128, 128))
        _ellipse(frame, x, y + 80, 44, 4 + 14 * abs(math.sin(t * 9)) * (math.sin(t * 0.9) > -0.6), (80, 120, 160))
        yield frame


def _ellipse(frame, x, y, across, down, colour):
    for line in range(max(0, int(y - down) // 2 * 2), min(frame.height, int(y + down)), 2):
        half = across * math.sqrt(max(0.0, 1 - ((line - y) / down) ** 2))
        left, right = int(x - half) // 2 * 2, int(x + half) // 2 * 2
        if right > left:
            frame.fill(colour, left, line, right - left, 2)


def _ffmpeg(*arguments):
    subprocess.run(["ffmpeg", "-v", "error", "-y", "-nostdin", *map(str, arguments)], check=True)
