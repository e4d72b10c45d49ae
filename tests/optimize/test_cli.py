"""tarn optimize end to end: example recipes pass their grade when blended again; back-solving, infeasible
grades, output formats, plots (bad input: tests/cli)."""

import csv
import io
import json
import os
import subprocess
from pathlib import Path

import pytest

TOOL = os.environ.get("TARN_CLI")
EXAMPLES = Path(os.environ["TARN_SOURCE_DIR"]) / "examples"
COMPONENTS = str(EXAMPLES / "gasoline-components.csv")
pytestmark = pytest.mark.skipif(not TOOL, reason="the tarn tool is not built")


def tarn(*args):
    return subprocess.run([TOOL, *map(str, args)], capture_output=True, text=True, timeout=300)


@pytest.mark.parametrize("example, checks", [
    ("gasoline-pool.json", {"Regular": ("US-CONVENTIONAL", "9.0"), "Premium": ("US-CONVENTIONAL", "9.0")}),
    ("diesel.json", {"Winter diesel": ("EN590", "C")}),
])
def test_example_recipes_pass_their_grade_when_blended_again(tmp_path, example, checks):
    run = tarn("optimize", EXAMPLES / example, "--json", "--save-recipes", tmp_path, "--plot", tmp_path / "curves.svg")
    assert run.returncode == 0, run.stderr
    result = json.loads(run.stdout)
    assert result["outcome"] == "optimal"
    for product in result["products"]:
        assert all(limit["margin"] >= 0 for limit in product["limits"]), product["limits"]
        assert sum(r["volume"] for r in product["recipe"]) == pytest.approx(product["volume"])
        grade, grade_class = checks[product["name"]]
        saved = tmp_path / (product["name"].replace(" ", "_") + ".csv")
        blended = tarn("blend", saved, "--grade", grade, "--class", grade_class, "--json")
        assert blended.returncode == 0, blended.stdout[-2000:] + blended.stderr
        svg = (tmp_path / "curves.svg") if len(checks) == 1 else tmp_path / f'curves-{saved.stem}.svg'
        assert "<svg" in svg.read_text() and product["name"] in svg.read_text()


def test_back_solving_from_the_command_line(tmp_path):
    run = tarn("optimize", COMPONENTS, "--target", "RVP=62 kPa", "--free", "Butane", "--save-recipes", tmp_path,
               "--json")
    assert run.returncode == 0, run.stderr
    result = json.loads(run.stdout)
    assert result["objective"] == "least change from the recipe"
    assert result["summary"].startswith("recipe found: Butane ")
    recipe = {r["component"]: r["volume"] for r in result["products"][0]["recipe"]}
    originals = {"Light straight run": 2000, "Reformate": 4000, "Ethanol": 1500}
    assert all(recipe[name] == pytest.approx(volume, rel=1e-9) for name, volume in originals.items())
    blended = json.loads(tarn("blend", tmp_path / "Blend.csv", "--json").stdout)
    assert blended["blend"]["RVP"]["value"] * 6.894757 == pytest.approx(62.0, abs=1e-4)


def test_an_infeasible_grade_says_what_to_relax():
    run = tarn("optimize", COMPONENTS, "--limit", "RVP<=4.0", "--limit", "AKI>=87", *[
        f"--cost={name}={cost}" for name, cost in [("Butane", 38), ("Light straight run", 71.5), ("Isomerate", 84),
                                                   ("Reformate", 92), ("FCC naphtha", 86), ("Alkylate", 101),
                                                   ("Ethanol", 88)]])
    assert run.returncode == 3, run.stderr
    assert "no recipe meets every limit: relax RVP max by 0." in run.stdout
    assert "Relaxations" in run.stdout


def test_csv_output_is_one_table():
    run = tarn("optimize", EXAMPLES / "diesel.json", "--csv")
    rows = list(csv.DictReader(io.StringIO(run.stdout)))
    sections = {row["section"] for row in rows}
    assert {"solution", "product", "recipe", "limit", "property", "component"} <= sections
    binding = [row for row in rows if row["section"] == "limit" and row["binding"]]
    assert binding and all(float(row["sensitivity"]) != 0 for row in binding)
