#!/usr/bin/env bash
# Times searches of a share that answers slowly: its own sshd on 127.0.0.1, a relay (bench/relay)
# holding every chunk D ms each way, and sshfs mounted through the relay, remounted before every
# run so that nothing is cached. tallymoor search (default threads), fd -j 32, bfs and find list
# the same "*.txt" files of the same tree, tools interleaved; then the window's whole search
# (bench/windowbench). Prints median seconds per delay. Skipped, with a message, where FUSE or
# sshd cannot run.
# Usage: bench/slowshare.sh [N=32000] [RUNS=5] [DELAYS="0 0.5 2"]     BENCH_DIR as in run.sh
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
n=${1:-32000}
runs=${2:-5}
delays=${3:-0 0.5 2}

"$top/scripts/deps.sh" bfs findutils fd-find openssh-server openssh-client sshfs
"$top/scripts/build.sh" >/dev/null
if [ ! -c /dev/fuse ] || ! command -v sshfs >/dev/null; then
    echo "slowshare: skipped, no FUSE here (/dev/fuse) to mount the share on" >&2
    exit 0
fi

dir=${BENCH_DIR:-$top/bench/out}
served=$dir/served-$n
if [ ! -e "$served.done" ]; then
    rm -rf "$served"
    "$top/build/bench/gentree" "$served" "$n" >&2
    touch "$served.done"
fi

work=$(mktemp -d)
mnt=$work/mnt
mkdir -p "$mnt"
sshd_port=$((20000 + RANDOM % 10000))
relay_port=$((sshd_port + 1))
relay_pid=
cleanup() {
    fusermount3 -u "$mnt" 2>/dev/null || fusermount -u "$mnt" 2>/dev/null || true
    [ -n "$relay_pid" ] && kill "$relay_pid" 2>/dev/null
    [ -f "$work/sshd.pid" ] && kill "$(cat "$work/sshd.pid")" 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

ssh-keygen -q -t ed25519 -N '' -f "$work/host_key"
ssh-keygen -q -t ed25519 -N '' -f "$work/client_key"
cp "$work/client_key.pub" "$work/authorized_keys"
cat >"$work/sshd_config" <<CONFIG
Port $sshd_port
ListenAddress 127.0.0.1
HostKey $work/host_key
AuthorizedKeysFile $work/authorized_keys
PidFile $work/sshd.pid
StrictModes no
UsePAM no
PermitRootLogin prohibit-password
PasswordAuthentication no
Subsystem sftp internal-sftp
CONFIG
mkdir -p /run/sshd 2>/dev/null || true
if ! /usr/sbin/sshd -f "$work/sshd_config" -E "$work/sshd.log"; then
    echo "slowshare: skipped, sshd would not start here: $(tail -1 "$work/sshd.log")" >&2
    exit 0
fi

mount_share() {
    sshfs -p "$relay_port" "$(id -un)@127.0.0.1:$served" "$mnt" \
        -o IdentityFile="$work/client_key",StrictHostKeyChecking=no,UserKnownHostsFile=/dev/null,BatchMode=yes
}
unmount_share() {
    fusermount3 -u "$mnt" 2>/dev/null || fusermount -u "$mnt"
}

measure=$top/build/bench/measure
set_command() { # tool -> cmd
    local prune=(-name '.*' -type d -prune -o)
    case "$1" in
    tallymoor) cmd=("$top/build/tallymoor" search -q "$mnt" '*.txt') ;;
    fd) cmd=(fdfind -j 32 --no-ignore --hidden --exclude '.*/' --type f --type l --ignore-case
        --glob '*.txt' "$mnt") ;;
    bfs) cmd=(bfs "$mnt" "${prune[@]}" '!' -type d -iname '*.txt' -print) ;;
    find) cmd=(find "$mnt" "${prune[@]}" '!' -type d -iname '*.txt' -print) ;;
    esac
}
median() { sort -n | awk '{v[NR]=$1} END {print (NR%2) ? v[(NR+1)/2] : (v[NR/2]+v[NR/2+1])/2}'; }
tools=(tallymoor fd bfs find)

echo "Share: $n entries served by sshd on 127.0.0.1 through a relay, sshfs remounted before every run; $runs runs each, $(nproc) cores"
echo
echo "| \"*.txt\" | delay each way | median s | vs fd -j 32 | paths listed |"
echo "|---|---|---|---|---|"
for delay in $delays; do
    "$top/build/bench/relay" "$relay_port" "$sshd_port" "$delay" &
    relay_pid=$!
    sleep 0.2
    results=$(mktemp -d)
    for ((r = 0; r < runs; r++)); do
        for t in "${tools[@]}" window; do
            mount_share
            if [ "$t" = window ]; then
                QT_QPA_PLATFORM=offscreen "$top/build/bench/windowbench" "$mnt" '*.txt' 1 2>/dev/null |
                    sed -n 's/.*: \([0-9.]*\) s median.*/\1/p' >>"$results/window"
            else
                set_command "$t"
                "$measure" -- "${cmd[@]}" >>"$results/$t"
            fi
            unmount_share
        done
    done
    fd_time=$(cut -d' ' -f1 "$results/fd" | median)
    for t in "${tools[@]}" window; do
        time=$(cut -d' ' -f1 "$results/$t" | median)
        lines=$([ "$t" = window ] && echo "-" || cut -d' ' -f4 "$results/$t" | sort -u | tr '\n' ' ')
        label=$t
        [ "$t" = fd ] && label="fd -j 32"
        [ "$t" = window ] && label="the window (click to list)"
        awk -v t="$label" -v d="$delay" -v s="$time" -v f="$fd_time" -v l="$lines" \
            'BEGIN {printf "| %s | %s ms | %.2f | %.2fx | %s |\n", t, d, s, s/f, l}'
    done
    rm -rf "$results"
    kill "$relay_pid"
    wait "$relay_pid" 2>/dev/null || true
    relay_pid=
done
