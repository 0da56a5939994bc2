"""A fleet's recordings, replayed, explained, examined and evaluated into one table."""

from __future__ import annotations

import dataclasses
import hashlib
import itertools
import json
import math
import os
import pathlib
from typing import TYPE_CHECKING, Any, Callable, Iterable, Iterator, Sequence, Union

import numpy as np
import pandas

from . import _wgr
from ._errors import InputError
from ._fleet_store import write_table
from ._fleet_work import COLUMNS, Made, failed, work_on, work_on_all
from ._models import ModelLike, model_of

if TYPE_CHECKING:
    from distributed import Client

PathLike = Union[str, "os.PathLike[str]"]
Labels = Callable[[str], Iterable[tuple[float, float, int]]]

_AHEAD = 4  # tasks in hand for each thread: none waits, and memory stays small
_BATCH_BYTES = 4 << 20  # of short recordings in one task: some tenths of a second
_BATCH_MOST = 64  # recordings in one task
_LAYOUT = 2  # of what a store keeps


@dataclasses.dataclass
class Fleet:
    """The result of a run over many recordings.

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


def _key(kind: str, path: str, options: dict[str, Any]) -> str:
    """Names a recording's work: the same work on the same file has the same name."""
    try:
        about = os.stat(path)
        state = [about.st_size, about.st_mtime_ns]
    except OSError:
        state = []
    own = _options_for(options, [path])
    text = json.dumps([kind, _wgr.version, _LAYOUT, path, state, own], sort_keys=True)
    return hashlib.sha256(text.encode()).hexdigest()


class _Parts:
    """Finished recordings, a file each, so that none is done twice."""

    def __init__(self, store: PathLike | None) -> None:
        self._folder = None if store is None else pathlib.Path(store)
        if self._folder is not None:
            self._folder.mkdir(parents=True, exist_ok=True)

    def get(self, key: str) -> Made | None:
        if self._folder is None:
            return None
        try:
            made: Made = json.loads((self._folder / f"{key}.json").read_text())
        except (FileNotFoundError, ValueError):
            return None
        return made

    def put(self, key: str, made: Made) -> None:
        # What could not be read may be mended by the next run.
        if self._folder is not None and not made["error"]:
            _wgr.write_file(
                str(self._folder / f"{key}.json"), json.dumps(made).encode()
            )


def default_client() -> Any:
    try:
        from distributed import get_client

        return get_client()
    except (ImportError, ValueError):
        return None


def _options_for(options: dict[str, Any], paths: Iterable[str]) -> dict[str, Any]:
    if "labels" not in options:
        return options
    return {**options, "labels": {path: options["labels"][path] for path in paths}}


Todo = Sequence[tuple[str, str]]  # names of recordings' work, and paths


def _done_here(
    kind: str, todo: Todo, options: dict[str, Any]
) -> Iterator[tuple[str, Made]]:
    for key, path in todo:
        yield key, work_on(kind, path, options)


def _size(path: str) -> int:
    try:
        return os.stat(path).st_size
    except OSError:
        return 0


def batches(todo: Todo, threads: int) -> list[Todo]:
    """The recordings of each task: a long one, or several short ones.

    A task costs the scheduler some milliseconds, as much as a recording of a minute
    costs a worker. The large ones come first, so that the last ones end together.
    """
    sizes = sorted(((_size(path), (key, path)) for key, path in todo), reverse=True)
    most = min(_BATCH_BYTES, sum(s for s, _ in sizes) // (2 * _AHEAD * threads))
    made: list[list[tuple[str, str]]] = []
    filled = 0
    for size, one in sizes:
        if not made or filled + size > most or len(made[-1]) == _BATCH_MOST:
            made.append([])
            filled = 0
        made[-1].append(one)
        filled += size
    return [*made]


class _Tasks:
    """The tasks of a run on a cluster; a few for each thread are in hand at a time."""

    def __init__(
        self, client: Client, kind: str, todo: Todo, options: dict[str, Any]
    ) -> None:
        from distributed import as_completed

        self._client = client
        self._kind = kind
        self._options = options
        self._in_hand: dict[str, Todo] = {}
        threads = sum(client.nthreads().values()) or 1
        self._waiting = iter(batches(todo, threads))
        self._finished = as_completed(loop=client.loop)
        for batch in itertools.islice(self._waiting, _AHEAD * threads):
            self._submit(batch)

    def _submit(self, batch: Todo) -> None:
        paths = [path for _, path in batch]
        keys = "".join(key for key, _ in batch)
        # The name groups the tasks on the dashboard.
        future = self._client.submit(
            work_on_all,
            self._kind,
            paths,
            _options_for(self._options, paths),
            key=f"wgr-{self._kind}-{hashlib.sha256(keys.encode()).hexdigest()}",
        )
        self._in_hand[future.key] = batch
        self._finished.add(future)

    def results(self) -> Iterator[tuple[str, Made]]:
        """Each recording's result, as they come."""
        from distributed.scheduler import KilledWorker

        for future in self._finished:
            batch = self._in_hand.pop(future.key)
            try:
                made = future.result()
            except KilledWorker:
                made = self._after_kills(batch)
            future.release()
            for next_batch in itertools.islice(self._waiting, 1):
                self._submit(next_batch)
            yield from zip([key for key, _ in batch], made)

    def _after_kills(self, batch: Todo) -> list[Made]:
        """Of a task that several workers died with: one by one, to find which it is."""
        if len(batch) == 1:
            error = "every worker that took it was killed: is memory too small?"
            return [failed(error, self._kind)]
        for one in batch:
            self._submit([one])
        return []


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


def run_over(
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
    client = client if client is not None else default_client()
    work = (
        _done_here(kind, todo, options)
        if client is None
        else _Tasks(client, kind, todo, options).results()
    )
    for key, result in work:
        made[key] = result
        parts.put(key, result)
    return _assembled(kind, paths, [made[key] for key in keys])


def _assembled(kind: str, paths: Sequence[str], made: Sequence[Any]) -> Fleet:
    of_column: dict[str, Any] = {name: [] for name in COLUMNS[kind]}
    counts = []
    for result in made:
        rows = result["rows"]
        if result["error"]:
            rows = 1
        for name, values in result["columns"].items():
            nothing = "" if COLUMNS[kind][name] is str else math.nan
            column = values if not result["error"] else [nothing]
            of_column[name].append(np.array(column, dtype=_stored(kind, name)))
        counts.append(rows)
    names = np.array(paths, dtype=object)
    errors = np.array([result["error"] for result in made], dtype=object)
    table = {"recording": np.repeat(names, counts)}
    for name, parts in of_column.items():
        table[name] = np.concatenate(parts)
    table["error"] = np.repeat(errors, counts)
    recordings = pandas.DataFrame(
        {
            "recording": names,
            "hours": [result["hours"] for result in made],
            "rows": [result["rows"] for result in made],
            "error": errors,
        }
    )
    return Fleet(pandas.DataFrame(table), recordings)


def _stored(kind: str, name: str) -> type:
    return object if COLUMNS[kind][name] is str else float


def model_options(model: ModelLike, host: dict[str, Any]) -> dict[str, Any]:
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
    return run_over("replay", recordings, model_options(model, host), client, store)


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
    return run_over("explain", recordings, model_options(model, host), client, store)


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
    return run_over("examine", recordings, {"host": host}, client, store)


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
    options = model_options(model, host)
    options["labels"] = {
        path: [[float(b), float(e), int(c)] for b, e, c in labels(path)]
        for path in paths
    }
    return run_over("evaluate", paths, options, client, store)


def labels_from(table: PathLike) -> Labels:
    """The labels of a labels.csv, file,t_start,t_end,label; files beside it."""
    table = pathlib.Path(table)
    frame = pandas.read_csv(table)
    found: dict[str, list[tuple[float, float, int]]] = {}
    for row in frame.itertuples():
        path = os.path.realpath(table.parent / row.file)
        found.setdefault(path, []).append((row.t_start, row.t_end, int(row.label)))
    return lambda path: found.get(os.path.realpath(path), [])
