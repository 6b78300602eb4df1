#!/usr/bin/env bash
# Configures and builds one CMake preset (default: release) with at most two jobs.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

preset=${1:-release}
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-2}
cmake --preset "$preset"
cmake --build --preset "$preset"
