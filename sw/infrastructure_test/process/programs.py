"""What the tests of whole programs share: checks, programs that are run, packets of the link."""
import base64
import json
import os
import pathlib
import re
import struct
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path += [str(ROOT / "tools"), str(ROOT / "examples")]
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


def run(*words, text=None, **variables):
    """A program that has ended, with its text; it may be given some."""
    return subprocess.run(words, input=text, capture_output=True, text=True, errors="replace",
                          timeout=300, check=False, env={**os.environ, **variables})


class Talking:
    """A program that prints lines, may be told some, and is killed with the block."""

    def __init__(self, *words, **streams):
        self.process = subprocess.Popen([*map(str, words)], text=True, **{
            "stdin": subprocess.PIPE, "stdout": subprocess.PIPE, **streams})

    def read(self):
        return self.process.stdout.readline().rstrip("\n")

    def tell(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.communicate()

    def end(self):
        """What it prints until it ends by itself, and its exit value."""
        text = self.process.communicate(timeout=60)[0]
        return text, self.process.returncode


class Listening(Talking):
    """One that begins with the ports it listens at, one a line."""

    def __init__(self, *words, ports=1, **streams):
        super().__init__(*words, **{"stdin": None, **streams})
        self.port, *self.more = (int(re.search(r"port (\d+)", self.read())[1]) for _ in range(ports))


def serve(server, *words, **streams):
    """A server at a port that the system chooses."""
    return Listening(server, "--port", "0", *words, **streams)


class WebSocket:
    """A client's end of a WebSocket (RFC 6455): text messages, unfragmented, over a given socket."""

    def __init__(self, link, target="/api/live", protocol="datacore.1", **headers):
        self.link = link
        lines = [f"GET {target} HTTP/1.1", "Upgrade: websocket", "Connection: Upgrade",
                 f"Sec-WebSocket-Key: {base64.b64encode(os.urandom(16)).decode()}",
                 "Sec-WebSocket-Version: 13", f"Sec-WebSocket-Protocol: {protocol}",
                 *(f"{name}: {value}" for name, value in {"Host": "localhost", **headers}.items())]
        link.sendall(("\r\n".join(lines) + "\r\n\r\n").encode())
        self.stream = link.makefile("rb")
        self.status = int(self.stream.readline().split()[1])
        while self.stream.readline().strip():
            pass

    def send(self, message, opcode=1):
        data = message if isinstance(message, bytes) else json.dumps(message).encode()
        size = bytes([0x80 | len(data)]) if len(data) < 126 else struct.pack(">BQ", 255, len(data))
        self.link.sendall(bytes([0x80 | opcode]) + size + bytes(4) + data)  # masked with zeros

    def receive(self):
        """The next message as JSON; the code and reason of a close; None where the link ends."""
        while head := self.stream.read(2):
            size = head[1] & 127
            if size > 125:
                size = int.from_bytes(self.stream.read(2 if size == 126 else 8), "big")
            data = self.stream.read(size)
            if head[0] & 15 == 9:
                self.send(data, 10)
            elif head[0] & 15 == 8:
                return int.from_bytes(data[:2], "big"), data[2:].decode()
            else:
                return json.loads(data)
        return None

    def wait(self, **wanted):
        """The next message with these values."""
        while not wanted.items() <= (message := self.receive()).items():
            pass
        return message


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
