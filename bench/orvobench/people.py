"""Spanish spoken by people at home: recordings with known words from a Debian package, joined with pauses."""

import random
import re
import subprocess
from array import array

from . import measure, voices

PACKAGE = "tuxpaint-stamps-default"  # 160 MB.
PLACE = "usr/share/tuxpaint/stamps"
ROOM = 18  # Amplitude of the noise, out of 32,768: a quiet room.


def lesson(names, folder, seed):
    """Joins the recordings with these names in random order. The starts of the words are unknown."""
    place = _package(folder) / PLACE
    chance = random.Random(seed)
    names = sorted(names)
    chance.shuffle(names)
    joined = voices.Joined(chance)
    for number, name in enumerate(names):
        if number:
            joined.pause()
        joined.add(_recording(place, name))
    result = joined.end()
    result.samples = array("h", (max(-32768, min(32767, value + round(chance.gauss(0, ROOM)))) for value in result.samples))
    return result


def _package(folder):
    unpacked = folder / PACKAGE
    if not unpacked.exists():
        subprocess.run(["apt-get", "-qq", "download", PACKAGE], cwd=folder, check=True)
        file, = folder.glob(f"{PACKAGE}_*.deb")
        measure.run(["dpkg-deb", "-x", file, folder / "partial"])
        (folder / "partial").rename(unpacked)
        file.unlink()
    return unpacked


def _recording(place, name):
    raw = subprocess.run(["ffmpeg", "-v", "error", "-i", place / f"{name}_desc_es.ogg", "-ac", "1", "-ar", str(voices.RATE),
                          "-f", "s16le", "-"], stdout=subprocess.PIPE, check=True).stdout
    text, = re.findall(r"^es\.utf8=(.*)$", (place / f"{name}.txt").read_text(errors="replace"), re.MULTILINE)
    text = re.sub(r"\([^a-z)]*\)", "", text)  # The amount on a coin is written, but not spoken.
    return voices.phrase(array("h", raw), [(word, 0.0) for word in text.split()])
