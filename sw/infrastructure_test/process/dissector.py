"""The dissector of the packet link in tshark, on captures made of a recorded link.

usage: dissector.py INFRASTRUCTURE_LUA RECORDING
"""
import pathlib
import random
import re
import shutil
import struct
import sys
import tempfile

import namespaces
from programs import check, json_packet, packet, records, run
import protocol_tables

SERVER_PORT = 4010
RAW_IPV4 = 228  # the capture's link type: packets begin with their IPv4 header

WRITE = """\
Packet Link, DatacorePacket configCoreRouter/input1/equaliser write 0
    Type: SerialisableData (0x1010)
    Sub type: 0
    Payload size: 154
    Length of text: 150
    Class: DatacorePacket
    Path: configCoreRouter/input1/equaliser
    Client ID: 213070643354074
    Packet ID: 0
"""


class Capture:
    """A capture file of TCP connections, each between a port of its own and the server's."""

    def __init__(self):
        self.content = struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 0x40000, RAW_IPV4)
        self.client_port = 40000

    def add(self, pieces, segment_bytes, server_port=SERVER_PORT):
        """A connection of (is the server's, bytes), cut into segments. Returns the client's port."""
        self.client_port += 1
        sequence = [1, 1]
        for is_server, data in pieces:
            for at in range(0, len(data), segment_bytes):
                segment = data[at:at + segment_bytes]
                ports = (self.client_port, server_port)[::-1 if is_server else 1]
                tcp = struct.pack(">HHIIBBHHH", *ports, sequence[is_server],
                                  sequence[not is_server], 5 << 4, 0x18, 65535, 0, 0)
                ip = struct.pack(">BBHHHBBH4s4s", 0x45, 0, 40 + len(segment), 0, 0, 64, 6, 0,
                                 b"\x0a\0\0\1", b"\x0a\0\0\2")
                frame = ip + tcp + segment
                self.content += struct.pack("<IIII", 0, 0, len(frame), len(frame)) + frame
                sequence[is_server] += len(segment)
        return self.client_port


def main(script, recording):
    if shutil.which("tshark") is None:
        print("tshark is not installed, the dissector is not tested")
        sys.exit(namespaces.SKIPPED)
    folder = tempfile.TemporaryDirectory()

    def tshark(capture, *words):
        path = f"{folder.name}/link.pcap"
        pathlib.Path(path).write_bytes(capture.content)
        # In a home of its own: nobody's preferences and plugins.
        result = run("tshark", "-X", f"lua_script:{script}", "-n", "-r", path, *words,
                     HOME=folder.name, WIRESHARK_CONFIG_DIR=folder.name)
        check(result.returncode == 0 and "Lua" not in result.stdout + result.stderr,
              f"tshark runs, {words[:2]}", result.stderr + result.stdout[:2000])
        return result.stdout

    link = [(kind == 1, data) for *_, kind, data in records(recording) if kind < 2]
    capture = Capture()
    capture.add(link, 1460)
    text = tshark(capture, "-O", "infrastructure,json", "-Y", "infrastructure.packet_id == 0 and "
                  f"tcp.dstport == {SERVER_PORT}")
    end = text.find("    JavaScript Object Notation")
    check(text[text.find("Packet Link"):end] == WRITE, "one write is shown as expected", text)
    check(re.search(r"Member: data.*?String value: 99", text[end:], re.S), "and its JSON", text)

    # All of this in one capture, told apart by port.
    garbage = b"\x10\x0f\x10\xff\x10\x10\0\0\xff\xff\xff\xff\0"
    garbled = [(is_server, garbage + data) for is_server, data in link]
    numbers = random.Random(3)
    every = [(1, packet(numbers.randbytes(numbers.randrange(40)), kind))
             for kind in protocol_tables.read_types() if kind != 0x1010]
    capture = Capture()
    whole = capture.add(link, 1460)
    same = [capture.add(link, size) for size in (1, 7, 8, 13, 100)]
    same.append(capture.add(link, 1460, server_port=5555))
    mixed = [capture.add(garbled, size) for size in (1460, 64, 9)]
    other = capture.add([(0, b"GET / HTTP/1.1\r\n\r\n")], 1460, server_port=5556)
    raw = capture.add(every, 20)
    rows = {}
    fields = [f"-einfrastructure.{name}" for name in ("type", "class", "path", "client_id", "packet_id", "garbage")]
    for line in tshark(capture, "-T", "fields", "-E", "occurrence=a", "-E", "aggregator=;", *fields,
                       "-e", "tcp.srcport", "-e", "tcp.dstport").splitlines():
        *values, source, destination = line.split("\t")
        port = max(int(source), int(destination))
        columns = rows.setdefault(port, [[] for _ in values])
        for column, value in zip(columns, values):
            column += value.split(";") if value else []
    check(rows[whole][:2] == [["0x1010"] * 5, ["DatacoreRequestListPacket",
                              "DatacorePathRadixTreePacket"] + ["DatacorePacket"] * 3] and
          rows[whole][4:] == [["0", "0"], []], "five packets, two of them with an id", rows[whole])
    for port in same:
        check(rows[port] == rows[whole], f"the same however it is cut, or by its look ({port})", rows[port])
    for port in mixed:
        check(rows[port][:5] == rows[whole][:5], "garbage in front of packets is skipped", rows[port])
    # In the smallest segments tshark shows a piece again when it gets more of what is behind it.
    for port in mixed[:2]:
        check("".join(rows[port][5]) == garbage.hex() * len(garbled), "and shown", rows[port])
    check(rows[other][0] == [], "another protocol is left alone", rows[other])
    check([int(kind, 16) for kind in rows[raw][0]] == sorted(protocol_tables.read_types())[1:], "all records are shown", rows[raw])

    bad = [json_packet(text) for text in
           (b"", b"{", b'{"Class"', b'{"Class":"x', b'{"Class":"\\', b'{"Class":{"Class":"y"}}',
            b'{"Class":"\xff\xfe","PacketID":1e300}', b'{"PacketID":1.5,"Class":7}', b"\0" * 9,
            b"[" * 100000, b'{"a":' * 3000 + b"1" + b"}" * 3000,
            b'["Class","x"]', b'{"Class":"","PacketID":-2147483649}')]
    bad += [packet(b""), packet(b"\0\0"), packet(b"", 0x1011), packet(b"x", 0x1029, 0x7FFFFFFF),
            packet(b"x", 0x1013, 0xFFFFFFFF), *(numbers.randbytes(500) for _ in range(20)),
            *(bytes(numbers.choices(b'\x10\x10\x13\0\0\0\2"{}[]:,\\C', k=300)) for _ in range(50))]
    capture = Capture()
    for data in bad:
        capture.add([(0, data), (0, json_packet(b'{"Class":"Behind"}'))], 1460)
    capture.add([(1, json_packet(b'{"Class":"DatacoreDescriptionPacket","Descriptions":[{"Is":{},'
                                 b'"Paths":["Last"]}],"Last":true}'))], 1460)
    for words in (["-V"], ["-V", "-o", "tcp.desegment_tcp_streams:FALSE"]):
        text = tshark(capture, *words)
        check("Dissector bug" not in text and text.count("Class: Behind") >= 18,
              "bad input is no trouble, and what is behind it is shown", text.count("Class: Behind"))
        check("DatacoreDescriptionPacket last\n" in text, "the end of an answer is shown")


main(*sys.argv[1:])
