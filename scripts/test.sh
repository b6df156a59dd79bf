#!/usr/bin/env bash
# Builds the library with its tests and runs them. usage: scripts/test.sh [preset]   (default: release)
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-release}

packages=(cmake ninja-build g++ libgtest-dev libgmock-dev python3)
[ "$preset" = linux32 ] && packages+=(g++-multilib googletest)
[ "$preset" = clang ] || [ "$preset" = tsan ] && packages+=(clang)
[ "$preset" = windows ] && packages+=(g++-mingw-w64-x86-64-posix googletest wine64)
scripts/install_packages.sh "${packages[@]}"

echo "Building preset $preset"
cmake --preset "$preset" >build-configure.log 2>&1 || { cat build-configure.log; exit 1; }
rm -f build-configure.log
cmake --build --preset "$preset"
echo "Testing preset $preset"
ctest --preset "$preset"
