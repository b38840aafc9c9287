#!/usr/bin/env bash
# Builds the fuzz targets (build-fuzz/, clang and libFuzzer) and runs each one.
#
#   scripts/fuzz.sh --replay    what the test command runs: every input of the checked-in corpus,
#                               then a search of a fixed number of inputs from a fixed seed, so
#                               two runs of one checkout do the same work and end the same way
#   scripts/fuzz.sh [SECONDS]   a longer random search (default 600 s a target, a new seed each
#                               run); inputs it finds stay in build-fuzz/found-TARGET/
#
# A failing input is saved and named; it goes into tests/fuzz/corpus/TARGET/ with the fix, so
# that every later run replays it.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/deps.sh" clang libclang-rt-14-dev
cmake -S "$top" -B "$top/build-fuzz" -DCMAKE_CXX_COMPILER=clang++ -DTALLYMOOR_FUZZ=ON \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$top/build-fuzz" --parallel "$(nproc)" --target fuzz_Masks fuzz_Settings

# Inputs a target runs in the fixed search: about 25 s each on a 2-core machine.
declare -A runs=([Masks]=300000 [Settings]=50000)

for target in Masks Settings; do
    if [ "${1:-}" = "--replay" ]; then
        # New inputs go to a folder of the run's own; the corpus in the repository stays as it is.
        work=$(mktemp -d)
        limits=(-seed=1 "-runs=${runs[$target]}")
    else
        work="$top/build-fuzz/found-$target"
        mkdir -p "$work"
        limits=("-max_total_time=${1:-600}")
    fi
    if ! "$top/build-fuzz/tests/fuzz/fuzz_$target" "${limits[@]}" -timeout=10 \
        -print_final_stats=1 -artifact_prefix="$work/" "$work" "$top/tests/fuzz/corpus/$target" \
        >"$work/log" 2>&1; then
        tail -40 "$work/log"
        echo "fuzz_$target failed; the input is in $work (add it to tests/fuzz/corpus/$target)" >&2
        exit 1
    fi
    grep -m1 "stat::number_of_executed_units" "$work/log" | sed "s/^/fuzz_$target: /"
    if [ "${1:-}" = "--replay" ]; then
        rm -rf "$work"
    fi
done
