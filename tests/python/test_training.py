"""From recordings to models: the same bits as the tool's, and scikit-learn's checks."""

import json
import shutil
import subprocess
import sys
import warnings

import numpy as np
import pandas
import pytest
from sklearn.base import clone
from sklearn.model_selection import LeaveOneGroupOut, cross_val_score
from sklearn.utils.estimator_checks import check_estimator

import wgr
from conftest import DEMO, MODELS, recordings_of, run_tool


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    made = tmp_path_factory.mktemp("set")
    run_tool("synth", "--training", made, "--persons", 3, "--gestures", 4,
             "--distractors", 20)
    return made


@pytest.fixture(scope="module")
def training(folder):
    return wgr.segment(folder)


def training_text(training):
    """A training file of the examples, to eight digits."""
    lines = []
    for label, trace in zip(training.labels, training.traces):
        points, gravity = trace[:-1], trace[-1]
        lines.append(" ".join([f"{label} {len(points)}"] + [f"{v:.8g}" for v in gravity]))
        lines += [" ".join(f"{v:.8g}" for v in axis) for axis in points.T]
    return "\n".join(lines) + "\n"


def numbers(text):
    return [[float(word) for word in line.split()] for line in text.splitlines()]


def test_people_are_synthesised_as_by_the_tool(tmp_path):
    labels, path = tmp_path / "labels.csv", tmp_path / "out.csv"
    run_tool("synth", "--person", 7, "--seed", 3, "--gestures", 1, "--distractors", 5,
             "--style", "calm", "--wearer", 1, "--labels", labels, "-o", path)
    made, annotations = wgr.synthesise(7, seed=3, gestures=1, distractors=5, style="calm",
                                       wearer=1)
    np.testing.assert_array_equal(made.samples, wgr.Recording.read(path).samples)
    by_tool = [line.split(",")[1:] for line in labels.read_text().splitlines()[1:]]
    assert annotations == [(float(b), float(e), int(c)) for b, e, c in by_tool]


def test_a_folder_is_segmented_as_by_the_tool(folder, training, tmp_path):
    path = tmp_path / "set.txt"
    run_tool("segment", folder, "-o", path)
    assert numbers(training_text(training)) == numbers(path.read_text())
    described = json.loads((tmp_path / "set.training.json").read_text())
    subjects = [s for s, count in described["subjects"] for _ in range(count)]
    assert list(training.subjects) == subjects
    assert training.gravity and training.rate == 50
    assert training.background_hours == described["background_seconds"] / 3600


def test_a_recording_is_segmented_into_what_its_folder_is(folder, training):
    lines = (folder / "labels.csv").read_text().splitlines()
    table = [line.split(",") for line in lines]
    kept = []
    for path in sorted(folder.glob("p*.csv")):
        annotations = [(float(b), float(e), int(c)) for f, b, e, c in table[1:]
                       if f == path.name]
        motions = wgr.segment(wgr.Recording.read(path), annotations)
        assert {m.verdict for m in motions} >= {"kept", "too short"}
        kept += [m for m in motions if m.verdict == "kept"]
    assert [m.label for m in kept] == list(training.labels)
    for motion, trace in zip(kept, training.traces):
        np.testing.assert_allclose(motion.trace, trace, rtol=1e-7, atol=1e-7)


@pytest.mark.parametrize("grouped", [False, True])
def test_a_model_has_the_bytes_of_the_tool_s(folder, training, tmp_path, grouped):
    path = tmp_path / "m.xml"
    judged = [] if grouped else ["--judge-by", "repetition"]
    run_tool("build", folder, "-o", path, *judged)
    classifier = wgr.GestureClassifier(background_label=-1)
    classifier.fit(training.traces, training.labels,
                   groups=training.subjects if grouped else None)
    model = classifier.to_model()
    model.write(tmp_path / "python.xml")
    assert (tmp_path / "python.xml").read_bytes() == path.read_bytes()
    assert wgr.replay(wgr.Recording.read(DEMO), model)[:] == wgr.replay(
        wgr.Recording.read(DEMO), path)[:]
    threads = clone(classifier).set_params(n_jobs=2)
    threads.fit(training.traces, training.labels,
                groups=training.subjects if grouped else None)
    assert threads.model_.text == classifier.model_.text


def test_sessions_are_left_out_as_by_the_tool(folder, tmp_path):
    shutil.copytree(folder, tmp_path / "set")
    index = pandas.read_csv(folder / "index.csv").assign(subject="one")
    index["session"] = index["file"].str[:4]
    index.to_csv(tmp_path / "set" / "index.csv", index=False)
    run_tool("build", tmp_path / "set", "-o", tmp_path / "m.xml")
    training = wgr.segment(tmp_path / "set")
    assert set(training.sessions) == {"p001", "p002", "p003"}
    made = wgr.GestureClassifier(background_label=-1)
    made.fit(training.traces, training.labels, training.subjects, training.sessions)
    assert "leaving sessions out" in made.report_
    assert made.model_.text == (tmp_path / "m.xml").read_text()
    made.fit(training.traces, training.labels, sessions=training.sessions)
    assert "leaving sessions out" in made.report_
    for judge_by in ("subject", "session"):
        with pytest.raises(wgr.InputError, match=judge_by):
            clone(made).set_params(judge_by=judge_by).fit(
                training.traces, training.labels)


def test_templates_of_background_are_at_most_as_many_as_asked_for(training):
    labels = np.where(training.labels == 4, -1, training.labels)
    found = []
    for wanted in (0, 2):
        made = wgr.GestureClassifier(background_label=-1, background_templates=wanted)
        lines = made.fit(training.traces, labels).model_.text.splitlines()
        found.append(sum(line.split()[0] == "14" for line in lines if line.strip()))
    assert found[0] == 0 and 1 <= found[1] <= 2
    with pytest.raises(wgr.InputError, match="background_templates"):
        made.set_params(background_templates=101).fit(training.traces, labels)


@pytest.mark.parametrize("words, given", [
    (["--static-window=6", "--min-length=20"], {"static_window": 6, "shortest": 20}),
    (["--sensitivity=2"], {"sensitivity": 2}),
])
def test_host_settings_are_those_of_the_tool(folder, tmp_path, words, given):
    path = tmp_path / "set.txt"
    run_tool("segment", folder, *words, "-o", path)
    made = wgr.segment(folder, **given)
    assert numbers(training_text(made)) == numbers(path.read_text())
    assert given.items() <= made.host_settings.items()
    *events, _ = run_tool(
        "replay", "--models", MODELS, "--json", *words, DEMO).splitlines()
    demo = wgr.Recording.read(DEMO)
    replayed = wgr.replay(demo, MODELS, **given)
    assert [e.t for e in replayed] == [json.loads(line)["t"] for line in events]
    recognizer = wgr.Recognizer(MODELS, rate=demo.rate, **given)
    fed = [recognizer.feed(*sample) for sample in zip(demo.acc, demo.gyro, demo.t)]
    assert [e for e in fed if e is not None] == list(replayed)
    explained = run_tool("explain", "--models", MODELS, "--json", *words, DEMO)
    assert wgr.explain(demo, MODELS, **given).details == json.loads(explained)
    with pytest.raises(wgr.InputError, match="alone"):
        wgr.segment(folder, shortest=20, sensitivity=2)


def test_evaluations_have_the_figures_of_the_tool_s(folder, training):
    by_tool = json.loads(run_tool("eval", folder, "--models", MODELS, "--json"))
    assert wgr.evaluate(training, MODELS).figures == by_tool
    by_tool = json.loads(run_tool("eval", folder, "--leave-out", "subject", "--json"))
    made = wgr.evaluate(folder, leave_out="subject")
    assert made.figures == by_tool
    assert made.confusion.to_numpy().sum() == by_tool["repetitions"]


def gestures_of(training):
    gesture = training.labels >= 0
    traces = [t for t, g in zip(training.traces, gesture) if g]
    return traces, training.labels[gesture], training.subjects[gesture]


def test_people_left_out_are_recognised(training):
    traces, labels, subjects = gestures_of(training)
    X = np.empty(len(traces), dtype=object)
    X[:] = traces
    scores = cross_val_score(wgr.GestureClassifier(templates=3), X, labels,
                             groups=subjects, cv=LeaveOneGroupOut())
    assert len(scores) == 3
    assert scores.mean() > 0.6


def test_labels_of_any_kind_come_back(training):
    traces, labels, _ = gestures_of(training)
    words = np.array(["swing", "raise", "twist", "push", "circle"])[labels]
    codes = np.array([5, 6, 13, 14, -3])[labels]  # what a model cannot have
    for y in (words, codes):
        made = wgr.GestureClassifier(templates=4).fit(traces, y)
        right = made.predict(traces) == y
        assert right.mean() > 0.9
        assert made.accepts(traces).mean() > 0.8
        assert (made.score_samples(traces) <= 0).all()


def test_a_class_that_would_never_be_recognised_gives_no_model(training):
    traces, labels, _ = gestures_of(training)
    first = np.flatnonzero(labels == 0)[1:]
    traces = [t for i, t in enumerate(traces) if i not in first]
    made = wgr.GestureClassifier().fit(traces, np.delete(labels, first))
    with pytest.raises(wgr.InputError, match="class 0 has a single repetition"):
        made.to_model()


def slow_similarity(a, b):
    """Minus the mean squared distance along the best path: diagonals first on ties."""
    cost = ((a[:, None] - b[None]) ** 2).sum(-1)
    total = np.full(cost.shape, np.inf)
    steps = np.zeros(cost.shape, int)
    for i in range(len(a)):
        for j in range(len(b)):
            ways = [(0.0, 0)] if i == j == 0 else []
            for di, dj in ((1, 1), (1, 0), (0, 1)):
                if i >= di and j >= dj:
                    ways.append((total[i - di, j - dj], steps[i - di, j - dj]))
            best = min(ways, key=lambda way: way[0])
            total[i, j], steps[i, j] = best[0] + cost[i, j], best[1] + 1
    return -total[-1, -1] / steps[-1, -1]


def test_similarities_are_those_of_the_formula_whatever_the_threads():
    random = np.random.default_rng(3)
    traces = [random.normal(size=(random.integers(2, 20), 3)) for _ in range(12)]
    made = wgr.similarity_matrix(traces)
    assert made.dtype == np.float32 and made.shape == (12, 12)
    scaled = [t / np.sqrt((t**2).sum() / len(t)) for t in traces]
    for i, j in ((0, 1), (1, 0), (4, 9), (7, 2)):
        assert made[i, j] == pytest.approx(slow_similarity(scaled[i], scaled[j]), 1e-5)
    assert (np.diag(made) == 0).all()
    np.testing.assert_array_equal(made, wgr.similarity_matrix(traces, n_jobs=2))
    empty = wgr.similarity_matrix([traces[0], np.zeros((0, 3))])
    assert empty[0, 1] == -np.inf
    assert wgr.similarity_matrix([]).shape == (0, 0)


def test_a_long_matrix_tells_its_progress_and_is_held_once():
    # In a process of its own: the peak is of a process's whole life. Not ru_maxrss, which
    # starts with that of the process that made it.
    program = """
import re, numpy as np, wgr
random = np.random.default_rng(1)
traces = [random.normal(size=(4, 3)) for _ in range(4000)]
status = lambda: open("/proc/self/status").read()
peak = lambda: 1024 * int(re.search(r"VmHWM:\\s*(\\d+)", status())[1])
wgr.similarity_matrix(traces[:8])
before = peak()
shares = []
matrix = wgr.similarity_matrix(traces, n_jobs=2, progress=shares.append)
assert matrix.flags.writeable and peak() - before < 1.5 * matrix.nbytes, peak() - before
assert shares == sorted(shares) and shares[-1] == 1 and len(set(shares)) > 2, shares
"""
    subprocess.run([sys.executable, "-c", program], check=True)


def test_what_a_progress_raises_ends_the_call():
    traces = [np.ones((600, 3))] * 60
    with pytest.raises(ZeroDivisionError):
        wgr.similarity_matrix(traces, progress=lambda share: 1 / 0)


def test_clusters_have_exemplars_among_themselves(training):
    traces, labels, _ = gestures_of(training)
    made = wgr.AffinityPropagation(gravity=True, preference=4.0).fit(traces)
    again = wgr.AffinityPropagation(affinity="precomputed", preference=4.0)
    again.fit(wgr.similarity_matrix(traces, gravity=True))
    np.testing.assert_array_equal(made.labels_, again.labels_)
    exemplars = made.cluster_centers_indices_
    assert 2 <= len(exemplars) < len(traces) / 2
    assert list(made.labels_[exemplars]) == list(range(len(exemplars)))
    few = wgr.AffinityPropagation(gravity=True, preference=12.0).fit(traces)
    assert len(few.cluster_centers_indices_) < len(exemplars)
    for wrong in ({"damping": 1.0}, {"damping": 0.4}, {"preference": -1},
                  {"max_iter": 0}):
        with pytest.raises(ValueError):  # where the library would end the process
            wgr.AffinityPropagation(**wrong).fit(traces)


@pytest.mark.parametrize(
    "estimator",
    [wgr.GestureClassifier(gravity=False, templates=3), wgr.AffinityPropagation()],
)
def test_scikit_learn_s_checks_pass(estimator):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        check_estimator(estimator)


@pytest.mark.filterwarnings("ignore::wgr.WgrWarning")
def test_a_recorded_set_builds_the_model_of_the_tool(tmp_path):
    path = recordings_of("wand_nano33")[0].parents[1]
    run_tool("build", path, "-o", tmp_path / "m.xml")
    training = wgr.segment(path)
    made = wgr.GestureClassifier(background_label=-1)
    made.fit(training.traces, training.labels)
    assert made.to_model().text == (tmp_path / "m.xml").read_text()


def test_what_cannot_be_used_is_named(tmp_path, training):
    with pytest.raises(wgr.InputError):
        wgr.segment(tmp_path)
    with pytest.raises(wgr.InputError):
        wgr.evaluate(training, MODELS, leave_out="subject")
    with pytest.raises(wgr.InputError):
        wgr.similarity_matrix([np.zeros((4, 2))])
    with pytest.raises(wgr.InputError, match="trace 1"):
        wgr.similarity_matrix([np.zeros((4, 3)), np.full((4, 3), np.nan)])
    with pytest.raises(wgr.InputError):
        wgr.synthesise(style="loud")
