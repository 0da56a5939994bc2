"""Gesture models."""

from __future__ import annotations

import os
from typing import Any, NamedTuple, Union

import numpy as np

from . import _wgr
from ._errors import InputError


class ModelFinding(NamedTuple):
    """What is wrong with a model's file.

    Attributes:
        line: From 1; 0 where the whole file is meant.
        text: What is wrong, and what comes of it.
    """

    line: int
    text: str


class Model:
    """A gesture model: labelled templates with a threshold for each class.

    Attributes:
        path: The file it is from; empty for one that was built.
        wearer: 0 left wrist, 1 right wrist; of a folder's model.
        mode: 0, 1 or 2; likewise.
        folder: The folder of the six models, where it is from one.
    """

    def __init__(
        self,
        core: Any,
        *,
        path: str = "",
        folder: str = "",
        wearer: int = 0,
        mode: int = 1,
    ) -> None:
        self.core = core
        self.path = path
        self.folder = folder
        self.wearer = wearer
        self.mode = mode

    @classmethod
    def read(cls, path: str | os.PathLike[str]) -> Model:
        """Reads a model's file.

        Raises:
            InputError: The file cannot be read, is no model, or recognises
                nothing; with file and line.
        """
        path = os.fspath(path)
        return cls(_wgr.read_model(path), path=path)

    @classmethod
    def installed(
        cls,
        wearer: int = 0,
        mode: int = 1,
        *,
        folder: str | os.PathLike[str] = _wgr.installed_models,
    ) -> Model:
        """Reads one of the six models of a folder, as installed.

        Raises:
            InputError: The folder does not hold the model.
        """
        if wearer not in (0, 1) or mode not in (0, 1, 2):
            raise InputError("wearer is 0 or 1, and mode 0, 1 or 2")
        folder = os.fspath(folder)
        path = _wgr.model_file(folder, wearer, mode)
        return cls(
            _wgr.read_model(path),
            path=path,
            folder=folder,
            wearer=wearer,
            mode=mode,
        )

    @staticmethod
    def check(path: str | os.PathLike[str]) -> list[ModelFinding]:
        """Lists what is wrong with a model's file, line by line."""
        return [ModelFinding(*f) for f in _wgr.check_model(os.fspath(path))]

    def write(self, path: str | os.PathLike[str]) -> None:
        """Writes the model; the library opens none that is not named .xml.

        Raises:
            InputError: The name does not end in .xml.
            OutputError: The file cannot be written in full; the old one stays.
        """
        path = os.fspath(path)
        if not path.endswith(".xml"):
            raise InputError(f"{path}: a model's name ends in .xml")
        _wgr.write_file(path, self.text)

    @property
    def text(self) -> str:
        """The file's content."""
        return self.core.text

    @property
    def labels(self) -> list[int]:
        """The classes, in the model's order."""
        return self.core.labels

    @property
    def thresholds(self) -> dict[int, float]:
        """Least similarity that is accepted, by class; empty: any is."""
        return dict(zip(self.core.labels, self.core.thresholds))

    @property
    def templates(self) -> list[tuple[int, np.ndarray]]:
        """Label and trace (n, 3); the last point is gravity where gravity is 1."""
        return self.core.templates

    @property
    def gravity(self) -> int:
        """Trailing gravity points of every trace: 0 or 1."""
        return self.core.gravity

    def __reduce__(self) -> tuple:
        place = (self.path, self.folder, self.wearer, self.mode)
        return _unpickled, (self.core, *place)

    def __repr__(self) -> str:
        return (
            f"<Model {self.path or 'built'}: {len(self.core.templates)} templates, "
            f"classes {', '.join(map(str, self.labels))}>"
        )


def _unpickled(
    core: Any, path: str, folder: str, wearer: int, mode: int
) -> Model:
    return Model(core, path=path, folder=folder, wearer=wearer, mode=mode)


ModelLike = Union[Model, str, "os.PathLike[str]", None]


def model_of(
    given: ModelLike, captured: Any, wearer: int = 0, mode: int = 1
) -> Model:
    """The model that an argument means.

    A Model; a file; a folder of the six, of which wearer and mode choose one; or
    None: what a capture holds, otherwise the installed one.
    """
    if isinstance(given, Model):
        return given
    if given is None:
        if captured is not None:
            return Model(captured)
        return Model.installed(wearer, mode)
    if os.path.isdir(given):
        return Model.installed(wearer, mode, folder=given)
    return Model.read(given)


def siblings_of(model: Model) -> list[tuple[int, int, Any]]:
    """Those of the folder's six models that can be used."""
    if not model.folder:
        return []
    found = []
    for wearer in (0, 1):
        for mode in (0, 1, 2):
            try:
                path = _wgr.model_file(model.folder, wearer, mode)
                found.append((wearer, mode, _wgr.read_model(path)))
            except InputError:
                continue  # what is not there cannot be chosen
    return found
