"""What the loader has to set in each library before a program's main: no more than a bound, and no
function of the library's own is looked up by name.

usage: relocations.py READELF LIBRARY BOUND [LIBRARY BOUND ...]
"""
import os
import re
import sys

from programs import check, run


def output(*words):
    result = run(*words)
    check(result.returncode == 0, f"{' '.join(words[:-1])} reads {os.path.basename(words[-1])}", result.stderr)
    return result.stdout


readelf = sys.argv[1]
for library, bound in zip(sys.argv[2::2], map(int, sys.argv[3::2])):
    kinds = re.findall(r"^[0-9a-f]{8,} +[0-9a-f]+ +(R_\w+)(?: +[0-9a-f]+ +([^@\s]+))?",
                       output(readelf, "--relocs", "--wide", library), re.MULTILINE)
    symbols = output(readelf, "--dyn-syms", "--wide", library)
    own = set(re.findall(r"FUNC +(?:GLOBAL|WEAK) +DEFAULT +\d+ ([^@\s]+)", symbols))
    calls = [symbol for kind, symbol in kinds if kind.endswith("JUMP_SLOT")]
    at_start = len(kinds) - len(calls)
    name = os.path.basename(library)
    check(calls and own, f"{name} calls functions, and has some")
    check(own.isdisjoint(calls), f"{name} calls its own functions directly", own.intersection(calls))
    check(0 < at_start <= bound, f"{name} has {at_start} relocations at start-up, at most {bound}")
