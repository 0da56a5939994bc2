#!/usr/bin/python3
"""Measures what the flight recorder adds to a sample: pairs of runs in one go.

usage: recorder_overhead.py [--pairs N] [--samples N] [--instructions] BUILD [FOLDER]

Runs the recorded host of the tests, in private mounts, by turns without and with a
recording into FOLDER (a temporary one by default), with the library's log, and prints the
median of the pairs' ratios and the processor time of a sample, that of the system
included. With --instructions callgrind counts
instructions instead, which no other load disturbs.
"""
import argparse
import os
import pathlib
import re
import resource
import statistics
import subprocess
import sys
import tempfile

kRoot = pathlib.Path(__file__).resolve().parent.parent


def command(build, samples):
    host = build / "tests/recorded_host"
    return [kRoot / "scripts/private-paths", host, "steady", str(samples)]


def environment(folder):
    settings = dict(os.environ, WGR_RECORDER_CONFIG="/dev/null", WGR_RECORDER_KEEP="ring")
    if folder is not None:
        settings["WGR_RECORDER_DIR"] = str(folder)
    return settings


def seconds(build, samples, folder):
    """Processor time: what else runs on the machine disturbs it less than the clock's."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run(command(build, samples), env=environment(folder), check=True,
                   stdout=subprocess.DEVNULL)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def instructions(build, samples, folder):
    with tempfile.TemporaryDirectory() as out:
        words = command(build, samples)
        words[1:1] = ["valgrind", "--tool=callgrind", f"--callgrind-out-file={out}/out"]
        ended = subprocess.run(words, env=environment(folder), check=True, text=True,
                               capture_output=True)
        return int(re.search(r"Collected : (\d+)", ended.stderr).group(1))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=lambda word: pathlib.Path(word).resolve())
    parser.add_argument("folder", nargs="?")
    parser.add_argument("--pairs", type=int, default=9)
    parser.add_argument("--samples", type=int, default=150000)
    parser.add_argument("--instructions", action="store_true")
    given = parser.parse_args()
    with tempfile.TemporaryDirectory(dir=given.folder) as folder:
        if given.instructions:
            # The first samples, which also start the program, are left out.
            few, many = given.samples // 10, given.samples
            each = [(instructions(given.build, many, where) -
                     instructions(given.build, few, where)) / (many - few)
                    for where in (None, folder)]
            print(f"{each[0]:.0f} instructions a sample alone, {each[1]:.0f} recorded: "
                  f"{100 * (each[1] / each[0] - 1):.1f} % more")
            return 0
        ratios, alone, recorded = [], [], []
        for i in range(given.pairs):
            # Each goes first in turn.
            order = [None, folder] if i % 2 == 0 else [folder, None]
            taken = {where: seconds(given.build, given.samples, where) for where in order}
            alone.append(taken[None] / given.samples)
            recorded.append(taken[folder] / given.samples)
            ratios.append(taken[folder] / taken[None])
    print(f"{1e6 * statistics.median(alone):.2f} us a sample alone, "
          f"{1e6 * statistics.median(recorded):.2f} us recorded; median of "
          f"{given.pairs} pairs: {100 * (statistics.median(ratios) - 1):+.1f} % "
          f"({100 * (min(ratios) - 1):+.1f} to {100 * (max(ratios) - 1):+.1f})")
    return 0


if __name__ == "__main__":
    sys.exit(main())
