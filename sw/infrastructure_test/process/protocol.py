"""docs/protocol.md against the programs: its examples are what a server sends, its tables are the
records' own, its client works, and ids come back as they were sent.

usage: protocol.py DATACORE_SERVER ECHO_PACKETS
"""
import json
import random
import re
import struct
import sys
import time

from programs import EQUALISER, ROOT, check, run, serve
import client
import protocol_tables

DOCUMENT = (ROOT / "docs/protocol.md").read_text()
EXAMPLE_ID = "213070643340000"  # the client's id in the document's examples


def blocks(language):
    return re.findall(rf"^```{language}\n(.*?)^```$", DOCUMENT, re.S | re.M)


def hexadecimal(block):
    """The bytes of a dump; what stands behind two blanks on its lines is an explanation."""
    return bytes.fromhex("".join(line.strip().split("  ")[0] for line in block.splitlines()))


def check_client(port):
    def ask(*words):
        return run(sys.executable, str(ROOT / "examples/client.py"), str(port), *words)

    check(EQUALISER in ask("list").stdout.splitlines(), "it lists the paths")
    for words, answer in (("get", "4 valid\n"), ("set 99", "99 invalid [4]\n"),
                          ("set 9", "9 valid\n"), ("get", "9 valid\n")):
        command, *value = words.split()
        check(ask(command, EQUALISER, *value).stdout == answer, f"{words} is answered {answer!r}")
    missing = ask("get", "no/such/path")
    check(missing.returncode == 1 and "no/such/path" in missing.stderr, "an unknown path is told")


def check_examples(port):
    """Goes through the conversation of the document and finds each of its packets in it."""
    link = client.Client("127.0.0.1", port)
    seen = []

    def send(**packet):
        seen.append(packet)
        link.send(**packet)

    def receive(**wanted):
        seen.append(link.receive(**wanted))

    send(Class="DatacoreRequestListPacket", ClientID=link.id,
         DatacoreRequestList=[EQUALISER, "configCoreRouter/input1"])
    receive(Class="DatacorePathRadixTreePacket")
    receive(Path=EQUALISER)
    receive(Path="configCoreRouter/input1")
    send(Class="DatacoreDescriptionRequestPacket", ClientID=link.id,
         Paths=[EQUALISER, EQUALISER.replace("1", "2"), "statusCoreRouter/temperature"])
    receive(Class="DatacoreDescriptionPacket")
    for number, value in enumerate(("42", ["1", "2"])):
        send(Class="DatacorePacket", ClientID=link.id, PacketID=number, Path=EQUALISER,
             Datacore={"equaliser": {"data": value}})
        receive(PacketID=number)

    send(Class="DatacoreTokenPacket", Token="open sesame")
    receive(Class="DatacoreAccessPacket")

    dump = hexadecimal(blocks("hex")[0])
    check(struct.unpack(">HHII", dump[:12]) == (0x1010, 0, len(dump) - 8, len(dump) - 12),
          "the header of the dumped packet holds its sizes")
    documented = [json.loads(block) for block in blocks("json")] + [json.loads(dump[12:])]
    for packet in documented:
        if "Class" in packet:
            text = json.dumps(packet).replace(EXAMPLE_ID, link.id)
            check(json.loads(text) in seen, f"this packet goes over the link: {text[:60]}...")
    check({packet["Class"] for packet in documented if "Class" in packet} ==
          {packet["Class"] for packet in seen}, "every class of the protocol has its example")


def check_ids(port):
    """Ids of every kind of JSON, together and alone, come back as they were sent."""
    link = client.Client("127.0.0.1", port)
    for ids in ({"ClientID": link.id, "PacketID": 3000000000},
                {"ClientID": 5, "PacketID": -2**53}, {"ClientID": None, "PacketID": "7"},
                {"ClientID": ["\u00e4", {}], "PacketID": True}, {"ClientID": {"a": [1]}, "PacketID": 1.5},
                {"ClientID": ""}, {"PacketID": None}, {}):
        link.send(Class="DatacorePacket", Path=EQUALISER, Datacore={"equaliser": {"data": "4"}}, **ids)
        echo = link.receive(Class="DatacorePacket", Path=EQUALISER)
        back = {key: value for key, value in echo.items() if key.endswith("ID")}
        check(json.dumps(back) == json.dumps(ids), f"the ids {ids} come back ({back})")


def made_up(parts, numbers):
    """A payload with a random value in each field of a layout."""
    payload = b""
    for part in parts:
        repeat = part.repeat
        if repeat == "count":
            repeat = numbers.randrange(5)
            payload += struct.pack(">i", repeat)
        for _ in range(repeat):
            if part.element:
                payload += made_up(part.element, numbers)
                continue
            for name in part.names:
                kind = protocol_tables.TYPES[part.type][1]
                value = {"?": numbers.random() < 0.5, "d": numbers.randrange(1000) / 8}.get(
                    kind, numbers.randrange(1, 128))
                if name.startswith("always "):
                    value = int(name.split()[1])
                if name.endswith(", IPv4") and payload[-1] == 0:
                    value = 0  # a null address travels as zeros
                payload += struct.pack(">" + kind, value)
    return payload


def check_records(echo_packets):
    numbers = random.Random(7)
    packets, without_layout = [], []
    for number, (_, sub_type, parts) in protocol_tables.read_packets().items():
        if parts is None:
            without_layout.append(number)
            continue
        for _ in range(10):
            payload = made_up(parts, numbers)
            check(protocol_tables.decode(parts, payload) == len(payload), f"0x{number:04X} decodes")
            packets.append(struct.pack(">HHI", number, sub_type, len(payload)) + payload)
    check(len(packets) >= 210, f"{len(packets) // 10} types have a plain layout")
    by_hand = [hexadecimal(block) for block in blocks("hex")[1:]]
    check({int.from_bytes(packet[:2], "big") for packet in by_hand} == set(without_layout),
          "the others have a dump each")
    packets += by_hand
    lines = "".join(packet.hex() + "\n" for packet in packets)
    echoes = run(echo_packets, text=lines).stdout
    check(echoes == lines, "each packet is read and written as the document has it",
          set(echoes.split()) ^ set(lines.split()))


def check_demonstration(server_program):
    """Records and values come by themselves, and as many changes a second as were asked for."""
    with serve(server_program, "--demonstration", "--leaves", "200", "--changes-per-second", "500") as server:
        link = client.Client("127.0.0.1", server.port)
        wanted = {0x1011, 0x1013, 0x1014, 0x101A, 0x1026}
        read, types, moved = protocol_tables.read_packets(), set(), set()
        now = start = None
        while types != wanted or len(moved) < 200 + 20 or now == start:
            kind, _, size = struct.unpack(">HHI", link.stream.read(8))
            payload = link.stream.read(size)
            if kind != 0x1010:
                types.add(kind)
                parts = read[kind][2]
                check(parts is None or protocol_tables.decode(parts, payload) == size, f"0x{kind:X} decodes")
                continue
            packet = json.loads(payload[4:])
            path = packet.get("Path", "")
            moved.add(path)
            if path == "statusCoreRouter/load/group1/leaf99":
                (leaf,) = packet["Datacore"].values()
                now, start = int(leaf["data"]), start or int(leaf["data"])
                if now > start:
                    # 200 changes later: that is 400 ms, or more on a busy machine.
                    check(now - start > 350, "load has the rate that was asked for", now - start)
        check(abs(time.time() * 1000 - now) < 60_000, "a load leaf tells when it changed")


def main(server_program, echo_packets):
    check_records(echo_packets)
    check_demonstration(server_program)
    with serve(server_program) as server:
        check_client(server.port)
    with serve(server_program) as server:
        check_examples(server.port)
        check_ids(server.port)


main(*sys.argv[1:])
