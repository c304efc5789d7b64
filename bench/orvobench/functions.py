"""Functions of VideoCore, measured by bench_core in one process, interleaved with the peers."""

import json
import subprocess

from orvobench.table import Row

UNITS = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}  # Factors to milliseconds.


def rows(programs, runs, quick, say):
    """Runs each function `runs` times, in random order."""
    say("documents, library and timeline")
    words = [programs / "bench_core", f"--benchmark_repetitions={runs}", "--benchmark_enable_random_interleaving=true",
             f"--benchmark_min_time={0.05 if quick else 0.5}s", "--benchmark_format=json"]
    output = subprocess.run(words, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True).stdout
    times = {}
    for run in json.loads(output)["benchmarks"]:
        if run["run_type"] == "iteration":
            # Wall time for the library, which several threads read; processor time elsewhere.
            figure = run["real_time" if "real_time" in run["name"] else "cpu_time"] * UNITS[run["time_unit"]]
            times.setdefault(run["name"].split("/process_time")[0], []).append(figure)

    def row(what, name, peer="", peer_name="", **target):
        return Row(what, "ms", times[name], times[peer] if peer else [], peer_name, **target)

    hour, many = "document of one hour", "9,000 words, 2,000 cuts"
    return [
        row(f"{hour}: decode", "decode", "decodeUntyped", "yyjson, untyped", at_most=3),
        row(f"{hour}: decode", "decode", "decodeNlohmann", "nlohmann/json", at_most=1 / 5),
        row(f"{hour}: encode", "encode", "encodeUntyped", "yyjson, untyped", at_most=3),
        row(f"{hour}: encode", "encode", "encodeNlohmann", "nlohmann/json", at_most=1 / 5),
        row("library of 1,000 projects: list", "list", "listUntyped", "yyjson, untyped, one thread", limit=2000),
        row(f"merged, {many}", "merged"),
        row(f"kept, {many}", "kept"),
        row(f"output time of one word, {many}", "outputTime"),
        row(f"output time of every word, {many}", "outputTimeOfAllWords"),
        row("subtitles of one hour, 9,000 words, 300 cuts", "subtitles/oneHour", limit=50),
        row(f"subtitles, {many}", "subtitles/manyCuts", limit=50),
        row("subtitles, twice the words and cuts", "subtitles/twiceAsMany", "subtitles/manyCuts", "half of them", at_most=2.5),
    ]
