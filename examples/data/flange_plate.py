#!/usr/bin/env python3
"""Writes the drawing flange_plate.dxf beside it: a flange plate of 200 x 120 mm, every kind of entity in it.

usage: flange_plate.py >flange_plate.dxf

The outline is loose: lines, corner arcs (one seen from below), an elliptic notch on the left, a free-form edge at
the top right. In it stand the bore with six bolt holes, a slot, a rounded window, a hexagonal window, a hole that is
a rational B-spline, a cable opening of degree 5, and scribed lines that cross all this. Texts, a point and an
insertion are there to be passed over. Numbers that are computed come from the geometry alone; the cable opening is
shaken with a fixed seed.
"""
import math
import random

DEGREES = 180 / math.pi


def group(code, value):
    print(f"{code:3d}")
    print(repr(value) if isinstance(value, float) else value)


def entity(kind, layer, *groups):
    group(0, kind)
    group(8, layer)
    for code, value in groups:
        group(code, value)


def point(code, x, y):
    return (code, float(x)), (code + 10, float(y)), (code + 20, 0.0)


def line(layer, x1, y1, x2, y2):
    entity("LINE", layer, *point(10, x1, y1), *point(11, x2, y2))


def arc(layer, x, y, radius, start, end):
    entity("ARC", layer, *point(10, x, y), (40, float(radius)), (50, float(start)), (51, float(end)))


def arc_from_below(layer, x, y, radius, start, end):
    """The same arc in a plane whose normal points down: x and the angles are mirrored."""
    entity("ARC", layer, *point(10, -x, y), (40, float(radius)), (50, 180.0 - end), (51, 180.0 - start),
           (210, 0.0), (220, 0.0), (230, -1.0))


def circle(layer, x, y, radius):
    entity("CIRCLE", layer, *point(10, x, y), (40, float(radius)))


def ellipse(layer, x, y, axis_x, axis_y, ratio, start, end):
    entity("ELLIPSE", layer, *point(10, x, y), *point(11, axis_x, axis_y), (40, ratio), (41, start), (42, end))


def polyline(layer, closed, vertices):
    """Vertices are (x, y) or (x, y, bulge)."""
    groups = [(90, len(vertices)), (70, int(closed))]
    for x, y, *bulge in vertices:
        groups += [(10, float(x)), (20, float(y))]
        groups += [(42, float(b)) for b in bulge]
    entity("LWPOLYLINE", layer, *groups)


def spline(layer, degree, knots, poles, weights=()):
    groups = [(70, 8 | (4 if weights else 0)), (71, degree), (72, len(knots)), (73, len(poles)), (74, 0)]
    groups += [(40, float(k)) for k in knots]
    groups += [(41, float(w)) for w in weights]
    for x, y in poles:
        groups += point(10, x, y)
    entity("SPLINE", layer, *groups)


def clamped(degree, poles):
    inner = range(1, poles - degree)
    return [0] * (degree + 1) + list(inner) + [poles - degree] * (degree + 1)


group(999, "A flange plate, written by flange_plate.py. Millimetres.")
group(0, "SECTION")
group(2, "HEADER")
group(9, "$INSUNITS")
group(70, 4)
group(0, "ENDSEC")
group(0, "SECTION")
group(2, "ENTITIES")

# The outline, counter-clockwise from the bottom left.
line("OUTLINE", 12, 0, 188, 0)
arc("OUTLINE", 188, 12, 12, 270, 360)
line("OUTLINE", 200, 12, 200, 60)
edge = [(200, 60), (200, 74), (196, 96), (176, 84), (160, 74), (146, 98), (136, 120), (118, 120)]
spline("OUTLINE", 3, clamped(3, len(edge)), edge)
line("OUTLINE", 12, 120, 118, 120)  # against the direction of travel
arc_from_below("OUTLINE", 12, 108, 12, 90, 180)
line("OUTLINE", 0, 108, 0, 78)
ellipse("OUTLINE", 0, 60, 0, 18, 0.5, math.pi, 2 * math.pi)
line("OUTLINE", 0, 42, 0, 12)
arc("OUTLINE", 12, 12, 12, 180, 270)

# The bore and its bolt holes.
circle("BORE", 66, 60, 21)
for i in range(6):
    turn = math.pi / 6 + i * math.pi / 3
    circle("BOLTS", 66 + 34 * math.cos(turn), 60 + 34 * math.sin(turn), 3.3)

# A slot: half circles have bulge 1. A window with rounded corners: quarter circles.
polyline("SLOT", True, [(120, 14), (176, 14, 1), (176, 26), (120, 26, 1)])
corner = math.tan(math.pi / 8)
polyline("WINDOW", True, [(122, 36), (150, 36, corner), (154, 40), (154, 58, corner), (150, 62), (122, 62, corner),
                          (118, 58), (118, 40, corner)])
polyline("WINDOW", True, [(177 + 13 * math.cos(i * math.pi / 3), 49 + 13 * math.sin(i * math.pi / 3))
                          for i in range(6)])

# A round hole as three rational arcs of 120 degrees.
x, y, r = 132, 78, 8
poles = [(x + (2 if i % 2 else 1) * r * math.cos(i * math.pi / 3), y + (2 if i % 2 else 1) * r * math.sin(i * math.pi / 3))
         for i in range(7)]
spline("HOLE", 2, [0, 0, 0, 1, 1, 2, 2, 3, 3, 3], poles, [0.5 if i % 2 else 1.0 for i in range(7)])

# The cable opening: degree 5, closed, its shape shaken.
random.seed(5)
ring = []
for i in range(10):
    turn = 2 * math.pi * i / 10
    reach = 11 * (1 + 0.35 * (random.random() - 0.5))
    ring.append((round(22 + reach * math.cos(turn), 3), round(98 + 0.8 * reach * math.sin(turn), 3)))
spline("CABLE", 5, clamped(5, 11), ring + ring[:1])

# Scribed: the middle lines of the bore, a tilted ellipse round it, a tangent, and a wave across the plate.
line("SCRIBE", 20, 60, 112, 60)
line("SCRIBE", 66, 14, 66, 106)
ellipse("SCRIBE", 66, 60, 27, 9, 0.85, 0.0, 2 * math.pi)
foot = [66 + 21 * math.cos(0.9), 60 + 21 * math.sin(0.9)]
line("SCRIBE", foot[0] + 30 * math.sin(0.9), foot[1] - 30 * math.cos(0.9),
     foot[0] - 20 * math.sin(0.9), foot[1] + 20 * math.cos(0.9))
wave = [(14 + 17 * i, 30 + (16 if i % 2 else -16) + 4 * i) for i in range(11)]
spline("SCRIBE", 4, clamped(4, len(wave)), wave)
polyline("SCRIBE", False, [(106, 8), (112, 32), (112, 88), (104, 112)])

# Nothing to cut.
for height, text in ((4, "FLANGE PLATE"), (2.5, "t = 8")):
    entity("TEXT", "TEXT", *point(10, 20, 4), (40, float(height)), (1, text))
entity("POINT", "TEXT", *point(10, 66, 60))
entity("INSERT", "TEXT", (2, "FRAME"), *point(10, 0, 0))
group(0, "ENDSEC")
group(0, "EOF")
