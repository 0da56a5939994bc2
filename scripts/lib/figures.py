#!/usr/bin/python3
"""Writes measured figures into the documents, or checks them: see scripts/figures.

usage: figures.py [--check] [--x86-64 BUILD] [--armhf BUILD] [--counts FILE]

A figure stands in a document as <!-- figure NAME -->TEXT<!-- end -->. Those that can be
measured from what is given are written; with --check nothing is written, and a figure
that is out by more than another compiler explains, or an unknown name, is an error.
Exit status: 0, or 1 for such a finding.
"""
import argparse
import pathlib
import re
import subprocess
import sys
import tempfile

kRoot = pathlib.Path(__file__).resolve().parents[2]
kMark = re.compile(r"<!-- figure ([a-z0-9-]+) -->(.*?)<!-- end -->", re.S)
kStrip = {"x86-64": "strip", "armhf": "arm-linux-gnueabihf-strip"}
kLibraries = {"library": "libWearableInteraction.so", "recorder": "libwgr-recorder.so"}


def grouped(count: float) -> str:
    """A number of instructions: whole, in groups of three digits."""
    return f"{round(count):,}".replace(",", "\u00a0")


def millions(count: float) -> str:
    return f"{count / 1e6:.2f} million"


# By the works of scripts/count-instructions.
kCounts = {
    "rest": ("rest", grouped),
    "motion": ("motion", millions),
    "predict": ("predict", grouped),
    "reference-predict": ("reference_predict", grouped),
    "cell": ("similarity", grouped),
    "reference-cell": ("reference_similarity", grouped),
    "log-line": ("log", grouped),
    "two-log-lines": ("two_log_lines", grouped),
}
kNames = {f"{library}-{processor}" for library in kLibraries for processor in kStrip}
kNames |= {f"{name}-{target}" for name in kCounts for target in ("armhf", "aarch64")}


def stripped_size(strip: str, library: pathlib.Path) -> int:
    with tempfile.NamedTemporaryFile() as stripped:
        subprocess.run([strip, "-o", stripped.name, str(library)], check=True)
        return pathlib.Path(stripped.name).stat().st_size


def sizes(processor: str, build: str) -> dict:
    found = {}
    for name, library in kLibraries.items():
        path = pathlib.Path(build) / library
        size = stripped_size(kStrip[processor], path)
        found[f"{name}-{processor}"] = f"{size / 1000:.0f} kB"
    return found


def counts(path: str) -> dict:
    """From what scripts/count-instructions prints, for each processor."""
    found = {}
    target = ""
    for line in pathlib.Path(path).read_text().splitlines():
        words = line.split()
        if line.startswith("== Instructions on "):
            target = words[-1]
        for name, (work, text) in kCounts.items():
            if words[:1] == [work]:
                found[f"{name}-{target}"] = text(float(words[1]))
    return found


def is_out(stands: str, measured: str) -> bool:
    """Whether a figure is more than a twentieth off, or has another unit."""
    number = re.compile(r"[0-9.\u00a0]+")
    values = [float("".join(number.findall(text)).replace("\u00a0", "") or 0)
              for text in (stands, measured)]
    units = [number.sub("", text) for text in (stands, measured)]
    return units[0] != units[1] or abs(values[0] - values[1]) > 0.05 * values[1]


def documents() -> list:
    return [kRoot / "README.md", *sorted((kRoot / "docs").glob("*.md"))]


def main() -> int:
    usage = __doc__.splitlines()[2].removeprefix("usage: ")
    parser = argparse.ArgumentParser(usage=usage)
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--x86-64", dest="x86_64")
    parser.add_argument("--armhf")
    parser.add_argument("--counts")
    given = parser.parse_args()
    measured = {}
    if given.x86_64:
        measured |= sizes("x86-64", given.x86_64)
    if given.armhf:
        measured |= sizes("armhf", given.armhf)
    if given.counts:
        measured |= counts(given.counts)

    findings = []
    shown = 0
    for document in documents():
        name = document.relative_to(kRoot)
        text = document.read_text()
        for figure, stands in kMark.findall(text):
            shown += 1
            if figure not in kNames:
                findings.append(f"{name}: there is no figure {figure}")
            elif given.check and is_out(stands, measured.get(figure, stands)):
                findings.append(f"{name}: {figure} is {measured[figure]}, not {stands}: "
                                "run scripts/figures")
        if given.check:
            continue
        written = kMark.sub(
            lambda mark: mark[0].replace(f">{mark[2]}<",
                                         f">{measured.get(mark[1], mark[2])}<"), text)
        if written != text:
            document.write_text(written)
            print(f"wrote {name}")
    if shown == 0:
        findings.append("the documents show no figures")
    for finding in findings:
        print(finding, file=sys.stderr)
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
