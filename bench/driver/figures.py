# SPDX-License-Identifier: Apache-2.0
"""What the rounds of a measurement say, and the table of it."""
import dataclasses
import statistics

UNITS = ((1e9, "s"), (1e6, "ms"), (1e3, "µs"), (1, "ns"))


class Unmeasurable(Exception):
    """Why a row cannot be measured here."""


@dataclasses.dataclass
class Row:
    """One line of the table. `ratio` is what the target is about; `met` is None when nothing could be measured."""
    what: str
    placement: str = ""
    figure: str = ""
    floor: str = ""
    ratio: str = ""
    target: str = ""
    met: bool | None = None
    values: dict = dataclasses.field(default_factory=dict)

    HEADINGS = ("what", "placement", "figure (p99)", "floor (p99)", "ratio (quartiles)", "target", "met")

    def cells(self):
        met = {None: "–", True: "yes", False: "**no**"}[self.met]
        return (self.what, self.placement, self.figure, self.floor, self.ratio, self.target, met)


def time_text(nanoseconds):
    for size, unit in UNITS:
        if nanoseconds >= size or size == 1:
            return f"{nanoseconds / size:.3g} {unit}" if nanoseconds < 1000 * size else f"{nanoseconds / size:.0f} {unit}"


class Rounds:
    """The output of a program that measures: lines NAME MEDIAN P99 MEAN, one a round of each contestant."""

    def __init__(self, text):
        self._rounds = {}
        for line in text.splitlines():
            name, *numbers = line.split()
            self._rounds.setdefault(name, []).append([float(number) for number in numbers])

    def median(self, name):
        return statistics.median(median for median, _, _ in self._rounds[name])

    def p99(self, name):
        return statistics.median(p99 for _, p99, _ in self._rounds[name])

    def text(self, name):
        return f"{time_text(self.median(name))} ({time_text(self.p99(name))})"

    def ratios(self, name, floor):
        """Of each round's medians: what disturbs the machine for a while disturbs both."""
        return [a[0] / b[0] for a, b in zip(self._rounds[name], self._rounds[floor])]

    def row(self, what, placement, name, floor, at_most):
        """The figure may be so many times the floor at most."""
        return self._row(what, placement, name, floor, self.ratios(name, floor), at_most, is_limit=True)

    def throughput_row(self, what, placement, name, floor, at_least, acts):
        """A round's time is that of so many acts; the rate has to be at least this share of the floor's."""
        row = self._row(what, placement, name, floor, self.ratios(floor, name), at_least, is_limit=False)
        row.figure, row.floor = (f"{acts * 1e9 / self.median(each):,.0f}/s" for each in (name, floor))
        return row

    def _row(self, what, placement, name, floor, ratios, target, is_limit):
        low, ratio, high = statistics.quantiles(ratios, n=4)
        return Row(what, placement, self.text(name), self.text(floor), f"{ratio:.3f} ({low:.2f}–{high:.2f})",
                   "" if target is None else f"{'≤' if is_limit else '≥'} {target}",
                   None if target is None else (ratio <= target if is_limit else ratio >= target),
                   {"figure_ns": self.median(name), "figure_p99_ns": self.p99(name), "floor_ns": self.median(floor),
                    "floor_p99_ns": self.p99(floor), "ratio": ratio, "rounds": len(ratios)})


def plain_table(rows):
    lines = [Row.HEADINGS, *(row.cells() for row in rows)]
    widths = [max(len(line[column]) for line in lines) for column in range(len(Row.HEADINGS))]
    return "\n".join("  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip() for line in lines)


def markdown_table(rows):
    lines = [Row.HEADINGS, ["---"] * len(Row.HEADINGS), *(row.cells() for row in rows)]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)
