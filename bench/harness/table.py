"""The rows that a run prints, beside their targets."""

import dataclasses
import typing

from harness import figures


@dataclasses.dataclass
class Row:
    what: str
    figure: float | None  # in the unit; None: not measured, the note says why
    low: float | None = None
    high: float | None = None
    unit: str = ""  # none: a ratio
    target: float | None = None  # the figure should not be above it
    note: str = ""

    @classmethod
    def of(cls, what, values, **more):
        """Of one value for each round: their median and quartiles."""
        return cls(what, figures.median(values), *figures.quartiles(values), **more)

    @classmethod
    def missing(cls, what, why, **more):
        return cls(what, None, note=why, **more)


COLUMNS = ("what", "measured", "spread", "target", "met", "note")


def written(value, unit):
    if value is None:
        return ""
    digits = 2 if not unit or unit == "MB" else 1 if abs(value) < 100 else 0
    return f"{value:.{digits}f}{' ' + unit if unit else ''}"


def cells(row):
    spread = "" if row.low is None else f"{written(row.low, '' if not row.unit else row.unit)}" \
        f" to {written(row.high, row.unit)}"
    met = "" if row.target is None or row.figure is None else \
        "yes" if row.figure <= row.target else "no"
    target = "" if row.target is None else f"<= {row.target:g}{' ' + row.unit if row.unit else ''}"
    return row.what, written(row.figure, row.unit), spread, target, met, row.note


def text(rows: typing.Iterable[Row]):
    lines = [COLUMNS, *map(cells, rows)]
    widths = [max(len(line[i]) for line in lines) for i in range(len(COLUMNS))]
    return "\n".join("  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip()
                     for line in lines)


def markdown(rows: typing.Iterable[Row]):
    lines = [COLUMNS, ["---"] * len(COLUMNS), *map(cells, rows)]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)
