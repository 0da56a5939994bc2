#!/usr/bin/python3
"""Builds the site of the documents once, beside a newer version, and checks its files.

usage: site_test.py ROOT BUILD; ends with 77, skipped, without MkDocs or Doxygen.

- Every link, picture, script and style leads to a file of the site, and to a heading where it
  names one.
- Nothing is loaded from the network: addresses elsewhere are links that a reader follows.
- The search index has every page; each subcommand and header has a page, and what the Python
  package exports has its docstring.
- The page of a document leads to the next one, and the versions can be chosen, newest first.
"""
import html.parser
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import urllib.parse

kNewer = "0.10"  # than this version, although not in the order of the alphabet


class Page(html.parser.HTMLParser):
    """The links of a page, what it loads, and the names of its places."""

    def __init__(self, path):
        super().__init__()
        self.links, self.loads, self.names = [], [], set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.names.update(values[key] for key in ("id", "name") if values.get(key))
        if tag == "a" and values.get("href"):
            self.links.append(values["href"])
        elif tag == "link" and values.get("rel") not in ("next", "prev", "canonical"):
            self.loads.append(values["href"])
        elif values.get("src"):
            self.loads.append(values["src"])


def check_links(site):
    pages = {path: Page(path) for path in site.rglob("*.html") if path.name != "404.html"}
    faults = []
    for path, page in pages.items():
        for target in page.links + page.loads:
            parts = urllib.parse.urlsplit(target)
            where = f"{path.relative_to(site)}: {target}: "
            if parts.scheme or parts.netloc:
                if target in page.loads and parts.scheme != "data":
                    faults.append(where + "is loaded from the network")
                continue
            goal = path
            if parts.path:
                goal = (path.parent / urllib.parse.unquote(parts.path)).resolve()
            if goal.is_dir():
                goal /= "index.html"
            name = urllib.parse.unquote(parts.fragment)
            if not goal.exists():
                faults.append(where + "there is no such file")
            elif name and goal in pages and name not in pages[goal].names:
                faults.append(where + "there is no such heading")
    for path in site.rglob("*.css"):
        for target in re.findall(r"(?:url\(|@import)\s*[\"']?((?:https?:)?//[^\"')\s]+)",
                                 path.read_text(encoding="utf-8")):
            faults.append(f"{path.relative_to(site)}: {target} is loaded from the network")
    return faults


def check_search(site):
    index = json.loads((site / "search/search_index.json").read_text(encoding="utf-8"))
    found = {entry["location"].partition("#")[0] for entry in index["docs"]}
    pages = {str(path.relative_to(site)) for path in site.rglob("*.html")}
    return [f"the search does not find {page}"
            for page in pages - found - {"404.html", "index.html", "wgr-studio.html"}]


def check_reference(root, wgr, site):
    faults = []
    text = subprocess.run([wgr, "--help"], check=True, capture_output=True, text=True).stdout
    listed = re.search(r"^Subcommands:\n((?:  .*\n)+)", text, re.M).group(1)
    pages = [f"wgr-{name}" for name in re.findall(r"^  (\w+) ", listed, re.M)]
    pages += [path.name for path in (root / "include").glob("*.h")]
    for page in pages:
        if not (site / f"reference/{page}.html").exists():
            faults.append(f"the reference has no page {page}")
    # An option that takes the whole first column of --help, and its meaning.
    if not re.search(r"<code>--units acc=U,gyro=U,time=U</code></td>\s*<td[^>]*>acc=m/s2, g",
                     (site / "reference/wgr-import.html").read_text(encoding="utf-8")):
        faults.append("the reference of wgr import has no option --units with its meaning")
    exported = re.search(r"__all__ = \[(.*?)\]",
                         (root / "python/wgr/__init__.py").read_text(encoding="utf-8"), re.S)
    python = (site / "reference/python-package.html").read_text(encoding="utf-8")
    for name in re.findall(r'"(\w+)"', exported.group(1)):
        if f'id="{name.lower()}"' not in python.lower() and name[0] != "_":
            faults.append(f"the reference of the Python package has no {name}")
    # A comment's asterisks are pointers and operators, no emphasis.
    for page in site.glob("reference/*.html"):
        if "<em>" in page.read_text(encoding="utf-8"):
            faults.append(f"{page.relative_to(site)} loses asterisks of a comment")
    return faults


def check_order(root, site):
    listed = [line[:-3] for line in
              (root / "docs/order.txt").read_text(encoding="utf-8").splitlines()
              if line.endswith(".md")]
    faults = []
    for name in listed:
        text = (site / f"{name}.html").read_text(encoding="utf-8")
        if 'class="md-footer' not in text or 'md-footer__link--next' not in text:
            faults.append(f"{name}.html leads to no next page")
    return faults


def check_versions(folder, version):
    faults = []
    versions = [entry["version"] for entry in
                json.loads((folder / "versions.json").read_text(encoding="utf-8"))]
    if versions != [kNewer, version]:
        faults.append(f"versions.json has {versions}, not {[kNewer, version]}")
    if f"url={kNewer}/index.html" not in (folder / "index.html").read_text(encoding="utf-8"):
        faults.append("the first page does not lead to the newest version")
    return faults


def main(root, build):
    root, wgr = pathlib.Path(root), str(pathlib.Path(build) / "wgr")
    themes = subprocess.run(["/usr/bin/python3", "-c", "import mkdocs.utils as u; "
                             "print(*u.get_theme_names())"], capture_output=True, text=True)
    if "material" not in themes.stdout.split() or not shutil.which("doxygen"):
        print("skipped: MkDocs is missing: apt-get install mkdocs-material doxygen")
        return 77
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / kNewer).mkdir()
        (folder / kNewer / "index.html").write_text("", encoding="utf-8")
        subprocess.run(["/usr/bin/python3", root / "scripts/lib/site.py", wgr, folder],
                       cwd=root, check=True)
        shutil.rmtree(folder / kNewer)
        (site,) = [path for path in folder.iterdir() if path.is_dir()]
        faults = (check_links(site.resolve()) + check_search(site)
                  + check_reference(root, wgr, site) + check_order(root, site)
                  + check_versions(folder, site.name))
    for fault in faults:
        print(fault)
    return 1 if faults else 0


sys.exit(main(*sys.argv[1:]))
