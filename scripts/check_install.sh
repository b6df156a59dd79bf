#!/usr/bin/env bash
# Installs the library into a temporary place, in shared and in static form, and builds a program
# against it with CMake and with pkg-config. The shared form is also taken from its Debian packages.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh cmake ninja-build g++ pkg-config dpkg-dev
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

fail() {
    echo "$*"
    exit 1
}

mkdir "$place/program"
cat >"$place/program/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.22)
project(program CXX)
find_package(kerf 0.1 REQUIRED)
add_executable(program main.cpp)
target_link_libraries(program kerf::kerf)
CMAKE
cat >"$place/program/main.cpp" <<'CPP'
#include <kerf/kerf.h>

#include <string>

int main() {
    const kerf::ERPersistentPoint3D point(kerf::ERPoint3D(1, 2, 3));
    const bool hasClasses = kerf::ERClassRegistration::findCreator("ERDBObject") != nullptr;
    const bool hasTexts = kerf::CString().LoadString(7103);
    const bool isThisVersion = std::string(kerf::version()).starts_with(
        std::to_string(KERF_VERSION_MAJOR) + "." + std::to_string(KERF_VERSION_MINOR) + ".");
    return hasClasses && hasTexts && isThisVersion && point.z() == 3 ? 0 : 1;
}
CPP

# FORM PREFIX: builds the program in both ways against what is installed below the prefix, and runs it.
check_prefix() {
    local build="$place/program-${1// /-}" prefix=$2
    [ ! -e "$prefix/include/kerf/platform/internal/windows_headers.h" ] \
        || fail "A header that no program needs is installed."
    cmake -S "$place/program" -B "$build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
    cmake --build "$build" >/dev/null
    local description library
    description=$(find "$prefix" -name kerf.pc)
    library=$(dirname "$(dirname "$description")")
    export LD_LIBRARY_PATH=$library
    "$build/program"
    # shellcheck disable=SC2046  # the flags are words
    g++ "$place/program/main.cpp" -o "$build/by-pkg-config" \
        $(PKG_CONFIG_PATH=$(dirname "$description") pkg-config --cflags --libs kerf)
    "$build/by-pkg-config"
    unset LD_LIBRARY_PATH
    echo "The installed library works ($1)."
}

for form in shared static; do
    build="$place/build-$form"
    cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DKERF_BUILD_TESTS=OFF \
        -DKERF_BUILD_EXAMPLES=OFF -DBUILD_SHARED_LIBS=$([ $form = shared ] && echo ON || echo OFF) \
        -DCMAKE_INSTALL_PREFIX=/usr >/dev/null
    cmake --build "$build" >/dev/null
    cmake --install "$build" --prefix "$place/installed-$form" >/dev/null
    mv "$place/installed-$form" "$place/$form"  # the tree can be moved
    check_prefix $form "$place/$form"
done

library=$(find "$place/shared" -name 'libkerf.so')
others=$(nm -D --defined-only "$library" | awk '{print $3}' \
    | grep -vE '^_Z(GV|T[HWISVTC]|T[hvc][a-z0-9_]*_)?Z?N[KRO]*4kerf|^compareDouble$' || true)
[ -z "$others" ] || fail "The library exports names that are not its own:" "$others"

(cd "$place/build-shared" && cpack -B "$place/packages" >/dev/null)
for package in "$place/packages"/*.deb; do
    echo "$(basename "$package"): $(dpkg-deb -f "$package" Depends)"
    dpkg-deb -x "$package" "$place/unpacked"
done
check_prefix "Debian packages" "$place/unpacked/usr"

# A program that builds the library as a part of itself keeps its own cache and installs its own files.
mkdir "$place/parent"
cat >"$place/parent/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.22)
project(parent CXX)
add_subdirectory("$PWD" kerf)
CMAKE
cmake -S "$place/parent" -B "$place/parent-build" -G Ninja >/dev/null
! grep -E '^(BUILD_SHARED_LIBS|CMAKE_INSTALL_[A-Z]*DIR|CPACK_|BUILD_TESTING)' \
    "$place/parent-build/CMakeCache.txt" || fail "A parent's cache is changed."
cmake -S "$place/parent" -B "$place/parent-build" -DKERF_INSTALL=ON >/dev/null
echo "The library can be a part of another build."
