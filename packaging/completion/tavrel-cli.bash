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
        COMPREPLY=($(compgen -W "smf convert list memory unit backups preview render --help
            --version -v" -- "$cur"))
        return
    fi
    local command=${words[i]}

    case $prev in
        -o)
            [[ $command == render ]] && _filedir '@(wav|WAV)' || _filedir '@(QL0|ql0)'
            return
            ;;
        --from)
            # A pattern file for unit apply-all, a bar number for preview and render.
            [[ $command == unit ]] && _filedir '@(QL0|ql0)'
            return
            ;;
        --soundfont) _filedir '@(sf2|sf3|SF2|SF3)'; return ;;
        --sim-storage | --volume-root) _filedir -d; return ;;
        --variation) COMPREPLY=($(compgen -W "0 1 2 3 4 5 6 7 8 9" -- "$cur")); return ;;
        --bars | --tempo | --seconds | --loops) return ;;
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
                COMPREPLY=($(compgen -W "status load pull push apply-all" -- "$cur"))
            elif [[ $cur == -* ]]; then
                case ${words[i + 1]} in
                    status | load) COMPREPLY=($(compgen -W "--json $unitopts" -- "$cur")) ;;
                    apply-all) COMPREPLY=($(compgen -W "--from $unitopts" -- "$cur")) ;;
                    *) COMPREPLY=($(compgen -W "$unitopts" -- "$cur")) ;;
                esac
            elif [[ ${words[i + 1]} != @(status|load|apply-all) ]]; then
                _filedir '@(QL0|ql0)'
            fi
            ;;
        backups)
            COMPREPLY=($(compgen -W "--json" -- "$cur"))
            ;;
        preview | render)
            if [[ $cur == -* ]]; then
                local opts="--variation --from --bars --tempo --soundfont"
                if [[ $command == preview ]]; then
                    opts+=" --seconds --port --simulate --simulate= --synth"
                else
                    opts+=" -o --loops"
                fi
                COMPREPLY=($(compgen -W "$opts" -- "$cur"))
            else
                # A MIDI file, or FILE.QL0:P for pattern P of a pattern file.
                _filedir '@(mid|midi|MID|MIDI|QL0|ql0)'
            fi
            ;;
    esac
    [[ ${COMPREPLY-} == *= ]] && compopt -o nospace
} &&
    complete -F _tavrel_cli tavrel-cli

# ex: filetype=sh
