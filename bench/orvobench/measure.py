"""Runs whole programs and tells what they cost: time, processor time and memory of the program with all its children."""

import json
import os
import subprocess
import threading
import time
from dataclasses import dataclass, field
from pathlib import Path

SAMPLE_INTERVAL = 0.05  # Seconds between two looks at the memory of a running program.


@dataclass
class Cost:
    """What one run took. Memory is in MB, resident; what processes share is divided among them."""

    wall: float
    cpu: float  # User and system time of the program and of every child it waited for.
    peak: float  # Largest sum over the whole process tree at one time.
    own_peak: float  # Largest size of the program itself, without its children.
    ffmpeg_runs: list = field(default_factory=list)  # As bench_ffmpeg noted them, where it stood in ffmpeg's place.
    private: list = field(default_factory=list)  # Memory that is in no file, of the whole tree, one look after the other.

    def ffmpeg_wall(self):
        """Time in which a run that works on media is under way, or several are; asking for the version is not one of them."""
        spent, reached = 0.0, 0.0
        for run in sorted(self.ffmpeg_runs, key=lambda run: run["begin"]):
            if "-version" not in run["arguments"]:
                spent += max(0.0, run["end"] - max(run["begin"], reached))
                reached = max(reached, run["end"])
        return spent


def run(command, log=None, **environment):
    """Runs a command to its end. With `log`, the runs noted in that file by bench_ffmpeg are read and the file is removed."""
    if log:
        log.unlink(missing_ok=True)
        environment["ORVO_BENCH_FFMPEG_LOG"] = str(log)
    begin = time.monotonic()
    with subprocess.Popen([str(word) for word in command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, env={**os.environ, **environment}) as process:
        sampler = _Sampler(process.pid)
        output = process.stdout.read()
        _, status, usage = os.wait4(process.pid, 0)
        wall = time.monotonic() - begin
        process.returncode = os.waitstatus_to_exitcode(status)
        sampler.stop()
    if process.returncode != 0:
        raise SystemExit(f"{command[0]} ended with status {process.returncode}:\n{output[-3000:].decode(errors='replace')}")
    runs = [json.loads(line) for line in log.read_text().splitlines()] if log and log.exists() else []
    return Cost(wall, usage.ru_utime + usage.ru_stime, sampler.peak, sampler.own_peak, runs, sampler.private)


class _Sampler:
    """Looks at the resident memory of a process tree until stopped."""

    def __init__(self, root):
        self.peak = self.own_peak = 0.0
        self.private = []
        self._root = root
        self._done = threading.Event()
        self._thread = threading.Thread(target=self._watch, daemon=True)
        self._thread.start()

    def stop(self):
        self._done.set()
        self._thread.join()

    def _watch(self):
        while not self._done.is_set():
            looks = [_memory(pid) for pid in _tree(self._root)]
            self.private.append(sum(private for _, private in looks))
            self.peak = max(self.peak, sum(resident for resident, _ in looks))
            self.own_peak = max(self.own_peak, high_water_mark(self._root))
            self._done.wait(SAMPLE_INTERVAL)


def _tree(root):
    found = [root]
    for pid in found:
        try:
            threads = list(Path(f"/proc/{pid}/task").glob("*/children"))
        except OSError:
            continue  # The process ended meanwhile.
        for children in threads:
            try:
                found += map(int, children.read_text().split())
            except OSError:
                pass  # The thread ended meanwhile.
    return found


def _memory(pid):
    """Its share of the resident memory, where a page that several processes map counts in equal parts for each, and what of it
    is in no file. In MB."""
    try:
        lines = Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines()[1:]
    except OSError:
        return 0.0, 0.0  # The process ended meanwhile.
    sizes = {name: int(size.split()[0]) * 1024 / 1e6 for name, size in (line.split(":") for line in lines)}
    return sizes.get("Pss", 0.0), sizes.get("Anonymous", 0.0)


def high_water_mark(pid):
    """The largest resident memory that a process has had, in MB."""
    try:
        for line in Path(f"/proc/{pid}/status").read_text().splitlines():
            if line.startswith("VmHWM:"):
                return int(line.split()[1]) * 1024 / 1e6
    except OSError:
        pass
    return 0.0
