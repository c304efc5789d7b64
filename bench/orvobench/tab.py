"""Recording a tab of a real browser: the helper's cost, lost time, and the preparation compared with its ffmpeg runs alone."""

import shutil
import sys
import time
from pathlib import Path

from orvobench import measure
from orvobench.exports import install
from orvobench.table import Row

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tests/Extension"))

from browser import Browser, wait_for  # noqa: E402: part of the extension's tests.
from timecode import offsets, probed  # noqa: E402

FPS = 30
TICKS = 100  # Units of processor time per second in /proc.


def rows(programs, folder, seconds, runs, say):
    shutil.rmtree(folder, ignore_errors=True)
    install(programs, folder)
    # The window's decoration takes the lines beyond 1080.
    browser = Browser(folder / "bin/orvo", programs.parent / "OrvoVideo.app/Contents/Helpers/OrvoBridge", ROOT / "Extension",
                      ROOT / "packaging/extension-origin.txt", folder / "home", size=(1920, 1224), page="page.html?small")
    try:
        say(f"tab: recording {seconds} seconds")
        identifier = browser.begin()
        helper = Path(f"/proc/{browser.helper()}")
        began, before = time.monotonic(), _processor(helper)
        time.sleep(seconds)
        lasted, after, memory = time.monotonic() - began, _processor(helper), measure.high_water_mark(browser.helper())
        browser.press("ctrl+shift+7")
        wait_for("the end", lambda: browser.projects()[0]["state"] == "processing-tab")
    finally:
        browser.close()
    ours, alone = [], []
    for number in range(runs):
        say(f"tab: preparing, round {number + 1} of {runs}")
        cost = measure.run([folder / "bin/orvo", "recover", identifier], folder / "runs.jsonl",
                           **{"ORVO_LIBRARY": str(browser.library), "HOME": browser.environment["HOME"]})
        ours.append(cost.wall)
        alone.append(_alone(cost, folder))
    project, screen = browser.prepared(identifier)
    video, apart = probed(screen)["video"], offsets(screen)
    frames, length = int(video["nb_read_frames"]), float(video["duration"])
    what = f"tab {project['width']}×{project['height']}, {seconds} s"
    shutil.rmtree(folder)
    return [
        Row(f"{what}: frames a second in the file", "", [frames / length]),
        Row(f"{what}: recorded of the time from the first piece to the end", "%", [100 * min(1, length / lasted)], at_least=99),
        Row(f"{what}: audio after video at the end", "ms", [1000 * abs(sorted(apart[-5:])[2])], limit=40),
        Row(f"{what}: the helper's processor", "% of a core", [100 * (after - before) / lasted], limit=5),
        Row(f"{what}: the helper's memory", "MB", [memory], limit=40),
        Row(f"{what}: preparation", "s", ours, alone, "the same run of ffmpeg alone", at_most=1.05),
    ]


def _alone(cost, folder):
    """The seconds that the ffmpeg runs of a preparation take alone."""
    begin = time.monotonic()
    for run in cost.ffmpeg_runs:
        words = run["arguments"]
        if "-version" not in words and "-encoders" not in words:
            measure.run(["ffmpeg", *words[:-1], folder / ("again" + Path(words[-1]).suffix)])
    return time.monotonic() - begin


def _processor(process):
    fields = (process / "stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / TICKS
