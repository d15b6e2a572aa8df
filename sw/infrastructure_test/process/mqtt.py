"""datacore_gateway at a broker of MQTT: two servers' trees side by side, writes and their answers, and a
broker, a server and a gateway that are killed, or stopped, and come back.

usage: mqtt.py DATACORE_SERVER DATACORE_GATEWAY TLS_DIRECTORY
"""
import contextlib
import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time

from programs import Listening, Talking, check, run, serve
import client

PATIENCE_S = 60  # for whatever comes by itself
LEAVES = 400


def free_port():
    with contextlib.closing(socket.create_server(("127.0.0.1", 0))) as taken:
        return taken.getsockname()[1]


class Broker:
    """A mosquitto that keeps nothing over its restarts."""

    def __init__(self, directory, name, *lines):
        self.port = free_port()
        self.file = pathlib.Path(directory, name + ".conf")
        self.file.write_text("\n".join((f"listener {self.port} 127.0.0.1", "persistence false", "user root",
                                        "max_queued_messages 100000", *lines)) + "\n")
        self.start()

    def start(self):
        self.process = subprocess.Popen(["mosquitto", "-c", str(self.file)], stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        check(eventually(self.answers), "the broker answers")

    def answers(self):
        with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", self.port)):
            return True
        return False

    def kill(self):
        self.process.kill()
        self.process.wait()


def eventually(condition):
    end = time.monotonic() + PATIENCE_S
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(0.02)
    return True


class Topics(Talking):
    """What a subscriber has got, by topic: the newest payload, and how many there were."""

    def __init__(self, broker, topic, *words):
        super().__init__("mosquitto_sub", "-h", "127.0.0.1", "-p", broker.port, "-q", "1", "-F", "%t %p", "-t", topic, *words,
                         stderr=subprocess.DEVNULL)
        self.newest, self.counts = {}, {}
        self.collector = threading.Thread(target=self.collect)
        self.collector.start()

    def __exit__(self, *reason):
        self.process.kill()
        self.collector.join()
        super().__exit__(*reason)

    def collect(self):
        for line in self.process.stdout:
            topic, _, payload = line.rstrip("\n").partition(" ")
            self.counts[topic] = self.counts.get(topic, 0) + 1
            self.newest[topic] = payload

    def get(self, topic):
        text = self.newest.get(topic, "{}")
        return json.loads(text) if text.startswith("{") else text

    def wait(self, topic, what, **wanted):
        """Until the topic's object has these values, or the topic this text."""
        def holds():
            now = self.get(topic)
            return now == what if not wanted else isinstance(now, dict) and wanted.items() <= now.items()
        check(eventually(holds), f"{topic}: {what}", (self.newest.get(topic), wanted))


def publish(broker, topic, payload, *words):
    sent = run("mosquitto_pub", "-p", str(broker.port), "-q", "1", "-t", topic, "-m",
               payload if isinstance(payload, str) else json.dumps(payload), *words)
    check(sent.returncode == 0, f"{topic} is published", sent)


def gateway(program, broker, *words, host="127.0.0.1"):
    return Listening(program, "--port", "0", "--mqtt", f"{host}:{broker.port}", "--mqtt-root", "fleet", *words,
                     env={**os.environ, "ASAN_OPTIONS": "quarantine_size_mb=1"})  # its memory is watched


def dump(port):
    """Each path of a server with its values."""
    link = client.Client("127.0.0.1", port)
    link.send(Class="DatacoreRequestListPacket", ClientID=link.id, DatacoreRequestList=[])
    names = link.receive(Class="DatacorePathRadixTreePacket")
    paths = [path for tree in ("Config", "Status", "Command", "PersistentConfig")
             for path in client.paths(names[tree + "TreeObject"])]
    return {path: next(iter(link.receive(Path=path)["Datacore"].values()))["data"] for path in paths}


def check_catches_up(topics, then, above, what):
    """All values of a moment come, or later ones: the changing leaves hold their time."""
    then = {path: value for path, value in then.items() if "framesSeen" not in path}
    def is_there(path, value):
        held = topics.get(f"{above}/{path}").get("values", "missing")
        return held == value or "/load/" in path and str(held).isdigit() and int(held) >= int(value)
    check(eventually(lambda: all(is_there(*item) for item in then.items())), what,
          [item for item in then.items() if not is_there(*item)][:5])


def check_writes(broker, topics):
    equaliser = "fleet/studio1/configCoreRouter/input1/equaliser"
    topics.wait(equaliser, "a value is there", values="4", invalid=[], inactive=[], state="current")
    images = "fleet/spare/configCoreRouter/subImages"
    count = 0
    for topic, payload, wanted in (
            (equaliser, {"values": "9"}, {"ok": True, "values": "9"}),
            (equaliser, {"values": ["99"]}, {"ok": True, "invalid": ["Stored number is Oversized"]}),
            ("fleet/studio1/configCoreRouter/subImages", {"values": ["2", "1"]},
             {"ok": True, "values": ["2", "1"], "path": "studio1/configCoreRouter/subImages"}),
            ("fleet/studio1/statusCoreRouter/temperature", {"values": "1"}, {"code": "not-writable", "values": "41"}),
            ("fleet/studio1/configCoreRouter/none", {"values": "1"}, {"code": "unknown-path"}),
            (equaliser, {"values": 1}, {"code": "bad-request", "values": "99"}),
            (equaliser, {}, {"code": "bad-request"}),
            ("fleet/studio2/configCoreRouter/input1/equaliser", {"values": "9"}, {"code": "not-allowed", "values": "4"})):
        count += 1
        publish(broker, topic + "/set", {**payload, "answer": "desk/answers", "id": str(count)})
        topics.wait("desk/answers", f"{payload} is answered", **{"ok": False, "id": str(count), **wanted})
    topics.wait(images, "others see it", values=["2", "1"])
    check(topics.counts[images] == 2, "once, as its first values were", topics.counts[images])
    topics.wait(equaliser, "the topic has the reason", values="99", invalid=["Stored number is Oversized"])
    # Neither what is no JSON, nor too large, nor an answer that would look like a node does harm.
    publish(broker, equaliser + "/set", "[" * 70_000)
    publish(broker, equaliser + "/set", "}{")
    publish(broker, equaliser + "/set", {"values": "6", "answer": "fleet/studio2/x"})
    topics.wait(equaliser, "a write whose answer goes nowhere is made", values="6")
    check("fleet/studio2/x" not in topics.newest, "an answer is no topic of a node")
    flood = json.dumps({"values": "6", "answer": "desk/flood"}) + "\n"
    run("mosquitto_pub", "-p", str(broker.port), "-q", "1", "-l", "-t", equaliser + "/set", text=flood * 800)
    check(eventually(lambda: topics.counts.get("desk/flood") == 800), "each write of many at once is answered",
          topics.counts.get("desk/flood"))


def check_losses(broker, topics, server_program, servers, gateways, start_gateway):
    first, second = servers
    for _ in range(3):
        broker.kill()
        link = client.Client("127.0.0.1", first.port)
        value = str(time.monotonic_ns() % 16)
        link.send(Class="DatacorePacket", ClientID=link.id, PacketID=0, Path="configCoreRouter/input2/equaliser",
                  Datacore={"equaliser": {"data": value}})
        time.sleep(0.3)
        topics.newest.clear()
        broker.start()
        check_catches_up(topics, dump(first.port), "fleet/studio1", "after a killed broker's restart all is there")
        check_catches_up(topics, dump(second.port), "fleet/studio2", "and of the other server")
        topics.wait("fleet/studio1/$available", "online")

    broker.kill()
    then = dump(first.port)
    first.process.send_signal(signal.SIGSTOP)
    topics.newest.clear()
    broker.start()
    check_catches_up(topics, then, "fleet/studio1", "more than fits at once comes without any change to push it")
    first.process.send_signal(signal.SIGCONT)

    broker.process.send_signal(signal.SIGSTOP)
    before, counted = memory(gateways[1]), sum(topics.counts.values())
    time.sleep(4)  # 8000 changes
    broker.process.send_signal(signal.SIGCONT)
    check(memory(gateways[1]) < before + 8_000, "what a broker does not take does not pile up")
    check_catches_up(topics, dump(second.port), "fleet/studio2", "a broker that was slow gets the newest values")
    came = sum(topics.counts.values()) - counted
    check(came < 6_000, "and those alone", came)

    second.process.kill()
    second.process.wait()
    topics.wait("fleet/studio2/$available", "offline")
    topics.wait("fleet/studio2/configCoreRouter/input1/equaliser", "is stale", state="stale", values="4")
    with Listening(server_program, "--port", second.port):  # without the leaves for load
        topics.wait("fleet/studio2/$available", "online")
        check(topics.get("fleet/studio2/configCoreRouter/input1/equaliser")["state"] ==
              topics.get("fleet/studio2/persistentConfigCoreRouter/name")["state"] == "current",
              "what is online has its values already")
        topics.wait("fleet/studio2/statusCoreRouter/load/group0/leaf0", "")
        check(True, "what the new server has not is cleared")
    check(topics.get("fleet/studio1/$available") == topics.get("fleet/spare/$available") == "online",
          "the other server is not concerned")

    equaliser = "fleet/studio1/configCoreRouter/input1/equaliser"
    publish(broker, equaliser + "/set", {"values": "5", "answer": "desk/retained"}, "--retain")
    topics.wait("desk/retained", "a retained write is made when it is published", ok=True)
    publish(broker, equaliser + "/set", {"values": "6"})
    topics.wait(equaliser, "another follows", values="6")
    for end in (signal.SIGKILL, signal.SIGTERM):
        gateways[0].process.send_signal(end)
        topics.wait("fleet/studio1/$available", "offline")
        gateways[0].process.wait()
        gateways[0] = start_gateway("--allow-writes", studio1=first)
        topics.wait("fleet/studio1/$available", "online")
        topics.wait("desk/retained", "it is not made again", ok=False, code="retained")
    check(topics.get(equaliser)["values"] == "6", "and changes nothing")


def memory(program):
    """Resident, in KiB."""
    status = pathlib.Path(f"/proc/{program.process.pid}/status").read_text()
    return int(status.split("VmRSS:")[1].split()[0])


def check_security(directory, server, gateway_program, tls):
    """TLS with certificates on both sides, a name and a password."""
    passwords = pathlib.Path(directory, "passwords")
    run("mosquitto_passwd", "-c", "-b", str(passwords), "gateway", "open sesame")
    secret, wrong = pathlib.Path(directory, "secret"), pathlib.Path(directory, "wrong")
    secret.write_text("open sesame\n")
    wrong.write_text("open says me\n")
    broker = Broker(directory, "tls", "allow_anonymous false", f"password_file {passwords}", f"cafile {tls}/authority.pem",
                    f"certfile {tls}/server.pem", f"keyfile {tls}/end.key", "require_certificate true")
    own = ("--mqtt-certificate", f"{tls}/client.pem", "--mqtt-key", f"{tls}/end.key")
    trust = ("--mqtt-ca", f"{tls}/authority.pem")
    as_client = ("--cafile", f"{tls}/authority.pem", "--cert", f"{tls}/client.pem", "--key", f"{tls}/end.key",
                 "-u", "gateway", "-P", "open sesame")
    with contextlib.ExitStack() as stack:
        topics = stack.enter_context(Topics(broker, "#", *as_client))
        for name, host, *words in (
                ("certificate=", "127.0.0.1", *trust, "--mqtt-password-file", secret),
                ("password=", "127.0.0.1", *trust, *own, "--mqtt-password-file", wrong),
                ("trust=", "127.0.0.1", "--mqtt-ca", f"{tls}/stranger.pem", *own, "--mqtt-password-file", secret),
                ("host=", "localhost", *trust, *own, "--mqtt-password-file", secret),
                ("", "127.0.0.1", *trust, *own, "--mqtt-password-file", secret)):
            stack.enter_context(gateway(gateway_program, broker, "--server", f"{name}127.0.0.1:{server.port}",
                                        "--mqtt-user", "gateway", *words, host=host))
        topics.wait("fleet/$available", "online")
        check({*topics.newest} == {f"fleet/{path}" for path in ("$available", *dump(server.port))},
              "a server without a name has topics without it, and the others have not come in")
    broker.kill()
    for words in (("--mqtt", "localhost", "--mqtt-root", "a/#"), ("--mqtt", "unix:/x"), ("--mqtt=",),
                  ("--mqtt", "localhost", *own[:2], *trust), ("--mqtt", "localhost", *own),
                  ("--mqtt", "localhost", "--mqtt-ca", "/none"),
                  ("--mqtt", "localhost", "--mqtt-password-file", str(secret)),
                  ("--mqtt", "localhost", "--mqtt-user", "a", "--mqtt-password-file", "/none")):
        refused = run(gateway_program, "--port", "0", *words)
        check(refused.returncode == 2 and not refused.stdout, f"{words} is refused", refused)


def main(server_program, gateway_program, tls):
    os.environ["PATH"] += ":/usr/sbin"
    if not all(map(shutil.which, ("mosquitto", "mosquitto_sub"))):
        sys.exit(77)
    with tempfile.TemporaryDirectory() as directory, contextlib.ExitStack() as stack:
        broker = Broker(directory, "plain", "allow_anonymous true")
        stack.callback(lambda: broker.kill())
        servers = [stack.enter_context(serve(server_program, "--leaves", "1000")),
                   stack.enter_context(serve(server_program, "--leaves", str(LEAVES), "--changes-per-second", "2000"))]

        def start_gateway(*words, **names):
            named = [word for name, server in names.items()
                     for word in ("--server", f"{name}=127.0.0.1:{server.port}")]
            return stack.enter_context(gateway(gateway_program, broker, *named, *words))
        topics = stack.enter_context(Topics(broker, "#"))
        gateways = [start_gateway("--allow-writes", studio1=servers[0]),
                    start_gateway(studio2=servers[1], spare=servers[0])]
        names = {"studio1": servers[0], "studio2": servers[1], "spare": servers[0]}
        for name in names:
            topics.wait(f"fleet/{name}/$available", "online")
        nodes = {topic for topic in topics.newest if topic.startswith("fleet/")}
        check(nodes == {f"fleet/{name}/{path}" for name, server in names.items()
                        for path in ("$available", *dump(server.port))},
              "each node of each server has its topic, and nothing else has")
        check_writes(broker, topics)
        check_losses(broker, topics, server_program, servers, gateways, start_gateway)
        check_security(directory, servers[0], gateway_program, tls)


main(*sys.argv[1:])
