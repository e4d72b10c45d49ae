"""Recipes, blends, grades and the optimiser from Python against the tool's figures, hand conversions,
central differences and a linear blending problem."""

import json
import math
import os
import pickle
import subprocess

import numpy
import pytest

import tarn

pandas = pytest.importorskip("pandas", reason="pandas (python3-pandas) is needed for the DataFrame recipes")

CLI = os.environ.get("TARN_CLI")


@pytest.fixture(autouse=True)
def defaults():
    tarn.reset()
    yield
    tarn.reset()


@pytest.fixture(scope="module")
def samples(tmp_path_factory):
    """The tool's built-in sample recipes, written as files (every test using them skips without the tool)."""
    if not CLI:
        pytest.skip("TARN_CLI (the tarn tool built with this library) not set")
    folder = tmp_path_factory.mktemp("samples")
    paths = {}
    for product in ("gasoline", "diesel", "jet"):
        paths[product] = folder / ("%s.csv" % product)
        paths[product].write_bytes(subprocess.run([CLI, "sample", "--product", product], check=True,
                                                  capture_output=True).stdout)
    return paths


def tool_blend(path):
    run = subprocess.run([CLI, "blend", str(path), "--json"], check=True, capture_output=True, text=True)
    return json.loads(run.stdout)["blend"]


def test_blends_equal_the_tool_on_its_samples(samples):
    for product, path in samples.items():
        table = pandas.read_csv(path, comment="#")
        from_file = tarn.Recipe(path).blend()
        # A DataFrame, a mapping of NumPy columns or names as row labels: the same reader.
        for given in (table, {c: table[c].to_numpy() for c in table.columns},
                      table.set_index("NAME")):
            again = tarn.Recipe(given, product=product).blend(as_frame=False)
            assert again.keys == from_file.keys and again.units == from_file.units
            numpy.testing.assert_array_equal(again.values, from_file.values)
        expected = tool_blend(path)
        assert from_file.product == product
        # The tool leaves out figures none of whose inputs the recipe has.
        assert {k for k, s in zip(from_file.keys, from_file.statuses) if s != "not given"} == set(expected)
        for key, figure in expected.items():
            if figure["value"] is None:
                assert math.isnan(from_file[key]) and from_file.reason(key) == figure["reason"], key
            else:
                assert from_file[key] == pytest.approx(figure["value"], rel=1e-13, abs=1e-13), key
            row = from_file.properties.loc[key]
            assert (row.unit, row.method, row.estimate) == (figure["unit"], figure["method"],
                                                            figure["estimate"]), key


def test_units_in_column_headers_come_back_out(samples):
    # The gasoline sample in kPa and degrees C: the figures come back in those units.
    table = pandas.read_csv(samples["gasoline"], comment="#")
    metric = table.rename(columns={"RVP[psi]": "RVP[kPa]"})
    metric["RVP[kPa]"] = table["RVP[psi]"] * 6.894757
    curve = [c for c in table.columns if c.endswith("[F]")]
    metric[curve] = (table[curve] - 32) / 1.8
    metric = metric.rename(columns={c: c.replace("[F]", "") for c in curve})
    imperial = tarn.Recipe(samples["gasoline"]).blend()
    blend = tarn.Recipe(metric, units={c[:-3]: "C" for c in curve}).blend()
    assert blend.properties.at["RVP", "unit"] == "kPa" and blend.properties.at["T50", "unit"] == "C"
    assert blend["RVP"] == pytest.approx(imperial["RVP"] * 6.894757, rel=2e-6)
    assert blend["T50"] == pytest.approx((imperial["T50"] - 32) / 1.8, rel=2e-6)


# libtarn's own wide-step differences: the sample's 3.7 wt% oxygen lies outside CARB's range.
LOOSE = {"CARB.CNX", "CARB.THC", "CARB.POT"}


@pytest.mark.parametrize("product", ["gasoline", "diesel"])
def test_jacobian_against_central_differences(samples, product):
    recipe = tarn.Recipe(samples[product])
    blend = recipe.blend()
    jacobian = blend.jacobian
    assert list(jacobian.columns) == list(recipe.components) and list(jacobian.index) == list(blend.keys)
    base = recipe.volumes
    step = 1e-4 * base.sum()
    for i, component in enumerate(recipe.components):
        shifted = []
        for sign in (1, -1):
            volumes = base.copy()
            volumes[i] += sign * step
            recipe.volumes = volumes
            shifted.append(recipe.blend(derivatives=False).values)
        difference = (shifted[0] - shifted[1]) / (2 * step)
        for k, key in enumerate(blend.keys):
            if key in LOOSE or blend.statuses[k] != "computed":
                continue
            assert jacobian.at[key, component] == pytest.approx(difference[k], rel=1e-2, abs=1e-7), \
                (key, component)
    # The solver's entry gives the same numbers without the texts.
    values, matrix = recipe.properties_at(base)
    numpy.testing.assert_array_equal(values, blend.values)
    numpy.testing.assert_array_equal(matrix, blend.derivatives)
    assert blend.derivatives.shape == (len(blend.keys), len(base))
    # The rows of figures not given hold no derivative.
    assert numpy.isnan(blend.derivatives[[s == "not given" for s in blend.statuses]]).all()


def test_grade_checks(samples, tmp_path):
    recipe = tarn.Recipe(samples["gasoline"])
    rvp = recipe.blend()["RVP"]
    site = tmp_path / "site.csv"
    site.write_text("property,min,max,unit,source\nRVP,,62,kPa,site rule\nAKI,87,,,site rule\n")
    # (grade, class, passes every limit, failing properties)
    cases = [("ASTM-D4814", "B", True, []),
             ("astm-d4814", "AA", False, ["RVP"]),      # 54 kPa = 7.83 psi
             (str(site), None, False, ["RVP"])]        # 62 kPa = 8.99 psi
    for grade, grade_class, on_spec, failing in cases:
        checked = recipe.check(grade, grade_class)
        rows = checked.table
        assert checked.on_spec is on_spec and checked.unchecked == 0, grade
        assert sorted(rows[rows.verdict == "FAIL"].property) == failing, grade
        at = rows[rows.property == "RVP"].iloc[0]
        assert at.unit == "psi" and at.value == pytest.approx(rvp)
        assert at.margin == pytest.approx(at.maximum - rvp)  # the giveaway, negative when outside
    assert checked.table.loc[0, "maximum"] == pytest.approx(62 / 6.894757, rel=1e-6)
    assert checked.table.loc[1, "source"] == "site rule"
    # Without the butane the sample meets the tighter class.
    recipe.set_volumes({"Butane": 0.0})
    assert recipe.check("ASTM-D4814", "A").on_spec
    # Figures not computed are not checked: without end points no curve, so neither T50 nor FBP.
    no_end = tarn.Recipe(pandas.read_csv(samples["gasoline"], comment="#").drop(columns="FBP[F]"))
    checked = no_end.check("ASTM-D4814", "B", as_frame=False)
    rows = checked.table
    assert (checked.unchecked, checked.failures) == (2, 0)
    assert list(rows["verdict"]) == ["PASS", "not checked", "not checked"]
    assert all("FBP" in reason for reason in rows["reason"][1:]) and numpy.isnan(rows["margin"][1:]).all()
    # Verdicts on estimated figures say so: T95 from T90 and FBP, CFPP from the cloud point.
    diesel = tarn.Recipe(samples["diesel"]).check("EN590", "B").table
    assert sorted(diesel[diesel.estimate].property) == ["CFPP", "T95"]
    listed = tarn.grades()
    assert {"ASTM-D4814", "EN228", "EN590"} <= set(listed.index)
    assert listed.loc["EN590", "product"] == "diesel"
    with pytest.raises(tarn.BlendError, match="EN590"):
        recipe.check("EN590")  # a diesel grade
    with pytest.raises(tarn.BlendError):
        recipe.check("NO-SUCH-GRADE")


def test_recipes_refuse_bad_tables_and_keep_their_state():
    table = {"NAME": ["Reformate", "Alkylate"], "VOLUME[bbl]": [3000, 1900],
             "RVP[psi]": [4.2, 4.8], "RON": [97.1, 95.6]}
    recipe = tarn.Recipe(table)
    # (table change, exception, words the message must hold)
    refused = [
        ({"RVP[psi]": ["4.2", 4.8]}, TypeError, "row 0, column RVP[psi]"),
        ({"RVP[psi]": [True, 4.8]}, TypeError, "not a number"),
        ({"RVP[psi]": [4.2]}, ValueError, "differ in length"),
        ({"RVP[bar]": [4.2, 4.8], "RVP[psi]": None}, None, None),  # another unit of RVP is fine
        ({"RVPX[psi]": [4.2, 4.8]}, tarn.BlendError, "column RVPX[psi]: unknown column"),
        ({"RVP[psi]": [4.2, -1.0]}, tarn.BlendError, "row 1 (Alkylate), column RVP[psi]"),
        ({"RVP[furlong]": [4.2, 4.8], "RVP[psi]": None}, tarn.BlendError, "unknown unit"),
        ({"NAME": ["Reformate", "Reformate"]}, tarn.BlendError, "appears twice"),
        ({"NAME": ["Reformate", None]}, tarn.BlendError, "row 1, column NAME: a component has no name"),
    ]
    for change, kind, words in refused:
        given = {**table, **change}
        given = {k: v for k, v in given.items() if v is not None}
        if kind is None:
            tarn.Recipe(given)
            continue
        with pytest.raises(kind) as error:
            tarn.Recipe(given)
        assert words in str(error.value), (change, str(error.value))
    with pytest.raises(KeyError, match="T5O"):
        tarn.Recipe(table, units={"T5O": "C"})  # a unit for no column is a typing error
    before = recipe.volumes
    for volumes, kind in (([1.0, -1.0], tarn.BlendError), ([1.0], ValueError),
                          ({"Butane": 1.0}, KeyError), (["1", 2], TypeError)):
        with pytest.raises(kind):
            recipe.set_volumes(volumes)
        numpy.testing.assert_array_equal(recipe.volumes, before)
    with pytest.raises(tarn.BlendError):
        tarn.Recipe({**table, "VOLUME[bbl]": [0, 0]})
    # A pickled recipe (what goes to a Dask worker) blends as the original, with its changed volumes and options.
    recipe.set_volumes({"Alkylate": 500.0})
    recipe.set_option("D86METHOD", 1)
    copy = pickle.loads(pickle.dumps(recipe))
    numpy.testing.assert_array_equal(copy.volumes, [3000, 500])
    assert copy.option("D86METHOD") == 1 and copy.blend()["RVP"] == recipe.blend()["RVP"] < 4.8
    assert copy.blend(as_frame=False).properties.at["RON", "unit"] == ""


# A small linear problem (its optimum: tests/optimize); here, what the package makes of the answer.
LP_COMPONENTS = {  # cost per bbl, available bbl, ARO, BNZ, OLF (vol%)
    "Reformate": (92.0, 5000, 64.0, 2.6, 1.2),
    "FCC naphtha": (86.0, 6000, 28.0, 0.9, 24.0),
    "Alkylate": (101.0, 3000, 0.3, 0.0, 0.4),
    "Isomerate": (84.0, 2500, 0.0, 0.0, 0.0),
}
LP_LIMITS = {"ARO": 35.0, "BNZ": 1.0, "OLF": 15.0}


def lp_problem(limits=LP_LIMITS, demand=8000.0):
    return {"units": {"ARO": "vol%", "BNZ": "vol%", "OLF": "vol%"},
            "components": [{"name": name, "cost": cost, "max": most,
                            "properties": {"ARO": aro, "BNZ": bnz, "OLF": olf}}
                           for name, (cost, most, aro, bnz, olf) in LP_COMPONENTS.items()],
            "products": [{"name": "Blend", "product": "gasoline", "demand": demand,
                          "limits": [{"property": k, "max": v} for k, v in limits.items()]}]}


def test_optimize_answers_as_frames():
    optimum = tarn.optimize(lp_problem())
    assert optimum.outcome == "optimal" and optimum.objective_kind == "least cost"
    recipe = optimum.recipe
    assert list(recipe.columns) == ["Blend"] and list(recipe.index) == list(LP_COMPONENTS)
    volumes = recipe["Blend"].to_numpy()
    assert volumes.sum() == pytest.approx(8000.0, rel=1e-6)
    costs = numpy.array([row[0] for row in LP_COMPONENTS.values()])
    assert optimum.objective == pytest.approx(costs @ volumes, rel=1e-6)
    # ARO, BNZ and OLF blend by volume: the blend is the volume average, within its limits.
    for k, key in enumerate(LP_LIMITS):
        average = sum(v * row[2 + k] for v, row in zip(volumes, LP_COMPONENTS.values())) / 8000.0
        assert optimum.properties["Blend"][key] == pytest.approx(average, abs=1e-6)
        assert average <= LP_LIMITS[key] + 1e-6
    limits = optimum.limits.set_index("property")
    assert set(LP_LIMITS) <= set(limits.index) and (limits.binding == "max").any()
    assert (limits.shadow_price[limits.binding == ""].abs() < 1e-6).all()
    assert optimum.row()["volume:Blend:Alkylate"] == volumes[2]

    with pytest.raises(tarn.BlendError, match="products"):
        tarn.optimize({**lp_problem(), "products": []})
    with pytest.raises(ValueError):
        tarn.optimize({**lp_problem(), "objective": math.nan})


def test_optimize_takes_its_components_from_a_recipe(samples):
    # Back-solving through a Recipe: how much butane takes the sample to 9.0 psi with the other components held.
    recipe = tarn.Recipe(samples["gasoline"])
    held = [{"name": name, "fixed": volume} for name, volume in zip(recipe.components, recipe.volumes)
            if name != "Butane"]
    optimum = tarn.optimize({"components": held + [{"name": "Butane"}],
                             "products": [{"name": "Regular", "targets": [{"property": "RVP",
                                                                           "value": 9.0}]}]},
                            recipe=recipe)
    assert optimum.outcome == "optimal" and optimum.objective_kind == "least change"
    butane = optimum.recipe.at["Butane", "Regular"]
    recipe.set_volumes({"Butane": butane})
    assert recipe.blend()["RVP"] == pytest.approx(9.0, abs=1e-4)
    assert optimum.blends["Regular"]["RVP"] == pytest.approx(9.0, abs=1e-4)
