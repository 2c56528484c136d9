# bash completion for tavrel-cli                                    -*- shell-script -*-

_tavrel_cli() {
    local cur prev words cword split
    _init_completion -s || return

    local models="QL-900 QL-414XE3"
    local unitopts="--simulate --simulate= --sim-storage --volume-root"

    # The command is the first word after the program and its optional -v.
    local i=1
    [[ ${words[1]} == -v || ${words[1]} == --verbose ]] && i=2
    if ((cword <= i)); then
        COMPREPLY=($(compgen -W "smf convert list memory unit preview --help --version -v" -- "$cur"))
        return
    fi
    local command=${words[i]}

    case $prev in
        -o) _filedir '@(QL0|ql0)'; return ;;
        --sim-storage | --volume-root) _filedir -d; return ;;
        --variation) COMPREPLY=($(compgen -W "0 1 2 3 4 5 6 7 8 9" -- "$cur")); return ;;
        --from | --bars | --tempo | --seconds) return ;;
        --port)
            local IFS=$'\n'
            COMPREPLY=($(compgen -W "$(aconnect -o 2>/dev/null |
                sed -n "s/^ *[0-9]* '\(.*\)'.*$/\1/p" | sed 's/ *$//')" -- "$cur"))
            return
            ;;
    esac
    if [[ $prev == --simulate ]] && $split; then
        COMPREPLY=($(compgen -W "$models" -- "$cur"))
        return
    fi

    case $command in
        smf)
            [[ $cur == -* ]] && COMPREPLY=($(compgen -W "--json" -- "$cur")) || _filedir '@(mid|midi|MID|MIDI|smf)'
            ;;
        convert)
            [[ $cur == -* ]] && COMPREPLY=($(compgen -W "-o --no-merge" -- "$cur")) || _filedir '@(mid|midi|MID|MIDI)'
            ;;
        list)
            [[ $cur == -* ]] && COMPREPLY=($(compgen -W "--json" -- "$cur")) || _filedir '@(QL0|ql0)'
            ;;
        memory)
            [[ $cur == -* ]] && COMPREPLY=($(compgen -W "--json" -- "$cur")) || _filedir -d
            ;;
        unit)
            if ((cword == i + 1)); then
                COMPREPLY=($(compgen -W "status load pull push" -- "$cur"))
            elif [[ $cur == -* ]]; then
                case ${words[i + 1]} in
                    status | load) COMPREPLY=($(compgen -W "--json $unitopts" -- "$cur")) ;;
                    *) COMPREPLY=($(compgen -W "$unitopts" -- "$cur")) ;;
                esac
            else
                _filedir '@(QL0|ql0)'
            fi
            ;;
        preview)
            if [[ $cur == -* ]]; then
                COMPREPLY=($(compgen -W "--variation --from --bars --tempo --seconds --port
                    --simulate --simulate=" -- "$cur"))
            else
                _filedir '@(mid|midi|MID|MIDI)'
            fi
            ;;
    esac
    [[ ${COMPREPLY-} == *= ]] && compopt -o nospace
} &&
    complete -F _tavrel_cli tavrel-cli

# ex: filetype=sh
