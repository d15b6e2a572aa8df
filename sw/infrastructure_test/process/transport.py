"""The server's ways in, tried by outsiders: openssl, a wrong certificate, crowds, a link that dies.

usage: transport.py DATACORE_SERVER MIRROR_CLIENT CERTIFICATES [--sanitized]
"""
import os
import pathlib
import re
import resource
import signal
import socket
import ssl
import subprocess
import sys
import tempfile
import time

import namespaces
from programs import Listening, Talking, check, json_packet, run

REQUEST = json_packet(b'{"Class":"DatacoreRequestListPacket","ClientID":"me",'
                      b'"DatacoreRequestList":["configCoreRouter/input1/label"]}')
ANSWER = b'"Path":"configCoreRouter/input1/label"'
CROWD = 1000
DEAD_PEER_SECONDS = 2


class Server(Listening):
    """The program with all ways in, killed with the block."""

    def __init__(self, program, tls, local, *words, descriptors=None):
        limit = (lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (descriptors, descriptors))
                 ) if descriptors else None
        super().__init__(program, "--port", "0", "--tls-port", "0", "--tls-certificate",
                         f"{tls}/server.pem", "--tls-key", f"{tls}/end.key", "--local", local, *words,
                         ports=2, preexec_fn=limit)
        self.tls_port = self.more[0]
        line = self.read()
        check(line == f"Listening at {local}", "it names its socket file", line)

    def resident_kib(self):
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text("ascii")
        return int(re.search(r"VmRSS:\s+(\d+)", status)[1])


def is_answered(link):
    """Whether the peer at the other end of a socket or pipe answers the request."""
    got = b""
    while ANSWER not in got:
        piece = link(65536)
        if not piece:
            return False
        got += piece
    return True


def ask(link):
    """The same, over a connected socket."""
    with link:
        try:
            link.sendall(REQUEST)
            return is_answered(link.recv)
        except ConnectionError:
            return False


def ask_openssl(port, tls, *words):
    with subprocess.Popen(["openssl", "s_client", "-quiet", "-connect", f"127.0.0.1:{port}", "-CAfile",
                           f"{tls}/authority.pem", "-verify_return_error", *words],
                          stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as client:
        client.stdin.write(REQUEST)
        client.stdin.flush()
        answered = is_answered(lambda size: os.read(client.stdout.fileno(), size))
        client.kill()
    return answered


def check_certificates(server, tls, log, required):
    own = ["-key", f"{tls}/end.key", "-cert"]
    rows = [
        ("a good certificate", [*own, f"{tls}/client.pem"], None),
        ("TLS 1.2", [*own, f"{tls}/client.pem", "-tls1_2"], None),
        ("no certificate", [], "did not present any certificate" if required else None),
        ("an expired certificate", [*own, f"{tls}/expired.pem"], "has expired"),
        ("a stranger's certificate", ["-key", f"{tls}/stranger.key", "-cert", f"{tls}/stranger.pem"],
         "self-signed"),
        ("TLS 1.1", [*own, f"{tls}/client.pem", "-tls1_1", "-cipher", "ALL:@SECLEVEL=0"],
         "unsupported protocol"),
        ("another host's name", [*own, f"{tls}/client.pem", "-verify_hostname", "other.test"],
         "alert bad certificate"),
    ]
    for name, words, complaint in rows:
        answered = ask_openssl(server.tls_port, tls, *words)
        check(answered == (complaint is None), f"required {required}, {name}: {answered}")
        if complaint:
            line = log.read_until("refused, TLS handshake: ")[-1]
            check(complaint in line and "tls 127.0.0.1:" in line, f"the log says {complaint!r}", line)


def check_crowds(program, tls, local, log, flags):
    """Peers who begin and go no further, as many as there are, keep nobody out."""
    with Server(program, tls, local) as server:
        resident = server.resident_kib()
        crowd = []
        for number in range(CROWD):
            link = socket.create_connection(("127.0.0.1", server.tls_port))
            link.sendall(bytes.fromhex("160301020001000001fc0303") if number % 2 else b"\x16")
            crowd.append(link)
        context = ssl.create_default_context(cafile=f"{tls}/authority.pem")
        check(ask(context.wrap_socket(socket.create_connection(("127.0.0.1", server.tls_port)),
                                      server_hostname="127.0.0.1")), "a good peer gets in")
        check(ask(socket.create_connection(("127.0.0.1", server.port))), "so does a plain one")
        grown = server.resident_kib() - resident
        check("--sanitized" in flags or grown < 64 * 256,
              f"{CROWD} handshakes take no more than stated ({grown} KiB)")
        log.read_until("TLS handshakes under way, the oldest make room")
        for link in crowd:
            link.close()

    if "--sanitized" in flags:
        return  # the sanitizer needs descriptors to tell good memory from bad
    with Server(program, tls, local, descriptors=64) as server:
        crowd = [socket.create_connection(("127.0.0.1", server.port)) for _ in range(100)]
        log.read_until("Can't accept peers, trying again in a second")
        for link in crowd:
            link.close()
        check(ask(socket.create_connection(("127.0.0.1", server.port))),
              "a server that had no descriptor left serves again")


def check_local(program, tls, local):
    with Server(program, tls, local, "--local-mode", "600") as server:
        check(os.stat(local).st_mode & 0o777 == 0o600, "the socket file has the permissions asked for")
        link = socket.socket(socket.AF_UNIX)
        link.connect(local)
        check(ask(link), "a client of another language is served at the socket file")
        second = run(program, "--port", "0", "--local", local)
        check(second.returncode == 1 and "another server listens there" in second.stderr,
              "a second server does not take it away", second)
        server.process.kill()
        server.process.wait()
        check(os.path.exists(local), "a killed server leaves it")
    with Server(program, tls, local) as server:
        server.process.send_signal(signal.SIGTERM)
        server.process.wait(60)
        check(not os.path.exists(local), "one that replaced it and was ended removes it")


def count_established(port):
    """The ends of TCP links of this namespace at or to the port."""
    rows = pathlib.Path("/proc/net/tcp").read_text(encoding="ascii").splitlines()[1:]
    return sum(row.split()[3] == "01" and f":{port:04X}" in row for row in rows)


def check_dead_link(program, tls, local, mirror_client):
    with Server(program, tls, local, "--dead-peer-timeout", str(DEAD_PEER_SECONDS)) as server, \
            Talking(mirror_client, server.port, 1) as mirror:
        check(mirror.read() == "ready", "a mirror is filled")
        silent = socket.create_connection(("127.0.0.1", server.port))
        check(count_established(server.port) == 4, "both links are up at both ends")
        namespaces.cut_loopback()
        start, took = time.monotonic(), 0
        while took < DEAD_PEER_SECONDS + 5 and count_established(server.port) > 1:
            time.sleep(0.02)  # of all ends only this script's asks for no probes
            took = time.monotonic() - start
        check(DEAD_PEER_SECONDS - 0.5 < took < DEAD_PEER_SECONDS + 3,
              f"the others are found dead after {took:.2f} s")
        silent.close()


def main(program, mirror_client, tls, *flags):
    namespaces.enter()
    log = namespaces.listen_to_log()
    with tempfile.TemporaryDirectory() as folder:
        local = f"{folder}/socket"
        for required in (False, True):
            words = ["--tls-trust", f"{tls}/authority.pem", *["--tls-require-certificate"] * required]
            with Server(program, tls, local, *words) as server:
                check_certificates(server, tls, log, required)
                check(not ask(socket.create_connection(("127.0.0.1", server.tls_port))),
                      "a plain peer gets nothing at the TLS port")
                log.read_until("the peer does not speak TLS")
                check(not ask_openssl(server.port, tls), "a TLS peer gets nothing at the plain port")
                log.read_until("speaks TLS to a port that is not for it")
        refused = run(program, "--port", "0", "--tls-port", "0", "--tls-certificate",
                      f"{tls}/expired.pem", "--tls-key", f"{tls}/end.key")
        check(refused.returncode == 1 and "expired.pem: expired at" in refused.stderr,
              "a server does not start with an expired certificate", refused)
        check_crowds(program, tls, local, log, flags)
        check_local(program, tls, local)
        check_dead_link(program, tls, local, mirror_client)


main(*sys.argv[1:])
