#!/usr/bin/env python3
"""Makes tables of what bench_* wrote with --benchmark_out=FILE.json --benchmark_out_format=json.

    benchmark_tables.py ratios FILE.json ...    prints one table of all ratios. A row's ratio is its
                                                speed over its peer's, measured in turn with it.
                                                "BELOW MUST" is too slow, "must" fast enough, "aim"
                                                as fast as intended. Rows that measure no ratio are
                                                left out; a row that could not run shows why.
    benchmark_tables.py page FILE.json ... [--before FILE.json ...]
                                                puts a table for each program, with the medians of
                                                its runs, after the line "<!-- tables -->" of
                                                docs/performance.md; with the ratios of an earlier
                                                state of the code, if there are any of it
    benchmark_tables.py check FILE.json ...     names the rows whose ratio has fallen by more than
                                                its noise since the tables were made, and exits
                                                with 1 if there are any. The noise of a row is the
                                                widest spread of its runs, here or in the table, in
                                                percent of the median; where a side has one run
                                                only, a fixed share.
"""
import datetime
import json
import pathlib
import re
import statistics
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs" / "performance.md"
MARK = "<!-- tables -->\n"
TIMES = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1}
STANDING = {"ratio", "must", "aim", "items_per_second", "bytes_per_second", "real_time", "cpu_time"}
LEAST_NOISE = 0.05  # of any row
NOISE_OF_ONE_RUN = 0.25
NOT_COUNTERS = {"family_index", "per_family_instance_index", "repetitions", "repetition_index",
                "threads", "iterations"}


def row_name(row):
    return re.sub(r"/(manual_time|real_time|iterations:\d+|min_time:[\d.]+)", "", row["name"])


def verdict(ratio, must, aim):
    if must == 0 and aim == 0:
        return "no bound"
    if ratio < must:
        return "BELOW MUST"
    return "aim" if ratio >= aim else "must"


def ratio_rows(run):
    for row in run["benchmarks"]:
        if row.get("error_occurred"):
            yield row_name(row), "-", "-", "-", row["error_message"]
        elif "ratio" in row and row["run_type"] == "iteration":
            figures = row["ratio"], row["must"], row["aim"]
            yield row_name(row), *(f"{figure:.2f}" for figure in figures), verdict(*figures)


def print_ratios(runs):
    table = [("row", "ratio", "must", "aim", "reached")]
    table += [row for run in runs for row in ratio_rows(run)]
    widths = [max(map(len, column)) for column in zip(*table)]
    for name, *figures, reached in table:
        cells = [figure.rjust(width) for figure, width in zip(figures, widths[1:])]
        print(name.ljust(widths[0]), *cells, reached, sep="  ")


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


def median_of(rows):
    """A row with the median of each figure, and the least and the largest ratio."""
    middle = dict(rows[0])
    for key, value in rows[0].items():
        if isinstance(value, (int, float)):
            middle[key] = statistics.median(row[key] for row in rows if key in row)
    return middle, sorted(row["ratio"] for row in rows if "ratio" in row)


def span_of(ratios):
    return f"{ratios[0]:.3g} to {ratios[-1]:.3g}" if len(ratios) > 1 else ""


def to_row(rows, before):
    row, ratios = median_of(rows)
    name = row_name(row)
    others = [f"{key} {value:.4g}" for key, value in row.items()
              if isinstance(value, (int, float)) and key not in STANDING | NOT_COUNTERS]
    ratio = as_factor(row, "ratio")
    if row.get("must") and row["ratio"] < row["must"]:
        ratio = f"**{ratio}**"
    cells = [f"`{name}`", as_time(row["real_time"] * TIMES[row["time_unit"]]), as_rate(row), ratio,
             span_of(ratios)]
    if before is not None:
        earlier = sorted(before.get(name, []))
        cells += [f"{statistics.median(earlier):.3g}" if earlier else "", span_of(earlier)]
    cells += [as_factor(row, "must"), as_factor(row, "aim"), ", ".join(others)]
    return "| " + " | ".join(cells) + " |"


def noise_of(ratios):
    """The spread of a row's runs beside their median."""
    if len(ratios) < 2:
        return NOISE_OF_ONE_RUN
    return max(LEAST_NOISE, (max(ratios) - min(ratios)) / statistics.median(ratios))


def rows_of_page():
    """(program, row) to the ratio in the table, and the ratios that are known of its runs."""
    rows = {}
    program = None
    for line in PAGE.read_text(encoding="utf-8").split(MARK)[1].splitlines():
        if line.startswith("## "):
            program = line[3:]
        elif line.startswith("| `"):
            name, _, _, ratio, spread = [cell.strip() for cell in line.split("|")[1:6]]
            if ratio:
                known = [float(word) for word in spread.split(" to ")] if spread else []
                rows[program, name.strip("`")] = float(ratio.strip("*")), known
    return rows


def ratios_of(runs):
    """(program, row) to the ratios of its runs."""
    measured = {}
    for run in runs:
        for row in run["benchmarks"]:
            if "ratio" in row and row["run_type"] == "iteration":
                measured.setdefault((program_of(run), row_name(row)), []).append(row["ratio"])
    return measured


def check(runs):
    standing = rows_of_page()
    measured = ratios_of(runs)
    fallen = 0
    for (program, name), ratios in measured.items():
        if (program, name) not in standing:
            print(f"new     {program}: {name}  {statistics.median(ratios):.3g}")
            continue
        before, known = standing[program, name]
        noise = max(noise_of(ratios), noise_of(known))
        now = statistics.median(ratios)
        if now < before * (1 - noise):
            fallen += 1
            print(f"FALLEN  {program}: {name}  {before:.3g} -> {now:.3g}, "
                  f"{1 - now / before:.0%} where noise is {noise:.0%}")
    print(f"{len(measured)} rows, {fallen} fallen")
    raise SystemExit(1 if fallen else 0)


def program_of(run):
    return pathlib.Path(run["context"]["executable"]).name.replace("bench_", "")


def introduction(name):
    """What the program's first comment says."""
    lines = []
    for line in (ROOT / "bench" / f"{name}.cpp").read_text(encoding="utf-8").splitlines():
        if not line.startswith("//"):
            break
        lines.append(line[3:])
    return "\n".join(lines).split("\n\n")[0].split("\n  ")[0]


def to_table(name, runs, before):
    """`before` has the ratios of earlier code by row, or is None."""
    rows = {}
    for run in runs:
        for row in run["benchmarks"]:
            if "error_message" not in row:
                rows.setdefault(row["name"], []).append(row)
    times = sorted(datetime.datetime.fromisoformat(run["context"]["date"]) for run in runs)
    loads = sorted(run["context"]["load_avg"][0] for run in runs)
    columns = ["row", "time", "rate", "ratio", "of the runs",
               *(["before", "of the runs"] if before is not None else []), "must", "aim", "besides"]
    return "\n".join([f"## {name}", "", introduction(name), "",
                      f"Runs: {len(runs)}, {times[0]:%Y-%m-%d}; load average {loads[0]:.0f} to "
                      f"{loads[-1]:.0f}.", "",
                      "| " + " | ".join(columns) + " |", "|---" * len(columns) + "|",
                      *(to_row(row, before) for row in rows.values()), ""])


def write_page(runs, runs_before=()):
    programs = {}
    for run in runs:
        programs.setdefault(program_of(run), []).append(run)
    before = {}
    for (program, name), ratios in ratios_of(runs_before).items():
        before.setdefault(program, {})[name] = ratios
    page = PAGE.read_text(encoding="utf-8")
    head = page[: page.index(MARK) + len(MARK)]
    tables = [to_table(name, runs, before.get(name)) for name, runs in programs.items()]
    PAGE.write_text(head + "\n" + "\n".join(tables), encoding="utf-8")


def read_runs(paths):
    """Without programs whose rows have all been filtered out: they write an empty file."""
    texts = [pathlib.Path(path).read_text(encoding="utf-8") for path in paths]
    return [json.loads(text) for text in texts if text]


def main():
    if sys.argv[1:] == ["--help"]:
        return print(__doc__)
    outputs = {"ratios": print_ratios, "page": write_page, "check": check}
    if len(sys.argv) < 3 or sys.argv[1] not in outputs:
        raise SystemExit(__doc__)
    words = sys.argv[2:]
    if sys.argv[1] == "page" and "--before" in words:
        at = words.index("--before")
        return write_page(read_runs(words[:at]), read_runs(words[at + 1 :]))
    outputs[sys.argv[1]](read_runs(words))


if __name__ == "__main__":
    main()
