#!/usr/bin/env bash
# Sets up, builds and runs every test: scripts/test.sh [CMake options for the configuration]
# KVX_RECORDINGS may name the folder of measured recordings that some tests compare with reference results.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release "$@"
cmake --build --preset release
ctest --preset release
