"""Synthetic speech with known words and pauses: espeak-ng reports the start of each word."""

import ctypes
import ctypes.util
import math
import random
import wave
from array import array
from dataclasses import dataclass, field

from . import measure

RATE = 22050  # The sample rate of the synthesiser's voices.
BLOCK = RATE // 100  # Samples per measurement of loudness.
UNDER_VOICE = 26  # Decibels. Quieter blocks, relative to the loudest one, do not belong to a phrase. Cuts off the soft echo of
# some voices, which is 30 dB below the last sound.


@dataclass
class Word:
    """A spoken word. Times are seconds."""

    text: str
    start: float
    end: float
    filler: bool = False


@dataclass
class Speech:
    """Samples at RATE, with their words."""

    samples: array
    words: list = field(default_factory=list)
    pauses: list = field(default_factory=list)  # (end of the sound before, beginning of the sound after)
    silences: list = field(default_factory=list)  # The same inside phrases, such as at a comma.

    def seconds(self):
        return len(self.samples) / RATE


class _Event(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("identifier", ctypes.c_uint), ("position", ctypes.c_int), ("length", ctypes.c_int),
                ("milliseconds", ctypes.c_int), ("sample", ctypes.c_int), ("user", ctypes.c_void_p), ("id", ctypes.c_char * 8)]


class Voice:
    """The synthesiser. One for all voices, because the library has global state."""

    _RETRIEVAL = 1
    _WORD = 1
    _UTF8 = 1
    _RATE = 1
    _PITCH = 3

    def __init__(self):
        self._library = ctypes.CDLL(ctypes.util.find_library("espeak-ng") or "libespeak-ng.so.1")
        self._callback_type = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.POINTER(ctypes.c_short), ctypes.c_int, ctypes.POINTER(_Event))
        self._callback = self._callback_type(self._take)
        if self._library.espeak_Initialize(self._RETRIEVAL, 500, None, 0) != RATE:
            raise SystemExit("espeak-ng speaks at another rate")
        self._library.espeak_SetSynthCallback(self._callback)
        self._taken, self._events = array("h"), []

    def _take(self, samples, count, events):
        if samples and count:
            self._taken.extend(samples[:count])
        i = 0
        while events[i].type:
            if events[i].type == self._WORD:
                self._events.append((events[i].position, events[i].length, events[i].milliseconds / 1000))
            i += 1
        return 0

    def say(self, text, voice, speed, pitch):
        """Speaks a text, trimmed to its audible samples, with the start of each word."""
        self._taken, self._events = array("h"), []
        self._library.espeak_SetVoiceByName(voice.encode())
        self._library.espeak_SetParameter(self._RATE, speed, 0)
        self._library.espeak_SetParameter(self._PITCH, pitch, 0)
        data = text.encode() + b"\0"
        self._library.espeak_Synth(data, ctypes.c_size_t(len(data)), 0, 0, 0, self._UTF8, None, None)
        self._library.espeak_Synchronize()
        return phrase(self._taken, [(text[position - 1:position - 1 + length], at) for position, length, at in self._events])


def phrase(samples, words):
    """The samples without the silence at both ends. `words` are pairs of a text and its start."""
    loud = _loud_blocks(samples)
    first, last = loud[0] * BLOCK, (loud[-1] + 1) * BLOCK
    samples = samples[first:last]
    starts = [max(0.0, at - first / RATE) for _, at in words]
    ends = starts[1:] + [len(samples) / RATE]
    silences = [((a + 1 - loud[0]) * BLOCK / RATE, (b - loud[0]) * BLOCK / RATE) for a, b in zip(loud, loud[1:]) if b - a > 15]
    return Speech(samples, [Word(text, start, end) for (text, _), start, end in zip(words, starts, ends)], silences=silences)


def _loud_blocks(samples):
    energies = [sum(value * value for value in samples[at:at + BLOCK]) for at in range(0, len(samples) - BLOCK, BLOCK)]
    threshold = max(energies) / 10 ** (UNDER_VOICE / 10)
    return [number for number, energy in enumerate(energies) if energy > threshold]


class Joined:
    """Phrases joined with pauses of 0.3 to 2.5 seconds."""

    def __init__(self, chance, start=0.7):
        self._chance = chance
        self._speech = Speech(array("h", bytes(2 * int(start * RATE))))

    def add(self, piece, filler=False):
        at = self._speech.seconds()
        self._speech.samples.extend(piece.samples)
        for word in piece.words:
            self._speech.words.append(Word(word.text, at + word.start, at + word.end, filler))
        self._speech.silences += [(at + start, at + end) for start, end in piece.silences]

    def pause(self):
        at = self._speech.seconds()
        self._speech.samples.extend(array("h", bytes(2 * int(self._chance.uniform(0.3, 2.5) * RATE))))
        self._speech.pauses.append((at, self._speech.seconds()))

    def end(self):
        self._speech.samples.extend(array("h", bytes(2 * RATE)))
        return self._speech


def lesson(voice, parts, seed, fillers=()):
    """Joins spoken parts, some after a filler and another pause.

    `parts` is a list of (text, voice name, speed, pitch)."""
    chance = random.Random(seed)
    joined = Joined(chance)
    for number, (text, name, speed, pitch) in enumerate(parts):
        if number:
            joined.pause()
            if fillers and chance.random() < 0.35:
                joined.add(voice.say(chance.choice(fillers), name, max(90, speed - 40), pitch), filler=True)
                joined.pause()
        joined.add(voice.say(text, name, speed, pitch))
    return joined.end()


def breaths(seconds, seed=3):
    """A microphone beside somebody who works silently: breaths, keys and mouse clicks in a quiet room."""
    chance = random.Random(seed)
    samples = [chance.gauss(0, 0.0006) for _ in range(int(seconds * RATE))]
    at = 0
    while (at := at + int(chance.uniform(0.15, 1.5) * RATE)) < len(samples) - 2 * RATE:
        if chance.random() < 0.25:  # A breath: dull noise that rises and falls.
            length, level, dull = int(chance.uniform(0.3, 1.2) * RATE), chance.uniform(0.01, 0.06), 0.0
            for i in range(length):
                dull += 0.2 * (chance.gauss(0, 1) - dull)
                samples[at + i] += 3 * level * dull * math.sin(math.pi * i / length) ** 2
            at += length
        else:  # A key or a button: pressed, then released.
            pitch, level = chance.uniform(900, 4000), chance.uniform(0.05, 0.4)
            for start, loudness in ((at, level), (at + int(chance.uniform(0.04, 0.12) * RATE), level / 2)):
                for i in range(int(0.02 * RATE)):
                    ring = math.sin(2 * math.pi * pitch * i / RATE) + chance.gauss(0, 0.5)
                    samples[start + i] += loudness * math.exp(-i / (0.003 * RATE)) * ring
    return array("h", [round(32767 * max(-1.0, min(1.0, value))) for value in samples])


def write(samples, file):
    with wave.open(str(file), "wb") as out:
        out.setnchannels(1)
        out.setsampwidth(2)
        out.setframerate(RATE)
        out.writeframes(samples.tobytes())


def with_noise(source, target, decibels, level, seed=1):
    """Adds pink noise `decibels` below `level`, the RMS level of the voice in dB of full scale."""
    # anoisesrc's pink noise with amplitude 1 has -16.9 dB.
    _mix(source, target, f"anoisesrc=color=pink:seed={seed}:amplitude=1:sample_rate={RATE},volume={level - decibels + 16.9}dB")


def with_music(source, target, decibels, level):
    """Adds chords that change every two seconds, with a beat, `decibels` below the voice."""
    chords = "0.2*(sin(2*PI*220*pow(2,mod(floor(t/2)*5,12)/12)*t)+sin(2*PI*277.2*pow(2,mod(floor(t/2)*5,12)/12)*t)" \
        "+sin(2*PI*329.6*pow(2,mod(floor(t/2)*5,12)/12)*t))*(0.6+0.4*exp(-6*mod(t,0.5)))"
    _mix(source, target, f"aevalsrc='{chords}':s={RATE},volume={level - decibels + 12}dB")


def _mix(source, target, graph):
    measure.run(["ffmpeg", "-v", "error", "-y", "-i", source, "-filter_complex",
                 f"{graph}[n];[0:a][n]amix=2:duration=first:normalize=0", "-ar", str(RATE), "-ac", "1", target])


def with_room(source, target, reverberation, folder, seed=1):
    """Puts the voice in a small room: adds a tail that falls by 60 dB in `reverberation` seconds, and keeps the total loudness of
    the direct sound."""
    chance = random.Random(seed)
    count = int(reverberation * RATE)
    tail = [chance.gauss(0, 1) * 10 ** (-3 * i / count) for i in range(count)]
    energy = sum(value * value for value in tail) ** 0.5
    response = array("h", [int(16000 * ((1.0 if i == 0 else 0.0) + (value / energy if i > 80 else 0.0)))
                           for i, value in enumerate(tail)])
    impulse = folder / "room.wav"
    write(response, impulse)
    measure.run(["ffmpeg", "-v", "error", "-y", "-i", source, "-i", impulse, "-filter_complex",
                 "[0:a][1:a]afir=gtype=none:irnorm=-1,volume=4dB", "-ar", str(RATE), "-ac", "1", target])


def voice_level(speech):
    """The RMS level of the audible parts in dB of full scale."""
    total = count = 0
    for i in range(0, len(speech.samples) - 400, 400):
        block = speech.samples[i:i + 400]
        energy = sum(value * value for value in block) / 400
        if energy > 100 ** 2:
            total += energy
            count += 1
    return 10 * math.log10(total / count / 32768 ** 2)
