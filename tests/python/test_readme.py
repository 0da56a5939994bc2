"""The Python of the README prints what stands behind it."""

import contextlib
import io
import re

from conftest import ROOT


def test_readme_prints_what_it_shows(monkeypatch):
    text = (ROOT / "README.md").read_text(encoding="utf-8")
    code, shown = re.search(
        r"```python\n(.*?)```\n\n```text\n(.*?)```", text, re.DOTALL
    ).groups()
    monkeypatch.chdir(ROOT)
    printed = io.StringIO()
    with contextlib.redirect_stdout(printed):
        exec(compile(code, "README.md", "exec"), {})
    assert printed.getvalue() == shown
