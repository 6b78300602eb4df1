#!/usr/bin/env bash
# Installs what is missing, builds the release preset and runs the tool's demo.
# Extra arguments go to `osgext demo`.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

bash scripts/install-deps.sh
bash scripts/build.sh release
exec build/release/bin/osgext demo "$@"
