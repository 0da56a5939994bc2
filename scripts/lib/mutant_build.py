"""Builds the library and its tests once, and anew what a mutant changes."""

import json
import os
import re
import shlex
import shutil
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

LIBRARY = "libWearableInteraction.so"
INSIDE = "libWearableInteraction_inside.so"  # its free functions, which tests call
ARCHIVE = "src/libWearableInteraction_internals.a"  # the same, which the tool calls
PORTABLE = ["-DWGR_PORTABLE"]  # without vector code


def run(command, **more):
    return subprocess.run(command, capture_output=True, text=True, check=True, **more).stdout


def copy_tree(root, target):
    """Copies the project, but only the files that changed: the build then is small."""
    listed = run(["git", "ls-files", "-co", "--exclude-standard", "-z"], cwd=root)
    names = [n for n in listed.split("\0") if n and (root / n).is_file()]
    for name in names:
        source, copy = root / name, target / name
        if copy.is_file() and copy.read_bytes() == source.read_bytes():
            continue
        copy.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(source, copy)
        shutil.copymode(source, copy)


class Build:
    """The library and its tests as they are, and the commands that make them."""

    BUILD = "build"  # below the folder
    OPTIONS = ["-DWGR_BUILD_TOOLS=OFF", "-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-O0"]
    SOURCES = ("src",)  # roots of includes
    KINDS_APART = ()  # of mutants
    GOAL = 0.95  # share of the mutants that are killed
    library = LIBRARY

    launcher = shlex.split(os.environ.get("CMAKE_CXX_COMPILER_LAUNCHER", ""))

    def __init__(self, root, folder, jobs):
        self.source, self.folder = folder / "source", folder / self.BUILD
        copy_tree(root, self.source)
        run(["cmake", "-G", "Ninja", "-S", self.source, "-B", self.folder,
             "-DCMAKE_SKIP_RPATH=ON", *self.OPTIONS])
        self.links = {}
        self.tests = self.find_tests()
        built = subprocess.run(["ninja", "-C", self.folder, f"-j{jobs}", *self.targets()],
                               capture_output=True, text=True, check=False)
        if built.returncode != 0:
            sys.exit(built.stdout)
        self.compilations = self.compile_commands()
        self.depends = {}  # object file: paths of the sources that it is made from
        for line in run(["ninja", "-C", self.folder, "-t", "deps"]).splitlines():
            if line.startswith("    "):
                path = Path(os.path.normpath(self.folder / line.strip()))
                if path.is_relative_to(self.source):
                    self.depends[last].add(str(path.relative_to(self.source)))
            elif ": #deps" in line:
                last = line.split(":")[0]
                self.depends[last] = set()
        self.objects = self.find_objects()
        self.prepare(jobs)

    def compile_commands(self):
        """The words of the command for each object file."""
        commands = {}
        for entry in json.loads((self.folder / "compile_commands.json").read_text()):
            # Without the launcher, which the file leaves out, nothing would be cached.
            words = self.launcher + shlex.split(entry["command"])
            commands[words[words.index("-o") + 1]] = words
        return commands

    def targets(self):
        """What is built; nothing: everything."""
        return []

    @classmethod
    def files(cls, source):
        """The files that mutants are made of."""
        return [path for root in cls.SOURCES for path in sorted((source / root).rglob("*"))
                if path.suffix in (".cpp", ".h")]

    def find_objects(self):
        return [w for w in self.link(LIBRARY) if w.endswith(".o")]

    def prepare(self, jobs):
        self.check_tests_use_the_library()
        for name in self.objects:
            if self.has_vectors(name):
                self.compile(name, self.folder / "portable" / name, [], PORTABLE)

    def link_mutant(self, to, replaced, flags=()):
        """The library, and beside it what it keeps to itself."""
        return (self.link_anew(LIBRARY, to, replaced, flags) and
                self.link_anew(INSIDE, to.with_name(INSIDE), replaced, flags))

    def link(self, target):
        if target not in self.links:
            line = run(["ninja", "-C", self.folder, "-t", "commands", "-s", target])
            words = shlex.split(line)
            first = words.index("&&") + 1
            self.links[target] = words[first:words.index("&&", first)]
        return self.links[target]

    def find_tests(self):
        """Name, folder below tests/ and command of every test that runs a program."""
        shown = json.loads(run(["ctest", "--show-only=json-v1"], cwd=self.folder))
        tests = []
        for test in shown["tests"]:
            program = Path(test["command"][-1])
            if program.parent == self.folder / "tests":
                objects = [w for w in self.link(f"tests/{program.name}") if w.endswith(".o")]
                # tests/workbench/CMakeFiles/table_test.dir/base/table_test.cpp.o
                own = re.sub(r"CMakeFiles/[^/]+\.dir/", "", objects[0])
                folder = str(Path(own).parent.relative_to("tests"))
                tests.append((test["name"], folder, test["command"]))
        return tests

    def check_tests_use_the_library(self):
        """A test program that held a part of the library itself would never fail."""
        own = re.compile(r" T (\S+)$", re.M)
        library = set(own.findall(run(["nm", "-D", "--defined-only", LIBRARY],
                                      cwd=self.folder)))
        for name, _, _ in self.tests:
            program = f"tests/{name}"
            both = library & set(own.findall(run(["nm", "--defined-only", program],
                                                 cwd=self.folder)))
            if both - {"_init", "_fini"}:
                sys.exit(f"scripts/mutate: {program} has code of the library: {both}")

    def has_vectors(self, name):
        return "src/base/cpu_dispatch.h" in self.depends[name]

    def compile(self, name, to, overlay, flags=()):
        """Compiles object file `name` anew, with the folders of `overlay` before src/."""
        words = list(self.compilations[name])
        source = Path(words[words.index("-c") + 1])
        for folder in overlay:
            changed = folder / source.relative_to(self.source)
            if changed.is_file():
                source = changed
        words[words.index("-c") + 1] = str(source)
        words[words.index("-o") + 1] = str(to)
        to.parent.mkdir(parents=True, exist_ok=True)
        first = next(i for i, w in enumerate(words) if w.startswith("-I"))
        words[first:first] = [f"-I{folder / root}" for folder in overlay
                              for root in self.SOURCES]
        return subprocess.run(words + ["-w", *flags], cwd=self.folder, capture_output=True,
                              check=False).returncode == 0

    def link_anew(self, target, to, replaced, flags=()):
        words = [str(replaced.get(w, w)) for w in self.link(target)] + list(flags)
        return self.link_to(words, to)

    def link_to(self, words, to):
        words = [*words]
        words[words.index("-o") + 1] = str(to)
        to.parent.mkdir(parents=True, exist_ok=True)
        return subprocess.run(words, cwd=self.folder, capture_output=True,
                              check=False).returncode == 0


class ToolBuild(Build):
    """The tool and its tests, with all of the tool but main() in a shared library, so that
    a mutant is one object compiled and that library linked."""

    # As `cmake --preset release` has it, from where ccache finds the objects of the tests.
    BUILD = "source/build/release"
    OPTIONS = ["-DCMAKE_BUILD_TYPE=Release"]
    SOURCES = ("workbench", "tools/wgr")
    COMMANDS = "tools/wgr/commands"
    KINDS_APART = ("text",)
    GOAL = 0.90
    library = "libwgr_tool.so"
    MAIN = "libwgr_main.so"  # for the program alone: the tests have another main()
    # What computes motions, pages and sentences is judged by what it makes; captures have
    # tests with hosts of their own.
    APART = ("synthesis", "golden", "explanation", "pages", "capture")

    @property
    def covered(self):
        return self.folder / "covered"

    def targets(self):
        """What the tests are linked from, but for the tool."""
        commands = self.compile_commands()
        generated = [
            name for name in self.find_objects()
            if Path(commands[name][commands[name].index("-c") + 1]).is_relative_to(self.folder)]
        return [*generated, *{word for program in self.programs()
                              for word in self.link(program)
                              if word.endswith((".o", ".a", ".so")) and
                              not word.startswith(("/", "-", *self.SOURCES))}]

    def programs(self):
        return ["wgr", *(f"tests/{name}" for name, _, _ in self.tests)]

    @classmethod
    def files(cls, source):
        return [path for path in super().files(source) if path.suffix == ".cpp" and
                not set(path.relative_to(source).parts) & set(cls.APART) and
                not path.name.startswith(("explanation_", "capture", "reenact"))]

    def find_tests(self):
        return [test for test in super().find_tests()
                if test[1].startswith(("tools/", "workbench/")) and
                test[1] != "workbench/capture"]

    def find_objects(self):
        return [name for name in self.compile_commands()
                if name.startswith(self.SOURCES) and "wgr-selfcheck" not in name]

    def build_covered(self, jobs, sources):
        """Builds the tool so that it notes which lines of these sources are reached."""
        # A cached object notes what is reached elsewhere.
        own = [name for name in self.objects if self.depends[name] & set(sources)]
        os.environ["CCACHE_DISABLE"] = "1"
        good = self.compile_all(own, self.covered, ["--coverage"], jobs)
        del os.environ["CCACHE_DISABLE"]
        objects = {name: self.covered / name for name in own}
        if not good or not self.link_mutant(self.covered / self.library, objects,
                                            ["--coverage"]):
            sys.exit("scripts/mutate: the tool cannot be built with --coverage")

    def take_reached(self):
        """The lines reached since the last time, as pairs of file and line; None when
        nothing was noted."""
        notes = sorted(self.covered.rglob("*.gcda"))
        reached = set()
        if not notes:
            return None
        shown = run(["gcov", "--json-format", "--stdout", *notes], cwd=self.covered)
        for document in shown.splitlines():
            for file in json.loads(document)["files"]:
                path = Path(os.path.normpath(self.folder / file["file"]))
                if path.is_relative_to(self.source):
                    name = str(path.relative_to(self.source))
                    reached.update((name, line["line_number"]) for line in file["lines"]
                                   if line["count"] > 0)
        for note in notes:
            note.unlink()
        return reached

    def compile(self, name, to, overlay, flags=()):
        level = [] if self.is_apart(name) else ["-O0"]  # a mutant is compiled quickly
        return super().compile(name, to, overlay, [*flags, "-fPIC", *level])

    def is_apart(self, name):
        return any(f"/{folder}/" in name for folder in self.APART)

    def compile_all(self, names, into, flags, jobs):
        with ThreadPoolExecutor(jobs) as pool:
            return all(pool.map(
                lambda name: self.compile(name, into / name, [], flags), names))

    def prepare(self, jobs):
        for name in self.objects:
            source = self.compilations[name][self.compilations[name].index("-c") + 1]
            self.depends[name] = {os.path.relpath(source, self.source)}
        if not (self.compile_all(self.objects, self.folder, [], jobs) and
                self.link_mutant(self.folder / self.library, {})):
            sys.exit("scripts/mutate: the tool cannot be linked")
        others = [w for w in self.link("wgr") if not w.startswith(self.SOURCES) and
                  (w.startswith("-l") or re.search(r"\.a$|\.so\b", w))]
        for program in self.programs():
            own = [w for w in self.link(program) if not w.startswith(self.SOURCES)]
            own += [*([self.MAIN] if program == "wgr" else []), self.library, *others]
            if not self.link_to(own, self.folder / program):
                sys.exit(f"scripts/mutate: {program} cannot be linked with {self.library}")

    def link_mutant(self, to, replaced, flags=()):
        """The library of the parts, and where it is concerned that of main()."""
        main = [name for name in self.objects if name.endswith("/main.cpp.o")]
        parts = [name for name in self.objects if name not in main]
        return all(self.link_to(
            ["c++", "-shared", "-o", "", *(str(replaced.get(w, w)) for w in objects),
             LIBRARY, "-lz", *flags], to.with_name(library))
            for library, objects in ((self.library, parts), (self.MAIN, main))
            if not replaced or replaced.keys() & set(objects))
