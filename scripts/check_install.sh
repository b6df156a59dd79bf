#!/usr/bin/env bash
# Installs the release build into a temporary place and builds a program against the package found
# there, in shared and in static form.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh cmake ninja-build g++
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

mkdir "$place/program"
cat >"$place/program/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(program CXX)
find_package(kerf REQUIRED)
add_executable(program main.cpp)
target_link_libraries(program kerf::kerf)
CMAKE
cat >"$place/program/main.cpp" <<'CPP'
#include <kerf/kerf.h>

int main() {
    const kerf::ERPersistentPoint3D point(kerf::ERPoint3D(1, 2, 3));
    const bool hasClasses = kerf::ERClassRegistration::findCreator("ERDBObject") != nullptr;
    const bool hasTexts = kerf::CString().LoadString(7103);
    return hasClasses && hasTexts && point.z() == 3 ? 0 : 1;
}
CPP

for shared in ON OFF; do
    cmake -S . -B "$place/build-$shared" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DBUILD_SHARED_LIBS=$shared -DKERF_BUILD_TESTS=OFF -DKERF_BUILD_EXAMPLES=OFF \
        -DKERF_BUILD_BENCHMARKS=OFF -DCMAKE_INSTALL_PREFIX="$place/prefix-$shared" >/dev/null
    cmake --build "$place/build-$shared" --target install >/dev/null
    if [ -e "$place/prefix-$shared/include/kerf/platform/internal/windows_headers.h" ]; then
        echo "A header that no program needs is installed."
        exit 1
    fi
    cmake -S "$place/program" -B "$place/program-$shared" -G Ninja \
        -DCMAKE_PREFIX_PATH="$place/prefix-$shared" >/dev/null
    cmake --build "$place/program-$shared" >/dev/null
    "$place/program-$shared/program"
    echo "The installed package works (shared: $shared)."
done
