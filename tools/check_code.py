#!/usr/bin/env python3
"""Checks the form of the sources, without building them.

    check_code.py format     every source is as clang-format makes it
    check_code.py headers    every header of the library can be included first and alone: a source
                             includes its own header first; a header without one is read by itself
    check_code.py tidy       the library's sources and headers pass the checks of tools/tidy.txt

Words may be combined: headers and tidy together read each file once. JOBS is the number of files read
at the same time, by default one for each processor.
"""
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIBRARY = ROOT / "infrastructure"
JOBS = int(os.environ.get("JOBS", os.cpu_count() or 1))


def check_format():
    listed = subprocess.run(
        ["git", "ls-files", "*.h", "*.cpp"], cwd=ROOT, capture_output=True, text=True, check=True
    ).stdout.split()
    done = subprocess.run(
        ["clang-format", "--dry-run", "-Werror", *listed], cwd=ROOT, capture_output=True, text=True
    )
    places = re.findall(r"^([^:\n]+:\d+):\d+: error:", done.stderr, re.MULTILINE)
    if done.returncode != 0 and not places:
        places = [done.stderr.strip()]
    return [f"{place}: clang-format would change this" for place in places], f"{len(listed)} files, form"


def first_include(source):
    found = re.search(r'^#include ["<]([^">]+)[">]', source.read_text(encoding="utf-8"), re.MULTILINE)
    return found[1] if found else None


def check_parsed(tidy):
    """Reads each source of the library, and each header that no source includes first."""
    complaints = []
    sources = sorted(LIBRARY.rglob("*.cpp"))
    proved = set()
    for source in sources:
        own = source.with_suffix(".h")
        if own.exists():
            proved.add(own)
            if first_include(source) != own.relative_to(ROOT).as_posix():
                complaints.append(f"{source.relative_to(ROOT)}: does not include its own header first")
    alone = sorted(set(LIBRARY.rglob("*.h")) - proved)

    flags = ["-std=c++17", "-fPIC", f"-I{ROOT}", "-DQT_NO_KEYWORDS", "-DQT_NO_CAST_FROM_ASCII"]
    flags += ["-D_FILE_OFFSET_BITS=64", "-Wno-unknown-warning-option"]
    flags += subprocess.run(
        ["pkg-config", "--cflags", "Qt5Core", "Qt5Network", "fmt", "spdlog"],
        capture_output=True, text=True, check=True,
    ).stdout.split()
    checks = "-*,clang-diagnostic-error"
    if tidy:
        lines = (ROOT / "tools" / "tidy.txt").read_text(encoding="utf-8").splitlines()
        names = [line.split("#")[0].strip() for line in lines]
        checks += "".join("," + name for name in names if name)

    def read(file):
        language = ["-xc++-header"] if file.suffix == ".h" else []
        done = subprocess.run(
            ["clang-tidy", "--quiet", f"--checks={checks}", "--warnings-as-errors=*",
             "--header-filter=infrastructure/.*", str(file), "--", *language, *flags],
            capture_output=True, text=True,
        )
        lines = [line for line in done.stdout.splitlines() if re.search(r": (error|warning): ", line)]
        if done.returncode != 0 and not lines:
            lines = [f"{file}: {done.stderr.strip()}"]
        return [line.replace(f"{ROOT}/", "") for line in lines]

    files = [*sources, *alone]
    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        for found in pool.map(read, files):
            complaints += [line for line in found if line not in complaints]
    return complaints, f"{len(sources)} sources, {len(alone)} headers read alone"


def main():
    words = set(sys.argv[1:])
    if not words or words - {"format", "headers", "tidy"}:
        print(__doc__)
        return 0 if words == {"--help"} else 2
    results = []
    if "format" in words:
        results.append(check_format())
    if words & {"headers", "tidy"}:
        results.append(check_parsed("tidy" in words))
    for complaints, what in results:
        for complaint in complaints:
            print(complaint)
        print(f"{what}: {len(complaints)} complaints")
    return 1 if any(complaints for complaints, _ in results) else 0


if __name__ == "__main__":
    sys.exit(main())
