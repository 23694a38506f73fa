"""One model over many values."""

from __future__ import annotations

import csv
import json
import os
from collections.abc import Iterable, Mapping
from dataclasses import dataclass
from typing import Any

from ksl import _ksl
from ksl._objects import Settable, text_of


@dataclass(frozen=True)
class Sweep:
    """What came of it: one row for each combination of values.

    A row has the values that were set and what was computed, by "PATH.NAME", "files", a list of what was written, and
    "errors", a list of what went wrong. Where all values of a column have the same units, these stand in its name, and
    numbers in the rows.
    """

    columns: list[str]
    rows: list[dict[str, Any]]

    def column(self, name: str) -> list[Any]:
        """What stands under this name, row by row."""
        return [row[name] for row in self.rows]

    def to_csv(self, name: str | os.PathLike[str]) -> None:
        """Writes the table with a line of names; lists are joined by semicolons."""
        with open(name, "w", newline="", encoding="utf-8", errors="surrogateescape") as file:
            writer = csv.DictWriter(file, self.columns)
            writer.writeheader()
            writer.writerows({key: "; ".join(value) if isinstance(value, list) else value for key, value in row.items()}
                             for row in self.rows)

    def to_json(self, name: str | os.PathLike[str]) -> None:
        """Writes the rows as a list of objects."""
        with open(name, "w", encoding="utf-8") as file:
            json.dump(self.rows, file, indent=2)

    def __len__(self) -> int:
        return len(self.rows)


def sweep(model: str | os.PathLike[str] = "", set: Mapping[str, Iterable[Settable] | str] | None = None, *,
          text: str = "", show: Iterable[str] = (), pictures: str | os.PathLike[str] = "", jobs: int = 0,
          library: str | os.PathLike[str] = "") -> Sweep:
    """Runs a model, a file or a text, over all combinations of values, on all cores.

    set: by "PATH.PARAMETER" the values, as a list or as text ("0, 10, 20 [cm]", "0..20/5 [cm]"). show: the results to be
    collected, "PATH.NAME"; all single values that were computed without any. pictures: a folder for what calculations
    write, without which nothing is written. jobs: how many threads, all cores for 0.

    What is wrong with the model raises ksl.Error; a combination that fails has "errors" in its row.
    """
    settings = [(target, True, [values]) if isinstance(values, str) else (target, False, [text_of(value) for value in values])
                for target, values in (set or {}).items()]
    rows: list[dict[str, Any]] = json.loads(_ksl.sweep(os.fspath(library), os.fspath(model), text, settings, list(show),
                                                       os.fspath(pictures), jobs))
    return Sweep(list(rows[0]), rows)
