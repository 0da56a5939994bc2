"""Runs of the library over recordings: replayed, live, explained, examined."""

from __future__ import annotations

import json
from typing import TYPE_CHECKING, Any, Iterable, Iterator, NamedTuple, Sequence

import numpy as np

from . import _wgr
from ._errors import InputError
from ._models import Model, ModelLike, model_of
from ._recording import HostSettings, Recording

if TYPE_CHECKING:
    import pandas

NO_BIAS = (0.0, 0.0, 0.0)


class Event(NamedTuple):
    """A gesture that was reported.

    Attributes:
        t: s, of the sample that completed it.
        gesture: The class, or 5 for a strong motion like no gesture.
        strength: Root mean square, m/s².
        duration_ms: Of the stretch that was compared, ms.
    """

    t: float
    gesture: int
    strength: float
    duration_ms: float


class Events(Sequence):
    """The events of a run, in time order.

    Attributes:
        recording: The recording's name.
        summary: Totals of the run: samples, rest_share, events of each
            class, wearer, clock.
    """

    def __init__(
        self, events: Iterable[Event], summary: dict[str, Any], recording: str
    ) -> None:
        self._events = tuple(events)
        self.summary = summary
        self.recording = recording

    def __len__(self) -> int:
        return len(self._events)

    def __getitem__(self, index: Any) -> Any:
        return self._events[index]

    def __iter__(self) -> Iterator[Event]:
        return iter(self._events)

    def to_dataframe(self) -> pandas.DataFrame:
        """A row for each event: t, gesture, strength, duration_ms."""
        import pandas

        frame = pandas.DataFrame(list(self._events), columns=Event._fields)
        return frame.astype(
            {"t": float, "gesture": int, "strength": float, "duration_ms": float}
        )

    def _repr_html_(self) -> str:
        return self.to_dataframe().to_html(index=False)

    def __repr__(self) -> str:
        lines = ["    t (s)  class  strength (m/s²)  duration (ms)"]
        lines += [
            f"{e.t:9.3f}  {e.gesture:5}  {e.strength:15.2f}  {e.duration_ms:13.0f}"
            for e in self._events
        ]
        return "\n".join(lines)


def _in_range(what: str, value: int | None, least: int, most: int) -> None:
    if value is not None and not least <= value <= most:
        raise InputError(
            f"{what}: a whole number from {least} to {most} is required, not {value}"
        )


def host_options(
    model: Model,
    rate: int,
    host: HostSettings,
    gyro_bias: Sequence[float] | None,
    sensitivity: int | None,
    initialise: bool = True,
    shortest: int | None = None,
    static_window: int | None = None,
) -> Any:
    """What a host passes: as given, otherwise as a capture's host did."""
    _in_range("rate", rate, 1, 100_000)
    _in_range("sensitivity", sensitivity, -1_000_000, 3)
    _in_range("shortest", shortest, 2, 10000)
    _in_range("static_window", static_window, 1, 10000)
    if shortest is not None and sensitivity is not None:
        raise InputError("shortest: a sensitivity chooses it: give one of them alone")
    bias = gyro_bias if gyro_bias is not None else host.gyro_bias or NO_BIAS
    bias = [float(b) for b in bias]
    if len(bias) != 3 or not np.isfinite(bias).all():
        raise InputError("gyro_bias: three finite numbers in deg/s are required")
    return _wgr.HostOptions(
        model=model.core,
        rate=rate,
        gyro_bias=bias,
        sensitivity=sensitivity if sensitivity is not None else host.sensitivity,
        wearer=model.wearer,
        mode=model.mode,
        shortest=shortest if shortest is not None else host.shortest,
        rest_window=static_window if static_window is not None else -1,
        initialise=initialise,
    )


def replay(
    recording: Recording,
    model: ModelLike = None,
    *,
    wearer: int = 0,
    mode: int = 1,
    rate: int | None = None,
    gyro_bias: Sequence[float] | None = None,
    sensitivity: int | None = None,
    shortest: int | None = None,
    static_window: int | None = None,
) -> Events:
    """Runs the library over a recording, as `wgr replay` does, bit for bit.

    Args:
        recording: Of a capture, its host's settings hold where nothing else is
            given.
        model: A Model, a file, a folder of the six; otherwise the capture's or
            the installed one.
        wearer: 0 left wrist, 1 right wrist; chooses of a folder's models.
        mode: 0, 1 or 2; likewise.
        rate: Samples per second; otherwise the recording's.
        gyro_bias: (3,), deg/s, taken off by the library.
        sensitivity: 1 permissive to 3 strict, -n for motions of n samples and
            more; otherwise the library's own.
        shortest: Motion that is recognised, samples; otherwise the library's own.
        static_window: Of the rest test, samples; likewise.

    Returns:
        The events, with the summary of the run.

    Raises:
        InputError: The model or an argument cannot be used.
    """
    chosen = model_of(model, recording.host.model, wearer, mode)
    options = host_options(
        chosen,
        rate if rate is not None else recording.rate,
        recording.host,
        gyro_bias,
        sensitivity,
        shortest=shortest,
        static_window=static_window,
    )
    events, summary = _wgr.replay(recording.samples, options)
    totals = json.loads(summary)
    del totals["type"]
    return Events((Event(*e) for e in events), totals, recording.name)


class Recognizer:
    """One handle of the library, fed sample by sample, for a live loop."""

    def __init__(
        self,
        model: ModelLike = None,
        *,
        rate: int = 50,
        wearer: int = 0,
        mode: int = 1,
        gyro_bias: Sequence[float] | None = None,
        sensitivity: int | None = None,
        shortest: int | None = None,
        static_window: int | None = None,
    ) -> None:
        """Makes a handle; the arguments are those of replay().

        Raises:
            InputError: The model or an argument cannot be used.
        """
        chosen = model_of(model, None, wearer, mode)
        options = host_options(
            chosen,
            rate,
            HostSettings(),
            gyro_bias,
            sensitivity,
            shortest=shortest,
            static_window=static_window,
        )
        self.rate = rate
        self._host = _wgr.Host(options)
        self._fed = 0

    def feed(
        self,
        acc: Sequence[float],
        gyro: Sequence[float],
        t: float | None = None,
    ) -> Event | None:
        """Feeds one sample of both sensors.

        Args:
            acc: (3,), m/s² with gravity.
            gyro: (3,), deg/s.
            t: s, for the event; otherwise counted at the rate.

        Returns:
            The gesture that the sample completes, if any.
        """
        if t is None:
            t = self._fed / self.rate
        self._fed += 1
        event = self._host.feed(t, acc, gyro)
        return None if event is None else Event(*event)

    @property
    def at_rest(self) -> bool:
        """Whether the newest sample ended at rest."""
        return self._host.at_rest


class Finding(NamedTuple):
    """What is wrong with a stream.

    Attributes:
        id: A word for each kind, such as "gyro-unit".
        sure: How sure: "certain", "likely" or "possible".
        what: What was seen.
        remedy: What to do.
        call: The option or call that does it; may be empty.
    """

    id: str
    sure: str
    what: str
    remedy: str
    call: str


class Examination:
    """What is wrong with a stream, and its figures.

    Attributes:
        findings: The list of Finding; empty where nothing was found.
        facts: rate, jitter, gravity, bias, noise, rest_share, wrist and so on.
    """

    def __init__(self, found: dict[str, Any]) -> None:
        self.findings = [
            Finding(*(f[key] for key in Finding._fields)) for f in found.pop("findings")
        ]
        del found["type"]
        self.facts = found

    def to_dataframe(self) -> pandas.DataFrame:
        """A row for each finding."""
        import pandas

        return pandas.DataFrame(self.findings, columns=Finding._fields)

    def _repr_html_(self) -> str:
        return self.to_dataframe().to_html(index=False)

    def __repr__(self) -> str:
        if not self.findings:
            return "nothing found"
        return "\n".join(
            f"{f.id} ({f.sure}): {f.what}\n  do: {f.remedy}" for f in self.findings
        )


def examine(
    recording: Recording,
    *,
    rate: int | None = None,
    gyro_bias: Sequence[float] = NO_BIAS,
) -> Examination:
    """Reports what is wrong with a stream, as `wgr doctor` does.

    Args:
        recording: The recording to examine.
        rate: Samples per second that the host passes; otherwise not judged.
        gyro_bias: (3,), deg/s, that it passes.
    """
    _in_range("rate", rate, 1, 100_000)
    found = _wgr.diagnose(
        recording.samples, rate, list(gyro_bias), recording.absent_axes
    )
    return Examination(json.loads(found))
