"""tarn.dask on two worker processes: results in order, equal to local ones, no settings leaking between tasks."""

import functools
import os

import numpy
import pytest

for module, package in (("pandas", "python3-pandas"), ("dask.dataframe", "python3-dask"),
                        ("distributed", "python3-distributed")):
    pytest.importorskip(module, reason="tarn.dask needs %s (Debian %s)" % (module, package))

import dask.dataframe  # noqa: E402
import distributed  # noqa: E402
import pandas  # noqa: E402

import tarn  # noqa: E402
import tarn.dask  # noqa: E402

# distributed's event loop on this tornado release
pytestmark = pytest.mark.filterwarnings("ignore:make_current is deprecated:DeprecationWarning")


@pytest.fixture(scope="module")
def client():
    cluster = tarn.dask.local_cluster(2, dashboard_address=None, silence_logs=40)
    with distributed.Client(cluster) as started:
        yield started
    cluster.close()


def process(_case):
    return os.getpid()


def rvp_index(_case):
    # The RVP blending index of 9 psi under the settings of the task.
    return tarn.evaluate("RVPINDEX", [9.0]).outputs["RVPNDX"]


def test_cases_run_in_two_worker_processes_in_order(client):
    pids = tarn.dask.map_cases(process, range(12), client, batch_size=3)
    assert len(pids) == 12 and len(set(pids)) == 2 and os.getpid() not in pids
    # Settings are per task: sweeps with another RVP exponent alternate with ones that must see 1.25.
    for exponent in (1.3, None, 1.3, None):
        setup = exponent and functools.partial(tarn.set_parameter, "REIDVAPORPRESSURE", "*", exponent)
        results = tarn.dask.map_cases(rvp_index, range(4), client, setup=setup, batch_size=1)
        assert results == pytest.approx([9.0 ** (exponent or 1.25)] * 4)


def test_evaluation_partitions_equal_one_batch_here(client):
    rows = pandas.DataFrame({"rvp": numpy.linspace(6.0, 11.0, 40), "t10": 120.0,
                             "t50": numpy.linspace(190.0, 230.0, 40)})
    rows.loc[5, "t10"] = numpy.nan
    frame = dask.dataframe.from_pandas(rows, npartitions=4)
    out = tarn.dask.evaluate("TVL", frame, inputs=["rvp", "t10", "t50"], derivatives=True).compute()
    here = tarn.evaluate_many("TVL", rows.to_numpy(), derivatives=True)
    numpy.testing.assert_array_equal(out["TVL"].to_numpy(), here.outputs[:, 0])
    numpy.testing.assert_array_equal(out["dTVL/dT50"].to_numpy(), here.derivatives[:, 2, 0])
    assert out["status"].tolist() == here.statuses.tolist() and out.loc[5, "reason"] == "missing input T10"
    assert list(out.index) == list(rows.index)
    with pytest.raises(KeyError, match="RVP"):
        tarn.dask.evaluate("TVL", frame)  # the frame's columns are named otherwise


def test_blend_and_optimisation_cases_equal_single_runs(client):
    recipe = tarn.Recipe({"NAME": ["Butane", "Reformate", "Alkylate"], "VOLUME[bbl]": [300, 3000, 1900],
                          "RVP[psi]": [51.6, 4.2, 4.8], "ARO[vol%]": [0, 64, 0.3]})
    volumes = [[300, 3000, 1900], [0, 3000, 1900], {"Butane": 600}]
    table = tarn.dask.blend_cases(recipe, volumes, client)
    for row, v in zip(table.itertuples(), volumes):
        alone = recipe.copy()
        alone.set_volumes(v)
        assert (row.RVP, row.ARO) == (alone.blend()["RVP"], alone.blend()["ARO"])
    problems = [{"components": [{"name": "Butane", "cost": cost, "max": 1000},
                                {"name": "Reformate", "cost": 90}, {"name": "Alkylate", "cost": 100}],
                 "products": [{"name": "Mix", "demand": 5000,
                               "limits": [{"property": "RVP", "max": 9.0},
                                          {"property": "ARO", "max": 35}]}]}
                for cost in (20, 60, 95)] + [{"components": [], "products": []}]
    answers = tarn.dask.optimize_cases(problems, recipe, client)
    assert answers.outcome.tolist() == ["optimal"] * 3 + ["refused"]
    for k, problem in enumerate(problems[:3]):
        alone = tarn.optimize(problem, recipe)
        assert answers.objective[k] == alone.objective
        assert answers["volume:Mix:Butane"][k] == alone.recipe.at["Butane", "Mix"]
