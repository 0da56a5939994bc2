"""Which events a new model changes in a fleet, and for whom."""

from __future__ import annotations

import dataclasses
import math
import pathlib
from typing import TYPE_CHECKING, Any, Callable, Iterable

import numpy as np
import pandas

from ._fleet_runs import Fleet, PathLike, run_over, model_options
from ._fleet_work import NO_GESTURE
from ._models import ModelLike

if TYPE_CHECKING:
    from distributed import Client


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
    options = model_options(old_model, dict(host))
    options["new_model"] = model_options(new_model, dict(host))["model"]
    fleet = run_over("compare", recordings, options, client, store)
    return _summed(fleet, who, seed)


def _gestures_in(classes: pandas.Series) -> int:
    return int((classes.notna() & (classes != NO_GESTURE)).sum())


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
