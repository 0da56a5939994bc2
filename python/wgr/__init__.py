"""Wrist gestures in Python: recordings, models, and why a gesture was not recognised.

The same C++ as the command line tool `wgr`, and the same bits: times in s,
accelerations in m/s² with gravity in them, angular velocities in deg/s.
"""

from __future__ import annotations

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
from ._wgr import version as __version__

__all__ = [
    "Event",
    "Events",
    "Examination",
    "Explanation",
    "Finding",
    "HostSettings",
    "InputError",
    "Model",
    "ModelFinding",
    "OutputError",
    "Recognizer",
    "Recording",
    "RecordingError",
    "WgrError",
    "WgrWarning",
    "__version__",
    "examine",
    "explain",
    "replay",
]
