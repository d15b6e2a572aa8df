"""Records a client against a server, and plays each side of it to the other.

usage: replay.py REPLAY DATACORE_SERVER DATACORE_CLIENT
"""
import atexit
import os
import pathlib
import re
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile

HEADER_BYTES = 24
RECORD_HEAD = struct.Struct(">QBI")
EQUALISER = "configCoreRouter/input1/equaliser"


def check(holds, what, result=None):
    if not holds:
        print(f"FAILED: {what} {result or ''}")
        sys.exit(1)
    print(f"passed: {what}")


class Background:
    """A program that prints the port it listens at, and is ended with the block."""

    def __init__(self, *words):
        self.process = subprocess.Popen(words, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                        text=True)

    def __enter__(self):
        self.port = int(re.search(r"port (\d+)", self.process.stdout.readline())[1])
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.communicate()

    def end(self):
        """What it prints until it ends by itself, and its exit value."""
        text, error = self.process.communicate(timeout=30)
        return text + error, self.process.returncode


def records(path):
    """Each record's place in the file, time, kind and bytes."""
    content = path.read_bytes()
    at = HEADER_BYTES
    while at < len(content):
        time, kind, size = RECORD_HEAD.unpack_from(content, at)
        yield at, time, kind, content[at + RECORD_HEAD.size:at + RECORD_HEAD.size + size]
        at += RECORD_HEAD.size + size


def main(replay, server_program, client_program):
    directory = pathlib.Path(tempfile.mkdtemp())
    atexit.register(shutil.rmtree, directory, ignore_errors=True)

    def run(*words, **environment):
        return subprocess.run(words, capture_output=True, text=True, timeout=30, check=False,
                              env={**os.environ, **environment})

    def tool(port, *words):
        return run(client_program, "--port", str(port), *words)

    def recorder(path, port):
        return Background(replay, "record", str(path), "--server", f"127.0.0.1:{port}", "--listen",
                          "127.0.0.1:0")

    def record(name, port, *words):
        path = directory / name
        with recorder(path, port) as recording:
            result = tool(recording.port, *words)
            check(result.returncode == 0, f"{words[0]} works through the recorder", result)
            text, value = recording.end()
            check(value == 0 and "Recorded" in text, "the recorder ends with the link", text)
        return path, result.stdout

    with Background(server_program, "--port", "0") as server:
        written, echo = record("set", server.port, "set", EQUALISER, "9")
        read, value = record("get", server.port, "get", EQUALISER)
        check((echo, value) == ("9  valid active\n",) * 2, "the value went both ways")

        path = directory / "stopped"
        with recorder(path, server.port) as recording:
            with socket.create_connection(("127.0.0.1", recording.port)) as link:
                # Garbage, a packet cut in two, and the begin of one that never ends.
                packet = struct.pack(">HHII", 0x1010, 0, 16, 12) + b'{"Class":"x"'
                sent = b"\x10garbage" + packet + packet[:9]
                for piece in (sent[:15], sent[15:]):
                    link.sendall(piece)
                link.shutdown(socket.SHUT_WR)
                text, value = recording.end()
        check(value == 0, "a client that closes ends the recording", text)
        heard = b"".join(data for _, _, kind, data in records(path) if kind == 0)
        check(heard == sent, "every byte of the client is in the file")
        path = directory / "interrupted"
        with recorder(path, server.port) as recording:
            with socket.create_connection(("127.0.0.1", recording.port)) as link:
                while not path.exists():
                    link.recv(1)
                recording.process.send_signal(signal.SIGINT)
                text, value = recording.end()
        check(value == 0 and run(replay, "show", str(path)).returncode == 0,
              "Ctrl-C leaves a whole file", text)
        result = run(replay, "record", str(path))
        check(result.returncode == 1 and "exists" in result.stderr, "no file is written over",
              result)

    if run("localedef", "-i", "de_DE", "-f", "UTF-8", f"{directory}/de_DE.UTF-8").returncode == 0:
        german = run(replay, "show", str(read), LOCPATH=str(directory), LC_ALL="de_DE.UTF-8")
        check(re.search(r"^ +0\.\d{6}  client", german.stdout, re.M) and
              german.stdout == run(replay, "show", str(read)).stdout,
              "numbers are the same in every locale", german)

    for words in ([], ["--fast"]):
        with Background(server_program, "--port", "0") as server:
            check(tool(server.port, "get", EQUALISER).stdout == "4  valid active\n", "a new server")
            result = run(replay, "to-server", str(written), "--server", f"127.0.0.1:{server.port}",
                         *words)
            check(result.returncode == 0 and "Played 2 packets" in result.stdout,
                  f"the client's side is played {words}", result)
            check(tool(server.port, "get", EQUALISER).stdout == echo, "it has the same effect")
        for path, command in ((read, ["get", EQUALISER]), (written, ["set", EQUALISER, "9"])):
            with Background(replay, "to-client", str(path), "--listen", "127.0.0.1:0",
                            *words) as player:
                result = tool(player.port, *command)
                check(result.stdout == echo, f"a client's {command[0]} gets the same", result)
                text, value = player.end()
                check(value == 0, "the player ends with the link", text)

    content = written.read_bytes()
    places = list(records(written))
    bad = {f"cut{size}": content[:size] for size in range(len(content))
           if size not in [HEADER_BYTES] + [place[0] for place in places]}
    first = places[0][0]

    def changed(offset, new):
        return content[:offset] + new + content[offset + len(new):]

    bad["magic"] = changed(0, b"\x88")
    bad["version"] = changed(8, b"\0\2")
    bad["time"] = changed(first, b"\x7f")
    bad["latest"] = changed(places[-1][0], b"\xff")
    bad["kind"] = changed(first + 8, b"\4")
    bad["size"] = changed(first + 9, b"\xff\xff\xff\xff")
    bad["empty"] = changed(first + 9, b"\0\0\0\0")
    bad["more"] = content + RECORD_HEAD.pack(1 << 60, 0, 1) + b"x"
    for name, data in bad.items():
        (directory / name).write_bytes(data)
    result = run(replay, "show", *(str(directory / name) for name in bad))
    check(result.returncode == 1, "bad files fail")
    told = {pathlib.Path(line.split(":")[0]).name for line in result.stderr.splitlines()}
    check(told == set(bad), f"each of {len(bad)} bad files is told", set(bad) - told)
    result = run(replay, "to-server", str(directory / "more"))
    check(result.returncode == 1 and "behind the end" in result.stderr, "none is played", result)
    check(run(replay, "show").returncode == 2, "a command without file gets the usage")


if __name__ == "__main__":
    main(*sys.argv[1:])
