"""The project document of a measured recording, identical for identical arguments."""

import json
import os
import random
import shutil
import subprocess
import uuid
from dataclasses import dataclass

from orvobench.lesson import HEIGHT, SENTENCES, WIDTH
from orvobench.material import FPS

CUT_SHARE = 0.1  # Share of the recording for any number of cuts, so that all variants keep the same number of frames.


@dataclass(frozen=True)
class Edit:
    """The edits of the recording. The pointer and its clicks are always drawn."""

    cuts: int = 50
    zooms: int = 0
    texts: int = 0
    camera: bool = False
    sharpen: bool = False
    images: int = 0


def images(folder, count):
    """Full-HD images, generated if missing."""
    folder.mkdir(exist_ok=True)
    files = [folder / f"image{number}.png" for number in range(count)]
    for number, file in enumerate(files):
        if not file.exists():
            subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", f"testsrc2=size={WIDTH}x{HEIGHT}", "-vf",
                            f"hue=h={90 * number}", "-frames:v", "1", "-update", "1", file], check=True)
    return files


def cuts_of(seconds, count):
    """Cuts of equal length, spread over the recording with random offsets, none at its ends."""
    chosen = random.Random(11)
    length, room = seconds * CUT_SHARE / count, seconds / count
    starts = (room * (i + chosen.uniform(0.2, 0.6)) for i in range(count))
    return [{"start": start, "end": start + length} for start in starts]


def kept_of(seconds, cuts):
    """The spans that remain after the cuts of `cuts_of`."""
    edges = [0.0, *(edge for cut in cuts for edge in (cut["start"], cut["end"])), float(seconds)]
    return list(zip(edges[::2], edges[1::2]))


def document(material, edit):
    seconds = material.seconds
    chosen = random.Random(5)

    def identifier():
        return str(uuid.UUID(int=chosen.getrandbits(128), version=4)).upper()

    def track(kind, file):
        return {"id": identifier(), "kind": kind, "file": f"media/{file.name}", "start": 0, "duration": seconds, "volume": 1}

    def event(kind, time, x, y, duration=2.5, scale=1.8):
        return {"id": identifier(), "kind": kind, "time": time, "x": x, "y": y, "duration": duration, "scale": scale}

    tracks = [track("screen", material.screen), track("microphone", material.microphone), track("system", material.system)]
    if edit.camera:
        tracks.append(track("camera", material.camera))

    events = [event("move", time, x, y) for time, x, y in _pointer(seconds, chosen)]
    for number in range(max(1, seconds * 40 // 300)):
        at = events[min(len(events) - 1, int((number + 0.5) * 7.5 * 12))]
        events.append(event("click", at["time"] + 0.01, at["x"], at["y"]))
    for number in range(edit.zooms):
        events.append(event("zoom", seconds * (number + 0.4) / edit.zooms, chosen.random(), chosen.random(), 3.0, 2.0))
    events.sort(key=lambda e: e["time"])

    overlays = [{
        "id": identifier(), "kind": "text", "content": SENTENCES[number % len(SENTENCES)][:40], "width": 0.3,
        "start": seconds * (number + 0.3) / edit.texts, "end": seconds * (number + 0.3) / edit.texts + 5, "x": 0.08, "y": 0.08,
    } for number in range(edit.texts)]

    overlays += [{
        "id": identifier(), "kind": "image", "content": f"media/image{number}.png", "width": 0.25,
        "start": seconds * number / edit.images, "end": seconds * (number + 0.5) / edit.images, "x": 0.6, "y": 0.1,
    } for number in range(edit.images)]

    texts = " ".join(SENTENCES).split()
    words = [{"id": identifier(), "text": texts[i % len(texts)], "start": 0.4 * i + 0.05, "end": 0.4 * i + 0.35}
             for i in range(int(seconds / 0.4))]

    return {
        "schemaVersion": 1, "id": identifier(), "title": "Índices y búsquedas", "state": "ready",
        "createdAt": "2025-03-14T09:26:53Z", "updatedAt": "2025-03-14T09:26:53Z",
        "duration": seconds, "width": WIDTH, "height": HEIGHT, "fps": FPS, "tracks": tracks,
        "edit": {
            "cuts": cuts_of(seconds, edit.cuts), "overlays": overlays, "words": words, "events": events,
            "cameraX": 0.75, "cameraY": 0.72, "cameraWidth": 0.22, "cameraVisible": edit.camera,
            "clickHalo": True, "pointerHighlight": True, "noiseReduction": True, "normalizeVoice": True,
            "sharpen": edit.sharpen, "fade": 0.15,
        },
    }


def write(library, project):
    """Writes the document into a library. Returns the project's folder."""
    folder = library / project["id"]
    (folder / "media").mkdir(parents=True, exist_ok=True)
    (folder / "project.json").write_text(json.dumps(project, indent=2, sort_keys=True, ensure_ascii=False))
    return folder


def add_media(folder, files):
    """Links the missing files into the media of a project's folder, or copies them on another file system."""
    for file in files:
        target = folder / "media" / file.name
        if target.exists():
            continue
        try:
            os.link(file, target)
        except OSError:
            shutil.copy(file, target)


def _pointer(seconds, chosen):
    """Twelve positions per second of a hand that moves to a target, slows down, and rests."""
    x, y = 0.5, 0.5
    time = 0.0
    while time < seconds:
        to_x, to_y = chosen.uniform(0.02, 0.98), chosen.uniform(0.02, 0.98)
        from_x, from_y = x, y
        steps, rest = chosen.randrange(6, 16), chosen.randrange(4, 30)
        for step in range(1, steps + rest + 1):
            ease = min(1.0, step / steps) ** 2 * (3 - 2 * min(1.0, step / steps))
            x, y = from_x + (to_x - from_x) * ease, from_y + (to_y - from_y) * ease
            yield time, x, y
            time += 1 / 12
            if time >= seconds:
                return
