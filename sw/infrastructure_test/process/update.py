"""Firmware updates over the state tree: one with its progress, one refused, one that is cut off by a
kill and goes on. What is fixed of it stands in the page of the board.

usage: update.py UPDATE DATACORE_CLIENT PAGE
"""
import pathlib
import random
import subprocess
import sys
import tempfile
import time

from programs import Listening, check, run

STATUS, IMAGE = "statusCoreRouter/update", "commandCoreRouter/update/image"
BLOCK = 0x10000


def bit_file(path, seed, device, version):
    def field(tag, text):
        return tag + (len(text) + 1).to_bytes(2, "big") + text + b"\0"
    head = (bytes.fromhex("00090ff00ff00ff00ff0000001")
            + field(b"a", b"router;UserID=0X%08X;Version=2019.1" % version) + field(b"b", device)
            + field(b"c", b"2026/11/22") + field(b"d", b"12:34:56"))
    stream = random.Random(seed).randbytes(10 * BLOCK - len(head) - 5)
    path.write_bytes(head + b"e" + len(stream).to_bytes(4, "big") + stream)


class Transcript:
    """Commands with what they print, some of which must stand in the page."""

    def __init__(self, client, page):
        self.client, self.page, self.port = client, page.read_text(encoding="utf-8"), 0

    def show(self, line):
        print(line)
        check(line in self.page, "the page has this line", line)

    def get(self, path):
        return run(self.client, "--port", str(self.port), "get", f"{STATUS}/{path}").stdout

    def show_get(self, path):
        self.show(f"$ datacore_client get {STATUS}/{path}")
        self.show(self.get(path).strip())

    def wait(self, path, text):
        for _ in range(600):
            if text in self.get(path):
                return
            time.sleep(0.05)
        check(False, f"{path} becomes {text}", self.get(path))

    def start(self, image):
        self.show(f"$ datacore_client set {IMAGE} {image.name}")
        result = run(self.client, "--port", str(self.port), "set", IMAGE, str(image))
        check(result.returncode == 0, "the update is started", result.stderr)

    def watch(self):
        self.show(f"$ datacore_client watch {STATUS}")
        return subprocess.Popen([self.client, "--port", str(self.port), "watch", STATUS],
                                stdout=subprocess.PIPE, text=True)


def follow(watching, last):
    """The values of progress until a leaf has the last text."""
    values = []
    for line in watching.stdout:
        path, value = line.split(" ", 2)[2].split(" = ", 1)
        if path == f"{STATUS}/progressPercent":
            values.append(int(value.split()[0]))
        if last in line:
            return values, line
    return values, ""


def main(update, client, page):
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        old, new, other = folder / "old.bit", folder / "new.bit", folder / "other.bit"
        bit_file(old, 1, b"part-1", 0x00110203)
        bit_file(new, 2, b"part-1", 0x00110300)
        bit_file(other, 3, b"part-2", 0x00110300)
        said = Transcript(client, pathlib.Path(page))
        with Listening(update, name, "0", "60") as server:
            said.port = server.port
            said.wait("state", "Ready")
            watching = said.watch()
            watching.stdout.readline()  # it has connected
            said.start(old)
            values, line = follow(watching, "holds router")
            watching.kill()
            watching.communicate()
            check(values == sorted(values) and values[-1] == 100 and len(values) > 4,
                  "the progress is shown", values)
            said.show(line.split(" ", 2)[2].strip())
            check((folder / "fpga_b").read_bytes()[:10 * BLOCK] == old.read_bytes(), "it is there")
            said.start(other)
            said.wait("lastResult", "part-2")
            said.show_get("lastResult")
            said.start(new)
            for _ in range(600):
                if int(said.get("progressPercent").split()[0]) >= 30:
                    break
        with Listening(update, name, "0", "0") as server:  # the first was killed
            said.port = server.port
            said.wait("state", "Repeat")
            for path in ("state", "fpga_a/state", "fpga_b/state", "activeBank"):
                said.show_get(path)
            said.start(new)
            said.wait("lastResult", "holds")
            result, resumed = said.get("lastResult").split(", resumed at ")
            said.show(f"$ datacore_client get {STATUS}/lastResult")
            said.show(result)
            check(2 * BLOCK <= int(resumed.split()[0]) < 10 * BLOCK, "what was written stays", resumed)
            for path in ("state", "activeBank"):
                said.show_get(path)
        check((folder / "fpga_a").read_bytes()[:10 * BLOCK] == new.read_bytes(), "it went on")
        check((folder / "fpga_b").read_bytes()[:10 * BLOCK] == old.read_bytes(), "the other stays")


if __name__ == "__main__":
    main(*sys.argv[1:])
