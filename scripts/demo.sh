#!/usr/bin/env bash
# Builds the examples and runs them on the parts of examples/data.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh cmake ninja-build g++

echo "Building the examples"
cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DKERF_BUILD_TESTS=OFF \
    -DKERF_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build build/demo

archive=build/demo/bracket_points.kerf
echo "Keeping the measured points of examples/data/bracket_points.txt in $archive"
build/demo/examples/point_archive examples/data/bracket_points.txt "$archive" >build/demo/summary.txt
grep -av '^| ' build/demo/summary.txt | LC_ALL=C tr -d '\351'
echo "(the $(grep -ac '^| ' build/demo/summary.txt) records are listed in build/demo/summary.txt)"

for pairs in examples/data/bracket_pairs*.txt; do
    name=$(basename "$pairs" .txt)
    options=()
    # Wrong pairs hardly resemble each other.
    [ "$name" = bracket_pairs_reordered ] && options=(--unlike)
    build/demo/examples/align "$pairs" "build/demo/$name.kerf" "build/demo/$name.svg" "${options[@]}" \
        >"build/demo/$name.txt"
    echo "Aligned $(tail -n 1 "build/demo/$name.txt") (build/demo/$name.txt, .svg)"
done

build/demo/examples/profile examples/data/flange_plate.dxf build/demo/flange_plate.kerf \
    build/demo/flange_plate.svg >build/demo/flange_plate.txt
echo "Measured the flange plate: $(tail -n 1 build/demo/flange_plate.txt) (build/demo/flange_plate.txt, .svg)"

build/demo/examples/make_blade build/demo
build/demo/examples/inspect_surface build/demo/blade_surface.txt build/demo/blade_scan.txt \
    build/demo/blade.kerf build/demo/blade.ply build/demo/blade.svg --tolerance=0.25 --scale=0.3 \
    >build/demo/blade.txt
echo "Inspected the blade: $(tail -n 1 build/demo/blade.txt) (build/demo/blade.txt, .svg, .ply)"

build/demo/examples/trimmed_inspection build/demo/blade_surface.txt build/demo/blade_zone.txt \
    build/demo/blade_scan.txt build/demo/zone.kerf build/demo/zone.ply build/demo/zone.svg \
    --pairs=build/demo/blade_balls.txt --scale=0.3 >build/demo/zone.txt
build/demo/examples/trimmed_inspection --again build/demo/zone.kerf >build/demo/zone_again.txt
echo "Inspected a zone of it: $(tail -n 1 build/demo/zone.txt) (build/demo/zone.txt, .svg, .ply)"

build/demo/examples/nest examples/data/flange_plate.dxf build/demo/flange_plate_contours.svg --loose=1 \
    --skip=SCRIBE >build/demo/flange_plate_contours.txt
echo "Joined its loose pieces: $(tail -n 1 build/demo/flange_plate_contours.txt)" \
    "(build/demo/flange_plate_contours.txt, .svg)"
