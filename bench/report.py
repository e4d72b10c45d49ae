#!/usr/bin/python3
"""Turns the JSON output of tarn_bench (Google Benchmark) into BENCHMARKS.md.

usage: report.py BENCH_JSON [PYTHON_JSON] [--before EARLIER_BENCH_JSON] > BENCHMARKS.md

BENCH_JSON is written by build/bench/tarn_bench with --benchmark_out; every
figure is the median CPU time over the repetitions of that run. PYTHON_JSON,
when given, is written by bench/python_batch.py (the Python package against
the same formulas in plain Python) and adds the Python rows. An earlier run
of tarn_bench (--before) adds the speed-ups of the heaviest calls against it,
and the targets set on them.
"""

import json
import statistics
import sys

UNIT_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
FAMILIES = [
    ("props", "Property correlations"),
    ("distill", "Distillation"),
    ("emissions", "Emission models"),
    ("blending", "Blending rules"),
]
SINGLE_INPUT_TARGET = 1.15
# The worst of the multi-input rows: the blend models with many outputs.
MULTI_INPUT_TARGET = 1.5
MULTI_INPUT_ROWS = ("CARBOB2", "EVAPORATIVE")
D86_ROW_TARGET = 1.2
PYTHON_TARGET = 3.0
BLEND_MODEL_TARGET_US = 1000.0
OPTIMIZE_TARGET_MS = 50.0
PYTHON_EVALUATE_TARGET_NS = 3000.0
# Speed-ups against an earlier run: gfx_D86 with derivatives by blend size,
# and the EPA model with derivatives.
D86_SPEEDUP_TARGETS = {20: 4.0, 50: 5.0}
EPA_SPEEDUP_TARGET = 1.25

REPRODUCE = """\
```sh
cmake --preset default && cmake --build --preset default -j2
build/bench/tarn_bench --benchmark_repetitions=9 --benchmark_min_time=0.1 \\
    --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true \\
    --benchmark_out=build/bench.json --benchmark_out_format=json
/usr/bin/python3 bench/python_batch.py --out build/python_batch.json
/usr/bin/python3 bench/report.py build/bench.json build/python_batch.json > BENCHMARKS.md
```

Add `--before EARLIER_BENCH_JSON` (a run of an earlier build, same command) for the speed-ups
against it."""


def load(path):
    with open(path, encoding="utf-8") as f:
        return json.load(f)


def medians(report):
    """Per benchmark (by run name): the median CPU time in ns, the median
    run's counters, and the coefficient of variation of every counter and
    of the CPU time over the repetitions (None without aggregates)."""
    runs, aggregated = {}, {}
    for b in report.get("benchmarks", []):
        name = b.get("run_name", b["name"])
        ns = b["cpu_time"] * UNIT_NS[b.get("time_unit", "ns")]
        if b.get("run_type") == "aggregate":
            aggregated.setdefault(name, {})[b.get("aggregate_name")] = (ns, b)
        else:
            runs.setdefault(name, []).append((ns, b))
    result = {}
    for name, samples in runs.items():
        result[name] = {"ns": statistics.median(s for s, _ in samples), "run": samples[0][1],
                        "cv": None}
    for name, aggregates in aggregated.items():
        if "median" in aggregates:
            ns, run = aggregates["median"]
            result[name] = {"ns": ns, "run": run,
                            "cv": aggregates["cv"][1] if "cv" in aggregates else None}
    return result


def fmt_ns(ns):
    if ns is None:
        return "–"
    if ns >= 1e6:
        return f"{ns / 1e6:.2f} ms"
    if ns >= 1e4:
        return f"{ns / 1e3:.1f} µs"
    if ns >= 1e3:
        return f"{ns / 1e3:.2f} µs"
    return f"{ns:.1f} ns"


def fmt_x(ratio):
    return "–" if ratio is None else f"{ratio:.2f}"


def fmt_ratio(a, b):
    return "–" if a is None or b is None or b == 0 else f"{a / b:.2f}"


def table(header, rows):
    lines = ["| " + " | ".join(header) + " |", "|" + "|".join("---" for _ in header) + "|"]
    lines += ["| " + " | ".join(str(c) for c in row) + " |" for row in rows]
    return "\n".join(lines)


def catalogue_rows(m):
    """{family: {id: {"index", "inputs", mode: (direct ns, index ns, ratio)}}}
    from the catalogue/<family>/<id>/<mode> benchmarks."""
    found = {}
    for name, entry in m.items():
        parts = name.split("/")
        if len(parts) != 4 or parts[0] != "catalogue":
            continue
        _, family, ident, mode = parts
        run = entry["run"]
        row = found.setdefault(family, {}).setdefault(ident, {})
        row[mode] = (run.get("direct_ns"), run.get("index_ns"), run.get("ratio"))
        row["inputs"] = int(run.get("inputs", 0))
        row["index"] = int(run.get("index", 0))
    return found


def arg(name, key):
    for part in name.split("/")[1:]:
        if part.startswith(key + ":"):
            return int(part.split(":")[1])
    return None


def index_ratios(catalogue):
    """{(id, mode): index/direct} over every catalogue row of a run."""
    return {(ident, mode): row[mode][2] for family in catalogue.values()
            for ident, row in family.items() for mode in ("values", "derivatives")
            if mode in row and row[mode][2] is not None}


def worst_of(ratios, idents):
    """(ratio, id, mode) of the largest index/direct among the given rows."""
    found = [(r, ident, mode) for (ident, mode), r in ratios.items() if ident in idents]
    return max(found) if found else None


def d86_derivatives(m):
    """{n: gfx_D86 with derivatives, ns} of a run."""
    return {arg(name, "n"): e["run"].get("derivatives_ns") for name, e in m.items()
            if name.startswith("BM_D86/")}


def paired(m, name, side):
    entry = m.get(name)
    return entry["run"].get(side + "_ns") if entry else None


def speedup(before, after):
    return before / after if before and after else None


def main(argv):
    earlier, earlier_context = None, {}
    if "--before" in argv:
        at = argv.index("--before")
        earlier_report = load(argv[at + 1])
        earlier, earlier_context = medians(earlier_report), earlier_report.get("context", {})
        argv = argv[:at] + argv[at + 2:]
    if len(argv) < 2:
        sys.exit(__doc__)
    report = load(argv[1])
    m = medians(report)
    python = medians(load(argv[2])) if len(argv) > 2 else {}
    context = report.get("context", {})
    out = []
    say = out.append

    say("# Benchmarks\n")
    say("Generated by `bench/report.py` from one run of `tarn_bench` (Google Benchmark) "
        "and, for the Python rows, of `bench/python_batch.py`. To reproduce:\n")
    say(REPRODUCE + "\n")
    cvs = [e["cv"]["ratio"] for e in m.values() if e["cv"] is not None and "ratio" in e["cv"]]
    load_avg = context.get("load_avg")
    say(f"Machine: {context.get('num_cpus', '?')} CPUs at {context.get('mhz_per_cpu', '?')} MHz, "
        f"run {context.get('date', '?')}"
        + (f", load average {', '.join(f'{x:.1f}' for x in load_avg)}" if load_avg else "")
        + ".\n")
    say("The machine is shared with other work, so the two sides of every ratio (evaluation by "
        "index and the direct call; `gfx_D86` with and without derivatives) are timed in "
        "alternating blocks of about 100 µs within one benchmark (`bench/paired.h`), and each "
        "figure is the median over the blocks, then over the repetitions.")
    if cvs:
        say(f"Between repetitions the ratios vary by a coefficient of variation of "
            f"{100 * statistics.median(cvs):.1f} % (median) to {100 * max(cvs):.1f} % (largest); "
            f"the times themselves vary more, as other processes come and go.")
    say("")

    # ---- targets ----------------------------------------------------------
    catalogue = catalogue_rows(m)
    single = []
    for family in catalogue.values():
        for ident, row in family.items():
            if row["inputs"] == 1:
                for mode in ("values", "derivatives"):
                    if mode in row and row[mode][2] is not None:
                        single.append((row[mode][2], ident, mode))
    d86_rows = []
    for name, entry in sorted(m.items(), key=lambda item: arg(item[0], "n") or 0):
        if name.startswith("BM_D86/"):
            run = entry["run"]
            n = arg(name, "n")
            derivs = run.get("derivatives_ns")
            d86_rows.append((n, run.get("values_ns"), derivs,
                             derivs / (8 * n) if derivs else None, run.get("ratio")))

    def batch_ns(source, prefix, flag):
        for name, entry in source.items():
            if name.startswith(prefix) and arg(name, "derivatives") == flag:
                return entry["ns"] / float(entry["run"].get("rows", 1))
        return None

    say("## Targets\n")
    target_rows = []
    if single:
        worst = max(single)
        target_rows.append(("Evaluation by index / direct call, single-input correlations",
                            f"≤ {SINGLE_INPUT_TARGET}",
                            f"{worst[0]:.2f} (worst: {worst[1]}, {worst[2]})",
                            "met" if worst[0] <= SINGLE_INPUT_TARGET else "not met"))
    ratios_now = index_ratios(catalogue)
    multi = worst_of(ratios_now, MULTI_INPUT_ROWS)
    if multi:
        target_rows.append((f"Evaluation by index / direct call, {' and '.join(MULTI_INPUT_ROWS)}",
                            f"≤ {MULTI_INPUT_TARGET}", f"{multi[0]:.2f} (worst: {multi[1]}, {multi[2]})",
                            "met" if multi[0] <= MULTI_INPUT_TARGET else "not met"))
    ratios = [ratio for *_, ratio in d86_rows if ratio is not None]
    if ratios:
        worst = max(ratios)
        target_rows.append(("gfx_D86: cost per derivative row / one blend without derivatives",
                            f"≤ {D86_ROW_TARGET}", f"{worst:.2f} (worst over n)",
                            "met" if worst <= D86_ROW_TARGET else "not met"))
    if earlier is not None:
        now, then = d86_derivatives(m), d86_derivatives(earlier)
        for n, goal in D86_SPEEDUP_TARGETS.items():
            ratio = speedup(then.get(n), now.get(n))
            if ratio is not None:
                target_rows.append((f"gfx_D86 with derivatives, {n} components: earlier run / this run",
                                    f"≥ {goal:g}", f"{ratio:.1f}", "met" if ratio >= goal else "not met"))
        epa = "catalogue/emissions/EPA/derivatives"
        ratio = speedup(paired(earlier, epa, "direct"), paired(m, epa, "direct"))
        if ratio is not None:
            target_rows.append(("EPA with derivatives: earlier run / this run", f"≥ {EPA_SPEEDUP_TARGET:g}",
                                f"{ratio:.2f}", "met" if ratio >= EPA_SPEEDUP_TARGET else "not met"))
    c_batch = batch_ns(m, "BM_RvpIndexBatch/", 0)
    py_batch = batch_ns(python, "python/batch/numpy", 0) or batch_ns(python, "python/batch/", 0)
    if c_batch and py_batch:
        ratio = py_batch / c_batch
        target_rows.append(("Python many-rows evaluation / C batch loop, RVPINDEX, 10^6 rows",
                            f"≤ {PYTHON_TARGET}", f"{ratio:.2f}",
                            "met" if ratio <= PYTHON_TARGET else "not met"))
    one_input = python_per_call(python, "python/evaluate/RVPINDEX/package")
    if one_input is not None:
        target_rows.append(("Python evaluate(), one-input correlation (RVPINDEX), per call",
                            f"≤ {fmt_ns(PYTHON_EVALUATE_TARGET_NS)}", fmt_ns(one_input),
                            "met" if one_input <= PYTHON_EVALUATE_TARGET_NS else "not met"))
    blend_model = {arg(name, "derivatives"): entry["ns"] for name, entry in m.items()
                   if name.startswith("BM_BlendModel/")}
    if 1 in blend_model:
        us = blend_model[1] / 1e3
        target_rows.append(("Blend model, 10 components, every property with all derivatives",
                            f"< {BLEND_MODEL_TARGET_US:.0f} µs", fmt_ns(blend_model[1]),
                            "met" if us < BLEND_MODEL_TARGET_US else "not met"))
    pools = {arg(name, "starts"): entry for name, entry in m.items()
             if name.startswith("BM_OptimizeGasolinePool/")}
    for starts, pool in sorted(pools.items(), reverse=True):
        ms = pool["ns"] / 1e6
        target_rows.append((f"Blend optimiser, 10 components, two products, 16 limits each, per solve "
                            f"({'two starts, the default' if starts == 2 else 'one start'})",
                            f"< {OPTIMIZE_TARGET_MS:.0f} ms", f"{ms:.1f} ms",
                            "met" if ms < OPTIMIZE_TARGET_MS else "not met"))
    say(table(["target", "goal", "this run", ""], target_rows) + "\n")

    # ---- catalogue ----------------------------------------------------------
    say("## Evaluation by index\n")
    say("Each correlation through `gfx_tarnGenCalc` next to the direct call of the function it "
        "wraps, on the inputs of the dispatch tests (copied afresh before each call on both "
        "sides, since some rows rewrite them). *index/direct* is the dispatcher's cost; "
        "*with/without* is the price of derivatives by index. The oxygenate corrections "
        "(CT10BLEND .. CT90BLEND) wrap no function: their direct column is the same "
        "arithmetic written out.\n")
    for family, title in FAMILIES:
        rows = catalogue.get(family)
        if not rows:
            continue
        say(f"### {title}\n")
        lines = []
        for ident, row in sorted(rows.items(), key=lambda item: item[1]["index"]):
            vd, vi, vr = row.get("values", (None, None, None))
            dd, di, dr = row.get("derivatives", (None, None, None))
            lines.append((row["index"], ident, row["inputs"], fmt_ns(vd), fmt_ns(vi), fmt_x(vr),
                          fmt_ns(dd), fmt_ns(di), fmt_x(dr), fmt_ratio(di, vi)))
        say(table(["index", "correlation", "inputs", "direct", "by index", "index/direct",
                   "direct, derivatives", "by index, derivatives", "index/direct",
                   "with/without derivatives"], lines) + "\n")
    if earlier is not None and ratios_now:
        ratios_then = index_ratios(catalogue_rows(earlier))
        say("Against the earlier run (`--before`): the dispatcher's cost, index/direct, each run's "
            "own pairs.\n")
        lines = []
        for mode in ("values", "derivatives"):
            then = [r for (_, m_), r in ratios_then.items() if m_ == mode]
            now = [r for (_, m_), r in ratios_now.items() if m_ == mode]
            if then and now:
                lines.append((f"median over {len(now)} correlations, {mode}",
                              fmt_x(statistics.median(then)), fmt_x(statistics.median(now))))
        single_ids = {ident for family in catalogue.values() for ident, row in family.items()
                      if row["inputs"] == 1}
        for mode in ("values", "derivatives"):
            worst_then = worst_of({k: r for k, r in ratios_then.items() if k[1] == mode}, single_ids)
            worst_now = worst_of({k: r for k, r in ratios_now.items() if k[1] == mode}, single_ids)
            if worst_then and worst_now:
                lines.append((f"worst single-input correlation, {mode}",
                              f"{worst_then[0]:.2f} ({worst_then[1]})",
                              f"{worst_now[0]:.2f} ({worst_now[1]})"))
        for ident in MULTI_INPUT_ROWS:
            for mode in ("values", "derivatives"):
                lines.append((f"{ident}, {mode}", fmt_x(ratios_then.get((ident, mode))),
                              fmt_x(ratios_now.get((ident, mode)))))
        say(table(["index/direct", "earlier run", "this run"], lines) + "\n")

    # ---- blends -------------------------------------------------------------
    if d86_rows:
        say("## Blends of n components\n")
        say("`gfx_D86` (method 0, equal parts of n gasoline curves): the derivatives are 8 rows "
            "per component (fraction and seven points), each a blend of the TBP curves with one "
            "component reconverted.\n")
        say(table(["n", "values", "with derivatives", "with/without", "per derivative row",
                   "row / blend"],
                  [(n, fmt_ns(v), fmt_ns(d), fmt_ratio(d, v), fmt_ns(r), fmt_x(ratio))
                   for n, v, d, r, ratio in d86_rows]) + "\n")
    if blend_model:
        say("The blend model (`tarnblend_model_evaluate_at`, a 10-component gasoline, 38 "
            "properties): every property at new volumes, and with the derivatives of each with "
            "respect to every volume.\n")
        say(table(["values", "with derivatives", "with/without"],
                  [(fmt_ns(blend_model.get(0)), fmt_ns(blend_model.get(1)),
                    fmt_ratio(blend_model.get(1), blend_model.get(0)))]) + "\n")
    if earlier is not None:
        load_before = earlier_context.get("load_avg")
        say(f"Against the earlier run (`--before`, run {earlier_context.get('date', '?')}"
            + (f", load average {', '.join(f'{x:.1f}' for x in load_before)}" if load_before else "")
            + "): the heaviest calls, each side the median of its own run, so the ratios carry the "
            "difference in the machine's load between the runs.\n")
        now, then = d86_derivatives(m), d86_derivatives(earlier)
        lines = [(f"gfx_D86 with derivatives, n = {n}", fmt_ns(then.get(n)), fmt_ns(now.get(n)),
                  fmt_x(speedup(then.get(n), now.get(n)))) for n in sorted(now)]
        for ident in ("EPA", "VISCOSITYINDEX1", "VISCOSITY1"):
            family = "emissions" if ident == "EPA" else "props"
            for mode in ("values", "derivatives"):
                name = f"catalogue/{family}/{ident}/{mode}"
                before, after = paired(earlier, name, "direct"), paired(m, name, "direct")
                lines.append((f"{ident}, {mode} (direct call)", fmt_ns(before), fmt_ns(after),
                              fmt_x(speedup(before, after))))
        for mode, label in ((0, "values"), (1, "with derivatives")):
            name = f"BM_BlendModel/derivatives:{mode}"
            before, after = earlier.get(name, {}).get("ns"), m.get(name, {}).get("ns")
            if before and after:
                lines.append((f"Blend model, 10 components, {label}", fmt_ns(before), fmt_ns(after),
                              fmt_x(speedup(before, after))))
        say(table(["call", "earlier run", "this run", "speed-up"], lines) + "\n")
    if pools:
        say("The blend optimiser (`tarnblend_problem_solve`): ten streams shared by a regular and a "
            "premium gasoline, 16 limits each (volatility, distillation points, octanes, "
            "composition), greatest margin; by default IPOPT runs from two starts (the "
            "proportional one and an even split; octane limits bind here, so the second start "
            "is taken) and the better optimum is kept, "
            "`tarnblend_problem_set_starts(problem, 1)` runs the first only.\n")
        before = {} if earlier is None else {arg(name, "starts"): entry for name, entry in earlier.items()
                                             if name.startswith("BM_OptimizeGasolinePool/")}
        header = ["starts", "per solve", "IPOPT iterations per solve"]
        if before:
            header += ["earlier run, per solve", "its iterations", "speed-up"]
        lines = []
        for starts, pool in sorted(pools.items(), reverse=True):
            line = [starts, fmt_ns(pool["ns"]), f"{pool['run'].get('iterations', 0):.0f}"]
            if before:
                then = before.get(starts)
                line += [fmt_ns(then["ns"]) if then else "–",
                         f"{then['run'].get('iterations', 0):.0f}" if then else "–",
                         fmt_x(speedup(then["ns"], pool["ns"])) if then else "–"]
            lines.append(tuple(line))
        say(table(header, lines) + "\n")
    find = sorted((arg(name, "n"), e["ns"]) for name, e in m.items()
                  if name.startswith("BM_FindPoints/"))
    if find:
        say("`gfx_FindPoints` (the blend search on n seven-point curves):\n")
        say(table(["n", "per call"], [(n, fmt_ns(ns)) for n, ns in find]) + "\n")
    healy = {}
    for name, entry in m.items():
        if name.startswith("BM_Healy/"):
            healy[(arg(name, "n"), arg(name, "derivatives"))] = entry["ns"]
    if healy:
        say("`gfx_Healy` (ten derivatives per component):\n")
        say(table(["n", "values", "with derivatives", "with/without"],
                  [(n, fmt_ns(healy.get((n, 0))), fmt_ns(healy.get((n, 1))),
                    fmt_ratio(healy.get((n, 1)), healy.get((n, 0))))
                   for n in sorted({n for n, _ in healy})]) + "\n")

    # ---- many rows ------------------------------------------------------------
    batch = []
    for flag in (0, 1):
        label = "with derivatives" if flag else "values"
        for what, source, prefix in (
                ("C: gfx_tarnGenCalcBatch", m, "BM_RvpIndexBatch/"),
                ("C: gfx_tarnGenCalc row by row", m, "BM_RvpIndexRowByRow/"),
                ("Python, NumPy arrays", python, "python/batch/numpy"),
                ("Python, lists", python, "python/batch/list")):
            ns = batch_ns(source, prefix, flag)
            base = batch_ns(m, "BM_RvpIndexBatch/", flag)
            if ns is not None:
                batch.append((what, label, fmt_ns(ns), fmt_ratio(ns, base)))
    plain = batch_ns(python, "python/batch/plain", 0)
    if plain is not None:
        batch.append(("Python, the formula in plain Python over a list", "values", fmt_ns(plain),
                      fmt_ratio(plain, batch_ns(m, "BM_RvpIndexBatch/", 0))))
    if batch:
        say("## Many rows\n")
        say("RVPINDEX over 10^6 rows; cost per row, and its ratio to the C batch loop.\n")
        say(table(["evaluation", "", "per row", "/ C batch"], batch) + "\n")

    # ---- Python against plain Python ------------------------------------------
    python_rows = []
    for what, package, plain in (
            ("evaluate(), RVPINDEX (one input), per call", "python/evaluate/RVPINDEX/package",
             "python/evaluate/RVPINDEX/plain"),
            ("evaluate(), CETANEINDEX4 (four inputs), per call",
             "python/evaluate/CETANEINDEX4/package", "python/evaluate/CETANEINDEX4/plain"),
            ("evaluate_many(), RVPINDEX, NumPy array, per row", "python/batch/numpy/derivatives:0",
             "python/batch/plain/derivatives:0"),
            ("evaluate_many(), RVPINDEX, list of rows, per row", "python/batch/list/derivatives:0",
             "python/batch/plain/derivatives:0")):
        a, b = python_per_call(python, package), python_per_call(python, plain)
        if a is not None and b is not None:
            python_rows.append((what, fmt_ns(a), fmt_ns(b), fmt_ratio(a, b)))
    if python_rows:
        say("## Python package against plain Python\n")
        say("The package's `evaluate` and `evaluate_many` next to the same formula written in "
            "plain Python (RVP^1.25; the ASTM D4737 four-variable cetane index, which the "
            "benchmark first checks gives the library's value). A single evaluation pays for "
            "the call into the library and the checks on its inputs and outputs; many rows "
            "from an array pay for them once.\n")
        say(table(["evaluation", "package", "plain Python", "package / plain"], python_rows) + "\n")

    # ---- blend models and the optimiser from Python ---------------------------
    c_blend = blend_model.get(1)
    # tarn.optimize solves with the problem's default starts (two).
    c_pool = pools[2]["ns"] if 2 in pools else None
    blend_rows = []
    for what, name, reference in (
            ("Recipe.properties_at(), values and derivatives, per call",
             "python/blend/properties_at/derivatives:1", c_blend),
            ("Recipe.blend(), every property with its texts and derivatives, per call",
             "python/blend/blend/derivatives:1", c_blend),
            ("tarn.optimize(), the pool problem, two starts, per solve (results read out)",
             "python/optimize/pool", c_pool)):
        ns = python_per_call(python, name)
        if ns is not None:
            blend_rows.append((what, fmt_ns(ns), fmt_ns(reference), fmt_ratio(ns, reference)))
    if blend_rows:
        say("## Blend models and the optimiser from Python\n")
        say("The package on the C benchmarks' problems (the ten streams as a `tarn.Recipe`, the "
            "pool problem as a dict), next to the C call: what the package adds is the "
            "conversion of missing values to NaN, and for `blend()` and `optimize()` reading "
            "every label, unit, reason and method out of the library.\n")
        say(table(["call", "package", "C", "package / C"], blend_rows) + "\n")

    sys.stdout.write("\n".join(out))


def python_per_call(source, name):
    """Median ns per call (or per row) of one Python benchmark, or None."""
    entry = source.get(name)
    return None if entry is None else entry["ns"] / float(entry["run"].get("rows", 1))


if __name__ == "__main__":
    main(sys.argv)
