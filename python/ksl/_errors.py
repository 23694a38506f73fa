"""What goes wrong."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from ksl._ksl import Outcome, Report

_PACKAGE = os.path.join(os.path.dirname(__file__), "")


class Error(Exception):
    """A command that failed and was taken back, or a question about something that is not there.

    str() is the message alone. What is not known of the place is None.
    """

    def __init__(self, message: str, *, file: str | None = None, line: int | None = None, column: int | None = None,
                 object: str | None = None, parameter: str | None = None, hint: str | None = None, report: Report | None = None,
                 outcome: Outcome | None = None) -> None:
        super().__init__(message)
        self.message = message
        #: Where in the text it is; of a calculation, where in its Python code.
        self.file = file
        self.line = line
        self.column = column
        #: Path of the object concerned.
        self.object = object
        #: The parameter of that object.
        self.parameter = parameter
        #: What would be right.
        self.hint = hint
        #: The report with its class, function and type; None of one that Python raised itself.
        self.report = report
        #: What came of the command; None of a question.
        self.outcome = outcome

    def __reduce__(self) -> tuple[type, tuple[str], dict[str, object]]:
        """Goes to other processes without what belongs to the session."""
        return (type(self), (self.message,), {**self.__dict__, "report": None, "outcome": None})


def from_report(report: Report, outcome: Outcome | None = None) -> Error:
    return Error(report.message, file=report.file, line=report.line, column=report.column, object=report.object,
                 parameter=report.parameter, hint=report.hint, report=report, outcome=outcome)


def failure(outcome: Outcome, cause: BaseException | None) -> Error:
    """The error that stands for a command that failed."""
    error = from_report(outcome.errors[0], outcome)
    if cause is None:
        return error
    error.file, error.line, _ = raised(cause)
    error.column = None
    error.object = getattr(cause, "_ksl_object", None)
    error.__cause__ = cause
    return error


def raised(error: BaseException) -> tuple[str, int, str]:
    """File and line, the innermost that are not of this package, and what a traceback ends with."""
    file, line = "", 0
    place = error.__traceback__
    while place is not None:
        if not place.tb_frame.f_code.co_filename.startswith(_PACKAGE):
            file, line = place.tb_frame.f_code.co_filename, place.tb_lineno
        place = place.tb_next
    try:
        message = str(error)
    except Exception:  # the program's own class
        message = ""
    return file, line, f"{type(error).__name__}: {message}" if message else type(error).__name__
