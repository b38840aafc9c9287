#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test; then builds the suites again with
# AddressSanitizer and UndefinedBehaviorSanitizer (build-sanitize/) and runs them there too, and
# the core and window suites with ThreadSanitizer (build-tsan/); then the fuzz targets (build-fuzz/, clang) on their corpus and a fixed-seed search
# (scripts/fuzz.sh --replay); last, the package (build-deb/), which lintian must pass. Nothing
# needs a display, and nothing in it is left to chance.
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

echo "== the core and window suites under ThreadSanitizer =="
cmake -S "$top" -B "$top/build-tsan" -DCMAKE_BUILD_TYPE=Debug -DTALLYMOOR_THREAD_SANITIZE=ON >/dev/null
cmake --build "$top/build-tsan" --parallel "$(nproc)" --target tallymoor_core_tests tallymoor_ui_tests
export TSAN_OPTIONS="suppressions=$top/tests/tsan.supp:halt_on_error=1:second_deadlock_stack=1"
for suite in tallymoor_core_tests tallymoor_ui_tests; do
    LC_ALL=en_US.UTF-8 LANG=en_US.UTF-8 "$top/build-tsan/tests/$suite" --gtest_brief=1
done

echo "== the fuzz targets: the checked-in corpus, then a fixed-seed search of bounded length =="
"$top/scripts/fuzz.sh" --replay

echo "== the package, built with Debian's flags and checked by lintian =="
"$top/scripts/package.sh"
