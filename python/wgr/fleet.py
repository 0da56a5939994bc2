"""Many recordings at once: on this machine, or on any cluster that Dask reaches.

Each function takes paths of recordings or captures, which every worker must be able to
read, and returns one table. It is the same whatever the number and the order of the
workers. A recording that cannot be read is a row with its error. Work that a killed
worker had in hand is done again by another. With `store` every finished recording is
kept at once, and a run that was interrupted goes on where it was.

Without a client, and where no distributed.Client is in use, all runs in this process.
"""

from __future__ import annotations

import dataclasses
import functools
import hashlib
import json
import math
import os
import pathlib
from typing import TYPE_CHECKING, Any, Callable, Iterable, Iterator, Sequence, Union

import numpy as np
import pandas

from . import _wgr
from ._errors import InputError, WgrError
from ._explain import explain as _explain_one
from ._models import Model, ModelLike, model_of
from ._recording import Recording
from ._runs import examine as _examine_one
from ._runs import replay as _replay_one
from ._training import as_trace

if TYPE_CHECKING:
    from distributed import Client

PathLike = Union[str, "os.PathLike[str]"]
Labels = Callable[[str], Iterable[tuple[float, float, int]]]

_AHEAD = 4  # tasks in hand for each thread: none waits, and memory stays small
_NO_GESTURE = 5  # what is reported for a strong motion like no gesture


@dataclasses.dataclass
class Fleet:
    """What came of a run over many recordings.

    Attributes:
        table: The rows of all recordings, in the order of their paths. Its column
            `recording` is the path, `error` is empty but for a recording that could
            not be used, which is a row of its own.
        recordings: A row for each recording: recording, hours, rows, error.
    """

    table: pandas.DataFrame
    recordings: pandas.DataFrame

    @property
    def hours(self) -> float:
        """Of all recordings that could be used."""
        return float(self.recordings["hours"].sum())

    @property
    def errors(self) -> pandas.DataFrame:
        """The recordings that could not be used, and why."""
        return self.recordings[self.recordings["error"] != ""]

    def write(self, path: PathLike) -> None:
        """Writes the table to a Zarr group, an array a column."""
        write_table(self.table, path)

    def _repr_html_(self) -> str:
        return self.table.to_html(max_rows=20)


# ---- one recording ------------------------------------------------------------------


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
        expect=[tuple(e) for e in options["labels"][recording.name]],
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
    motions = [m for m in made["motions"] if m["reported"] not in (None, _NO_GESTURE)]
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
        elif before in (None, _NO_GESTURE):
            change = "gained" if after not in (None, _NO_GESTURE) else "same"
        elif after in (None, _NO_GESTURE):
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


_COLUMNS: dict[str, dict[str, type]] = {
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


def _work(kind: str, path: str, options: dict[str, Any]) -> dict[str, Any]:
    """A recording's rows; on a worker."""
    import warnings

    try:
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            recording = Recording.read(path)
            rows = _WORK[kind](recording, options)
            hours = recording.seconds / 3600.0
        return {"hours": hours, "rows": rows, "error": ""}
    except (WgrError, OSError, MemoryError) as error:
        return _failed(str(error) or type(error).__name__)


def _failed(error: str) -> dict[str, Any]:
    return {"hours": 0.0, "rows": [], "error": error}


# ---- all of them --------------------------------------------------------------------


def _key(kind: str, path: str, options: dict[str, Any]) -> str:
    """Names a recording's work: the same work on the same file has the same name."""
    try:
        about = os.stat(path)
        state = [about.st_size, about.st_mtime_ns]
    except OSError:
        state = []
    own = dict(options)
    if "labels" in own:
        own["labels"] = own["labels"][path]
    text = json.dumps([kind, _wgr.version, path, state, own], sort_keys=True)
    return hashlib.sha256(text.encode()).hexdigest()


class _Parts:
    """Finished recordings, a file each, so that none is done twice."""

    def __init__(self, store: PathLike | None) -> None:
        self._folder = None if store is None else pathlib.Path(store)
        if self._folder is not None:
            self._folder.mkdir(parents=True, exist_ok=True)

    def get(self, key: str) -> dict[str, Any] | None:
        if self._folder is None:
            return None
        try:
            return json.loads((self._folder / f"{key}.json").read_text())
        except (FileNotFoundError, ValueError):
            return None

    def put(self, key: str, made: dict[str, Any]) -> None:
        # What could not be read may be mended by the next run.
        if self._folder is not None and not made["error"]:
            _wgr.write_file(
                str(self._folder / f"{key}.json"), json.dumps(made).encode()
            )


def _default_client() -> Any:
    try:
        from distributed import get_client

        return get_client()
    except (ImportError, ValueError):
        return None


def _done_here(
    kind: str, todo: Sequence[tuple[str, str]], options: dict[str, Any]
) -> Iterator[tuple[str, dict[str, Any]]]:
    for key, path in todo:
        yield key, _work(kind, path, options)


def _options_for(options: dict[str, Any], path: str) -> dict[str, Any]:
    if "labels" not in options:
        return options
    return {**options, "labels": {path: options["labels"][path]}}


def _done_there(
    client: Client,
    kind: str,
    todo: Sequence[tuple[str, str]],
    options: dict[str, Any],
) -> Iterator[tuple[str, dict[str, Any]]]:
    """Yields results as they come; a few tasks for each thread are in hand at a time."""
    from distributed import as_completed
    from distributed.scheduler import KilledWorker

    threads = sum(client.nthreads().values()) or 1
    waiting = iter(todo)
    names: dict[str, str] = {}

    def submit_next() -> Any:
        key, path = next(waiting)
        # The name groups the tasks on the dashboard.
        future = client.submit(
            _work, kind, path, _options_for(options, path), key=f"wgr-{kind}-{key}"
        )
        names[future.key] = key
        return future

    first = [submit_next() for _ in range(min(len(todo), _AHEAD * threads))]
    finished = as_completed(first, loop=client.loop)
    for future in finished:
        try:
            made = future.result()
        except KilledWorker:
            made = _failed("every worker that took it was killed: is memory too small?")
        key = names.pop(future.key)
        future.release()
        try:
            finished.add(submit_next())
        except StopIteration:
            pass
        yield key, made


def _paths_of(recordings: PathLike | Iterable[PathLike]) -> list[str]:
    """Paths in order, each once; of a folder those of its recordings and captures."""
    if isinstance(recordings, (str, os.PathLike)):
        folder = pathlib.Path(recordings)
        if not folder.is_dir():
            return [str(folder)]
        tables = ("labels.csv", "index.csv")
        return sorted(
            str(path)
            for path in folder.rglob("*")
            if path.name.endswith((".csv", ".csv.gz", ".wgrcap"))
            and not path.name.endswith(tables)
        )
    return sorted({os.fspath(path) for path in recordings})


def _run(
    kind: str,
    recordings: PathLike | Iterable[PathLike],
    options: dict[str, Any],
    client: Any,
    store: PathLike | None,
) -> Fleet:
    paths = _paths_of(recordings)
    if not paths:
        raise InputError("recordings: none is given")
    parts = _Parts(store)
    keys = [_key(kind, path, options) for path in paths]
    made = {key: parts.get(key) for key in keys}
    todo = [(key, path) for key, path in zip(keys, paths) if made[key] is None]
    client = client if client is not None else _default_client()
    work = (
        _done_here(kind, todo, options)
        if client is None
        else _done_there(client, kind, todo, options)
    )
    for key, result in work:
        made[key] = result
        parts.put(key, result)
    return _assembled(kind, [(path, made[key]) for key, path in zip(keys, paths)])


def _assembled(kind: str, made: Sequence[tuple[str, Any]]) -> Fleet:
    columns = _COLUMNS[kind]
    rows = []
    about = []
    for path, result in made:
        error = result["error"]
        rows += [{"recording": path, **row, "error": ""} for row in result["rows"]]
        if error:
            nothing = {name: "" for name, of in columns.items() if of is str}
            rows.append({"recording": path, **nothing, "error": error})
        about.append((path, result["hours"], len(result["rows"]), error))
    types = {"recording": str, **columns, "error": str}
    table = pandas.DataFrame(rows, columns=list(types)).astype(types)
    names = ["recording", "hours", "rows", "error"]
    return Fleet(table, pandas.DataFrame(about, columns=names))


def _options(model: ModelLike, host: dict[str, Any]) -> dict[str, Any]:
    chosen = model_of(model, None, host.pop("wearer", 0), host.pop("mode", 1))
    return {"model": chosen.text, "host": host}


def replay(
    recordings: PathLike | Iterable[PathLike],
    model: ModelLike = None,
    *,
    client: Client | None = None,
    store: PathLike | None = None,
    **host: Any,
) -> Fleet:
    """Replays recordings; a row for each event.

    Args:
        recordings: Paths, or a folder.
        model: As for wgr.replay(); captures are run with it, too.
        client: A distributed.Client; otherwise the one in use, or this process.
        store: Folder that keeps each finished recording.
        host: gyro_bias, sensitivity, rate, wearer, mode, as for wgr.replay().

    Returns:
        Columns t (s), gesture, strength (m/s²), duration_ms.
    """
    return _run("replay", recordings, _options(model, host), client, store)


def explain(
    recordings: PathLike | Iterable[PathLike],
    model: ModelLike = None,
    *,
    client: Client | None = None,
    store: PathLike | None = None,
    **host: Any,
) -> Fleet:
    """Explains recordings; a row for each motion, with the cause that decided.

    The arguments are those of replay(); the columns those of Explanation.motions.
    """
    return _run("explain", recordings, _options(model, host), client, store)


def examine(
    recordings: PathLike | Iterable[PathLike],
    *,
    client: Client | None = None,
    store: PathLike | None = None,
    **host: Any,
) -> Fleet:
    """Examines recordings; a row for each finding.

    The arguments are those of replay() and wgr.examine().
    """
    return _run("examine", recordings, {"host": host}, client, store)


def evaluate(
    recordings: PathLike | Iterable[PathLike],
    model: ModelLike = None,
    *,
    labels: Labels,
    client: Client | None = None,
    store: PathLike | None = None,
    **host: Any,
) -> Fleet:
    """Holds what is reported against what is labelled.

    Args:
        labels: For a path its gestures, (begin, end, label) in s; nothing else in
            the recording is one. See labels_from().

    Returns:
        A row for each labelled gesture and each false positive: t (s); label, of a
        false positive what was reported; outcome: "recognised", "missed" or "false
        positive"; and the cause that decided.
    """
    paths = _paths_of(recordings)
    options = _options(model, host)
    options["labels"] = {
        path: [[float(b), float(e), int(c)] for b, e, c in labels(path)]
        for path in paths
    }
    return _run("evaluate", paths, options, client, store)


def labels_from(table: PathLike) -> Labels:
    """The labels of a labels.csv, file,t_start,t_end,label; files beside it."""
    table = pathlib.Path(table)
    frame = pandas.read_csv(table)
    found: dict[str, list[tuple[float, float, int]]] = {}
    for row in frame.itertuples():
        path = os.path.realpath(table.parent / row.file)
        found.setdefault(path, []).append((row.t_start, row.t_end, int(row.label)))
    return lambda path: found.get(os.path.realpath(path), [])


# ---- before a release ---------------------------------------------------------------


def _poisson_at_most(count: int, mean: float) -> float:
    logs = [n * math.log(mean) - mean - math.lgamma(n + 1) for n in range(count + 1)]
    return min(1.0, math.fsum(math.exp(log) for log in logs))


def _mean_where(share: float, count: int) -> float:
    """The Poisson mean at which `count` or less has this probability."""
    low, high = 1e-12, 10.0 * (count + 10)
    for _ in range(100):
        middle = 0.5 * (low + high)
        if _poisson_at_most(count, middle) > share:
            low = middle
        else:
            high = middle
    return 0.5 * (low + high)


def rate_interval(
    count: int, hours: float, confidence: float = 0.95
) -> tuple[float, float]:
    """An hourly rate's exact interval, of a count: F. Garwood, Biometrika 28 (1936)."""
    if not hours > 0:
        return 0.0, math.inf
    tail = 0.5 * (1.0 - confidence)
    low = 0.0 if count == 0 else _mean_where(1.0 - tail, count - 1)
    return low / hours, _mean_where(tail, count) / hours


@dataclasses.dataclass
class Comparison:
    """How a fleet's events change from one model to another.

    Attributes:
        fleet: A row for each event of either: t, old, new (classes; 5 is no gesture),
            change: "same", "changed" to another gesture, "gained" or "lost".
        people: A row for each person: hours, gestures under old and new, how many
            are lost, gained and changed, and of the changes an hour the 95 % interval.
        difference: Gestures an hour more under the new model, with the 95 % interval
            that resampling the people gives (percentiles of a seeded bootstrap).
    """

    fleet: Fleet
    people: pandas.DataFrame
    difference: tuple[float, float, float]

    def _repr_html_(self) -> str:
        return self.people.to_html()

    def __repr__(self) -> str:
        middle, low, high = self.difference
        return (
            f"{middle:+.3f} gestures an hour under the new model "
            f"(95 %: {low:+.3f} to {high:+.3f})\n{self.people.to_string()}"
        )


def _person_of(path: str) -> str:
    """A recording's person where nothing says: the name up to the first "_"."""
    return pathlib.Path(path).name.split(".")[0].split("_")[0]


def _bootstrap(people: pandas.DataFrame, seed: int) -> tuple[float, float, float]:
    hours = people["hours"].to_numpy()
    more = (people["new"] - people["old"]).to_numpy()
    if not hours.sum() > 0:
        return math.nan, math.nan, math.nan
    random = np.random.Generator(np.random.PCG64(seed))
    drawn = random.integers(0, len(people), size=(2000, len(people)))
    sums = hours[drawn].sum(axis=1)
    rates = more[drawn].sum(axis=1)[sums > 0] / sums[sums > 0]
    low, high = np.quantile(rates, [0.025, 0.975])
    return float(more.sum() / hours.sum()), float(low), float(high)


def compare(
    old_model: ModelLike,
    new_model: ModelLike,
    recordings: PathLike | Iterable[PathLike],
    *,
    who: Callable[[str], str] = _person_of,
    client: Client | None = None,
    store: PathLike | None = None,
    seed: int = 1,
    **host: Any,
) -> Comparison:
    """Which events a new model changes, and for whom: the question before a release.

    Args:
        old_model, new_model: As for wgr.replay().
        who: Whose a recording is, by its path; otherwise the file's name up to "_".
        seed: Of the bootstrap.
    """
    options = _options(old_model, dict(host))
    options["new_model"] = _options(new_model, dict(host))["model"]
    fleet = _run("compare", recordings, options, client, store)
    return _summed(fleet, who, seed)


def _gestures_in(classes: pandas.Series) -> int:
    return int((classes.notna() & (classes != _NO_GESTURE)).sum())


def _summed(fleet: Fleet, who: Callable[[str], str], seed: int) -> Comparison:
    about = fleet.recordings
    hours = about.groupby(about["recording"].map(who))["hours"].sum()
    events = fleet.table[fleet.table["error"] == ""]
    person = events["recording"].map(who)
    rows = []
    for name, of_person in hours.items():
        own = events[person == name]
        counts = own["change"].value_counts()
        changes = {c: int(counts.get(c, 0)) for c in ("lost", "gained", "changed")}
        low, high = rate_interval(sum(changes.values()), of_person)
        rows.append(
            {
                "person": name,
                "hours": of_person,
                "old": _gestures_in(own["old"]),
                "new": _gestures_in(own["new"]),
                **changes,
                "changes_per_hour": sum(changes.values()) / of_person
                if of_person > 0
                else math.nan,
                "low": low,
                "high": high,
            }
        )
    people = pandas.DataFrame(rows).set_index("person")
    return Comparison(fleet, people, _bootstrap(people, seed))


# ---- tables and matrices ------------------------------------------------------------


def write_table(table: pandas.DataFrame, path: PathLike) -> None:
    """Writes a table to a Zarr group, an array a column; what was there goes.

    Debian carries Zarr, and nothing that writes Parquet.
    """
    import zarr

    group = zarr.open_group(os.fspath(path), mode="w")
    group.attrs["columns"] = list(table.columns)
    for name in table.columns:
        values = table[name].to_numpy()
        if values.dtype == object:
            # Of a fixed width: no bytes of another program are run to read it.
            values = values.astype(str) if len(values) else values.astype("<U1")
        group.array(name, values, chunks=(1 << 16,))


def read_table(path: PathLike) -> pandas.DataFrame:
    """Reads what write_table() wrote."""
    import zarr

    group = zarr.open_group(os.fspath(path), mode="r")
    columns = {}
    for name in group.attrs["columns"]:
        values = group[name][:]
        columns[name] = values.astype(object) if values.dtype.kind == "U" else values
    return pandas.DataFrame(columns)


def _fill_strip(path: str, first: int, end: int) -> int:
    """Scores the traces from `first` to `end` with all before, into the store."""
    import zarr

    group = zarr.open_group(path, mode="r+")
    ends = group["ends"][:end]
    points = group["points"][: ends[-1]]
    traces = np.split(points, ends[:-1])
    down, across = _wgr.similarity_strip(
        [np.ascontiguousarray(t) for t in traces],
        first,
        group.attrs["k"],
        group.attrs["normalise"],
    )
    matrix = group["matrix"]
    matrix[:end, first:end] = down
    if first:
        matrix[first:end, :first] = across
    return first


def similarity_matrix(
    traces: Sequence[np.ndarray],
    store: PathLike,
    *,
    block: int = 256,
    gravity: bool = False,
    normalise: bool = True,
    client: Client | None = None,
) -> Any:
    """wgr.similarity_matrix() by blocks into Zarr, for more than fits one machine.

    Every worker must see `store`. An interrupted run goes on where it was.

    Returns:
        The zarr array (n, n) float32, of chunks (block, block).
    """
    import zarr

    path = os.fspath(store)
    arrays = [as_trace(trace, i) for i, trace in enumerate(traces)]
    if not arrays:
        raise InputError("traces: none is given")
    points = np.concatenate(arrays)
    digest = hashlib.sha256(points.tobytes())
    digest.update(repr([len(a) for a in arrays] + [block, gravity, normalise]).encode())
    group = zarr.open_group(path, mode="a")
    if group.attrs.get("of") != digest.hexdigest():
        group = zarr.open_group(path, mode="w")
        group.array("points", points)
        group.array("ends", np.cumsum([len(a) for a in arrays]))
        n = len(arrays)
        group.create("matrix", shape=(n, n), chunks=(block, block), dtype="f4")
        group.create("done", shape=(-(-n // block),), chunks=(1,), dtype="u1")
        group.attrs.update(k=int(gravity), normalise=normalise, of=digest.hexdigest())
    strips = [
        (i * block, min((i + 1) * block, len(arrays)))
        for i in np.flatnonzero(group["done"][:] == 0).tolist()
    ]
    client = client if client is not None else _default_client()
    if client is None:
        for first, end in strips:
            group["done"][_fill_strip(path, first, end) // block] = 1
        return group["matrix"]
    from distributed import as_completed

    name = hashlib.sha256(os.path.abspath(path).encode() + digest.digest()).hexdigest()
    # The long ones first.
    tasks = [
        client.submit(_fill_strip, path, *strip, key=f"wgr-strip-{name}-{strip[0]}")
        for strip in reversed(strips)
    ]
    for future in as_completed(tasks, loop=client.loop):
        group["done"][future.result() // block] = 1
    return group["matrix"]
