#!/usr/bin/env python3
"""Injects faults into recordings and writes a table of the results: ./dev faults

Uses real displays, a real audio server and the built `orvo`. After each fault it decodes every track, compares the document and
the pointer log, recovers the recording if needed, checks it and exports it.
"""

import argparse
import contextlib
import fcntl
import json
import os
import random
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests/support"))

from display import Display  # noqa: E402: part of the tests.
from audio import Audio  # noqa: E402: part of the tests.

BIN = ROOT / "build/release/bin"
ORVO = BIN / "orvo"
ALLOWED_LOSS = 2.5  # Seconds before the fault that may be lost.


class Broken(Exception):
    """A recording does not have the required state after a fault."""


@dataclass
class Row:
    fault: str
    times: int
    seen: str  # The message to the user, or the observation.
    kept: str  # How much of the recording was kept.


class World:
    """A display that shows the time pattern, an audio server that plays its tone, and a library."""

    def __init__(self, folder, size="1280x720"):
        self.folder = Path(folder)
        self.library = self.folder / "library"
        self._started = []
        self.sound = Audio(self.folder / "runtime")
        self.environment = {**os.environ, **self.sound.environment, "ORVO_LIBRARY": str(self.library), "LC_ALL": "C.UTF-8"}
        self.environment.pop("WAYLAND_DISPLAY", None)
        self.display = Display(size)
        self.environment["DISPLAY"] = self.display.name
        width, height = size.split("x")
        self.pattern = self._start([BIN / "orvo-time-pattern", 0, 0, width, height, 30, "--sound"], stdout=subprocess.PIPE)
        self.pattern.stdout.readline()

    def close(self):
        for process in reversed(self._started):
            if process.poll() is None:
                process.kill()
            process.wait()
        self.display.close()
        self.sound.close()

    def _start(self, command, **options):
        options.setdefault("stdout", subprocess.DEVNULL)
        process = subprocess.Popen([str(word) for word in command], stderr=subprocess.DEVNULL, env=self.environment, **options)
        self._started.append(process)
        return process

    def run(self, *command, check=True, **variables):
        done = subprocess.run([str(word) for word in command], env={**self.environment, **variables}, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True, check=False)
        if check and done.returncode != 0:
            raise Broken(f"{Path(command[0]).name} {command[1]}: {done.stderr.strip()}")
        return done

    def record(self, *options, prefix=()):
        """Starts a recording and waits until it runs."""
        before = self.ids()
        process = subprocess.Popen([str(word) for word in (*prefix, ORVO, "record", "--json", *options)], env=self.environment,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self._started.append(process)
        until(lambda: process.poll() is not None or self.ids() - before, "the recording")
        return Recording(self, process, self.ids() - before, time.monotonic())

    def ids(self):
        return {each.name for each in self.library.glob("*-*-*")}


@dataclass
class Recording:
    world: World
    process: subprocess.Popen
    new: set
    began: float

    @property
    def id(self):
        (only,) = self.new
        return only

    @property
    def folder(self):
        return self.world.library / self.id

    def document(self):
        return json.loads((self.folder / "project.json").read_text())

    def wait_until(self, seconds):
        """Waits until the recording has run this long."""
        until(lambda: self.process.poll() is not None or (self.folder / "media/screen.mov").exists(), "the file")
        time.sleep(max(self.began + seconds - time.monotonic(), 0))

    def lasted(self):
        return time.monotonic() - self.began

    def end(self, signal_number=None):
        if signal_number:
            self.process.send_signal(signal_number)
        out, err = self.process.communicate(timeout=120)
        return out, told(err)

    def check(self, recorded, recovers, stopped=0):
        """Checks the recording after a fault at `recorded` seconds, during `stopped` of which the process was suspended. Returns the
        duration of the shortest track in seconds."""
        lengths = []
        for track in self.document()["tracks"]:
            file = self.folder / track["file"]
            lengths.append(decoded_length(file))
            if lengths[-1] < recorded - ALLOWED_LOSS:
                raise Broken(f"{track['file']} has {lengths[-1]:.1f} of {recorded:.1f} s")
        self._check_pointer(recorded - stopped)
        if recovers:
            self.world.run(ORVO, "list")
            self.world.run(ORVO, "recover", self.id)
        if self.document()["state"] != "ready":
            raise Broken(f"the project is {self.document()['state']}")
        self.world.run(ORVO, "validate", self.id)
        self.world.run(ORVO, "export", self.id, self.world.folder / "out.mp4", "--height", "360", "--quality", "small")
        if decoded_length(self.world.folder / "out.mp4") < recorded - ALLOWED_LOSS - 0.5:
            raise Broken("the export is shorter than the recording")
        return min(lengths)

    def _check_pointer(self, recorded):
        lines = (self.folder / "pointer-events.jsonl").read_text().split("\n")
        events = [json.loads(line) for line in lines[:-1]]
        if lines[-1]:
            with contextlib.suppress(json.JSONDecodeError):
                events.append(json.loads(lines[-1]))
        if len(events) < 12 * (recorded - ALLOWED_LOSS) * 0.6:
            raise Broken(f"{len(events)} pointer events in {recorded:.1f} s")
        in_document = self.document()["edit"]["events"]
        if in_document and len(in_document) != len(events):
            raise Broken("document and pointer log differ")


def told(err):
    """The messages of orvo, without those of libraries."""
    return " ".join(line.removeprefix("orvo: ") for line in err.splitlines() if line.startswith("orvo: "))


def until(condition, what, limit=60):
    end = time.monotonic() + limit
    while not condition():
        if time.monotonic() > end:
            raise Broken(f"waited too long for {what}")
        time.sleep(0.02)


def decoded_length(file):
    """Seconds that decode without an error."""
    done = subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-i", str(file), "-f", "null", "-progress", "pipe:1", "-"],
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)
    times = [line.partition("=")[2] for line in done.stdout.splitlines() if line.startswith("out_time_us=")]
    if done.returncode != 0 or not times or times[-1] == "N/A":
        raise Broken(f"{file.name} cannot be decoded: {done.stderr.strip()[-200:]}")
    return int(times[-1]) / 1e6


def killed(world, count):
    """kill -9 at random times: after the start, within fragments and within checkpoints."""
    dice = random.Random(20)
    worst = 0.0
    for number in range(count):
        moment = dice.uniform(2.6, 9)
        recording = world.record()
        recording.wait_until(moment)
        recording.process.kill()
        lasted = recording.lasted()
        recording.end()
        worst = max(worst, lasted - recording.check(lasted, recovers=True))
        shutil.rmtree(recording.folder)
        say(f"killed {number + 1} of {count}, at most {worst:.2f} s lost")
    return Row("Proceso muerto (kill −9) en un momento al azar", count, "«Por recuperar»; recuperado", f"falta como mucho {worst:.2f} s")


def ended_by_itself(world, fault, act, *options, after=4.0, prefix=()):
    """A fault that ends the recording: orvo reports it and the project is ready."""
    recording = world.record(*options, prefix=prefix)
    recording.wait_until(after)
    act(recording)
    lasted = recording.lasted()
    _, text = recording.end()
    if recording.process.returncode != 1 or not text:
        raise Broken(f"ended with {recording.process.returncode}: {text}")
    recovers = recording.document()["state"] != "ready"
    kept = recording.check(lasted, recovers)
    return Row(fault, 1, f"«{text}»" + ("; recuperado" if recovers else "; listo"), f"{kept:.1f} de {lasted:.1f} s")


def went_on(world, fault, act, seen, *options, stopped=0, prefix=()):
    """A fault that the recording survives."""
    recording = world.record(*options, prefix=prefix)
    recording.wait_until(4)
    act(recording)
    recording.wait_until(recording.lasted() + 3)
    lasted = recording.lasted()
    _, text = recording.end(signal.SIGINT)
    if recording.process.returncode != 0:
        raise Broken(text)
    kept = recording.check(lasted, recovers=False, stopped=stopped)
    return Row(fault, 1, seen, f"{kept:.1f} de {lasted:.1f} s")


def refused(world, fault, *options, prefix=(), **variables):
    """A recording that cannot start: orvo reports why and leaves nothing behind."""
    before = world.ids()
    done = world.run(*prefix, ORVO, "record", "--seconds", "2", *options, check=False, **variables)
    if done.returncode != 1:
        raise Broken(f"ended with {done.returncode}")
    states = [json.loads((world.library / name / "project.json").read_text())["state"] for name in world.ids() - before]
    if any(state != "needs-recovery" for state in states):
        raise Broken(f"left {states}")
    for name in world.ids() - before:
        shutil.rmtree(world.library / name)
    return Row(fault, 1, f"«{told(done.stderr)}»", "no empieza")


@contextlib.contextmanager
def library_at(world, folder):
    library = world.library
    world.library = folder
    world.environment["ORVO_LIBRARY"] = str(folder)
    try:
        yield
    finally:
        world.library = library
        world.environment["ORVO_LIBRARY"] = str(library)


def mounted(*words):
    """Mounts a file system. Returns whether it succeeded; it needs privileges."""
    return subprocess.run(["mount", *words], stderr=subprocess.DEVNULL, check=False).returncode == 0


def full_disk(world):
    """A separate file system with little space."""
    disk = world.folder / "disk"
    disk.mkdir()
    if not mounted("-t", "tmpfs", "-o", "size=64m", "tmpfs", disk):
        return None
    try:
        with library_at(world, disk / "library"):
            return ended_by_itself(world, "Disco que se llena", lambda _: (disk / "ballast").write_bytes(bytes(20 << 20)))
    finally:
        subprocess.run(["umount", "-l", disk], check=False)


def power_cut(world, count):
    """A separate file system that is shut down without flushing its journal, and mounted again."""
    image, disk = world.folder / "disk.ext4", world.folder / "disk"
    dice = random.Random(30)
    worst = 0.0
    disk.mkdir()
    for number in range(count):
        with image.open("wb") as file:
            file.truncate(256 << 20)
        subprocess.run(["mkfs.ext4", "-q", "-F", image], check=True)
        if not mounted("-o", "loop", image, disk):
            return None
        try:
            with library_at(world, disk / "library"):
                recording = world.record()
                recording.wait_until(dice.uniform(4, 9))
                shut_down(disk)
                recording.process.kill()
                lasted = recording.lasted()
                recording.end()
                subprocess.run(["umount", "-l", disk], check=True)
                if not mounted("-o", "loop", image, disk):
                    raise Broken("the file system cannot be mounted again")
                worst = max(worst, lasted - recording.check(lasted, recovers=True))
        finally:
            subprocess.run(["umount", "-l", disk], check=False)
        say(f"power cut {number + 1} of {count}, at most {worst:.2f} s lost")
    return Row("Corte de corriente: se pierde lo que el sistema no había escrito", count, "«Por recuperar»; recuperado",
               f"falta como mucho {worst:.2f} s")


def shut_down(disk):
    """EXT4_IOC_SHUTDOWN with EXT4_GOING_FLAGS_NOLOGFLUSH: no further writes reach the device."""
    folder = os.open(disk, os.O_RDONLY)
    try:
        fcntl.ioctl(folder, 0x8004587D, struct.pack("I", 2))
    finally:
        os.close(folder)


def clock_changed(world):
    """The time of day jumps an hour ahead, then back to the day before."""
    (library,) = Path("/usr/lib").glob("*/faketime/libfaketime.so.1")
    clock = world.folder / "clock"
    clock.write_text("+0")

    def change(recording):
        clock.write_text("+3600")
        recording.wait_until(recording.lasted() + 2)
        clock.write_text("-86400")
    # The monotonic clock is unaffected, as when a real clock is set.
    prefix = ("env", f"LD_PRELOAD={library}", f"FAKETIME_TIMESTAMP_FILE={clock}", "FAKETIME_NO_CACHE=1", "DONT_FAKE_MONOTONIC=1")
    return went_on(world, "Reloj cambiado, una hora adelante y un día atrás", change, "sigue", prefix=prefix)


def suspended(recording):
    recording.process.send_signal(signal.SIGSTOP)
    time.sleep(20)
    recording.process.send_signal(signal.SIGCONT)


def without_encoder(world):
    """GStreamer without x264."""
    plugins = world.folder / "plugins"
    plugins.mkdir()
    installed = Path(subprocess.run(["pkg-config", "--variable=pluginsdir", "gstreamer-1.0"], stdout=subprocess.PIPE, text=True,
                                    check=True).stdout.strip())
    for plugin in installed.glob("*.so"):
        if plugin.name != "libgstx264.so":
            (plugins / plugin.name).symlink_to(plugin)
    return {"GST_PLUGIN_SYSTEM_PATH_1_0": str(plugins), "GST_REGISTRY_1_0": str(world.folder / "registry.bin")}


def main():
    options = argparse.ArgumentParser(prog="./dev faults", description=__doc__)
    options.add_argument("--only", default="", help="only the faults whose English name contains this; writes no table")
    options.add_argument("--kills", type=int, default=40, help="how often the process is killed (default: 40)")
    chosen = options.parse_args()
    rows, failures = [], []

    def attempt(name, fault):
        if chosen.only not in name:
            return
        say(name)
        with tempfile.TemporaryDirectory(prefix="orvo-faults-") as folder:
            world = World(folder)
            try:
                row = fault(world)
                if row:
                    rows.append(row)
            except (Broken, subprocess.TimeoutExpired, OSError) as reason:
                failures.append(f"{name}: {reason}")
                say(f"{name}: FAILED, {reason}")
            finally:
                world.close()

    attempt("killed", lambda world: killed(world, chosen.kills))
    attempt("largest file reached", lambda world: ended_by_itself(
        world, "Archivo que no puede crecer más (como un disco lleno)", lambda recording: recording.process.wait(60), "--no-microphone",
        after=1.0, prefix=("sh", "-c", 'trap "" XFSZ; ulimit -f 200; exec "$@"', "sh")))
    attempt("full disk", full_disk)
    attempt("power cut", lambda world: power_cut(world, min(chosen.kills, 10)))
    attempt("clock changed", clock_changed)
    attempt("read-only library", lambda world: refused(world, "Biblioteca de solo lectura", ORVO_LIBRARY="/proc/sys/library"))
    attempt("encoder missing", lambda world: refused(world, "Sin codificador de vídeo", **without_encoder(world)))
    attempt("no audio server", lambda world: refused(world, "Sin servidor de sonido", PULSE_SERVER="unix:/nowhere"))

    def restart_audio(world):
        world.sound.end_server()
        time.sleep(2)
        world.sound.start_server()
    attempt("audio server restarted", lambda world: went_on(
        world, "Servidor de sonido reiniciado", lambda _: restart_audio(world), "silencio mientras falta; después sigue"))
    attempt("display ended", lambda world: ended_by_itself(
        world, "Servidor gráfico terminado", lambda _: world.display.close()))
    attempt("window closed", lambda world: ended_by_itself(
        world, "Ventana cerrada", lambda _: world.pattern.kill(), "--source",
        json.loads(world.run(ORVO, "sources", "--json").stdout)["windows"][0]["id"]))

    def unplug(world):
        world.run("xrandr", "--setmonitor", "left", "640/100x720/100+0+0", "screen")
        world.run("xrandr", "--setmonitor", "right", "640/100x720/100+640+0", "none")
        source = json.loads(world.run(ORVO, "sources", "--json").stdout)["displays"][1]["id"]
        return ended_by_itself(world, "Pantalla desconectada", lambda _: world.run("xrandr", "--delmonitor", "right"), "--source", source)

    attempt("display unplugged", unplug)
    attempt("suspended", lambda world: went_on(
        world, "Proceso parado 20 s (como al suspender)", suspended, "sigue; el hueco es silencio e imagen fija", stopped=20))

    if chosen.only:
        print(*rows, sep="\n")
    else:
        write(ROOT / "docs/recording-faults.md", rows)
    for failure in failures:
        print(failure, file=sys.stderr)
    raise SystemExit(1 if failures else 0)


def write(file, rows):
    text = ["# Faults during a recording", "",
            "Written by `./dev faults`: real recordings of a 1280×720 display with microphone and system audio, on a machine without a",
            "graphics card. After each fault it decodes every track, compares the document and the pointer log, recovers the project if",
            "needed, validates it and exports it. At most the last 2.5 seconds before a fault may be lost.", "",
            "| Fault | Times | What the user sees | Kept |", "|---|---:|---|---|"]
    text += [f"| {row.fault} | {row.times} | {row.seen} | {row.kept} |" for row in rows]
    text += ["", "The tests cover the rest: a display that is resized, a camera that is unplugged and plugged in again, a desktop that stops",
             "sharing, and the end of its compositor.", ""]
    file.write_text("\n".join(text))


def say(text):
    print(f"faults: {text}", file=sys.stderr, flush=True)


if __name__ == "__main__":
    main()
