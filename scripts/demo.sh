#!/usr/bin/env bash
# Builds the examples and runs them on the real data of examples/data.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh cmake ninja-build g++

echo "Building the examples"
cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DKERF_BUILD_TESTS=OFF \
    -DKERF_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build build/demo

archive=build/demo/measured_points.kerf
echo "Keeping the measured points of examples/data/measured_points.txt in $archive"
build/demo/examples/point_archive examples/data/measured_points.txt "$archive" >build/demo/summary.txt
grep -v '^| ' build/demo/summary.txt | tr -d '\351'
echo "(the $(grep -c '^| ' build/demo/summary.txt) records are listed in build/demo/summary.txt)"
