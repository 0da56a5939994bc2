"""Wrist gestures in Python: recordings, models, and why a gesture was not recognised.

The same C++ as the command line tool `wgr`, and the same bits: times in s,
accelerations in m/s² with gravity in them, angular velocities in deg/s.
"""

from __future__ import annotations

from typing import Any

from ._errors import (
    InputError,
    OutputError,
    RecordingError,
    WgrError,
    WgrWarning,
)
from ._explain import Explanation, explain
from ._models import Model, ModelFinding
from ._recording import HostSettings, Recording
from ._runs import (
    Event,
    Events,
    Examination,
    Finding,
    Recognizer,
    examine,
    replay,
)
from ._training import (
    Evaluation,
    Motion,
    TrainingSet,
    evaluate,
    segment,
    similarity_matrix,
    synthesise,
)
from ._wgr import version as __version__

_ESTIMATORS = ("AffinityPropagation", "GestureClassifier")


def __getattr__(name: str) -> Any:
    # scikit-learn and Dask are imported where they are used.
    if name in _ESTIMATORS:
        from . import _learning

        return getattr(_learning, name)
    if name == "fleet":
        import importlib

        return importlib.import_module("wgr.fleet")
    raise AttributeError(f"module {__name__!r} has no attribute {name!r}")


__all__ = [
    "AffinityPropagation",
    "Evaluation",
    "Event",
    "Events",
    "Examination",
    "Explanation",
    "Finding",
    "GestureClassifier",
    "HostSettings",
    "InputError",
    "Model",
    "ModelFinding",
    "Motion",
    "OutputError",
    "Recognizer",
    "Recording",
    "RecordingError",
    "TrainingSet",
    "WgrError",
    "WgrWarning",
    "__version__",
    "evaluate",
    "examine",
    "explain",
    "replay",
    "segment",
    "similarity_matrix",
    "synthesise",
]
