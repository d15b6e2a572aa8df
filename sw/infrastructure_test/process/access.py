"""Who may do what with datacore_server: each role by each tree by each operation, tokens, strangers,
and what holds without a file of roles.

usage: access.py DATACORE_SERVER
"""
import contextlib
import hashlib
import itertools
import json
import os
import pathlib
import re
import socket
import struct
import sys
import tempfile
import time

import namespaces
from programs import ROOT, check, json_packet, run, serve
import client

RULES = f"""
role viewer   read
role operator write configCoreRouter/input1 configCoreRouter/input4 commandCoreRouter
role engineer all
grant viewer   address 127.0.0.3
grant operator address 127.0.0.4/31
grant engineer address 127.0.0.6
grant operator token {hashlib.sha256(b"open sesame").hexdigest()}
read-only tree configCoreRouter/input4
writable  node configCoreRouter/input4/label
"""
TREES = ("configCoreRouter/input1/label", "configCoreRouter/input2/label",
         "configCoreRouter/input4/label", "configCoreRouter/input4/cursor",
         "statusCoreRouter/temperature", "commandCoreRouter/seek", "persistentConfigCoreRouter/name")
# By address and token: reads and hears, and writes to each of the trees.
MATRIX = {
    ("127.0.0.2", ""):            (0, (0, 0, 0, 0, 0, 0, 0)),
    ("127.0.0.3", ""):            (1, (0, 0, 0, 0, 0, 0, 0)),
    ("127.0.0.4", ""):            (1, (1, 0, 1, 0, 0, 1, 0)),
    ("127.0.0.5", ""):            (1, (1, 0, 1, 0, 0, 1, 0)),
    ("127.0.0.6", ""):            (1, (1, 1, 1, 0, 0, 1, 1)),
    ("127.0.0.2", "open sesame"): (1, (1, 0, 1, 0, 0, 1, 0)),
    ("127.0.0.3", "open sesame"): (1, (1, 0, 1, 0, 0, 1, 0)),
    ("127.0.0.6", "open sesame"): (1, (1, 1, 1, 0, 0, 1, 1)),
    ("127.0.0.9", "open Sesame"): (0, (0, 0, 0, 0, 0, 0, 0)),
}
numbers = itertools.count(100)  # values that nothing else has


class Link(client.Client):
    """A client that comes from an address of its own."""

    def __init__(self, port, address, server="127.0.0.1"):
        self.link = socket.create_connection((server, port), 10, (address, 0))
        self.stream = self.link.makefile("rb")
        self.id = str(int.from_bytes(socket.inet_aton(address), "big")) + str(self.link.getsockname()[1])

    def present(self, token):
        self.send(Class="DatacoreTokenPacket", Token=token)
        return self.receive(Class="DatacoreAccessPacket")

    def get(self, path):
        self.send(Class="DatacoreRequestListPacket", ClientID=self.id, DatacoreRequestList=[path])
        self.receive(Class="DatacorePathRadixTreePacket")
        return self.receive(Class="DatacorePacket", Path=path)["Datacore"][path.split("/")[-1]]["data"]

    def write(self, path, content, number=0):
        """What the server answers to a write."""
        self.send(Class="DatacorePacket", ClientID=self.id, PacketID=number, Path=path,
                  Datacore={path.split("/")[-1]: content})
        answer = self.receive(Class="DatacorePacket", ClientID=self.id, PacketID=number, Path=path)
        return answer["Datacore"][path.split("/")[-1]]["data"]


def is_dropped(attempt):
    with contextlib.suppress(ConnectionError):
        attempt()
        return False
    return True


def check_row(port, engineer, address, token, reads, writes):
    link = Link(port, address)
    if token:
        taken = link.present(token)["TokenTaken"]
        check(taken == (token == "open sesame"), f"{address}: token {token!r} is taken: {taken}")
    if not reads:
        for operation in (lambda link: link.get(TREES[0]), lambda link: link.write(TREES[0], {"data": "x"})):
            check(is_dropped(lambda: operation(Link(port, address))), f"{address} gets nothing")
        check(engineer.get(TREES[0]) != "x", "and has written nothing")
        return
    for path, allowed in zip(TREES, writes):
        before, value = engineer.get(path), str(next(numbers))
        check(link.get(path) == before, f"{address} {token} reads {path}")
        held = link.write(path, {"data": value})
        check(held == (value if allowed else before), f"... writes it: {bool(allowed)}", held)
        check(engineer.get(path) == held, "... and is told what the server holds")
        above, _, name = path.rpartition("/")
        value = str(next(numbers))
        link.write(above, {name: {"data": value}}, 1)
        # A write from above needs the right for what is above as well.
        whole = allowed and above in ("configCoreRouter/input1", "configCoreRouter/input2",
                                      "commandCoreRouter", "persistentConfigCoreRouter")
        check((engineer.get(path) == value) == whole, f"... writes it from above: {whole}")
    link.receive(Path="statusCoreRouter/framesSeen")


def check_strangers(port):
    """Links without a role: silent, long-winded, too many, guessing."""
    start = time.monotonic()
    silent = Link(port, "127.0.0.7")
    check(silent.present("")["Right"] == "none", "a stranger may ask what it may do")
    flood = Link(port, "127.0.0.7")
    with contextlib.suppress(ConnectionError):
        flood.link.sendall(struct.pack(">HHI", 0x1010, 0, 1 << 30) + bytes(1 << 20))
    check(is_dropped(lambda: flood.receive(Class="none")), "a long packet of a stranger ends its link")
    known = Link(port, "127.0.0.7")
    paths = [TREES[0]] * 5000
    request = {"Class": "DatacoreRequestListPacket", "ClientID": known.id, "DatacoreRequestList": paths}
    known.link.sendall(b"".join(json_packet(json.dumps(packet).encode()) for packet in (
        {"Class": "DatacoreTokenPacket", "Token": "open sesame"}, request)))
    for _ in paths:
        known.receive(Class="DatacorePacket", Path=TREES[0])
    check(True, "a long request right behind a token is answered")

    guesser = Link(port, "127.0.0.8")
    answers = [guesser.present("first guess")]
    while len(answers) < 1000 or answers[-1]["RetryAfterMs"] < 500:
        answers.append(guesser.present("guess"))
    check(not any(answer["TokenTaken"] for answer in answers)
          and all(answer["RetryAfterMs"] > 0 for answer in answers),
          "after a wrong token no other is looked at for a while")
    check(not guesser.present("open sesame")["TokenTaken"], "the right one comes too early then")
    check(Link(port, "127.0.0.7").present("open sesame")["TokenTaken"], "but not from elsewhere")

    check(silent.stream.read() == b"" and time.monotonic() - start > 4,
          "a stranger that stays silent is dropped, and has heard nothing")
    crowd = [Link(port, "127.0.0.7") for _ in range(65)]
    check(is_dropped(lambda: crowd[0].receive(Class="none")), "the first of too many strangers has to go")
    check(crowd[1].present("")["Right"] == "none", "the second may stay")


def check_file(server_program, directory):
    bad = pathlib.Path(directory, "bad")
    bad.write_text("role a read\ngrant a adress 1\n")
    result = run(server_program, "--port", "0", "--roles", bad)
    check(result.returncode == 1 and re.fullmatch(rf'{bad}: line 2: "adress" is no way .*\n', result.stderr)
          and not result.stdout, "a bad file of roles ends the server, with the line", result)
    check(run(server_program, "--port", "0", "--roles=").returncode == 1, "so does an empty name")
    with serve(server_program, "--roles", ROOT / "docs/examples/roles.conf") as server:
        check(Link(server.port, "127.0.0.1").get(TREES[0]) == "input1", "the example is good")


def check_default(server_program):
    """Without a file, loopback may do all but write the status, and other addresses nothing."""
    namespaces.enter()
    namespaces.add_address("192.0.2.1")
    with serve(server_program, "--address", "0.0.0.0") as server:
        for path in TREES:
            before = Link(server.port, "127.0.0.1").get(path)
            held = Link(server.port, "127.0.0.1").write(path, {"data": "5"})
            check(held == (before if path.startswith("status") else "5"), f"loopback writes {path}")
        check(is_dropped(lambda: Link(server.port, "192.0.2.1", "192.0.2.1").get(TREES[0])),
              "another address gets nothing")


def main(server_program):
    with tempfile.TemporaryDirectory() as directory:
        rules = pathlib.Path(directory, "roles")
        rules.write_text(RULES)
        os.chmod(rules, 0o600)
        with serve(server_program, "--roles", rules) as server:
            engineer = Link(server.port, "127.0.0.6")
            for (address, token), (reads, writes) in MATRIX.items():
                check_row(server.port, engineer, address, token, reads, writes)
            check_strangers(server.port)
        check_file(server_program, directory)
    check_default(server_program)


main(*sys.argv[1:])
