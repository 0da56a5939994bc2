"""Many recordings at once: on this machine, or on any cluster that Dask reaches.

Each function takes paths of recordings or captures, which every worker must be able to
read, and returns one table. It is the same whatever the number and the order of the
workers. A recording that cannot be read is a row with its error. Work that a killed
worker had not finished is done again by another. With `store` every finished recording is
kept at once, and a run that was interrupted goes on where it was.

Without a client, and where no distributed.Client is in use, all runs in this process.
"""

from __future__ import annotations

from ._fleet_comparison import Comparison, compare, rate_interval
from ._fleet_matrix import similarity_matrix
from ._fleet_runs import (
    Fleet,
    Labels,
    evaluate,
    examine,
    explain,
    labels_from,
    replay,
)
from ._fleet_store import read_table, write_table

__all__ = [
    "Comparison",
    "Fleet",
    "Labels",
    "compare",
    "evaluate",
    "examine",
    "explain",
    "labels_from",
    "rate_interval",
    "read_table",
    "replay",
    "similarity_matrix",
    "write_table",
]
