"""The gateway under load: many leaves, changes and pages; and a broker with the same messages.

usage: gateway_load.py GATEWAY DATACORE_SERVER SECONDS
Figures are printed; those that must hold are checked.
"""
import os
import pathlib
import re
import selectors
import shutil
import socket
import statistics
import struct
import subprocess
import sys
import tempfile
import threading
import time
import urllib.request

from programs import Listening, WebSocket, check, serve

LEAVES, CHANGES, PAGES = 10_000, 2_000, 20
LAG_MS, GROWTH_KB, METRICS_MS = 250, 4096, 20


def cpu_seconds(pid):
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return sum(map(int, fields[11:13])) / os.sysconf("SC_CLK_TCK")


def memory_kb(pid):
    status = pathlib.Path(f"/proc/{pid}/status").read_text()
    return int(status.partition("VmRSS:")[2].split()[0])


def change_times(message):
    """When those leaves have changed that hold the time of it, in ms."""
    return [int(row[1]) for row in message["list"] if re.fullmatch(r"1\d{12}", str(row[1]))]


def watch(page, seen, until):
    """Notes of each message how old its oldest value is when it comes, and how many there are."""
    while time.time() < until:
        message = page.receive()
        if message["type"] == "changes":
            if times := change_times(message):
                seen.append((time.time() * 1e3 - min(times), len(times)))


def broker_cpu(seconds):
    """What a broker needs for as many messages and subscribers; None without one."""
    broker = shutil.which("mosquitto", path="/usr/sbin:/usr/bin")
    if not broker:
        return None
    with socket.create_server(("127.0.0.1", 0)) as free:
        port = free.getsockname()[1]

    def send(link, kind, body):
        size = bytes([len(body)]) if len(body) < 128 else bytes([len(body) & 127 | 128, len(body) >> 7])
        link.sendall(bytes([kind]) + size + body)

    def connect(name):
        link = socket.create_connection(("127.0.0.1", port))
        send(link, 0x10, b"\0\4MQTT\4\2\0\0" + struct.pack(">H", len(name)) + name)
        link.recv(4)
        return link

    with tempfile.NamedTemporaryFile("w", suffix=".conf") as settings:
        settings.write(f"listener {port} 127.0.0.1\nallow_anonymous true\nset_tcp_nodelay true\n")
        settings.flush()
        process = subprocess.Popen([broker, "-c", settings.name], stderr=subprocess.DEVNULL)
        try:
            while socket.socket().connect_ex(("127.0.0.1", port)):
                time.sleep(0.05)
            selector, received = selectors.DefaultSelector(), 0
            for i in range(PAGES):
                link = connect(b"s%d" % i)
                send(link, 0x82, b"\0\1\0\1#\0")
                selector.register(link, selectors.EVENT_READ)
            publisher = connect(b"p")
            time.sleep(0.5)
            before, start, sent = cpu_seconds(process.pid), time.time(), 0
            while time.time() < start + seconds:
                while sent < (time.time() - start) * CHANGES:
                    topic = b"statusCoreRouter/group%d/leaf%d" % (sent // 100 % 100, sent % LEAVES)
                    body = b'{"values":"%d","invalid":[],"inactive":[],"state":"current"}' % (time.time() * 1e6)
                    send(publisher, 0x30, struct.pack(">H", len(topic)) + topic + body)
                    sent += 1
                for key, _ in selector.select(0.005):
                    received += len(key.fileobj.recv(1 << 18))
            check(received > sent * PAGES * 80, "the broker has passed the messages on", received)
            return (cpu_seconds(process.pid) - before) / seconds
        finally:
            process.kill()
            process.wait()


def main(gateway, server_program, seconds):
    seconds = float(seconds)
    with serve(server_program, "--leaves", LEAVES, "--changes-per-second", CHANGES) as server, \
            Listening(gateway, "--port", "0", "--history-memory", "0",
                      "--server", f"127.0.0.1:{server.port}") as program:
        pid = program.process.pid
        pages, lags = [WebSocket(socket.create_connection(("127.0.0.1", program.port)))
                       for _ in range(PAGES)], [[] for _ in range(PAGES)]
        idle = WebSocket(socket.create_connection(("127.0.0.1", program.port)))  # never reads
        for page in pages:
            page.wait(type="nodes", last=True)
        until = time.time() + 2 + seconds
        watchers = [threading.Thread(target=watch, args=(page, own, until))
                    for page, own in zip(pages, lags)]
        for watcher in watchers:
            watcher.start()
        time.sleep(2)
        before, cpu, start = memory_kb(pid), cpu_seconds(pid), time.time()
        time.sleep(seconds)
        share, after = (cpu_seconds(pid) - cpu) / (time.time() - start), memory_kb(pid)
        for watcher in watchers:
            watcher.join()
        worst = max(statistics.quantiles((lag for lag, _ in own[20:]), n=100)[98] for own in lags)
        values = min(sum(count for _, count in own) for own in lags) / (seconds + 2)
        address, requests = f"http://127.0.0.1:{program.port}/metrics", 20
        cpu = cpu_seconds(pid)
        sizes = [len(urllib.request.urlopen(address).read()) for _ in range(requests)]
        metrics_ms = (cpu_seconds(pid) - cpu) * 1e3 / requests
        del idle
    broker = broker_cpu(min(seconds, 20))
    print(f"oldest value of a message: p99 {worst:.0f} ms on the slowest of {PAGES} pages; "
          f"{values:.0f} values a second in {len(lags[0]) / (seconds + 2):.0f} messages\n"
          f"gateway: {100 * share:.1f} % of a core, memory {before} kB, then {after} kB\n"
          f"broker: {'not there' if broker is None else f'{100 * broker:.1f} % of a core'}"
          f"\n/metrics: {sizes[-1]} bytes in {metrics_ms:.1f} ms of a core")
    check(values >= CHANGES * 0.95, "every change has come to every page", values)
    check(worst <= LAG_MS, "pages are up to date")
    check(after - before <= GROWTH_KB, "the gateway's memory stays")
    check(metrics_ms <= METRICS_MS, "metrics come quickly")
    check(broker is None or share <= broker, "the gateway takes no more than a broker")


main(*sys.argv[1:])
