"""Creates the package for the tests of the web pages with `orvo`: make_package.py ORVO FOLDER

The film shows one colour for six seconds each, with a tone and a list of words.
"""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import uuid
from pathlib import Path

from film import COLOURS, RATE, SECONDS, STEP, words


def lesson(run, folder):
    """Creates a project with the film and the words in the library below `folder`; returns its identifier. `run` calls `orvo`."""
    movie = folder / "clase.mp4"
    inputs = [word for colour in COLOURS for word in
              ("-f", "lavfi", "-i", f"color={colour}:size=1280x720:rate={RATE}:duration={STEP}")]
    subprocess.run(["ffmpeg", "-v", "error", *inputs, "-f", "lavfi", "-i", f"sine=440:d={SECONDS}:r=48000", "-filter_complex",
                    f"concat=n={len(COLOURS)}", "-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-c:a", "aac",
                    movie], check=True)
    project = run("import", str(movie))["id"]
    document = folder / "library" / project / "project.json"
    content = json.loads(document.read_text())
    content["fps"] = RATE
    content["edit"]["words"] = [{"id": str(uuid.uuid4()).upper(), "start": start, "end": end, "text": text}
                                for start, end, text in words()]
    document.write_text(json.dumps(content, ensure_ascii=False))
    return project


def main():
    orvo, package = sys.argv[1], Path(sys.argv[2])
    shutil.rmtree(package, ignore_errors=True)
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        environment = {**os.environ, "ORVO_LIBRARY": str(folder / "library"), "XDG_CONFIG_HOME": str(folder / "config"),
                       "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}

        def run(*arguments):
            return json.loads(subprocess.run([orvo, *arguments, "--json"], env=environment, stdout=subprocess.PIPE, check=True).stdout)

        run("package", lesson(run, folder), str(package))


if __name__ == "__main__":
    main()
