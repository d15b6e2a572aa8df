"""The gateway: what its interface document says is what it serves; guarded against other sites, strangers,
garbage, floods and slow readers; with servers that go and come.

usage: gateway.py GATEWAY DATACORE_SERVER DATACORE_CLIENT TLS_FOLDER [--sanitized]
"""
import contextlib
import hashlib
import http.client
import json
import os
import pathlib
import re
import shlex
import shutil
import signal
import socket
import ssl
import subprocess
import sys
import tempfile
import time
import urllib.parse

from programs import EQUALISER, ROOT, Listening, WebSocket, check, run, serve

TOKEN = "open sesame"
SERVER_ROLES = "role some write configCoreRouter/input1\ngrant some address 127.0.0.0/8\n"
ROLES = f"""
role viewer   read
role operator write configCoreRouter/input1
role engineer all
grant engineer address 127.0.0.1
grant viewer   address 127.0.0.3
grant operator token {hashlib.sha256(TOKEN.encode()).hexdigest()}
read-only node configCoreRouter/input1/enabled
"""
INPUT = "/api/tree/configCoreRouter/input1"
DOCUMENT = json.loads((ROOT / "sw/datacore_gateway/openapi.json").read_text(encoding="utf-8"))
seen = set()  # what of the document has been served


def note(method, target, status, content=b"", kind=""):
    """Holds a response against the document."""
    path = target.partition("?")[0]
    paths = sorted(DOCUMENT["paths"], key=lambda each: "{" in each)
    template = next(each for each in paths if re.fullmatch(re.sub("{path}", ".+", re.sub(
        "{file}", "[^/]*", each)), path))
    method = {"HEAD": "GET"}.get(method, method)
    responses = DOCUMENT["paths"][template].get(method.lower(), {"responses": {}})["responses"]
    seen.add((template, method, str(status)))
    for media, described in resolve(responses.get(str(status)) or {
            "$ref": "#/components/responses/Error"}).get("content", {}).items():
        if content and not (media in ("*/*", kind) and fits(
                described.get("schema", {}), json.loads(content) if "schema" in described else None)):
            check(False, f"{method} {target}: {status} is {media} as described", (kind, content))


def resolve(part):
    for name in part.get("$ref", "")[2:].split("/") if "$ref" in part else ():
        part = (DOCUMENT if "$ref" in part else part)[name]
    return part


def fits(schema, value):
    schema = resolve(schema)
    if schema.get("nullable") and value is None:
        return True
    kinds = {"object": dict, "array": list, "string": str, "integer": int}
    return (isinstance(value, kinds.get(schema.get("type"), object))
            and value in schema.get("enum", [value])
            and all(fits(each, value) for each in schema.get("allOf", ()))
            and ("oneOf" not in schema or any(fits(each, value) for each in schema["oneOf"]))
            and all(name in value for name in schema.get("required", ()))
            and all(fits(each, value[name]) for name, each in schema.get("properties", {}).items()
                    if name in value)
            and all(fits(schema["items"], each) for each in (value if "items" in schema else ())))


def ask(port, target, method="GET", body=None, source="127.0.0.1", context=None, **headers):
    """Status, headers and content of an answer."""
    kind = http.client.HTTPSConnection if context else http.client.HTTPConnection
    link = kind("127.0.0.1", port, timeout=20, source_address=(source, 0), **(
        {"context": context} if context else {}))
    headers = {name.replace("_", "-"): value for name, value in headers.items()}
    link.putrequest(method, target, skip_host="Host" in headers)
    body = json.dumps(body).encode() if isinstance(body, dict) else body
    for name, value in {**headers, **({"Content-Length": len(body)} if body else {})}.items():
        link.putheader(name, value)
    link.endheaders(body)
    answer = link.getresponse()
    content = answer.read()
    note(method, target, answer.status, content, answer.headers["Content-Type"])
    return answer.status, answer.headers, content


def connect(port, source="127.0.0.1"):
    return socket.create_connection(("127.0.0.1", port), 30, (source, 0))


def send_raw(port, *lines):
    """The status of an answer to what a library would tidy up, or not send."""
    link = connect(port)
    link.sendall("\r\n".join([*lines, "Host: localhost", "", ""]).encode())
    return int(link.makefile("rb").readline().split()[1])


def lazy(port):
    """A link of which little is ever read."""
    link = socket.socket()
    link.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
    link.connect(("127.0.0.1", port))
    return link


def open_page(port, source="127.0.0.1", **headers):
    page = WebSocket(connect(port, source), **headers)
    note("GET", "/api/live", page.status)
    return page


def closing(page):
    """The code with which a page is closed."""
    while not isinstance(closed := page.receive(), tuple):
        pass
    return closed[0]


def code(answer):
    return answer[0], json.loads(answer[2])["error"]["code"]


def wait_for(what, holds):
    until = time.monotonic() + 30
    while not holds():
        check(time.monotonic() < until, what)
        time.sleep(0.02)
    print(f"passed: {what}")


def wait_until_current(port):
    wait_for("the gateway has the server's values", lambda: all(
        server["state"] == "current"
        for server in json.loads(ask(port, "/api/servers")[2])["servers"]))


def check_files(port):
    status, headers, content = ask(port, "/")
    check(status == 200 and b"<html" in content and headers["Cache-Control"] == "no-cache", "the page")
    policy = headers["Content-Security-Policy"]
    check("default-src 'none'" in policy and "frame-ancestors 'none'" in policy
          and "unsafe" not in policy and headers["X-Content-Type-Options"] == "nosniff"
          and "Access-Control-Allow-Origin" not in headers, "it is confined", headers)
    check(ask(port, "/", If_None_Match=headers["ETag"])[::2] == (304, b""), "it is known")
    check(ask(port, "/", "HEAD")[::2] == (200, b"")
          and ask(port, "/api/servers")[1]["Cache-Control"] == "no-store", "nothing else is kept")
    for path in ("/../Guard.h", "/%2e%2e/Guard.h", "/%2e%2e%2fGuard.h", "//etc/passwd", "/page/"):
        check(send_raw(port, f"GET {path} HTTP/1.1") in (404, 400), f"no {path}")
    ask(port, "/none")


def check_tree(port):
    whole = json.loads(ask(port, "/api/tree")[2])
    check(whole["path"] == "" and [tree["path"] for tree in whole["children"]] == [
        "commandCoreRouter", "configCoreRouter", "persistentConfigCoreRouter", "statusCoreRouter"],
        "all trees", whole)
    node = json.loads(ask(port, f"{INPUT}?depth=0")[2])
    check("children" not in node and node["description"] == {"kind": "Group"}, "a node alone", node)
    values = json.loads(ask(port, f"{INPUT}?form=values&depth=1")[2])
    check(values["children"][2] == {"path": EQUALISER, "values": "4"}, "values alone", values)
    for query in ("depth=-1", "depth=x", "form=x"):
        check(ask(port, f"/api/tree?{query}")[0] == ask(port, f"{INPUT}?{query}")[0] == 400, query)
    check(code(ask(port, f"{INPUT}/x")) == (404, "unknown-path"), "no such path")
    check(ask(port, "/metrics")[0] == ask(port, "/api/openapi.json")[0] == 200, "and the rest")


def check_writes(port, server):
    def put(values, path=f"{INPUT}/label", **kinds):
        status, _, content = ask(port, path, "PUT", {"values": values}, **kinds)
        return status, json.loads(content)

    awkward = 'quote" back\\slash </script> \n\t\u0001\u007f é \U0001f600'
    for values in (awkward, ["1", "2"], None, "input1"):
        status, answer = put(values)
        check(status == 200 and answer["values"] == values
              and json.loads(ask(port, f"{INPUT}/label")[2])["values"] == values, repr(values), answer)
    status, answer = put("99", f"{INPUT}/equaliser")
    check(status == 200 and answer["invalid"] == ["Stored number is Oversized"], "invalid, but held")
    status, answer = put("8", "/api/tree/configCoreRouter/input2/equaliser")
    check((status, answer["error"]["code"], answer["values"]) == (409, "refused", "4"), "refused", answer)
    check(put("1", f"{INPUT}/none")[0] == 404, "no such path")
    for body in (b"garbage", b"{}", b'{"values":1}', b'{"values":["a",1]}', b'{"values":1,"values":""}'):
        check(code(ask(port, f"{INPUT}/label", "PUT", body)) == (400, "bad-values"), f"{body}")
    check(code(ask(port, f"{INPUT}/label", "PUT", b"x" * 300_000)) == (413, "too-large"), "too large")
    # By role: the address's, the token's, and what nobody may write.
    bearer = {"Authorization": f"Bearer {TOKEN}"}
    check(put("a", source="127.0.0.3")[0] == 403 and put("a", source="127.0.0.3", **bearer)[0] == 200
          and put("1", "/api/tree/configCoreRouter/input2/cursor", source="127.0.0.3", **bearer)[0] == 403
          and put("false", f"{INPUT}/enabled")[0] == put("1", "/api/tree/statusCoreRouter/lines")[0]
          == 403, "roles")
    server.process.send_signal(signal.SIGSTOP)
    status, answer = put("b")
    server.process.send_signal(signal.SIGCONT)
    check((status, answer["error"]["code"]) == (504, "timeout"), "no answer", answer)


def check_strangers(port):
    """Whoever is not meant to, or does not know how."""
    for host, status in (("localhost", 200), ("127.0.0.1:1", 200), ("[::1]:8080", 200), ("my.name", 200),
                         ("evil.example", 421), ("127.0.0.1.evil.example", 421), ("localhost@evil", 421),
                         ("a b", 421), ("", 421), ("evil.example:80", 421)):
        check(ask(port, "/api/servers", Host=host)[0] == status, f"Host {host}: {status}")
        check((open_page(port, Host=host).status == 101) == (status == 200), "and for a WebSocket")
    own = f"127.0.0.1:{port}"
    for origin, good in ((f"http://{own}", 1), (f"https://{own}", 1), ("http://127.0.0.1:1", 0),
                         ("http://evil.example", 0), ("null", 0)):
        check((open_page(port, Host=own, Origin=origin).status == 101) == good
              == (ask(port, INPUT, Origin=origin, Host=own)[0] == 200), f"Origin {origin}")
    for target in (INPUT, "/metrics", "/api/live", "/%61pi/events", "//x/api/tree", "/"):
        answers = {site: send_raw(port, f"GET {target} HTTP/1.1", f"Sec-Fetch-Site: {site}")
                   for site in ("cross-site", "same-site")}
        check({*answers.values()} == {200 if target == "/" else 403}, f"others lead to {target}", answers)
    check(ask(port, "/api/servers", source="127.0.0.9")[0] == 401
          and ask(port, "/api/servers", source="127.0.0.9", Authorization="Bearer x")[0] == 401
          and code(ask(port, "/api/servers", source="127.0.0.9", Authorization=f"Bearer {TOKEN}"))
          == (401, "token"), "no token is looked at just after a wrong one")
    check(ask(port, "/api/servers", source="127.0.0.8", Authorization=f"Bearer {TOKEN}")[0] == 200,
          "elsewhere it is")
    for text, status in ((b"\x16\x03\1garbage\r\n\r\n", b"400"), (b"GET / HTTP/1.1\r\nA: " + b"x" * 20_000,
                         b"431"), (b"GET / HTTP/9.9\r\n\r\n", b"400"),
                         (b"GET / HTTP/1.1\r\nContent-Length: -1\r\n\r\n", b"400"),
                         (b"PUT / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n1;" + b"x" * 600_000, b"400")):
        link = connect(port)
        link.sendall(text)
        answer = link.makefile("rb").read()
        check(answer.split()[1] == status and b'"error"' in answer, f"{text[:20]}: {status}", answer)
    for method in ("POST", "DELETE", "OPTIONS"):
        check(ask(port, INPUT, method)[1]["Allow"] == "GET, HEAD, PUT", f"no {method}")
    check(ask(port, "/api/live")[0] == 426, "no WebSocket")
    check(WebSocket(connect(port), protocol="other").status == 400, "another subprotocol")
    note("GET", "/api/live", 400)
    answers = [ask(port, "/", source="127.0.0.7")[0] for _ in range(600)]
    check(answers[0] == 200 and 429 in answers and ask(port, "/")[0] == 200, "a flood")


def check_page(port, client, server):
    page, other = open_page(port), open_page(port, "127.0.0.3")
    check(page.wait(type="hello")["mayWrite"] and not other.wait(type="hello")["mayWrite"], "rights")
    descriptions = page.wait(type="descriptions")["list"]
    rows = {row[1]: row for row in page.wait(type="nodes", last=True)["list"]}
    index, _, description, *_ = rows[EQUALISER]
    check(descriptions[description]["max"] == "15" and other.wait(type="nodes"), "nodes, described")

    def value_at(reader):
        while True:
            message = reader.receive()
            if message["type"] != "changes":
                check(message["type"] == "answer", "nothing is listed anew", message)
                continue
            for row in message["list"]:
                if row[0] == index:
                    return row[1:]

    run(client, "--server", f"127.0.0.1:{server.port}", "set", EQUALISER, "3")
    check(value_at(page) == value_at(other) == ["3", [], [], 1], "a change comes to all")
    page.send({"type": "write", "id": 5, "path": EQUALISER, "values": "-1"})
    answer = page.wait(type="answer", id=5)
    check(answer["ok"] and answer["invalid"] == ["Stored number is Undersized"], "an answer", answer)
    check(value_at(other)[0] == "-1", "and what it has changed")
    for reader, path, values, why in (
            (other, EQUALISER, "1", "not-allowed"), (page, f"{EQUALISER}/x", "1", "unknown-path"),
            (page, "configCoreRouter/input2/label", "x", "refused"), (page, EQUALISER, 1, "bad-values")):
        reader.send({"type": "write", "id": 6, "path": path, "values": values})
        answer = reader.wait(type="answer", id=6)
        check(not answer["ok"] and answer["code"] == why and answer["text"], why, answer)
    page.send({"type": "history", "id": 7, "path": "statusCoreRouter/framesSeen", "seconds": 60})
    points = page.wait(type="history", id=7)["points"]
    check(len(points) > 2 and all(a[0] < b[0] and a[1] < b[1] for a, b in zip(points, points[1:])),
          "the course of a number", points)
    page.send({"type": "watch", "nodes": ["configCoreRouter/input1"]})
    check({row[0] for row in page.wait(type="changes")["list"]} >= {index}, "what is watched")
    page.send({"type": "describe"})
    check(page.wait(type="descriptions", **{"from": 0})["list"] == descriptions, "once more")
    for text in (b"garbage", b"[]", b'{"type":"none"}'):
        page.send(text)
        check(page.wait(type="error")["code"] == "bad-message", f"{text}")
    late = open_page(port, "127.0.0.5")
    late.send({"type": "token", "token": TOKEN})
    check(late.receive()["type"] == "hello", "a token in the first message")
    long_path = {"type": "history", "id": 1, "path": "x" * 200_000}  # comes back in each answer
    for source, message, count, status in (
            ("127.0.0.1", b"x" * 300_000, 1, 1009), ("127.0.0.1", b"\xff", 1, 1007),
            ("127.0.0.1", {"type": "none"}, 1100, 1008), ("127.0.0.1", long_path, 60, 1013),
            ("127.0.0.6", {"type": "watch", "nodes": "all"}, 1, 1008)):
        page = open_page(port, source)
        for _ in range(count):
            page.send(message)
        check(closing(page) == status, f"closed with {status}")


def check_limits(port):
    pages = []
    while (page := open_page(port)).status == 101:
        pages.append(page)
    listeners = []
    while True:
        link = connect(port)
        link.sendall(b"GET /api/events?under=none HTTP/1.1\r\nHost: localhost\r\n\r\n")
        status = int(link.makefile("rb").readline().split()[1])
        note("GET", "/api/events", status)
        if status != 200:
            break
        listeners.append(link)
    check((page.status, status, len(pages), len(listeners)) == (503, 503, 64, 64), "as many as are let in")
    for end in (*listeners, *(page.link for page in pages)):
        end.shutdown(socket.SHUT_RDWR)


def check_loss(gateway, server_program, server, other):
    """Two servers, of which one goes and comes back, and then another in its place."""
    def servers(name):
        text = ask(program.port, "/metrics")[2].decode()
        return re.findall(fr"datacore_value{{.*server=\"{name}\"", text), re.findall(
            fr"datacore_server_up{{.*server=\"{name}\"}} (.)", text)

    with Listening(gateway, "--port", "0", "--allow-writes", "--server", f"a=127.0.0.1:{server.port}",
                   "--server", f"b=127.0.0.1:{other.port}") as program:
        wait_until_current(program.port)
        check(ask(program.port, "/api/tree/b/" + EQUALISER, "PUT", {"values": "2"})[0] == 200, "b's")
        check([json.loads(ask(program.port, f"/api/tree/{name}/{EQUALISER}")[2])["values"]
               for name in "ab"] == ["-1", "2"], "but not a's")
        page = open_page(program.port)
        page.wait(type="nodes", last=True)
        check(len(servers("a")[0]) > 9 and servers("a")[1] == ["1"], "both are shown")
        server.process.kill()
        page.wait(type="server", name="a", state="waiting")
        while page.wait(type="changes")["list"][0][-1] != 2:
            pass
        check(servers("a") == ([], ["0"]) and servers("b")[1] == ["1"]
              and len(servers("b")[0]) > 9, "stale values are no samples")
        check(ask(program.port, "/api/tree/a/" + EQUALISER, "PUT", {"values": "2"})[0] == 502, "no link")
        leaf = "/api/tree/a/statusCoreRouter/load/group0/leaf9"
        with Listening(server_program, "--port", server.port, "--leaves", "10"):
            page.wait(type="server", name="a", state="current")
            check(json.loads(ask(program.port, f"/api/tree/a/{EQUALISER}")[2])
                  ["state"] == "current" and len(servers("a")[0]) > 9, "it is back")
            page.wait(type="nodes", last=True)
            check(ask(program.port, leaf)[0] == 200, "with more")
        with Listening(server_program, "--port", server.port):
            page.wait(type="removed")
            check(ask(program.port, leaf)[0] == 404 and ask(
                program.port, f"/api/tree/a/{EQUALISER}")[0] == 200, "what it has now")


def check_slow_readers(gateway, server_program, limit_mb):
    """A page that does not read for a while gets what is new, not what it has missed. Who reads nothing of
    much takes little memory."""
    with serve(server_program, "--leaves", "20000", "--changes-per-second", "20000") as server, Listening(
            gateway, "--port", "0", "--server", f"127.0.0.1:{server.port}",
            env={**os.environ, "ASAN_OPTIONS": "quarantine_size_mb=1"}) as program:
        wait_until_current(program.port)
        def memory():
            return int(pathlib.Path(f"/proc/{program.process.pid}/statm").read_text().split()[1]) // 256

        page = WebSocket(lazy(program.port))
        page.wait(type="nodes", last=True)
        time.sleep(2)
        before = memory()
        time.sleep(3)
        after, now, messages = memory(), time.time() * 1e3, 0
        while max(int(row[1]) for row in page.wait(type="changes")["list"] if len(row[1]) == 13) < now:
            messages += 1
        check(messages < 100 and after - before < limit_mb / 10, "the newest values, and no memory",
              (messages, before, after))
        before, links = memory(), [WebSocket(lazy(program.port)) for _ in range(20)]
        for _ in range(20):
            links.append(lazy(program.port))
            links[-1].sendall(b"GET /api/events HTTP/1.1\r\nHost: localhost\r\n\r\n")
        time.sleep(1)
        check(memory() - before < limit_mb, "40 that read nothing", (before, memory()))
        status = 0
        while status != 503:
            links.append(lazy(program.port))
            links[-1].sendall(b"GET /api/tree HTTP/1.1\r\nHost: localhost\r\n\r\n")
            status = int(links[-1].recv(12).split()[1])
        check(memory() - before < 200 and len(links) > 45, "no end of trees", (len(links), before, memory()))


def check_tls(gateway, server, folder):
    trust = ssl.create_default_context(cafile=folder / "authority.pem")
    trust.check_hostname = False
    with tempfile.NamedTemporaryFile("w", suffix=".conf") as roles, tempfile.TemporaryDirectory() as page:
        pathlib.Path(page, "own.txt").touch()
        pathlib.Path(page, "far.txt").symlink_to("/etc/hostname")
        roles.write('role one all\ngrant one certificate "operator"\n')
        roles.flush()
        with Listening(gateway, "--port", "0", "--server", f"127.0.0.1:{server.port}", "--page", page, "--roles",
                       roles.name, "--https-certificate", folder / "server.pem", "--https-key",
                       folder / "end.key", "--https-trust", folder / "authority.pem") as program:
            check(ask(program.port, "/own.txt", context=trust)[0] == 200
                  and ask(program.port, "/api/tree", context=trust)[0] == 403, "no certificate, no role")
            trust.load_cert_chain(folder / "client.pem", folder / "end.key")
            check(ask(program.port, "/api/tree", context=trust)[0] == 200, "a certificate")
            session = None
            for _ in range(2):
                link = trust.wrap_socket(connect(program.port), session=session)
                check(WebSocket(link).receive()["type"] == "hello", "a WebSocket over TLS")
                session = link.session
            check(link.session_reused, "the second time with the session of the first")
            link = trust.wrap_socket(connect(program.port))
            check(WebSocket(link, Origin="http://localhost").status == 403, "but not for a page without TLS")
            check(ask(program.port, "/own.txt", context=trust)[0] == 200
                  and ask(program.port, "/far.txt", context=trust)[0] == 404, "no link leads out of the page")


def check_examples(port):
    """The commands of the documents print what stands there."""
    text = (ROOT / "docs/areas/gateway.md").read_text(encoding="utf-8")
    block = re.search(r"<!-- commands -->\n```\n(.*?)```", text, re.S)[1]
    for command, expected in re.findall(r"^\$ (curl .*)\n((?:[^$].*\n)*)", block, re.M):
        words = [word.replace("localhost:8080", f"localhost:{port}") for word in shlex.split(command)]
        shown = run(*words).stdout
        check(shown.strip() == expected.strip(), command, shown)


def check_prometheus(port, server):
    """What the sample settings scrape is there for the queries of the dashboard."""
    if not shutil.which("prometheus") or not shutil.which("promtool"):
        print("not tried: there is no prometheus")
        return
    text = ask(port, "/metrics")[2].decode()
    result = run("promtool", "check", "metrics", text=text)
    check((result.returncode, result.stdout + result.stderr) == (0, ""), "promtool is content", result)
    check(f'datacore_value{{path="{EQUALISER}"}} ' in text
          and 'datacore_value{path="statusCoreRouter/temperature",unit="°C"} 41\n' in text
          and 'datacore_value{path="configCoreRouter/subImages",index="3"} 4\n' in text
          and f'datacore_valid{{path="{EQUALISER}"}} 0\n' in text
          and 'text="Temperature of the FPGA."} 1\n' in text, "samples", text)
    samples = ROOT / "docs/dashboards"
    with socket.create_server(("127.0.0.1", 0)) as free:
        own = free.getsockname()[1]
    with tempfile.TemporaryDirectory() as folder:
        settings = pathlib.Path(folder, "prometheus.yml")
        settings.write_text((samples / "prometheus.yml").read_text(encoding="utf-8").replace(
            "localhost:8080", f"localhost:{port}").replace("15s", "1s"), encoding="utf-8")
        check(run("promtool", "check", "config", str(settings)).returncode == 0, "sample settings")
        with subprocess.Popen(["prometheus", f"--config.file={settings}", f"--storage.tsdb.path={folder}/d",
                               f"--web.listen-address=127.0.0.1:{own}"],
                              stderr=subprocess.DEVNULL) as prometheus:
            try:
                def query(text):
                    with contextlib.suppress(OSError, http.client.HTTPException, ValueError):
                        link = http.client.HTTPConnection("127.0.0.1", own, 5)
                        link.request("GET", "/api/v1/query?query=" + urllib.parse.quote(text))
                        return json.loads(link.getresponse().read()).get("data", {}).get("result")

                wait_for("it has scraped", lambda: len(query("datacore_server_up[1h]") or [
                    {"values": []}]) and len((query("datacore_server_up[1h]") or [
                        {"values": []}])[0]["values"]) > 2)
                board = json.loads((samples / "grafana.json").read_text(encoding="utf-8"))
                for each in (target["expr"] for panel in board["panels"] for target in panel["targets"]):
                    each = each.replace("$instance", ".*").replace("$path", ".*").replace(
                        "$__rate_interval", "30s")
                    check(query(each), f"the dashboard shows {each}", query(each))
                temperature = query('datacore_value{path="statusCoreRouter/temperature"}')[0]
                check(temperature["value"][1] == "41" and temperature["metric"]["unit"] == "°C", "a value")
            finally:
                prometheus.kill()


def main(gateway, server_program, client, tls, *flags):
    with contextlib.ExitStack() as stack:
        folder = pathlib.Path(stack.enter_context(tempfile.TemporaryDirectory()))
        for name, text in (("server.conf", SERVER_ROLES), ("roles.conf", ROLES)):
            (folder / name).write_text(text, encoding="utf-8")
        server = stack.enter_context(serve(server_program, "--roles", folder / "server.conf"))
        other = stack.enter_context(serve(server_program))
        program = stack.enter_context(Listening(
            gateway, "--port", "0", "--server", f"127.0.0.1:{server.port}", "--allow-writes", "--roles",
            folder / "roles.conf", "--allow-host", "my.name"))
        plain = stack.enter_context(Listening(
            gateway, "--port", "0", "--server", f"127.0.0.1:{other.port}"))
        port = program.port
        wait_until_current(port)
        wait_until_current(plain.port)
        check(ask(plain.port, f"{INPUT}/label", "PUT", {"values": "x"})[0] == 403
              and not open_page(plain.port).receive()["mayWrite"], "read-only unless told otherwise")
        check_examples(plain.port)
        half, silent = connect(port), open_page(port, "127.0.0.2")
        half.sendall(b"GET / HTTP/1.1\r\n")
        check_files(port)
        check_tree(port)
        check_writes(port, server)
        check_strangers(port)
        check_page(port, client, server)
        check_limits(plain.port)
        check_slow_readers(gateway, server_program, 60 if flags else 20)  # a sanitizer has a shadow of it
        check_tls(gateway, other, pathlib.Path(tls))
        check_prometheus(port, server)
        check_loss(gateway, server_program, server, other)
        check(closing(silent) == 1008 and half.recv(100) == b"", "who says nothing for long is dropped")
        (folder / "token").write_text(TOKEN + "\n", encoding="utf-8")
        (folder / "token.conf").write_text("role any read\ngrant any token " + ROLES.split("token ")[1]
                                           .split()[0], encoding="utf-8")
        guarded = stack.enter_context(serve(server_program, "--roles", folder / "token.conf"))
        wait_until_current(stack.enter_context(Listening(
            gateway, "--port", "0", "--server", f"127.0.0.1:{guarded.port}", "--token-file",
            folder / "token")).port)
        program.process.terminate()
        check(program.end()[1] == 0, "it ends when told to")
    described = {(path, method.upper(), status) for path, item in DOCUMENT["paths"].items()
                 for method in ("get", "put") if method in item
                 for status in item[method]["responses"] if status != "default"}
    check(described <= seen, "all that is described was served", described - seen)
    general = {"400", "401", "403", "405", "421", "429", "431"}
    check(not {one for one in seen - described if one[2] not in general}, "and nothing else",
          seen - described)


main(*sys.argv[1:])
