#!/usr/bin/env bash
# Builds the libFuzzer targets (fuzz preset: clang with ASan and UBSan) and runs each from seeds
# made by the current build. The run is repeatable: a fixed random seed (FUZZ_SEED, default 1) and a
# fixed number of inputs per target (FUZZ_RUNS, default 200000), with FUZZ_SECONDS (default 300)
# as an upper bound on the time per target.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

bash scripts/install-deps.sh
bash scripts/build.sh fuzz

seconds=${FUZZ_SECONDS:-300}
runs=${FUZZ_RUNS:-200000}
seed=${FUZZ_SEED:-1}
work=build/fuzz/corpus
rm -rf "$work" && mkdir -p "$work/seeds" "$work/found"
build/fuzz/bin/fuzz_seeds "$work/seeds"
for target in build/fuzz/bin/fuzz_*; do
    name=$(basename "$target")
    [ "$name" = fuzz_seeds ] && continue
    # Seeds: the binary records of every type, plus the files a target ships in
    # fuzz/<area>/seeds/<target>/.
    corpora=("../../$work/seeds")
    for d in fuzz/*/seeds/"$name"; do
        [ -d "$d" ] && corpora+=("../../$d")
    done
    mkdir -p "$work/found/$name"
    echo "fuzz.sh: $name, $runs inputs, seed $seed"
    (cd build/fuzz && "../../$target" -seed="$seed" -runs="$runs" -max_total_time="$seconds" \
        -rss_limit_mb=4096 -malloc_limit_mb=2048 \
        -print_final_stats=1 "../../$work/found/$name" "${corpora[@]}")
done
echo "fuzz.sh: no crash found"
