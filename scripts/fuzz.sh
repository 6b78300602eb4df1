#!/usr/bin/env bash
# Builds the libFuzzer targets (fuzz preset: clang with ASan and UBSan) and runs each for a while
# from seeds made by the current build. FUZZ_SECONDS sets the time per target (default 60).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

bash scripts/install-deps.sh
bash scripts/build.sh fuzz

seconds=${FUZZ_SECONDS:-60}
work=build/fuzz/corpus
rm -rf "$work" && mkdir -p "$work/seeds" "$work/found"
build/fuzz/bin/fuzz_seeds "$work/seeds"
for target in build/fuzz/bin/fuzz_*; do
    name=$(basename "$target")
    [ "$name" = fuzz_seeds ] && continue
    echo "fuzz.sh: $name for ${seconds}s"
    (cd build/fuzz && "../../$target" -max_total_time="$seconds" -rss_limit_mb=4096 \
        -print_final_stats=1 "../../$work/found" "../../$work/seeds")
done
echo "fuzz.sh: no crash found"
