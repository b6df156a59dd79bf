#!/usr/bin/env python3
"""Fits published pairs of points with the example `align` and compares what it finds.

usage: check_published_data.py FOLDER ALIGN

FOLDER holds best_fit*.json: sets of paired points with the motion that brings the first onto the
second, as their source printed it ("published") and worked out again to the last digits
("recomputed"). Each set becomes a file of pairs with the figures as comments, which `align` compares
itself; rotation and translation are compared here, to the digits that `align` prints.
"""
import json
import math
import pathlib
import re
import subprocess
import sys
import tempfile

PRINTED = 3e-6  # six decimals of the axis, each twice in a product
UNLIKE = {"protein-1064-atoms"}  # two models that hardly resemble each other


def figures(known):
    """The comments for the figures of a set. A recomputed one is good to twelve decimals."""
    published, recomputed = known.get("published", {}), known["recomputed"]
    if "rms_distance" in published:
        yield f"# published rms {published['rms_distance']}"
    if "largest_distance_below" in published:
        yield f"# published largest below {published['largest_distance_below']}"
    yield f"# recomputed rms {recomputed['rms_distance']:.12f}"
    yield f"# recomputed largest {recomputed['max_distance']:.12f}"


def write_pairs(path, known):
    rows = [" ".join(map(repr, p + q)) for p, q in zip(known["first"], known["second"])]
    path.write_text("\n".join([*figures(known), *rows]) + "\n", encoding="ascii")


def rotation_of(axis, degrees):
    """The matrix of a rotation about a unit axis, by rows."""
    c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
    x, y, z = axis
    cross = [[0, -z, y], [z, 0, -x], [-y, x, 0]]
    return [[(c if i == j else 0) + (1 - c) * axis[i] * axis[j] + s * cross[i][j]
             for j in range(3)] for i in range(3)]


def printed_motion(output):
    number = r"\s*(-?[\d.]+)"
    axis = re.search(rf"^axis:{3 * number}, rotated by{number} degrees", output, re.MULTILINE)
    translation = re.search(rf"^translation:{3 * number}", output, re.MULTILINE)
    *direction, degrees = map(float, axis.groups())
    return rotation_of(direction, degrees), [float(text) for text in translation.groups()]


def worst(found, expected):
    return max(abs(a - b) for a, b in zip(found, expected))


def check(known, align, folder):
    name = known["id"]
    pairs = folder / f"{name}.txt"
    write_pairs(pairs, known)
    options = ["--unlike"] if name in UNLIKE else []
    run = subprocess.run([align, pairs, folder / f"{name}.kerf", folder / f"{name}.svg", *options],
                         capture_output=True, encoding="latin-1", check=False)
    if run.returncode != 0:
        print(run.stderr, end="")
        print(f"{name}: align failed")
        return False
    rotation, translation = printed_motion(run.stdout)
    expected = known["recomputed"]
    apart = max(worst(sum(rotation, []), sum(expected["rotation"], [])),
                worst(translation, expected["translation"]))
    print(f"{name}: {run.stdout.splitlines()[-1]}; motion {apart:.1g} off")
    return apart <= PRINTED


def main():
    sets = [known for path in sorted(pathlib.Path(sys.argv[1]).glob("best_fit*.json"))
            for known in json.loads(path.read_text(encoding="utf-8"))["sets"]]
    with tempfile.TemporaryDirectory() as folder:
        met = [check(known, sys.argv[2], pathlib.Path(folder)) for known in sets]
    print(f"{met.count(True)} of {len(met)} published sets of pairs are met.")
    return 0 if met and all(met) else 1


if __name__ == "__main__":
    sys.exit(main())
