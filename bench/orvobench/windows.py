"""The application: how long its main thread is held, and how long a user waits for its window and for a project."""

import json
import os
import subprocess
import sys
import tempfile
import time
import uuid
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tests/support"))

from display import Display  # noqa: E402: part of the tests.

from orvobench import document, material
from orvobench.document import Edit
from orvobench.table import Row

PROJECTS = 1000
PLAYED = 10  # Seconds.


def rows(programs, cache, runs, say):
    return _model_rows(programs, say) + _window_rows(programs, cache, runs, say)


def _model_rows(programs, say):
    say("the model on its main thread")
    words = [programs / "bench_model", "--benchmark_format=json"]
    output = subprocess.run(words, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True).stdout
    runs = {run["name"].split("/")[0] if "/" not in run["name"] else "/".join(run["name"].split("/")[:2]): run
            for run in json.loads(output)["benchmarks"]}

    def figure(name, counter):
        return next(run[counter] for key, run in runs.items() if key.startswith(name))

    names = {"correctWord": "correct a word", "cutWord": "cut a word", "moveZoom": "change a zoom point",
             "addZoom": "add a zoom point", "moveCamera": "move the camera", "undoAndRedo": "undo and redo"}
    result = [Row(f"one edit of a one-hour project, {text}: main thread held, 99th percentile", "ms",
                  [figure(f"makeEdit/{name}", "p99_ms")], limit=8) for name, text in names.items()]
    return result + [
        Row("autosave of a one-hour project: main thread held at most", "ms", [figure("autosave", "max_ms")], limit=33),
        Row("100 undo steps: memory", "MB", [figure("undoMemory", "MB")], limit=20),
        Row(f"listing of {PROJECTS:,} projects: main thread held at most", "ms", [figure("listLibrary", "max_ms")]),
    ]


def _window_rows(programs, cache, runs, say):
    with tempfile.TemporaryDirectory() as folder:
        folder = Path(folder)
        short = material.recording(cache, 300)
        hour = material.repeated(cache, short, 12)
        crowd, single = folder / "crowd", folder / "single"
        _fill(crowd, short)
        lesson = _add(crowd, hour, Edit(cuts=300, zooms=72, texts=48))
        camera = _add(single, short, Edit(cuts=1, camera=True))
        starts, plays = [], []
        for number in range(runs):
            say(f"round {number + 1} of {runs}: the window")
            starts.append(_run(programs, folder, crowd, lesson, 1))
            plays.append(_run(programs, folder, single, camera, PLAYED))
    if any(run["projects"] != PROJECTS + 1 for run in starts):
        raise SystemExit("the library was not listed")

    def row(what, name, limit):
        return Row(what, "ms", [run[name] for run in starts], limit=limit)

    dropped = [max(0.0, 100 * (1 - run["shown"] / run["due"])) for run in plays]
    return [
        row(f"start with {PROJECTS:,} projects: window", "window", 1000),
        row(f"start with {PROJECTS:,} projects: list complete", "listed", 2500),
        row("opening a one-hour project: window usable", "usable", 300),
        row("opening a one-hour project: first frame", "firstFrame", 1500),
        row("the transcript of an hour as a page: opened", "transcriptOpened", 100),
        row("the transcript of an hour as a page: a frame while it scrolls, 95th percentile", "transcriptFrame", 17),
        row("the transcript of an hour as a page: one correction, main thread held, 99th percentile", "transcriptEdit", 8),
        row("the transcript of an hour as a page: one correction, seen in the window, 95th percentile", "transcriptEditShown",
            None),
        Row("playback with camera at 1280×800: frames dropped", "%", dropped, limit=2),
    ]


def _fill(library, recording):
    """Adds many projects of five minutes. Their media are missing, because listing does not read them."""
    project = document.document(recording, Edit(cuts=20))
    for number in range(PROJECTS):
        project["id"] = str(uuid.UUID(int=number + 1, version=4)).upper()
        project["title"] = f"Lección {number + 1}"
        document.write(library, project)


def _add(library, recording, edit):
    project = document.document(recording, edit)
    folder = document.write(library, project)
    document.add_media(folder, recording.files)
    return project["id"]


def _run(programs, folder, library, project, seconds):
    """Starts the application once on its own display, without earlier settings or caches."""
    home = tempfile.mkdtemp(dir=folder)
    variables = {**os.environ, "ORVO_LIBRARY": str(library), "HOME": home, "XDG_CACHE_HOME": f"{home}/cache",
                 "XDG_CONFIG_HOME": f"{home}/config", "QT_QPA_PLATFORM": "xcb"}
    with Display() as display:
        words = [programs / "bench_window", str(time.monotonic_ns()), project, str(seconds)]
        done = subprocess.run(words, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                              env={**variables, "DISPLAY": display}, timeout=300)
    return json.loads(done.stdout)
