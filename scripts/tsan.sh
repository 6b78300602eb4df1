#!/usr/bin/env bash
# Builds the ThreadSanitizer preset (the library and the skinning tests only) and runs the
# skinning tests under it. Exits non-zero on a build failure, a failed test or a reported race.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-2}
launcher=()
if command -v ccache >/dev/null 2>&1; then
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi
cmake --preset tsan "${launcher[@]}" >/dev/null
cmake --build build/tsan --target skOpenSGExt test_skinning

# TBB's own worker synchronisation is not instrumented; its suppressions live beside this script.
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$PWD/scripts/tsan.supp${TSAN_OPTIONS:+:$TSAN_OPTIONS}"
build/tsan/bin/test_skinning --gtest_brief=1
