"""How notebooks show sessions and objects."""

from __future__ import annotations

from collections.abc import Iterable
from html import escape
from pathlib import Path
from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from ksl._objects import Object
    from ksl._session import Session

_MOST = 200  # objects that are shown


def svg_in(picture: Path) -> str:
    return picture.read_text(encoding="utf-8", errors="replace")


def _table(one: Object) -> str:
    rows = "".join(f"<tr><td>{escape(name)}</td><td>{escape(value)}</td></tr>" for name, value in one.items() if value)
    return f"<table>{rows}</table>" if rows else ""


def _trees(tops: Iterable[Object], is_open: bool) -> str:
    """The objects with their parameters and what is in them, to be unfolded."""
    left = _MOST

    def shown(siblings: Iterable[Object], is_open: bool) -> str:
        nonlocal left
        text = ""
        for one in siblings:
            if left == 0:
                return text + "<p>…</p>"
            left -= 1
            text += (f"<details{' open' if is_open else ''}><summary>{escape(one.type)} <b>{escape(one.name)}</b></summary>"
                     f"{_table(one)}{shown(one.children, False)}</details>")
        return text

    # Bytes that are no text cannot be shown.
    return shown(tops, is_open).encode("utf-8", "replace").decode()


def object_html(one: Object) -> str:
    return _trees([one], True)


def session_html(session: Session) -> str:
    """The pictures, then the tree of objects."""
    pictures = "".join(f"<figure>{svg_in(picture)}<figcaption>{escape(picture.name)}</figcaption></figure>"
                       for picture in session.pictures())
    return pictures + _trees(session, False) or "<p>no objects</p>"
