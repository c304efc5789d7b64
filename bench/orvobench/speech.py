"""Speech recognition: words, times and cost, on speech with known words and times."""

import json
import re
import tempfile
import unicodedata
from pathlib import Path
from statistics import median

from . import measure, people, voices
from .table import Row

ROOT = Path(__file__).resolve().parent.parent.parent
RATE = 16000  # The recogniser's sample rate.
PARTS = {"clean": 96, "english": 48}  # Numbers of spoken parts between pauses.
RECORDINGS = ROOT / "bench/speech/recordings.txt"  # Half of the package's recordings of people, selected by the hash of their
# names. The other half is for tuning.
LONG = 5  # Repetitions of the Spanish material in the long recording of three quarters of an hour.

SPANISH = [
    "Hoy vamos a ver cómo se prepara una clase en vídeo desde el principio.",
    "Primero abrimos el programa y elegimos la ventana que queremos grabar.",
    "Después pulsamos el botón rojo y empezamos a explicar con calma.",
    "Si nos equivocamos no pasa nada, porque luego se puede cortar.",
    "La tabla de la derecha muestra los resultados del último trimestre.",
    "Aquí tenemos tres columnas con los nombres de los alumnos.",
    "Conviene guardar el documento antes de seguir con el ejercicio.",
    "El profesor escribe una ecuación sencilla en la pizarra.",
    "¿Qué ocurre cuando cambiamos el valor de esta variable?",
    "Como veis, la gráfica sube muy deprisa y luego se mantiene.",
    "En la siguiente lección hablaremos de la historia de España.",
    "Muchas ciudades pequeñas crecieron cerca de los ríos.",
    "El agua hierve a cien grados al nivel del mar.",
    "Vamos a repasar las ideas más importantes de esta semana.",
    "Podéis descargar los apuntes desde la página del curso.",
    "La respuesta correcta es la segunda, aunque muchos elegís la primera.",
    "Con este método ahorramos tiempo y evitamos errores.",
    "No olvidéis entregar el trabajo antes del viernes.",
]
ENGLISH = [
    "Today we are going to see how a video lesson is prepared.",
    "First we open the program and choose the window we want to record.",
    "Then we press the red button and start to explain slowly.",
    "If we make a mistake it does not matter, because it can be cut later.",
    "The table on the right shows the results of the last quarter.",
    "Here we have three columns with the names of the students.",
    "It is a good idea to save the document before the next exercise.",
    "The teacher writes a simple equation on the board.",
]
FILLERS = {"eh", "em", "mmm", "um", "uh"}
PROMPT = "Eh, bueno, vamos a ver. Mmm, sí."  # The recogniser's prompt, which makes the peer write down fillers too.
MEMORY = 400  # MB.


def rows(programs, cache, quick, say):
    model = _model()
    bench = programs / "bench_speech"
    folder = cache / "speech"
    folder.mkdir(parents=True, exist_ok=True)
    material = _material(folder, say)
    result = []
    for name in ("clean", "human"):
        for decoding in ("quick", "careful"):
            say(f"speech: {name}, {decoding}")
            result += _beside_peer(bench, model, decoding, name, folder, material[name])
    for name, language in (("english", "en"), ("noise25", "es"), ("noise20", "es"), ("noise10", "es"), ("music", "es"),
                           ("room03", "es"), ("room05", "es")):
        if quick and name != "noise10":
            continue
        say(f"speech: {name}")
        truth = material["english" if name == "english" else "clean"]
        heard, _ = _run(bench, "words", model, language, "quick", folder / f"{name}.wav")
        result += _quality(name, truth, heard["words"])
        result.append(Row(f"speech, {name}: word errors", "%", [_errors(truth_words(truth), _texts(heard["words"])) * 100]))
    for decoding in ("quick", "careful"):
        say(f"speech: files without speech, {decoding}")
        invented = sum(len(_run(bench, "words", model, "es", decoding, folder / f"{name}.wav")[0]["words"]) for name in _speechless())
        result.append(Row(f"speech, {decoding}: words made up in 5 minutes each of silence, tone, music, noise, and breaths and clicks",
                          "", [invented], limit=0))
    if not quick:
        say("speech: memory")
        long = folder / "long.wav"
        if not long.exists():
            _convert(["-stream_loop", LONG - 1, "-i", folder / "clean.wav"], long)
        heard, _ = _run(bench, "words", model, "es", "quick", long)
        result.append(Row("speech, quick, five times as long: memory", "MB", [heard["memory"]], limit=MEMORY))
    return result


def _beside_peer(bench, model, decoding, name, folder, truth):
    """Words, pauses and cost, compared with the library on the whole file."""
    file, spoken, seconds, peer = folder / f"{name}.wav", truth_words(truth), truth["seconds"], "whisper.cpp, whole file"
    heard, ours = _run(bench, "words", model, "es", decoding, file)
    heard_whole, whole = _run(bench, "whole", model, "es", decoding, file)
    return [
        *_quality(f"{name}, {decoding}", truth, heard["words"]),
        Row(f"speech, {name}, {decoding}: word errors", "%", [_errors(spoken, _texts(heard["words"])) * 100],
            [_errors(spoken, _texts(heard_whole["words"])) * 100], peer, at_most=1),
        Row(f"speech, {name}, {decoding}: processor time", "s", [ours.cpu], [whole.cpu], peer, at_most=1.05),
        Row(f"speech, {name}, {decoding}: time for a second of audio", "s", [ours.wall / seconds], [whole.wall / seconds], peer),
        Row(f"speech, {name}, {decoding}: memory above what the program had before", "MB", [heard["memory"]], limit=MEMORY),
    ]


def truth_words(truth):
    return [_plain(word["text"]) for word in truth["words"]]


def _model():
    for place in (ROOT / "build/models", ROOT.parent / "shared/models"):
        if (place / "ggml-base-q5_1.bin").exists():
            return place / "ggml-base-q5_1.bin"
    raise SystemExit("There is no speech model. Run tools/model.sh build/models.")


def _speechless():
    return ("silence", "tone", "chords", "hiss", "breaths")


def _convert(source, file):
    measure.run(["ffmpeg", "-v", "error", "-y", *source, "-ac", "1", "-ar", str(RATE), file])


def _material(folder, say):
    """Generates the files once. Returns what is spoken in them."""
    known = folder / "truth.json"
    made_of = {**PARTS, "human": RECORDINGS.read_text().split()}
    if known.exists() and (truth := json.loads(known.read_text())).get("made_of") == made_of:
        return truth
    for old in folder.iterdir():
        old.unlink()
    say("speaking")
    voice = voices.Voice()
    spanish = voices.lesson(voice, _parts(SPANISH, ["es", "es-419", "es+f2", "es+m3"], PARTS["clean"]), 1, fillers=sorted(FILLERS))
    english = voices.lesson(voice, _parts(ENGLISH, ["en-us", "en-us+f3", "en-gb"], PARTS["english"]), 2, fillers=["mmm", "uh", "um"])
    human = people.lesson(made_of["human"], folder.parent, 7)
    level = voices.voice_level(spanish)
    raw = folder / "raw.wav"
    voices.write(human.samples, raw)
    _convert(["-i", raw], folder / "human.wav")
    voices.write(english.samples, raw)
    _convert(["-i", raw], folder / "english.wav")
    voices.write(spanish.samples, raw)
    _convert(["-i", raw], folder / "clean.wav")
    for decibels in (25, 20, 10):
        voices.with_noise(raw, folder / f"noise{decibels}.wav", decibels, level)
    voices.with_music(raw, folder / "music.wav", 20, level)
    for name, seconds in (("room03", 0.3), ("room05", 0.5)):
        voices.with_room(raw, folder / f"{name}.wav", seconds, folder)
    for name in ("noise25", "noise20", "noise10", "music", "room03", "room05"):
        _convert(["-i", folder / f"{name}.wav"], raw)
        raw.replace(folder / f"{name}.wav")
    _convert(["-f", "lavfi", "-i", f"anullsrc=r={RATE}:cl=mono:d=300"], folder / "silence.wav")
    _convert(["-f", "lavfi", "-i", "sine=440:d=300"], folder / "tone.wav")
    _convert(["-f", "lavfi", "-i", f"anoisesrc=c=pink:a=0.1:d=300:r={RATE}:seed=1"], folder / "hiss.wav")
    silent = voices.Speech(voices.array("h", bytes(2 * 300 * voices.RATE)))
    voices.write(silent.samples, raw)
    voices.with_music(raw, folder / "chords.wav", 0, -20)
    _convert(["-i", folder / "chords.wav"], raw)
    raw.replace(folder / "chords.wav")
    voices.write(voices.breaths(300), raw)
    _convert(["-i", raw], folder / "breaths.wav")
    truth = {name: {"words": [vars(word) for word in speech.words], "pauses": speech.pauses, "silences": speech.silences,
                    "seconds": speech.seconds()}
             for name, speech in (("clean", spanish), ("english", english), ("human", human))} | {"made_of": made_of}
    known.write_text(json.dumps(truth))
    return truth


def _parts(texts, names, count):
    chance = voices.random.Random(len(texts))
    return [(texts[number % len(texts)], chance.choice(names), chance.choice([130, 145, 160, 175]), chance.choice([35, 45, 55, 65]))
            for number in range(count)]


def _run(bench, mode, model, language, decoding, file):
    """The recognised words, and the cost."""
    with tempfile.NamedTemporaryFile() as output:
        cost = measure.run([bench, mode, model, language, decoding, file, output.name], ORVO_BENCH_PROMPT=PROMPT)
        heard = json.loads(Path(output.name).read_text(errors="replace"))
    words = heard["words"]
    if any(a["end"] > b["start"] + 1e-6 for a, b in zip(words, words[1:])):
        raise SystemExit(f"words of {file.name} overlap")
    return heard, cost


def _plain(text):
    text = "".join(c for c in unicodedata.normalize("NFD", text.lower()) if unicodedata.category(c) != "Mn")
    return re.sub(r"[^a-z0-9]", "", text)


def _texts(words):
    return [plain for word in words for part in word["text"].split() if (plain := _plain(part))]


def _table(truth, heard):
    costs = [[0] * (len(heard) + 1) for _ in range(len(truth) + 1)]
    for i in range(len(truth) + 1):
        for j in range(len(heard) + 1):
            if i == 0 or j == 0:
                costs[i][j] = i + j
            else:
                costs[i][j] = min(costs[i - 1][j] + 1, costs[i][j - 1] + 1,
                                  costs[i - 1][j - 1] + (truth[i - 1] != heard[j - 1]))
    return costs


def _errors(truth, heard):
    """Levenshtein distance in words, as a share of the words spoken."""
    return _table(truth, heard)[-1][-1] / len(truth)


def _pairs(truth, words):
    """Pairs of correctly recognised words with the spoken ones."""
    texts = [_plain(word["text"]) for word in words]
    spoken = truth_words(truth)
    costs = _table(spoken, texts)
    i, j = len(spoken), len(texts)
    while i and j:
        if costs[i][j] == costs[i - 1][j - 1] + (spoken[i - 1] != texts[j - 1]):
            i, j = i - 1, j - 1
            if spoken[i] == texts[j]:
                yield truth["words"][i], words[j]
        elif costs[i][j] == costs[i - 1][j] + 1:
            i -= 1
        else:
            j -= 1


def _share(values, share):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(share * len(ordered)))]


LIMITS = {"clean": (20, 60), "human": (20, 60), "english": (20, 60), "noise25": (20, 60), "noise20": None, "music": None, "noise10": (50, 160),
          "room03": (50, 160), "room05": (100, 200)}  # Milliseconds: median and 95th percentile of the edges.


def _quality(what, truth, words):
    name = what.split(",")[0]
    gaps = [(a["end"], b["start"]) for a, b in zip(words, words[1:]) if b["start"] - a["end"] >= 0.2]
    found, edges, used = 0, [], set()
    for start, end in truth["pauses"]:
        near = [gap for gap in gaps if min(end, gap[1]) - max(start, gap[0]) > 0.5 * (end - start)
                and abs(gap[0] - start) < 0.4 and abs(gap[1] - end) < 0.4]
        if near:
            found += 1
            used.add(near[0])
            edges += [abs(near[0][0] - start) * 1000, abs(near[0][1] - end) * 1000]
    # Finding the silence at a comma is optional, but not an error.
    false = [gap for gap in gaps if gap not in used and gap[1] - gap[0] >= 0.3
             and not any(min(end, gap[1]) - max(start, gap[0]) > (gap[1] - gap[0]) / 2 for start, end in truth["silences"])]
    starts = {end for _, end in truth["pauses"]}
    inside = [abs(heard["start"] - spoken["start"]) * 1000 for spoken, heard in _pairs(truth, words)
              if all(abs(spoken["start"] - start) > 0.005 for start in starts)]
    fillers = [word for word in truth["words"] if word["filler"]]
    kept = [word for word in fillers if any(_plain(heard["text"]) in FILLERS and heard["start"] < word["end"]
                                            and heard["end"] > word["start"] for heard in words)]
    limits = LIMITS[name] or (None, None)
    result = [
        Row(f"speech, {what}: pauses found", "%", [100 * found / len(truth["pauses"])], at_least=98),
        Row(f"speech, {what}: pauses made up", "%", [100 * len(false) / len(truth["pauses"])], limit=2),
        Row(f"speech, {what}: edges of pauses, median error", "ms", [median(edges)], limit=limits[0]),
        Row(f"speech, {what}: edges of pauses, 95th percentile", "ms", [_share(edges, 0.95)], limit=limits[1]),
    ]
    if name != "human":  # The starts of these words are unknown.
        result.append(Row(f"speech, {what}: beginnings of words in running speech, median error", "ms", [median(inside)],
                          limit=30 if name == "clean" else 60))
    if name in ("clean", "english"):
        result.append(Row(f"speech, {what}: fillers kept", "%", [100 * len(kept) / len(fillers)], at_least=80))
    return result
