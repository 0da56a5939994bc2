"""The similarities of more traces than fit one machine, by strips into Zarr."""

from __future__ import annotations

import hashlib
import os
from typing import TYPE_CHECKING, Any, Sequence

import numpy as np

from . import _wgr
from ._errors import InputError
from ._fleet_runs import PathLike, default_client
from ._training import as_trace

if TYPE_CHECKING:
    from distributed import Client


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
    client = client if client is not None else default_client()
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
