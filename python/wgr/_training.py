"""From recordings to examples: synthesised, segmented, compared, evaluated."""

from __future__ import annotations

import json
import os
from typing import (
    TYPE_CHECKING,
    Any,
    Callable,
    Iterable,
    NamedTuple,
    Sequence,
    Union,
    overload,
)

import numpy as np

from . import _wgr
from ._errors import InputError
from ._models import ModelLike, model_of
from ._recording import Recording
from ._runs import _in_range

if TYPE_CHECKING:
    import pandas

Annotation = tuple[float, float, int]


def synthesise(
    person: int = 1,
    *,
    seed: int = 1,
    style: str = "free",
    gestures: int = 4,
    distractors: float = 120.0,
    wearer: int = 0,
    rate: int = 50,
    script: str | os.PathLike[str] | None = None,
) -> tuple[Recording, list[Annotation]]:
    """Makes a recording of a synthesised person, as `wgr synth` does.

    Args:
        person: Number of the person; the same number is the same person.
        seed: Seed of the random choices.
        style: "calm" or "free".
        gestures: Repetitions of each gesture.
        distractors: Everyday movement, s.
        wearer: 0 left wrist, 1 right wrist.
        rate: Samples per second, 10 to 1000.
        script: A file that says what happens; otherwise it is random.

    Returns:
        The recording, and what is in it: (begin, end, label), s.
    """
    if style not in ("calm", "free"):
        raise InputError(f'style: "calm" or "free" is required, not {style!r}')
    _in_range("seed", seed, 0, 2147483647)
    _in_range("person", person, 0, 1_000_000)
    _in_range("gestures", gestures, 0, 1000)
    _in_range("wearer", wearer, 0, 1)
    _in_range("rate", rate, 10, 1000)
    if not 0 <= distractors <= 36000:
        raise InputError("distractors: 0 to 36000 s are required")
    samples, annotations = _wgr.synthesise(
        seed,
        person,
        style == "calm",
        gestures,
        distractors,
        wearer,
        rate,
        "" if script is None else os.fspath(script),
    )
    name = f"person {person}, {style}, seed {seed}"
    return Recording(samples, rate=rate, name=name), annotations


class Motion(NamedTuple):
    """A motion that segmentation found.

    Attributes:
        begin: s, of its first sample.
        end: s, of its last.
        verdict: "kept", or why it was dropped.
        label: Of a kept one; -1 is background.
        trace: Of a kept one, (n, 3) m/s², as the classifier is given it: the last
            point is gravity where the data has gravity.
    """

    begin: float
    end: float
    verdict: str
    label: int | None
    trace: np.ndarray | None


class TrainingSet:
    """Labelled examples, segmented from a folder of recordings.

    Attributes:
        traces: A list of (n, 3) float64, m/s²; the last point of each is gravity
            where `gravity` says so. To a training file's digits.
        labels: (n,) int; -1 is background.
        subjects: (n,) whose each is; empty where that is not known.
        sessions: (n,) in which session each was recorded; likewise.
        gravity: Whether traces end in a gravity vector.
        rate: Samples per second.
        classes: Words to labels.
        background_hours: That the background examples come from.
        host_settings: shortest motion and rest window, samples, -1 for the library's
            own, and sensitivity, which a host must set for a model of these examples.
        summary: How many motions of which verdict and label.
    """

    def __init__(self, core: Any) -> None:
        self.core = core
        traces, labels, subjects, sessions = core.examples
        self.traces: list[np.ndarray] = traces
        self.labels = np.asarray(labels, dtype=int)
        self.subjects = np.asarray(subjects, dtype=str)
        self.sessions = np.asarray(sessions, dtype=str)
        self.gravity: bool = core.gravity
        self.rate: int = core.rate
        self.classes: dict[str, int] = core.classes
        self.background_hours: float = core.background_seconds / 3600.0
        self.host_settings = dict(
            zip(("shortest", "static_window", "sensitivity"), core.host_settings)
        )
        self.summary: str = core.summary

    def __len__(self) -> int:
        return len(self.traces)

    def __repr__(self) -> str:
        return (
            f"<TrainingSet: {len(self)} examples of {len(set(self.labels))} labels "
            f"at {self.rate} samples/s>"
        )


PathLike = Union[str, "os.PathLike[str]"]


@overload
def segment(
    source: Recording,
    annotations: Iterable[Annotation] = ...,
    *,
    rate: int | None = ...,
    shortest: int | None = ...,
    static_window: int | None = ...,
    sensitivity: int | None = ...,
    gravity: bool = ...,
) -> list[Motion]: ...


@overload
def segment(
    source: PathLike,
    *,
    background: PathLike | Sequence[PathLike] = ...,
    rate: int | None = ...,
    shortest: int | None = ...,
    static_window: int | None = ...,
    sensitivity: int | None = ...,
    gravity: bool = ...,
    attitude: bool = ...,
    use_annotations: bool = ...,
) -> TrainingSet: ...


def segment(
    source: Recording | PathLike,
    annotations: Iterable[Annotation] = (),
    *,
    background: PathLike | Sequence[PathLike] = (),
    rate: int | None = None,
    shortest: int | None = None,
    static_window: int | None = None,
    sensitivity: int | None = None,
    gravity: bool = True,
    attitude: bool = True,
    use_annotations: bool = False,
) -> list[Motion] | TrainingSet:
    """Finds the motions of a recording, or of a folder of recordings.

    The engine that runs on the watch finds, rotates and trims them, as `wgr
    segment` does.

    Args:
        source: A Recording; or a folder with labels.csv or index.csv.
        annotations: Of a Recording: (begin, end, label), s.
        background: With a folder: more recordings, without gestures.
        rate: Of a folder, samples per second; otherwise that of most recordings.
        shortest: Motion, samples; otherwise half a second.
        static_window: Of the rest test, samples; otherwise a fifth of a second. As
            shortest and sensitivity, the host must set it likewise.
        sensitivity: Level that the host sets, instead of shortest; otherwise none.
        gravity: Whether the data has gravity in it.
        attitude: Of a folder: whether which way is down counts.
        use_annotations: Of a folder: annotated intervals are motions as they are.

    Returns:
        The motions of a Recording, or the TrainingSet of a folder.

    Raises:
        InputError, RecordingError: What is given cannot be used.
    """
    _in_range("shortest", shortest, 2, 10000)
    _in_range("rate", rate, 10, 1000)
    _in_range("static_window", static_window, 1, 10000)
    _in_range("sensitivity", sensitivity, -1_000_000, 3)
    if shortest is not None and sensitivity is not None:
        raise InputError("shortest: a sensitivity chooses it: give one of them alone")
    options = _wgr.SegmentationOptions()
    options.rate = rate
    options.shortest = shortest or -1
    options.static_window = static_window or -1
    options.sensitivity = sensitivity
    options.gravity = gravity
    options.whole_annotations = use_annotations
    if isinstance(source, Recording):
        annotated = [(float(b), float(e), int(label)) for b, e, label in annotations]
        found = _wgr.segment(source.samples, rate or source.rate, annotated, options)
        return [Motion(*motion) for motion in found]
    if isinstance(background, (str, os.PathLike)):
        background = [background]
    others = [os.fspath(path) for path in background]
    return TrainingSet(
        _wgr.segment_folder(os.fspath(source), others, options, attitude)
    )


def threads_of(n_jobs: int | None) -> int:
    """Threads as scikit-learn counts jobs: None is 1, -1 all processors."""
    if n_jobs is None:
        return 1
    if n_jobs == 0:
        raise InputError("n_jobs: 0 has no meaning; -1 is all processors")
    cores = len(os.sched_getaffinity(0))
    return min(256, n_jobs if n_jobs > 0 else max(1, cores + 1 + n_jobs))


def similarity_matrix(
    traces: Sequence[np.ndarray],
    n_jobs: int | None = None,
    *,
    gravity: bool = False,
    normalise: bool = True,
    progress: Callable[[float], object] | None = None,
) -> np.ndarray:
    """Scores all traces with each other by dynamic time warping.

    Besides the matrix it takes a copy of the traces, and 8 MB a thread at most.

    Args:
        traces: Of (n, 3) each, m/s².
        n_jobs: Threads; None is 1, -1 all processors. The bits do not depend on it.
        gravity: The last point of each trace is its gravity vector.
        normalise: Traces are scaled to unit root mean square first.
        progress: Called now and then with the share that is done, 1 at the end.

    Returns:
        (n, n) float32: entry (i, j) is the similarity of i and j in this order,
        0 at best; minus infinity where there is nothing to compare.

    Raises:
        InputError: A trace is no finite array (n, 3).
    """
    return _wgr.similarities(
        [as_trace(t, i) for i, t in enumerate(traces)],
        int(gravity),
        normalise,
        threads_of(n_jobs),
        progress,
    )


def as_trace(trace: Any, index: int) -> np.ndarray:
    """A trace as the module takes it."""
    array = np.ascontiguousarray(trace, dtype=np.float64)
    if array.ndim != 2 or array.shape[1] != 3:
        raise InputError(
            f"trace {index}: an array (n, 3) is required, not {array.shape}"
        )
    if not np.isfinite(array).all():
        raise InputError(f"trace {index}: holds what is not finite: NaN or inf")
    return array


class Evaluation:
    """How good a model is on labelled recordings.

    Attributes:
        figures: What `wgr eval --json` prints.
    """

    def __init__(self, figures: dict[str, Any]) -> None:
        self.figures = figures

    def __getitem__(self, figure: str) -> Any:
        return self.figures[figure]

    @property
    def confusion(self) -> pandas.DataFrame:
        """Repetitions of each class (rows) by what was reported for them."""
        import pandas

        frame = pandas.DataFrame.from_dict(self.figures["confusion"], orient="index")
        return frame.fillna(0).astype(int)

    def __repr__(self) -> str:
        shown = {
            key: value
            for key, value in self.figures.items()
            if isinstance(value, (int, float))
        }
        return f"<Evaluation: {json.dumps(shown)}>"


LEAVE_OUT = ("subject", "repetition", "session")


def evaluate(
    training_set: TrainingSet | PathLike,
    model: ModelLike = None,
    *,
    leave_out: str | None = None,
    folds: int = 10,
    wearer: int = 0,
    mode: int = 1,
    n_jobs: int | None = -1,
    **build_options: Any,
) -> Evaluation:
    """Tests a model end to end on labelled recordings, as `wgr eval` does.

    Args:
        training_set: What segment() makes of a folder, or the folder.
        model: A Model, a file or a folder of the six; without it `leave_out`
            builds models from the rest.
        leave_out: "subject", "repetition" or "session".
        folds: Parts in which repetitions are left out.
        n_jobs: Threads that models are built by.
        build_options: As GestureClassifier takes them.

    Raises:
        InputError: The recordings cannot be divided so, or the model cannot be
            used.
    """
    if (model is None) == (leave_out is None):
        raise InputError("evaluate: either model or leave_out is required")
    if leave_out is not None and leave_out not in LEAVE_OUT:
        raise InputError(f"leave_out: one of {', '.join(LEAVE_OUT)} is required")
    _in_range("folds", folds, 2, 1000)
    if not isinstance(training_set, TrainingSet):
        training_set = segment(training_set)
    core = None if model is None else model_of(model, None, wearer, mode).core
    options = build_options_of(n_jobs=n_jobs, **build_options)
    figures = _wgr.evaluate(training_set.core, core, leave_out or "", folds, options)
    return Evaluation(json.loads(figures))


_OPTIONS = {
    "templates",
    "false_cost",
    "tolerance",
    "share",
    "kind",
    "background_templates",
    "judge_by",
    "false_positives_per_hour",
    "background_hours",
}


_WORDS = {"kind": _wgr.TemplateKind, "judge_by": _wgr.LeftOut}


def build_options_of(n_jobs: int | None = None, **given: Any) -> Any:
    """The options of a build by their names."""
    options = _wgr.BuildOptions()
    for name, value in given.items():
        if name not in _OPTIONS:
            raise TypeError(f"{name} is no option of a build")
        words = _WORDS.get(name)
        if words is not None and value is not None:
            if value not in words.__members__:
                known = ", ".join(words.__members__)
                raise InputError(f"{name}: one of {known} is required")
            value = words.__members__[value]
        setattr(options, name, value)
    _in_range("templates", options.templates, 1, 100)
    _in_range("background_templates", options.background_templates, 0, 100)
    if not options.false_cost > 0:
        raise InputError("false_cost: above 0 is required")
    for name in ("tolerance", "share"):
        if not 0 <= getattr(options, name) <= 1:
            raise InputError(f"{name}: 0 to 1 is required")
    if options.false_positives_per_hour is not None:
        if not options.false_positives_per_hour >= 0:
            raise InputError("false_positives_per_hour: 0 or more is required")
        if not options.background_hours > 0:
            raise InputError("false_positives_per_hour: needs background_hours")
    options.threads = threads_of(n_jobs)
    return options
