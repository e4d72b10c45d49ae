"""The optimiser against independent references: linprog (HiGHS) for linear limits, SLSQP on the model's
values otherwise, central differences for sensitivities, re-solves for relaxations, a root finder for back-solving."""

import copy

import numpy as np
import pytest
import tarn
from scipy.optimize import brentq, fsolve, linprog, minimize

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
RECIPE = {name: most / 2 for name, _, most, *_ in TABLE}
# Properties that blend linearly by volume, and by mass (weighted by density).
BY_VOLUME, BY_MASS = {"ARO", "OLF", "BNZ", "ETOH", "SPG"}, {"SUL", "EHO"}


def problem(products, objective=None, scale=1.0):
    components = [{"name": name, "cost": cost, "max": most * scale, "volume": most / 2, "properties": DATA[name]}
                  for name, cost, most, *_ in TABLE]
    return dict({"units": UNITS, "components": components, "products": products},
                **({"objective": objective} if objective else {}))


def solve(task, outcome="optimal"):
    solved = tarn.optimize(task, as_frame=False)
    assert solved.outcome == outcome, solved.summary
    return solved


def margin(task):
    return task.get("objective") != "min cost" and any("price" in p for p in task["products"])


class Model:
    """The same components as a package recipe: blended properties and Jacobian for a second solver."""

    def __init__(self):
        table = {"NAME": NAMES, "VOLUME[bbl]": list(RECIPE.values())}
        table.update({key: [DATA[n][key] for n in NAMES] for key in KEYS})
        self.recipe = tarn.Recipe(table, temperature_unit="F", units={**UNITS, "OLF": "vol%", "BNZ": "vol%",
                                                                        "ETOH": "vol%"})
        self.keys = self.recipe.blend(derivatives=False).keys

    def index(self, key):
        return self.keys.index(key)

    def evaluate(self, volumes):
        return self.recipe.properties_at(np.ascontiguousarray(volumes, dtype=float))


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


def linprog_optimum(task):
    """The exact LP optimum: a limit L on q is sum v_i (q_i - L) (times SPG_i when q blends by mass)."""
    n, products = len(NAMES), task["products"]
    cost = np.array([c["cost"] for c in task["components"]])
    c, a_ub, b_ub, a_eq, b_eq = [], [], [], [], []

    def row(p, coefficients):
        r = np.zeros(n * len(products))
        r[p * n:(p + 1) * n] = coefficients
        return r

    ones, eye = np.ones(n), np.eye(n)
    for p, product in enumerate(products):
        c.extend(cost - (product["price"] if margin(task) else 0))
        demand = product["demand"]
        low, high = (demand, demand) if not isinstance(demand, dict) else (demand.get("min", 0), demand.get("max"))
        if low == high:
            a_eq.append(row(p, ones)), b_eq.append(low)
        else:
            a_ub += [row(p, -ones), row(p, ones)]
            b_ub += [-low, high]
        for limit in product["limits"]:
            key = "SPG" if limit["property"] == "DEN" else limit["property"]
            to_key = 1 / 999.016 if limit["property"] == "DEN" else 1.0
            values = np.array([DATA[name][key] for name in NAMES])
            weight = np.array([DATA[name]["SPG"] for name in NAMES]) if key in BY_MASS else ones
            assert key in BY_VOLUME | BY_MASS
            for side, sign in (("min", -1), ("max", 1)):
                if side in limit:
                    a_ub.append(row(p, sign * weight * (values - to_key * limit[side]))), b_ub.append(0)
        for share in product.get("shares", []):
            a_ub.append(row(p, eye[NAMES.index(share["component"])] - share["max"] / 100 * ones)), b_ub.append(0)
        for ratio in product.get("ratios", []):
            a, b = NAMES.index(ratio["numerator"]), NAMES.index(ratio["denominator"])
            a_ub.append(row(p, ratio["min"] * eye[b] - eye[a])), b_ub.append(0)
    for i, comp in enumerate(task["components"]):
        a_ub.append(np.tile(eye[i], len(products))), b_ub.append(comp["max"])
    result = linprog(c, A_ub=np.array(a_ub), b_ub=b_ub, A_eq=np.array(a_eq) if a_eq else None,
                     b_eq=b_eq or None, bounds=(0, None), method="highs")
    assert result.status == 0, result.message
    return result.fun


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


def slsqp_optimum(task):
    """SLSQP sharing only the blend model's values and derivatives (volumes in thousands, objective scaled)."""
    products, n, scale = task["products"], len(NAMES), 1000.0
    model = Model()
    cost = np.array([c["cost"] for c in task["components"]])
    c = np.concatenate([cost - (p.get("price", 0) if margin(task) else 0) for p in products]) * scale
    norm = np.abs(c).max() * 10
    most = np.array([comp["max"] for comp in task["components"]])
    constraints, even, proportional = [], [], []

    def linear(row, bound):  # row @ x >= bound
        constraints.append({"type": "ineq", "fun": lambda x: row @ x - bound, "jac": lambda x: row})

    def limit(p, k, bound, sign):  # sign (property k of product p - bound) >= 0
        def gradient(x):
            g = np.zeros_like(x)
            g[p * n:(p + 1) * n] = sign * model.evaluate(x[p * n:(p + 1) * n] * scale)[1][k] * scale
            return g
        constraints.append({"type": "ineq", "jac": gradient,
                            "fun": lambda x: sign * (model.evaluate(x[p * n:(p + 1) * n] * scale)[0][k] - bound)})

    for p, product in enumerate(products):
        demand = product["demand"]
        low, high = (demand, demand) if not isinstance(demand, dict) else (demand["min"], demand["max"])
        share = np.eye(len(products) * n)[p * n:(p + 1) * n].sum(axis=0)
        linear(share, low / scale), linear(-share, -high / scale)
        for item in product["limits"]:
            for side, sign in (("min", 1.0), ("max", -1.0)):
                if side in item:
                    limit(p, model.index(item["property"]), item[side], sign)
        even.append(np.full(n, (low + high) / 2 / n / scale))
        proportional.append((low + high) / 2 * most / most.sum() / scale)
    for i in range(n):
        linear(-np.tile(np.eye(n)[i], len(products)), -most[i] / scale)
    box = [(0, m / scale) for m in most] * len(products)
    # Non-linear blending may have several local optima: the best of an even and a proportional start.
    best = None
    for start in (even, proportional):
        x0 = np.minimum(np.concatenate(start), [high for _, high in box])
        result = minimize(lambda x: c @ x / norm, x0, jac=lambda x: c / norm, method="SLSQP",
                          bounds=box, constraints=constraints, options={"ftol": 1e-12, "maxiter": 500})
        if result.success and (best is None or result.fun < best):
            best = result.fun
    assert best is not None, "SLSQP found no optimum from either start"
    return best * norm


PROBLEMS = {**LINEAR, **NONLINEAR}


@pytest.mark.parametrize("name", PROBLEMS)
def test_optimum_meets_an_independent_solver(name):
    task = PROBLEMS[name]
    reference, rel = (linprog_optimum(task), 1e-6) if name in LINEAR else (slsqp_optimum(task), 1e-4)
    assert (-1 if margin(task) else 1) * solve(task).objective == pytest.approx(reference, rel=rel)


@pytest.mark.parametrize("name", ["two products sharing components, margin", "vapour pressure and octane",
                                  "two grades, margin"])
def test_shadow_prices_and_marginal_values_are_the_slopes_of_the_optimum(name):
    """Each binding limit, availability and demand: the reported sensitivity is the optimum's central difference."""
    task = PROBLEMS[name]
    solved = solve(task)
    cases, seen = [], {}  # (reported slope per unit of the number in task, path to that number)
    limits = solved.limits
    for r, (product, binding) in enumerate(zip(limits["product"], limits["binding"])):
        p = solved.product_names.index(product)
        k = seen[p] = seen.get(p, -1) + 1
        if binding:
            # Shadow prices are per recipe unit; the limit may be in another (DEN in kg/m3 against SPG).
            given = task["products"][p]["limits"][k][binding]
            bound = limits["minimum" if binding == "min" else "maximum"][r]
            cases.append((limits["shadow_price"][r] * bound / given, ("products", p, "limits", k, binding)))
    for p, product in enumerate(task["products"]):
        binding = solved.products["demand_binding"][p]
        if binding:
            cases.append((solved.products["demand_value"][p],
                          ("products", p, "demand") + ((binding,) if isinstance(product["demand"], dict) else ())))
    for i, binding in enumerate(solved.components["availability_binding"]):
        if binding == "max":
            cases.append((solved.components["availability_value"][i], ("components", i, "max")))
    assert len(cases) >= 4
    for reported, path in cases:
        def optimum(step):
            changed = copy.deepcopy(task)
            holder = changed
            for key in path[:-1]:
                holder = holder[key]
            holder[path[-1]] += step
            return solve(changed).objective
        base = task
        for key in path:
            base = base[key]
        h = 2e-5 * max(1.0, abs(base))
        slope = (optimum(h) - optimum(-h)) / (2 * h)
        assert reported == pytest.approx(slope, rel=0.02, abs=1e-6 * abs(solved.objective)), path


@pytest.mark.parametrize("limits", [
    [{"property": "RVP", "max": 4.0}],  # below every component's reach
    [{"property": "AKI", "min": 91}, {"property": "T90", "max": 300}, {"property": "RVP", "max": 7.0}],
], ids=["one limit", "three, any one of which can give"])
def test_least_relaxations_are_least_and_enough(limits):
    """Each limit moved by its least relaxation (and a hair) gives a recipe; by 97 % of it, none."""
    task = problem([{"name": "Regular", "demand": 8000, "limits": limits}])
    solved = solve(task, "infeasible")
    relaxations = solved.relaxations
    alone = [(p, s, a) for p, s, a in zip(relaxations["property"], relaxations["side"], relaxations["alone"])
             if not np.isnan(a)]
    assert alone and solved.summary.startswith("no recipe meets every limit: relax ")
    for key, side, amount in alone:
        assert f"{key} {side} by" in solved.summary
        k = [limit["property"] for limit in limits].index(key)
        outcomes = []
        for share in (1.001, 0.97):
            moved = copy.deepcopy(task)
            moved["products"][0]["limits"][k][side] += share * amount * (1 if side == "max" else -1)
            outcomes.append(tarn.optimize(moved, as_frame=False).outcome)
        assert outcomes[0] in ("optimal", "feasible") and outcomes[1] == "infeasible", (key, outcomes)


def back_solving(targets, free, caps=None):
    """The recipe's components at their volumes, the free ones up to their cap; one product holding the targets."""
    caps = caps or {}
    return {"units": UNITS, "products": [
        {"name": "Blend", "targets": [{"property": key, "value": value} for key, value in targets.items()]}],
        "components": [dict({"name": n, "volume": v, "properties": DATA[n]},
                            **({"max": caps[n]} if n in caps else {} if n in free else {"fixed": v}))
                       for n, v in RECIPE.items()]}


@pytest.mark.parametrize("targets, free", [
    ({"RVP": 9.0}, ["Butane"]), ({"AKI": 89.0}, ["Alkylate"]), ({"RVP": 9.0, "AKI": 89.0}, ["Butane", "Alkylate"]),
])
def test_back_solving_finds_the_volumes_a_root_finder_finds(targets, free):
    solved = solve(back_solving(targets, free))
    found = solved.volumes[[NAMES.index(n) for n in free], 0]
    model = Model()
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
    """Butane capped at 200 bbl cannot reach 12 psi: the target moves to the RVP with all 200."""
    solved = solve(back_solving({"RVP": 12.0}, ["Butane"], {"Butane": 200}), "infeasible")
    assert list(solved.relaxations["side"]) == ["target"] and "move RVP target down by" in solved.summary
    volumes = np.array([RECIPE[n] for n in NAMES])
    volumes[NAMES.index("Butane")] = 200
    model = Model()
    assert 12.0 + solved.relaxations["alone"][0] == pytest.approx(model.evaluate(volumes)[0][model.index("RVP")],
                                                                  rel=1e-6)
