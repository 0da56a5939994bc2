"""Many recordings: one table, whatever becomes of the workers."""

import json
import shutil
import threading

import numpy as np
import pandas
import pytest

import wgr
from cluster import workers
from conftest import MODELS, run_tool

fleet = pytest.importorskip("wgr.fleet")
_fleet_runs = pytest.importorskip("wgr._fleet_runs")
PERSONS = 4


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    made = tmp_path_factory.mktemp("fleet")
    run_tool("synth", "--training", made, "--persons", PERSONS, "--gestures", 2,
             "--distractors", 60)
    (made / "p900_torn.csv").write_text("t,ax,ay,az,gx,gy,gz\n0,1,2,3,4,5,6\n0.02,1\n")
    (made / "p901_faulty.csv").write_text("t,ax,ay,az,gx,gy,gz\n0,1,2,3,4,5,x\n")
    return made


@pytest.fixture(scope="module")
def cluster():
    with workers(2) as made:
        yield made


def assert_same(a, b):
    pandas.testing.assert_frame_equal(a.table, b.table)
    pandas.testing.assert_frame_equal(a.recordings, b.recordings)


def test_a_row_is_an_event_or_an_error(folder):
    made = fleet.replay(folder, MODELS)
    one = wgr.replay(wgr.Recording.read(folder / "p002_free.csv"), MODELS)
    rows = made.table[made.table["recording"] == str(folder / "p002_free.csv")]
    assert list(rows["t"]) == [e.t for e in one]
    assert list(rows["strength"]) == [e.strength for e in one]
    assert len(made.recordings) == PERSONS + 2
    errors = made.errors
    assert list(errors["recording"]) == [str(folder / "p900_torn.csv"),
                                         str(folder / "p901_faulty.csv")]
    assert "p901_faulty.csv:2: gz is not a number" in errors["error"].iloc[1]
    assert (made.table["error"] != "").sum() == 2
    assert made.hours == pytest.approx(sum(
        wgr.Recording.read(p).seconds for p in folder.glob("p00*.csv")) / 3600)


def test_tables_do_not_depend_on_the_workers(folder, cluster):
    for run in (
        lambda **to: fleet.replay(folder, MODELS, sensitivity=1, **to),
        lambda **to: fleet.explain(folder, MODELS, **to),
        lambda **to: fleet.examine(sorted(folder.glob("p*.csv"), reverse=True), **to),
    ):
        assert_same(run(client=cluster.client), run())


def test_explained_causes_are_those_of_each_recording(folder):
    made = fleet.explain(folder, MODELS)
    path = folder / "p001_free.csv"
    one = wgr.explain(wgr.Recording.read(path), MODELS).motions
    rows = made.table[made.table["recording"] == str(path)]
    assert list(rows["cause"]) == list(one["cause"])
    np.testing.assert_array_equal(rows["score"], one["score"])


def test_what_is_labelled_is_found_or_missed(folder, cluster, tmp_path):
    labels = fleet.labels_from(folder / "labels.csv")
    paths = sorted(folder.glob("p00*.csv"))
    made = fleet.evaluate(paths, MODELS, labels=labels, client=cluster.client)
    for path in [*paths, folder / "labels.csv", folder / "index.csv"]:
        shutil.copy(path, tmp_path)
    by_tool = json.loads(run_tool("eval", tmp_path, "--models", MODELS, "--json"))
    outcomes = list(made.table["outcome"])
    assert outcomes.count("recognised") == by_tool["right"] > 0
    assert len(outcomes) - outcomes.count("false positive") == by_tool["repetitions"]
    missed = made.table[made.table["outcome"] == "missed"]
    assert (missed["cause"] != "").all()
    assert_same(made, fleet.evaluate(paths, MODELS, labels=labels))
    without = fleet.evaluate(paths, MODELS, labels=lambda path: []).table
    events = fleet.replay(paths, MODELS).table
    assert set(without["outcome"]) == {"false positive"}
    assert list(without["label"]) == list(events["gesture"][events["gesture"] != 5])


def test_killed_workers_cost_their_tasks_alone(folder, cluster, tmp_path):
    recording = wgr.Recording.read(folder / "p001_free.csv")
    span = recording.t[-1] + 0.02
    long = wgr.Recording.from_arrays(
        np.tile(recording.acc, (20, 1)), np.tile(recording.gyro, (20, 1)), rate=50)
    paths = [tmp_path / f"p{i}_long.csv" for i in range(6)]
    for i, path in enumerate(paths):
        long.between(i, 15 * span + i).write(path)
    here = fleet.replay(paths, MODELS)
    assert len(here.table) > 100

    killed = []

    def kill_twice():
        for _ in range(2):
            killed.append(cluster.kill_one_at_work())
        cluster.add(2)

    killer = threading.Thread(target=kill_twice)
    killer.start()
    there = fleet.replay(paths, MODELS, client=cluster.client)
    killer.join()
    assert_same(there, here)
    # In mid-work: what the killed were running was run again, and by far not all.
    times = cluster.given_out()
    assert len(killed) == 2 and all(times[key] > 1 for key in killed)
    of_run = [times[key] for key in times if key in killed or times[key] > 1]
    assert sum(times.values()) - len(times) == sum(n - 1 for n in of_run)
    assert len(of_run) < len(paths)


def test_an_interrupted_run_goes_on_where_it_was(folder, tmp_path, monkeypatch):
    done = []
    work = _fleet_runs.work_on

    def watched(kind, path, options):
        if len(done) == 3:
            raise KeyboardInterrupt
        done.append(path)
        return work(kind, path, options)

    monkeypatch.setattr(_fleet_runs, "work_on", watched)
    with pytest.raises(KeyboardInterrupt):
        fleet.replay(folder, MODELS, store=tmp_path / "store")
    first = list(done)
    done.clear()
    monkeypatch.setattr(_fleet_runs, "work_on", lambda *a: done.append(a[1]) or work(*a))
    made = fleet.replay(folder, MODELS, store=tmp_path / "store")
    assert not set(first) & set(done) and len(first) == 3
    assert_same(made, fleet.replay(folder, MODELS))
    # Other options are other work.
    done.clear()
    fleet.replay(folder, MODELS, store=tmp_path / "store", sensitivity=3)
    assert len(done) == PERSONS + 2


def test_models_are_compared_person_by_person(folder, cluster):
    same = fleet.compare(MODELS, MODELS, folder)
    assert set(same.fleet.table["change"]) <= {"same", ""}
    assert same.difference == (0.0, 0.0, 0.0)
    right = wgr.Model.installed(1, 2, folder=MODELS)
    made = fleet.compare(MODELS, right, folder, client=cluster.client)
    people = made.people.loc["p001"]
    path = folder / "p001_free.csv"
    old, new = ({e.t: e.gesture for e in wgr.replay(wgr.Recording.read(path), m)
                 if e.gesture != 5} for m in (MODELS, right))
    assert people["old"] == len(old) and people["new"] == len(new)
    assert people["lost"] == len(old.keys() - new.keys())
    assert people["gained"] == len(new.keys() - old.keys())
    assert people["changed"] == sum(old[t] != new[t] for t in old.keys() & new.keys())
    middle, low, high = made.difference
    assert low <= middle <= high and low < high
    assert repr(made) == repr(fleet.compare(MODELS, right, folder))


# Exact limits from tables: 0 and 10 events in an hour.
@pytest.mark.parametrize("count, low, high", [(0, 0.0, 3.689), (10, 4.795, 18.390)])
def test_rates_have_exact_intervals(count, low, high):
    assert fleet.rate_interval(count, 1.0) == pytest.approx((low, high), abs=1e-3)
    assert fleet.rate_interval(count, 2.0) == pytest.approx((low / 2, high / 2), abs=1e-3)


def test_tables_are_kept_in_zarr(folder, tmp_path):
    made = fleet.explain(folder, MODELS)
    made.write(tmp_path / "table.zarr")
    pandas.testing.assert_frame_equal(
        fleet.read_table(tmp_path / "table.zarr"), made.table)


def test_a_matrix_by_blocks_is_the_whole_one(cluster, tmp_path):
    random = np.random.default_rng(5)
    traces = [random.normal(size=(random.integers(1, 30), 3)) for _ in range(45)]
    whole = wgr.similarity_matrix(traces, gravity=True)
    here = fleet.similarity_matrix(traces, tmp_path / "here", block=16, gravity=True)
    np.testing.assert_array_equal(here[:], whole)
    there = fleet.similarity_matrix(traces, tmp_path / "there", block=10, gravity=True,
                                    client=cluster.client)
    np.testing.assert_array_equal(there[:], whole)
    there[0, 0] = 7  # is not done again
    again = fleet.similarity_matrix(traces, tmp_path / "there", block=10, gravity=True)
    assert again[0, 0] == 7
    other = fleet.similarity_matrix(traces[1:], tmp_path / "there", block=10)
    assert other.shape == (44, 44)
