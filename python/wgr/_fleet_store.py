"""Tables in Zarr."""

from __future__ import annotations

import os
from typing import Union

import pandas

PathLike = Union[str, "os.PathLike[str]"]


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
