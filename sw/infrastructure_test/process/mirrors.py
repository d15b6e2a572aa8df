"""A server and its mirrors as real processes: writes from all clients at once, one killed in the
middle of writing, one whose link is reset; in the end all hold what the server holds.

usage: mirrors.py DATACORE_SERVER DATACORE_CLIENT MIRROR_CLIENT
"""
import json
import os
import random
import re
import signal
import sys

from programs import Talking, check, run, serve

WRITES = 10000
CHANGING = "statusCoreRouter/framesSeen"  # the server changes it all the time


class Mirror(Talking):
    def __init__(self, program, port, seed):
        super().__init__(program, port, seed)
        self.expect("ready")

    def expect(self, answer):
        line = self.read()
        check(line == answer, f"{self.process.pid} answers {answer!r} ({line!r})")

    def ask(self, command, answer):
        self.tell(command)
        self.expect(answer)

    def quit(self):
        self.tell("quit")
        check(self.end()[1] == 0, "a mirror ends cleanly")


def flatten(tree, path=""):
    """The dump of the command-line client as lists of values by full path."""
    values = {}
    for name, node in tree.items():
        if isinstance(node, dict) and "data" in node:
            full, data = path + name, node["data"]
            values[full] = data if isinstance(data, list) else [] if data is None else [data]
            values.update(flatten(node, full + "/"))
    return values


def check_mirrors(mirrors, tool):
    """All that the server holds is in each mirror, but for the value that goes on changing."""
    dump = tool("dump")
    check(dump.returncode == 0, "the tool dumps all values", dump)
    expected = flatten(json.loads(dump.stdout))
    expected.pop(CHANGING)
    for number, mirror in enumerate(mirrors):
        mirror.ask("sync", "synced")
        mirror.tell("dump")
        values = json.loads(mirror.read())
        values.pop(CHANGING)
        check(values == expected, f"mirror {number} holds the server's {len(expected)} values",
              {path: values.get(path) for path in expected if values.get(path) != expected[path]})


def main(server_program, client_program, mirror_program):
    def tool(*words):
        return run(client_program, "--port", str(server.port), "--timeout", "200000", *words)

    with serve(server_program) as server:
        mirrors = [Mirror(mirror_program, server.port, seed) for seed in (1, 2, 3)]
        victim = Mirror(mirror_program, server.port, 4)
        for mirror in mirrors:
            mirror.tell(f"write {WRITES // 3 + 1}")
        victim.tell("write 1000000")
        # A tool's round trip among the writes: what it waits for shows that they are under way.
        check(tool("set", "commandCoreRouter/seek", str(random.randrange(10**6))).returncode == 0,
              "a write by hand is acknowledged among the others")
        victim.process.send_signal(signal.SIGKILL)
        check(victim.process.wait(10) == -signal.SIGKILL, "a client was killed in the middle")
        mirrors[2].expect("written")
        mirrors[2].ask("reset", "ready")
        mirrors[2].tell("write 100")
        for mirror in mirrors:
            mirror.expect("written")
            mirror.ask("settle", "settled")
        check_mirrors(mirrors, tool)
        for mirror in mirrors:
            mirror.quit()

        with Talking(client_program, "--port", server.port, "watch", "configCoreRouter",
                     env={**os.environ, "LC_ALL": "fa_IR.UTF-8"}) as watch:
            line = watch.read()
        check(re.match(r"[0-9]{4}(-[0-9]{2}){2} [0-9]{2}(:[0-9]{2}){2}\.[0-9]{3} configCoreRouter/", line),
              f"a time has the same digits in every locale {line}")
        server.process.send_signal(signal.SIGINT)
        check(server.process.wait(10) == 0, "the server ends cleanly on Ctrl-C")
        check(tool("list").returncode == 1, "without a server the tool fails")


if __name__ == "__main__":
    main(*sys.argv[1:])
