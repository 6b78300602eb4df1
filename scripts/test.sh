#!/usr/bin/env bash
# Installs what is missing, builds a preset (default: release) and runs every check: the generated-layer
# check and all CTest tests. Exits non-zero when anything fails.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

preset=${1:-release}
bash scripts/install-deps.sh || exit 1
bash scripts/build.sh "$preset" || { echo "test.sh: build of preset $preset failed" >&2; exit 1; }

status=0
if [ -f tools/check-generated ]; then
    bash tools/check-generated --osgext "build/$preset/bin/osgext" || { echo "test.sh: tools/check-generated failed" >&2; status=1; }
fi
ctest --preset "$preset" || status=1
exit $status
