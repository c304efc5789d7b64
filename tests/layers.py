#!/usr/bin/env python3
"""Checks the dependencies in docs/architecture.md: which folders the sources of a folder can include.

layers.py BUILD_FOLDER

Reads the include paths of each compiler command, so that a forbidden link fails even before a source includes one of its headers.
Also checks that the compiler rejects some includes across layers.
"""

import json
import re
import subprocess
import sys
from pathlib import Path

WINDOWS = r"OrvoVideo/(ui|editor|help|recorder|settings|shell)\b"

# Sources in the first folder must not see the second; "\1" is the folder itself.
FORBIDDEN = [
    (r"VideoCore", r"(?!VideoCore).*"),
    (r"VideoMedia", r"(?!VideoCore|VideoMedia).*"),
    (r"Platform/workspace", r"OrvoVideo|OrvoServer|OrvoBridge|cli"),
    (r"Platform/(?!workspace)\w+", r"VideoMedia|OrvoVideo|OrvoServer|OrvoBridge|cli"),
    (r"(OrvoVideo/(?:capture|playback|transcription|publishing|library))", r"OrvoVideo/(?!gstreamer\b)(?!\1\b)|OrvoServer|OrvoBridge|cli"),
    (r"OrvoVideo/gstreamer", r"VideoMedia|Platform|OrvoVideo/(?!gstreamer\b)|OrvoServer|OrvoBridge|cli"),
    (r"OrvoVideo/equipment", r"OrvoVideo/(?!equipment\b|capture\b|transcription\b)|OrvoServer|OrvoBridge|cli"),
    (r"OrvoVideo/(?:model|preview)", WINDOWS + r"|OrvoServer|OrvoBridge|cli"),
    (r"(OrvoVideo/ui)", r"OrvoVideo/(?!ui\b)|OrvoServer|OrvoBridge|cli"),
    (r"(OrvoVideo/(?:editor|recorder|settings))", r"OrvoVideo/(?:editor|help|recorder|settings|shell)\b(?<!\1)|OrvoServer|OrvoBridge|cli"),
    (r"OrvoVideo/help", r"OrvoVideo/(?:editor|settings|shell)\b|OrvoServer|OrvoBridge|cli"),
    (r"OrvoVideo/shell", r"OrvoServer|OrvoBridge|cli"),
    (r"cli", WINDOWS + r"|OrvoVideo/model|OrvoServer|OrvoBridge"),
    (r"OrvoBridge", r"VideoMedia|OrvoVideo|OrvoServer|cli"),
    (r"OrvoServer", r"VideoMedia|Platform|OrvoVideo|OrvoBridge|cli"),
]

# A source, and a header that it must not be able to include.
REFUSED = [
    ("VideoCore/Timeline.cpp", "VideoMedia/RenderGraph.h"),
    ("OrvoVideo/playback/VideoShelf.cpp", "OrvoVideo/capture/CaptureEngine.h"),
    ("OrvoVideo/capture/CaptureEngine.cpp", "OrvoVideo/model/AppModel.h"),
    ("OrvoVideo/model/AppModel.cpp", "OrvoVideo/editor/TimelineItem.h"),
    ("cli/ExportCommand.cpp", "OrvoVideo/model/AppModel.h"),
]


def views(build, source_root):
    """Yields the name of each include view in the build folder, and the source folder that it shows."""
    for link in [*build.glob("include/*/*"), *build.glob("include/*/*/*")]:
        if link.is_symlink():
            yield link.relative_to(build / "include").parts[0], link.resolve().relative_to(source_root).as_posix()


def seen_by(entry, build):
    return re.findall(rf"-I\s*{re.escape(str(build))}/include/([^\s/]+)", entry["command"])


def wrong_arrows(entries, shown, build, source_root):
    """The forbidden dependencies, as lines "folder sees folder"."""
    found = set()
    for entry in entries:
        source = Path(entry["file"])
        if not source.is_relative_to(source_root) or source.is_relative_to(build):
            continue
        folder = source.parent.relative_to(source_root).as_posix()
        for who, what in FORBIDDEN:
            match = re.match(who + r"(/|$)", folder)
            if not match:
                continue
            own = re.escape(match.group(1)) if re.compile(who).groups else ""
            for view in seen_by(entry, build):
                target = shown.get(view, view)
                if not f"{folder}/".startswith(f"{target}/") and re.match(what.replace(r"\1", own), target):
                    found.add(f"{folder} sees {target}")
    return sorted(found)


def refuses(entry, header, build):
    """Whether the compiler does not find the header with the flags of this source."""
    flags = [word for word in entry["command"].split() if word.startswith(("-I", "-std"))]
    run = subprocess.run([entry["command"].split()[0], *flags, "-E", "-x", "c++", "-"], input=f'#include "{header}"\n',
                         cwd=build, env={"LC_ALL": "C.UTF-8", "PATH": "/usr/bin:/bin"}, capture_output=True, text=True)
    return run.returncode != 0 and f"{header}: No such file" in run.stderr


def main():
    build = Path(sys.argv[1]).resolve()
    source_root = Path(__file__).resolve().parent.parent
    entries = json.loads((build / "compile_commands.json").read_text())
    shown = dict(views(build, source_root))
    failures = wrong_arrows(entries, shown, build, source_root)
    # A relative path would bypass the views.
    for source in source_root.glob("*/**/*.[ch]*"):
        if source.parts[len(source_root.parts)] in ("tests", "build", "bench", "fuzz") or source.suffix not in (".cpp", ".h"):
            continue
        if re.search(r'#include "\.\./', source.read_text()):
            failures.append(f"{source.relative_to(source_root)} includes a header by a relative path")
    by_file = {Path(entry["file"]).relative_to(source_root).as_posix(): entry for entry in entries
               if Path(entry["file"]).is_relative_to(source_root)}
    for source, header in REFUSED:
        if not (source_root / header).exists():
            failures.append(f"{header} does not exist")
        elif not refuses(by_file[source], header, build):
            failures.append(f"{source} can include {header}")
    if failures:
        raise SystemExit("FAILED:\n" + "\n".join(failures))


main()
