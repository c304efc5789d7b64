"""Runs whole programs and measures wall time, processor time and memory, including all children."""

import json
import os
import subprocess
import threading
import time
from dataclasses import dataclass, field
from pathlib import Path

SAMPLE_INTERVAL = 0.1  # Seconds between two samples of the memory.
GROWTH = 1.01  # Growth of the anonymous memory from which shared pages are counted again.


@dataclass
class Cost:
    """The cost of one run. Memory is resident, in MB; shared pages are divided among their processes."""

    wall: float
    cpu: float  # User and system time in seconds, including awaited children.
    peak: float  # Maximum of the sum over the process tree.
    own_peak: float  # Maximum of the program itself, without its children.
    ffmpeg_runs: list = field(default_factory=list)  # The log of bench_ffmpeg, if it replaced ffmpeg.
    private: list = field(default_factory=list)  # Anonymous memory of the tree, one value per sample.

    def ffmpeg_wall(self):
        """The time during which at least one ffmpeg run works, not counting version queries."""
        spent, reached = 0.0, 0.0
        for run in sorted(self.ffmpeg_runs, key=lambda run: run["begin"]):
            if "-version" not in run["arguments"]:
                spent += max(0.0, run["end"] - max(run["begin"], reached))
                reached = max(reached, run["end"])
        return spent


def run(command, log=None, **environment):
    """Runs a command to its end. With `log`, includes the runs that bench_ffmpeg logs to that file."""
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
    """Samples the memory of a process tree until stopped."""

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
        # Dividing shared pages among processes takes the kernel milliseconds, which the processes lose: only at a new peak.
        most = 0.0
        while not self._done.is_set():
            tree = _tree(self._root)
            self.private.append(sum(_status(pid).get("RssAnon", 0.0) for pid in tree))
            if self.private[-1] > most * GROWTH:
                most = self.private[-1]
                self.peak = max(self.peak, sum(map(_proportional, tree)))
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


def _proportional(pid):
    """The resident memory of a process, in which shared pages are divided among their processes, in MB."""
    return _sizes(f"/proc/{pid}/smaps_rollup").get("Pss", 0.0)


def _status(pid):
    return _sizes(f"/proc/{pid}/status")


def high_water_mark(pid):
    """The maximum resident memory of a process so far, in MB."""
    return _status(pid).get("VmHWM", 0.0)


def _sizes(file):
    """The sizes in a file of /proc, in MB by name. Empty if the process has ended."""
    try:
        lines = Path(file).read_text().splitlines()
    except OSError:
        return {}
    words = [line.split() for line in lines if line.endswith(" kB")]
    return {name.rstrip(":"): int(size) * 1024 / 1e6 for name, size, _ in words}
