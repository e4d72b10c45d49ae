"""A price sweep of the gasoline pool: 1,000 optimisation cases (butane cost x
alkylate cost x premium price, ten values each) of examples/gasoline-pool.json,
solved on a Dask LocalCluster of worker processes and then, for comparison,
one after another in this process; the answers are collected in one
DataFrame, a row per case.

    PYTHONPATH=python python3 examples/optimize_sweep.py [--workers 2] [--cases 1000]
                                                         [--skip-single] [--out sweep.csv]

Needs pandas and Dask (Debian: python3-pandas python3-dask python3-distributed).
"""

import argparse
import copy
import itertools
import json
import os
import resource
import time
from pathlib import Path

import distributed
import numpy

import tarn
import tarn.dask

HERE = Path(__file__).resolve().parent


def cases(count):
    """The pool problem under `count` price scenarios (the first of the
    1,000-case grid), each a problem dict."""
    base = json.loads((HERE / "gasoline-pool.json").read_text())
    del base["recipe"]  # the components come from the Recipe passed along
    grid = itertools.product(numpy.linspace(30, 48, 10), numpy.linspace(95, 113, 10),
                             numpy.linspace(100, 118, 10))
    out = []
    for butane, alkylate, premium in itertools.islice(grid, count):
        problem = copy.deepcopy(base)
        costs = {"Butane": butane, "Alkylate": alkylate}
        for component in problem["components"]:
            component["cost"] = float(costs.get(component["name"], component["cost"]))
        problem["products"][1]["price"] = float(premium)
        problem["title"] = "butane %.0f, alkylate %.0f, premium %.0f" % (butane, alkylate, premium)
        out.append(problem)
    return out


def cpu_seconds():
    """CPU time of this process so far (user and system)."""
    usage = resource.getrusage(resource.RUSAGE_SELF)
    return usage.ru_utime + usage.ru_stime


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--workers", type=int, default=2)
    parser.add_argument("--cases", type=int, default=1000)
    parser.add_argument("--skip-single", action="store_true", help="only the Dask run")
    parser.add_argument("--out", help="write the collected answers as CSV")
    options = parser.parse_args()

    recipe = tarn.Recipe(HERE / "gasoline-components.csv")
    problems = cases(options.cases)

    started = time.perf_counter()
    with tarn.dask.local_cluster(options.workers, dashboard_address=None, silence_logs=40) as cluster, \
            distributed.Client(cluster) as client:
        before = client.run(cpu_seconds)
        ready = time.perf_counter()
        table = tarn.dask.optimize_cases(problems, recipe, client)
        solved = time.perf_counter()
        after = client.run(cpu_seconds)
    # The CPU time the workers got tells a busy machine from overhead.
    print("%d cases on %d worker processes: %.1f s (cluster start %.1f s), %.1f s of CPU; "
          "load average %.1f" % (len(problems), options.workers, solved - ready, ready - started,
                                 sum(after[w] - before[w] for w in after), os.getloadavg()[0]))

    if not options.skip_single:
        started, cpu = time.perf_counter(), cpu_seconds()
        alone = tarn.dask.optimize_cases(problems, recipe, client=None)
        print("%d cases one after another in this process: %.1f s, %.1f s of CPU; load average %.1f"
              % (len(problems), time.perf_counter() - started, cpu_seconds() - cpu,
                 os.getloadavg()[0]))
        assert alone["objective"].equals(table["objective"]), "the two runs differ"

    table.insert(0, "case", [p["title"] for p in problems])
    print(table["outcome"].value_counts().to_string())
    print("margin %.0f to %.0f USD" % (table["objective"].min(), table["objective"].max()))
    binding = [c for c in table.columns if c.startswith("shadow:")]
    print("limits that bind (cases):", ", ".join(
        "%s %d" % (c.split(":", 1)[1], (table[c] != 0).sum()) for c in binding
        if (table[c] != 0).any()))
    if options.out:
        table.to_csv(options.out, index=False)
        print("written:", options.out)


if __name__ == "__main__":
    main()
