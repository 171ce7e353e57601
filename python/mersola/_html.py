"""How objects show themselves."""
from __future__ import annotations

from datetime import datetime
from html import escape
from typing import Any, Iterable, List, Sequence

import numpy as np


def length(period: np.timedelta64) -> str:
    """A length of time in its largest whole unit."""
    number = int(period / np.timedelta64(1, "ms"))
    for unit, size in (("D", 86_400_000), ("h", 3_600_000), ("min", 60_000), ("s", 1000)):
        if number >= size and number % size == 0:
            return f"{number // size} {unit}"
    return f"{number} ms"


def facts(title: str, lines: Iterable[str]) -> str:
    return (f"<div><strong>{escape(title)}</strong><br>"
            + "<br>".join(escape(line) for line in lines) + "</div>")


def cell(value: Any) -> str:
    """A time to the millisecond and without what is zero; anything else as it is."""
    if isinstance(value, datetime):
        return value.isoformat(" ", "milliseconds").replace(".000", "")
    return str(value)


def table(title: str, heads: Sequence[str], rows: Sequence[Sequence[Any]]) -> str:
    """As HTML, for notebooks."""
    cells = "".join("<tr>" + "".join(f"<td>{escape(cell(each))}</td>" for each in row) + "</tr>"
                    for row in rows)
    head = "".join(f"<th>{escape(each)}</th>" for each in heads)
    return (f"<div><strong>{escape(title)}</strong><table><thead><tr>{head}</tr></thead>"
            f"<tbody>{cells}</tbody></table></div>")


def columns(title: str, heads: Sequence[str], rows: Sequence[Sequence[Any]], most: int = 20) -> str:
    """As text, for terminals."""
    shown: List[List[str]] = [list(heads), *([cell(each) for each in row] for row in rows[:most])]
    widths = [max(len(row[i]) for row in shown) for i in range(len(heads))]
    lines = ["  " + "  ".join(each.ljust(width) for each, width in zip(row, widths)).rstrip()
             for row in shown]
    more = [f"  ... and {len(rows) - most} more"] if len(rows) > most else []
    return "\n".join([title, *(lines if rows else []), *more])
