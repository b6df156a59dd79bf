#!/usr/bin/env python3
"""Rejects an include that points to a higher floor of the library, a loop of includes, and an
internal header in kerf/kerf.h, which programs read.

usage: check_includes.py ROOT
"""
import pathlib
import re
import sys

FLOORS = {"platform": 0, "core": 1, "numerics": 2, "values": 2, "display": 2, "curves": 3,
          "surfaces": 4, "processing": 5, "persistence": 6, "module": 7}
ABOVE = {("numerics", "display"), ("values", "display")}  # of one floor, the second on the first
TOP = 7  # kerf/kerf.h and whatever else stands beside the folders
INCLUDE = re.compile(r'^\s*#\s*include\s+"(kerf/[^"]+)"', re.MULTILINE)


def folder(path):
    parts = path.split("/")
    return parts[1] if len(parts) > 2 else ""


def floor(path):
    return FLOORS[folder(path)] if folder(path) else TOP


def included_by(root, path):
    return INCLUDE.findall((root / path).read_text(encoding="utf-8"))


def find_loop(graph):
    """The files of one loop of includes in order, or an empty list."""
    done, trail = set(), []

    def visit(path):
        if path in trail:
            return trail[trail.index(path):] + [path]
        if path in done:
            return []
        trail.append(path)
        for target in graph.get(path, []):
            loop = visit(target)
            if loop:
                return loop
        trail.pop()
        done.add(path)
        return []

    for path in sorted(graph):
        loop = visit(path)
        if loop:
            return loop
    return []


def main():
    root = pathlib.Path(sys.argv[1])
    files = sorted(str(f.relative_to(root)) for f in (root / "kerf").rglob("*")
                   if f.suffix in (".h", ".cpp"))
    graph = {path: included_by(root, path) for path in files}
    faults = []
    for path, targets in graph.items():
        for target in targets:
            if target not in graph:
                faults.append(f"{path}: includes {target}, which does not exist")
            elif floor(target) > floor(path) or (folder(path), folder(target)) in ABOVE:
                faults.append(f"{path}: includes {target} of a higher floor or folder")
            elif path == "kerf/kerf.h" and "internal" in target.split("/"):
                faults.append(f"{path}: includes {target}, which is internal")
    loop = find_loop(graph)
    if loop:
        faults.append("loop of includes: " + " -> ".join(loop))
    for fault in faults:
        print(fault)
    print(f"{len(files)} files, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
