#!/usr/bin/env python3
"""The foreign files of the gateway's page, and what its test uses besides, each of one release.

    page_libraries.py check            compares what is in the sources with the hashes below
    page_libraries.py update           fetches it anew with npm
    page_libraries.py axe DIRECTORY    fetches axe-core for a test, unless it is there; prints where

A package whose hash is another is not unpacked. For another release, change version and hashes.
"""
import base64
import hashlib
import io
import pathlib
import subprocess
import sys
import tarfile
import tempfile

FOLDER = pathlib.Path(__file__).resolve().parent.parent / "sw/datacore_gateway/page/third_party"
UPLOT = ("uplot@1.6.32",  # and the SHA-512 of the package
         "KIMVnG68zvu5XXUbC4LQEPnhwOxBuLyW1AHtpm6IKTXImkbLgkMy+jabjLgSLMasNuGGzQm/ep3tOkyTxpiQIw==")
UPLOT_FILES = {  # of the package: name here, SHA-256
    "dist/uPlot.iife.min.js": ("uPlot.iife.min.js",
                               "19c8d4c6ad88929a79f4ae49d6f7161566dfd0ba3d15cc495e974f787eb78f1f"),
    "dist/uPlot.min.css": ("uPlot.min.css", "df630c6a8d6f8eeaff264b50f73ce5b114f646ffd9a0bb74f049b0a00135fa04"),
    "LICENSE": ("uPlot.LICENSE", "8f989229699b4fe2f1a0432d0e9edc338a8a911e250e2d1b01ecd770a5f5b1bd"),
}
AXE = ("axe-core@4.14.1",
       "FHfa+lmNjQZfJz1q8wKqIDwC6DExcHt/pkjNQb09a3NPjCKg2rhu5qb2S4r76ASyFNNtuFooJpZe37OgudVGtQ==")
AXE_SHA256 = "29348999450cdf2849a8e70b7912fc2da85a849da39c0d0d5394f51d4a9ed95c"


def fetch(release, sha512):
    """The files of a package, by name."""
    with tempfile.TemporaryDirectory() as folder:
        try:
            subprocess.run(["npm", "pack", release, "--silent", "--pack-destination", folder],
                           capture_output=True, timeout=120, check=True)
        except (OSError, subprocess.SubprocessError) as problem:
            raise SystemExit(f"{release} can't be fetched: {problem}") from problem
        found = list(pathlib.Path(folder).glob("*.tgz"))
        package = found[0].read_bytes()
    if base64.b64encode(hashlib.sha512(package).digest()).decode() != sha512:
        raise SystemExit(f"{release} is not what it was")
    with tarfile.open(fileobj=io.BytesIO(package)) as archive:
        return {member.name.removeprefix("package/"): archive.extractfile(member).read()
                for member in archive if member.isfile()}


def is_intact(file, sha256):
    return file.exists() and hashlib.sha256(file.read_bytes()).hexdigest() == sha256


def check():
    wanted = {name: sha256 for name, sha256 in UPLOT_FILES.values()}
    complaints = [f"{name} is not that of {UPLOT[0]}" for name, sha256 in wanted.items()
                  if not is_intact(FOLDER / name, sha256)]
    complaints += [f"{file.name} is not listed" for file in FOLDER.iterdir() if file.name not in wanted]
    sys.exit("\n".join(complaints) or None)


def update():
    files = fetch(*UPLOT)
    for member, (name, _) in UPLOT_FILES.items():
        (FOLDER / name).write_bytes(files[member])
    check()


def fetch_axe(directory):
    file = pathlib.Path(directory) / "axe.min.js"
    if not is_intact(file, AXE_SHA256):
        file.write_bytes(fetch(*AXE)["axe.min.js"])
    if not is_intact(file, AXE_SHA256):
        raise SystemExit(f"{file} is not that of {AXE[0]}")
    print(file)


if __name__ == "__main__":
    {"check": check, "update": update, "axe": fetch_axe}[sys.argv[1]](*sys.argv[2:])
