"""Exceptions and warnings of the package."""

from __future__ import annotations

import contextlib
import contextvars
import re
import warnings
from typing import Iterator

_PLACE = re.compile(r"^(?P<file>.+?)(?::(?P<line>\d+))?: ")


class WgrError(Exception):
    """Base of all errors; its text is a complete message.

    Attributes:
        file: The file as it was given; None where the error concerns none.
        line: The line in the file, from 1; None where the error concerns none.
    """

    def __init__(self, message: str) -> None:
        super().__init__(message)
        place = _PLACE.match(message)
        self.file: str | None = place["file"] if place else None
        self.line: int | None = (
            int(place["line"]) if place and place["line"] else None
        )

    def __reduce__(self) -> tuple:
        return type(self), (str(self),)


class InputError(WgrError, ValueError):
    """A file, a model or an argument cannot be used."""


class RecordingError(InputError):
    """A recording or a capture cannot be read; most errors name the line."""


class OutputError(WgrError, OSError):
    """A file cannot be written in full; the disk is full, for example."""

    def __init__(self, message: str) -> None:
        WgrError.__init__(self, message)

    def __str__(self) -> str:
        return str(self.args[0])


class WgrWarning(UserWarning):
    """A doubt about an input that is used: a torn end, an assumed sample rate."""


_quiet = contextvars.ContextVar("quiet", default=False)


@contextlib.contextmanager
def quiet() -> Iterator[None]:
    """No warnings of the package on this thread; others keep theirs."""
    before = _quiet.set(True)
    try:
        yield
    finally:
        _quiet.reset(before)


def warn(text: str) -> None:
    """Says a warning of the package."""
    if not _quiet.get():
        warnings.warn(text, WgrWarning, stacklevel=4)
