# Completion of olt_host for bash.
_olt_host() {
    local previous=${COMP_WORDS[COMP_CWORD - 1]} current=${COMP_WORDS[COMP_CWORD]}
    case $previous in
    --replay | --pcap | --cli-socket | --state-chart | --sequence-chart)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    --pons | --onus | --ports | --window | --queue | --supervision | --attempts | --audit | --tick | --limit | \
        --mute | --loss | --corrupt | --duplicate | --delay | --delay-ms | --restart | --link | --seed | --sequence-onu)
        return
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "--help --pons --onus --ports --window --queue --supervision --attempts --audit
        --tick --limit --mute --loss --corrupt --duplicate --delay --delay-ms --restart --link --seed --replay
        --check-mic --pcap --cli-socket --state-chart --sequence-chart --sequence-onu --version --verbose" -- "$current")
}
complete -F _olt_host olt_host
