"""A server under load for a long time: clients that write at random and reset their links in the
middle of a packet, and links that bring nothing but garbage. In the end every write has been
acknowledged, all mirrors hold what the server holds, and the server has grown no further since its
second minute.

usage: soak.py DATACORE_SERVER DATACORE_CLIENT MIRROR_CLIENT [--sanitized]
SOAK_SECONDS (10) says how long; a server with sanitizers keeps what is freed, so that its memory
is not looked at.
"""
import contextlib
import json
import os
import pathlib
import random
import signal
import socket
import statistics
import struct
import sys
import threading
import time

from mirrors import Mirror, check_mirrors
from programs import EQUALISER, JSON_TYPE, check, json_packet, packet, run, serve

CLIENTS = 10
GARBAGE_LINKS = 3             # at work at one time
PATIENCE_S = 60               # for an answer; a mirror that takes longer has lost something
GROWTH_LIMIT_KIB = 1024       # in ten minutes less than 100 bytes for each link of garbage
LINGER_RESET = struct.pack("ii", 1, 0)
PATHS = (EQUALISER, "configCoreRouter/input2/label", "configCoreRouter/subImages",
         "commandCoreRouter/seek", "configCoreRouter")


class Client(threading.Thread):
    """One mirror and what it is told: a few writes, then all that is pending acknowledged, over
    and over, and a hard reset of the link now and then, sometimes with writes under way."""

    def __init__(self, program, port, seed, end):
        super().__init__(daemon=True)
        self.random = random.Random(seed)
        self.mirror = Mirror(program, port, seed)
        self.end = end
        self.writes = self.resets = 0
        self.wrong = None

    def ask(self, command, *answers):
        self.mirror.tell(command)
        found = [self.mirror.read() for _ in answers]
        if sorted(found) != sorted(answers):
            self.wrong = f"{found} in answer to {command!r}"
            raise RuntimeError(self.wrong)

    def run(self):
        while time.monotonic() < self.end:
            count = self.random.randrange(1, 60)
            self.writes += count
            if self.random.random() < 0.02:
                self.resets += 1
                self.ask(f"write {count}\nreset", "written", "ready")
            else:
                self.ask(f"write {count}", "written")
            self.ask("settle", "settled")
            time.sleep(self.random.random() / 50)
        self.ask("settle", "settled")


def write_packet(rng):
    """A write that a client could have made. No key stands twice in one object, here or in any
    garbage: the JSON parser of Qt 5.15 leaks the first value where that is an array or object."""
    data = rng.choice(("7", ["1", "2", "9"], [], None, 5, {"a": ["b"]}, "\u00e4" * 50))
    return json.dumps({"Class": "DatacorePacket", "Path": rng.choice(PATHS), "PacketID": 1,
                       "ClientID": "nobody", "Datacore": {"data": data}}).encode()


def random_bytes(rng):
    return rng.randbytes(rng.randrange(1, 5000))


def half_headers(rng):
    return packet(b"")[:rng.randrange(1, 8)] + rng.randbytes(rng.randrange(0, 3))


def huge_claims(rng):
    size = rng.choice((2**32 - 1, 2**31, 2**31 - 1, 2**31 - 9, 2**30, 2**24))
    claimed_type = rng.choice((JSON_TYPE, 0x1011, 0x1019, 0x1022, 0x1029))
    return packet(rng.randbytes(rng.randrange(0, 3000)), claimed_type, size)


def wrong_lengths(rng):
    return json_packet(write_packet(rng), rng.choice((0, 1, 2**31 - 1, 2**31, 2**32 - 1)))


def wrong_json(rng):
    return b"".join(json_packet(rng.choice((
        b"", b"{", b"[]", b"null", b'"x"', b"\xff\xfe", b"[" * 2000, b'{"a":' * 2000,
        b'{"Class":7}', b'{"Class":""}', b'{"Class":"DatacorePacket"}',
        b'{"Class":"DatacorePacket","Path":7,"Datacore":[]}',
        b'{"Class":"DatacorePacket","Path":"no/such/path","Datacore":{}}',
        b'{"Class":"DatacorePacket","Path":"configCoreRouter","Datacore":"x"}',
        b'{"Class":"DatacoreRequestListPacket","ClientID":"1","DatacoreRequestList":{}}',
        b'{"Class":"BasicTestPacket","TestArray":{}}'))) for _ in range(rng.randrange(1, 20)))


def broken_writes(rng):
    """True writes, some cut short, some with one byte another."""
    text = bytearray(write_packet(rng))
    if rng.random() < 0.5:
        text[rng.randrange(len(text))] = rng.randrange(256)
    return b"".join((json_packet(write_packet(rng)), json_packet(bytes(text)),
                     json_packet(write_packet(rng))[:rng.randrange(1, 60)]))


def raw_packets(rng):
    """Records that a server has no use for."""
    return b"".join(packet(rng.randbytes(rng.randrange(0, 300)), rng.randrange(0x1011, 0x102A))
                    for _ in range(10))


KINDS = (random_bytes, half_headers, huge_claims, wrong_lengths, wrong_json, broken_writes, raw_packets)


class GarbageSource(threading.Thread):
    """Links one after another, each with a few pieces of garbage, ended or reset. What the server
    sends to all is taken off the link: one that nobody reads may grow to megabytes by design."""

    def __init__(self, port, seed, end):
        super().__init__(daemon=True)
        self.random = random.Random(seed)
        self.port = port
        self.end = end
        self.links = self.bytes = 0
        self.error = None

    def run(self):
        try:
            self.connect_again_and_again()
        except OSError as error:
            self.error = error

    def connect_again_and_again(self):
        while time.monotonic() < self.end:
            with socket.create_connection(("127.0.0.1", self.port), PATIENCE_S) as link:
                with contextlib.suppress(ConnectionError, TimeoutError):
                    self.abuse(link)  # the server may end such a link
            self.links += 1
            time.sleep(0.05)

    def abuse(self, link):
        if self.random.random() < 0.2:
            self.ask_for_everything(link)
        for _ in range(self.random.randrange(1, 5)):
            garbage = self.random.choice(KINDS)(self.random)
            link.sendall(garbage)
            self.bytes += len(garbage)
            link.setblocking(False)
            with contextlib.suppress(BlockingIOError):
                while link.recv(65536):
                    pass
            link.settimeout(PATIENCE_S)
            time.sleep(0.01)
        if self.random.random() < 0.5:
            link.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, LINGER_RESET)

    def ask_for_everything(self, link):
        address, port = link.getsockname()
        client = f"{struct.unpack('>I', socket.inet_aton(address))[0]}{port}"
        link.sendall(json_packet(json.dumps({
            "Class": "DatacoreRequestListPacket", "ClientID": client, "DatacoreRequestList": []}).encode()))


class MemoryLog(threading.Thread):
    """The resident size of a process, in KiB, twice a second."""

    def __init__(self, pid):
        super().__init__(daemon=True)
        self.pid = pid
        self.start_time = time.monotonic()
        self.samples = []
        self.done = threading.Event()

    def run(self):
        page_kib = os.sysconf("SC_PAGE_SIZE") // 1024
        while not self.done.wait(0.5):
            pages = int(pathlib.Path(f"/proc/{self.pid}/statm").read_text("ascii").split()[1])
            self.samples.append((time.monotonic() - self.start_time, pages * page_kib))

    def median(self, begin, end):
        return statistics.median(kib for at, kib in self.samples if begin <= at < end)


def open_files(pid):
    """All but local sockets: the log's is opened with the first line that is logged."""
    table = pathlib.Path(f"/proc/{pid}/net/unix").read_text("ascii", "replace").splitlines()[1:]
    local = {f"socket:[{line.split()[6]}]" for line in table}
    count = 0
    for descriptor in pathlib.Path(f"/proc/{pid}/fd").iterdir():
        with contextlib.suppress(FileNotFoundError):  # closed meanwhile
            count += os.readlink(descriptor) not in local
    return count


def wait_for(condition):
    """True once the condition holds, False when patience ends."""
    end = time.monotonic() + PATIENCE_S
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(0.05)
    return True


def main(server_program, client_program, mirror_program, *flags):
    seconds = float(os.environ.get("SOAK_SECONDS", "10"))
    seed = int(os.environ.get("SOAK_SEED", random.randrange(10**6)))
    print(f"{seconds:g} s, SOAK_SEED={seed}", flush=True)
    with serve(server_program) as listening:
        server, port = listening.process, listening.port
        files_before = open_files(server.pid)
        end = time.monotonic() + seconds
        memory = MemoryLog(server.pid)
        clients = [Client(mirror_program, port, seed + i, end) for i in range(CLIENTS)]
        sources = [GarbageSource(port, seed + 100 + i, end) for i in range(GARBAGE_LINKS)]
        for thread in [memory, *clients, *sources]:
            thread.start()
        for thread in [*clients, *sources]:
            thread.join(max(end - time.monotonic(), 0) + PATIENCE_S)
        memory.done.set()
        stuck = [i for i, client in enumerate(clients) if client.is_alive() or client.wrong]
        print(f"{sum(c.writes for c in clients)} writes, {sum(c.resets for c in clients)} resets, "
              f"{sum(s.links for s in sources)} links with {sum(s.bytes for s in sources)} bytes of "
              f"garbage")
        check(server.poll() is None, "the server lives")
        check(not stuck, "every write is acknowledged", [clients[i].wrong for i in stuck])
        check(not any(s.is_alive() or s.error for s in sources) and
              all(s.links > 0 for s in sources), "garbage arrived until the end",
              [s.error for s in sources])
        check(all(c.writes > 0 for c in clients), "every client wrote")
        check(wait_for(lambda: open_files(server.pid) == files_before + CLIENTS),
              f"the server has no files open but its clients' ({open_files(server.pid)})")

        check_mirrors([client.mirror for client in clients], lambda command: run(
            client_program, "--port", str(port), "--timeout", "20000", command))

        if "--sanitized" not in flags:
            early = memory.median(seconds / 10, seconds / 5)
            late = memory.median(seconds * 0.9, seconds)
            check(late - early <= GROWTH_LIMIT_KIB,
                  f"the server's memory is flat: {early:.0f} KiB in the second tenth of the time, "
                  f"{late:.0f} KiB in the last, {late - early:+.0f} of {GROWTH_LIMIT_KIB} allowed")
        for client in clients:
            client.mirror.quit()
        server.send_signal(signal.SIGINT)
        check(server.wait(PATIENCE_S) == 0, "the server ends cleanly")


main(*sys.argv[1:])
