"""Objects of a session as mappings, their values, and lists of objects."""

from __future__ import annotations

import math
from collections.abc import Iterable, Iterator, Mapping, Sequence
from typing import TYPE_CHECKING, Any, Union, overload

from ksl import _ksl, _notebook
from ksl._errors import Error

if TYPE_CHECKING:
    import numpy as np
    from numpy.typing import NDArray

    from ksl._session import Session

#: What a parameter can be set to: text as KSL has it, a number, or several of these.
Settable = Union[str, int, float, bool, Sequence[Any], "NDArray[Any]"]


def text_of(value: Settable) -> str:
    """The value as KSL text.

    >>> text_of([1, 2.5, "3 [m]"]), text_of(True)
    ('1, 2.5, 3 [m]', 'True')
    """
    if isinstance(value, str):
        return value
    if isinstance(value, (bool, int)):
        return str(value)
    if hasattr(value, "tolist"):  # numpy's, also of one number
        return text_of(value.tolist())
    if isinstance(value, float):
        if not math.isfinite(value):
            raise Error(f"{value} is no finite number.")
        return _ksl.number_text(value)
    if isinstance(value, Sequence) and not isinstance(value, (bytes, bytearray, memoryview)):
        return ", ".join(text_of(item) for item in value)
    raise TypeError(f"a parameter cannot be set to {type(value).__name__}")


class Value(str):
    """The text of a parameter, and the number that it is.

    It is a str with all that a str can. Numbers are computed when they are asked for, expressions included: they are those
    of what the parameter is then.
    """

    _source: Object | CalculationObject

    def __new__(cls, text: str, source: Object | CalculationObject, name: str) -> Value:
        value = super().__new__(cls, text)
        value._source, value._name = source, name
        return value

    def __init__(self, text: str, source: Object | CalculationObject, name: str) -> None:
        self._name = name

    def quantity(self) -> tuple[float, str]:
        """The number and its units, as they are written or computed."""
        return self._source._quantity(self._name)

    def to(self, units: str) -> float:
        """The number in these units."""
        number, own = self.quantity()
        return _ksl.convert(number, own, units)

    @property
    def units(self) -> str:
        """Those of the number, as they are written or computed."""
        return self.quantity()[1]

    def __float__(self) -> float:
        return self.quantity()[0]

    def __int__(self) -> int:
        return int(float(self))

    @property
    def items(self) -> list[str]:
        """The items of a list; one that is in quotes or brackets may hold commas."""
        return _ksl.split(self)

    def array(self) -> NDArray[np.float64]:
        """The numbers of a list, without their units."""
        import numpy
        numbers = _ksl.numbers(self)
        if numbers is None:
            raise Error(f"'{self}' is no list of numbers.")
        return numpy.array(numbers)

    def result(self) -> Value | NDArray[np.float64]:
        """An array when it is a list of several numbers, else itself."""
        numbers = _ksl.numbers(self) if "," in self else None
        if numbers is None:
            return self
        import numpy
        return numpy.array(numbers)

    def __reduce__(self) -> tuple[type, tuple[str]]:
        return (str, (str(self),))


class Object(Mapping[str, Value]):
    """An object of a session: a mapping of its parameters, and a place in the tree.

    It is the path that counts: when the object is deleted and made again, this is the new one; while there is none, what is
    asked of it raises ksl.Error. The program's own parameters can be read but are not listed.
    """

    __slots__ = ("_session", "path")

    def __init__(self, session: Session, path: str) -> None:
        self._session = session
        #: Where it is, "/CUT:Mid Span".
        self.path = path

    def __getitem__(self, name: str) -> Value:
        if not isinstance(name, str):
            raise KeyError(name)
        try:
            return Value(self._session._ask(lambda core: core.value(self.path, name)), self, name)
        except Error as error:
            if self.exists():
                raise KeyError(name) from error
            raise

    def __setitem__(self, name: str, value: Settable) -> None:
        """One command."""
        self.update({name: value})

    @overload
    def update(self, values: Mapping[str, Settable], /, **named: Settable) -> _ksl.Outcome: ...
    @overload
    def update(self, values: Iterable[tuple[str, Settable]] = ..., /, **named: Settable) -> _ksl.Outcome: ...
    def update(self, values: Mapping[str, Settable] | Iterable[tuple[str, Settable]] = (), /,
               **named: Settable) -> _ksl.Outcome:
        """Sets several parameters with one command; names that are no words go into the mapping."""
        texts = {name: text_of(value) for name, value in {**dict(values), **named}.items()}
        return self._session._do(lambda core: core.set(self.path, texts))

    def __iter__(self) -> Iterator[str]:
        return iter(self._values())

    def __len__(self) -> int:
        return len(self._values())

    def __contains__(self, name: object) -> bool:
        return isinstance(name, str) and name in self._values(internal=True)

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Object) and other._session is self._session and other.path == self.path

    def __hash__(self) -> int:
        return hash((id(self._session), self.path))

    def __repr__(self) -> str:
        return f"<ksl.Object {self.path}>"

    def exists(self) -> bool:
        """Whether there is such an object."""
        return self._session._ask(lambda core: core.has(self.path))

    @property
    def type(self) -> str:
        """Its type, "CUT"."""
        return self._session._ask(lambda core: core.type(self.path))

    @property
    def name(self) -> str:
        """What stands behind its type; of an object of which there is one, the type."""
        return self.path.rpartition("/")[2].partition(":")[2] or self.path.rpartition("/")[2]

    @property
    def parent(self) -> Object | None:
        """None of the root."""
        return Object(self._session, self.path.rpartition("/")[0] or "/") if self.path != "/" else None

    @property
    def children(self) -> list[Object]:
        """The objects directly below."""
        return [Object(self._session, path) for path in self._session._ask(lambda core: core.children(self.path))]

    def walk(self) -> Iterator[Object]:
        """It and all below it, parents before children."""
        waiting = [self]
        while waiting:
            top = waiting.pop()
            yield top
            waiting.extend(reversed(top.children))

    def state(self) -> str:
        """KSL text that can be read back, of all below it too."""
        return self._session.state(self)

    def results(self) -> dict[str, Value | NDArray[np.float64]]:
        """What was computed for it, by name: arrays where lists of numbers are."""
        texts = self._session._ask(lambda core: core.results(self.path))
        return {name: Value(text, self, name).result() for name, text in texts.items()}

    def _values(self, internal: bool = False) -> dict[str, str]:
        return self._session._ask(lambda core: core.values(self.path, internal))

    def _quantity(self, name: str) -> tuple[float, str]:
        return self._session._ask(lambda core: core.quantity(self.path, name))

    def _repr_html_(self) -> str:
        return _notebook.object_html(self)


class Objects(Sequence[Object]):
    """Objects in the order of the tree, as they were when they were asked for."""

    def __init__(self, session: Session, paths: list[str]) -> None:
        self._session = session
        #: Their paths.
        self.paths = paths

    @overload
    def __getitem__(self, index: int) -> Object: ...
    @overload
    def __getitem__(self, index: slice) -> Objects: ...
    def __getitem__(self, index: int | slice) -> Object | Objects:
        if isinstance(index, slice):
            return Objects(self._session, self.paths[index])
        return Object(self._session, self.paths[index])

    def __len__(self) -> int:
        return len(self.paths)

    def __repr__(self) -> str:
        return f"<ksl.Objects {self.paths!r}>" if len(self) < 10 else f"<ksl.Objects {len(self)} objects>"

    def results(self) -> dict[str, dict[str, Value | NDArray[np.float64]]]:
        """What was computed for each, by path."""
        return {one.path: one.results() for one in self}

    def column(self, name: str, units: str = "") -> NDArray[np.float64]:
        """One parameter of each as a number, in these units, without any in its own. NaN for an object without it."""
        return self._session._ask(lambda core: core.column(self.paths, name, units))


class CalculationObject(Mapping[str, Value]):
    """The object that a calculation works on. What is set here is a result: it belongs to the command under way, and is
    computed again rather than undone. Good until the calculation returns."""

    __slots__ = ("_core",)

    def __init__(self, core: _ksl.Calculated) -> None:
        self._core = core

    @property
    def path(self) -> str:
        """Where it is, "/RING:a"."""
        return self._core.path()

    @property
    def type(self) -> str:
        """Its type, "RING"."""
        return self._core.type()

    def __getitem__(self, name: str) -> Value:
        if not isinstance(name, str) or not self._core.has(name):
            raise KeyError(name)
        return Value(self._core.get(name), self, name)

    def __setitem__(self, name: str, value: Settable) -> None:
        self._core.set(name, text_of(value))

    def __iter__(self) -> Iterator[str]:
        return iter(self._core.names())

    def __len__(self) -> int:
        return len(self._core.names())

    def __repr__(self) -> str:
        return f"<ksl.CalculationObject {self.path}>"

    def _quantity(self, name: str) -> tuple[float, str]:
        return self._core.quantity(name)
