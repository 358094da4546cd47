#!/usr/bin/env python3
"""Makes phantom.png: a 16-bit grey picture of soft ellipses, bars and rings."""

import math
import os
import struct
import sys

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(here, "..", "tools"))
sys.dont_write_bytecode = True
import pictures

SIZE = 512

# Value, half axes, centre, turn in degrees; the values of ellipses that overlap add up.
ELLIPSES = [
    (30000, 0.69, 0.92, 0.0, 0.0, 0),
    (-18000, 0.6624, 0.874, 0.0, -0.0184, 0),
    (-7000, 0.11, 0.31, 0.22, 0.0, -18),
    (-7000, 0.16, 0.41, -0.22, 0.0, 18),
    (9000, 0.21, 0.25, 0.0, 0.35, 0),
    (8000, 0.046, 0.046, 0.0, 0.1, 0),
    (8000, 0.046, 0.046, 0.0, -0.1, 0),
    (12000, 0.046, 0.023, -0.08, -0.605, 0),
    (12000, 0.023, 0.023, 0.0, -0.606, 0),
    (12000, 0.023, 0.046, 0.06, -0.605, 0),
]


def ellipse(x, y, a, b, x0, y0, turn):
    """1 inside, 0 outside, with an edge two pixels wide."""
    c, s = math.cos(math.radians(turn)), math.sin(math.radians(turn))
    u, v = (x - x0) * c + (y - y0) * s, (y - y0) * c - (x - x0) * s
    distance = (1 - math.hypot(u / a, v / b)) * min(a, b) * SIZE / 2
    return min(1.0, max(0.0, distance / 2 + 0.5))


def texture(x, y):
    """Rings that grow finer outwards, in the two lower corners."""
    r = math.hypot(abs(x) - 0.82, y + 0.82)
    return 9000 * (0.5 + 0.5 * math.cos(1800 * r * r)) if r < 0.15 else 0


def value(column, row):
    x, y = (column + 0.5) / SIZE * 2 - 1, 1 - (row + 0.5) / SIZE * 2
    grey = 700 + 2 * column + 3 * (SIZE - row)
    for strength, *shape in ELLIPSES:
        grey += strength * ellipse(x, y, *shape)
    return min(65535, max(0, round(1.9 * (grey + texture(x, y)))))


def main():
    rows = [struct.pack(f">{SIZE}H", *(value(x, y) for x in range(SIZE))) for y in range(SIZE)]
    pictures.write_png(os.path.join(here, "phantom.png"), SIZE, SIZE, 16, pictures.GREY, rows)


if __name__ == "__main__":
    main()
