#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test; then builds the suites again with
# AddressSanitizer and UndefinedBehaviorSanitizer (build-sanitize/) and runs them there too;
# then the fuzz targets (build-fuzz/, clang) each for FUZZ_SECONDS (30); last, the package
# (build-deb/), which lintian must pass. Nothing needs a display.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/deps.sh" desktop-file-utils appstream qt6-l10n-tools clang libclang-rt-14-dev zsh fish \
    clang-format universal-ctags
"$top/scripts/build.sh"
export QT_QPA_PLATFORM=offscreen
(cd "$top/build" && ctest --output-on-failure --parallel "$(nproc)")

echo "== the same suites under AddressSanitizer and UndefinedBehaviorSanitizer =="
cmake -S "$top" -B "$top/build-sanitize" -DCMAKE_BUILD_TYPE=Debug -DTALLYMOOR_SANITIZE=ON >/dev/null
cmake --build "$top/build-sanitize" --parallel "$(nproc)" --target \
    tallymoor_core_tests tallymoor_desktop_tests tallymoor_ui_tests
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export LSAN_OPTIONS=suppressions=$top/tests/leaks.supp:print_suppressions=0
export UBSAN_OPTIONS=print_stacktrace=1
# (the installed files were checked above; this build makes only the suites)
(cd "$top/build-sanitize" && ctest --output-on-failure --parallel "$(nproc)" -LE install)

echo "== fuzzing the mask matcher and rules, and the settings reader (${FUZZ_SECONDS:=30} s each) =="
cmake -S "$top" -B "$top/build-fuzz" -DCMAKE_CXX_COMPILER=clang++ -DTALLYMOOR_FUZZ=ON \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$top/build-fuzz" --parallel "$(nproc)" --target fuzz_Masks fuzz_Settings
for target in Masks Settings; do
    # New inputs go to a folder of the run's own; the seeds in the repository stay as they are.
    work=$(mktemp -d)
    if ! "$top/build-fuzz/tests/fuzz/fuzz_$target" -max_total_time="$FUZZ_SECONDS" -timeout=10 \
        -print_final_stats=1 -artifact_prefix="$work/" "$work" "$top/tests/fuzz/corpus/$target" \
        >"$work/log" 2>&1; then
        tail -40 "$work/log"
        echo "fuzz_$target failed; the input is in $work (make it a test row)" >&2
        exit 1
    fi
    grep -m1 "stat::number_of_executed_units" "$work/log" | sed "s/^/fuzz_$target: /"
    rm -rf "$work"
done

echo "== the package, built with Debian's flags and checked by lintian =="
"$top/scripts/package.sh"
