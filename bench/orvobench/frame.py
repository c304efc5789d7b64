"""Frames in memory (planar YUV 4:2:0), and pages of text rendered by ffmpeg's subtitle renderer."""

import subprocess
import tempfile
from pathlib import Path


class Frame:
    """A frame of even size. Positions and sizes must be even."""

    def __init__(self, width, height, data=None):
        self.width, self.height = width, height
        luma = width * height
        self.data = bytearray(data if data is not None else bytes([16]) * luma + bytes([128]) * (luma // 2))
        view = memoryview(self.data)
        self.planes = (
            (view[:luma], width, 1),
            (view[luma : luma + luma // 4], width // 2, 2),
            (view[luma + luma // 4 :], width // 2, 2),
        )

    def colour(self, x, y):
        """The colour at a position, as (Y, U, V)."""
        return tuple(data[y // step * stride + x // step] for data, stride, step in self.planes)

    def draw(self, source, x, y, source_x=0, source_y=0, width=None, height=None):
        """Copies a part of another frame to (x, y), clipped to this frame."""
        width = min(width or source.width, source.width - source_x, self.width - x)
        height = min(height or source.height, source.height - source_y, self.height - y)
        for (to, to_stride, step), (data, stride, _) in zip(self.planes, source.planes):
            w, h = width // step, height // step
            a, b = (y // step) * to_stride + x // step, (source_y // step) * stride + source_x // step
            if w == to_stride == stride:
                to[a : a + w * h] = data[b : b + w * h]
                continue
            for _ in range(h):
                to[a : a + w] = data[b : b + w]
                a, b = a + to_stride, b + stride

    def fill(self, colour, x, y, width, height):
        """Paints a rectangle with (Y, U, V)."""
        for (to, stride, step), value in zip(self.planes, colour):
            row = bytes([value]) * (width // step)
            for line in range(y // step, (y + height) // step):
                to[line * stride + x // step : line * stride + x // step + len(row)] = row


class Page:
    """Collects texts and boxes, and renders them as one frame."""

    def __init__(self, width, height, background, font="Liberation Sans"):
        self.width, self.height, self.background, self.font = width, height, background, font
        self.lines = []

    def text(self, x, y, text, size=22, colour="202028", font=None, bold=False):
        style = rf"\pos({x},{y})\an7\fn{font or self.font}\fs{size}\1c&H{_bgr(colour)}&\b{int(bold)}"
        self.lines.append("{" + style + "}" + text)

    def box(self, x, y, width, height, colour):
        shape = f"m 0 0 l {width} 0 l {width} {height} l 0 {height}"
        self.lines.append("{" + rf"\pos({x},{y})\an7\p1\1c&H{_bgr(colour)}&" + "}" + shape)

    def frame(self, source=None):
        """Renders the page. `source` is a filter source to draw on instead of the plain background."""
        head = (
            f"[Script Info]\nScriptType: v4.00+\nPlayResX: {self.width}\nPlayResY: {self.height}\nWrapStyle: 2\n"
            "[V4+ Styles]\nFormat: Name, Fontname, Fontsize, PrimaryColour, OutlineColour, BorderStyle, Outline, Shadow,"
            " Alignment\nStyle: Default,Liberation Sans,22,&H00FFFFFF,&H00000000,1,0,0,7\n"
            "[Events]\nFormat: Layer, Start, End, Style, Text\n"
        )
        with tempfile.TemporaryDirectory() as folder:
            script = Path(folder, "page.ass")
            script.write_text(head + "".join(f"Dialogue: 0,0:00:00.00,0:01:00.00,Default,{line}\n" for line in self.lines))
            source = source or f"color=c=0x{self.background}:s={self.width}x{self.height}"
            filters = f"{source},format=rgb24,ass=filename={script},scale=out_color_matrix=bt709:out_range=tv,format=yuv420p"
            data = subprocess.run(
                ["ffmpeg", "-v", "error", "-f", "lavfi", "-i", filters, "-frames:v", "1", "-f", "rawvideo", "-"],
                check=True, stdout=subprocess.PIPE,
            ).stdout
        return Frame(self.width, self.height, data)


def _bgr(rgb):
    return rgb[4:6] + rgb[2:4] + rgb[0:2]
