"""One table of the ratios in Google Benchmark's JSON files.

usage: bench_table.py JSON ...

A row's ratio is its speed over its peer's, measured in turn with it. "BELOW MUST" is too slow, "must"
fast enough, "aim" as fast as is wanted. Rows that measure no ratio are left out; a row that could
not run shows why.
"""
import json
import re
import sys

HEADINGS = ("row", "ratio", "must", "aim", "reached")


def verdict(ratio, must, aim):
    if must == 0 and aim == 0:
        return "no bound"
    if ratio < must:
        return "BELOW MUST"
    return "aim" if ratio >= aim else "must"


def rows(path):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    if not text:  # the filter left nothing of this program
        return
    for run in json.loads(text)["benchmarks"]:
        name = re.sub(r"/(iterations:\d+|min_time:[\d.]+|manual_time|real_time)", "", run["name"])
        if run.get("error_occurred"):
            yield name, "-", "-", "-", run["error_message"]
        elif "ratio" in run and run["run_type"] == "iteration":
            figures = run["ratio"], run["must"], run["aim"]
            yield name, *(f"{figure:.2f}" for figure in figures), verdict(*figures)


def main(paths):
    table = [HEADINGS] + [row for path in paths for row in rows(path)]
    widths = [max(map(len, column)) for column in zip(*table)]
    for name, *figures, reached in table:
        cells = [figure.rjust(width) for figure, width in zip(figures, widths[1:])]
        print(name.ljust(widths[0]), *cells, reached, sep="  ")


if __name__ == "__main__":
    main(sys.argv[1:])
