# bash completion for tallymoor. Names are read one per line, so blanks stay inside them;
# -o filenames quotes them and ends a folder with "/".
_tallymoor() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}
    # bash splits "--threads=2" at the "=": the option is then the word before it.
    if [[ $cur == = ]]; then
        cur=""
    elif [[ $prev == = ]]; then
        prev=${COMP_WORDS[COMP_CWORD-2]}
    fi
    local command="" operands=0 i word ended=""
    # The command word, and how many operands (ROOT, MASK, DEST) come before the cursor.
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ -z $command ]]; then
            case $word in
                search|census|trash|copy) command=$word ;;
                --settings) ((i++)) ;;
            esac
        elif [[ -n $ended || $word != -?* ]]; then
            ((operands++))
        elif [[ $word == -- ]]; then
            ended=1
        elif [[ $word == --threads || $word == --filter || $word == --report ]]; then
            [[ ${COMP_WORDS[i+1]} == = ]] && ((i++))
            ((i++))
        fi
    done
    # An option's value: only what it can be.
    case $prev in
        --settings|--report) [[ -z $ended ]] && { mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return; } ;;
        --filter) [[ -z $ended ]] && { COMPREPLY=($(compgen -W "0 2 3 4 5 6 7 8 9 10" -- "$cur")); return; } ;;
        --threads) [[ -z $ended ]] && { COMPREPLY=(); return; } ;;
    esac
    if [[ $cur == -* && -z $ended ]]; then
        local common="--except --no-recurse --threads -q --quiet -h --help --"
        case $command in
            search) COMPREPLY=($(compgen -W "$common --folders-only -0 --print0 --times" -- "$cur")) ;;
            census) COMPREPLY=($(compgen -W "$common --folders-only --sizes --filter --report" -- "$cur")) ;;
            trash) COMPREPLY=($(compgen -W "$common --folders-only -0 --print0 --yes" -- "$cur")) ;;
            copy) COMPREPLY=($(compgen -W "$common -0 --print0" -- "$cur")) ;;
            *) COMPREPLY=($(compgen -W "--settings --help --version" -- "$cur")) ;;
        esac
        return
    fi
    if [[ -z $command ]]; then
        mapfile -t COMPREPLY < <(compgen -W "search census trash copy" -- "$cur"; compgen -d -- "$cur")
    elif ((operands == 0)) || { [[ $command == copy ]] && ((operands == 2)); }; then
        mapfile -t COMPREPLY < <(compgen -d -- "$cur") # ROOT, or copy's DEST
    else
        COMPREPLY=() # MASK, or nothing more
    fi
}
complete -o filenames -F _tallymoor tallymoor
