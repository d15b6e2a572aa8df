"""A client of a datacore server that needs nothing of the library.

usage: client.py PORT list | get PATH | set PATH VALUE
"""
import json
import socket
import struct
import sys


class Client:
    def __init__(self, host, port):
        self.link = socket.create_connection((host, port), timeout=10)
        self.stream = self.link.makefile("rb")
        address, port = self.link.getsockname()
        self.id = str(int.from_bytes(socket.inet_aton(address), "big")) + str(port)

    def send(self, **packet):
        text = json.dumps(packet).encode()
        self.link.sendall(struct.pack(">HHII", 0x1010, 0, len(text) + 4, len(text)) + text)

    def receive(self, **wanted):
        """The next packet with these values; all others are stepped over."""
        while True:
            head = self.stream.read(8)
            if len(head) < 8:
                raise ConnectionError("the server has closed the link")
            kind, _, size = struct.unpack(">HHI", head)
            payload = self.stream.read(size)
            packet = json.loads(payload[4:]) if kind == 0x1010 else {}
            if wanted.items() <= packet.items():
                return packet


def paths(node, above=""):
    yield above + node["Core"]
    for kid in node.get("Kids", []):
        yield from paths(kid, above + node["Core"] + "/")


def main(port, command, path="configCoreRouter", value=None):
    client = Client("127.0.0.1", int(port))
    client.send(Class="DatacoreRequestListPacket", ClientID=client.id, DatacoreRequestList=[path])
    dump = client.receive(Class="DatacorePathRadixTreePacket")
    known = [known for tree in ("Config", "Status", "Command", "PersistentConfig")
             for known in paths(dump[tree + "TreeObject"])]
    if command == "list":
        return print("\n".join(known))
    if path not in known:
        sys.exit("There is no datacore " + path)
    if command == "set":
        client.send(Class="DatacorePacket", ClientID=client.id, PacketID=0, Path=path,
                    Datacore={path.split("/")[-1]: {"data": value}})
    wanted = {"ClientID": client.id, "PacketID": 0} if command == "set" else {}
    (node,) = client.receive(Class="DatacorePacket", Path=path, **wanted)["Datacore"].values()
    reasons = [reason["MessageBase"]["identifier"] for reason in node["reasonsForBeingInvalid"]]
    print(node["data"], f"invalid {reasons}" if reasons else "valid")


if __name__ == "__main__":
    main(*sys.argv[1:])
