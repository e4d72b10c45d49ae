#!/usr/bin/env python3
"""Writes the binary seed corpora of the fuzz targets that read a byte script
(see ByteReader in fuzz_support.h). Run from this folder after changing a
target's input format; the keyword seeds are plain text and kept by hand."""
import os
import struct


def index(i):  # ByteReader::index for an index from -4 up
    return bytes([i + 4])


def fraction(low, high, x):  # ByteReader::value within [low, high]
    return bytes([0]) + struct.pack("<H", round((x - low) / (high - low) * 65535))


def raw(x):  # ByteReader::value as a bit pattern
    return bytes([255]) + struct.pack("<d", x)


NAN, INF = bytes([128 + 9]), bytes([128 + 11])  # ByteReader::value specials


def write(target, name, *parts):
    os.makedirs(os.path.join("corpus", target), exist_ok=True)
    with open(os.path.join("corpus", target, name), "wb") as f:
        f.write(b"".join(bytes([p]) if isinstance(p, int) else p for p in parts))


# catalogue: op 0 texts, 1 integers, 2 properties, 3 coefficients, 4 messages.
write("catalogue", "every_query", 0, index(0), index(2), 0, index(57), index(0), 1, index(9), index(0),
      1, index(13), index(0), 1, index(-1), index(0), 2, index(1), 2, index(2),
      3, index(7), index(3), raw(2.9), 0, 4, 4, index(8), 3, raw(7.5), raw(8.5), raw(-1.0), 1)
write("catalogue", "coefficient_rules", *(
    bytes([3]) + index(i) + index(k) + v + bytes([0])
    for i, k, v in [(11, 1, raw(6.7)), (52, 0, raw(1.0)), (41, 40, raw(13.6)), (42, 41, raw(-3.0)),
                    (56, 2, raw(-2.0)), (18, 0, raw(1.0)), (50, 14, NAN), (0, 0, INF),
                    (53, 12, raw(1e9)), (8, 0, raw(1.3))]))

MID = fraction(0, 1, 0.5)  # ByteReader::value at the middle of any range
USUAL = 1                  # ByteReader::chooseUsualOnly: every value of the operation from its range


def op(selector, *parts):  # one operation of the targets that choose usual values per operation
    return bytes([USUAL, selector]) + b"".join(bytes([p]) if isinstance(p, int) else p for p in parts)


# evaluate: op 0 one evaluation (settings count, index, settings, shape, one
# value per input), 4 a batch (index, rows + 1, flag, values), 5 the output
# counts (index, property), 6 lifecycle, 7 a setting. One seed per
# correlation with every input in the middle of its range and derivatives
# (shape 1), the curves also sorted (shape 97), then a batch of three rows.
for i in range(57):
    write("evaluate", "index%02d" % i, op(0, 0, index(i), 1, MID * 25), op(4, index(i), 4, 1, MID * 75))
for i in (5, 6, 41, 42, 49, 53):
    write("evaluate", "sorted%02d" % i, op(0, 0, index(i), 97, *(fraction(0, 1, (k + 1) / 27) for k in range(25))))
# A point count and a method set first (keywords EVAPORATIVE NPTS and P00 by
# their place in gfx_getCorParmsKeywords; coefficient TYPCOR), the output
# counts, every lifecycle call, the complex entry.
write("evaluate", "settings53", op(0, 2, index(53), 1, 0x85, 1, fraction(0, 500, 3), 3, 0x84, 0, fraction(0, 500, 200),
                                   1, MID * 7), op(5, index(53), index(0)), op(5, index(41), index(0)))
write("evaluate", "settings06", op(0, 1, index(6), 0, index(0), fraction(-5, 30, 3), 1, MID * 7))
write("evaluate", "lifecycle", *(op(6, k) for k in range(6)), op(0, 0, index(9), 3, MID), op(7, index(9), 1, 5, 0, MID))

# distill: 0 reads, 1 blends, 2 layouts, 3 conversions, 4 percent off,
# 5 indices, 6 settings; values in the middle of their ranges.
for k in range(6):
    write("distill", "operation%d" % k, op(k, 8, *([MID] * 80)))
for method in range(10):
    write("distill", "conversion%d" % method, op(3, method, 0, 1, *([MID] * 20)))
write("distill", "blend", op(1, 7, 0, *([1, MID] + [MID] * 6) * 3, MID, MID, MID, 1, 0, 1))
for k in range(4):
    write("distill", "settings%d" % k, op(6, k, 5, MID))
write("distill", "counts", op(4, 1, 1, 0, 1, 0, MID, 0, MID, *([MID] * 40)))

# emissions: 0 CARB models, 1 ethanol models, 2 evaporative, 3 EPA,
# 4 limits, 5 settings.
for k in range(5):
    for variant in range(3):
        write("emissions", "operation%d_%d" % (k, variant), op(k, variant, 1, 2, 3, *([MID] * 40)))
write("emissions", "epa_letters", op(3, 1, 0, MID, MID, 0, 1, ord("B"), 0, 1, ord("1"), 0, 1, ord("S"), 0, 1,
                                      ord("C"), 0, 0, 0, 0, MID, MID, MID, MID, MID, 0, 3, ord("B"), ord("1"),
                                      ord("S"), *([MID] * 11)))
write("emissions", "limits", *(op(4, 0, 0, k, 0, 1, 2, 15, 1) for k in range(7)), op(5, 1, 0, 1))

# functions: 0 property pairs, 1 power law, 2 several inputs, 3 blends,
# 4 octane and curves, 5 settings.
for k in range(6):
    for variant in range(10):
        write("functions", "operation%d_%d" % (k, variant), op(k, variant, 1, 1, *([MID] * 60)))
write("functions", "identical", op(3, 6, 0, *([MID] * 60)))

# router: op 0 queries, 1 properties, 2 coefficients, 3 evaluation, 4 messages,
# 5 lifecycle, 6 the bridge, 7 plug-in behaviour, 8 loads again.
router = {
    "queries": [0, 0, index(0), index(1), 0, 0, index(58), index(0), 0, 0, index(70), index(0), 0, 225, index(2)],
    "properties": [1, 0, index(1), 1, 0, index(3)],
    "coefficients": [2, 0, index(58), index(1), raw(4.0), 0],
    "builtin": [3, index(9), 1, index(0), raw(0.5), raw(8.0)],
    "single_value": [3, index(57), 1, index(0), raw(0.5), raw(3.0)],
    "complex": [3, index(59), 3, index(2), raw(0.0), raw(1.0), raw(2.0), raw(3.0)],
    "curve": [3, index(62), 1, index(0), raw(1.0), raw(300.0), raw(100.0), raw(110.0), raw(120.0)],
    "messages": [4, 9, index(8), 2, raw(8.0), raw(9.0), 0],
    "bridge": [6, index(0)],
    # Misbehaviours (texts over-long, counts given near the limits, failing
    # calculations), then queries and evaluations; loads of the other module,
    # failing starts and broken files.
    "misbehaving": [7, 0b00010100, 8, 9, 6, 7, 11, 12, 0, 0, index(57), index(0), 1, 0, index(2), 3, index(58), 0,
                    index(0), raw(1.0), raw(1.0), raw(2.0), raw(3.0)],
    "failing": [7, 0b00001011, 5, 2, 3, 1, 2, 0, 3, index(61), 3, index(0), raw(0.5), raw(1.0), raw(2.0), raw(3.0),
                raw(4.0)],
    "reloads": [8, 1, 0, 0, index(57), index(0), 8, 3, 8, 0, 8, 2, 8, 7, 0, 8, 7, 5],
}
for name, parts in router.items():
    write("router", name, *parts)
for k in range(4):
    write("router", "lifecycle%d" % k, 5, k)
