"""What goes wrong."""

from __future__ import annotations

from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from ksl._ksl import Outcome, Report


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


def from_report(report: Report, outcome: Outcome | None = None) -> Error:
    return Error(report.message, file=report.file, line=report.line, column=report.column, object=report.object,
                 parameter=report.parameter, hint=report.hint, report=report, outcome=outcome)


def failure(outcome: Outcome, cause: BaseException | None) -> Error:
    """The error that stands for a command that failed."""
    error = from_report(outcome.errors[0], outcome)
    if cause is None:
        return error
    place = cause.__traceback__
    while place is not None and place.tb_next is not None:
        place = place.tb_next
    if place is not None:
        error.file, error.line, error.column = place.tb_frame.f_code.co_filename, place.tb_lineno, None
    error.object = getattr(cause, "_ksl_object", None)
    error.__cause__ = cause
    return error
