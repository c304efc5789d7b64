"""Records a page with the real extension in a real browser, by its shortcuts, and checks the projects in the library.

record_tab.py ORVO ORVOBRIDGE EXTENSION ORIGIN_FILE CASE
"""

import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from browser import Browser, expect, wait_for
from timecode import offsets, pressed, probed, samples_of


def press(browser, identifier):
    """Presses in the page. Waits for the log of the pointer, which a busy browser writes late, and for the frames."""
    browser.xdotool("mousemove", "500", "300", "sleep", "0.5", "mousemove", "500", "400", "sleep", "0.3", "click", "1")
    log = browser.library / identifier / "pointer-events.jsonl"
    wait_for("the press in the log", lambda: log.exists() and '"click"' in log.read_text())
    browser.recorded(identifier, browser.project(identifier)["duration"] + 2)


# Simulates an hour of sleep since the page was opened: the clock of a page stops while the machine sleeps.
SLEPT = """chrome.tabs.query({ active: true }).then(([tab]) => chrome.scripting.executeScript({ target: { tabId: tab.id }, func: () => {
  Object.defineProperty(performance, "timeOrigin", { value: performance.timeOrigin - 3600 * 1000 });
} })).then(() => true)"""


def records_tab(browser):
    """Records with the default options, from the shortcut to the prepared project."""
    identifier = browser.begin()
    began = time.monotonic()
    browser.in_extension(SLEPT)
    browser.xdotool("mousemove", "250", "400", "sleep", "1", "mousemove", "500", "400", "sleep", "0.3", "click", "1")
    browser.recorded(identifier, 6)
    browser.press("ctrl+shift+9")
    browser.recorded(identifier, 8)
    browser.xdotool("click", "1", "key", "ctrl+shift+7")
    browser.ended(identifier)
    lasted = time.monotonic() - began
    project, screen = browser.prepared(identifier)
    print(f"{project['title']}: {project['width']}×{project['height']}, {project['duration']:.2f} s, {len(project['edit']['events'])} events")
    expect(project["title"] == "Reloj de prueba", project["title"])
    expect({track["kind"] for track in project["tracks"]} == {"screen", "microphone"}, f"the tracks {project['tracks']}")
    facts = probed(screen)
    video, audio = facts["video"], facts["audio"]
    expect(video["codec_name"] == "h264" and int(video["width"]) == project["width"], "the video has another codec or width")
    seconds = float(video["duration"])
    expect(abs(seconds - project["duration"]) < 0.5, f"{seconds} s of video, {project['duration']} s of project")
    expect(lasted - 2 < seconds < lasted + 2, f"{seconds} s of video in {lasted:.1f} s")
    expect(abs(float(audio["duration"]) - seconds) < 0.5, "the audio has another length")
    apart = offsets(screen)
    print("audio after video, ms:", [round(value * 1000) for value in apart])
    # A browser on a shared processor may be off by a tenth of a second; a lost or repeated chunk would be a second.
    expect(all(abs(value) < 0.2 for value in apart), "audio and video are not in sync")
    expect(max(apart) - min(apart) < 0.15, "audio and video drift apart")

    kinds = [event["kind"] for event in project["edit"]["events"]]
    expect(kinds.count("click") == 2 and kinds.count("zoom") == 1 and kinds.count("move") > 20, f"events {kinds}")
    click = next(event for event in project["edit"]["events"] if event["kind"] == "click")
    # The tab fills the width of the window.
    expect(abs(click["x"] - 0.5) < 0.03, f"the press at {click['x']}")
    shown = pressed(screen)
    print(f"pressed at {click['time']:.3f} s, in the video at {shown:.3f} s")
    expect(-0.05 < shown - click["time"] < 0.3, f"the press at {click['time']} s, in the video at {shown} s")


def cut_off(action):
    """Returns a case that interrupts the recording with `action`; the recorded part can be prepared."""
    def run(browser):
        identifier = browser.begin()
        browser.recorded(identifier, 5)
        action(browser)
        wait_for("the helper's end", lambda: not helper_lives(browser))
        project = browser.project(identifier)
        expect(project["state"] in ("recoverable-tab", "recording-tab", "processing-tab"), f"the project is {project['state']}")
        project, screen = browser.prepared(identifier)
        seconds = float(probed(screen)["video"]["duration"])
        print(f"{seconds:.2f} s of at least 5 s")
        expect(seconds > 3, f"only {seconds} s were kept")
    return run


def helper_lives(browser):
    pid = browser.helper()
    return pid is not None and Path(f"/proc/{pid}").exists() and not is_zombie(pid)


def is_zombie(pid):
    try:
        return Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()[0] == "Z"
    except OSError:
        return True


def ends_with_tab(browser):
    identifier = browser.begin()
    browser.recorded(identifier, 4)
    browser.new_tab()
    browser.press("ctrl+1")
    browser.focus()
    _, screen = browser.end(identifier, "ctrl+w")
    expect(float(probed(screen)["video"]["duration"]) > 3, "too little is left")


def records_devices(browser):
    """Microphone and camera are separate tracks, in sync with the tab."""
    browser.in_extension("chrome.storage.local.set({ options: { height: 360, fps: 10, microphone: true, camera: true } })")
    identifier = browser.begin()
    browser.recorded(identifier, 6)
    browser.press("ctrl+shift+7")
    browser.ended(identifier)
    began = {track["kind"]: track["start"] for track in browser.projects()[0]["tracks"]}
    project, screen = browser.prepared(identifier)
    seconds = float(probed(screen)["video"]["duration"])
    tracks = {track["kind"]: track for track in project["tracks"]}
    expect({"screen", "microphone", "camera"} <= tracks.keys(), f"only {list(tracks)}")
    for kind, stream in (("microphone", "audio"), ("camera", "video")):
        ends = float(probed(screen.parent.parent / tracks[kind]["file"])[stream]["duration"])
        print(f"{kind}: began at {began[kind]:.3f} s, {ends:.2f} s of {seconds:.2f} s")
        expect(began[kind] != 0, f"the start of the {kind} is missing")
        expect(tracks[kind]["start"] == 0, f"the {kind} begins at {tracks[kind]['start']} s")
        expect(abs(ends - seconds) < 0.7, f"the {kind} ends at {ends} s, the screen at {seconds} s")
    expect(max(samples_of(screen.parent.parent / tracks["microphone"]["file"])) > 1500, "the microphone is silent")


def follows_navigation(browser):
    """The tab loads another page: the recording and its pointer events continue."""
    identifier = browser.begin()
    browser.recorded(identifier, 2)
    browser.press("ctrl+l")
    browser.xdotool("type", "--delay", "20", f"{browser.address}&again")
    browser.press("Return")
    browser.recorded(identifier, 7)
    press(browser, identifier)
    project, screen = browser.end(identifier)
    expect(float(probed(screen)["video"]["duration"]) > 7, "too little is left")
    clicks = [event["time"] for event in project["edit"]["events"] if event["kind"] == "click"]
    expect(len(clicks) == 1 and clicks[0] > 5, f"presses at {clicks}")


def places_presses_in_frames(browser):
    """Presses in a frame of another site get their position in the tab, also in a zoomed page and a scrolled frame."""
    browser.xdotool("mousemove", "500", "400")
    identifier = browser.begin()
    for keys in (None, "ctrl+plus", "ctrl+plus"):
        if keys:
            browser.xdotool("key", "--clearmodifiers", keys, "sleep", "1")
        # Presses in the page and in its frame, at the same height.
        for x in ("600", "900"):
            browser.xdotool("mousemove", x, "640", "sleep", "0.3", "mousemove", x, "650", "sleep", "0.3", "click", "1", "sleep", "0.2")
        browser.xdotool("click", "5", "sleep", "0.3", "click", "1", "sleep", "0.2")
    # Waits for the last press, which passes through several processes.
    browser.recorded(identifier, browser.project(identifier)["duration"] + 3)
    project, _ = browser.end(identifier)
    clicks = [event for event in project["edit"]["events"] if event["kind"] == "click"]
    print("pressed at", [(round(click["x"], 3), round(click["y"], 3)) for click in clicks])
    expect([round(click["x"], 2) for click in clicks] == [0.6, 0.9, 0.9] * 3, "a press has another x")
    expect(max(click["y"] for click in clicks) - min(click["y"] for click in clicks) < 0.01, "the presses differ in height")


SLEEP = 20  # Seconds.


def send(number, processes):
    for pid in processes:
        try:
            os.kill(pid, number)
        except ProcessLookupError:
            pass  # The process has ended since.


def survives_sleep(browser):
    """The machine sleeps for twenty seconds: the recording continues, and later events get the right time."""
    identifier = browser.begin()
    browser.recorded(identifier, 3)
    processes = browser.descendants()
    send(signal.SIGSTOP, processes)
    time.sleep(SLEEP)
    send(signal.SIGCONT, processes)
    browser.recorded(identifier, SLEEP + 6)
    press(browser, identifier)
    project, screen = browser.end(identifier)
    seconds = float(probed(screen)["video"]["duration"])
    clicks = [event["time"] for event in project["edit"]["events"] if event["kind"] == "click"]
    shown = pressed(screen)
    print(f"{seconds:.2f} s of video, {project['duration']:.2f} s of project, pressed at {clicks}, in the video at {shown:.3f} s")
    # On a busy processor the browser ends its video up to half a second early.
    expect(abs(seconds - project["duration"]) < SLEEP / 10, "video and project differ in length")
    expect(seconds > SLEEP + 7, "the sleep is missing in the video")
    expect(len(clicks) == 1 and abs(clicks[0] - shown) < 0.5, "the press has another time")


def records_once_at_a_time(browser):
    """The shortcut ends the only recording, whichever tab is active."""
    identifier = browser.begin()
    browser.new_tab()
    browser.end(identifier)
    expect(len(browser.projects()) == 1, "there are two recordings")


def stop_worker(browser):
    targets = browser.tools.call("Target.getTargets")["targetInfos"]
    worker = next(target for target in targets if target["type"] == "service_worker" and browser.extension in target["url"])
    browser.tools.call("Target.closeTarget", targetId=worker["targetId"])


def survives_worker_stop(browser):
    """Stopping the worker interrupts the recording; the next one works at once."""
    cut_off(stop_worker)(browser)
    identifier = browser.begin()
    browser.recorded(identifier, 2)
    browser.press("ctrl+shift+7")
    browser.ended(identifier)


# A helper that sends its greeting and exits on the first request.
SHORT_LIVED = """#!/usr/bin/env python3
import struct, sys
def receive():
    sys.stdin.buffer.read(struct.unpack("=I", sys.stdin.buffer.read(4))[0])
receive()
hello = b'{"type":"hello","version":1}'
sys.stdout.buffer.write(struct.pack("=I", len(hello)) + hello)
sys.stdout.buffer.flush()
receive()
"""


def recovers_from_early_helper_exit(browser):
    """The helper exits between its greeting and the first chunk: the next recording can begin."""
    manifest = browser.manifest.read_text()
    script = browser.manifest.with_name("short-lived")
    script.write_text(SHORT_LIVED)
    script.chmod(0o700)
    browser.manifest.write_text(json.dumps({**json.loads(manifest), "path": str(script)}))
    browser.press("ctrl+shift+7")
    wait_for("the failure", lambda: browser.badge() == "!")
    browser.manifest.write_text(manifest)
    browser.begin()


def ends_without_helper_reply(browser):
    """The helper stops responding: the recording ends without waiting for it."""
    identifier = browser.begin()
    helper = browser.helper()
    os.kill(helper, signal.SIGSTOP)
    browser.press("ctrl+shift+7")
    try:
        wait_for("the failure", lambda: browser.badge() == "!")
    finally:
        os.kill(helper, signal.SIGCONT)
    wait_for("the helper's end", lambda: not helper_lives(browser))
    browser.prepared(identifier)


def reload_extension(browser):
    browser.in_extension("setTimeout(() => chrome.runtime.reload(), 200) && null")


def finds_helper(browser):
    """The page after the installation finds the helper, which leaves a marker file for the application."""
    expect(browser.welcomed == "good", f"the page shows a {browser.welcomed}")
    expect((browser.data / "OrvoVideo/extension-connected").exists(), "the marker file is missing")
    expect(not browser.pages("welcome.html"), "the page opens again")


def asks_for_permission(browser):
    """The page that requests the microphone closes itself, and the recording of the tab begins."""
    browser.press("ctrl+shift+7")
    project = wait_for("the recording", browser.projects)[0]
    wait_for("the end of the page", lambda: not browser.pages("permission.html"))
    browser.recorded(project["id"], 3)
    project, screen = browser.end(project["id"])
    expect({track["kind"] for track in project["tracks"]} == {"screen", "microphone"}, "there is no microphone")
    expect(float(probed(screen)["video"]["duration"]) > 2, "too little is left")
    expect(project["title"] == "Reloj de prueba", "another tab was recorded")


SHOWN = """({ form: !document.getElementById("options").hidden, meter: !document.getElementById("level").hidden,
  level: Number(document.getElementById("level").getAttribute("aria-valuenow")), open: !document.getElementById("open").hidden,
  pause: !document.getElementById("pause").hidden })"""


def shows_popup(browser):
    """The popup shows the level, hides the options while recording, and opens the finished recording in the application."""
    def opened(background):
        page = browser.tools.call("Target.createTarget", url=f"chrome-extension://{browser.extension}/popup.html", background=background)["targetId"]
        wait_for("the popup", lambda: browser.in_page(page, "document.getElementById('options') !== null"))
        return page, lambda: browser.in_page(page, SHOWN)

    page, shown = opened(background=False)  # Browsers throttle the timers of hidden pages.
    wait_for("the level", lambda: shown()["level"] > 0)
    expect(shown()["form"] and not shown()["open"], f"the popup shows {shown()}")
    browser.tools.call("Target.closeTarget", targetId=page)

    browser.focus()
    identifier = browser.begin()
    page, shown = opened(background=True)
    wait_for("the level of the recording", lambda: shown()["level"] > 0)
    expect(shown()["pause"] and not shown()["form"] and not shown()["open"], f"the popup shows {shown()}")
    browser.recorded(identifier, 3)
    browser.press("ctrl+shift+7")
    browser.ended(identifier)
    wait_for("the button", lambda: shown()["open"])
    expect(shown()["form"] and not shown()["pause"], f"the popup shows {shown()}")
    browser.in_page(page, "document.getElementById('open').click()")
    window = wait_for("the application", lambda: browser.xdotool("search", "--onlyvisible", "--name", "Reloj de prueba — Orvo Video").split())[0]
    os.kill(int(browser.xdotool("getwindowpid", window)), signal.SIGTERM)


CASES = {
    "finds_helper": finds_helper,
    "asks_for_permission": asks_for_permission,
    "shows_popup": shows_popup,
    "records_tab": records_tab,
    "ends_with_tab": ends_with_tab,
    "survives_reload": cut_off(reload_extension),
    "survives_worker_stop": survives_worker_stop,
    "recovers_from_early_helper_exit": recovers_from_early_helper_exit,
    "ends_without_helper_reply": ends_without_helper_reply,
    "records_devices": records_devices,
    "follows_navigation": follows_navigation,
    "places_presses_in_frames": places_presses_in_frames,
    "survives_sleep": survives_sleep,
    "records_once_at_a_time": records_once_at_a_time,
    "survives_helper_kill": cut_off(lambda browser: os.kill(browser.helper(), signal.SIGKILL)),
}
# The other cases look at no frames: the page animates few, which leaves the processor to other tests.
LOOK_AT_FRAMES = {"records_tab", "survives_sleep"}


def allowed_everywhere(extension, copy):
    """Copies the extension with access to all sites, as if the user had granted it."""
    shutil.copytree(extension, copy)
    manifest = json.loads((copy / "manifest.json").read_text())
    manifest["host_permissions"] = manifest.pop("optional_host_permissions")
    (copy / "manifest.json").write_text(json.dumps(manifest))
    return copy


def main():
    orvo, bridge, extension, origin, case = sys.argv[1:]
    folder = Path(tempfile.mkdtemp(prefix="orvo-tab-"))
    if case == "places_presses_in_frames":
        extension = allowed_everywhere(Path(extension), folder / "extension")
    few = case not in LOOK_AT_FRAMES
    browser = Browser(orvo, bridge, extension, origin, folder, page="page.html?few" if few else "page.html",
                      permitted=case != "asks_for_permission")
    try:
        if case != "records_tab":
            browser.in_extension("chrome.storage.local.set({ options: { height: 360, fps: 10, microphone: true, camera: false } })")
        CASES[case](browser)
    except BaseException:
        print("the extension's title:", browser.in_extension("chrome.action.getTitle({})"))
        if pictures := os.environ.get("ORVO_TEST_PICTURES"):
            subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "x11grab", "-i", browser.environment["DISPLAY"],
                            "-frames:v", "1", Path(pictures) / f"record-tab-{case}.png"])
        raise
    finally:
        browser.close()
        shutil.rmtree(folder, ignore_errors=True)


main()
