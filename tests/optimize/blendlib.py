"""The blend library's optimiser and models through ctypes, for tests that
check it against independent solvers (SciPy) and finite differences."""

import ctypes as C
import json
import os

import numpy as np

MISSING = 1e30
OPTIMAL, INFEASIBLE, NOT_SOLVED, FEASIBLE = 0, 1, 2, 3
FREE, AT_MIN, AT_MAX, AT_TARGET = 0, 1, 2, 3

_tarn = C.CDLL(os.environ["TARN_LIBRARY"], mode=C.RTLD_GLOBAL)
_tarn.gfx_tarnInitializeAllocate(None)
lib = C.CDLL(os.environ["TARNBLEND_LIBRARY"])
lib.tarnblend_last_error.restype = C.c_char_p
_D = C.POINTER(C.c_double)


class BlendError(RuntimeError):
    def __init__(self, status):
        super().__init__(lib.tarnblend_last_error().decode())
        self.status = status


def ok(status):
    if status != 0:
        raise BlendError(status)


def out(kind=C.c_double):
    return kind()


class Problem:
    """A problem read from a dict in the problem-file format."""

    def __init__(self, spec):
        self.handle = C.c_void_p()
        ok(lib.tarnblend_problem_parse(json.dumps(spec).encode(), b"test", None, C.byref(self.handle)))
        count = out(C.c_int)
        ok(lib.tarnblend_problem_component_count(self.handle, C.byref(count)))
        self.components = count.value
        ok(lib.tarnblend_problem_product_count(self.handle, C.byref(count)))
        self.products = count.value

    def __del__(self):
        lib.tarnblend_problem_free(self.handle)

    def solve(self):
        outcome = out(C.c_int)
        ok(lib.tarnblend_problem_solve(self.handle, C.byref(outcome)))
        status, summary, iterations, objective = C.c_char_p(), C.c_char_p(), out(C.c_int), out()
        ok(lib.tarnblend_problem_solution(self.handle, None, C.byref(status), C.byref(summary),
                                          C.byref(iterations), C.byref(objective)))
        self.outcome, self.summary, self.objective = outcome.value, summary.value.decode(), objective.value
        return self.outcome

    def volumes(self, product):
        v = (C.c_double * self.components)()
        ok(lib.tarnblend_problem_volumes(self.handle, product, v, self.components))
        return np.array(v)

    def limits(self, product):
        count = out(C.c_int)
        ok(lib.tarnblend_problem_limit_count(self.handle, product, C.byref(count)))
        rows = []
        for k in range(count.value):
            key, unit, source = C.c_char_p(), C.c_char_p(), C.c_char_p()
            prop, binding = out(C.c_int), out(C.c_int)
            low, high, value, margin, shadow = out(), out(), out(), out(), out()
            ok(lib.tarnblend_problem_limit(self.handle, product, k, C.byref(key), C.byref(prop), C.byref(low),
                                           C.byref(high), C.byref(value), C.byref(margin), C.byref(binding),
                                           C.byref(shadow), C.byref(unit), C.byref(source)))
            rows.append(dict(key=key.value.decode(), property=prop.value, min=low.value, max=high.value,
                             value=value.value, margin=margin.value, binding=binding.value, shadow=shadow.value))
        return rows

    def component_result(self, i):
        volume, cost, value, binding = out(), out(), out(), out(C.c_int)
        ok(lib.tarnblend_problem_component_result(self.handle, i, C.byref(volume), C.byref(cost), C.byref(value),
                                                  C.byref(binding)))
        return dict(volume=volume.value, value=value.value, binding=binding.value)

    def product_result(self, p):
        volume, revenue, cost, value, binding = out(), out(), out(), out(), out(C.c_int)
        ok(lib.tarnblend_problem_product_result(self.handle, p, C.byref(volume), C.byref(revenue), C.byref(cost),
                                                C.byref(value), C.byref(binding)))
        return dict(volume=volume.value, value=value.value, binding=binding.value)

    def relaxations(self):
        count = out(C.c_int)
        ok(lib.tarnblend_problem_relaxation_count(self.handle, C.byref(count)))
        rows = []
        for k in range(count.value):
            p, limit, side, together, alone = out(C.c_int), out(C.c_int), out(C.c_int), out(), out()
            ok(lib.tarnblend_problem_relaxation(self.handle, k, C.byref(p), C.byref(limit), C.byref(side),
                                                C.byref(together), C.byref(alone)))
            rows.append(dict(product=p.value, limit=limit.value, side=side.value, together=together.value,
                             alone=alone.value))
        return rows

    def model(self, product):
        return Model(self, product)


class Model:
    """Product p's blend model, evaluated at any volumes (values and Jacobian
    with respect to the volumes) — the library's own numbers, for a second
    solver to use."""

    def __init__(self, problem, product):
        self.owner = problem
        self.handle = C.c_void_p()
        ok(lib.tarnblend_problem_model(problem.handle, product, C.byref(self.handle)))
        count = out(C.c_int)
        ok(lib.tarnblend_model_property_count(self.handle, C.byref(count)))
        self.count, self.n = count.value, problem.components

    def index(self, key):
        k = out(C.c_int)
        ok(lib.tarnblend_model_property_find(self.handle, key.encode(), C.byref(k)))
        return k.value

    def evaluate(self, volumes):
        v = np.ascontiguousarray(volumes, dtype=float)
        values, jacobian = np.empty(self.count), np.empty((self.count, self.n))
        status = lib.tarnblend_model_evaluate_at(self.handle, v.ctypes.data_as(_D), self.n,
                                                 values.ctypes.data_as(_D), jacobian.ctypes.data_as(_D))
        ok(status)
        return values, jacobian
