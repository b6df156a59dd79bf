#!/usr/bin/env bash
# The file that a session writes is the same, byte for byte, on a second run and from a 32-bit build.
# Needs the presets release and linux32 to be built.
set -euo pipefail
cd "$(dirname "$0")/.."
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
for run in release release linux32; do
    "build/$run/examples/point_archive" examples/data/bracket_points.txt "$place/points.kerf" >/dev/null
    sha256sum <"$place/points.kerf" >>"$place/sums"
done
[ "$(sort -u "$place/sums" | wc -l)" -eq 1 ] || { echo "The files differ:"; cat "$place/sums"; exit 1; }
echo "The same file from two runs and from the 32-bit build."
