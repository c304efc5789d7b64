"""Exports by orvo, compared with ffmpeg's plain transcode of the same screen file and with melt."""

import json
import os
import shutil
import subprocess
from dataclasses import replace
from xml.sax.saxutils import quoteattr

from orvobench import document, material, measure
from orvobench.document import Edit
from orvobench.lesson import HEIGHT, WIDTH
from orvobench.material import FPS
from orvobench.table import Row

EFFECTS = {"zooms": 6, "texts": 4, "camera": True}
MEMORY = 1.3  # Maximum ratio to the plain transcode.
# Maximum ratios of wall time to encoding the finished frames again.
TIME_OF_CUTS, TIME_OF_EFFECTS, TIME_OF_SHARPENING, TIME_OF_PUBLICATION = 1.08, 1.35, 1.5, 1.6
OWN_SHARE, OWN_MEMORY = 1.0, 50.0  # Maximum outside ffmpeg: per cent of an export's time, and MB.
SECOND_EXPORT = 0.15  # Maximum ratio to the first one.
LARGER, SIMILAR = 1.1, 0.99  # A film in pieces against the whole film: maximum size ratio, minimum similarity per frame.
GROWTH = 1.1  # Maximum ratio of the cost per frame in a recording twelve times as long.


def install(programs, folder):
    """Copies the built command into a separate folder, with bench_ffmpeg in place of ffmpeg to log its times."""
    helpers = folder / "OrvoVideo.app/Contents/Helpers"
    for path in (helpers, folder / "bin"):
        path.mkdir(parents=True)
    shutil.copy(programs / "orvo", folder / "bin/orvo")
    shutil.copy(programs / "bench_ffmpeg", helpers / "ffmpeg")
    (helpers / "ffprobe").symlink_to(shutil.which("ffprobe"))


class Exporter:
    """The built command in a separate folder, with a library."""

    def __init__(self, programs, folder):
        self.folder = folder
        shutil.rmtree(folder, ignore_errors=True)
        install(programs, folder)
        (folder / "library").mkdir()
        self.target = folder / "ours.mp4"
        self.environment = {"ORVO_LIBRARY": str(folder / "library"), "XDG_CACHE_HOME": str(folder / "cache")}

    def add(self, recording, edit):
        """Adds a project to the library. Returns its identifier."""
        project = document.document(recording, edit)
        folder = document.write(self.folder / "library", project)
        document.add_media(folder, (*recording.files, *document.images(self.folder / "images", edit.images)))
        return project["id"]

    def run(self, identifier, cores=None, options=(), keep=False):
        """Exports a project on the given cores, or on all. Removes pieces of earlier exports unless `keep`. Returns the cost and
        the number of frames."""
        self.target.unlink(missing_ok=True)  # Otherwise the export would reuse it.
        if not keep:
            shutil.rmtree(self.folder / "cache", ignore_errors=True)
        limit = ["taskset", "-c", ",".join(map(str, cores))] if cores else []
        cost = measure.run([*limit, self.folder / "bin/orvo", "export", identifier, self.target, "--json", *options],
                           self.folder / "runs.jsonl", **self.environment)
        return cost, _frames(self.target)

    def correct(self, identifier):
        """Moves the start of the middle cut of a project by a fraction of a frame."""
        file = self.folder / "library" / identifier / "project.json"
        project = json.loads(file.read_text())
        cuts = project["edit"]["cuts"]
        cuts[len(cuts) // 2]["start"] -= 0.137
        file.write_text(json.dumps(project, indent=2, sort_keys=True, ensure_ascii=False))

    def package(self, identifier):
        """Renders and packages a project as a publication does. Returns the cost."""
        (self.folder / "ours.mp4").unlink(missing_ok=True)
        target = self.folder / "package"
        for left in (target, self.folder / "cache"):
            shutil.rmtree(left, ignore_errors=True)
        return measure.run([self.folder / "bin/orvo", "package", identifier, target, "--json"], **self.environment)


def plain_transcode(recording, encoder, folder):
    """Transcodes screen and microphone with ffmpeg alone."""
    target = folder / "plain.mp4"
    cost = measure.run(["ffmpeg", "-hide_banner", "-y", "-nostdin", "-i", recording.screen, "-i", recording.microphone,
                        "-map", "0:v", "-map", "1:a", *encoder, target])
    return cost, _frames(target)


def same_frames(encoder, folder):
    """Transcodes the export with ffmpeg alone: the cost of its frames and audio without a graph."""
    source, target = folder / "ours.mp4", folder / "again.mp4"
    cost = measure.run(["ffmpeg", "-hide_banner", "-y", "-nostdin", "-i", source, "-map", "0:v", "-map", "0:a", *encoder, target])
    return cost, _frames(target)


def melt(recording, cuts, encoder, folder):
    """Renders the same spans of screen and microphone with melt and the same encoder settings."""
    target = folder / "melt.mp4"
    script = folder / "melt.mlt"
    script.write_text(_melt_script(recording, document.kept_of(recording.seconds, cuts)))
    options = dict(zip(encoder[::2], encoder[1::2]))
    names = {"-c:v": "vcodec", "-preset": "preset", "-b:v": "vb", "-pix_fmt": "pix_fmt", "-qmin": "qmin",
             "-c:a": "acodec", "-ar": "ar", "-b:a": "ab", "-movflags": "movflags"}
    settings = [f"{name}={options[option]}" for option, name in names.items() if option in options]
    cost = measure.run(["melt", "-silent", script, "-consumer", f"avformat:{target}", "real_time=-2", *settings])
    return cost, _frames(target)


def rows(programs, folder, cache, seconds, runs, long, say):
    """Runs `runs` rounds of all variants. Returns the rows of the table."""
    recording = material.recording(cache, seconds)
    exporter = Exporter(programs, folder)
    few, usual, many = numbers_of_cuts(seconds)
    effects = Edit(cuts=usual, **EFFECTS)
    variants = {
        f"cuts alone, {few}": (Edit(cuts=few), None),  # `cuts` has the times, because their targets need several rounds.
        f"cuts alone, {usual}": (Edit(cuts=usual), None),
        f"cuts alone, {many}": (Edit(cuts=many), None),
        f"every effect but sharpening, {usual} cuts": (effects, TIME_OF_EFFECTS),
        f"every effect, sharpening and two images, {usual} cuts": (replace(effects, sharpen=True, images=2), TIME_OF_SHARPENING),
    }
    pieces = Pieces()
    scaling = {1: [], 2: []}
    cores = sorted(os.sched_getaffinity(0))
    costs = {name: [] for name in ("plain", "melt", *variants)}
    again = {name: [] for name in variants}
    encoder = None
    for number in range(runs):
        for name, (edit, _) in variants.items():
            say(f"round {number + 1} of {runs}: {name}")
            identifier = exporter.add(recording, edit)
            costs[name].append(exporter.run(identifier))
            encoder = encoder or _encoder_of(costs[name][-1][0])
            again[name].append(same_frames(encoder, folder))
        say(f"round {number + 1} of {runs}: a corrected cut")
        identifier = exporter.add(recording, effects)
        pieces.measure(exporter, identifier)
        if len(cores) > 1:
            say(f"round {number + 1} of {runs}: one core and two")
            for count, walls in scaling.items():
                cost, frames = exporter.run(identifier, cores[:count])
                walls.append(cost.wall * 1000 / frames)
        say(f"round {number + 1} of {runs}: plain transcode")
        costs["plain"].append(plain_transcode(recording, encoder, folder))
        say(f"round {number + 1} of {runs}: melt")
        costs["melt"].append(melt(recording, document.cuts_of(seconds, usual), encoder, folder))

    result = []
    for name, (_, target) in variants.items():
        result += _against(f"export, {name}", costs[name], costs["plain"], "plain transcode", None)
        if target:
            result.append(_per_frame(f"export, {name}: time a frame", costs[name], again[name], "same frames", "wall", target))
        result.append(_per_frame(f"export, {name}: processor time a frame", costs[name], again[name], "same frames", "cpu", None))
        result.append(_per_frame(f"export, {name}: its frames encoded again, processor time a frame", again[name], costs["plain"],
                                 "plain transcode", "cpu", None))
    result += _against_melt(f"export, cuts alone, {usual}", costs[f"cuts alone, {usual}"], costs["melt"])
    result += _own_share([cost for name in variants for cost, _ in costs[name]])
    result += pieces.rows()
    if scaling[1]:
        result += _scaling(scaling[1], scaling[2])
    result += _with_film(Exporter(programs, folder / "film"), material.with_film(cache, recording), (few, usual, many), encoder,
                         runs, say)
    if long:
        result += _growth(exporter, material.repeated(cache, recording, 12), usual, costs[f"cuts alone, {usual}"], say)
    shutil.rmtree(folder)
    return result


def numbers_of_cuts(seconds):
    return 1, max(2, seconds // 6), max(4, seconds * 2 // 3)


def cuts(programs, folder, cache, seconds, runs, say):
    """The time of exports with cuts alone beside encoding their frames again. Returns the rows of the table."""
    recording = material.recording(cache, seconds)
    exporter = Exporter(programs, folder)
    encoder = None
    result = {count: [] for count in numbers_of_cuts(seconds)}
    for number in range(runs):
        for count, costs in result.items():
            say(f"round {number + 1} of {runs}: {count} cuts")
            ours = exporter.run(exporter.add(recording, Edit(cuts=count)))
            encoder = encoder or _encoder_of(ours[0])
            costs.append((ours, same_frames(encoder, folder)))
    shutil.rmtree(folder)
    return [_per_frame(f"export, cuts alone, {count}: {what} a frame", *map(list, zip(*costs)), "same frames", figure, target)
            for count, costs in result.items()
            for what, figure, target in (("time", "wall", TIME_OF_CUTS), ("processor time", "cpu", None))]


def publication(programs, folder, cache, seconds, runs, say):
    """A publication without the upload beside the export of its film. Returns the rows of the table."""
    recording = material.recording(cache, seconds)
    exporter = Exporter(programs, folder)
    _, usual, _ = numbers_of_cuts(seconds)
    ours, alone = [], []
    for number in range(runs):
        say(f"round {number + 1} of {runs}: publication")
        identifier = exporter.add(recording, Edit(cuts=usual, **EFFECTS))
        ours.append(exporter.package(identifier))
        alone.append(exporter.run(identifier)[0])
    shutil.rmtree(folder)
    return [Row(f"publication with every effect, render and three steps: {what}", unit,
                [getattr(cost, figure) for cost in ours], [getattr(cost, figure) for cost in alone], "the render alone",
                at_most=target)
            for what, unit, figure, target in (("time", "s", "wall", TIME_OF_PUBLICATION),
                                               ("processor time", "s", "cpu", None), ("peak memory", "MB", "peak", None))]


class Pieces:
    """A film in pieces: exported again after one corrected cut, and compared with the film rendered whole."""

    def __init__(self):
        self.first, self.second, self.sizes, self.similarities = [], [], [], []

    def measure(self, exporter, identifier):
        self.first.append(exporter.run(identifier)[0])
        whole = exporter.folder / "whole.mp4"
        exporter.target.rename(exporter.folder / "pieces.mp4")
        exporter.run(identifier, options=["--whole"], keep=True)
        exporter.target.rename(whole)
        self.sizes.append([film.stat().st_size / 1e6 for film in (exporter.folder / "pieces.mp4", whole)])
        self.similarities.append(_similarity(exporter.folder / "pieces.mp4", whole))
        exporter.correct(identifier)
        self.second.append(exporter.run(identifier, keep=True)[0])

    def rows(self):
        def values(costs, figure):
            return [getattr(cost, figure) for cost in costs]

        result = [Row(f"second export after one corrected cut, every effect: {what}", "s", values(self.second, figure),
                      values(self.first, figure), "the first one", at_most=SECOND_EXPORT)
                  for what, figure in (("time", "wall"), ("processor time", "cpu"))]
        ours, theirs = map(list, zip(*self.sizes))
        result.append(Row("film in pieces, every effect: size", "MB", ours, theirs, "the whole film", at_most=LARGER))
        result.append(Row("film in pieces, every effect: least structural similarity of a frame to the whole film", "",
                          self.similarities, at_least=SIMILAR))
        return result


def _similarity(film, other):
    """The minimum structural similarity of corresponding frames."""
    figures = film.with_suffix(".ssim")
    subprocess.run(["ffmpeg", "-v", "error", "-i", film, "-i", other, "-filter_complex",
                    f"[0:v][1:v]ssim=stats_file={figures}", "-f", "null", "-"], check=True)
    return min(float(line.split("All:")[1].split()[0]) for line in figures.read_text().splitlines())


def _with_film(exporter, recording, counts, encoder, runs, say):
    """Cuts alone of a screen with much motion: its frames cost more to encode, but the same to filter."""
    costs = {count: [] for count in counts}
    plain = []
    for number in range(runs):
        for count in counts:
            say(f"round {number + 1} of {runs}: a film on the screen, {count} cuts")
            costs[count].append(exporter.run(exporter.add(recording, Edit(cuts=count))))
        say(f"round {number + 1} of {runs}: a film on the screen, plain transcode")
        plain.append(plain_transcode(recording, encoder, exporter.folder))
    return [_per_frame(f"export, a film on the screen, cuts alone, {count}: processor time a frame", costs[count], plain,
                       "plain transcode", "cpu", None) for count in counts]


def _scaling(one, two):
    """The gain of a second core, and from it an estimate for eight cores by Amdahl's law."""
    def estimate(single, double):
        parallel = min(1.0, max(0.0, 2 * (1 - double / single)))
        return single * (1 - parallel + parallel / 8)

    name = "export with every effect"
    return [Row(f"{name}, two cores: time a frame", "ms", two, one, "one core"),
            Row(f"{name}, eight cores (estimate from one and two): time a frame", "ms", list(map(estimate, one, two)))]


def _against(name, ours, theirs, peer, cpu_target):
    return [
        _per_frame(f"{name}: processor time a frame", ours, theirs, peer, "cpu", cpu_target),
        _per_frame(f"{name}: time a frame", ours, theirs, peer, "wall", None),
        Row(f"{name}: peak memory", "MB", [cost.peak for cost, _ in ours], [cost.peak for cost, _ in theirs], peer,
            at_most=MEMORY),
    ]


def _against_melt(name, ours, theirs):
    return [_per_frame(f"{name}: {what} a frame", ours, theirs, "melt", figure, 1.0)
            for what, figure in (("time", "wall"), ("processor time", "cpu"))]


def _per_frame(name, ours, theirs, peer, figure, target):
    def values(costs):
        return [getattr(cost, figure) * 1000 / frames for cost, frames in costs]

    return Row(name, "ms", values(ours), values(theirs), peer, at_most=target)


def _own_share(costs):
    shares = [100 * (cost.wall - cost.ffmpeg_wall()) / cost.wall for cost in costs]
    return [
        Row("export, outside ffmpeg: share of the time", "%", shares, limit=OWN_SHARE),
        Row("export, outside ffmpeg: peak memory", "MB", [max(cost.own_peak for cost in costs)], limit=OWN_MEMORY),
    ]


def _growth(exporter, recording, cuts, short, say):
    """Exports the lesson repeated twelve times, with twelve times as many cuts."""
    count = 12 * cuts
    say(f"{recording.seconds} seconds with {count} cuts")
    long = [exporter.run(exporter.add(recording, Edit(cuts=count)))]
    name = f"export of {recording.seconds // 60} minutes, {count} cuts"
    peer = f"{recording.seconds // 12} s, {cuts} cuts"
    return [
        _per_frame(f"{name}: processor time a frame", long, short, peer, "cpu", GROWTH),
        _per_frame(f"{name}: time a frame", long, short, peer, "wall", GROWTH),
        Row(f"{name}: peak memory", "MB", [cost.peak for cost, _ in long], [cost.peak for cost, _ in short], peer,
            at_most=MEMORY),
    ]


def _encoder_of(cost):
    """The export's encoder settings for video and audio, for the peers."""
    video = next(run["arguments"] for run in cost.ffmpeg_runs if "-c:v" in run["arguments"] and "-progress" in run["arguments"])
    start = video.index("-c:v")
    settings = video[start : min(video.index(word, start) for word in ("-c:a", "-progress") if word in video)]
    if settings[1] != "libx264":
        raise SystemExit(f"orvo encodes with {settings[1]} here; the peers are set up for libx264")
    for own in ("-force_key_frames", "-threads"):  # They depend on the pieces.
        if own in settings:
            at = settings.index(own)
            del settings[at : at + 2]
    settings += ["-force_key_frames", "expr:gte(t,n_forced*6)"]
    audio = next(run["arguments"] for run in cost.ffmpeg_runs if "aac" in run["arguments"])
    settings += audio[audio.index("-c:a") : audio.index("-t", audio.index("-c:a"))]
    return settings


def _melt_script(recording, spans):
    def playlist(name, file):
        entries = "".join(f'<entry producer="{name}" in="{round(start * FPS)}" out="{round(end * FPS) - 1}"/>'
                          for start, end in spans)
        return (f'<producer id="{name}" out="{recording.seconds * FPS - 1}"><property name="resource">{file}</property>'
                f'</producer><playlist id="{name}s">{entries}</playlist>')

    return (f'<mlt root={quoteattr(str(recording.folder))}><profile width="{WIDTH}" height="{HEIGHT}" progressive="1"'
            f' sample_aspect_num="1" sample_aspect_den="1" display_aspect_num="16" display_aspect_den="9"'
            f' frame_rate_num="{FPS}" frame_rate_den="1" colorspace="709"/>'
            f'{playlist("screen", recording.screen)}{playlist("microphone", recording.microphone)}'
            '<tractor><track producer="screens"/><track producer="microphones" hide="video"/>'
            '<transition><property name="mlt_service">mix</property><property name="a_track">0</property>'
            '<property name="b_track">1</property><property name="always_active">1</property>'
            '<property name="sum">1</property></transition></tractor></mlt>')


def _frames(file):
    words = ["ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries", "stream=nb_frames", "-of", "csv=p=0", file]
    return int(subprocess.run(words, check=True, stdout=subprocess.PIPE, text=True).stdout)
