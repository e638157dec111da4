# bash completion for kesh-host: exports, commands and options come from the program itself.
_kesh_host() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} program=${COMP_WORDS[0]} word head=""
    case $previous in
        -d|--distance|--threads) return ;;
        --library|--file|--events|--svg|--png) mapfile -t COMPREPLY < <(compgen -f -- "$current"); return ;;
        --color) mapfile -t COMPREPLY < <(compgen -W "auto always never" -- "$current"); return ;;
        --fail) mapfile -t COMPREPLY < <(compgen -W "$("$program" --complete fail 2>/dev/null)" -- "$current"); compopt -o nospace; return ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$("$program" --complete options 2>/dev/null)" -- "$current")
        return
    fi
    # Only the first word that is no option names what is to be called.
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ $word != -* ]]; then head=$word; break; fi
    done
    case $head in
        ""|help) mapfile -t COMPREPLY < <("$program" --complete names -- "$current" 2>/dev/null) ;;
        plot) mapfile -t COMPREPLY < <(compgen -W "pi gaps twins events" -- "$current") ;;
    esac
}
complete -F _kesh_host kesh-host
