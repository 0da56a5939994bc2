"""What the tests of the Python package share.

WGR_BUILD names the build folder, build/release otherwise, whose tool and module are
tested; an installed package is tested with WGR_INSTALLED=1. WGR_DATA names the folder of
recorded sets, ../shared/data otherwise.
"""

import os
import pathlib
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("WGR_BUILD", ROOT / "build" / "release"))
if not os.environ.get("WGR_INSTALLED"):
    sys.path.insert(0, str(BUILD / "python"))
    os.environ["PYTHONPATH"] = str(BUILD / "python")

MODELS = ROOT / "models"
DEMO = ROOT / "recordings" / "demo.csv"
LABELS = ROOT / "recordings" / "demo.labels.csv"
DATA = pathlib.Path(os.environ.get("WGR_DATA", ROOT.parent / "shared" / "data"))
SETS = ("geotec_watch", "nano_gestures", "uhh_imu", "wand_nano33")


def run_tool(*words, status=0):
    """What `wgr` prints; its exit status must be the one, or one of those, expected."""
    done = subprocess.run(
        [BUILD / "wgr", *map(str, words)], capture_output=True, text=True
    )
    expected = status if isinstance(status, tuple) else (status,)
    assert done.returncode in expected, done.stderr
    return done.stdout


def recordings_of(name):
    """The recordings of a set of ../shared/data; skips where it is not at hand."""
    folder = DATA / name / "rec"
    if not folder.is_dir():
        pytest.skip(f"../shared/data/{name} is not at hand")
    return sorted(folder.glob("*.csv.gz"))


@pytest.fixture(scope="session")
def demo():
    import wgr

    return wgr.Recording.read(DEMO)


@pytest.fixture(scope="session")
def model():
    import wgr

    return wgr.Model.installed(folder=MODELS)
