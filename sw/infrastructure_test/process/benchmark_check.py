"""Rows of a benchmark run that have fallen by more than their noise are named, and no others."""
import contextlib
import io
import pathlib
import tempfile

from programs import check
import benchmark_tables


def run_with(**ratios):
    rows = [{"name": f"{name}/manual_time", "run_type": "iteration", "ratio": ratio, "must": 0, "aim": 0,
             "real_time": 1, "time_unit": "ms"} for name, ratio in ratios.items()]
    return {"context": {"executable": "/x/bench_frames", "date": "2026-01-02T03:04:05+00:00",
                        "load_avg": [0]}, "benchmarks": rows}


def outcome(*runs):
    text = io.StringIO()
    with contextlib.redirect_stdout(text):
        try:
            benchmark_tables.check(runs)
        except SystemExit as end:
            return end.code, text.getvalue()
    return None, text.getvalue()


with tempfile.TemporaryDirectory() as folder:
    benchmark_tables.PAGE = pathlib.Path(folder) / "page.md"
    benchmark_tables.PAGE.write_text(benchmark_tables.MARK, encoding="utf-8")
    benchmark_tables.write_page([run_with(calm=2.0, wild=2.0), run_with(calm=2.02, wild=1.2)],
                                [run_with(calm=9.0, gone=9.0), run_with(calm=7.0)])
    table = benchmark_tables.PAGE.read_text(encoding="utf-8")
    check("| 2.01 | 2 to 2.02 | 8 | 7 to 9 |" in table and "gone" not in table,
          "a row has its own ratios and those of earlier code", table)
    same = outcome(run_with(calm=1.95, wild=1.3), run_with(calm=1.97, wild=1.3))
    check(same == (0, "2 rows, 0 fallen\n"), "what lies within its noise has not fallen", same)
    code, text = outcome(run_with(calm=1.85, wild=1.0), run_with(calm=1.86, wild=1.0), run_with(more=1.0))
    check(code == 1 and text.splitlines() == [
        "FALLEN  frames: calm  2.01 -> 1.85, 8% where noise is 5%", "new     frames: more  1",
        "3 rows, 1 fallen"], "what fell by more is named with both ratios", text)
    once = outcome(run_with(calm=1.55, wild=0.9))
    check(once[0] == 0, "one run alone is trusted less", once)
