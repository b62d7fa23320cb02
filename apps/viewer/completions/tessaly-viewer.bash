# Completion of tessaly-viewer for bash.
_tessaly_viewer() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    case $previous in
        --page | --text-size) return ;;
        --size)
            mapfile -t COMPREPLY < <(compgen -W "390x844 1000x700" -- "$current")
            return
            ;;
        --language)
            mapfile -t COMPREPLY < <(compgen -W "zh-Hans zh-Hant nl en fr de hi id it ja ko ml pl pt ru es th uk" -- "$current")
            return
            ;;
        --appearance)
            mapfile -t COMPREPLY < <(compgen -W "light dark auto" -- "$current")
            return
            ;;
    esac
    if [[ $current == -?* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "--app --page --change-language --share-without-metadata --language --appearance --text-size --reduce-motion --size --screenshot --help --version" -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}
complete -o filenames -F _tessaly_viewer tessaly-viewer
