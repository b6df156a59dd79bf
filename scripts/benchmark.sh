#!/usr/bin/env bash
# Builds the benchmarks and runs them. usage: scripts/benchmark.sh [NAME...]   (default: all)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh cmake ninja-build g++ libbenchmark-dev libsqlite3-dev libeigen3-dev \
    libsisl-dev libocct-modeling-data-dev libboost-dev libgeos-dev libcgal-dev
cmake --preset benchmark >/dev/null
cmake --build --preset benchmark
[ $# -gt 0 ] || set -- vectors lists numerics curves surfaces chainer regions disk_btree database
for name in "$@"; do
    "build/benchmark/benchmarks/${name}_benchmark" --benchmark_min_time=0.2
done
