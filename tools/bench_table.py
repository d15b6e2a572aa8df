"""One table of the ratios in Google Benchmark's JSON files.

usage: bench_table.py JSON ...

A row's ratio is its speed over its peer's: below `must` it fails, from `aim` on it is as fast as is
wanted. Rows without a ratio are left out.
"""
import json
import sys


def rows(paths):
    for path in paths:
        with open(path, encoding="utf-8") as file:
            text = file.read()
        for run in json.loads(text)["benchmarks"] if text else []:
            if "ratio" in run:
                name = run["name"].split("/iterations:")[0].removesuffix("/manual_time")
                yield name, run["ratio"], run["must"], run["aim"]


def verdict(ratio, must, aim):
    if must == 0 and aim == 0:
        return "no bound"
    if ratio < must:
        return "BELOW MUST"
    return "aim" if ratio >= aim else "must"


def main(paths):
    table = [("row", "ratio", "must", "aim", "reached")]
    table += [(name, f"{ratio:.2f}", f"{must:.2f}", f"{aim:.2f}", verdict(ratio, must, aim))
              for name, ratio, must, aim in rows(paths)]
    widths = [max(map(len, column)) for column in zip(*table)]
    for row in table:
        print(row[0].ljust(widths[0]), *(cell.rjust(width) for cell, width
                                         in zip(row[1:4], widths[1:4])), row[4], sep="  ")


if __name__ == "__main__":
    main(sys.argv[1:])
