#!/usr/bin/env python3
"""Puts the tables of docs/performance.md behind its line "<!-- tables -->".

    benchmark_tables.py FILE.json ...    what bench_* wrote with --benchmark_out=FILE.json
                                         --benchmark_out_format=json; a table for each
"""
import datetime
import json
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs" / "performance.md"
MARK = "<!-- tables -->\n"
TIMES = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1}
STANDING = {"ratio", "must", "aim", "items_per_second", "bytes_per_second", "real_time", "cpu_time"}
NOT_COUNTERS = {"family_index", "per_family_instance_index", "repetitions", "repetition_index",
                "threads", "iterations"}


def in_unit(value, units):
    """A number to three digits with the largest unit that it reaches."""
    for scale, unit in units:
        if abs(value) >= scale:
            return f"{value / scale:.3g} {unit}" if value / scale < 1000 else f"{value / scale:.0f} {unit}"
    return f"{value:.3g}"


def as_time(seconds):
    return in_unit(seconds, [(1, "s"), (1e-3, "ms"), (1e-6, "µs"), (1e-9, "ns")])


def as_rate(row):
    if "bytes_per_second" in row:
        return in_unit(row["bytes_per_second"], [(1e9, "GB/s"), (1e6, "MB/s"), (1e3, "kB/s")])
    if "items_per_second" in row:
        return in_unit(row["items_per_second"], [(1e9, "G/s"), (1e6, "M/s"), (1e3, "k/s"), (1, "/s")])
    return ""


def as_factor(row, key):
    return f"{row[key]:.3g}" if row.get(key) else ""


def to_row(row):
    name = re.sub(r"/(manual_time|real_time|iterations:\d+|min_time:[\d.]+)", "", row["name"])
    others = [f"{key} {value:.4g}" for key, value in row.items()
              if isinstance(value, (int, float)) and key not in STANDING | NOT_COUNTERS]
    cells = [f"`{name}`", as_time(row["real_time"] * TIMES[row["time_unit"]]), as_rate(row),
             as_factor(row, "ratio"), as_factor(row, "must"), as_factor(row, "aim"), ", ".join(others)]
    return "| " + " | ".join(cells) + " |"


def introduction(name):
    """What the program's first comment says."""
    lines = []
    for line in (ROOT / "bench" / f"{name}.cpp").read_text(encoding="utf-8").splitlines():
        if not line.startswith("//"):
            break
        lines.append(line[3:])
    return "\n".join(lines).split("\n\n")[0].split("\n  ")[0]


def to_table(path):
    run = json.loads(path.read_text(encoding="utf-8"))
    context = run["context"]
    name = pathlib.Path(context["executable"]).name.replace("bench_", "")
    when = datetime.datetime.fromisoformat(context["date"])
    load = ", ".join(f"{value:.1f}" for value in context["load_avg"])
    rows = [to_row(row) for row in run["benchmarks"] if "error_message" not in row]
    return "\n".join([f"## {path.stem.replace('_', ' ')}", "", introduction(name), "",
                      f"Run {when:%Y-%m-%d %H:%M}, load average {load}.", "",
                      "| row | time | rate | ratio | must | aim | besides |",
                      "|---|---|---|---|---|---|---|", *rows, ""])


def main():
    if len(sys.argv) < 2:
        raise SystemExit(__doc__)
    page = PAGE.read_text(encoding="utf-8")
    head = page[: page.index(MARK) + len(MARK)]
    tables = [to_table(pathlib.Path(word)) for word in sys.argv[1:]]
    PAGE.write_text(head + "\n" + "\n".join(tables), encoding="utf-8")


if __name__ == "__main__":
    main()
