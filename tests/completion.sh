#!/usr/bin/env bash
# The shell completions: bash's answers for each kind of word, fish's where fish is installed,
# zsh's syntax where zsh is. Usage: completion.sh DATA_DIR
set -uo pipefail
data=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/my dir" "$work/other" && touch "$work/file.txt"
cd "$work" || exit 1
failed=0

source "$data/tallymoor.bash"
[[ $(complete -p tallymoor) == *"-o filenames"* ]] || { echo "bash: not registered with -o filenames"; failed=1; }
# line (words separated by "|", the last is the one completed) -> the answers, sorted, "|"-separated
while IFS='>' read -r line expected; do
    IFS='|' read -r -a COMP_WORDS <<<"$line"
    [[ $line == *'|' ]] && COMP_WORDS+=("")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    _tallymoor
    got=$(printf '%s\n' "${COMPREPLY[@]}" | sort | paste -sd'|')
    if [[ $got != "$expected" ]]; then
        echo "bash: '$line' gave '$got', not '$expected'"
        failed=1
    fi
done <<'CASES'
tallymoor|my>my dir
tallymoor|se>search
tallymoor|--se>--settings
tallymoor|search|--ti>--times
tallymoor|search|--threads|>
tallymoor|search|--threads|=|>
tallymoor|search|--threads|2|o>other
tallymoor|search|--threads|=|2|o>other
tallymoor|census|--filter|=|1>10
tallymoor|census|--si>--sizes
tallymoor|census|--report|=|>file.txt|my dir|other
tallymoor|search|other|>
tallymoor|census|--filter|1>10
tallymoor|census|--report|fi>file.txt
tallymoor|copy|other|*.txt|m>my dir
tallymoor|copy|--|-0|*|o>other
tallymoor|trash|--pr>--print0
CASES

if command -v fish >/dev/null; then
    got=$(fish -c "source '$data/tallymoor.fish'; complete -C 'tallymoor search --ti'" | cut -f1)
    [[ $got == --times ]] || { echo "fish: gave '$got', not '--times'"; failed=1; }
    got=$(fish -c "source '$data/tallymoor.fish'; complete -C 'tallymoor census --filter '" | cut -f1 | paste -sd' ')
    [[ $got == "0 2 3 4 5 6 7 8 9 10" ]] || { echo "fish: --filter gave '$got'"; failed=1; }
fi
if command -v zsh >/dev/null; then
    zsh -n "$data/_tallymoor" || { echo "zsh: the completion does not parse"; failed=1; }
fi
exit $failed
