"""Recordings of motion, and captures of a host."""

from __future__ import annotations

import dataclasses
import json
import os
from typing import TYPE_CHECKING, Any

import numpy as np

from . import _wgr
from ._errors import InputError, warn

if TYPE_CHECKING:
    import pandas
    from matplotlib.figure import Figure

COLUMNS = ("t", "ax", "ay", "az", "gx", "gy", "gz")
_MOST_BYTES = 1_000_000_000


@dataclasses.dataclass(frozen=True)
class HostSettings:
    """What the host of a capture passed to the library.

    Attributes:
        rate: Samples per second; None where the capture does not say.
        gyro_bias: deg/s; likewise.
        shortest: Shortest motion, samples; below 1 is the library's own choice.
        sensitivity: Level; None where it was not set.
        model: The model's core; None where the capture does not hold it.
    """

    rate: int | None = None
    gyro_bias: tuple[float, float, float] | None = None
    shortest: int = -1
    sensitivity: int | None = None
    model: Any = None


@dataclasses.dataclass(frozen=True)
class ImportedLog:
    """How the log of another device was read.

    Attributes:
        said: The meaning of every column, how sure that is and why; the steps taken.
        profile: For Recording.read(profile=), which then guesses nothing.
    """

    said: str
    profile: dict[str, Any]


class Recording:
    """Samples of both sensors, in time order.

    Attributes:
        samples: (n, 7) float64 in C order: t in s, accelerations in m/s² with
            gravity in them, angular velocities in deg/s, in the watch's frame.
        name: Its source: the path of a file that was read.
        absent_axes: Axes with empty fields, which read as 0: "gx, gy".
        host: What the host of a capture passed to the library.
        imported: For a log: how it was read.
    """

    imported: ImportedLog | None = None

    def __init__(
        self,
        samples: np.ndarray,
        *,
        rate: int | None = None,
        name: str = "",
        absent_axes: str = "",
        host: HostSettings = HostSettings(),
    ) -> None:
        samples = np.ascontiguousarray(samples, dtype=np.float64)
        if samples.ndim != 2 or samples.shape[1] != len(COLUMNS):
            raise InputError(
                f"samples: an array (n, 7) is required, not {samples.shape}"
            )
        self.samples = samples
        self.name = name
        self.absent_axes = absent_axes
        self.host = host
        self._given_rate = rate

    @classmethod
    def read(
        cls,
        path: str | os.PathLike[str],
        *,
        profile: str | os.PathLike[str] | dict[str, Any] | None = None,
        handle: int | None = None,
        rate: int | None = None,
        most_bytes: int = _MOST_BYTES,
    ) -> Recording:
        """Reads a recording (CSV, plain or gzip), a handle of a capture, or a log.

        Args:
            path: The file; its content decides what kind it is.
            profile: For the log of another device or app, which `wgr import` reads:
                "guess" guesses its columns, units and axes; otherwise a profile's
                name, its file or what the file holds. How the log was taken is in
                `imported`.
            handle: For a capture: which handle, where several have samples.
            rate: Samples per second; otherwise the captured host's, or what
                the time stamps say.
            most_bytes: Most bytes to read, unpacked.

        Raises:
            RecordingError: The file cannot be opened, or a line is no sample;
                with file and line.
        """
        path = os.fspath(path)
        if profile is not None:
            return cls._imported(path, profile, rate, most_bytes)
        samples, absent = _wgr.read_recording(path, handle, most_bytes)
        host = HostSettings()
        if path != "-" and _wgr.is_capture(path):
            host = HostSettings(**_wgr.captured_settings(path, handle))
        return cls(
            samples,
            rate=rate if rate is not None else host.rate,
            name=path,
            absent_axes=absent,
            host=host,
        )

    @classmethod
    def _imported(
        cls, path: str, profile: Any, rate: int | None, most_bytes: int
    ) -> Recording:
        as_json = isinstance(profile, dict)
        given = json.dumps(profile) if as_json else os.fspath(profile)
        if given == "guess":
            given = ""
        samples, said, taken = _wgr.import_log([path], given, as_json, rate, most_bytes)
        made = cls(samples, rate=rate, name=path)
        made.imported = ImportedLog(said, json.loads(taken))
        return made

    @classmethod
    def from_arrays(
        cls,
        acc: np.ndarray,
        gyro: np.ndarray,
        *,
        t: np.ndarray | None = None,
        rate: int | None = None,
        name: str = "",
    ) -> Recording:
        """Makes a recording of arrays.

        Args:
            acc: (n, 3), m/s² with gravity.
            gyro: (n, 3), deg/s.
            t: (n,), s; without it `rate` is needed, and time starts at 0.
            rate: Samples per second; without it what `t` says.
            name: Its name in reports.

        Raises:
            InputError: Shapes do not fit, a value is not finite, or neither
                `t` nor `rate` is given.
        """
        acc = np.asarray(acc, dtype=np.float64)
        gyro = np.asarray(gyro, dtype=np.float64)
        for what, array in (("acc", acc), ("gyro", gyro)):
            if array.ndim != 2 or array.shape[1] != 3:
                raise InputError(
                    f"{what}: an array (n, 3) is required, not {array.shape}"
                )
        if len(acc) != len(gyro):
            raise InputError(
                f"gyro: has {len(gyro)} samples, and acc {len(acc)}"
            )
        if t is None:
            if rate is None:
                raise InputError("rate: is required where t is not given")
            t = np.arange(len(acc)) / rate
        t = np.asarray(t, dtype=np.float64)
        if t.shape != (len(acc),):
            raise InputError(
                f"t: an array ({len(acc)},) is required, not {t.shape}"
            )
        samples = np.column_stack((t, acc, gyro))
        faulty = np.flatnonzero(~np.isfinite(samples).all(axis=1))
        if faulty.size:
            raise InputError(
                f"{name or 'samples'}: sample {faulty[0]} (from 0) is not finite"
            )
        return cls(samples, rate=rate, name=name)

    @classmethod
    def from_dataframe(
        cls,
        frame: pandas.DataFrame,
        *,
        rate: int | None = None,
        name: str = "",
    ) -> Recording:
        """Makes a recording of the columns t, ax, ay, az, gx, gy, gz.

        Without t the index counts where it is a float (s) or a time, otherwise
        `rate` is needed.

        Raises:
            InputError: A column is missing; and what from_arrays() raises.
        """
        missing = [c for c in COLUMNS[1:] if c not in frame.columns]
        if missing:
            raise InputError(f"the frame has no column {', '.join(missing)}")
        t = None
        if "t" in frame.columns:
            t = frame["t"].to_numpy(np.float64)
        elif frame.index.dtype.kind == "f":
            t = frame.index.to_numpy(np.float64)
        elif frame.index.dtype.kind in "mM":
            since = frame.index - frame.index[0]
            t = since.total_seconds().to_numpy(np.float64)
        return cls.from_arrays(
            frame[["ax", "ay", "az"]].to_numpy(),
            frame[["gx", "gy", "gz"]].to_numpy(),
            t=t,
            rate=rate,
            name=name,
        )

    @property
    def t(self) -> np.ndarray:
        """(n,) float64, s; a view."""
        return self.samples[:, 0]

    @property
    def acc(self) -> np.ndarray:
        """(n, 3) float64, m/s² with gravity; a view."""
        return self.samples[:, 1:4]

    @property
    def gyro(self) -> np.ndarray:
        """(n, 3) float64, deg/s; a view."""
        return self.samples[:, 4:7]

    @property
    def rate(self) -> int:
        """Samples per second: as given, or by the time stamps, or 50."""
        if self._given_rate is None:
            self._given_rate = _wgr.estimate_rate(self.samples)
        if self._given_rate is None:
            warn(
                f"{self.name or 'recording'}: the time stamps give no rate: "
                f"taking {_wgr.assumed_rate} samples/s; rate= says otherwise"
            )
            self._given_rate = _wgr.assumed_rate
        return self._given_rate

    @property
    def seconds(self) -> float:
        """Duration at the nominal rate, s."""
        return len(self) / self.rate

    def write(self, path: str | os.PathLike[str]) -> None:
        """Writes it as CSV; gzip when the path ends in .gz.

        Raises:
            RecordingError: A value is not finite.
            OutputError: The file cannot be written in full.
        """
        _wgr.write_recording(os.fspath(path), self.samples)

    def resampled(self, rate: int) -> Recording:
        """The same at another rate, by linear interpolation."""
        return Recording(
            _wgr.resample(self.samples, rate), rate=rate, name=self.name
        )

    def between(self, begin: float, end: float) -> Recording:
        """The samples from `begin` to before `end`, s; a view where possible."""
        inside = np.flatnonzero((self.t >= begin) & (self.t < end))
        if inside.size and inside[-1] - inside[0] + 1 == inside.size:
            part = self.samples[inside[0] : inside[-1] + 1]
        else:
            part = self.samples[inside]
        return Recording(part, rate=self._given_rate, name=self.name)

    def to_dataframe(self) -> pandas.DataFrame:
        """A DataFrame with the columns t, ax, ay, az, gx, gy, gz; no copy."""
        import pandas

        return pandas.DataFrame(self.samples, columns=list(COLUMNS), copy=False)

    def plot(self, events: Any = None) -> Figure:
        """Draws both sensors over time, and the events where there are any."""
        from . import _drawing

        return _drawing.draw_recording(self, events)

    def __len__(self) -> int:
        return len(self.samples)

    def __repr__(self) -> str:
        return (
            f"<Recording {self.name or 'of arrays'}: {len(self)} samples at "
            f"{self.rate} samples/s>"
        )
