#!/usr/bin/env bash
# Times `tallymoor search` against find, bfs and fd doing the same job on one generated tree, in
# the same run, and against bench/floor, the least a walker can do (openat, getdents64, a stat of
# each kept file when times are printed, no order kept) on one and on two threads. Each tool
# runs once to warm the cache, then RUNS rounds, tools interleaved. Three jobs: "*.txt" paths,
# "*.*" paths, and "*.*" paths with each file's modification time (tallymoor --times against
# -printf '%p\t%T@\n'; fd cannot print times). Prints median wall time, the ratios to bfs and
# to the two-thread floor, peak resident memory, and what each tool listed.
# Usage: bench/run.sh [N=1000000] [RUNS=5]     BENCH_DIR=... places the tree (default bench/out)
# Then the memory of the "*.*" store, the window's work over it (census, type views, Select
# All), the census of 1 000 000 records against the list-searching count, and the File Types
# dialog selecting by count range over 20 000 types.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
n=${1:-1000000}
runs=${2:-5}

"$top/scripts/deps.sh" bfs findutils fd-find
"$top/scripts/build.sh" >/dev/null

dir=${BENCH_DIR:-$top/bench/out}
tree=$dir/tree-$n
mkdir -p "$dir"
if [ ! -e "$tree.done" ]; then
    rm -rf "$tree"
    "$top/build/bench/gentree" "$tree" "$n" >&2
    touch "$tree.done"
fi

measure=$top/build/bench/measure
tallymoor=$top/build/tallymoor
results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT

# The same selection for all three: folders whose name begins with "." pruned, links not
# followed and listed like files, names matched without regard to case. fd runs on two threads.
set_command() { # query tool -> cmd
    local prune=(-name '.*' -type d -prune -o)
    local fd=(fdfind -j 2 --no-ignore --hidden --exclude '.*/' --type f --type l)
    local floor=("$top/build/bench/floor")
    case "$1:$2" in
    txt:tallymoor) cmd=("$tallymoor" search -q "$tree" '*.txt') ;;
    txt:find) cmd=(find "$tree" "${prune[@]}" '!' -type d -iname '*.txt' -print) ;;
    txt:bfs) cmd=(bfs "$tree" "${prune[@]}" '!' -type d -iname '*.txt' -print) ;;
    txt:fd) cmd=("${fd[@]}" --ignore-case --glob '*.txt' "$tree") ;;
    txt:floor1) cmd=("${floor[@]}" -j 1 --suffix .txt "$tree") ;;
    txt:floor2) cmd=("${floor[@]}" -j 2 --suffix .txt "$tree") ;;
    all:tallymoor) cmd=("$tallymoor" search -q "$tree" '*.*') ;;
    all:find) cmd=(find "$tree" "${prune[@]}" '!' -type d -print) ;;
    all:bfs) cmd=(bfs "$tree" "${prune[@]}" '!' -type d -print) ;;
    all:fd) cmd=("${fd[@]}" . "$tree") ;;
    all:floor1) cmd=("${floor[@]}" -j 1 "$tree") ;;
    all:floor2) cmd=("${floor[@]}" -j 2 "$tree") ;;
    times:tallymoor) cmd=("$tallymoor" search -q --times "$tree" '*.*') ;;
    times:find) cmd=(find "$tree" "${prune[@]}" '!' -type d -printf '%p\t%T@\n') ;;
    times:bfs) cmd=(bfs "$tree" "${prune[@]}" '!' -type d -printf '%p\t%T@\n') ;;
    times:floor1) cmd=("${floor[@]}" -j 1 --stat "$tree") ;;
    times:floor2) cmd=("${floor[@]}" -j 2 --stat "$tree") ;;
    *) cmd=() ;;
    esac
}

run_one() { # query tool -> appends "seconds rss_kb bytes lines status"
    local cmd
    set_command "$1" "$2"
    [ ${#cmd[@]} -eq 0 ] || "$measure" -- "${cmd[@]}" >>"$results/$1-$2"
}

queries=(txt all times)
tools=(tallymoor bfs find fd floor1 floor2)
for q in "${queries[@]}"; do
    for t in "${tools[@]}"; do
        run_one "$q" "$t"
        : >"$results/$q-$t"
    done
done
for ((r = 0; r < runs; r++)); do
    for q in "${queries[@]}"; do
        for t in "${tools[@]}"; do
            run_one "$q" "$t"
        done
    done
done

median() { sort -n | awk '{v[NR]=$1} END {print (NR%2) ? v[(NR+1)/2] : (v[NR/2]+v[NR/2+1])/2}'; }

echo "Tree: $n entries ($tree), $runs runs each, $(nproc) cores, $(uname -r)"
echo
echo "| job | tool | median s | vs bfs | vs floor, 2 threads | peak RSS MiB | paths listed |"
echo "|---|---|---|---|---|---|---|"
for q in "${queries[@]}"; do
    case $q in
    txt) job='"*.txt" paths' ;;
    all) job='"*.*" paths' ;;
    times) job='"*.*" paths and times' ;;
    esac
    bfs_time=$(cut -d' ' -f1 "$results/$q-bfs" | median)
    floor_time=$(cut -d' ' -f1 "$results/$q-floor2" | median)
    for t in "${tools[@]}"; do
        [ -s "$results/$q-$t" ] || continue
        time=$(cut -d' ' -f1 "$results/$q-$t" | median)
        rss=$(cut -d' ' -f2 "$results/$q-$t" | median)
        lines=$(cut -d' ' -f4 "$results/$q-$t" | sort -u | tr '\n' ' ')
        awk -v j="$job" -v t="$t" -v s="$time" -v b="$bfs_time" -v f="$floor_time" -v r="$rss" -v l="$lines" \
            'BEGIN {printf "| %s | %s | %.3f | %.2fx | %.2fx | %.1f | %s|\n", j, t, s, s/b, s/f, r/1024, l}'
    done
done
echo
read -r _ rss _ < <(sort -k2 -n "$results/times-tallymoor" | tail -n 1)
read -r _ _ bytes lines _ < <(head -n 1 "$results/all-tallymoor")
empty=$(mktemp -d)
read -r _ base _ < <("$measure" -- "$tallymoor" search --times "$empty" '*.*')
rmdir "$empty"
awk -v r="$rss" -v base="$base" -v b="$bytes" -v l="$lines" 'BEGIN {
    printf "*.* memory: peak RSS %.1f MiB, %.1f MiB on an empty folder: %.1f bytes per record for %d records, everything included (their paths alone are %.1f bytes each)\n",
        r/1024, base/1024, (r - base)*1024/l, l, (b - l)/l }'
echo
# The window's whole search, click to list painted.
for mask in '*.*' '*.txt'; do
    "$top/build/bench/windowbench" "$tree" "$mask" "$runs" 2>/dev/null
done
echo

# By shape: the bench tree itself, one folder of 200 000 files, a chain 200 levels deep with 500
# files in each, and a chain 5000 levels deep with one file in each (far beyond PATH_MAX), each
# walked on the default threads and on one.
shape() { # name generator-arguments...
    local name=$1
    shift
    if [ ! -e "$dir/$name.done" ]; then
        rm -rf "${dir:?}/$name"
        "$top/build/bench/gentree" "$@" >&2
        touch "$dir/$name.done"
    fi
}
shape wide-200000 --wide "$dir/wide-200000" 200000
shape deep-200 --deep "$dir/deep-200" 200 500
shape deep-5000 --deep "$dir/deep-5000" 5000 1
echo "| tree | job | default threads s | --threads 1 s | peak RSS MiB (default) |"
echo "|---|---|---|---|---|"
for name in "tree-$n" wide-200000 deep-200 deep-5000; do
    for job in txt times; do
        args=(search -q "$dir/$name" '*.txt')
        [ "$job" = times ] && args=(search -q --times "$dir/$name" '*.*')
        : >"$results/shape-default"
        : >"$results/shape-one"
        # Which goes first alternates: the first of a pair may find less of the tree cached.
        for ((r = 0; r <= runs; r++)); do
            if ((r % 2 == 0)); then
                "$measure" -- "$tallymoor" "${args[@]}" >>"$results/shape-default"
            fi
            "$measure" -- "$tallymoor" search --threads 1 "${args[@]:1}" >>"$results/shape-one"
            if ((r % 2 == 1)); then
                "$measure" -- "$tallymoor" "${args[@]}" >>"$results/shape-default"
            fi
        done
        many=$(cut -d' ' -f1 "$results/shape-default" | median)
        one=$(cut -d' ' -f1 "$results/shape-one" | median)
        rss=$(cut -d' ' -f2 "$results/shape-default" | sort -n | tail -n 1)
        awk -v n="$name" -v j="$job" -v m="$many" -v o="$one" -v r="$rss" \
            'BEGIN {printf "| %s | %s | %.3f | %.3f | %.1f |\n", n, (j == "txt") ? "\"*.txt\" paths" : "\"*.*\" paths and times", m, o, r/1024}'
    done
done
echo
"$top/build/bench/viewbench" "$tree" "$runs" 2>/dev/null
"$top/build/bench/censusbench" 1000000 "$runs"
echo
"$top/build/bench/censusselectbench" 20000 "$runs" 2>/dev/null
