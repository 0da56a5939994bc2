"""The wheel: small, and all that the first notebook needs beside Debian's packages."""

import json
import os
import subprocess
import sys

import pytest

from conftest import BUILD, ROOT

MOST_BYTES = 1_000_000  # most of it is the module, packed


@pytest.fixture(scope="module")
def wheel(tmp_path_factory):
    folder = tmp_path_factory.mktemp("wheel")
    # With the objects that are there, so that nothing is compiled.
    subprocess.run(
        [sys.executable, "-m", "pip", "wheel", "-q", "--no-build-isolation", "--no-deps",
         "--no-index", "-w", folder, ROOT / "python"],
        check=True, env={**os.environ, "WGR_BUILD_DIR": str(BUILD)},
    )
    return next(folder.glob("wgr-*.whl"))


def test_a_wheel_is_small_enough(wheel):
    assert 100_000 < wheel.stat().st_size <= MOST_BYTES


def test_a_fresh_environment_runs_the_first_notebook(wheel, tmp_path):
    # Debian's packages are seen: it carries numpy, pandas and matplotlib.
    subprocess.run(
        ["/usr/bin/python3", "-m", "venv", "--system-site-packages", tmp_path / "venv"],
        check=True,
    )
    python = tmp_path / "venv" / "bin" / "python"
    install = [python, "-m", "pip", "install", "-q", "--no-index", wheel]
    subprocess.run(install, check=True)
    notebook = ROOT / "python" / "notebooks" / "1-first-look.ipynb"
    cells = json.loads(notebook.read_text())["cells"]
    code = "\n".join("".join(c["source"]) for c in cells if c["cell_type"] == "code")
    environment = {k: v for k, v in os.environ.items() if k != "PYTHONPATH"}
    printed = subprocess.check_output(
        [python, "-c", f"{code}\nprint(wgr.__file__, len(events))"],
        cwd=notebook.parent, env=environment, text=True,
    )
    assert printed.split()[0].startswith(str(tmp_path / "venv"))
    assert int(printed.split()[1]) == 11
