#!/usr/bin/env python3
"""Holds the sources to the house's form, without building them.

    check_code.py format     every source is as clang-format makes it
    check_code.py library    every header of the library can be included first and alone: a source
                             includes its own header first, a header without source is read by itself;
                             and all of them pass the checks of tools/tidy.txt

Words may be combined. What has passed is kept in build/form.json and not read again until it, a
header that it includes, or the list of checks has changed. JOBS is the number of files read at once
(one for each processor).
"""
import concurrent.futures
import functools
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIBRARY = ROOT / "infrastructure"
PASSED = ROOT / "build" / "form.json"
GENERATED = ROOT / "build" / "form"
INCLUDE = re.compile(rb'^#include "(infrastructure/[^"]+)"', re.MULTILINE)
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


@functools.lru_cache(maxsize=None)
def closure(file):
    """The file and all headers of the project that it includes, by whatever way."""
    found = {file}
    queue = [file]
    while queue:
        for name in INCLUDE.findall(queue.pop().read_bytes()):
            header = ROOT / name.decode()
            if header not in found and header.exists():
                found.add(header)
                queue.append(header)
    return found


def fingerprint(file, words):
    """Changes with the file, with what it includes, and with how it is read."""
    digest = hashlib.sha256(" ".join(words).encode())
    for part in sorted(closure(file)):
        digest.update(part.read_bytes())
    return digest.hexdigest()


def read_flags():
    found = subprocess.run(
        ["pkg-config", "--cflags", "Qt5Core", "Qt5Network", "fmt", "spdlog"],
        capture_output=True, text=True, check=True,
    ).stdout.split()
    # What the build would write; any values will do here.
    GENERATED.mkdir(parents=True, exist_ok=True)
    shutil.copy(LIBRARY / "platform" / "BuildVersion.h.in", GENERATED / "BuildVersion.h")
    return ["-std=c++17", "-fPIC", f"-I{ROOT}", f"-I{GENERATED}", "-DQT_NO_KEYWORDS", "-DQT_NO_CAST_FROM_ASCII",
            "-D_FILE_OFFSET_BITS=64", '-DINFRASTRUCTURE_VERSION=""', *found]


def check_library():
    complaints = []
    sources = sorted(LIBRARY.rglob("*.cpp"))
    proved = set()
    for source in sources:
        own = [source.with_name(source.stem + end) for end in (".h", "_p.h")]
        for header in filter(pathlib.Path.exists, own):
            proved.add(header)
            if first_include(source) != header.relative_to(ROOT).as_posix():
                complaints.append(f"{source.relative_to(ROOT)}: does not include its own header first")
    alone = sorted(set(LIBRARY.rglob("*.h")) - proved)

    lines = (ROOT / "tools" / "tidy.txt").read_text(encoding="utf-8").splitlines()
    checks = ",".join(["-*", "clang-diagnostic-error", *(x for x in lines if not x.startswith("#"))])
    command = ["clang-tidy", "--quiet", f"--checks={checks}", "--warnings-as-errors=*",
               "--header-filter=infrastructure/.*"]
    flags = read_flags()
    passed = json.loads(PASSED.read_text(encoding="utf-8")) if PASSED.exists() else {}

    def read(file):
        key = fingerprint(file, [*command, *flags])
        if passed.get(str(file)) == key:
            return file, key, []
        source = file
        if file.suffix == ".h":
            name = file.relative_to(ROOT).as_posix()
            source = GENERATED / (name.replace("/", "_") + ".cpp")
            source.write_text(f'#include "{name}"\n', encoding="utf-8")
        done = subprocess.run([*command, str(source), "--", *flags], capture_output=True, text=True)
        found = [line for line in done.stdout.splitlines() if re.search(r": (error|warning): ", line)]
        if done.returncode != 0 and not found:
            found = [f"{file}: {done.stderr.strip()}"]
        return file, key, [line.replace(f"{ROOT}/", "") for line in found]

    files = [*sources, *alone]
    results = {}
    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        for file, key, found in pool.map(read, files):
            if not found:
                results[str(file)] = key
            complaints += [line for line in found if line not in complaints]
    PASSED.write_text(json.dumps(results), encoding="utf-8")
    return complaints, f"{len(sources)} sources, {len(alone)} headers alone"


def main():
    words = sys.argv[1:]
    checks = {"format": check_format, "library": check_library}
    if not words or set(words) - checks.keys():
        print(__doc__)
        return 0 if words == ["--help"] else 2
    results = [checks[word]() for word in words]
    for complaints, what in results:
        for complaint in complaints:
            print(complaint)
        print(f"{what}: {len(complaints)} complaints")
    return 1 if any(complaints for complaints, _ in results) else 0


if __name__ == "__main__":
    sys.exit(main())
