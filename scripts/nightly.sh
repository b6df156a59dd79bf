#!/usr/bin/env bash
# What takes too long for every change: the tests of the build by Clang, and the tests under the race
# detector.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/test.sh clang
scripts/test.sh tsan
