#!/usr/bin/env bash
# Runs clang-tidy as .clang-tidy says, which takes a few minutes on two cores. Needs the preset release to
# be configured.
# usage: check_tidy.sh [--tests | FILE.cpp...]   (default: the library and the examples; with --tests the
# tests too)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh clang-tidy git
folders=(kerf examples)
[ "${1:-}" = --tests ] && folders+=(tests) && shift
# A file for another system is not in the list of compilations, and cannot be read here.
known=$(grep -o '"file": "[^"]*"' build/release/compile_commands.json)
sources=("$@")
if [ $# -eq 0 ]; then
    while read -r source; do
        case "$known" in *"/$source\""*) sources+=("$source") ;; esac
    done < <(git ls-files "${folders[@]/%//*.cpp}")
fi
echo "Checking ${#sources[@]} sources with clang-tidy"
report=$(mktemp)
trap 'rm -f "$report"' EXIT
if ! printf '%s\n' "${sources[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p build/release \
    >"$report" 2>&1; then
    grep -E '(warning|error):' "$report" | sort -u || cat "$report"
    exit 1
fi
echo "${#sources[@]} sources are as .clang-tidy says."
