"""Records a client against a server, and plays each side of it to the other.

usage: replay.py REPLAY DATACORE_SERVER DATACORE_CLIENT
"""
import pathlib
import re
import signal
import socket
import sys
import tempfile

from programs import (EQUALISER, HEADER_BYTES, RECORD_HEAD, Listening, check, json_packet, records, run,
                      serve)


class Programs:
    """The programs under test, and the folder of their recordings."""

    def __init__(self, folder, replay, server, client):
        self.folder, self.replay, self.server, self.client = folder, replay, server, client

    def tool(self, port, *words):
        return run(self.client, "--port", str(port), *words)

    def recorder(self, path, port):
        return Listening(self.replay, "record", str(path), "--server", f"127.0.0.1:{port}",
                         "--listen", "127.0.0.1:0")

    def record(self, name, port, *words):
        path = self.folder / name
        with self.recorder(path, port) as recording:
            result = self.tool(recording.port, *words)
            check(result.returncode == 0, f"{words[0]} works through the recorder", result)
            text, value = recording.end()
            check(value == 0 and "Recorded" in text, "the recorder ends with the link", text)
        return path, result.stdout


def check_ends(programs, server):
    """The ends of a recording: a client that closes, a signal."""
    path = programs.folder / "stopped"
    with programs.recorder(path, server.port) as recording:
        with socket.create_connection(("127.0.0.1", recording.port)) as link:
            # Garbage, a packet cut in two, and the begin of one that never ends.
            whole = json_packet(b'{"Class":"x"')
            sent = b"\x10garbage" + whole + whole[:9]
            for piece in (sent[:15], sent[15:]):
                link.sendall(piece)
            link.shutdown(socket.SHUT_WR)
            text, value = recording.end()
    check(value == 0, "a client that closes ends the recording", text)
    heard = b"".join(data for _, _, kind, data in records(path) if kind == 0)
    check(heard == sent, "every byte of the client is in the file")

    path = programs.folder / "interrupted"
    with programs.recorder(path, server.port) as recording:
        with socket.create_connection(("127.0.0.1", recording.port)) as link:
            while not path.exists():
                link.recv(1)
            recording.process.send_signal(signal.SIGINT)
            text, value = recording.end()
    check(value == 0 and run(programs.replay, "show", str(path)).returncode == 0,
          "Ctrl-C leaves a whole file", text)
    result = run(programs.replay, "record", str(path))
    check(result.returncode == 1 and "exists" in result.stderr, "no file is written over", result)


def check_played(programs, read, written, *words):
    with serve(programs.server) as server:
        result = programs.tool(server.port, "get", EQUALISER)
        check(result.stdout == "4  valid active\n", "a new server", result)
        result = run(programs.replay, "to-server", str(written), "--server",
                     f"127.0.0.1:{server.port}", *words)
        check(result.returncode == 0 and "Played 3 packets" in result.stdout,
              f"the client's side is played {words}", result)
        result = programs.tool(server.port, "get", EQUALISER)
        check(result.stdout == "9  valid active\n", "it has the same effect", result)
    for path, command in ((read, ["get", EQUALISER]), (written, ["set", EQUALISER, "9"])):
        with Listening(programs.replay, "to-client", str(path), "--listen", "127.0.0.1:0", *words) as player:
            result = programs.tool(player.port, *command)
            check(result.stdout == "9  valid active\n", f"a client's {command[0]} gets the same", result)
            text, value = player.end()
            check(value == 0, "the player ends with the link", text)


def check_bad_files(programs, good):
    """Files that are cut short at any byte but a record's edge, or hold what can't be."""
    content = good.read_bytes()
    places = [place[0] for place in records(good)]
    first, last = places[0], places[-1]
    bad = {f"cut{size}": content[:size] for size in range(len(content))
           if size not in [HEADER_BYTES, *places]}
    for name, offset, new in (("magic", 0, b"\x88"), ("version", 8, b"\0\2"),
                              ("time", first, b"\x7f"), ("latest", last, b"\xff"),
                              ("kind", first + 8, b"\4"), ("size", first + 9, b"\xff" * 4),
                              ("empty", first + 9, b"\0" * 4)):
        bad[name] = content[:offset] + new + content[offset + len(new):]
    bad["more"] = content + RECORD_HEAD.pack(1 << 60, 0, 1) + b"x"
    for name, data in bad.items():
        (programs.folder / name).write_bytes(data)
    result = run(programs.replay, "show", *(str(programs.folder / name) for name in bad))
    check(result.returncode == 1, "bad files fail")
    told = {pathlib.Path(line.split(":")[0]).name for line in result.stderr.splitlines()}
    check(told == set(bad), f"each of {len(bad)} bad files is told", set(bad) - told)
    result = run(programs.replay, "to-server", str(programs.folder / "more"))
    check(result.returncode == 1 and "behind the end" in result.stderr, "none is played", result)


def main(*names):
    with tempfile.TemporaryDirectory() as folder:
        programs = Programs(pathlib.Path(folder), *names)
        with serve(programs.server) as server:
            written, echo = programs.record("set", server.port, "set", EQUALISER, "9")
            read, value = programs.record("get", server.port, "get", EQUALISER)
            check((echo, value) == ("9  valid active\n",) * 2, "the value went both ways")
            check_ends(programs, server)
        show = programs.replay, "show", str(read)
        if run("localedef", "-i", "de_DE", "-f", "UTF-8", f"{folder}/de_DE.UTF-8").returncode == 0:
            german = run(*show, LOCPATH=folder, LC_ALL="de_DE.UTF-8")
            check(re.search(r"^ +0\.\d{6}  client", german.stdout, re.M) and
                  german.stdout == run(*show).stdout, "numbers are the same in every locale", german)
        check_played(programs, read, written)
        check_played(programs, read, written, "--fast")
        check_bad_files(programs, written)
        check(run(programs.replay, "show").returncode == 2, "a command without file gets the usage")


main(*sys.argv[1:])
