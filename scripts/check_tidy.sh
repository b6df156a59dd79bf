#!/usr/bin/env bash
# Runs clang-tidy as .clang-tidy says. Needs the preset release to be configured.
# usage: check_tidy.sh [FILE.cpp...]   (default: every source of the library, tests and examples)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh clang-tidy
[ $# -gt 0 ] || set -- $(git ls-files 'kerf/*.cpp' 'tests/*.cpp' 'examples/*.cpp')
report=$(mktemp)
trap 'rm -f "$report"' EXIT
if ! printf '%s\n' "$@" | xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p build/release \
    >"$report" 2>/dev/null; then
    grep -E '(warning|error):' "$report" | sort -u
    exit 1
fi
echo "$# sources are as .clang-tidy says."
