"""Builds the module with CMake; all else stands in pyproject.toml.

WGR_BUILD_DIR names a build folder, such as that of the preset release, whose objects are
used; otherwise it is build/python beside the sources.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).resolve().parent.parent


class CMakeBuild(build_ext):
    """The target wgr_python, put where the package expects it."""

    def build_extension(self, ext: Extension) -> None:
        folder = pathlib.Path(
            os.environ.get("WGR_BUILD_DIR") or ROOT / "build" / "python"
        )
        configure = ["cmake", "-S", str(ROOT), "-B", str(folder)]
        if not (folder / "CMakeCache.txt").exists():
            configure += ["-DCMAKE_BUILD_TYPE=Release", "-DBUILD_TESTING=OFF"]
            if shutil.which("ninja"):
                configure += ["-G", "Ninja"]
        configure += ["-DWGR_PYTHON=ON", f"-DPython_EXECUTABLE={sys.executable}"]
        subprocess.run(configure, check=True)
        subprocess.run(
            ["cmake", "--build", str(folder), "--target", "wgr_python", "--parallel"],
            check=True,
        )
        built = next((folder / "python" / "wgr").glob("_wgr.*.so"))
        target = pathlib.Path(self.get_ext_fullpath(ext.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(built, target)
        subprocess.run(["strip", "--strip-unneeded", str(target)], check=True)


def version() -> str:
    text = (ROOT / "CMakeLists.txt").read_text()
    return re.search(r"VERSION (\d[\d.]*) LANGUAGES", text)[1]


setup(
    version=version(),
    ext_modules=[Extension("wgr._wgr", [])],
    cmdclass={"build_ext": CMakeBuild},
)
