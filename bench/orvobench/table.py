"""The table of results: each figure with its peer and its target."""

import json
from dataclasses import dataclass, field
from statistics import median


@dataclass
class Row:
    """A figure. Its target applies to the ratio to the peer, or to the value itself."""

    what: str
    unit: str
    ours: list  # One value per run.
    peers: list = field(default_factory=list)  # The peer's runs, in the same order.
    peer: str = ""
    at_most: float | None = None  # Maximum ratio of ours to the peer's.
    limit: float | None = None  # Maximum and minimum of our own value.
    at_least: float | None = None

    def ratio(self):
        """None without a peer, or if a value of the peer is 0."""
        if not self.peers or 0 in self.peers:
            return None
        if len(self.ours) == len(self.peers):  # Per round, because a slow machine affects both.
            return median(a / b for a, b in zip(self.ours, self.peers))
        return median(self.ours) / median(self.peers)

    def met(self):
        if self.at_most is not None:
            ratio = self.ratio()
            return None if ratio is None else ratio <= self.at_most
        if self.limit is not None:
            return median(self.ours) <= self.limit
        return median(self.ours) >= self.at_least if self.at_least is not None else None

    def target(self):
        if self.at_most is not None:
            return f"≤ {self.at_most:.3g} ×"
        if self.limit is not None:
            return f"≤ {self.limit:g} {self.unit}"
        return f"≥ {self.at_least:g} {self.unit}" if self.at_least is not None else ""

    def record(self):
        return {"what": self.what, "unit": self.unit, "ours": median(self.ours), "runs": self.ours, "peer": self.peer,
                "peers": median(self.peers) if self.peers else None, "peerRuns": self.peers, "ratio": self.ratio(),
                "target": self.target(), "met": self.met()}


def _cells(rows):
    cells = [("what", "ours", "peer", "ratio", "target", "verdict")]
    for row in rows:
        peer = f"{_figure(median(row.peers))} {row.unit} ({row.peer})" if row.peers else ""
        ratio = "" if row.ratio() is None else f"{row.ratio():.2f}"
        verdict = {True: "met", False: "MISSED", None: ""}[row.met()]
        cells.append((row.what, f"{_figure(median(row.ours))} {row.unit}", peer, ratio, row.target(), verdict))
    return cells


def show(rows):
    cells = _cells(rows)
    widths = [max(len(line[column]) for line in cells) for column in range(len(cells[0]))]
    for number, line in enumerate(cells):
        print("  ".join(text.rjust(width) if column in (1, 3) else text.ljust(width)
                        for column, (text, width) in enumerate(zip(line, widths))).rstrip())
        if number == 0:
            print("  ".join("─" * width for width in widths))


def save(rows, file, about):
    file.write_text(json.dumps({**about, "rows": [row.record() for row in rows]}, indent=2, ensure_ascii=False) + "\n")


def place(file, part):
    """The two marks around the table of this part. Exits if the file lacks them."""
    begin, end = f"<!-- {part}: written by ./dev bench {part} --document -->", f"<!-- end of {part} -->"
    text = file.read_text()
    if begin not in text or end not in text:
        raise SystemExit(f"{file} has no place for {part}")
    return begin, end


def document(rows, file, part, heading):
    """Writes the table between the marks of this part."""
    begin, end = place(file, part)
    text = file.read_text()
    lines = [f"{heading}:", "", "| What | Ours | Peer | Ratio | Target | |", "|---|---|---|---|---|---|"]
    lines += ["| " + " | ".join(cell.replace("MISSED", "missed") for cell in line) + " |" for line in _cells(rows)[1:]]
    before, _, rest = text.partition(begin)
    file.write_text(f"{before}{begin}\n" + "\n".join(lines) + f"\n{end}{rest.partition(end)[2]}")


def _figure(value):
    return f"{value:.0f}" if value >= 100 else f"{value:.3g}"
