"""The host as a whole: exit value, words to the runner, the log socket.

usage: host.py INFRASTRUCTURE_TEST
"""
import os
import re
import signal
import socket
import subprocess
import sys
import xml.etree.ElementTree

import namespaces
from programs import check, run

PORT = 4004
ENSURE = "Ensure tests passed"
# A few quick cases stand for all: the cases themselves are CTest's own business.
FEW_CASES = f"{ENSURE},Socket errors have names,Parity bits*"


def junit_cases(report):
    """Each case's name in a JUnit report, and whether it failed."""
    root = xml.etree.ElementTree.fromstring(report[report.index("<?xml"):])
    return {case.get("name"): case.find("failure") is not None for case in root.iter("testcase")}


def check_log_lines(log, result):
    # <priority>time program: text, the priority being facility user (1) times 8 plus the severity.
    form = re.compile(r"<(\d+)>\w{3} [ \d]\d \d\d:\d\d:\d\d infrastructure_test: "
                      r"\[\d\d/\d\d/\d\d\]\[tid:\d+\]\[([TDIWEC])\]> ([^\n]*)")
    severities = {"I": 6, "W": 4, "E": 3, "C": 2}
    texts = []
    for line in log.read_until("multiple '='"):
        match = form.fullmatch(line)
        check(match is not None, f"the log line has the stated form: {line!r}")
        check(int(match[1]) == 8 + severities[match[2]], f"its priority is user.{match[2]}")
        texts.append(match[3])
        check(match[3] not in result.stdout, "nothing of it is on standard output", result)
    check(texts[0] == "_____ NetworkConnectionTests _____", "the first line is the banner")
    check("----- PASSED -----" in texts, "the exercise reports to the log")
    check("Command line argument contained multiple '='!" in texts, "an error line arrives too")


def check_signal(host, log, number):
    """A signal in the middle of the cases, told by what one of the first of them logs."""
    words = [host, "testSources=/x", "~[client]~[datacore]~[ip]~[long]", "-r", "junit"]
    every = len(run(*words[:3], "--list-test-names-only").stdout.splitlines())
    with subprocess.Popen(words, stdout=subprocess.PIPE, text=True) as process:
        log.read_until(f"[tid:{process.pid}]")  # behind what an earlier host has logged
        log.read_until("Supervisor Thread started [supervisor]")
        process.send_signal(number)
        report = process.communicate(timeout=120)[0]
    check(process.returncode == 128 + number, f"{number.name} gives 128 and its number", process)
    cases = junit_cases(report)
    check(0 < len(cases) < every and not any(cases.values()),
          f"{number.name} stops behind the case at work, with a whole report ({len(cases)} of {every})")


def main(host):
    namespaces.enter()
    log = namespaces.listen_to_log()

    result = run(host, "testSources=/x", ENSURE, "a=b=c")
    check_log_lines(log, result)

    for words in (["testSources=/x"], []):
        result = run(host, *words, "-r", "junit", ENSURE)
        check(result.returncode == 0 and junit_cases(result.stdout) == {ENSURE: False},
              f"the host passes, and its runner takes the words behind {words}", result)
    result = run(host, "testSources=/x", "-w", "NoTests", "No such case at all")
    check(result.returncode == 0 and "No test" in result.stdout,
          "the runner's result does not reach the exit value", result)

    for number in (signal.SIGTERM, signal.SIGINT):
        check_signal(host, log, number)

    with socket.socket(socket.AF_INET6, socket.SOCK_STREAM) as taken:
        taken.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        taken.bind(("::", PORT))
        taken.listen()
        passing = run(host, "testSources=/x", "Parity bits*")
        result = run(host, "testSources=/x", "-r", "junit", FEW_CASES)
    check(passing.returncode == 1 and "All tests passed" in passing.stdout,
          "with the port taken the host ends with 1 though all cases pass", passing)
    check(passing.stderr.endswith(f"infrastructure_test: TCP port {PORT}: The bound address is already in use\n"),
          "and says so", passing)
    cases = junit_cases(result.stdout)
    check(result.returncode == 1 and len(cases) == 3 and
          [name for name, failed in cases.items() if failed] == [ENSURE],
          f"the cases still run, '{ENSURE}' fails and nothing else", result)
    check("[E]> ABORTING TESTS" in "".join(log.read_until("----- FAILED -----")), "the log says why", result)


main(os.path.abspath(sys.argv[1]))
