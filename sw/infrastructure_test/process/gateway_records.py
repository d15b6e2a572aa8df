"""The demonstration's records reach a page that asks for them, by name, at most ten of each a second.

usage: gateway_records.py DATACORE_SERVER DATACORE_GATEWAY
"""
import collections
import socket
import sys
import time

from programs import Listening, WebSocket, check, serve

NAMES = {"EyeHistogram", "JitterSpectrum", "Meters", "Captions"}


def main(server_program, gateway_program):
    with serve(server_program, "--demonstration") as server, Listening(
            gateway_program, "--port", "0", "--server", f"127.0.0.1:{server.port}") as gateway:
        page = WebSocket(socket.create_connection(("127.0.0.1", gateway.port), 20))
        page.send({"type": "records", "names": ["Captions", "none"]})
        check(page.wait(type="record")["name"] == "Captions", "a page gets what it asks for")
        page.send({"type": "records", "names": [*NAMES]})
        counts, data, start = collections.Counter(), {}, time.monotonic()
        while set(data) != NAMES or not any(data["Captions"]["lines"]) or counts["Meters"] < 20:
            record = page.wait(type="record", server="")
            counts[record["name"]] += 1
            data[record["name"]] = record["data"]
        most = (time.monotonic() - start) * 10 + 2
        check(max(counts.values()) <= most, "and no more than ten a second", (counts, most))


main(*sys.argv[1:])
