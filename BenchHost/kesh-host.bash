# bash completion for kesh-host: exports, commands, options and what they take come from the program itself.
_kesh_host() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} program=${COMP_WORDS[0]} word head="" value
    if [[ $previous == -* ]]; then
        mapfile -t value < <("$program" --complete value -- "$previous" 2>/dev/null)
        case ${value[0]-} in
            file) mapfile -t COMPREPLY < <(compgen -f -- "$current"); return ;;
            words)
                mapfile -t COMPREPLY < <(compgen -W "${value[*]:1}" -- "$current")
                [[ ${COMPREPLY[0]-} != *= ]] || compopt -o nospace
                return ;;
            other) return ;;
        esac
    fi
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$("$program" --complete options 2>/dev/null)" -- "$current")
        return
    fi
    # The first word that is not an option is the name of the export or command.
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ $word != -* ]]; then head=$word; break; fi
    done
    case $head in
        ""|help) mapfile -t COMPREPLY < <("$program" --complete names -- "$current" 2>/dev/null) ;;
        *) mapfile -t COMPREPLY < <("$program" --complete "$head" -- "$current" 2>/dev/null) ;;
    esac
}
complete -F _kesh_host kesh-host
