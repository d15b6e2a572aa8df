"""A server with a store is killed again and again while clients write: what was acknowledged is
there after each restart. Then the store's file system is full, and read-only.

usage: store.py DATACORE_SERVER [KILLS]
"""
import contextlib
import json
import os
import pathlib
import random
import re
import subprocess
import sys
import tempfile
import threading
import time

import namespaces
from programs import check, run, serve
import client

TREE = "persistentConfigCoreRouter"
LEAVES = ["licences", "macAddress", "name"]
WRITES_A_SECOND = 2000  # of all clients together
BURST = 10


class Client(client.Client):
    """Writes one leaf, and notes what is acknowledged."""

    def __init__(self, port, leaf):
        super().__init__("127.0.0.1", port)
        self.leaf = leaf
        self.acknowledged = self.answers = self.sent = 0

    def write(self, number, text=None):
        self.send(Class="DatacorePacket", ClientID=self.leaf, PacketID=number,
                  Path=f"{TREE}/{self.leaf}", Datacore={self.leaf: {"data": text or str(number)}})
        self.sent = number

    def answer(self):
        """What the next packet says of this client's leaf, and whether it answers a write."""
        while True:
            payload = self.stream.read(int.from_bytes(self.stream.read(8)[4:], "big"))
            if not payload:
                raise ConnectionError
            own = f'"ClientID":"{self.leaf}"'.encode() in payload
            if own or f'"Path":"{TREE}/{self.leaf}"'.encode() in payload:
                return json.loads(payload[4:])["Datacore"][self.leaf]["data"], own

    def value(self):
        self.send(Class="DatacoreRequestListPacket", ClientID=self.leaf,
                  DatacoreRequestList=[f"{TREE}/{self.leaf}"])
        return self.answer()[0]

    def flood(self, number):
        """Until the server is gone."""
        begin, first = time.monotonic(), number
        with contextlib.suppress(OSError):
            while True:
                for number in range(number + 1, number + 1 + BURST):
                    self.write(number)
                due = begin + (number - first) * len(LEAVES) / WRITES_A_SECOND
                time.sleep(max(0, due - time.monotonic()))

    def listen(self):
        with contextlib.suppress(OSError):
            while True:
                value, own = self.answer()
                if own:
                    self.acknowledged = int(value)
                    self.answers += 1


def to_number(value):
    """0 for what a tree begins with: the server was killed before anything was written."""
    return int(value) if value.isdigit() else 0


def kill_again_and_again(server, store, kills):
    held = dict.fromkeys(LEAVES, 0)
    answers, seconds, most = 0, 0.0, 0
    for kill in range(kills):
        # At a short interval there are more instants to hit.
        with serve(server, "--store", store, "--store-interval", random.choice(["0", "5", "50"])) as running:
            writers = [Client(running.port, leaf) for leaf in LEAVES]
            if kill > 0:
                values = {writer.leaf: to_number(writer.value()) for writer in writers}
                check(all(held[leaf] <= values[leaf] <= most for leaf in LEAVES),
                      f"nothing is lost after {kill} kills", (held, values, most))
                held = values
            threads = [threading.Thread(target=writer.listen) for writer in writers]
            threads += [threading.Thread(target=writer.flood, args=[held[writer.leaf]]) for writer in writers]
            start = time.monotonic()
            for thread in threads:
                thread.start()
            time.sleep(random.uniform(0.02, 0.6))
            running.process.kill()
            seconds += time.monotonic() - start
            for thread in threads:
                thread.join()
        for writer in writers:
            answers += writer.answers
            held[writer.leaf] = max(held[writer.leaf], writer.acknowledged)
            most = max(most, writer.sent)
    check(answers > kills * 10, f"{kills} kills, {answers} writes acknowledged before, "
          f"{answers / seconds:.0f} a second")


def start(server, store):
    return serve(server, "--store", store, stderr=subprocess.PIPE)


def complaint(running):
    running.process.kill()
    return running.process.communicate()[1]


def fill_and_forbid(server, folder):
    """A file system without space, then one that can't be written, with a log in it."""
    namespaces.enter()
    namespaces.mount_empty(folder, "size=256k")
    store, ballast = f"{folder}/store", f"{folder}/ballast"
    pathlib.Path(ballast).write_bytes(bytes(64000))
    with start(server, store) as running:
        writer = Client(running.port, "name")
        texts = ["x" * 20000 + str(number) for number in range(40)]
        stored = None
        for number, text in enumerate(texts):
            writer.write(number, text)
            answer = writer.answer()[0]
            if answer != text:
                break
            stored = text
        check(stored and answer == stored, f"write {number} finds the disk full, and says so")
        os.remove(ballast)
        last = texts[-1]
        writer.write(99, last)
        check(last in (writer.answer()[0], writer.answer()[0]), "with space again, it is stored")
        running.process.kill()
    namespaces.remount_read_only(folder)
    with start(server, store) as running:
        writer = Client(running.port, "name")
        check(writer.value() == last, "what was stored is there, although it can't be written")
        writer.write(1, "other")
        answers = [writer.answer(), writer.answer()]
        check((last, True) in answers and writer.value() == last, "a write is set back", answers)
        text = complaint(running)
    namespaces.unmount(folder)
    check(re.search(r"store: .*; \d+ values are read, nothing is saved", text), "it says so", text)


def main(server, kills="10"):
    for words in (["--store", ""], ["--store-interval", "x"], ["--store-interval", "60001"]):
        check(run(server, *words).returncode == 2, f"{words} are refused")
    with tempfile.TemporaryDirectory() as folder:
        store = f"{folder}/store"
        kill_again_and_again(server, store, int(kills))
        with start(server, store) as first, start(server, store) as second:
            check(Client(second.port, "name").value() == "instrument", "a second server starts")
            check("another process has it" in complaint(second), "and says what it does not have")
            check(Client(first.port, "name").value() != "instrument", "the first one goes on")
        if len(sys.argv) < 3:
            fill_and_forbid(server, folder)


main(*sys.argv[1:])
