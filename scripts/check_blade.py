#!/usr/bin/env python3
"""Inspects published surfaces with the examples and compares what they find.

usage: check_blade.py FOLDER EXAMPLES

EXAMPLES is the folder of the programs `inspect_surface` and `trimmed_inspection`.

FOLDER/blade/ holds the skin of a blade as blade_surface.txt and points near it as blade_points.txt,
whose head tells the root mean square, the mean and the largest of their distances, in millimetres
where the points are in metres, and where the largest is; other searches found these figures. It also
tells how many points have their nearest point on the border. FOLDER/blade/blade_zone.txt is the outline
of a part of it with a hole; its head tells lengths, areas, and what lies within.
FOLDER/surface_projection.json holds points on a free-form surface whose parameters are published.
"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile

NUMBER = r"\s+(-?[\d.]+(?:e-?\d+)?)"


def inspect(program, folder, surface, points):
    """What the program prints, and for each point x, y, z, u, v and the deviation."""
    table = folder / "table.txt"
    outputs = [folder / f"a.{ending}" for ending in ("kerf", "ply", "svg")]
    run = subprocess.run([program, surface, points, *outputs, f"--table={table}"],
                         capture_output=True, encoding="utf-8", check=False)
    if run.returncode != 0:
        sys.exit(f"{run.stderr}{surface}: inspect_surface failed")
    rows = [line.split() for line in table.read_text(encoding="ascii").splitlines()
            if not line.startswith("#")]
    return run.stdout, [[float(field) for field in row[1:7]] + [row[7:] == ["B"]] for row in rows]


def check(what, found, expected, within):
    """Prints the comparison."""
    met = abs(found - expected) <= within
    print(f"{what}: {found:.10g}, known {expected:.10g}{'' if met else '  DIFFERS'}")
    return met


def head_of(path):
    """The comments of a file in one line."""
    return " ".join(line.lstrip("# ") for line in path.read_text(encoding="utf-8").splitlines()
                    if line.startswith("#"))


def check_zone(program, place, folder):
    """Compares with the head of the outline, to the last digit written."""
    outline = folder / "blade_zone.txt"
    head = head_of(outline)
    length, area, left = map(float, re.search(
        rf"outline{NUMBER} long, area{NUMBER} with the hole,{NUMBER} without", head).groups())
    within, in_hole = map(int, re.search(
        r"(\d+) lie inside the outline, (\d+) of them in the hole", head).groups())
    rms, largest = map(float, re.search(rf"rms{NUMBER} mm, largest{NUMBER} mm", head).groups())
    outputs = [place / f"zone.{ending}" for ending in ("kerf", "ply", "svg")]
    run = subprocess.run([program, folder / "blade_surface.txt", outline, folder / "blade_points.txt",
                          *outputs, "--aligned"], capture_output=True, encoding="utf-8", check=False)
    if run.returncode != 0:
        sys.exit(f"{run.stderr}{outline}: trimmed_inspection failed")

    def found(pattern):
        return float(re.search(pattern, run.stdout).group(1))
    last = 0.6e-9
    met = [
        check("zone: length", found(rf"outer boundary .* length{NUMBER}"), length, last),
        check("zone: area", found(rf"outer boundary .* area{NUMBER}"), area, last),
        check("zone: area without the hole", found(rf"area that is left:{NUMBER}"), left, last),
        check("zone: feet in the hole", found(r"(\d+) in holes"), in_hole, 0),
        check("zone: feet in the rest", found(r"(\d+) inside"), within - in_hole, 0),
        check("zone: rms", 1000 * found(rf"rms{NUMBER}, largest"), rms, last),
        check("zone: largest", 1000 * found(rf"rms.* largest{NUMBER}\n"), largest, last)]
    return all(met)


def check_blade(program, place, folder):
    """Compares with the head of the points, to the last digit written."""
    surface, points = folder / "blade_surface.txt", folder / "blade_points.txt"
    head = head_of(points)
    rms, mean, largest, *at, u = map(float, re.search(
        rf"rms{NUMBER} mm, mean{NUMBER} mm, largest{NUMBER} mm at the point{3 * NUMBER}"
        rf" \(foot u ={NUMBER}", head).groups())
    border = int(re.search(r"(\d+) feet lie on the border", head).group(1))
    _, rows = inspect(program, place, surface, points)
    distances = [1000 * abs(row[5]) for row in rows]
    worst = max(range(len(rows)), key=distances.__getitem__)
    last = 0.6e-9
    met = [
        check("blade: rms", (sum(d * d for d in distances) / len(rows)) ** 0.5, rms, last),
        check("blade: mean", sum(distances) / len(rows), mean, last),
        check("blade: largest", distances[worst], largest, last),
        check("blade: its u", rows[worst][3], u, last),
        check("blade: feet on the border", sum(row[6] for row in rows), border, 0)]
    if rows[worst][:3] != at:
        print(f"blade: the largest is at {rows[worst][:3]}, not {at}")
        met.append(False)
    return all(met)


def write_surface(path, surface):
    """A surface of the published set as inspect_surface reads it."""
    poles, count = surface["poles"], len(surface["poles"]) // 3
    weights = surface["weights"] or [1] * count
    lines = [f"degrees {surface['degrees'][0]} {surface['degrees'][1]}",
             f"poles {surface['pole_counts'][0]} {surface['pole_counts'][1]}"]
    for name in ("knots_u", "knots_v"):
        lines += [f"{name} {len(surface[name])}", " ".join(map(repr, surface[name]))]
    lines.append("pole_rows")
    lines += [" ".join(map(repr, [*poles[3 * i:3 * i + 3], weights[i]])) for i in range(count)]
    path.write_text("\n".join(lines) + "\n", encoding="ascii")


def check_projections(program, place, path):
    """Every published point is its own foot, at its published parameters."""
    good = True
    for surface in json.loads(path.read_text(encoding="utf-8"))["surfaces"]:
        projections = surface.get("projections", [])
        if not projections:
            continue
        file, points = place / "surface.txt", place / "points.txt"
        write_surface(file, surface)
        points.write_text("".join(" ".join(map(repr, each["point"])) + "\n"
                                  for each in projections), encoding="ascii")
        _, rows = inspect(program, place, file, points)
        apart = max(max(abs(row[3] - each["uv"][0]), abs(row[4] - each["uv"][1]))
                    for row, each in zip(rows, projections))
        name = f"{surface['name']}: {len(rows)} points"
        good = check(f"{name}, parameters off", apart, 0, 5e-8) and good
        good = check(f"{name}, largest distance", max(abs(row[5]) for row in rows), 0, 5e-8) and good
        good = len(rows) == len(projections) and good
    return good


def main():
    """Exit code 0 when every figure is met."""
    folder, programs = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    program = programs / "inspect_surface"
    with tempfile.TemporaryDirectory() as place:
        place = pathlib.Path(place)
        met = [check_blade(program, place, folder / "blade"),
               check_zone(programs / "trimmed_inspection", place, folder / "blade"),
               check_projections(program, place, folder / "surface_projection.json")]
    return 0 if all(met) else 1


if __name__ == "__main__":
    sys.exit(main())
