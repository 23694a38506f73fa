"""How notebooks show sessions and objects."""

from __future__ import annotations

from html import escape
from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from ksl._objects import Object
    from ksl._session import Session

_MOST = 200  # objects that are shown


def _table(one: Object) -> str:
    rows = "".join(f"<tr><td>{escape(name)}</td><td>{escape(value)}</td></tr>" for name, value in one.items() if value)
    return f"<table>{rows}</table>" if rows else ""


def object_html(one: Object) -> str:
    """The object with its parameters, and the objects in it, to be unfolded."""
    left = [_MOST]

    def shown(top: Object, is_open: bool) -> str:
        if left[0] == 0:
            return ""
        left[0] -= 1
        title = f"{escape(top.type)} <b>{escape(top.name)}</b>"
        inside = "".join(shown(child, False) for child in top.children)
        return f"<details{' open' if is_open else ''}><summary>{title}</summary>{_table(top)}{inside}</details>"

    text = shown(one, True)
    return text if left[0] else text + "<p>…</p>"


def session_html(session: Session) -> str:
    """The pictures, then the tree of objects."""
    pictures = "".join(f"<figure>{picture.read_text(encoding='utf-8')}<figcaption>{escape(picture.name)}</figcaption>"
                       "</figure>" for picture in session.pictures())
    tops = list(session)
    trees = "".join(object_html(top).replace("<details open>", "<details>", 1) for top in tops[:_MOST])
    more = f"<p>… and {len(tops) - _MOST} more</p>" if len(tops) > _MOST else ""
    return f"{pictures}{trees}{more}" or "<p>no objects</p>"
