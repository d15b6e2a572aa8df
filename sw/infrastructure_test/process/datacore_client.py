"""The command-line client as a daily tool: what each command prints and its exit value, with a real
server, with one that is made up (reasons, refusals, restarts), and through bash's completion.

usage: datacore_client.py DATACORE_SERVER DATACORE_CLIENT COMPLETION_SCRIPT
"""
import atexit
import contextlib
import json
import os
import pathlib
import re
import select
import socket
import struct
import subprocess
import sys
import tempfile
import threading

from programs import EQUALISER, check, json_packet, run, serve

INPUT = "configCoreRouter/input1"
LABEL = f"{INPUT}/label"
SECOND = "configCoreRouter/input2/label"
PARTS = ("cursor", "enabled", "equaliser", "label")
ROW = re.compile(r"^(?:<(.*?)> )?([^|]*)\|(\d)\|(.*)$", re.S)

# <standard input> words | exit value | all of standard output, or a part of it after "?", or of
# standard error after "!"
COMMANDS = f"""
--help|0|?Port of servers whose address names none.; {" " * 28}(default: 4010);   --timeout <ms>
--version|0|?datacore_client 0.
get {EQUALISER}|0|4  valid active
get {INPUT}/|0|-  valid active
get configCoreRouter/*put[1]/label|1|!No datacore fits configCoreRouter/*put[1]/label
get */input1/l*|0|{LABEL} = input1  valid active
get **/licences {LABEL}|0|{LABEL} = input1  valid active; persistentConfigCoreRouter/licences = [3, 7]  valid active
get configCoreRouter/inptu1/label|1|!There is no datacore configCoreRouter/inptu1/label; did you mean configCoreRouter/input1 or
get {INPUT}/xyzzyx|1|!{INPUT} has cursor, enabled, equaliser, label
list **/**/*n*p*1/*|0|{"; ".join(f"{INPUT}/{part}" for part in PARTS)}
get **/in*1/e*l*r|0|{EQUALISER} = 4  valid active
get **/input1/** */input1/cur*sor*|0|{INPUT}/cursor = 960,540  valid active; {INPUT}/enabled = true  valid active; {EQUALISER} = 4  valid active; {LABEL} = input1  valid active
get **/inpu|1|!No datacore fits **/inpu
get **/equaliser/**|1|!No datacore fits **/equaliser/**
list **/input1/**/label|0|{LABEL}
get configcorerouter|1|!did you mean configCoreRouter
get |2|!something is missing: get PATH...
list {INPUT}|0|{INPUT}; {"; ".join(f"{INPUT}/{part}" for part in PARTS)}
list configCoreRouter/input|1|!did you mean configCoreRouter/input1
list configCoreRouter/**/label {LABEL}|0|{"; ".join(f"configCoreRouter/input{i}/label" for i in (1, 2, 3, 4))}
list configCoreRouter/**|0|{"; ".join([f"configCoreRouter/input{i}{part}" for i in (1, 2, 3, 4) for part in ("", *("/" + p for p in PARTS))] + [f"configCoreRouter/{name}" for name in ("jitterGain", "loudnessTarget", "subImages")])}
watch configCoreRouter/input|1|!There is no datacore configCoreRouter/input
set {EQUALISER} 99|0|99  invalid (Stored number is Oversized) active
set {EQUALISER} -1|0|-1  invalid (Stored number is Undersized) active
set {EQUALISER} 99|0|99  invalid (Stored number is Oversized) active
set {EQUALISER}|2|!set needs a value; to leave {EQUALISER} without one: unset
set - {LABEL}|2|!from standard input only
set {INPUT}/lable x|1|!did you mean {LABEL}
set statusCoreRouter/temperature 3|1|!statusCoreRouter/temperature: refused, the value is 41  valid active
set {LABEL} [x|0|'[x'  valid active
set {LABEL} 'x|0|"'x"  valid active
set {LABEL} "x|0|'"x'  valid active
set {LABEL} a\u202eb|0|"a\\u202eb"  valid active
unset {LABEL}|0|-  valid active
unset configCoreRouter/input*/label|0|-  valid active; -  valid active; -  valid active; -  valid active
set {LABEL} --json|0|--json  valid active
<# comment\\n{LABEL} 'it is' # no\\n{LABEL} "a\\u001b[2J" \\n{SECOND} '-'\\n\\n> set -|0|3 written, 0 refused, 0 unknown, 0 the same
get {LABEL}|0|"a\\u001b[2J"  valid active
get {SECOND}|0|'-'  valid active
<{SECOND} '' ' b' 'c, d' 'it '\\n{LABEL} -> set -|0|2 written, 0 refused, 0 unknown, 0 the same
get {SECOND} {LABEL}|0|{LABEL} = -  valid active; {SECOND} = ['', ' b', 'c, d', 'it ']  valid active
<{SECOND} '' ' b' 'c, d' 'it '\\nstatusCoreRouter/lines 5\\n> set -|1|!statusCoreRouter/lines: refused, the value is 1125
set {SECOND}  x|0|['', x]  valid active
<{SECOND} '' ' b' 'c, d' 'it '\\n> set -|0|1 written, 0 refused, 0 unknown, 0 the same
<{LABEL} new\\n{LABEL}s new\\n> set -|1|!did you mean {LABEL}
<{LABEL} new\\n{LABEL}\\n> set -|1|!standard input, line 2: a path and a value are needed
<\\n{LABEL} 'new> set -|1|!standard input, line 2: column {len(LABEL) + 2}: the quote has no end
<{LABEL} "\\u1"> set -|1|!line 1: column {len(LABEL) + 2}: between double quotes stands a JSON string
get {LABEL}|0|-  valid active
describe {EQUALISER} {INPUT}/enabled|0|{INPUT}/enabled  Bool, 1 value, of [false, true]: Whether the input is looked at.; {EQUALISER}  Int32, 1 value, from 0 to 15: Strength of the cable equaliser.
describe statusCoreRouter configCoreRouter/subImages|0|configCoreRouter/subImages  Int32, 0 to 5 values, none twice, from 0 to 4: Inputs that are shown, in their order.; statusCoreRouter  Group, read-only: What the instrument measures.
describe statusCoreRouter/ptpOffset|0|statusCoreRouter/ptpOffset  Int64, any number of values, in ns, read-only: Offset to the grandmaster.
--json describe statusCoreRouter/lines|0|{{"kind":"UInt16","path":"statusCoreRouter/lines","readOnly":true,"server":"SERVER"}}
get --json {EQUALISER}|0|{{"active":true,"path":"{EQUALISER}","reasons":{{"inactive":[],"invalid":["Stored number is Oversized"]}},"server":"SERVER","valid":false,"value":"99"}}
dump --json|2|!dump does not take --json
get --changes-only {EQUALISER}|2|!only watch takes --changes-only
wacth|2|!no command "wacth"; did you mean watch?
|2|!a command is needed: list, get, describe, set
--prot 1 list|2|!Unknown option 'prot'; did you mean --port?
--port 0 list|2|!--port "0": a number from 1 to 65535 is needed
--timeout 0 list|2|!--timeout "0": a number from 1 to 86400000 is needed
--server [::1 list|2|!--server "[::1": an address in brackets
--server unix:/none --address 1 list|2|!--address and --server can't be used together
--server unix:/none list|1|!unix:/none: 
--server unix:/none --server SERVER set a b|2|!set takes one --server
--token-file /dev/null list|2|!--token-file /dev/null: the first line is empty
--tls-trust /none list|2|!/none
load /none|1|!/none: No such file
diff /none|2|!/none: No such file
<{{"a":\\n [}}> diff -|2|!-: line 2, column 4: 
<[]> load -|1|!an array, where dump writes an object
<{{"a": {{"b": 1}}}}> load -|1|!a/b is no object
<{{"a": {{"data": ["b", 1]}}}}> load -|1|!"data" of a is not null, a string
<{'{"a":' * 300}1{"}" * 300}> load -|1|!nodes more than 256 deep
<{{"a": 1, "a": 2}}> load -|1|!-: line 1, column 
"""

COMPLETIONS = {
    "wa": "watch", "": "list get describe set unset watch dump load diff", "--to": "--token-file",
    "nonsense ": "", "get conf": "configCoreRouter/", f"get {LABEL} st": "statusCoreRouter/",
    f"get {INPUT}/e": f"{INPUT}/enabled {EQUALISER}", f"set {INPUT}/enabled ": "false true",
    f"set {EQUALISER} 1": "1 10 11 12 13 14 15", "set statusCoreRouter/lines ": "",
    "set configCoreRouter/subImages 1 ": "0 1 2 3 4", "--server ": "", "load fi": "", "watch --ch": "--changes-only", "set 'conf": "",
}


def check_commands(client, port):
    for row in COMMANDS.strip("\n").split("\n"):
        row = row.replace("SERVER", f"127.0.0.1:{port}")
        text, words, exit_value, expected = ROW.match(row.replace("\\n", "\n")).groups()
        own = [] if "--server" in words else ["--port", str(port)]
        words = words.strip().split(" ") if words.strip() else []
        done = run(client, *own, *words, text=text or "")
        out = "; ".join(done.stdout.splitlines())
        where = {"!": done.stderr, "?": out}.get(expected[:1])
        right = (out, done.stderr) == (expected, "") if where is None else expected[1:] in where
        check(done.returncode == int(exit_value) and right, f"{row.partition('|')[0]!r}", done)


def check_files(client, port, folder):
    def do(exit_value, *words):
        done = run(client, "--port", str(port), *words)
        check(done.returncode == exit_value, " ".join(words), done)
        return done.stdout, done.stderr.splitlines()

    done = run("bash", "-c", f'"{client}" --port {port} dump >/dev/full')
    check(done.returncode == 1 and "Standard output: No space" in done.stderr, "a full disk is told", done)
    file = pathlib.Path(folder, "dump")
    file.write_text(do(0, "dump")[0])
    check(do(0, "diff", str(file)) == ("", []), "nothing differs from a dump just made")
    do(0, "set", SECOND, "other")
    do(0, "set", "commandCoreRouter/seek", "7")
    check(do(1, "diff", str(file))[0] == f"{SECOND}: ['', ' b', 'c, d', 'it '] in the file, other at the server\n",
          "the one setting that differs is shown")
    check("commandCoreRouter/seek: 0 in the file, 7 at the server\n" in do(1, "diff", str(file), "**")[0],
          "commands too if asked for")
    check(do(0, "load", str(file))[0].startswith("1 written, 0 refused, 0 unknown, "), "load writes it")
    check(do(0, "get", "commandCoreRouter/seek")[0][0] == "7", "but no command")
    file.write_text(json.dumps({"configCoreRouter": {"input9": {"data": None}, "input2": {"label": {"data": "x"}}},
                                "statusCoreRouter": {"lines": {"data": "1"}}}))
    text, errors = do(1, "load", str(file), "**/l*", "**/input9")
    check(text == "1 written, 1 refused, 1 unknown, 0 the same\n" and len(errors) == 2 and
          "configCoreRouter/input9; did you mean" in errors[0] and "refused, the value is 1125" in errors[1],
          "load counts what is refused and unknown, and names it", errors)
    check(do(1, "diff", str(file))[0] == "configCoreRouter/input9: - in the file, unknown at the server\n",
          "a status is no setting")
    check("No datacore fits a*" in do(2, "diff", str(file), "a*")[1][0], "a path must be in the file")
    check(do(1, "list", "--server", f"127.0.0.1:{port}", "--server", "127.0.0.1:1")[1] != [],
          "each of several servers must answer")


def check_watch(client, port):
    watches = [Watch(client, "--port", str(port), LABEL), Watch(client, "--port", str(port), LABEL, "--changes-only")]
    seen = [watches[0].expect(" = ", "the value at the beginning is shown").split(" = ")[1]]
    end = run(client, "--port", str(port), "watch", "no/such")
    check(end.returncode == 1, "a watch of nothing ends", end)
    for number in range(100):  # the second may not be there yet
        run(client, "--port", str(port), "set", LABEL, str(number))
        seen.append(watches[0].expect(" = ", "and each change once").split(" = ")[1])
        if select.select([watches[1].process.stdout], [], [], 0.1)[0]:
            break
    check(seen == ["x  valid active\n", *(f"{i}  valid active\n" for i in range(number + 1))], "no more", seen)
    check(f" = {number}  valid" in watches[1].expect(" = ", "a change is shown"), "or changes only")
    for watch in watches:
        watch.end()


class MadeUpServer:
    """Two nodes whose content the test decides; it refuses every write, or breaks the link."""

    def __init__(self, port=0):
        self.listener = socket.create_server(("127.0.0.1", port))
        self.port = self.listener.getsockname()[1]
        self.values = {**dict.fromkeys("csmp", (None, [], [])), "c/n": ("1\x1b", [4], [2, 4])}
        self.silent, self.repeats = None, 1  # the path that it keeps to itself; how often it sends others
        self.answers_writes, self.links = True, []
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        with contextlib.suppress(OSError):  # it has been stopped
            while True:
                self.links.append(self.listener.accept()[0])
                threading.Thread(target=self.serve, args=self.links[-1:], daemon=True).start()

    def value(self, path, **ids):
        def messages(kind, numbers):
            return [{f"Datacore{kind}StatusMessage": {}, "MessageBase": {"identifier": number, "type": 2}}
                    for number in numbers]
        data, invalid, inactive = self.values[path]
        node = {"class": "C", "data": data, "reasonsForBeingInactive": messages("Active", inactive),
                "reasonsForBeingInvalid": messages("Valid", invalid)}
        return {"Class": "DatacorePacket", "Path": path, "Datacore": {path.split("/")[-1]: node}, **ids}

    def serve(self, link):
        names = [{"Core": path.split("/")[-1]} for path in self.values if "/" in path]
        stream = link.makefile("rb")
        with contextlib.suppress(ConnectionError, struct.error):
            while head := stream.read(8):
                asked = json.loads(stream.read(struct.unpack(">HHI", head)[2])[4:])
                if asked["Class"] == "DatacoreRequestListPacket":
                    self.send(link, {"Class": "DatacorePathRadixTreePacket",
                                     "ConfigTreeObject": {"Core": "c", "Kids": names},
                                     "StatusTreeObject": {"Core": "s"}, "CommandTreeObject": {"Core": "m"},
                                     "PersistentConfigTreeObject": {"Core": "p"}},
                              *[self.value(path) for path in self.values if path != self.silent] * self.repeats)
                elif asked["Class"] != "DatacorePacket":
                    pass  # it is too old
                elif self.answers_writes:
                    self.send(link, self.value(asked["Path"], ClientID=asked["ClientID"],
                                               PacketID=asked["PacketID"]))
                else:
                    link.shutdown(socket.SHUT_RDWR)

    @staticmethod
    def send(link, *packets):
        link.sendall(b"".join(json_packet(json.dumps(packet).encode()) for packet in packets))

    def stop(self):
        self.listener.shutdown(socket.SHUT_RDWR)
        self.listener.close()
        for link in self.links:
            with contextlib.suppress(OSError):  # its client has gone
                link.shutdown(socket.SHUT_RDWR)


class Watch:
    """A client that watches; its lines, of either stream, as they come."""

    def __init__(self, client, *words):
        self.process = subprocess.Popen([client, "watch", *words], stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, bufsize=0, env={**os.environ, "TZ": "XXX-3:30"})
        atexit.register(self.process.kill)  # it would wait for its server to come back

    def expect(self, pattern, what, errors=False):
        """The first line that fits; others may come before."""
        stream = self.process.stderr if errors else self.process.stdout
        line = "none"
        while line and not re.search(pattern, line) and select.select([stream], [], [], 30)[0]:
            line = stream.readline().decode()
        check(re.search(pattern, line), what, line or self.process.communicate())
        return line

    def end(self):
        self.process.terminate()
        rest, errors = self.process.communicate(timeout=10)
        check((self.process.returncode, rest, errors) == (0, b"", b""), "a watch ends on a signal", errors)


def check_made_up(client):
    server, other = MadeUpServer(), MadeUpServer()
    one, two = (f"127.0.0.1:{each.port}" for each in (server, other))
    held = '"1\\u001b"  invalid (Stored number is Oversized) ' \
           'inactive (Command Executor is Busy; Parameter not supported for current video standard)'
    done = run(client, "--server", one, "--server", two, "get", "c/n")
    check(done.stdout == "".join(f"{name} {held}\n" for name in (one, two)),
          "reasons are shown, for each server", done)
    reasons = json.loads(run(client, "--server", one, "--json", "get", "c/n").stdout)["reasons"]
    check([len(reasons[kind]) for kind in ("invalid", "inactive")] == [1, 2], "in JSON too", reasons)
    done = run(client, "--server", one, "set", "c/n", "2")
    check((done.returncode, done.stdout) == (1, "") and
          f"c/n: refused, the value is {held}" in done.stderr, "a refused write is told", done)
    done = run(client, "--server", one, "--timeout", "300", "describe", "c/n")
    check(done.returncode == 1 and "did not answer within 300 ms. It may be too old" in done.stderr,
          "a server without descriptions is told", done)

    other.silent, other.repeats = "c/n", 10
    done = run(client, "--server", two, "--timeout", "500", "dump")
    check(done.returncode == 1 and "did not answer" in done.stderr,
          "a value sent twice does not stand for another", done)
    other.silent, other.repeats = None, 1

    watch = Watch(client, "--server", one, "--server", two)
    for _ in (one, two):
        watch.expect(r'^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} 127.0.0.1:\d+ c/n = "1\\u001b"  invalid \(Stored',
                     "a line has date, server and reasons")
    changes = Watch(client, "--server", one, "--json", "--changes-only", "c*")
    while len(server.links) < 6:  # get twice, set, describe and the two watches
        select.select([], [], [], 0.01)
    line = None
    for number in range(100):  # what comes after the values at the beginning is a change
        server.values["c"] = (str(number), [], [])
        server.send(server.links[-1], server.value("c"), server.value("c/n"))
        if select.select([changes.process.stdout], [], [], 0.1)[0]:
            line = json.loads(changes.expect('"path":"c"', "only what changes is shown"))
            break
    check(line and re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}\+03:30", line.pop("time")) and
          int(line.pop("value")) <= number and
          line == {"server": one, "path": "c", "valid": True, "active": True,
                   "reasons": {"invalid": [], "inactive": []}}, "as JSON", line)

    server.stop()
    for each in (watch, changes):
        each.expect(f"{one}: The server has closed", "a server that goes is told", errors=True)
    again = MadeUpServer(server.port)
    del again.values["c/n"]
    again.values |= {"c": server.values["c"], "c/m": ("7", [], []), "c/x": (["1", "2"], [], [])}
    changes.expect('"path":"c/m".*"value":"7"', "a node that is new")
    changes.expect('"path":"c/x".*"value":\\["1","2"\\]', "and another")
    watch.expect("c/n is gone", "one that is gone", errors=True)
    changes.expect("c/n is gone", "for each", errors=True)
    for each in (watch, changes):
        each.expect(f"{one}: connected again", "a server that is back is told", errors=True)
    changes.end()
    again.answers_writes = False
    done = run(client, "--server", one, "set", "c/m", "8")
    check(done.returncode == 1 and done.stderr.startswith("c/m: not acknowledged\n"),
          "a write whose fate is not known is told", done)
    watch.process.kill()
    watch.process.communicate()


def check_completion(client, script, port):
    def ask(line):
        lines = f'source "{script}"; COMP_LINE=$1 COMP_POINT=${{#1}}; read -ra COMP_WORDS <<<"$1"\n' \
                '[[ $1 == *" " ]] && COMP_WORDS+=(""); COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n' \
                f'compopt() {{ echo "$*" >&2; }}; _datacore_client "{client}"; echo "${{COMPREPLY[*]}}"'
        done = run("bash", "-c", lines, "bash", line)
        return done.stdout.strip(), done.stderr.strip()

    for words, expected in COMPLETIONS.items():
        found, options = ask(f"datacore_client --port {port} {words}")
        wanted = {"load fi": "-o default", "get conf": "-o nospace", f"get {LABEL} st": "-o nospace"}
        check((found, options) == (expected, wanted.get(words, "")), f"completes {words!r}", (found, options))
    check(ask(f"datacore_client --server 127.0.0.1:{port} get st")[0] == "statusCoreRouter/",
          "a colon on the line does not matter")
    check(ask("datacore_client --tls-key ")[1] == "-o default", "a file's name is the shell's")
    check(ask("datacore_client --port 1 get c") == ("", ""), "without a server it is quiet")


def main(server_program, client, script):
    with serve(server_program) as server, tempfile.TemporaryDirectory() as folder:
        check_commands(client, server.port)
        check_files(client, server.port, folder)
        run(client, "--port", str(server.port), "set", LABEL, "x")
        check_watch(client, server.port)
        check_completion(client, script, server.port)
    check_made_up(client)


main(*sys.argv[1:])
