#!/usr/bin/env bash
# The code's shape, checked like a test: every C++ file as clang-format leaves it (Debian 12's
# clang-format 14, the version the style was set with), no function in src/ over 60 lines, and
# the main window's class at most 60 members. Usage: codeshape.sh SOURCE_DIR
set -uo pipefail
top=$1
failed=0

if ! version=$(clang-format --version 2>/dev/null); then
    echo "clang-format is not installed (package clang-format)"
    exit 77
fi
if [[ $version != *"version 14."* ]]; then
    echo "the format is checked with clang-format 14; this is: $version"
    exit 77
fi
mapfile -t files < <(find "$top/src" "$top/tests" "$top/tools" "$top/bench" \
    \( -path "$top/tests/fuzz/corpus" -o -path "$top/bench/out" \) -prune -o \( -name '*.cpp' -o -name '*.h' \) -print | sort)
if ! clang-format --dry-run --Werror "${files[@]}"; then
    echo "not formatted: run clang-format -i on the files above"
    failed=1
fi

if ! command -v ctags >/dev/null; then
    echo "ctags is not installed (package universal-ctags)"
    exit 77
fi
long=$(ctags -f - --languages=C++ --c++-kinds=f --fields=+ne -R "$top/src" |
    awk -F'\t' '{ for (i = 4; i <= NF; i++) { if ($i ~ /^line:/) s = substr($i, 6);
                                               if ($i ~ /^end:/) e = substr($i, 5) }
                  if (e - s + 1 > 60) print $2 ": " $1 " is " e - s + 1 " lines" }')
if [ -n "$long" ]; then
    echo "$long"
    echo "functions over 60 lines: split them into steps with names"
    failed=1
fi

members=$(ctags -x --language-force=C++ --c++-kinds=+p-l "$top/src/app/frmMain.h" |
    awk '$2 != "class"' | wc -l)
if [ "$members" -gt 60 ]; then
    echo "frmMain declares $members members (at most 60): give the new work to a part"
    failed=1
fi
exit $failed
