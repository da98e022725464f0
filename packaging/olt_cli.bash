# Completion of olt_cli for bash.
_olt_cli() {
    local previous=${COMP_WORDS[COMP_CWORD - 1]} current=${COMP_WORDS[COMP_CWORD]}
    case $previous in
    -s | --socket)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    -c | --command | -t | --timeout) return ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "--help --socket --command --timeout --stop --version" -- "$current")
}
complete -F _olt_cli olt_cli
