#!/usr/bin/python3
"""Measures the Python package: what docs/python.md says it costs.

usage: benchmarks/python_package.py

Takes tool and module of build/release, or of the folder that WGR_BUILD names. Figures
are processor time, so that a busy machine can be used. benchmarks/python_fleet.py
measures wgr.fleet.
"""

import argparse
import pathlib
import resource
import subprocess
import sys
import tempfile
import time

import numpy as np

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "python"))
from conftest import BUILD, MODELS  # noqa: E402

import wgr  # noqa: E402


def cost(work):
    """Processor time of the least costly of three runs, s."""
    times = []
    for _ in range(3):
        begin = time.process_time()
        work()
        times.append(time.process_time() - begin)
    return min(times)


def measure_replay():
    parts = [wgr.synthesise(p, rate=100, gestures=4, distractors=300)[0]
             for p in range(1, 8)]
    hour = np.concatenate([part.samples for part in parts])
    hour = np.resize(hour, (360_000, 7))
    recording = wgr.Recording.from_arrays(hour[:, 1:4], hour[:, 4:7], rate=100)
    model = wgr.Model.installed(folder=MODELS)
    whole = cost(lambda: wgr.replay(recording, model))
    recognizer = wgr.Recognizer(model, rate=100)
    begin = time.process_time()
    for t, acc, gyro in zip(recording.t[:36000], recording.acc, recording.gyro):
        recognizer.feed(acc, gyro, t)
    live = (time.process_time() - begin) * 10
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "hour.csv"
        recording.write(path)
        reading = cost(lambda: wgr.Recording.read(path))
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        subprocess.run([BUILD / "wgr", "replay", "--models", MODELS, path],
                       check=True, capture_output=True)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
    tool = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    print(f"an hour at 100 samples/s: replay {whole:.3f} s, reading its CSV "
          f"{reading:.3f} s; both by the tool {tool:.3f} s: "
          f"{(whole + reading) / tool:.2f} times as long")
    print(f"an hour fed sample by sample to a Recognizer: {live:.2f} s")


def numpy_matrix(traces):
    """The same scores by NumPy, all pairs of traces of one length at once."""
    n, m, _ = traces.shape
    a, b = np.triu_indices(n, 1)
    total = np.full((m + 1, m + 1, len(a)), np.inf, dtype=np.float32)
    total[0, 0] = 0
    for i in range(1, m + 1):
        cost_of = traces[a, i - 1]
        for j in range(1, m + 1):
            step = ((cost_of - traces[b, j - 1]) ** 2).sum(-1)
            total[i, j] = step + np.minimum(
                np.minimum(total[i - 1, j - 1], total[i - 1, j]), total[i, j - 1])
    return total[m, m]


def measure_similarities():
    random = np.random.default_rng(1)
    traces = np.cumsum(random.normal(size=(1000, 50, 3)), axis=1)
    ours = cost(lambda: wgr.similarity_matrix(list(traces)))
    # A tenth of the traces: a hundredth of the pairs.
    theirs = cost(lambda: numpy_matrix(traces[:100])) * 999 / 9.9
    print(f"similarity matrix of 1000 traces of 50 points: {ours:.2f} s on one thread; "
          f"NumPy {theirs:.0f} s by a hundredth: {theirs / ours:.0f} times as long")


def measure_import():
    times = []
    for _ in range(3):
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        subprocess.run([sys.executable, "-c", "import wgr"], check=True)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        times.append(after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime)
    print(f"import wgr: {min(times):.2f} s")


def main():
    argparse.ArgumentParser(description="Measures the Python package.").parse_args()
    measure_import()
    measure_similarities()
    measure_replay()
    return 0


if __name__ == "__main__":
    sys.exit(main())
