"""The gateway's page in a real browser.

usage: page.py DATACORE_SERVER DATACORE_CLIENT DATACORE_GATEWAY FOLDER [--screenshots DIRECTORY]
       page.py DATACORE_SERVER DATACORE_CLIENT DATACORE_GATEWAY FOLDER --load BUSY_SERVER

FOLDER keeps what is fetched for the test alone.
"""
import contextlib
import json
import pathlib
import signal
import socket
import struct
import sys
import tempfile
import threading
from urllib.parse import urlencode

from browser import Browser
from programs import EQUALISER, ROOT, Listening, check, json_packet, run, serve

PAGE = ROOT / "sw" / "datacore_gateway" / "page"
OTHER = "configCoreRouter/input2/equaliser"
RULES = """
role operator write configCoreRouter/input1
grant operator address 127.0.0.0/8
"""
HOSTILE = "<img src=x onerror='window.hacked=1'>"
FIRST_PAINT_MS, LONG_TASK_MS, LAG_MS, LOAD_S = 1000, 100, 250, 20
LEAVES, CHANGES_A_SECOND = 10000, 2000


def open_gateway(gateway, server_port, *words, port=0):
    return Listening(gateway, "--server", f"127.0.0.1:{server_port}", "--port", port, "--page", PAGE,
                     *words)


def address(gateway, *nodes, view="nodes"):
    chosen = [("node", node) for node in nodes]
    return f"http://127.0.0.1:{gateway.port}/#" + urlencode([*chosen, ("view", view)])


def panel(path):
    return f'article[aria-label="{path}"]'


def check_tree(browser, client, server, gateway):
    browser.open(address(gateway, EQUALISER, OTHER))
    paths = run(client, "--port", str(server.port), "list").stdout.split()
    browser.wait_text("#tree-note", f"{len(paths)} nodes")
    shown = browser.run("return [...document.querySelectorAll('.tree-row .name')].map(e => e.textContent)")
    check([*dict.fromkeys(path.split("/")[0] for path in paths)]
          == [name for name in shown if name.endswith("Router")], "the page shows the tree", shown)
    run(client, "--port", str(server.port), "set", EQUALISER, "9")
    browser.wait_text(f"{panel(EQUALISER)} .big-value", "9")
    run(client, "--port", str(server.port), "set", EQUALISER, "99")
    browser.wait_text(f"{panel(EQUALISER)} .reasons", "Stored number is Oversized")
    browser.wait_text(".tree-row[aria-level='1'] .badge", "1")
    check(browser.find("#summary").text == "1 invalid", "a change by datacore_client appears, with its reason")


def check_edit(browser, client, server, gateway):
    first = browser.driver.current_window_handle
    browser.driver.switch_to.new_window("tab")
    second = browser.driver.current_window_handle
    browser.open(address(gateway, EQUALISER, "configCoreRouter/input1"))
    browser.driver.switch_to.window(first)
    browser.run(f"document.querySelector('{panel(EQUALISER)} [role=spinbutton]').focus()")
    browser.type("12\n")
    browser.wait_text(f"{panel(EQUALISER)} .write-status.accepted", "Accepted")
    browser.wait("document.getElementById('summary').textContent === 'All valid'")
    check(not browser.run("return [...document.querySelectorAll('.badge')].some(e => e.textContent)"),
          "what is valid again is not counted")
    got = run(client, "--port", str(server.port), "get", EQUALISER).stdout
    check(got.startswith("12 "), "an edit in the page reaches the server", got)
    browser.driver.switch_to.window(second)
    browser.wait_text(f"{panel(EQUALISER)} .big-value", "12")
    browser.find(f"{panel('configCoreRouter/input1')} [role=switch]").click()
    browser.wait("document.querySelector('[role=switch]').ariaChecked === 'false'")
    got = run(client, "--port", str(server.port), "get", "configCoreRouter/input1/enabled").stdout
    check(got.startswith("false "), "and other pages, which write as well", got)
    browser.driver.close()
    browser.driver.switch_to.window(first)

    server.process.send_signal(signal.SIGSTOP)
    browser.type("\ue013" * 3)  # arrow up, in the box that has the focus
    browser.wait_text(f"{panel(EQUALISER)} .write-status.pending", "Waiting")
    server.process.send_signal(signal.SIGCONT)
    browser.wait_text(f"{panel(EQUALISER)} .write-status.accepted", "Accepted")
    browser.wait_text(f"{panel(EQUALISER)} .big-value", "15")
    check(True, "a write without an answer is pending until it comes, and what follows waits behind it")

    run(client, "--port", str(server.port), "set", "configCoreRouter/input1/cursor", "0,0")
    browser.open(address(gateway, "configCoreRouter/input1/cursor", OTHER))
    browser.wait_text(f"{panel('configCoreRouter/input1/cursor')} .big-value", "0,0")
    browser.find("canvas.raster").click()  # its middle, but for half a pixel of the page
    place = f"{panel('configCoreRouter/input1/cursor')} .big-value"
    point = f"document.querySelector('{place}').textContent.split(',')"
    x, y = (int(number) for number in browser.wait(f"{point}[0] !== '0' && {point}"))
    browser.type("\ue014")
    browser.wait_text(place, f"{x + 1},{y}")
    check(abs(x - 960) < 8 and abs(y - 540) < 8, "a click on a raster is a point that arrow keys move", (x, y))
    browser.find(f"{panel(OTHER)} .step:last-child").click()
    browser.wait_text(f"{panel(OTHER)} .write-status.refused", "server")
    refused = browser.find(f"{panel(OTHER)} .write-status").text
    check(len(refused) > 20 and browser.find(f"{panel(OTHER)} [role=spinbutton]").get_attribute("value") == "4"
          and "refused" in browser.run("return document.getElementById('announcer').textContent"),
          "a refused write says why, and what stands is shown", refused)


def check_keys(browser, gateway):
    """Nothing but keys: search, the tree, and what was chosen."""
    browser.open(address(gateway))
    browser.driver.refresh()
    browser.wait("document.querySelectorAll('.tree-row').length > 5")
    browser.type("/", "input3 equal")
    browser.wait_text("#tree-note", "1 match")
    browser.type("\ue015")
    focused = "document.activeElement.querySelector('.name')?.textContent"
    browser.wait(f"{focused} === 'configCoreRouter'")
    browser.type("\ue010", "\n")  # End
    browser.find(panel("configCoreRouter/input3/equaliser"))
    browser.run("let s = document.getElementById('search'); s.value = ''; s.dispatchEvent(new Event('input'))")
    browser.find(".tree-row[aria-level='1']").click()
    rows = browser.run("return document.querySelectorAll('.tree-row').length")
    browser.type("\ue012")  # arrow left closes
    browser.wait(f"document.querySelectorAll('.tree-row').length < {rows}")
    browser.type("\ue014", "\ue014")  # opens again, and goes to the first below
    browser.wait("document.activeElement.ariaLevel === '2'")
    browser.type("s")
    browser.wait(f"{focused}[0] === 's'")
    tabbable = browser.run("return document.querySelectorAll('.tree-row[tabindex=\"0\"]').length")
    check(tabbable == 1, "tree and search obey keys, and Tab knows one row", tabbable)


def check_log(browser, client, server, gateway):
    browser.run("location.hash = 'view=log'")
    for value in ("=1+1", 'a "b", c'):
        run(client, "--port", str(server.port), "set", "configCoreRouter/input1/label", value)
        browser.wait_text(".log-row", value)
    run(client, "--port", str(server.port), "set", EQUALISER, "5")
    browser.wait_text(".log-row", "equaliser")
    browser.find("#view-log input").send_keys("label -nothing")
    browser.wait("[...document.querySelectorAll('.log-row')].every(e => e.textContent.includes('label'))")
    browser.run("URL.createObjectURL = (file) => {"
                " file.text().then((text) => { window.saved = text; }); return '#'; }")
    browser.driver.find_element("xpath", "//button[text()='Export CSV']").click()
    lines = browser.wait("window.saved").split("\r\n")
    check(len(lines) == 4 and lines[0] == "time,path,before,value,unit,state,reasons"
          and ",'=1+1,,current," in lines[1] and ',"a ""b"", c",,current,' in lines[2],
          "the log is filtered and exported", lines)
    browser.open("about:blank")
    browser.open(address(gateway, EQUALISER))
    summary = "document.querySelector('.plot-summary').textContent.trim()"
    browser.wait(f"{summary} === 'always 5'")
    browser.driver.find_element("xpath", "//button[text()='1 hour']").click()
    browser.wait(f"{summary} === '4 to 99'")
    check(True, "a number has its course since the page was opened, and that of the last hour")


def check_markup(browser, gateway):
    """A server whose every text is markup."""
    values = {HOSTILE: {"data": HOSTILE, "reasonsForBeingInvalid": [], "reasonsForBeingInactive": []}}
    tree = {f"{name}TreeObject": {"Core": "status" + name} for name in ("Config", "Command", "PersistentConfig")}
    about = {"kind": HOSTILE, "unit": HOSTILE, "text": HOSTILE, "values": [HOSTILE, "other"], "most": 1}

    def answer(listener):
        link, _ = listener.accept()
        stream = link.makefile("rb")

        def send(**fields):
            link.sendall(json_packet(json.dumps(fields).encode()))
        while head := stream.read(8):
            asked = json.loads(stream.read(struct.unpack(">HHI", head)[2])[4:])
            client = asked["ClientID"]
            if asked["Class"] == "DatacoreRequestListPacket":
                send(Class="DatacorePathRadixTreePacket", ClientId=client, **tree,
                     StatusTreeObject={"Core": "status", "Kids": [{"Core": HOSTILE}]})
                send(Class="DatacorePacket", Path=f"status/{HOSTILE}", Datacore=values)
            elif asked["Class"] == "DatacoreDescriptionRequestPacket":
                send(Class="DatacoreDescriptionPacket", ClientID=client, Last=True,
                     Descriptions=[{"Is": about, "Paths": [f"status/{HOSTILE}"]}])

    with socket.create_server(("127.0.0.1", 0)) as listener:
        threading.Thread(target=answer, args=(listener,), daemon=True).start()
        with open_gateway(gateway, listener.getsockname()[1], "--allow-writes") as running:
            browser.open(address(running, f"status/{HOSTILE}"))
            browser.wait("[...document.querySelectorAll('.tree-row .name')]"
                         ".some(e => e.textContent === arguments[0])", HOSTILE)
            for place in ("h2", ".big-value", ".unit", ".about", "option"):
                browser.wait_text(f"article.leaf {place}", HOSTILE)
            check(browser.run("return document.images.length === 0 && window.hacked === undefined"),
                  "markup in names, values and descriptions stays text")


def check_return(browser, server_program, gateway_program):
    """Server and gateway go and come back, each at its port; the page is not touched."""
    def kill(program):
        program.process.kill()
        program.process.wait()

    with contextlib.ExitStack() as running:
        server = running.enter_context(serve(server_program))
        gateway = running.enter_context(open_gateway(gateway_program, server.port))
        browser.open(address(gateway, EQUALISER))
        browser.wait_text(f"{panel(EQUALISER)} .chip", "Valid")
        check(browser.find("#mode").is_displayed() and not browser.find(f"{panel(EQUALISER)} .step").is_enabled(),
              "a page that may not write says so and lets nobody try")
        is_back = "!document.querySelector('.is-stale') && document.getElementById('notice').hidden"
        kill(server)
        browser.wait_text(f"{panel(EQUALISER)} .chip.stale", "Stale")
        browser.wait_text("#notice", "No link to 127.0.0.1")
        running.enter_context(Listening(server_program, "--port", server.port))
        browser.wait(is_back)
        check(True, "a killed server shows as stale, and comes back")
        kill(gateway)
        browser.wait_text("#notice", "No link to the gateway")
        browser.wait(f"document.querySelector('{panel(EQUALISER)}.is-stale .chip.stale')")
        browser.wait("document.querySelectorAll('.tree-row.is-stale').length > 0")
        running.enter_context(open_gateway(gateway_program, server.port, port=gateway.port))
        browser.wait(is_back)
        check(True, "and so does the gateway")


def check_token(browser, server, gateway, folder):
    rules = pathlib.Path(folder, "gateway.conf")
    digest = run("sha256sum", text="open sesame").stdout.split()[0]
    rules.write_text(f"role all_of_it all\ngrant all_of_it token {digest}\n", encoding="utf-8")
    rules.chmod(0o600)
    for token in ("wrong", "open sesame"):  # a gateway each: after a wrong one it is deaf for a while
        with open_gateway(gateway, server.port, "--roles", str(rules)) as running:
            browser.open(address(running))
            browser.find(".token input").send_keys(token, "\n")
            browser.wait_text("#notice", "not taken") if token == "wrong" else browser.wait(
                "document.querySelectorAll('.tree-row').length > 5 && document.getElementById('notice').hidden")
    check("sesame" not in json.dumps(browser.run("return {...localStorage, ...sessionStorage}")),
          "a token opens the tree, and is kept nowhere")


def check_rules(browser, gateway, folder):
    """The rules of axe-core for the views, dark and light, wide and narrow."""
    fetched = run("python3", str(ROOT / "tools" / "page_libraries.py"), "axe", folder)
    if fetched.returncode != 0:
        print(f"not tested: axe-core's rules; {fetched.stderr.strip()}")
        return
    axe = pathlib.Path(fetched.stdout.strip()).read_text(encoding="utf-8")
    for theme in ("dark", "light"):
        browser.prefer(theme)
        for view in ("nodes", "records", "log"):
            browser.open("about:blank")
            browser.open(address(gateway, EQUALISER, "configCoreRouter", "configCoreRouter/input1/cursor",
                                 "configCoreRouter/subImages", "statusCoreRouter/ptpOffset", view=view))
            browser.wait("document.querySelectorAll('.tree-row').length > 5")
            browser.run(axe)
            found = browser.driver.execute_async_script(
                "axe.run().then(r => arguments[0]({passes: r.passes.length, violations: r.violations.map("
                "v => [v.id, v.nodes.slice(0, 3).map(n => [n.html.slice(0, 120), n.failureSummary])])}))")
            check(found["passes"] > 15 and not found["violations"], f"axe-core's rules, {view}, {theme}",
                  json.dumps(found, indent=1)[:4000])


def check_sizes(browser, gateway):
    for width, height in ((400, 800), (3840, 2160)):
        browser.resize(width, height)
        browser.open("about:blank")
        browser.open(address(gateway, EQUALISER, "configCoreRouter/input1"))
        browser.find(f"{panel(EQUALISER)} .big-value")
        wide = browser.run("return [document.documentElement.scrollWidth, document.getElementById('view-nodes')"
                           ".scrollWidth - document.getElementById('view-nodes').clientWidth]")
        check(wide[0] <= width and wide[1] <= 0, f"nothing is cut off at {width} pixels", wide)
    browser.resize(1280, 800)


def check_editors(browser, client, port, gateway):
    """Those of the other kinds, and what they write."""
    listed, mac = "configCoreRouter/subImages", "persistentConfigCoreRouter/macAddress"
    browser.open(address(gateway, listed, mac, EQUALISER))
    browser.wait_text(f"{panel(mac)} .big-value", "02:15:e9:2b:99:3c")
    browser.run("document.querySelector('textarea').select()")
    browser.find("textarea").send_keys("4\n2")
    browser.find(".list-editor button").click()
    browser.run(f"document.querySelector('{panel(mac)} input').focus()")  # which selects all of it
    browser.type("00-00-00-00-00-0b\n")
    browser.find(f"{panel(EQUALISER)} input[type=range]").send_keys("\ue010")  # End: the limit
    for path, expected in ((listed, "4, 2"), (mac, "00:00:00:00:00:0b"), (EQUALISER, "15")):
        browser.wait(f"document.querySelector('{panel(path)} .big-value').textContent === '{expected}'")
    got = [run(client, "--port", str(port), "get", path).stdout.split("  ")[0] for path in (listed, mac, EQUALISER)]
    check(got[1:] == ["11", "15"], "a list, an address and a slider are written", got)
    themes = []
    for _ in range(3):  # dark, light, and as the system has it
        browser.find("#theme").click()
        themes.append(browser.run("return getComputedStyle(document.body).backgroundColor"))
    check(themes[0] == themes[2] != themes[1], "the theme can be switched", themes)


def check_records(browser, server, client, gateway, screenshots):
    """The demonstration's records are drawn; its numbers have a course. Pictures for the documents."""
    with serve(server, "--demonstration") as running, \
            open_gateway(gateway, running.port, "--allow-writes") as open_one:
        for theme in ("light", "dark"):
            browser.prefer(theme)
            browser.open("about:blank")
            browser.open(address(open_one, view="records"))
            browser.wait("document.querySelectorAll('.record').length >= 4")
            browser.wait("['.eye', '.meters', '.record-JitterSpectrum canvas'].every(name => { const c = "
                         "document.querySelector(name); return c && new Set(new Uint32Array(c.getContext('2d')"
                         ".getImageData(0, 0, c.width, c.height).data.buffer)).size > 3; })")
            browser.wait("document.querySelector('.caption-screen').textContent.trim().length > 10")
        check(True, "eye, spectrum, meters and captions are drawn")
        if screenshots:
            browser.resize(1280, 1010)
            browser.save(screenshots, "page_records")
            browser.resize(1280, 800)
        browser.open("about:blank")
        browser.open(address(open_one, "configCoreRouter/input3/equaliser", "statusCoreRouter/ptpOffset",
                             "configCoreRouter/input3", "statusCoreRouter/inputs"))
        browser.wait("document.querySelectorAll('.plot canvas').length >= 2")
        browser.wait("document.querySelectorAll('.plot-summary')[1].textContent.includes(' to ')")
        if screenshots:
            browser.run("document.querySelector('article [role=spinbutton]').focus()")
            browser.type("99\n")
            browser.wait("performance.now() > 15000")
            browser.save(screenshots, "page_nodes")
            browser.prefer("light")
            browser.open(address(open_one, "statusCoreRouter/ptpOffset", "statusCoreRouter/temperature",
                                 "statusCoreRouter/inputs/input1/jitter", "statusCoreRouter/audioLevels/channel1"))
            browser.find(panel("statusCoreRouter/audioLevels/channel1"))
            browser.wait("performance.now() > 30000")
            browser.save(screenshots, "page_plots")
            browser.prefer("dark")
        check_editors(browser, client, running.port, open_one)


# Each leaf holds the time of its change; a text that replaces another is a change that has come.
WATCH = """
window.long = []; window.lags = [];
new PerformanceObserver((list) => window.long.push(...list.getEntries().map((e) => e.duration)))
    .observe({ type: 'longtask', buffered: true });
const look = (records) => {
    const seen = new Set(records.filter((r) => r.removedNodes.length > 0).map((r) => r.target));
    for (const e of seen) {
        if (e?.classList?.contains('value')) {
            const time = Number(e.textContent.replace(/\\D/g, ''));
            if (time > 1e12) { window.lags.push(Date.now() - time); }
        }
    }
};
document.addEventListener('DOMContentLoaded', () =>
    new MutationObserver(look).observe(document.body, { subtree: true, childList: true }));
"""


def measure_load(url, pages=2):
    """First paint and longest task of some pages at once, and how late the slowest percent of changes was."""
    paints, longest, lags = [], 0, []
    with Browser() as browser:
        for number in range(pages):
            if number > 0:
                browser.driver.switch_to.new_window("window")
            browser.driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": WATCH})
            browser.open(url)
            browser.wait("document.querySelectorAll('.table-row').length > 10")
            paints += browser.run("return ['first-contentful-paint', 'tree-shown'].map("
                                  "(name) => performance.getEntriesByName(name)[0].startTime)")
            browser.find("#search").send_keys("leaf")  # all leaves are rows
            browser.wait(f"document.getElementById('tree').scrollHeight > {LEAVES * 20}")
            browser.run("setInterval(() => { document.getElementById('tree').scrollTop += 137; }, 500)")
        browser.run("window.until = performance.now() + arguments[0]", LOAD_S * 1000)
        browser.wait("performance.now() > window.until")
        for handle in browser.driver.window_handles:
            browser.driver.switch_to.window(handle)
            rows, tasks, seen = browser.run(
                "return [document.querySelectorAll('.tree-row').length, window.long, window.lags]")
            check(rows < 100 and len(seen) > 100, "only rows in sight are elements, and those are live",
                  (rows, len(seen)))
            longest = max(longest, *tasks, 0)
            lags += seen
        check(not browser.errors(), "the pages complain of nothing")
    return max(paints[::2]), max(paints[1::2]), longest, sorted(lags)[len(lags) * 99 // 100]


def check_load(gateway, server_program):
    """What else the machine does can only make it worse, so the best of three counts."""
    with serve(server_program, "--leaves", LEAVES, "--changes-per-second", CHANGES_A_SECOND) as server, \
            open_gateway(gateway, server.port) as running:
        url = address(running, "statusCoreRouter/load/group1", "statusCoreRouter/load/group2/leaf0")
        best = [float("inf")] * 4
        for _ in range(3):
            found = measure_load(url)
            print("first paint {:.0f} ms, the tree {:.0f} ms, longest task {:.0f} ms, "
                  "99 % of changes within {:.0f} ms".format(*found))
            best = [*map(min, best, found)]
            if best[0] < FIRST_PAINT_MS and best[2] < LONG_TASK_MS and best[3] < LAG_MS:
                break
        check(best[0] < FIRST_PAINT_MS, f"first paint is below {FIRST_PAINT_MS} ms", best)
        check(best[2] < LONG_TASK_MS, f"no task takes {LONG_TASK_MS} ms", best)
        check(best[3] < LAG_MS, f"99 % of changes are shown within {LAG_MS} ms", best)


def main(server, client, gateway, folder, option=None, value=None):
    pathlib.Path(folder).mkdir(parents=True, exist_ok=True)
    if option == "--load":
        check_load(gateway, value)
        return
    with tempfile.TemporaryDirectory() as temporary, Browser() as browser:
        rules = pathlib.Path(temporary, "roles.conf")
        rules.write_text(RULES, encoding="utf-8")
        rules.chmod(0o600)
        with serve(server, "--roles", str(rules)) as guarded, \
                open_gateway(gateway, guarded.port, "--allow-writes") as running:
            check_tree(browser, client, guarded, running)
            check_edit(browser, client, guarded, running)
            check_keys(browser, running)
            check_log(browser, client, guarded, running)
            check_token(browser, guarded, gateway, temporary)
            check_sizes(browser, running)
            check_rules(browser, running, folder)
        check_markup(browser, gateway)
        check_return(browser, server, gateway)
        check_records(browser, server, client, gateway, value if option == "--screenshots" else None)
        errors = browser.errors()
        check(not errors, "the page complains of nothing", errors)


if __name__ == "__main__":
    main(*sys.argv[1:])
