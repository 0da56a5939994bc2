"""The tutorial's code, and what it prints; and the notebooks.

WGR_UPDATE=1 writes what is printed into the tutorial.
"""

import contextlib
import io
import os
import re

import pandas
import pytest

from conftest import ROOT

PAGES = {"docs/python.md": 6, "README.md": 1}  # and how many blocks they have at least
BLOCK = re.compile(r"```python\n(?P<code>.*?)```\n\n```text\n(?P<output>.*?)```", re.S)


@pytest.mark.parametrize("name", PAGES)
def test_the_code_of_a_page_prints_what_it_says(name, monkeypatch):
    monkeypatch.chdir(ROOT)
    page = (ROOT / name).read_text()
    names = {}

    def run(block):
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed), pandas.option_context(
            "display.width", 100
        ):
            exec(compile(block["code"], name, "exec"), names)
        lines = [line.rstrip() for line in printed.getvalue().splitlines()]
        return f"```python\n{block['code']}```\n\n```text\n" + "\n".join(lines) + "\n```"

    made, count = BLOCK.subn(run, page)
    if os.environ.get("WGR_UPDATE"):
        (ROOT / name).write_text(made)
    assert count >= PAGES[name]
    assert count == page.count("```python")
    assert made == page


NOTEBOOKS = sorted((ROOT / "python" / "notebooks").glob("*.ipynb"))


@pytest.mark.parametrize("path", NOTEBOOKS, ids=lambda path: path.stem)
def test_a_notebook_runs(path, monkeypatch):
    nbclient = pytest.importorskip("nbclient")
    nbformat = pytest.importorskip("nbformat")
    monkeypatch.setenv("PATH", "/usr/bin:" + os.environ["PATH"])
    notebook = nbformat.read(path, as_version=4)
    assert all(not cell.get("outputs") for cell in notebook.cells), "outputs are not kept"
    nbclient.NotebookClient(
        notebook, timeout=120, kernel_name="python3",
        resources={"metadata": {"path": str(path.parent)}},
    ).execute()
    drawn = [output for cell in notebook.cells for output in cell.get("outputs", ())]
    assert any("image/png" in output.get("data", {}) for output in drawn)
