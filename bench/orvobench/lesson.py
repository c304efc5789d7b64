"""A synthetic lesson: slides, typing in an editor, scrolling a page, a terminal.

The frames do not show the pointer: recordings omit it, and the export draws it from its log.
"""

import random

from orvobench.frame import Frame, Page

WIDTH, HEIGHT = 1920, 1080
BAR = 48  # Height of the task bar.
MONO = 22.65  # The size at which the fixed-width font is 12 pixels wide.

SENTENCES = """\
Un índice ordenado permite encontrar una fila sin leer toda la tabla.
Cada nodo del árbol guarda varias claves y apunta a las páginas siguientes.
Cuando una página se llena se divide en dos y la clave central sube un nivel.
La altura crece despacio: con cien claves por nodo, tres niveles bastan para un millón de filas.
Leer en orden es barato porque las hojas están enlazadas entre sí.
Una búsqueda por rango baja una sola vez y después avanza por las hojas.
El planificador compara el coste de usar el índice con el de recorrer la tabla entera.
Si la condición selecciona casi todas las filas, el recorrido secuencial gana.
Las estadísticas dicen cuántos valores distintos hay y cómo se reparten.
Un índice de más cuesta: cada escritura tiene que mantenerlo al día.
La memoria intermedia guarda las páginas más usadas y evita lecturas del disco.
Antes de medir, conviene calentar la memoria y repetir la consulta varias veces.
""".splitlines()

TITLES = ["Índices y búsquedas", "Del árbol a la página", "Inserción y división", "Búsqueda por rango", "El planificador",
          "Estadísticas", "El coste de escribir", "Memoria intermedia", "Cómo medir", "Resumen"]

CODE = """\
# Árbol ordenado con páginas de tamaño fijo.
from bisect import bisect_left, insort

class Page:
    def __init__(self, leaf=True):
        self.keys = []
        self.children = []
        self.leaf = leaf
        self.next = None

class Tree:
    def __init__(self, order=64):
        self.root = Page()
        self.order = order

    def find(self, key):
        page = self.root
        while not page.leaf:
            page = page.children[bisect_left(page.keys, key)]
        place = bisect_left(page.keys, key)
        return place < len(page.keys) and page.keys[place] == key

    def insert(self, key):
        path = self._path(key)
        insort(path[-1].keys, key)
        while len(path[-1].keys) > self.order:
            self._split(path)

    def range(self, first, last):
        page = self._leaf(first)
        while page is not None:
            for key in page.keys:
                if key > last:
                    return
                if key >= first:
                    yield key
            page = page.next

    def _split(self, path):
        page = path.pop()
        middle = len(page.keys) // 2
        right = Page(page.leaf)
        right.keys = page.keys[middle:]
        right.next, page.next = page.next, right
        page.keys = page.keys[:middle]
        parent = path[-1] if path else self._grow(page)
        place = bisect_left(parent.keys, right.keys[0])
        parent.keys.insert(place, right.keys[0])
        parent.children.insert(place + 1, right)
""".splitlines()

KEYWORDS = {"class", "def", "while", "not", "return", "from", "import", "for", "in", "if", "else", "yield", "is", "None", "and"}


class Pages:
    """All pages of the lesson, rendered once."""

    def __init__(self):
        self.desktop = self._desktop()
        self.slides = [self._slide(number) for number in range(len(TITLES))]
        self.editor = self._window("arbol.py", 1200, 860, "1E1F29", "2B2D3A", "D8D8E0")
        self.code = self._code()
        self.browser = self._window("Índices: guía de lectura", 1280, 920, "FFFFFF", "E6E6EC", "303038")
        self.article = self._article()
        self.terminal = self._window("terminal", 940, 560, "101418", "30343C", "D0D4DC")
        self.output = self._output()

    def _desktop(self):
        page = Page(WIDTH, HEIGHT, "203040")
        page.box(0, HEIGHT - BAR, WIDTH, BAR, "16181E")
        for number, label in enumerate(["Archivos", "Editor", "Guía", "Terminal", "Notas"]):
            page.box(12 + number * 150, HEIGHT - BAR + 6, 140, BAR - 12, "2A2E38")
            page.text(28 + number * 150, HEIGHT - BAR + 12, label, 20, "E0E0E8")
        page.text(WIDTH - 110, HEIGHT - BAR + 12, "10:42", 20, "E0E0E8")
        return page.frame(f"gradients=s={WIDTH}x{HEIGHT}:c0=0x24405C:c1=0x6E4A7E:x0=0:y0=0:x1={WIDTH}:y1={HEIGHT}")

    def _slide(self, number):
        page = Page(WIDTH, HEIGHT, "FBFAF7")
        page.box(0, 0, WIDTH, 140, "3C4A7A")
        page.text(90, 34, TITLES[number], 76, "FFFFFF", bold=True)
        for line in range(5):
            page.box(96, 262 + line * 150, 16, 16, "B0552F")
            page.text(140, 240 + line * 150, SENTENCES[(number * 5 + line) % len(SENTENCES)], 34)
        if number % 2:
            for column in range(7):
                high = 60 + (column * 97 + number * 31) % 240
                page.box(1440 + column * 56, 900 - high, 40, high, ["3C4A7A", "B0552F", "4F8A6B"][column % 3])
        page.text(WIDTH - 130, HEIGHT - 60, f"{number + 1} / {len(TITLES)}", 28, "808088")
        return page.frame()

    def _window(self, title, width, height, paper, bar, ink):
        page = Page(width, height, paper)
        page.box(0, 0, width, 36, bar)
        page.text(16, 6, title, 20, ink)
        for number, colour in enumerate(["D8574A", "E0B040", "58A858"]):
            page.box(width - 96 + number * 30, 10, 16, 16, colour)
        return page.frame()

    def _code(self):
        page = Page(1200, 56 * 26 * 3, "1E1F29", "Liberation Mono")
        for number in range(56 * 3):
            line = CODE[number % len(CODE)] if number % (len(CODE) + 1) < len(CODE) else ""
            y = number * 26
            page.text(16, y, f"{number + 1:4}", MONO, "606478")
            if line.strip().startswith("#"):
                page.text(90, y, line, MONO, "7A9A6A")
                continue
            column = len(line) - len(line.lstrip())
            for word in line.split():
                colour = "C792EA" if word.rstrip(":") in KEYWORDS else "E6E6F0" if word[0].isalpha() else "89B4FA"
                page.text(90 + column * 12, y, word, MONO, colour)
                column += len(word) + 1
        return page.frame()

    def _article(self):
        page = Page(1280, 9000, "FFFFFF")
        y, number = 40, 0
        while y < 8500:
            page.text(120, y, TITLES[number % len(TITLES)], 46, "1A1A20", bold=True)
            y += 80
            for line in range(9):
                page.text(120, y, SENTENCES[(number * 7 + line) % len(SENTENCES)], 25, "2A2A32", "Liberation Serif")
                y += 38
            if number % 2:
                for row in range(8):  # A table.
                    page.box(120, y + 20 + row * 44, 1000, 42, "F0F2F8" if row % 2 else "DDE2F0")
                    for column in range(5):
                        page.text(136 + column * 200, y + 28 + row * 44, f"{(row * 7919 + column * 104729 + number) % 99991}", 22)
                y += 400
            else:
                y += 520
            number += 1
        article = page.frame()
        y = 40 + 80 + 9 * 38 + 20
        photo = Page(1000, 480, "000000").frame("mandelbrot=s=1000x480:start_scale=0.3:start_x=-0.743:start_y=-0.131")
        while y + 480 < 9000:
            article.draw(photo, 120, y // 2 * 2)
            y += 2 * (80 + 9 * 38) + 920
        return article

    def _output(self):
        page = Page(940, 24 * 400, "101418", "Liberation Mono")
        for number in range(400):
            text = f"[{number / 7:9.3f}] página {number * 37 % 811:4} leída en {number * 53 % 97 / 10:4.1f} ms, claves {number * 29 % 64:2}"
            page.text(14, number * 24, text if number % 9 else "$ python3 medir.py --repeticiones 20", 18,
                      "C8D0C8" if number % 9 else "8FD08F")
        return page.frame()


class Lesson:
    """Draws the lesson: `frames()` yields frames without end."""

    def __init__(self, fps=30, seed=7):
        self.fps = fps
        self.pages = Pages()
        self.screen = Frame(WIDTH, HEIGHT)
        self.random = random.Random(seed)

    def frames(self):
        slide = 0
        while True:
            yield from self._reading()
            yield from self._slides(slide)
            yield from self._coding()
            yield from self._terminal()
            slide += 3

    def _hold(self, low, high):
        for _ in range(int(self.random.uniform(low, high) * self.fps)):
            yield self.screen

    def _slides(self, first):
        for number in range(first, first + 3):
            slide = self.pages.slides[number % len(self.pages.slides)]
            if number % 2:  # Every other slide is pushed in from the right.
                for step in range(1, 13):
                    x = int(WIDTH * (1 - step / 12) ** 2) // 2 * 2
                    self.screen.draw(slide, x, 0)
                    yield self.screen
            self.screen.draw(slide, 0, 0)
            self.screen.fill(slide.colour(80, 220), 80, 230, 1340, 760)
            for line in range(5):
                self.screen.draw(slide, 80, 230 + line * 150, 80, 230 + line * 150, 1340, 150)
                yield from self._hold(0.8, 2.0)

    def _open(self, window, x, y):
        self.screen.draw(self.pages.desktop, 0, 0)
        yield from self._hold(0.3, 0.6)
        self.screen.draw(window, x, y)
        yield from self._hold(0.3, 0.8)

    def _coding(self):
        x, y = 340, 60
        top = self.random.randrange(0, 60) * 26
        yield from self._open(self.pages.editor, x, y)
        self.screen.draw(self.pages.code, x, y + 36, 0, top, 1200, 780)
        line = 12
        paper = self.pages.code.colour(2, 2)
        self.screen.fill(paper, x + 86, y + 36 + line * 26, 1100, 780 - line * 26)
        for line in range(line, line + 8):  # Typing, character by character.
            for column in range(1, self.random.randrange(20, 56)):
                row = y + 36 + line * 26
                self.screen.draw(self.pages.code, x + 86, row, 86, top + line * 26, 4 + column * 12, 26)
                self.screen.fill((200, 128, 128), x + 92 + column * 12, row + 2, 2, 22)
                for _ in range(self.random.choice((1, 2, 2, 3))):
                    yield self.screen
                self.screen.fill(paper, x + 92 + column * 12, row + 2, 2, 22)
            yield from self._hold(0.1, 0.6)
        yield from self._scroll(self.pages.code, x, y + 36, 1200, 780, top, 6)

    def _reading(self):
        yield from self._open(self.pages.browser, 300, 40)
        top = self.random.randrange(0, 2000) * 2
        self.screen.draw(self.pages.article, 300, 76, 0, top, 1280, 880)
        yield from self._hold(1, 2)
        yield from self._scroll(self.pages.article, 300, 76, 1280, 880, top, 12)

    def _scroll(self, page, x, y, width, height, top, turns):
        """Wheel steps, each eased over a few frames, with pauses for reading."""
        for _ in range(turns):
            target = min(top + 40 * self.random.randrange(2, 9), page.height - height)
            while top < target:
                top = min(target, top + max(2, (target - top) // 4 // 2 * 2))
                self.screen.draw(page, x, y, 0, top, width, height)
                yield self.screen
            yield from self._hold(0.4, 1.8)

    def _terminal(self):
        window, width, height = self.pages.terminal, 940, 560
        x, y = 200, 120
        yield from self._open(window, x, y)
        lines = 21
        for first in range(1, 60):
            self.screen.draw(self.pages.output, x, y + 40, 0, first * 24, width, lines * 24)
            yield from self._hold(0.03, 0.3)
        shown = Frame(width, height)
        shown.draw(self.screen, 0, 0, x, y, width, height)
        for step in range(1, 41):  # Dragging across the desktop.
            self.screen.draw(self.pages.desktop, x, y, x, y, width, height)
            x, y = 200 + step * 18 // 2 * 2, 120 + step * 7 // 2 * 2
            self.screen.draw(shown, x, y)
            yield self.screen
        yield from self._hold(1, 3)
