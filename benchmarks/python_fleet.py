#!/usr/bin/python3
"""Measures wgr.fleet on workers that are processes of this machine.

usage: benchmarks/python_fleet.py [--hours N] [--kind replay|explain|examine]

Writes recordings of an hour each at 50 samples/s, chained by seed of people who are
synthesised and of what is at hand of ../shared/data. Runs them with two workers,
with two of which two are killed while they run a task, and with one. Prints for each the
wall-clock time, the processor time of the workers, the scheduler and this process, and
how much of the machine others had meanwhile.

Where others work on the machine, wall-clock time says little. What a machine with two
free processors would give follows from the processor time: one worker's by what that
worker takes; two workers' by the larger of what the busier one takes, and half of what
all processes together take. It is printed as calculated. Exit status: 0 when all tables
are the same, and the tasks of the killed workers were run again.
"""

import argparse
import os
import pathlib
import sys
import tempfile
import threading
import time

import numpy as np

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "python"))
from cluster import workers  # noqa: E402
from conftest import DATA, MODELS  # noqa: E402

import wgr  # noqa: E402
from wgr import fleet  # noqa: E402

TICK = os.sysconf("SC_CLK_TCK")
HOUR = 180_000  # samples


def recorded_parts():
    """What is at hand of ../shared/data, at 50 samples/s, and people who are made."""
    parts = [wgr.synthesise(p, gestures=4, distractors=240)[0].samples
             for p in range(1, 9)]
    for name in ("geotec_watch", "uhh_imu"):
        paths = sorted((DATA / name / "rec").glob("*.csv.gz"))
        parts += [wgr.Recording.read(p).resampled(50).samples for p in paths]
    return parts


def write_hours(folder, hours):
    """Recordings of an hour each, chained by seed."""
    parts = recorded_parts()
    random = np.random.default_rng(7)
    for hour in range(hours):
        chain, samples = [], 0
        while samples < HOUR:
            chain.append(parts[random.integers(len(parts))])
            samples += len(chain[-1])
        table = np.concatenate(chain)[:HOUR]
        wgr.Recording.from_arrays(table[:, 1:4], table[:, 4:7], rate=50).write(
            folder / f"p{hour % 20:02}_{hour:04}.csv")
    return len(parts)


def machine_time():
    """Of all processors since the start, busy, s."""
    words = pathlib.Path("/proc/stat").read_text().split("\n", 1)[0].split()
    user, nice, system, _, _, irq, soft = map(int, words[1:8])
    return (user + nice + system + irq + soft) / TICK


class Run:
    """A run over the folder, and what it took."""

    def __init__(self, kind, folder, count, kills):
        self.killed = []  # the task that each was running
        with workers(count) as cluster:
            # Not in the time: all has been imported.
            few = sorted(folder.iterdir())[:count]
            call(kind, few, cluster.client, 49)
            self.workers = [-t for t in cluster.worker_times()]
            self.around = -cluster.scheduler_time() - time.process_time()
            machine, begin = -machine_time(), time.perf_counter()
            killer = threading.Thread(target=self._kill, args=(cluster, kills))
            killer.start()
            self.fleet = call(kind, folder, cluster.client, 50)
            self.wall = time.perf_counter() - begin
            machine += machine_time()
            killer.join()
            times = cluster.worker_times()
            before = self.workers + [0.0] * (len(times) - count)
            self.workers = [a + b for a, b in zip(before, times)]
            self.around += cluster.scheduler_time() + time.process_time()
            self.again = {k: n for k, n in cluster.given_out().items() if n > 1}
        self.own = sum(self.workers) + self.around
        self.others = machine - self.own

    def _kill(self, cluster, kills):
        for _ in range(kills):
            time.sleep(2.0)
            self.killed.append(cluster.kill_one_at_work())
            cluster.add()

    def __str__(self):
        each = ", ".join(f"{t:.1f}" for t in self.workers)
        return (f"wall {self.wall:.1f} s; processor time: workers {each} s, scheduler "
                f"and client {self.around:.1f} s; others had {self.others:.1f} s of the "
                f"machine's {self.wall * os.cpu_count():.1f} s")


def call(kind, recordings, client, rate):
    # Another rate is other work: results of the first call are not taken again.
    if kind == "examine":
        return fleet.examine(recordings, client=client, rate=rate)
    model = wgr.Model.installed(folder=MODELS)
    return getattr(fleet, kind)(recordings, model, client=client, rate=rate)


def report(hours, two, killed, one):
    same = two.fleet.table.equals(killed.fleet.table)
    same = same and two.fleet.table.equals(one.fleet.table)
    print(f"{hours} recording-hours, {len(one.fleet.table)} rows, "
          f"{len(one.fleet.errors)} errors; the tables of all runs are "
          f"{'the same' if same else 'NOT the same'}")
    print(f"measured: two workers are {one.wall / two.wall:.2f} times as fast by the "
          f"clock; all processes take {two.own / one.own:.3f} times the processor time")
    free = max(max(two.workers), two.own / 2)
    print(f"calculated, for two free processors: {sum(one.workers):.1f} s with one "
          f"worker, {free:.1f} s with two: {sum(one.workers) / free:.2f} times as fast")
    again = sum(killed.again.get(key, 1) > 1 for key in killed.killed)
    print(f"{len(killed.killed)} workers were killed in the midst of a task; {again} of "
          f"these tasks were run again, and {len(killed.again) - again} more given to "
          "another worker")
    an_hour = two.own / hours
    print(f"{an_hour:.3f} s of a processor a recording-hour, all processes together; by "
          f"it 10,000 take {an_hour * 10_000 / 3600:.2f} processor-hours")
    return same and again == len(killed.killed) == 2


def main():
    parser = argparse.ArgumentParser(description="Measures wgr.fleet.")
    parser.add_argument("--hours", type=int, default=200)
    parser.add_argument("--kind", default="replay",
                        choices=("replay", "explain", "examine"))
    given = parser.parse_args()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        recorded = write_hours(folder, given.hours)
        print(f"{given.hours} hours of {recorded} parts, 8 of them synthesised",
              flush=True)
        runs = []
        for count, kills in ((2, 0), (2, 2), (1, 0)):
            runs.append(Run(given.kind, folder, count, kills))
            print(f"{count} workers, {kills} killed: {runs[-1]}", flush=True)
    return 0 if report(given.hours, *runs) else 1


if __name__ == "__main__":
    sys.exit(main())
