#!/usr/bin/env bash
# Runs the examples on published sets of points and compares the figures.
# Needs the preset release to be built. usage: check_published_data.sh FOLDER
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh python3
python3 scripts/check_published_data.py "$1" build/release/examples/align
