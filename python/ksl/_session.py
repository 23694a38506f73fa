"""The session."""

from __future__ import annotations

import os
import threading
from collections.abc import Callable, Iterable, Iterator
from contextlib import contextmanager
from pathlib import Path
from types import TracebackType
from typing import TypeVar, Union

from ksl import _ksl, _notebook
from ksl._errors import Error, failure
from ksl._objects import CalculationObject, Object, Objects

T = TypeVar("T")
Calculation = Callable[[CalculationObject], object]
Where = Union[str, Object]


class Session:
    """A model with its definitions, which is told what to do and asked what there is.

    What fails raises ksl.Error and leaves nothing. Objects are named by path ("/CUT:Mid Span"), at the top also by name.
    Sessions share nothing, and each can have a thread; one that is used by several threads lets them in one after the
    other. The interpreter's lock is given up while commands run, and Ctrl-C takes the command back.

    library: definition libraries, files or folders; else those of the environment variable ORV_KSL_LIBRARY_PATH, else
    those of the demo. rules: definitions as text, instead of these or after them. validate: check types and names before
    anything is changed. changes: note what each command changes.
    """

    def __init__(self, library: str | os.PathLike[str] | Iterable[str | os.PathLike[str]] | None = None, *,
                 rules: str = "", validate: bool = False, changes: bool = True) -> None:
        if library is None:
            places: list[str] = []
        elif isinstance(library, (str, os.PathLike)):
            places = [os.fspath(library)]
        else:
            places = [os.fspath(place) for place in library]
        if any("," in place for place in places):
            raise Error("A path of a library must not hold a ','.")
        self._lock = threading.RLock()
        self._files: dict[str, None] = {}
        self._core = _ksl.Core(",".join(places), rules, validate, changes)

    def close(self) -> None:
        """Ends it, and takes a command that is open back; nothing can be asked of it then."""
        with self._lock:
            self._core.close()

    def __enter__(self) -> Session:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 trace: TracebackType | None) -> None:
        self.close()

    # ---- commands

    def run(self, text: str, *, source: str = "", first_line: int = 1) -> _ksl.Outcome:
        """Runs KSL text, blocks and action lines, as one command: one undo step.

        Errors have their line in it, counted from first_line, and the source as their file.
        """
        return self._do(lambda core: core.run(text, source, first_line))

    def run_file(self, name: str | os.PathLike[str]) -> _ksl.Outcome:
        """Runs what stands in a file, saved states and recorded sessions included."""
        return self._do(lambda core: core.run_file(os.fspath(name)))

    def undo(self) -> _ksl.Outcome:
        """Takes the newest step back. With none, the outcome has a warning."""
        return self._do(lambda core: core.undo())

    def redo(self) -> _ksl.Outcome:
        """Does the step that was taken back last again."""
        return self._do(lambda core: core.redo())

    def save(self, name: str | os.PathLike[str]) -> _ksl.Outcome:
        """Writes a state file, over one that is there."""
        return self._do(lambda core: core.save(os.fspath(name)))

    def load(self, name: str | os.PathLike[str]) -> _ksl.Outcome:
        """Reads a state file in place of what a person has made."""
        return self._do(lambda core: core.load(os.fspath(name)))

    @contextmanager
    def command(self, title: str = "") -> Iterator[Session]:
        """Several changes as one command and one undo step.

        An exception, that of a failing change among them, takes all of it back. The title is in the outcome that
        subscribers are told.
        """
        with self._lock:
            self._core.begin(title)
            try:
                yield self
            except BaseException:
                if self._core.is_open():
                    self._note(self._core.end(False))
                raise
            outcome = self._note(self._core.end(True))
            if not outcome:
                raise failure(outcome, self._core.take_cause())

    def plan(self, text: str, *, source: str = "", first_line: int = 1) -> _ksl.Plan:
        """What running the text would do; nothing is done, nothing calculated, no file written, nobody told.

        A text that would fail raises nothing: the plan has its errors. Not within a command. Ctrl-C ends it.
        """
        return self._ask(lambda core: core.plan(text, source, first_line))

    # ---- objects

    @property
    def root(self) -> Object:
        """What the objects at the top are in."""
        return Object(self, "/")

    def __getitem__(self, name: str) -> Object:
        """The object of this path, or of this name at the top. KeyError when there is none."""
        def find(core: _ksl.Core) -> str:
            if not isinstance(name, str) or not core.has(name):
                raise KeyError(name)
            return core.path(name)
        return Object(self, self._ask(find))

    def __contains__(self, name: object) -> bool:
        if not isinstance(name, str):
            return False
        path = name
        return self._ask(lambda core: core.has(path))

    def __delitem__(self, name: str) -> None:
        """Deletes the object with all below it: one command."""
        self.run(f"> delete {self[name].path}")

    def __iter__(self) -> Iterator[Object]:
        """The objects at the top."""
        return iter(self.root.children)

    def __len__(self) -> int:
        """How many objects are at the top; all there are: len(s.objects())."""
        return len(self.root.children)

    def __bool__(self) -> bool:
        """A session without objects is one, too."""
        return True

    def objects(self, type_or_category: str = "") -> Objects:
        """All objects of a type or category, parents before children; all there are without one."""
        return Objects(self, self._ask(lambda core: core.objects(type_or_category)))

    def state(self, *objects: Where) -> str:
        """KSL text that can be read back: of these objects with all below them, of all there is without any."""
        paths = [one.path if isinstance(one, Object) else one for one in objects]
        return self._ask(lambda core: core.state(paths))

    # ---- those who take part

    def subscribe(self, observer: Callable[[_ksl.Outcome], object]) -> Callable[[], None]:
        """Calls the function with the outcome of each command when it is over. What it gives takes it away again.

        What the observer raises is shown and otherwise ignored, but for KeyboardInterrupt and the like, which end up where
        the command was given.
        """
        number = self._ask(lambda core: core.observe(observer))
        return lambda: self._ask(lambda core: core.unobserve(number))

    def calculation(self, name: str) -> Callable[[Calculation], Calculation]:
        """Makes a function a calculation, which RULES call "Calculate Function = KIND, python, NAME".

        It is called with the object to be computed. What it raises fails the command: one report, which names the object
        and the line.
        """
        def register(function: Calculation) -> Calculation:
            def calculate(target: _ksl.Calculated) -> None:
                try:
                    function(CalculationObject(target))
                except Exception as error:
                    error._ksl_object = target.path()  # type: ignore[attr-defined]
                    raise
            self._ask(lambda core: core.provide(name, calculate))
            return function
        return register

    # ---- notebooks

    def pictures(self) -> list[Path]:
        """The SVG files that calculations have written, and that are there still, the newest last."""
        return [Path(file) for file in self._files if file.endswith(".svg") and Path(file).is_file()]

    def _repr_html_(self) -> str:
        return _notebook.session_html(self)

    def _repr_svg_(self) -> str | None:
        pictures = self.pictures()
        return _notebook.svg_in(pictures[-1]) if pictures else None

    # ---- for the objects

    def _ask(self, question: Callable[[_ksl.Core], T]) -> T:
        with self._lock:
            return question(self._core)

    def _do(self, command: Callable[[_ksl.Core], _ksl.Outcome]) -> _ksl.Outcome:
        with self._lock:
            outcome = self._note(command(self._core))
            if not outcome:
                raise failure(outcome, self._core.take_cause())
            return outcome

    def _note(self, outcome: _ksl.Outcome) -> _ksl.Outcome:
        for file in outcome.files:
            self._files.pop(file, None)
            self._files[file] = None
        return outcome
