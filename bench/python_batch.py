#!/usr/bin/python3
"""Times the Python package's many-rows evaluation: RVPINDEX over 10^6 rows,
from a NumPy array (when NumPy is installed) and from a list of rows.

usage: python_batch.py [--rows N] [--repetitions R] [--out FILE]

Writes the median time per call in the JSON shape of Google Benchmark, so
that bench/report.py can set it next to the C batch loop. The package is
taken from python/ of this checkout; the library as the package finds it
(set TARN_LIBRARY to choose one).
"""

import argparse
import json
import os
import statistics
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "python"))

import tarn  # noqa: E402


def median_seconds(call, repetitions):
    times = []
    for _ in range(repetitions):
        start = time.process_time()
        call()
        times.append(time.process_time() - start)
    return statistics.median(times), times


def entry(name, rows, seconds, samples):
    ns = seconds * 1e9
    spread = statistics.pstdev(samples) / statistics.mean(samples) if len(samples) > 1 else 0.0
    common = {"run_name": name, "run_type": "aggregate", "time_unit": "ns",
              "repetitions": len(samples), "rows": rows}
    return [dict(common, name=name + "_median", aggregate_name="median", cpu_time=ns,
                 real_time=ns),
            dict(common, name=name + "_cv", aggregate_name="cv", aggregate_unit="percentage",
                 cpu_time=spread, real_time=spread)]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rows", type=int, default=1000000)
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--out", default="-")
    args = parser.parse_args()

    rows = args.rows
    values = [5.0 + 10.0 * r / rows for r in range(rows)]
    tarn.load()
    benchmarks = []
    try:
        import numpy
    except ImportError:
        numpy = None
    for flag in (0, 1):
        if numpy is not None:
            matrix = numpy.array(values).reshape(rows, 1)
            seconds, samples = median_seconds(
                lambda: tarn.evaluate_many("RVPINDEX", matrix, derivatives=bool(flag)),
                args.repetitions)
            benchmarks += entry("python/batch/numpy/derivatives:%d" % flag, rows, seconds, samples)
        listed = [[v] for v in values]
        seconds, samples = median_seconds(
            lambda: tarn.evaluate_many("RVPINDEX", listed, derivatives=bool(flag)),
            max(1, args.repetitions // 2))
        benchmarks += entry("python/batch/list/derivatives:%d" % flag, rows, seconds, samples)

    report = {"context": {"python": sys.version.split()[0],
                          "numpy": numpy.__version__ if numpy is not None else None,
                          "library": tarn.library_path()},
              "benchmarks": benchmarks}
    text = json.dumps(report, indent=2)
    if args.out == "-":
        print(text)
    else:
        with open(args.out, "w", encoding="utf-8") as f:
            f.write(text + "\n")


if __name__ == "__main__":
    main()
