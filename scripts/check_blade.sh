#!/usr/bin/env bash
# Runs the examples inspect_surface and trimmed_inspection on surfaces and points that others published and
# compares what they find with figures found without this library.
# Needs the preset release to be built. usage: check_blade.sh FOLDER
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh python3
python3 scripts/check_blade.py "$1" build/release/examples
