#!/usr/bin/python3
"""Times the Python package against the same formula written in plain Python:
one evaluation (RVPINDEX, one input; CETANEINDEX4, four) and RVPINDEX over
10^6 rows from a NumPy array and from a list of rows; and the blend model and
optimiser through the package on the problems of the C benchmarks (the ten
streams of bench/gasoline_streams.h, the pool of bench/optimize_bench.cpp,
read from those files so that both sides blend the same).

usage: python_batch.py [--rows N] [--calls N] [--repetitions R] [--out FILE]

Writes the median CPU time per call in the JSON shape of Google Benchmark, so
that bench/report.py can set it next to the C batch loop. The package is
taken from python/ of this checkout; the library as the package finds it
(set TARN_LIBRARY to choose one).
"""

import argparse
import json
import math
import os
import re
import statistics
import sys
import time

import numpy

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "python"))

import tarn  # noqa: E402


def rvp_index(rvp, exponent=1.25):
    """The vapour-pressure blending index, RVP^1.25."""
    return rvp ** exponent


def cetane_index_4(spg, t10, t50, t90):
    """ASTM D4737 procedure A, four-variable cetane index: density in g/mL
    (taken as the specific gravity), distillation points in degrees F."""
    b = math.exp(-3.5 * (spg - 0.85)) - 1.0
    n10 = (t10 - 419.0) / 1.8
    n50 = (t50 - 500.0) / 1.8
    n90 = (t90 - 590.0) / 1.8
    return (45.2 + 0.0892 * n10 + (0.131 + 0.901 * b) * n50 + (0.0523 - 0.42 * b) * n90
            + 0.00049 * (n10 * n10 - n90 * n90) + 107.0 * b + 60.0 * b * b)


def median_seconds(call, repetitions):
    times = []
    for _ in range(repetitions):
        start = time.process_time()
        call()
        times.append(time.process_time() - start)
    return statistics.median(times), times


def entry(name, per, seconds, samples, **counters):
    """Aggregates of one benchmark; `per` calls or rows per timed sample."""
    ns = seconds * 1e9
    spread = statistics.pstdev(samples) / statistics.mean(samples) if len(samples) > 1 else 0.0
    common = dict({"run_name": name, "run_type": "aggregate", "time_unit": "ns",
                   "repetitions": len(samples), "rows": per}, **counters)
    return [dict(common, name=name + "_median", aggregate_name="median", cpu_time=ns,
                 real_time=ns),
            dict(common, name=name + "_cv", aggregate_name="cv", aggregate_unit="percentage",
                 cpu_time=spread, real_time=spread)]


def single_calls(calls, repetitions):
    """One evaluation at a time, package against plain Python."""
    out = []
    cases = [("RVPINDEX", [9.0], rvp_index),
             ("CETANEINDEX4", [0.85, 420.0, 500.0, 600.0], cetane_index_4)]
    for ident, row, formula in cases:
        # The two must agree, or the comparison is of different work.
        assert abs(tarn.evaluate(ident, row).outputs[tarn.describe(ident).outputs[0]]
                   - formula(*row)) < 1e-6 * max(1.0, abs(formula(*row)))

        def package():
            for _ in range(calls):
                tarn.evaluate(ident, row)

        def plain():
            for _ in range(calls):
                formula(*row)

        for what, call in (("package", package), ("plain", plain)):
            seconds, samples = median_seconds(call, repetitions)
            out += entry("python/evaluate/%s/%s" % (ident, what), calls, seconds, samples,
                         inputs=len(row))
    return out


def many_rows(rows, repetitions):
    values = [5.0 + 10.0 * r / rows for r in range(rows)]
    matrix = numpy.array(values).reshape(rows, 1)
    listed = [[v] for v in values]
    out = []
    for flag in (0, 1):
        seconds, samples = median_seconds(
            lambda: tarn.evaluate_many("RVPINDEX", matrix, derivatives=bool(flag)), repetitions)
        out += entry("python/batch/numpy/derivatives:%d" % flag, rows, seconds, samples)
        seconds, samples = median_seconds(
            lambda: tarn.evaluate_many("RVPINDEX", listed, derivatives=bool(flag)),
            max(1, repetitions // 2))
        out += entry("python/batch/list/derivatives:%d" % flag, rows, seconds, samples)
    seconds, samples = median_seconds(lambda: [rvp_index(row[0]) for row in listed],
                                      max(1, repetitions // 2))
    out += entry("python/batch/plain/derivatives:0", rows, seconds, samples)
    return out


BENCH = os.path.dirname(os.path.abspath(__file__))


def ten_streams():
    """The C benchmarks' ten gasoline streams as a recipe table (the rows of
    kStreams in gasoline_streams.h: name, volume, RVP, the seven D86 points,
    RON, MON, ARO, OLF, BNZ, SUL, EHO, ETOH, SPG)."""
    with open(os.path.join(BENCH, "gasoline_streams.h"), encoding="utf-8") as f:
        streams = f.read().split("kStreams[] = {", 1)[1].split("};", 1)[0]
    rows = re.findall(r'\{"([^"]+)", ([^{]+), \{([^}]+)\}, ([^}]+)\}', streams)
    headers = (["VOLUME[bbl]", "RVP[psi]"] + ["%s[F]" % p for p in ("IBP", "T10", "T30", "T50",
                                                                     "T70", "T90", "FBP")]
               + ["RON", "MON", "ARO[vol%]", "OLF[vol%]", "BNZ[vol%]", "SUL[ppm]", "EHO[wt%]",
                  "ETOH[vol%]", "SPG"])
    table = {"NAME": [row[0] for row in rows]}
    numbers = [[float(x) for x in ",".join(row[1:]).replace(" ", "").split(",") if x]
               for row in rows]
    for k, header in enumerate(headers):
        table[header] = [values[k] for values in numbers]
    assert len(rows) == 10 and all(len(values) == len(headers) for values in numbers)
    return table


def pool_problem():
    """The optimiser benchmark's problem (the JSON in optimize_bench.cpp)."""
    with open(os.path.join(BENCH, "optimize_bench.cpp"), encoding="utf-8") as f:
        return json.loads(re.search(r'R"\((.*?)\)"', f.read(), re.S).group(1))


def blends(calls, repetitions):
    """The blend model at new volumes with all derivatives (properties_at,
    and blend() with every text), and one solve of the pool problem."""
    recipe = tarn.Recipe(ten_streams())
    volumes = recipe.volumes
    out = []

    def solver_call():
        for k in range(calls):
            volumes[k % len(volumes)] *= 1.0001  # as the C benchmark moves them
            recipe.properties_at(volumes)

    def full_blend():
        for _ in range(calls):
            recipe.blend()

    for name, call in (("properties_at", solver_call), ("blend", full_blend)):
        seconds, samples = median_seconds(call, repetitions)
        out += entry("python/blend/%s/derivatives:1" % name, calls, seconds, samples)
    problem = pool_problem()
    assert tarn.optimize(problem, recipe).outcome == "optimal"
    seconds, samples = median_seconds(lambda: tarn.optimize(problem, recipe), repetitions)
    out += entry("python/optimize/pool", 1, seconds, samples)
    return out


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rows", type=int, default=1000000)
    parser.add_argument("--calls", type=int, default=100000)
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--out", default="-")
    args = parser.parse_args()

    tarn.load()
    benchmarks = (single_calls(args.calls, args.repetitions) + many_rows(args.rows, args.repetitions)
                  + blends(max(1, args.calls // 1000), args.repetitions))
    report = {"context": {"python": sys.version.split()[0], "numpy": numpy.__version__,
                          "library": tarn.library_path(), "version": tarn.__version__},
              "benchmarks": benchmarks}
    text = json.dumps(report, indent=2)
    if args.out == "-":
        print(text)
    else:
        with open(args.out, "w", encoding="utf-8") as f:
            f.write(text + "\n")


if __name__ == "__main__":
    main()
