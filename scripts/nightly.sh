#!/usr/bin/env bash
# What takes too long for every change: the tests of the build by Clang, and the tests under the race
# detector, but for one that goes deeper than the detector's own stack.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/test.sh clang
scripts/test.sh tsan
