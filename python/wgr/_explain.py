"""Why each motion was, or was not, recognised."""

from __future__ import annotations

import html
import json
import os
from typing import TYPE_CHECKING, Any, Iterable, Sequence, Union

import numpy as np

from . import _wgr
from ._models import Model, ModelLike, model_of, siblings_of
from ._recording import Recording
from ._runs import NO_BIAS, Event, Events, host_options

if TYPE_CHECKING:
    import pandas
    from matplotlib.figure import Figure

Expected = Union[
    str, "os.PathLike[str]", Iterable[tuple[float, float, int]], None
]


class Explanation:
    """The result for every motion of a recording, and its cause.

    Attributes:
        recording: The explained recording.
        model: The model that was used.
        details: The whole result, as `wgr explain --json` prints it.
        events: The events, as replay() gives them, without a summary.
    """

    def __init__(self, core: Any, recording: Recording, model: Model) -> None:
        self._core = core
        self._page: str | None = None
        self.recording = recording
        self.model = model
        self.details: dict[str, Any] = json.loads(core.json())
        self.events = Events(
            (
                Event(e["t"], e["class"], e["strength"], e["duration_ms"])
                for e in self.details["events"]
            ),
            {},
            recording.name,
        )

    @property
    def headline(self) -> str:
        """What happened, and why, in a sentence or two."""
        return self.details["verdict"]["headline"]

    @property
    def cause(self) -> str | None:
        """The name of the principal cause, such as "gyro-unit"."""
        principal = self.details["verdict"]["principal"]
        return None if principal is None else principal["cause"]

    @property
    def motions(self) -> pandas.DataFrame:
        """A row for each motion, counted from 0.

        begin, end, judged in s; cause and what else would have stopped it; the
        class that was reported; strength in m/s²; duration_ms; and of the best
        template its class, score, threshold and decision margin.
        """
        import pandas

        rows = [_row_of(m) for m in self.details["motions"]]
        return pandas.DataFrame(rows, columns=_COLUMNS).astype(
            {"reported": "Int64", "best_class": "Int64"}
        )

    @property
    def rests(self) -> pandas.DataFrame:
        """A row for each stretch of rest."""
        import pandas

        return pandas.DataFrame(self.details["rests"])

    @property
    def expected(self) -> pandas.DataFrame:
        """A row for each expected gesture, with its result."""
        import pandas

        return pandas.DataFrame(self.details["expected"])

    def traces(self, motion: int) -> dict[str, Any]:
        """A motion's traces, counted from 0.

        corrected (n, 3) in m/s² in the mean frame; speed (n - 1,) in m/s;
        compared and template (m, 3) as the classifier compares them, with
        gravity as the last point; template is None where none was compared.
        """
        if not 0 <= motion < len(self.details["motions"]):
            raise IndexError(f"motion {motion}: there are {len(self.details['motions'])}")
        return self._core.traces(motion)

    def plot(self, motion: int) -> Figure:
        """Draws a motion: its traces, and the template it resembles most."""
        from . import _drawing

        return _drawing.draw_motion(self, motion)

    def page(self) -> str:
        """The report as one HTML page, which needs no network."""
        if self._page is None:
            path = self.model.path
            digest = _wgr.sha256_of_file(path) if path else ""
            self._page = self._core.page("wgr.explain()", digest)
        return self._page

    def save(self, path: str | os.PathLike[str]) -> None:
        """Writes the report as a page.

        Raises:
            OutputError: The file cannot be written in full; the old one stays.
        """
        _wgr.write_file(os.fspath(path), self.page().encode())

    def to_text(self, all_motions: bool = False) -> str:
        """What `wgr explain` prints; with every motion, as --all does."""
        return self._core.text(all_motions)

    def _repr_html_(self) -> str:
        parts = [f"<p><b>{html.escape(self.headline)}</b></p>"]
        principal = self.details["verdict"]["principal"]
        if principal is not None:
            for key in ("evidence", "do"):
                if principal[key]:
                    parts.append(f"<p>{html.escape(principal[key])}</p>")
        shown = self.motions[["begin", "end", "cause", "reported", "strength"]]
        parts.append(shown.to_html(max_rows=30))
        return "\n".join(parts)

    def __repr__(self) -> str:
        return f"<Explanation of {self.recording.name or 'arrays'}: {self.headline}>"


_COLUMNS = [
    "begin",
    "end",
    "judged",
    "cause",
    "also",
    "reported",
    "strength",
    "duration_ms",
    "samples",
    "best_class",
    "score",
    "threshold",
    "decision_margin",
    "sentence",
]


def _row_of(motion: dict[str, Any]) -> dict[str, Any]:
    best = motion["best_templates"][0] if motion["best_templates"] else {}
    strength = motion["strength"]
    row = {key: motion[key] for key in ("begin", "end", "judged", "cause")}
    row.update(
        also=", ".join(motion["also"]),
        reported=motion["reported"],
        strength=np.nan if strength is None else strength,
        duration_ms=motion["duration_ms"],
        samples=motion["collected"] - motion["trimmed"],
        best_class=best.get("class"),
        sentence=motion["sentence"],
    )
    for key in ("score", "threshold", "decision_margin"):
        value = best.get(key)
        row[key] = np.nan if value is None else value
    return row


def explain(
    recording: Recording,
    model: ModelLike = None,
    *,
    expect: Expected = None,
    what_if: bool | None = None,
    wearer: int = 0,
    mode: int = 1,
    rate: int | None = None,
    gyro_bias: Sequence[float] | None = None,
    sensitivity: int | None = None,
    shortest: int | None = None,
    static_window: int | None = None,
    initialise: bool = True,
    draw: bool = True,
) -> Explanation:
    """Explains each motion of a recording, as `wgr explain` does.

    Args:
        recording: The recording to explain.
        model: As for replay().
        expect: The expected gestures: a table's path, or
            (begin, end, label) in s.
        what_if: Whether to try what would have helped, on recordings of any
            length; otherwise where `expect` is given, on those of 2,000,000 samples
            and fewer.
        wearer, mode, rate, gyro_bias, sensitivity, shortest, static_window: As for
            replay().
        initialise: False acts as a host that forgets init_gesture_handle().
        draw: Keeps what plot(), traces() and page() draw; without it less memory
            is taken.

    Raises:
        InputError: The model, the table or an argument cannot be used.
    """
    chosen = model_of(model, recording.host.model, wearer, mode)
    options = _wgr.ExplainOptions()
    options.host = host_options(
        chosen,
        rate if rate is not None else recording.rate,
        recording.host,
        gyro_bias,
        sensitivity,
        initialise,
        shortest,
        static_window,
    )
    options.rate = rate
    options.recording = recording.name
    options.model_file = chosen.path
    options.absent_axes = recording.absent_axes
    options.draw = draw
    options.own_model = not chosen.folder
    if isinstance(expect, (str, os.PathLike)):
        options.expected_file = os.fspath(expect)
        options.expected = _wgr.read_expected(options.expected_file, recording.name)
    elif expect is not None:
        options.expected_file = "expect"
        options.expected = [(float(b), float(e), int(c)) for b, e, c in expect]
    options.all_samples = bool(what_if)
    options.try_changes = bool(options.expected) if what_if is None else what_if
    if options.try_changes:
        options.models = siblings_of(chosen)
    core = _wgr.Explained(recording.samples, options)
    return Explanation(core, recording, chosen)


__all__ = ["Explanation", "explain", "NO_BIAS"]
