"""The blend optimiser against independent references: the exact LP optimum
from SciPy's linprog (HiGHS) for problems whose limits blend linearly,
SciPy's SLSQP on the library's own property values for non-linear ones,
finite differences of the optimal cost for every shadow price and marginal
value, re-solves for the least relaxations, and a root finder for
back-solving."""

import copy

import numpy as np
import pytest
from scipy.optimize import brentq, fsolve, linprog, minimize

from blendlib import AT_MAX, AT_MIN, AT_TARGET, FEASIBLE, FREE, INFEASIBLE, MISSING, OPTIMAL, Problem

KEYS = ["RVP", "IBP", "T10", "T30", "T50", "T70", "T90", "FBP", "RON", "MON", "ARO", "OLF", "BNZ", "SUL", "EHO",
        "ETOH", "SPG"]
UNITS = {"RVP": "psi", "T50": "F", "ARO": "vol%", "SUL": "ppm", "EHO": "wt%"}
# name, cost per bbl, availability max, then the properties in KEYS order.
TABLE = [
    ("Butane", 30, 1200, 51.6, 30, 30.5, 31, 31.5, 32, 32.5, 33, 93.8, 89.6, 0, 0.5, 0, 5, 0, 0, 0.584),
    ("Light straight run", 60, 3000, 11.5, 88, 108, 122, 138, 154, 176, 205, 70.5, 68.2, 3.5, 1, 1.2, 8, 0, 0, 0.665),
    ("Isomerate", 78, 2500, 13.5, 90, 100, 105, 110, 115, 125, 150, 87.5, 85.5, 0, 0, 0, 0.5, 0, 0, 0.655),
    ("Reformate", 85, 5000, 4.2, 112, 162, 214, 246, 277, 322, 392, 97.1, 87.2, 64, 1.2, 2.6, 1, 0, 0, 0.815),
    ("FCC naphtha", 75, 5500, 6.5, 95, 126, 162, 201, 259, 338, 408, 91.5, 80.3, 28, 24, 0.9, 25, 0, 0, 0.745),
    ("Alkylate", 95, 3000, 4.8, 102, 163, 201, 221, 236, 279, 384, 95.6, 93.2, 0.3, 0.4, 0, 6, 0, 0, 0.695),
    ("Ethanol", 80, 1800, 18, 172, 172.5, 173, 173.3, 173.6, 174, 175, 108.6, 89.7, 0, 0, 0, 5, 34.7, 100, 0.794),
]
NAMES = [row[0] for row in TABLE]
DATA = {row[0]: dict(zip(KEYS, row[3:])) for row in TABLE}
# Properties that blend linearly by volume, and by mass (weighted by density).
BY_VOLUME, BY_MASS = {"ARO", "OLF", "BNZ", "ETOH", "SPG"}, {"SUL", "EHO"}


def components(scale=1.0):
    return [{"name": name, "cost": cost, "max": most * scale, "volume": most / 2,
             "properties": DATA[name]} for name, cost, most, *_ in TABLE]


def problem(products, objective=None, scale=1.0):
    spec = {"units": UNITS, "components": components(scale), "products": products}
    if objective:
        spec["objective"] = objective
    return spec


REGULAR = {"name": "Regular", "demand": 8000,
           "limits": [{"property": "ARO", "max": 35}, {"property": "BNZ", "max": 1.0},
                      {"property": "OLF", "max": 18}, {"property": "SUL", "max": 10},
                      {"property": "DEN", "min": 720, "max": 775, "unit": "kg/m3"}]}
PREMIUM = {"name": "Premium", "demand": {"min": 2000, "max": 6000}, "price": 104,
           "limits": [{"property": "ARO", "max": 30}, {"property": "BNZ", "max": 0.9},
                      {"property": "SUL", "max": 8}, {"property": "ETOH", "min": 5, "max": 10}],
           "shares": [{"component": "Butane", "max": 4}],
           "ratios": [{"numerator": "Alkylate", "denominator": "Reformate", "min": 0.5}]}
LINEAR = {
    "one product, least cost": problem([REGULAR]),
    "two products sharing components, margin": problem([dict(REGULAR, demand={"min": 4000, "max": 9000},
                                                             price=96), PREMIUM]),
    "scarce components, fixed demands": problem([REGULAR, dict(PREMIUM, demand=6000)], "min cost", 0.75),
}


def linprog_optimum(spec):
    """The exact LP optimum, built from the component table (not from the
    library): a limit on a volume-blended property q is sum v_i (q_i - L) on
    one side of 0, on a mass-blended one sum v_i SPG_i (q_i - L)."""
    n, products = len(NAMES), spec["products"]
    cost = np.array([c["cost"] for c in spec["components"]])
    objective_margin = spec.get("objective") != "min cost" and any("price" in p for p in products)
    c, a_ub, b_ub, a_eq, b_eq = [], [], [], [], []

    def row(p, coefficients):
        r = np.zeros(n * len(products))
        r[p * n:(p + 1) * n] = coefficients
        return r

    for p, product in enumerate(products):
        c.extend(cost - (product["price"] if objective_margin else 0))
        ones = np.ones(n)
        demand = product["demand"]
        low, high = (demand, demand) if not isinstance(demand, dict) else (demand.get("min", 0), demand.get("max"))
        if low == high:
            a_eq.append(row(p, ones)), b_eq.append(low)
        else:
            a_ub.append(row(p, -ones)), b_ub.append(-low)
            if high is not None:
                a_ub.append(row(p, ones)), b_ub.append(high)
        for limit in product["limits"]:
            key = "SPG" if limit["property"] == "DEN" else limit["property"]
            to_key = (lambda x: x / 999.016) if limit["property"] == "DEN" else (lambda x: x)
            values = np.array([DATA[name][key] for name in NAMES])
            weight = np.array([DATA[name]["SPG"] for name in NAMES]) if key in BY_MASS else ones
            assert key in BY_VOLUME | BY_MASS
            if "min" in limit:
                a_ub.append(row(p, -weight * (values - to_key(limit["min"])))), b_ub.append(0)
            if "max" in limit:
                a_ub.append(row(p, weight * (values - to_key(limit["max"])))), b_ub.append(0)
        for share in product.get("shares", []):
            i = NAMES.index(share["component"])
            a_ub.append(row(p, np.eye(n)[i] - share["max"] / 100 * ones)), b_ub.append(0)
        for ratio in product.get("ratios", []):
            a, b = NAMES.index(ratio["numerator"]), NAMES.index(ratio["denominator"])
            a_ub.append(row(p, ratio["min"] * np.eye(n)[b] - np.eye(n)[a])), b_ub.append(0)
    for i, comp in enumerate(spec["components"]):
        a_ub.append(np.tile(np.eye(n)[i], len(products))), b_ub.append(comp["max"])
    result = linprog(c, A_ub=np.array(a_ub), b_ub=b_ub, A_eq=np.array(a_eq) if a_eq else None,
                     b_eq=b_eq if b_eq else None, bounds=(0, None), method="highs")
    assert result.status == 0, result.message
    return result.fun


@pytest.mark.parametrize("name", LINEAR)
def test_linear_limits_meet_the_exact_lp_optimum(name):
    spec = LINEAR[name]
    solved = Problem(spec)
    assert solved.solve() == OPTIMAL, solved.summary
    reference = linprog_optimum(spec)
    ours = solved.objective if spec.get("objective") == "min cost" or not any(
        "price" in p for p in spec["products"]) else -solved.objective
    assert ours == pytest.approx(reference, rel=1e-6)


NONLINEAR = {
    "vapour pressure and octane": problem([
        {"name": "Regular", "demand": 8000,
         "limits": [{"property": "RVP", "max": 9.0}, {"property": "AKI", "min": 87}, {"property": "ARO", "max": 35},
                    {"property": "BNZ", "max": 1.0}]}]),
    "distillation points": problem([
        {"name": "Summer", "demand": 9000,
         "limits": [{"property": "RVP", "max": 8.0}, {"property": "T50", "min": 170, "max": 230},
                    {"property": "T90", "max": 340}, {"property": "E100", "min": 46, "max": 71},
                    {"property": "RON", "min": 92}]}]),
    "two grades, margin": problem([
        {"name": "Regular", "demand": {"min": 3000, "max": 9000}, "price": 92,
         "limits": [{"property": "RVP", "max": 9.0}, {"property": "AKI", "min": 87}, {"property": "OLF", "max": 18}]},
        {"name": "Premium", "demand": {"min": 2000, "max": 5000}, "price": 101,
         "limits": [{"property": "RVP", "max": 8.5}, {"property": "RON", "min": 95}, {"property": "MON", "min": 85},
                    {"property": "E70", "min": 22}]}]),
}


def slsqp_optimum(spec):
    """SLSQP on the same problem, with the library's property values and
    derivatives as the only thing shared with the optimiser."""
    owner = Problem(spec)
    owner.solve()
    products, n = spec["products"], len(NAMES)
    models = [owner.model(p) for p in range(len(products))]
    scale = 1000.0
    cost = np.array([c["cost"] for c in spec["components"]])
    margin = any("price" in p for p in products)
    c = np.concatenate([cost - (p.get("price", 0) if margin else 0) for p in products]) * scale
    norm = np.abs(c).max() * 10  # an objective of a few units keeps SLSQP's steps sound
    constraints = []

    def limit(p, k, key, bound, sign):
        def value(x):
            return sign * (models[p].evaluate(x[p * n:(p + 1) * n] * scale)[0][k] - bound)

        def gradient(x):
            g = np.zeros_like(x)
            g[p * n:(p + 1) * n] = sign * models[p].evaluate(x[p * n:(p + 1) * n] * scale)[1][k] * scale
            return g
        constraints.append({"type": "ineq", "fun": value, "jac": gradient})

    even, proportional = [], []
    most = np.array([comp["max"] for comp in spec["components"]])
    for p, product in enumerate(products):
        demand = product["demand"]
        low, high = (demand, demand) if not isinstance(demand, dict) else (demand["min"], demand["max"])
        share = np.eye(len(products) * n)[p * n:(p + 1) * n].sum(axis=0)
        constraints.append({"type": "ineq", "fun": lambda x, s=share, lo=low / scale: s @ x - lo,
                            "jac": lambda x, s=share: s})
        constraints.append({"type": "ineq", "fun": lambda x, s=share, hi=high / scale: hi - s @ x,
                            "jac": lambda x, s=share: -s})
        for item in product["limits"]:
            k = models[p].index(item["property"])
            if "min" in item:
                limit(p, k, item["property"], item["min"], 1.0)
            if "max" in item:
                limit(p, k, item["property"], item["max"], -1.0)
        even.append(np.full(n, (low + high) / 2 / n / scale))
        proportional.append((low + high) / 2 * most / most.sum() / scale)
    for i, comp in enumerate(spec["components"]):
        row = np.tile(np.eye(n)[i], len(products))
        constraints.append({"type": "ineq", "fun": lambda x, r=row, m=comp["max"] / scale: m - r @ x,
                            "jac": lambda x, r=row: -r})
    # Each volume boxed by its component's availability keeps SLSQP's steps
    # where the blend models are defined.
    box = [(0, comp["max"] / scale) for comp in spec["components"]] * len(products)
    # Non-linear blending can leave more than one local optimum: the best
    # of two starts, an even split and one in proportion to availability.
    best = None
    for start in (even, proportional):
        x0 = np.minimum(np.concatenate(start), [high for _, high in box])
        result = minimize(lambda x: c @ x / norm, x0, jac=lambda x: c / norm, method="SLSQP",
                          bounds=box, constraints=constraints, options={"ftol": 1e-12, "maxiter": 500})
        if result.success and (best is None or result.fun < best):
            best = result.fun
    assert best is not None, "SLSQP found no optimum from either start"
    return best * norm


@pytest.mark.parametrize("name", NONLINEAR)
def test_non_linear_limits_agree_with_slsqp(name):
    spec = NONLINEAR[name]
    solved = Problem(spec)
    assert solved.solve() == OPTIMAL, solved.summary
    margin = any("price" in p for p in spec["products"])
    assert (-solved.objective if margin else solved.objective) == pytest.approx(slsqp_optimum(spec), rel=1e-4)


def optimum(spec):
    solved = Problem(spec)
    assert solved.solve() == OPTIMAL, solved.summary
    return solved.objective


@pytest.mark.parametrize("name", ["two products sharing components, margin", "vapour pressure and octane",
                                  "two grades, margin"])
def test_shadow_prices_and_marginal_values_are_the_slopes_of_the_optimum(name):
    """Each binding limit, availability and demand moved a little each way:
    the central difference of the optimal objective is the reported
    sensitivity, within 2 %."""
    spec = {**LINEAR, **NONLINEAR}[name]
    solved = Problem(spec)
    assert solved.solve() == OPTIMAL
    cases = []  # (reported slope per unit of the number in spec, path to that number)
    for p, product in enumerate(spec["products"]):
        for k, row in enumerate(solved.limits(p)):
            if row["binding"] == FREE:
                continue
            side = "min" if row["binding"] == AT_MIN else "max"
            given = product["limits"][k][side]
            # The sensitivity is per unit of the property's recipe unit; the
            # limit may be written in another (DEN in kg/m3 against SPG).
            cases.append((row["shadow"] * row[side] / given, ("products", p, "limits", k, side)))
        result = solved.product_result(p)
        if result["binding"] != FREE:
            demand = product["demand"]
            key = None if not isinstance(demand, dict) else ("min" if result["binding"] == AT_MIN else "max")
            cases.append((result["value"], ("products", p, "demand") + ((key,) if key else ())))
    for i in range(solved.components):
        if solved.component_result(i)["binding"] == AT_MAX:
            cases.append((solved.component_result(i)["value"], ("components", i, "max")))
    assert len(cases) >= 4
    for reported, path in cases:
        def moved(step):
            changed = copy.deepcopy(spec)
            holder = changed
            for key in path[:-1]:
                holder = holder[key]
            holder[path[-1]] += step
            return optimum(changed)
        base = spec
        for key in path:
            base = base[key]
        h = 2e-5 * max(1.0, abs(base))
        slope = (moved(h) - moved(-h)) / (2 * h)
        assert reported == pytest.approx(slope, rel=0.02, abs=1e-6 * abs(solved.objective)), path


INFEASIBLE_CASES = {
    "vapour pressure below every component's reach": [{"property": "RVP", "max": 4.0}],
    "three limits, any one of which can give": [{"property": "AKI", "min": 91}, {"property": "T90", "max": 300},
                                                {"property": "RVP", "max": 7.0}],
}


@pytest.mark.parametrize("name", INFEASIBLE_CASES)
def test_least_relaxations_are_least_and_enough(name):
    """Each limit that alone can restore feasibility, moved by its reported
    least relaxation (and a hair more), gives a recipe; moved by 97 % of it,
    none."""
    limits = INFEASIBLE_CASES[name]
    spec = problem([{"name": "Regular", "demand": 8000, "limits": limits}])
    solved = Problem(spec)
    assert solved.solve() == INFEASIBLE
    alone = [r for r in solved.relaxations() if r["alone"] != MISSING]
    assert alone and solved.summary.startswith("no recipe meets every limit: relax ")
    for relaxation in alone:
        side = "min" if relaxation["side"] == AT_MIN else "max"
        assert f'{limits[relaxation["limit"]]["property"]} {side} by' in solved.summary
        outcomes = []
        for share in (1.001, 0.97):
            moved = copy.deepcopy(spec)
            limit = moved["products"][0]["limits"][relaxation["limit"]]
            limit[side] += share * relaxation["alone"] * (1 if side == "max" else -1)
            outcomes.append(Problem(moved).solve())
        assert outcomes[0] in (OPTIMAL, FEASIBLE) and outcomes[1] == INFEASIBLE, (relaxation, outcomes)


RECIPE = {name: most / 2 for name, _, most, *_ in TABLE}
BACK_SOLVING = {
    "how much butane for 9.0 psi": ({"RVP": 9.0}, ["Butane"]),
    "how much alkylate for 89 AKI": ({"AKI": 89.0}, ["Alkylate"]),
    "butane and alkylate for 9.0 psi and 89 AKI": ({"RVP": 9.0, "AKI": 89.0}, ["Butane", "Alkylate"]),
}


def back_solving(targets, free, caps=None):
    """The recipe's components at their volumes but the free ones (at most
    their cap), one product holding the targets."""
    caps = caps or {}
    return {"units": UNITS, "products": [
        {"name": "Blend", "targets": [{"property": key, "value": value} for key, value in targets.items()]}],
        "components": [dict({"name": n, "volume": v, "properties": DATA[n]},
                            **({"max": caps[n]} if n in caps else {} if n in free else {"fixed": v}))
                       for n, v in RECIPE.items()]}


@pytest.mark.parametrize("name", BACK_SOLVING)
def test_back_solving_finds_the_volumes_a_root_finder_finds(name):
    targets, free = BACK_SOLVING[name]
    solved = Problem(back_solving(targets, free))
    assert solved.solve() == OPTIMAL, solved.summary
    found = solved.volumes(0)[[NAMES.index(n) for n in free]]
    model = solved.model(0)
    keys = [model.index(key) for key in targets]

    def residual(free_volumes):
        volumes = np.array([RECIPE[n] for n in NAMES])
        volumes[[NAMES.index(n) for n in free]] = free_volumes
        return model.evaluate(volumes)[0][keys] - np.array(list(targets.values()))
    if len(free) == 1:
        reference = [brentq(lambda b: residual([b])[0], 0.0, 20000.0, xtol=1e-9)]
    else:
        reference = fsolve(residual, [RECIPE[n] for n in free], xtol=1e-12)
    assert found == pytest.approx(reference, rel=1e-6)
    assert all(n in solved.summary for n in free)


def test_an_unreachable_target_moves_by_the_least_amount():
    """Butane capped at 200 barrels cannot lift the blend to 12 psi: the
    target moves down to the vapour pressure of the blend with all 200."""
    solved = Problem(back_solving({"RVP": 12.0}, ["Butane"], {"Butane": 200}))
    assert solved.solve() == INFEASIBLE
    (relaxation,) = solved.relaxations()
    assert relaxation["side"] == AT_TARGET and "move RVP target down by" in solved.summary
    volumes = np.array([RECIPE[n] for n in NAMES])
    volumes[NAMES.index("Butane")] = 200
    model = solved.model(0)
    reachable = model.evaluate(volumes)[0][model.index("RVP")]
    assert 12.0 + relaxation["alone"] == pytest.approx(reachable, rel=1e-6)
