#!/usr/bin/env bash
# Builds the ThreadSanitizer preset (the library, the skinning tests and the detector's self-check)
# and runs those tests under it. Exits non-zero on a build failure, a failed test or a reported race.
# Nothing that runs in TBB's tasks is suppressed: tests/tsan/TbbTsanBridge.cpp shows TSan the
# synchronisation inside oneTBB instead, and the self-check proves that a race in a parallel loop's
# body is still reported. scripts/tsan.supp only mutes libc calls made by libtbb itself.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

bash scripts/install-deps.sh || exit 1
bash scripts/build.sh tsan || { echo "tsan.sh: build of preset tsan failed" >&2; exit 1; }
ctest --preset tsan
