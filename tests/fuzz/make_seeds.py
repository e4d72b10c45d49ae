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

# evaluate: settings count, index, settings, shape, one value per input. One
# seed per correlation with every input in the middle of its range, with
# derivatives (shape 1); the curves also sorted (shape 97).
for i in range(57):
    write("evaluate", "index%02d" % i, 0, index(i), 1, fraction(0, 1, 0.5) * 25)
for i in (5, 6, 41, 42, 49, 53):
    write("evaluate", "sorted%02d" % i, 0, index(i), 97, *(fraction(0, 1, (k + 1) / 27) for k in range(25)))
# A point count and a method set first (keywords EVAPORATIVE NPTS and P00,
# entries 37 and 36 of the keyword table; coefficient TYPCOR).
write("evaluate", "settings53", 2, index(53), 1, 37, fraction(-5, 30, 3), 3, 36, 0, fraction(0, 500, 200), 1,
      fraction(0, 1, 0.5) * 7)
write("evaluate", "settings06", 1, index(6), 0, index(0), fraction(-5, 30, 3), 1, fraction(0, 1, 0.5) * 7)

# router: op 0 queries, 1 properties, 2 coefficients, 3 evaluation, 4 messages,
# 5 lifecycle, 6 the bridge without a plug-in.
write("router", "every_operation", 0, index(0), index(1), 0, index(58), index(0), 0, index(70), index(0),
      1, index(1), 1, index(3), 2, index(58), index(1), raw(4.0), 0,
      3, index(9), 1, index(0), raw(0.5), raw(8.0), 3, index(57), 1, index(0), raw(0.5), raw(3.0),
      3, index(59), 3, index(2), raw(0.0), raw(1.0), raw(2.0), raw(3.0),
      3, index(62), 1, index(0), raw(1.0), raw(300.0), raw(100.0), raw(110.0), raw(120.0),
      4, 9, index(8), 2, raw(8.0), raw(9.0), 0, 5, 1, 5, 2, 5, 3, 6, index(0))
