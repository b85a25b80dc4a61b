# Completion of tmxact for bash. Options come from the help texts and names from the catalogue, both
# at the time of completion.

_tmxact() {
    local program=$1 word=$2 previous=$3 command= i
    local -a words=("${COMP_WORDS[@]}")
    COMPREPLY=()

    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${words[i]} in
            -*) ;;
            *)
                # The commands of events are two words.
                command+=${command:+ }${words[i]}
                [[ $command == events ]] || break
                ;;
        esac
    done

    # "--option=value" reaches us in three words.
    local option=$previous
    [[ $word == = ]] && word=
    [[ $previous == = ]] && option=${words[COMP_CWORD - 2]}

    case $option in
        --from)
            mapfile -t COMPREPLY < <(compgen -W 'auto text bin' -- "$word")
            return
            ;;
        --to)
            mapfile -t COMPREPLY < <(compgen -W 'text bin display json' -- "$word")
            return
            ;;
        --int64)
            mapfile -t COMPREPLY < <(compgen -W 'number string' -- "$word")
            return
            ;;
        --color)
            mapfile -t COMPREPLY < <(compgen -W 'auto always never' -- "$word")
            return
            ;;
        --bytes)
            mapfile -t COMPREPLY < <(compgen -W 'incomplete lossy all' -- "$word")
            return
            ;;
        --code | --class)
            mapfile -t COMPREPLY < <(compgen -W "$("$program" catalogue --names 2>/dev/null)" -- "$word")
            return
            ;;
        --max-size | --template | --source | --comment | --batch | --limit | --top | --since | \
            --until | --text)
            return
            ;;
        -o | --output | --templates | --db | --svg)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return
            ;;
    esac

    if [[ $word == -* ]]; then
        local options
        options=$("$program" $command --help 2>/dev/null | grep -oE '^ +-[^ ]+' | tr ',' ' ')
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
        return
    fi

    case $command in
        '' | events)
            local commands
            commands=$("$program" $command --help 2>/dev/null |
                sed -n '/^Subcommands:/,$s/^  \([a-z][a-z]*\) .*/\1/p')
            mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$word")
            ;;
        catalogue)
            mapfile -t COMPREPLY < <(compgen -W "$("$program" catalogue --names 2>/dev/null)" -- "$word")
            ;;
        *)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            ;;
    esac
}

complete -F _tmxact tmxact
