#!/usr/bin/python3
"""Runs the commands that the documents show and compares what they print.

usage: documents_test.py [--update] ROOT BUILD [DOCUMENT...]

In README.md, CONTRIBUTING.md and docs/*.md, or the named documents:

- a block ```console is a terminal: a line that begins with "$ " is run, what follows has to
  be what the command prints on both outputs, and its exit status 0. A line "…" stands for
  any lines, "…" at a line's end for any ending. All blocks of a document run in one folder,
  which has copies of models/ and recordings/ and links to other parts of the project.
- a comment before a block says more:
    <!-- status: 1 -->       the exit status of its last command
    <!-- varies -->          numbers need not be equal
    <!-- not run: REASON --> it cannot be tried here
    <!-- file: NAME -->      the block, of any kind, is written into this file
  and a comment of its own, <!-- $ COMMAND -->, runs a command that the reader does not see.
- a command in a block of another kind, or indented by four blanks, needs such a reason, too.
- every option of `wgr` in any code has to be one of the subcommand it stands behind, every
  option of a script in `scripts/` one that the script has, and every name that `ctest -R` is
  given one of a test.
- every document in docs/ stands in docs/order.txt, and ends with a line "Next: ..." that names
  the next one there.
- every path of the project that code names has to be there, such as `src/engine/rest.cpp`.
- every link within the project has to lead to a file, and to a heading where it names one.

--update writes what the commands print now into the documents, and the lines "Next: ...". What
a command prints that ends with another status than it should is left out.
"""
import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

kSeconds = 60  # for one command
kDefaultModel = pathlib.Path("/usr/share/GestureModel/olvo_model_5_fb/hgr_olvo.xml")
kFence = re.compile(r"^( *)```(\S*)$")
kComment = re.compile(r"^ *<!-- (.*?) -->$")
kNumber = re.compile(r"\d[\d.,]*")


class Block:
    def __init__(self, kind, indent, marks, first):
        self.kind, self.indent, self.marks, self.first = kind, indent, marks, first
        self.lines = []


def blocks_of(lines):
    """The fenced blocks, with the comments right above them, and hidden commands."""
    blocks, marks, block = [], [], None
    for number, line in enumerate(lines):
        fence = kFence.match(line)
        if block is not None:
            if fence and fence.group(2) == "":
                blocks.append(block)
                block = None
            else:
                block.lines.append(line[len(block.indent):])
            continue
        comment = kComment.match(line)
        if comment and comment.group(1).startswith("$ "):
            hidden = Block("hidden", "", [], number)
            hidden.lines = [comment.group(1)]
            blocks.append(hidden)
        elif comment:
            marks.append(comment.group(1))
        elif fence:
            block = Block(fence.group(2), fence.group(1), marks, number + 1)
            marks = []
        elif line.strip():
            marks = []
    return blocks


def mark(block, name):
    """The value of a mark, "" for one without a value, None where there is none."""
    for text in block.marks:
        key, _, value = text.partition(":")
        if key == name:
            return value.strip()
    return None


def steps_of(block):
    """[command lines, output lines] of a console block."""
    steps, continued = [], False
    for line in block.lines:
        if continued or line.startswith("$ "):
            if continued:
                steps[-1][0].append(line)
            else:
                steps.append([[line], []])
            continued = line.endswith("\\")
        elif steps:
            steps[-1][1].append(line)
    return steps


def line_pattern(line, varies):
    ending = line.endswith("…")
    text = line[:-1] if ending else line
    if varies:
        parts = [re.escape(part) for part in kNumber.split(text)]
        pattern = r"\d[\d.,]*".join(parts)
        pattern = re.sub(r"(\\ )+", r" +", pattern)
    else:
        pattern = re.escape(text)
    return pattern + (".*" if ending else " *")


def same(expected, printed, varies):
    """Whether the printed lines are those that are expected."""
    pattern = ""
    for line in expected:
        if line.strip() == "…":
            pattern += r"(?:.*\n)*?"
        else:
            pattern += line_pattern(line, varies) + r"\n"
    return re.fullmatch(pattern, "".join(line + "\n" for line in printed)) is not None


class Session:
    """One document's commands, run one behind the other in a folder of their own."""

    def __init__(self, root, build, document):
        self.document = document
        self.name = str(document.relative_to(root))
        self.text = document.read_text(encoding="utf-8")
        self.faults, self.run_count, self.not_run = [], 0, []
        self.root, self.build = root, build
        self.replacements = []

    def environment(self):
        # A host is compiled and run as if all were installed.
        build = str(self.build)
        kept = {name: os.environ[name] for name in ("HOME", "TMPDIR") if name in os.environ}
        return {**kept, "PATH": build + ":/usr/local/bin:/usr/bin:/bin", "LC_ALL": "C.UTF-8",
                "NO_COLOR": "1", "CPATH": str(self.root / "include"),
                "LIBRARY_PATH": build, "LD_LIBRARY_PATH": build}

    def fault(self, line, text):
        self.faults.append(f"{self.name}:{line + 1}: {text}")

    def run(self, command, folder):
        self.run_count += 1
        try:
            done = subprocess.run(["bash", "-c", command], cwd=folder, timeout=kSeconds,
                                  env=self.environment(), stdin=subprocess.DEVNULL,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        except subprocess.TimeoutExpired:
            return ["took too long"], -1
        text = done.stdout.decode("utf-8", "replace")
        return [line.rstrip() for line in text.splitlines()], done.returncode

    def run_console(self, block, folder):
        steps = steps_of(block)
        written = []
        for index, (command_lines, expected) in enumerate(steps):
            command = "\n".join(command_lines)[2:]
            last = index + 1 == len(steps)
            while expected and not expected[-1].strip() and not last:
                expected = expected[:-1]
            printed, status = self.run(command, folder)
            wanted = int(mark(block, "status") or 0) if last else 0
            shown = "\n    ".join(printed)
            if status != wanted:
                self.fault(block.first, f"exit status {status}, not {wanted}: {command}\n    {shown}")
            varies = mark(block, "varies") is not None
            if not same(expected, printed, varies):
                self.fault(block.first, f"prints something else: {command}\n    {shown}")
            # What a command printed when it failed is not to be in a document.
            kept = status != wanted or same(expected, printed, varies)
            written += command_lines + (expected if kept else printed)
            if not last and steps[index][1] and not steps[index][1][-1].strip():
                written.append("")
        self.replacements.append((block, written))

    def run_all(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            for part in ("models", "recordings"):
                shutil.copytree(self.root / part, folder / part)
            for part in ("include", "examples", "scripts", "src", "docs", "README.md"):
                (folder / part).symlink_to(self.root / part)
            for block in blocks_of(self.text.splitlines()):
                self.run_block(block, folder)
        return self

    def run_block(self, block, folder):
        target = mark(block, "file")
        if target is not None:
            (folder / target).write_text("\n".join(block.lines) + "\n", encoding="utf-8")
        elif block.kind == "hidden":
            printed, status = self.run(block.lines[0][2:], folder)
            if status != 0:
                self.fault(block.first, f"exit status {status}: {block.lines[0]}\n    "
                           + "\n    ".join(printed))
        elif block.kind == "console" and mark(block, "not run") is not None:
            self.not_run.append(f"{self.name}:{block.first + 1}: {mark(block, 'not run')}")
        elif block.kind == "console":
            self.run_console(block, folder)

    def update(self):
        lines = self.text.splitlines()
        for block, written in reversed(self.replacements):
            lines[block.first:block.first + len(block.lines)] = [
                (block.indent + line).rstrip() for line in written]
        self.document.write_text("\n".join(lines) + "\n", encoding="utf-8")


# ---- links ------------------------------------------------------------------------------

# In packages and on the site, where scripts/studio has built it.
kMade = {"wgr-studio.html"}


def slug(heading):
    text = re.sub(r"[`*]|\[([^]]*)\]\([^)]*\)", lambda found: found.group(1) or "", heading)
    text = re.sub(r"[^\w\- ]", "", text.strip().lower())
    return text.replace(" ", "-")


def prose_of(text):
    """The text without its fenced blocks, line for line."""
    kept, inside = [], False
    for line in text.splitlines():
        if kFence.match(line):
            inside = not inside
            kept.append("")
        else:
            kept.append("" if inside else line)
    return kept


def headings_of(document):
    lines = prose_of(document.read_text(encoding="utf-8"))
    return {slug(line.lstrip("#")) for line in lines if line.startswith("#")}


def check_links(root, document):
    faults = []
    for number, line in enumerate(prose_of(document.read_text(encoding="utf-8"))):
        line = re.sub(r"`[^`]*`", "", line)
        for target in re.findall(r"\]\(([^)\s]+)\)", line) + re.findall(
                r"(?:src|srcset|href)=\"([^\"]+)\"", line):
            where = f"{document.relative_to(root)}:{number + 1}: {target}: "
            if re.match(r"[a-z]+:", target):
                faults.append(where + "a link out of the project cannot be checked here")
                continue
            path, _, heading = target.partition("#")
            goal = (document.parent / path).resolve() if path else document
            if not goal.exists() and pathlib.Path(path).name not in kMade:
                faults.append(where + "there is no such file")
            elif heading and goal.suffix == ".md" and heading not in headings_of(goal):
                faults.append(where + "there is no such heading")
    return faults


# ---- paths ------------------------------------------------------------------------------

kFolders = ("cmake|docs|examples|fuzz|include|models|python|recorder|recordings|scripts|share|src"
            "|studio|tests|tools|workbench")


def check_paths(root, document):
    faults = []
    for number, line in enumerate(prose_of(document.read_text(encoding="utf-8"))):
        for code in re.findall(r"`([^`]+)`", line):
            for word in code.split():
                found = re.fullmatch(rf"(?:{kFolders})/[\w./*-]*\w", word)
                if found and not any(root.glob(word)):
                    faults.append(f"{document.relative_to(root)}:{number + 1}: there is no {word}")
    return faults


# ---- commands that are not run ----------------------------------------------------------

kCommand = re.compile(r"(?:\$ |scripts/|build/|(?:wgr|cmake|ctest|cc|pip|sudo|time|yes) )")


def check_marks(root, document):
    """Commands outside of console blocks, which say why they are not run."""
    name, faults = document.relative_to(root), []
    lines = document.read_text(encoding="utf-8").splitlines()
    for block in blocks_of(lines):
        first = next((line for line in block.lines if line.strip()), "")
        if block.kind in ("", "sh") and kCommand.match(first) and mark(block, "not run") is None:
            faults.append(f"{name}:{block.first + 1}: a command that is neither run nor marked: "
                          f"{first}")
    above = ""
    for number, line in enumerate(prose_of("\n".join(lines))):
        if (re.match(r" {4}" + kCommand.pattern, line) and not above.startswith("    ")
                and not above.startswith("<!-- not run:")):
            faults.append(f"{name}:{number + 1}: a command that is neither run nor marked: "
                          f"{line.strip()}")
        above = line if line.strip() else above
    return faults


class Tests:
    """The names of the tests that a build folder has."""

    def __init__(self, build):
        done = subprocess.run(["ctest", "--test-dir", build, "-N"], capture_output=True,
                              text=True)
        self.names = re.findall(r"^ *Test +#\d+: (\S+)$", done.stdout, re.M)

    def check(self, pattern):
        return [part for part in pattern.split("|")
                if not any(re.search(part, name) for name in self.names)]


def check_scripts(root, document, tests):
    faults = []
    text = document.read_text(encoding="utf-8")
    for number, line in enumerate(text.splitlines()):
        where = f"{document.relative_to(root)}:{number + 1}: "
        for script, words in re.findall(r"\b(scripts/[\w-]+)((?: [\w./*=-]+)*)", line):
            path = root / script
            for option in re.findall(r" (--[a-z][\w-]*)", words):
                # What follows private-paths are its program's.
                if (path.is_file() and script != "scripts/private-paths" and not re.search(
                        option + r"(?![\w-])", path.read_text(encoding="utf-8"))):
                    faults.append(f"{where}{script} has no {option}")
        for quoted, plain in re.findall(r"ctest --test-dir \S+ -R (?:'([^']+)'|(\w+))", line):
            faults += [f"{where}no test is named {part}" for part in tests.check(quoted or plain)]
    return faults


# ---- order ------------------------------------------------------------------------------

def next_lines(root):
    """What each document of docs/order.txt ends with, by its name."""
    listed = [line for line in (root / "docs/order.txt").read_text(encoding="utf-8").splitlines()
              if line.endswith(".md")]
    names = [name for name in listed if (root / "docs" / name).exists()]
    lines = {}
    for name, following in zip(names, names[1:] + [None]):
        if following is None:
            lines[name] = "Next: back to the [README](../README.md)"
        else:
            with open(root / "docs" / following, encoding="utf-8") as file:
                title = file.readline().strip("# \n").split(":")[0]
            lines[name] = f"Next: [{title}]({following})"
    return lines


def check_order(root, update):
    lines, faults = next_lines(root), []
    for document in sorted((root / "docs").glob("*.md")):
        if document.name not in lines:
            faults.append(f"docs/{document.name} is not in docs/order.txt")
            continue
        text = document.read_text(encoding="utf-8").rstrip("\n")
        before, _, last = text.rpartition("\n")
        wanted = lines[document.name]
        if update:
            kept = before.rstrip("\n") if last.startswith("Next: ") else text
            document.write_text(f"{kept}\n\n{wanted}\n", encoding="utf-8")
        elif last != wanted:
            faults.append(f"docs/{document.name}: the last line is not: {wanted}")
    return faults


# ---- options ----------------------------------------------------------------------------

class Options:
    """What `wgr SUBCOMMAND --help` lists."""

    def __init__(self, build):
        self.wgr = str(build / "wgr")
        self.known = {}

    def of(self, words):
        if words not in self.known:
            done = subprocess.run([self.wgr, *words, "--help"], capture_output=True, text=True)
            listed = re.findall(r"^  (?:-\w,)?(--[\w-]+)|^  (-\w)\b", done.stdout, re.M)
            shorts = re.findall(r"^  (-\w),--", done.stdout, re.M)
            subs = re.search(r"^Subcommands:\n((?:  .*\n)+)", done.stdout, re.M)
            names = re.findall(r"^  (\w+) ", subs.group(1), re.M) if subs else []
            self.known[words] = ({a or b for a, b in listed} | set(shorts), set(names),
                                 done.returncode == 0)
        return self.known[words]


def commands_in(text):
    """(line number, words behind "wgr") of all code in a document."""
    inside = False
    for number, line in enumerate(text.splitlines()):
        if kFence.match(line):
            inside = not inside
            continue
        for code in [line] if inside else re.findall(r"`([^`]+)`", line):
            for command in re.split(r"[|;&]|\$\(", code):
                words = command.replace("'", " ").split()
                while words and (words[0] in ("$", "time", "sudo") or "=" in words[0]):
                    words = words[1:]
                if words and re.search(r"(^|/)wgr$", words[0]):
                    yield number, words[1:]


def check_options(root, document, options):
    faults = []
    for number, words in commands_in(document.read_text(encoding="utf-8")):
        path = ()
        while words and words[0] in options.of(path)[1]:
            path += (words[0],)
            words = words[1:]
        known = options.of(path)[0]
        for word in words:
            name = word.split("=")[0].rstrip(".,:")
            if re.fullmatch(r"--[a-z][\w-]*|-[a-z]", name) and name not in known:
                faults.append(f"{document.relative_to(root)}:{number + 1}: wgr "
                              f"{' '.join(path)} has no {name}")
    return faults


def main(arguments):
    update = "--update" in arguments
    arguments = [word for word in arguments if word != "--update"]
    root, build = (pathlib.Path(word).resolve() for word in arguments[:2])
    if not kDefaultModel.exists():
        print(f"{kDefaultModel} is missing, and the documents show what is printed with it: start "
              "this by scripts/private-paths --models models")
        return 2
    documents = [pathlib.Path(word).resolve() for word in arguments[2:]] or [
        root / "README.md", root / "CONTRIBUTING.md", *sorted((root / "docs").glob("*.md"))]
    options, tests = Options(build), Tests(build)
    faults = []
    if len(arguments) == 2:
        # What the changelog says of options was so when it was written.
        faults = check_order(root, update) + check_links(root, root / "CHANGELOG.md")
    for document in documents:
        faults += check_links(root, document) + check_paths(root, document)
        faults += check_options(root, document, options) + check_marks(root, document)
        faults += check_scripts(root, document, tests)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        sessions = list(pool.map(lambda one: Session(root, build, one).run_all(), documents))
    for session in sessions:
        faults += session.faults
        if update:
            session.update()
        for text in session.not_run:
            print("not run: " + text)
    for fault in faults:
        print(fault)
    count = sum(session.run_count for session in sessions)
    print(f"{len(documents)} documents, {count} commands run, {len(faults)} faults")
    if count == 0 and len(arguments) == 2:
        print("no document shows a command: was the mark of console blocks changed?")
        return 1
    return 1 if faults else 0


sys.exit(main(sys.argv[1:]))
