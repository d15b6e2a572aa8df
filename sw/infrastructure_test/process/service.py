"""The server as a service: it tells its manager when it listens and when it stops, and its unit is
one that the manager takes. What docs/setup.md has users do works.

usage: service.py DATACORE_SERVER DATACORE_CLIENT UNIT [DATACORE_GATEWAY ITS_UNIT]
"""
import os
import pathlib
import re
import shutil
import socket
import sys
import tempfile

from programs import ROOT, Listening, check, run, serve


def start(server, name):
    return serve(server, env={**os.environ, "NOTIFY_SOCKET": name})


def check_notification(server, name):
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
        manager.bind(name.replace("@", "\0", 1))
        manager.settimeout(30)
        with start(server, name) as running:
            check(manager.recv(100) == b"READY=1", f"it is ready, at {name}")
            socket.create_connection(("127.0.0.1", running.port)).close()
            running.process.terminate()
            check(manager.recv(100) == b"STOPPING=1" and running.end()[1] == 0, "and stops")


def check_unwanted(server, name):
    """A manager that does not listen, or a name that can't be one, holds nothing up."""
    with start(server, name) as running:
        check(running.port, f"it listens with NOTIFY_SOCKET={name[:20]}")
        running.process.terminate()
        check(running.end()[1] == 0, "and stops")


def check_unit(server, unit, folder):
    text, name = pathlib.Path(unit).read_text(encoding="utf-8"), pathlib.Path(unit).stem
    command = re.search(fr"^ExecStart=/usr/bin/{name} (.*)$", text, re.M)[1]
    known = set(re.findall(r"--[a-z-]+", run(server, "--help").stdout))
    used = set(re.findall(r"--[a-z-]+", text))
    check(used and used <= known, "the server has the options of its unit", used - known)
    places = {f"/run/{name}": "RuntimeDirectory", f"/var/lib/{name}": "StateDirectory",
              f"/etc/{name}": "ConfigurationDirectory"}
    for place, directive in places.items():
        check(f"{place}/" not in command or f"\n{directive}={name}\n" in text,
              f"the manager makes {place}")
    if not shutil.which("systemd-analyze"):
        print("not verified: there is no systemd-analyze")
        return
    copy = pathlib.Path(folder, f"{name}.service")
    copy.write_text(text.replace(f"/usr/bin/{name}", server), encoding="utf-8")
    verified = run("systemd-analyze", "verify", "--man=no", str(copy))
    check(verified.returncode == 0 and verified.stderr == "", "systemd takes the unit", verified)
    exposure = run("systemd-analyze", "security", "--offline=yes", "--threshold=20", str(copy))
    check(exposure.returncode == 0, "and finds it little exposed", exposure.stdout[-500:])


def check_setup(server, client, unit, folder):
    """Runs the commands of the page, with this machine for the instrument."""
    page = (ROOT / "docs/setup.md").read_text(encoding="utf-8")
    blocks = dict(re.findall(r"<!-- run: (.*?) -->\n```\w*\n(.*?)```", page, re.S))

    def do(block):
        return run("bash", "-ec", f'cd "{folder}"\n{block}')

    for name in ("certificates", "token"):
        done = do(blocks[name])
        check(done.returncode == 0, f"the commands for {name} work", done)
    roles = blocks["roles.conf"] + f"grant operator token {done.stdout.split()[0]}\n"
    pathlib.Path(folder, "roles.conf").write_text(roles, encoding="utf-8")
    command = re.search("^ExecStart=/usr/bin/datacore_server (.*)$", blocks["override"], re.M)[1]
    check(command.startswith(re.search(r"datacore_server (.*) \$", unit)[1]), "the override goes on from the unit")
    for place in ("/run/datacore_server", "/var/lib/datacore_server", "%d"):
        command = command.replace(place, folder)
    words = command.replace("0.0.0.0", "127.0.0.1").replace("4011", "0").split() + ["--port", "0"]
    with Listening(server, *words, ports=2) as running:
        plain, (tls,) = running.port, running.more
        block = blocks["outside"].replace("datacore_client", f'"{client}"').replace("4011", str(tls))
        done = do(block.replace("192.168.10.5", "127.0.0.1").replace(" --tls-trust", " --tls-name instrument.example --tls-trust"))
        check(done.stdout == "41  valid active\nCamera 1  valid active\n", "those for another machine", done)
        for more, value in ((["--token-file", f"{folder}/token"], 0), ([], 1)):
            done = run(client, "--port", str(plain), *more, "set", "configCoreRouter/input1/label", str(value))
            check(done.returncode == value, f"the exit value is {value} with {more}", done)
        done = run(client, "--port", str(plain), "--token-file", f"{folder}/roles.conf", "list")
        check(done.returncode == 1 and "does not take the token" in done.stderr, "a wrong token is told", done)


def main(server, client, unit, *gateway):
    with tempfile.TemporaryDirectory() as folder:
        check_notification(server, f"{folder}/notify")
        check_notification(server, f"@{folder}")
        for name in (f"{folder}/none", "relative", "/" + "x" * 200, ""):
            check_unwanted(server, name)
        check_unit(server, unit, folder)
        if gateway:
            check_unit(*gateway, folder)
        if shutil.which("openssl"):
            check_setup(server, client, pathlib.Path(unit).read_text(encoding="utf-8"), folder)


main(*sys.argv[1:])
