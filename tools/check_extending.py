#!/usr/bin/env python3
"""Walks docs/extending.md in a copy of the sources: takes each of its steps, builds the libraries with
them, and compares what the page's programs print with the page.

usage: check_extending.py [CMAKE_OPTION ...]
    An option is one that the copy is configured with, such as -DCMAKE_CXX_COMPILER=g++.

A step is a mark and the block of code behind it:
    <!-- new: PATH -->                       a new file
    <!-- insert in PATH behind: LINE -->     goes behind that line, which stands there once
    <!-- replace in PATH: LINE -->           stands in place of that line
    <!-- run -->                             a command, in the root of the sources
    <!-- program: NAME LIBRARY -->           a program linked to that library; the text block behind it
                                             is what it prints
A line is looked for without the blanks around it.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = "docs/extending.md"
STEP = re.compile(r"^<!-- (new|insert in|replace in|run|program)\b:?(?: ([^\n]*?))? -->\n"
                  r"```\w+\n(.*?)^```$", re.DOTALL | re.MULTILINE)
PRINTED = re.compile(r"\s*```text\n(.*?)^```$", re.DOTALL | re.MULTILINE)


def run(words, directory, **more):
    done = subprocess.run(words, cwd=directory, text=True, encoding="utf-8", **more)
    if done.returncode != 0:
        print(done.stdout or "", end="")
        sys.exit(f"FAILED: {' '.join(map(str, words))}")
    return done.stdout


def copy_sources(tree):
    """What is in the version control's hands; all there is but builds where it is not at hand."""
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                            cwd=ROOT, capture_output=True, text=True, check=False)
    if listed.returncode != 0:
        shutil.copytree(ROOT, tree, ignore=shutil.ignore_patterns("build", ".git"))
        return
    for name in filter(None, listed.stdout.split("\0")):
        if (ROOT / name).is_file():
            (tree / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, tree / name)


def edit(path, wanted, block, keep):
    """Puts the block behind the one line that is wanted, or in its place."""
    lines = path.read_text(encoding="utf-8").splitlines(keepends=True)
    places = [i for i, line in enumerate(lines) if line.strip() == wanted.strip()]
    if len(places) != 1:
        sys.exit(f"FAILED: {path} has {len(places)} lines {wanted!r}")
    lines[places[0]:places[0] + 1] = [lines[places[0]]] * keep + [block]
    path.write_text("".join(lines), encoding="utf-8")


def take_step(tree, kind, what, block):
    if kind == "run":
        run(["bash", "-euc", block], tree)
    elif kind == "new":
        path = tree / what
        if path.exists():
            sys.exit(f"FAILED: {what} is there already")
        path.write_text(block, encoding="utf-8")
    elif kind == "program":
        name, library = what.split()
        (tree / f"{name}.cpp").write_text(block, encoding="utf-8")
        with open(tree / "CMakeLists.txt", "a", encoding="utf-8") as cmake:
            cmake.write(f"add_executable({name} {name}.cpp)\ninfrastructure_flags({name})\n"
                        f"target_link_libraries({name} PRIVATE infrastructure::{library})\n")
    else:
        form = r"(\S+) behind: (.*)" if kind == "insert in" else r"(\S+): (.*)"
        path, line = re.fullmatch(form, what).groups()
        edit(tree / path, line, block, keep=kind == "insert in")
    print(f"taken: {kind} {what or block.strip()}", flush=True)


def main(options):
    text = (ROOT / PAGE).read_text(encoding="utf-8")
    steps = list(STEP.finditer(text))
    if len(steps) != text.count("<!-- ") or not steps:
        sys.exit(f"FAILED: {PAGE} has {text.count('<!-- ')} marks, {len(steps)} of them with a step")
    with tempfile.TemporaryDirectory() as scratch:
        tree = pathlib.Path(scratch) / "sources"
        tree.mkdir()
        copy_sources(tree)
        printed = {}
        for step in steps:
            kind, what, block = step.groups()
            take_step(tree, kind, what, block)
            if kind == "program":
                output = PRINTED.match(text, step.end())
                if output is None:
                    sys.exit(f"FAILED: {what} has no block of what it prints behind it")
                printed[what.split()[0]] = output[1]

        # As deep as a preset's own build, so that the compiler cache has what the page leaves alone.
        build = tree / "build" / "release"
        os.environ.update(CCACHE_BASEDIR=str(tree), CCACHE_NOHASHDIR="1")
        off = [f"-DINFRASTRUCTURE_{part}=OFF" for part in ("BUILD_TESTS", "BUILD_EXAMPLES", "INSTALL")]
        run(["cmake", "--preset", "release", *off, *options], tree, stdout=subprocess.PIPE)
        run(["cmake", "--build", build, "--target", *printed], tree, stdout=subprocess.PIPE)
        for name, expected in printed.items():
            seen = run([build / name], tree, stdout=subprocess.PIPE, timeout=30)
            if seen != expected:
                sys.exit(f"FAILED: {name} prints\n{seen}and not\n{expected}")
            print(f"passed: {name} prints what the page says")
        # What the page adds is fit for the checks of sources and documents.
        run([sys.executable, "tools/check_docs.py", "links"], tree)
        run([sys.executable, "tools/protocol_tables.py", "--check"], tree)


if __name__ == "__main__":
    if any(not word.startswith("-D") for word in sys.argv[1:]):
        print(__doc__)
        sys.exit(0 if sys.argv[1:] == ["--help"] else 2)
    main(sys.argv[1:])
