"""What the tests of whole programs share: checks, programs that are run, packets of the link."""
import os
import pathlib
import re
import struct
import subprocess
import sys

JSON_TYPE = 0x1010
EQUALISER = "configCoreRouter/input1/equaliser"
HEADER_BYTES = 24  # of a recording
RECORD_HEAD = struct.Struct(">QBI")  # of each record in it


def check(holds, what, shown=""):
    """Ends the test where something does not hold."""
    if not holds:
        print(f"FAILED: {what}\n{shown}")
        sys.exit(1)
    print(f"passed: {what}")


def run(*words, **variables):
    """A program that has ended, with its text."""
    return subprocess.run(words, capture_output=True, text=True, errors="replace",
                          timeout=300, check=False, env={**os.environ, **variables})


class Listening:
    """A program that prints the port it listens at, and is killed with the block."""

    def __init__(self, *words, **streams):
        self.process = subprocess.Popen(words, stdout=subprocess.PIPE, text=True, **streams)
        self.port = int(re.search(r"port (\d+)", self.process.stdout.readline())[1])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.communicate()

    def end(self):
        """What it prints until it ends by itself, and its exit value."""
        text = self.process.communicate(timeout=60)[0]
        return text, self.process.returncode


def packet(payload, packet_type=JSON_TYPE, size=None):
    return struct.pack(">HHI", packet_type, 0, len(payload) if size is None else size) + payload


def json_packet(text, length=None):
    return packet(struct.pack(">I", len(text) if length is None else length) + text)


def records(recording):
    """Each record's place in the file, time, kind (0 and 1: bytes of client, server) and bytes."""
    content = pathlib.Path(recording).read_bytes()
    at = HEADER_BYTES
    while at < len(content):
        time, kind, size = RECORD_HEAD.unpack_from(content, at)
        yield at, time, kind, content[at + RECORD_HEAD.size:at + RECORD_HEAD.size + size]
        at += RECORD_HEAD.size + size
