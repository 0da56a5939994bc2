#!/usr/bin/python3
"""Builds the site of the documents: see scripts/site.

usage: site.py WGR OUTPUT_FOLDER

Pages are those of docs/, in the order of docs/order.txt, the README, and a reference that is
made of Doxygen's reading of include/, of what wgr --help prints, and of the docstrings of the
Python package. MkDocs makes HTML of them.
"""
import ast
import html
import itertools
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import textwrap
import xml.etree.ElementTree as ElementTree

kStudio = "build/studio/studio.html"  # where scripts/studio builds it
kStudioLink = "](wgr-studio.html)"    # as the documents name it
kMostColumns = 60                     # of a signature in one line
kMeaning = 30                         # the column of --help in which meanings begin
kTitles = {"Args": "Arguments"}       # of a docstring's sections, for the reader
kHeaders = ["WgrInterface.h", "WgrTypes.h", "WgrPreflight.h"]
kDoxygen = """INPUT = include
OUTPUT_DIRECTORY = {folder}
GENERATE_HTML = NO
GENERATE_LATEX = NO
GENERATE_XML = YES
QUIET = YES
OPTIMIZE_OUTPUT_FOR_C = YES
MACRO_EXPANSION = YES
EXPAND_ONLY_PREDEF = YES
PREDEFINED = "WG_INT_ENUM(name)=enum name"
WARN_AS_ERROR = YES
"""
kSettings = """site_name: libWearableInteraction {version}
docs_dir: {pages}
site_dir: {out}
use_directory_urls: false
theme:
  name: material
  font: false
  features: [navigation.tabs, navigation.sections, navigation.top, search.highlight]
  palette:
    - media: "(prefers-color-scheme: light)"
      scheme: default
      primary: indigo
      toggle: {{icon: material/weather-night, name: Dark}}
    - media: "(prefers-color-scheme: dark)"
      scheme: slate
      primary: indigo
      toggle: {{icon: material/weather-sunny, name: Light}}
extra:
  generator: false
  version: {{provider: mike}}
extra_css: [site.css]
plugins: [search]
markdown_extensions:
  - tables
  - meta
  - toc: {{permalink: true, slugify: !!python/name:pymdownx.slugs.uslugify }}
  - pymdownx.superfences
  - pymdownx.highlight
nav: {nav}
"""

# Headings and links that can be read on both grounds; room for 90 columns of code; words that
# stay whole in tables, and paths that break in prose rather than leave a phone's screen.
kStyle = """.md-grid { max-width: 76rem; }
.md-typeset h1, .md-typeset h2 { color: var(--md-default-fg-color); font-weight: 400; }
[data-md-color-scheme="slate"] { --md-typeset-a-color: #9ab8ff; }
[data-md-color-scheme="slate"] .md-typeset :is(h1, h2) { color: #eceef6; }
.md-typeset { overflow-wrap: anywhere; }
.md-typeset pre > code { font-size: .8em; }
.md-typeset table:not([class]) { overflow-wrap: break-word; }
.md-typeset table:not([class]) code { word-break: normal; }
.md-typeset table:not([class]) th { min-width: 3rem; }
.md-typeset :is(img, a img) { border-radius: .1rem; }
@media screen and (max-width: 44.9em) {
  .md-typeset table:not([class]) :is(th, td) { padding: .5em .6em; }
}
"""


# ---- Doxygen ------------------------------------------------------------------------------

def plain(text):
    """Markdown that shows the text as it is: only `code` has marks."""
    return re.sub(r"[*<\[\]]", lambda found: f"&#{ord(found.group())};", text or "")


def markdown_of(element):
    """The text of a Doxygen description, with its tables, without parameters."""
    if element is None:
        return ""
    text = plain(element.text)
    for child in element:
        if child.tag == "table":
            rows = [[markdown_of(cell).strip().replace("\n", " ").replace("|", "\\|")
                     for cell in row] for row in child.findall("row")]
            lines = ["| " + " | ".join(row) + " |" for row in rows]
            lines.insert(1, "|" + "---|" * len(rows[0]))
            text += "\n\n" + "\n".join(lines) + "\n\n"
        elif child.tag == "para":
            text += markdown_of(child) + "\n\n"
        elif child.tag in ("parameterlist", "simplesect"):
            pass
        elif child.tag in ("computeroutput", "ref"):
            text += "`" + "".join(child.itertext()) + "`"
        elif child.tag == "verbatim":
            text += "\n\n```\n" + (child.text or "") + "\n```\n\n"
        else:
            text += markdown_of(child)
        text += plain(child.tail)
    return text


def signature_of(member):
    arguments = member.findtext("argsstring") or ""
    if member.get("kind") == "typedef":
        return "".join(member.find("definition").itertext()) + ";"
    kind = "".join(member.find("type").itertext()) if member.find("type") is not None else ""
    start = f"{kind} {member.findtext('name')}"
    if len(start + arguments) > kMostColumns and arguments.startswith("("):
        arguments = arguments.replace(", ", ",\n" + " " * (len(start) + 1))
    return f"{start}{arguments};"


def parameters_of(member):
    text = ""
    for item in member.iter("parameteritem"):
        name = item.findtext("parameternamelist/parametername")
        about = markdown_of(item.find("parameterdescription")).strip().replace("\n", " ")
        text += f"| `{name}` | {about} |\n"
    if text:
        text = "| argument | meaning |\n|---|---|\n" + text
    for section in member.iter("simplesect"):
        if section.get("kind") == "return":
            text += f"\n**Returns** {markdown_of(section).strip()}\n"
    return text


def member_text(member):
    text = f"### {member.findtext('name')}\n\n" if member.findtext("name") else ""
    if member.get("kind") == "enum":
        text = text or "### Values\n\n"
        text += markdown_of(member.find("detaileddescription")).strip() + "\n\n"
        text += "| name | value | |\n|---|---|---|\n"
        for value in member.findall("enumvalue"):
            about = (markdown_of(value.find("briefdescription"))
                     + markdown_of(value.find("detaileddescription"))).strip()
            text += (f"| `{value.findtext('name')}` | {value.findtext('initializer')[2:]} "
                     f"| {about} |\n")
        return text + "\n"
    text += "```c\n" + signature_of(member).strip() + "\n```\n\n"
    for part in ("briefdescription", "detaileddescription"):
        text += markdown_of(member.find(part)).strip() + "\n\n"
    return text + parameters_of(member) + "\n"


def header_page(folder, header):
    name = header.replace(".h", "_8h")
    compound = ElementTree.parse(folder / f"{name}.xml").getroot().find("compounddef")
    text = f"# {header}\n\n"
    for part in ("briefdescription", "detaileddescription"):
        text += markdown_of(compound.find(part)).strip() + "\n\n"
    for inner in compound.findall("innerclass"):
        struct = ElementTree.parse(folder / f"{inner.get('refid')}.xml").getroot()
        members = [signature_of(one) for one in struct.iter("memberdef")]
        text += (f"### {inner.text}\n\n```c\nstruct {inner.text} {{\n  "
                 + "\n  ".join(one.strip() for one in members) + "\n};\n```\n\n"
                 + markdown_of(struct.find("compounddef/detaileddescription")).strip() + "\n\n")
    for member in compound.iter("memberdef"):
        if member.get("kind") != "define":
            text += member_text(member)
    return text


def write_headers(pages):
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        subprocess.run(["doxygen", "-"], check=True, text=True,
                       input=kDoxygen.format(folder=folder))
        for header in kHeaders:
            (pages / f"{header}.md").write_text(header_page(folder / "xml", header),
                                                encoding="utf-8")
    return [{header: f"reference/{header}.md"} for header in kHeaders]


# ---- the tool and the Python package ------------------------------------------------------

def code_cell(text):
    """Code in a cell of a table, in which `|` would begin the next; lines may end there."""
    return f"<code>{html.escape(text).replace('|', '&#124;<wbr>')}</code>"


def option_table(lines):
    """A table of what --help lists: a name, then its meaning, perhaps in further lines."""
    rows = []
    for line in lines:
        if line.startswith("   "):
            rows[-1][1] += ("" if rows[-1][1].endswith("-") else " ") + line.strip()
        elif line[kMeaning - 1:kMeaning] == " ":
            rows.append([line[:kMeaning].strip(), line[kMeaning:]])
        else:
            rows.append([line.strip(), ""])
    return "| name | meaning |\n|---|---|\n" + "".join(
        f"| {code_cell(name)} | {plain(meaning.strip()).replace('|', '&#124;')} |\n"
        for name, meaning in rows)


def help_text(text):
    """Markdown of what --help prints: tables of options, sentences, and examples as code."""
    made = ""
    for part in re.split(r"\n\n+", text.strip("\n")):
        lines = part.split("\n")
        if lines[0] in ("Positionals:", "Options:", "Subcommands:"):
            made += f"**{lines[0][:-1]}**\n\n{option_table(lines[1:])}\n"
            continue
        if lines[0] == "Examples:":
            made += "**Examples**\n\n"
            lines = lines[1:]
        for indented, group in itertools.groupby(lines, lambda line: line.startswith("  ")):
            if indented:
                made += "```text\n" + textwrap.dedent("\n".join(group)) + "\n```\n\n"
                continue
            for line in (" ".join(group).replace("Usage: ", "\nUsage: ")).split("\n"):
                usage = re.fullmatch("Usage: (.*)", line)
                made += f"```text\n{usage[1]}\n```\n\n" if usage else plain(line) + "\n\n"
    return made


def write_help(wgr, pages):
    def help_of(*words):
        return subprocess.run([wgr, *words, "--help"], check=True, capture_output=True,
                              text=True).stdout

    def subcommands_of(text):
        found = re.search(r"^Subcommands:\n((?:  .*\n)+)", text, re.M)
        return re.findall(r"^  (\w+) ", found.group(1), re.M) if found else []
    first = help_of()
    (pages / "wgr.md").write_text(f"# wgr\n\n{help_text(first)}", encoding="utf-8")
    menu = [{"wgr": "reference/wgr.md"}]
    for name in subcommands_of(first):
        text = help_of(name)
        page = f"# wgr {name}\n\n{help_text(text)}"
        for inner in subcommands_of(text):
            page += f"\n## wgr {name} {inner}\n\n{help_text(help_of(name, inner))}"
        (pages / f"wgr-{name}.md").write_text(page, encoding="utf-8")
        menu.append({f"wgr {name}": f"reference/wgr-{name}.md"})
    return menu


def docstring_text(about):
    """Markdown of a docstring: its sentences, and a list for each of its sections."""
    first, *sections = re.split(r"^(\w+):\n(?= {4})", about, flags=re.M)
    text = plain(first.strip()) + "\n\n"
    for title, body in zip(sections[::2], sections[1::2]):
        body = textwrap.dedent(body.rstrip())
        if title == "Returns":
            text += f"**Returns** {plain(body)}\n\n"
            continue
        text += f"**{kTitles.get(title, title)}**\n\n"
        for entry in re.split(r"\n(?=\S)", body):
            names, _, meaning = entry.partition(": ")
            meaning = " ".join(meaning.split())
            text += f"- `{names}`: {plain(meaning)}\n"
        text += "\n"
    return text


def signature_of_python(function):
    """As it is called: without self; None for an attribute."""
    decorators = {getattr(one, "id", "") for one in function.decorator_list}
    if "property" in decorators:
        return None
    arguments = function.args
    if arguments.args and arguments.args[0].arg in ("self", "cls"):
        del arguments.args[0]
    signature = f"{function.name}({ast.unparse(arguments)})"
    if len(signature) <= kMostColumns:
        return signature
    return f"{function.name}(\n    " + re.sub(
        r", (?=\*|\w+\b[:=,]|\w+$)", ",\n    ", ast.unparse(arguments)) + ",\n)"


def docstrings(node, prefix=""):
    """Markdown of the public classes and functions below a syntax tree's node."""
    text = ""
    for child in node.body:
        if not isinstance(child, (ast.ClassDef, ast.FunctionDef)) or child.name[0] == "_":
            continue
        about = ast.get_docstring(child)
        if about is None:
            continue
        level = "###" if prefix else "##"
        text += f"{level} {prefix}{child.name}\n\n"
        if isinstance(child, ast.ClassDef):
            text += docstring_text(about) + docstrings(child, child.name + ".")
            continue
        signature = signature_of_python(child)
        if signature:
            text += f"```python\n{signature}\n```\n\n"
        text += docstring_text(about)
    return text


def write_python(root, pages):
    package = root / "python/wgr"
    if not package.exists():
        return []
    of_fleet = set(package.glob("_fleet_*.py"))
    menu = []
    for title, page, module, sources in (
            ("Python package wgr", "python-package", "__init__.py",
             set(package.glob("_*.py")) - of_fleet),
            ("Python module wgr.fleet", "python-fleet", "fleet.py", of_fleet)):
        source = (package / module).read_text(encoding="utf-8")
        public = re.findall(r'"(\w+)"', re.search(
            r"__all__ = \[(.*?)\]", source, re.S).group(1))
        text = f"# {title}\n\n{ast.get_docstring(ast.parse(source))}\n\n"
        # What can go wrong comes last.
        for path in sorted(sources, key=lambda one: (one.name == "_errors.py", one.name)):
            tree = ast.parse(path.read_text(encoding="utf-8"))
            tree.body = [node for node in tree.body if getattr(node, "name", "") in public]
            text += docstrings(tree)
        (pages / f"{page}.md").write_text(text, encoding="utf-8")
        menu.append({title: f"reference/{page}.md"})
    return menu


# ---- the pages of docs/ -------------------------------------------------------------------

def linked(text, to_docs, to_root, root, pages):
    """Links as they are on the site, where the README and docs/ lie in one folder."""
    moved = {"README.md": "index.md", "CONTRIBUTING.md": "contributing.md",
             "CHANGELOG.md": "changelog.md"}

    def replace(found):
        target, _, heading = found.group(1).partition("#")
        heading = "#" + heading if heading else ""
        if not target or re.match(r"[a-z]+:", target):
            return found.group(0)
        path = to_root + target if to_root else target
        if path.startswith("../"):
            path = path[3:]
            if path in moved:
                return f"]({moved[path]}{heading})"
            (pages / "files").mkdir(exist_ok=True)
            shutil.copy(root / path, pages / "files")
            return f"](files/{pathlib.Path(path).name})"
        return f"]({path[len(to_docs):] if path.startswith(to_docs) else path}{heading})"
    return re.sub(r"\]\(([^)\s]+)\)", replace, text)


def without_next(text):
    """The site names the next page at each page's foot itself."""
    return re.sub(r"\nNext: .*\n?$", "\n", text)


def place_studio(root, pages):
    """The studio's page, where it is built; otherwise links to it lead to its guide."""
    if (root / kStudio).exists():
        shutil.copy(root / kStudio, pages / "wgr-studio.html")
        return
    for page in ("index.md", "studio.md"):
        text = (pages / page).read_text(encoding="utf-8")
        (pages / page).write_text(text.replace(kStudioLink, "](studio.md)"), encoding="utf-8")


def write_documents(root, pages):
    menu, role = [{"Start": "index.md"}], None
    for line in (root / "docs/order.txt").read_text(encoding="utf-8").splitlines():
        source = root / "docs" / line
        if line.startswith("#"):
            continue
        if not line.endswith(".md"):
            role = []
            menu.append({line: role})
        elif source.exists():
            text = source.read_text(encoding="utf-8")
            (pages / line).write_text(without_next(linked(text, "", "", root, pages)),
                                      encoding="utf-8")
            role.append(line)
    for source, name in (("README.md", "index.md"), ("CONTRIBUTING.md", "contributing.md"),
                         ("CHANGELOG.md", "changelog.md")):
        text = (root / source).read_text(encoding="utf-8")
        text = re.sub(r"\]\((docs/|CONTRIBUTING|CHANGELOG)", r"](\1", text)
        text = text.replace("](CONTRIBUTING.md", "](contributing.md").replace(
            "](CHANGELOG.md", "](changelog.md").replace("](docs/", "](")
        (pages / name).write_text(without_next(text), encoding="utf-8")
    start = pages / "index.md"  # its menu would have one entry
    start.write_text("---\nhide: [navigation]\n---\n" + start.read_text(encoding="utf-8"),
                     encoding="utf-8")
    for entry in menu:
        if "Maintainer" in entry:
            entry["Maintainer"] = ["contributing.md", *entry["Maintainer"], "changelog.md"]
    shutil.copytree(root / "docs/images", pages / "images")
    place_studio(root, pages)
    return [entry for entry in menu if next(iter(entry.values()))]


def main(wgr, folder):
    root = pathlib.Path(".").resolve()
    wgr, folder = pathlib.Path(wgr).resolve(), pathlib.Path(folder).resolve()
    version = subprocess.run([wgr, "--version"], check=True, capture_output=True,
                             text=True).stdout.split()[-1]
    with tempfile.TemporaryDirectory() as name:
        work = pathlib.Path(name)
        pages = work / "pages"
        (pages / "reference").mkdir(parents=True)
        menu = write_documents(root, pages)
        reference = next(entry["Reference"] for entry in menu if "Reference" in entry)
        reference += write_headers(pages / "reference")
        reference += write_help(wgr, pages / "reference")
        reference += write_python(root, pages / "reference")
        (pages / "site.css").write_text(kStyle, encoding="utf-8")
        settings = work / "mkdocs.yml"
        settings.write_text(kSettings.format(version=version, pages=pages,
                                             out=folder / version, nav=json.dumps(menu)),
                            encoding="utf-8")
        subprocess.run(["/usr/bin/mkdocs", "build", "--quiet", "--strict", "--clean", "-f",
                        settings], check=True)
    versions = sorted((path.name for path in folder.iterdir() if (path / "index.html").exists()),
                      key=lambda name: [int(part) for part in re.findall(r"\d+", name)],
                      reverse=True)
    (folder / "versions.json").write_text(json.dumps(
        [{"version": one, "title": one, "aliases": []} for one in versions]), encoding="utf-8")
    (folder / "index.html").write_text(
        f'<!doctype html><meta http-equiv="refresh" content="0; url={versions[0]}/index.html">'
        f'<a href="{versions[0]}/index.html">{versions[0]}</a>\n', encoding="utf-8")
    print(f"wrote {folder / version}")


main(*sys.argv[1:])
