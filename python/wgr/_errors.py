"""Exceptions and warnings of the package."""

from __future__ import annotations

import contextlib
import contextvars
import re
import warnings
from typing import Iterator

_PLACE = re.compile(r"^(?P<file>.+?)(?::(?P<line>\d+))?: ")


class WgrError(Exception):
    """What went wrong, as a whole message for a person.

    Attributes:
        file: The file that is meant, as it was given; None where none is.
        line: The line in it, from 1; None where none is meant.
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
    """Something that was given cannot be used: a file, a model, an argument."""


class RecordingError(InputError):
    """A recording or a capture that cannot be read; mostly with its line."""


class OutputError(WgrError, OSError):
    """A file could not be written in full: the disk is full, for example."""

    def __init__(self, message: str) -> None:
        WgrError.__init__(self, message)

    def __str__(self) -> str:
        return str(self.args[0])


class WgrWarning(UserWarning):
    """What can be used, but not without a doubt: a torn end, an assumed rate."""


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
