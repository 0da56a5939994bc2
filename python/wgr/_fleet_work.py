"""What a worker of a fleet does with one recording."""

from __future__ import annotations

import functools
import math
from typing import Any

from . import _wgr
from ._errors import WgrError, quiet
from ._explain import explain as _explain_one
from ._models import Model
from ._recording import Recording
from ._runs import examine as _examine_one
from ._runs import replay as _replay_one

NO_GESTURE = 5  # what is reported for a strong motion like no gesture


@functools.lru_cache(maxsize=4)
def _model(text: str) -> Model:
    return Model(_wgr.model_of_text(text))


def _replayed(recording: Recording, options: dict[str, Any]) -> list[dict[str, Any]]:
    events = _replay_one(recording, _model(options["model"]), **options["host"])
    return [event._asdict() for event in events]


_EXPLAINED = (
    "begin",
    "end",
    "cause",
    "reported",
    "strength",
    "best_class",
    "score",
    "threshold",
    "decision_margin",
)


def _explained(recording: Recording, options: dict[str, Any]) -> list[dict[str, Any]]:
    made = _explain_one(
        recording, _model(options["model"]), draw=False, **options["host"]
    )
    frame = made.motions[list(_EXPLAINED)].astype(
        {"reported": float, "best_class": float}
    )
    return frame.to_dict("records")


def _examined(recording: Recording, options: dict[str, Any]) -> list[dict[str, Any]]:
    found = _examine_one(recording, **options["host"])
    return [finding._asdict() for finding in found.findings]


def _evaluated(recording: Recording, options: dict[str, Any]) -> list[dict[str, Any]]:
    made = _explain_one(
        recording,
        _model(options["model"]),
        expect=[(b, e, c) for b, e, c in options["labels"][recording.name]],
        what_if=False,
        draw=False,
        **options["host"],
    ).details
    rows = [
        {
            "t": gesture["begin"],
            "label": float(gesture["class"]),
            "outcome": "recognised" if gesture["recognised"] else "missed",
            "cause": gesture["cause"],
        }
        for gesture in made["expected"]
    ]
    motions = [m for m in made["motions"] if m["reported"] not in (None, NO_GESTURE)]
    if made["expected"]:
        groups = made["verdict"]["unexpected_groups"]
        numbers = sorted(n for group in groups for n in group["motions"])
        motions = [made["motions"][n - 1] for n in numbers]
    rows += [
        {
            "t": motion["begin"],
            "label": float(motion["reported"]),
            "outcome": "false positive",
            "cause": motion["cause"],
        }
        for motion in motions
    ]
    return sorted(rows, key=lambda row: (row["t"], row["label"]))


def _compared(recording: Recording, options: dict[str, Any]) -> list[dict[str, Any]]:
    old, new = (
        {e.t: e.gesture for e in _replay_one(recording, _model(text), **options["host"])}
        for text in (options["model"], options["new_model"])
    )
    rows = []
    for t in sorted(old.keys() | new.keys()):
        before, after = old.get(t), new.get(t)
        change = "changed"
        if before == after:
            change = "same"
        elif before in (None, NO_GESTURE):
            change = "gained" if after not in (None, NO_GESTURE) else "same"
        elif after in (None, NO_GESTURE):
            change = "lost"
        rows.append(
            {
                "t": t,
                "old": math.nan if before is None else float(before),
                "new": math.nan if after is None else float(after),
                "change": change,
            }
        )
    return rows


COLUMNS: dict[str, dict[str, type]] = {
    "replay": {"t": float, "gesture": float, "strength": float, "duration_ms": float},
    "explain": {name: str if name == "cause" else float for name in _EXPLAINED},
    "examine": dict.fromkeys(("id", "sure", "what", "remedy", "call"), str),
    "evaluate": {"t": float, "label": float, "outcome": str, "cause": str},
    "compare": {"t": float, "old": float, "new": float, "change": str},
}
_WORK = {
    "replay": _replayed,
    "explain": _explained,
    "examine": _examined,
    "evaluate": _evaluated,
    "compare": _compared,
}


Made = dict[str, Any]  # hours, rows, columns and error of a recording


def work_on(kind: str, path: str, options: dict[str, Any]) -> Made:
    """A recording's columns; on a worker."""
    try:
        with quiet():
            recording = Recording.read(path)
            rows = _WORK[kind](recording, options)
            hours = recording.seconds / 3600.0
    except (WgrError, OSError, MemoryError) as error:
        return failed(str(error) or type(error).__name__, kind)
    columns = {name: [row[name] for row in rows] for name in COLUMNS[kind]}
    return {"hours": hours, "rows": len(rows), "columns": columns, "error": ""}


def work_on_all(kind: str, paths: list[str], options: dict[str, Any]) -> list[Made]:
    """A task."""
    return [work_on(kind, path, options) for path in paths]


def failed(error: str, kind: str) -> Made:
    columns: dict[str, list[Any]] = {name: [] for name in COLUMNS[kind]}
    return {"hours": 0.0, "rows": 0, "columns": columns, "error": error}
