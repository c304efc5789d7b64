"""Describes the film that the tests of the web pages play."""

COLOURS = ["red", "lime", "blue", "white", "yellow", "cyan", "magenta", "red", "lime", "blue", "white", "yellow", "cyan", "magenta", "red"]
STEP = 6  # Seconds per colour.
RATE = 5  # Frames per second; low, because the film is rendered and encoded many times.
SECONDS = STEP * len(COLOURS)
SENTENCES = [
    (1.0, "Hola."),
    (3.0, "Hoy vamos a ver cómo se prepara un vídeo para publicarlo en la página de un curso, sin prisa y paso a paso."),
    (30.0, "Cada palabra sabe en qué momento se dijo."),
    (60.0, "Y eso es todo: tres < cuatro & «adiós»."),
]
WORD = 0.4  # Seconds per word.


def words():
    """Returns (start, end, text) of every word."""
    return [(round(start + at * WORD, 3), round(start + (at + 1) * WORD, 3), text)
            for start, sentence in SENTENCES for at, text in enumerate(sentence.split())]


def spoken_at(moment):
    return next((text for start, end, text in words() if start <= moment < end), None)


def colour_at(moment):
    return COLOURS[int(moment // STEP)]
