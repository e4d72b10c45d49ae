#!/usr/bin/env python3
"""Writes the byte-script and problem seed corpora; run here after an input format changes."""
import glob
import os
import struct


def index(i):  # ByteReader::index for an index from -4 up
    return bytes([i + 4])


def raw(x):  # ByteReader::value as a bit pattern
    return bytes([255]) + struct.pack("<d", x)


# ByteReader::value inside any range; as choice bytes 1 or 128 (a flag set ...).
FILL = bytes([1, 128, 128]) * 30


def op(selector, *parts):  # one operation, every value of it from its range
    return bytes([1, selector]) + b"".join(bytes([p]) if isinstance(p, int) else p for p in parts)


def write(target, name, *parts):
    os.makedirs(os.path.join("corpus", target), exist_ok=True)
    with open(os.path.join("corpus", target, name), "wb") as f:
        f.write(b"".join(bytes([p]) if isinstance(p, int) else p for p in parts))


for target in ("catalogue", "distill", "emissions", "evaluate", "functions", "router", "problem"):
    for old in glob.glob(os.path.join("corpus", target, "*")):
        os.remove(old)

# Each operation with each of its first choices, the rest from FILL.
for target, operations, choices in (("distill", 7, 12), ("functions", 5, 24), ("emissions", 5, 8)):
    for k in range(operations):
        for v in range(choices):
            write(target, "op%d_%02d" % (k, v), op(k, v, FILL))

# catalogue: 0-1 a query (which, index, position), 2 messages, 3 a coefficient set.
write("catalogue", "every_query", *(op(0, q, index(i), index(k)) for q in range(16) for i, k in ((9, 0), (-1, 1))))
write("catalogue", "messages",
      op(2, 4, index(8), 5, raw(7.5), raw(8.5), raw(-1.0), 1))
write("catalogue", "coefficient_rules", *(op(3, index(i), index(k), v) for i, k, v in
      [(11, 1, raw(6.7)), (52, 0, raw(1.0)), (41, 40, raw(13.6)), (42, 41, raw(-3.0)), (56, 2, raw(-2.0)),
       (18, 0, raw(1.0)), (50, 14, raw(float("nan"))), (53, 12, raw(1e9))]))

# evaluate: 0-3 an evaluation (settings count, index, settings, shape, values), 4 a batch
# (index, rows + 1, flag, values), 5 output counts, 6 lifecycle, 7 a setting.
for i in range(57):
    write("evaluate", "index%02d" % i, op(0, 0, index(i), 1, FILL), op(4, index(i), 4, 1, FILL * 3))
for i in (5, 6, 41, 42, 49, 53):
    write("evaluate", "sorted%02d" % i, op(0, 0, index(i), 97, FILL))
write("evaluate", "lifecycle", *(op(6, k) for k in range(6)), op(5, index(41), 0), op(7, index(9), 0, 1, 1))

# emissions: the EPA conversions with letters the models read, and limits.
text = lambda letters: bytes([2, len(letters)]) + bytes("ABCNRSUWYZabcnrsuwyz12 ".index(c) for c in letters)
write("emissions", "epa_letters", op(2, 1, 0, FILL[:6], text("B"), text("1"), text("S"), text("C"), 1, 1, 1, 1,
                                     FILL))
write("emissions", "limits", *(op(3, 0, 0, k, 0, 1, 2, 3, 15, 1) for k in range(7)))

# router: 0-1 a query, 2 properties, 3 a coefficient set, 4 an evaluation, 5 messages,
# 6 lifecycle, 7 misbehaviour, 8 a load; 57-61 are the plug-in's correlations.
near = lambda i: bytes([0]) + index(i)  # combinedIndex near the numbering
for q in range(12):
    write("router", "query%02d" % q, *(op(0, q, near(i), index(1)) for i in (9, 57, 58, 61, 70)))
write("router", "properties", *(op(2, 0, index(k)) for k in range(6)), op(3, near(58), index(1), raw(4.0)))
for name, i, shape in (("builtin", 9, 1), ("single_value", 57, 1), ("complex", 59, 3), ("curve", 61, 1)):
    write("router", name, op(4, index(i), shape, index(2), raw(0.5), raw(300.0), raw(100.0), raw(110.0), raw(120.0)))
write("router", "messages_lifecycle", op(5, 9, 2, raw(8.0), raw(9.0), 0, index(8)), op(6, 0), op(6, 1))
# Misbehaviours, then queries and evaluations; loads, failing starts, broken files.
write("router", "misbehaving", op(7, 0b00010100, 8, 9, 6, 7, 11, 12), op(0, 0, near(57), index(0)),
      op(0, 7, near(58), index(0)), op(4, index(58), 1, index(0), FILL))
write("router", "failing", op(7, 0b00001011, 5, 2, 3, 1, 2, 0), op(4, index(61), 1, index(0), FILL))
write("router", "reloads", op(8, 1), op(0, 0, near(57), index(0)), op(8, 3, 0), op(8, 2), op(8, 7, 0), op(8, 7, 5))

# problem: options byte, problem file, NUL, grade file (fuzz.grade).
for name, recipe in (("gasoline-pool", 1), ("diesel", 0)):
    with open(os.path.join("..", "..", "examples", name + ".json"), "rb") as f:
        example = f.read()
    write("problem", name, recipe, example)
    write("problem", name + "_given_recipe", 2 - recipe if recipe == 0 else 0, example)
grade = b'{"name": "Fuzz", "product": "diesel", "limits": [{"property": "CN", "min": 51, "source": "EN 590"},' \
        b' {"property": "T95", "max": 360, "unit": "C"}, {"property": "DEN", "min": 820, "max": 845}]}'
write("problem", "grade_file", 2, b'{"components": [{"name": "Kerosene", "cost": 640, "max": 2500},'
      b' {"name": "Heavy gas oil", "cost": 548, "fixed": 1000}], "products": [{"name": "D", "grade": "fuzz.grade",'
      b' "demand": {"min": 2000}, "targets": [{"property": "CN", "value": 52}], "ratios": [{"numerator":'
      b' "Kerosene", "denominator": "Heavy gas oil", "max": 2}]}]}', 0, grade)
write("problem", "grade_csv", 0, b'{"recipe": "diesel-components.csv", "objective": "cost", "starts": 1,'
      b' "products": [{"name": "D", "grade": "fuzz.grade", "shares": [{"component": "Kerosene", "max": 30}]}]}',
      0, b"property,min,max,unit,source\nCFPP,,-5,C,EN 590\nFLASH,55,,C,\n")
write("problem", "own_properties", 0, b'{"product": "gasoline", "units": {"T50": "C"}, "components": [{"name":'
      b' "A", "cost": 1, "properties": {"RVP": 9, "T50": 95, "RON": 92}}, {"name": "B", "cost": 2, "volume": 5,'
      b' "properties": {"RVP": 5, "T50": 110, "RON": 98}}], "products": [{"name": "P", "limits":'
      b' [{"property": "RON", "min": 95}, {"property": "RVP", "max": 60, "unit": "kPa"}], "price": 3}]}')
