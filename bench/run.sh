#!/usr/bin/env bash
# Times `tallymoor search` against find, bfs and fd doing the same work on one generated tree,
# in the same run: each tool once to warm the cache, then RUNS rounds, tools interleaved. Prints
# median wall time, the ratio to bfs, peak resident memory, and what each tool listed. For "*.*"
# tallymoor keeps each file's modification time, so find and bfs print it too (fd cannot).
# Usage: bench/run.sh [N=1000000] [RUNS=5]     BENCH_DIR=... places the tree (default bench/out)
# Then the memory of the "*.*" store, the window's work over it (census, type views, Select
# All), and the census of 1 000 000 records against the list-searching count.
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
    case "$1:$2" in
    txt:tallymoor) cmd=("$tallymoor" search "$tree" '*.txt') ;;
    txt:find) cmd=(find "$tree" "${prune[@]}" '!' -type d -iname '*.txt' -print) ;;
    txt:bfs) cmd=(bfs "$tree" "${prune[@]}" '!' -type d -iname '*.txt' -print) ;;
    txt:fd) cmd=("${fd[@]}" --ignore-case --glob '*.txt' "$tree") ;;
    all:tallymoor) cmd=("$tallymoor" search "$tree" '*.*') ;;
    all:find) cmd=(find "$tree" "${prune[@]}" '!' -type d -printf '%p %T@\n') ;;
    all:bfs) cmd=(bfs "$tree" "${prune[@]}" '!' -type d -printf '%p %T@\n') ;;
    all:fd) cmd=("${fd[@]}" . "$tree") ;;
    esac
}

run_one() { # query tool -> appends "seconds rss_kb bytes lines status"
    local cmd
    set_command "$1" "$2"
    "$measure" -- "${cmd[@]}" >>"$results/$1-$2"
}

queries=(txt all)
tools=(tallymoor bfs find fd)
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
echo "| mask | tool | median s | vs bfs | peak RSS MiB | paths listed |"
echo "|---|---|---|---|---|---|"
for q in "${queries[@]}"; do
    mask='*.txt'
    [ "$q" = all ] && mask='*.*'
    bfs_time=$(cut -d' ' -f1 "$results/$q-bfs" | median)
    for t in "${tools[@]}"; do
        time=$(cut -d' ' -f1 "$results/$q-$t" | median)
        rss=$(cut -d' ' -f2 "$results/$q-$t" | median)
        lines=$(cut -d' ' -f4 "$results/$q-$t" | sort -u | tr '\n' ' ')
        awk -v m="$mask" -v t="$t" -v s="$time" -v b="$bfs_time" -v r="$rss" -v l="$lines" \
            'BEGIN {printf "| %s | %s | %.3f | %.2fx | %.1f | %s|\n", m, t, s, s/b, r/1024, l}'
    done
done
echo
read -r _ rss bytes lines _ < <(sort -k2 -n "$results/all-tallymoor" | tail -n 1)
empty=$(mktemp -d)
read -r _ base _ < <("$measure" -- "$tallymoor" search "$empty" '*.*')
rmdir "$empty"
awk -v r="$rss" -v base="$base" -v b="$bytes" -v l="$lines" 'BEGIN {
    printf "*.* memory: peak RSS %.1f MiB, %.1f MiB on an empty folder: %.1f bytes per record for %d records, everything included (their paths alone are %.1f bytes each)\n",
        r/1024, base/1024, (r - base)*1024/l, l, (b - l)/l }'
echo
"$top/build/bench/viewbench" "$tree" "$runs" 2>/dev/null
"$top/build/bench/censusbench" 1000000 "$runs"
