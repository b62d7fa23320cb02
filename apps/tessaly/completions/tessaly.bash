# Completion of tessaly for bash.
_tessaly_albums() {
    local IFS=$'\n'
    mapfile -t COMPREPLY < <(compgen -W "$(tessaly library albums 2>/dev/null | sed 's/  ([0-9]*)$//')" -- "$1")
    [ "${#COMPREPLY[@]}" -eq 0 ] || mapfile -t COMPREPLY < <(printf '%q\n' "${COMPREPLY[@]}")
}

_tessaly_library() {
    local current=$1 previous=$2 command=${COMP_WORDS[2]} options=
    if [ "$COMP_CWORD" -eq 2 ]; then
        mapfile -t COMPREPLY < <(compgen -W "add remove folders scan list info evict albums album favorite strip edit revert trash originals forget --help" -- "$current")
        return
    fi
    case $previous in
        --remote | --where | --limit) return ;;
        --set)
            mapfile -t COMPREPLY < <(compgen -S = -W "date title caption keywords rating artist copyright gps altitude" -- "$current")
            return
            ;;
        -o | --output)
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
            return
            ;;
        --sort)
            mapfile -t COMPREPLY < <(compgen -W "created modified" -- "$current")
            return
            ;;
        --album)
            _tessaly_albums "$current"
            return
            ;;
    esac
    case $command in
        add) options="--remote" ;;
        folders) options="--json" ;;
        list) options="--album --favorites --where --sort --newest --limit --gone --json" ;;
        info) options="--fetch" ;;
        album) options="--remove" ;;
        favorite) options="--off" ;;
        trash | forget) options="--yes" ;;
        strip) options="--location" ;;
        edit) options="--set" ;;
        originals) options="--json --output" ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options --help" -- "$current")
        return
    fi
    case $command in
        add | remove) mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
        album)
            if [ "$COMP_CWORD" -eq 3 ]; then
                _tessaly_albums "$current"
            else
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
            fi
            ;;
        originals)
            if [ "$COMP_CWORD" -eq 3 ]; then
                mapfile -t COMPREPLY < <(compgen -W "export discard" -- "$current")
            else
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
            fi
            ;;
        info | evict | favorite | strip | edit | revert | trash | forget) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    esac
}

_tessaly() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local keys lists="photo video share edit edit-video"
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "show share scan strip edit thumb library settings keys help --help --version" -- "$current"; compgen -f -- "$current")
        return
    fi
    case $command in
        scan)
            case $previous in
                --jobs | -j | --shard) return ;;
            esac
            if [[ $current == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W "--jobs --shard --help" -- "$current")
            else
                mapfile -t COMPREPLY < <(compgen -d -- "$current")
            fi
            ;;
        strip | edit)
            case $previous in
                -o | --output)
                    mapfile -t COMPREPLY < <(compgen -d -- "$current")
                    return
                    ;;
                --keep) return ;;
                --set)
                    mapfile -t COMPREPLY < <(compgen -S = -W "date title caption keywords rating artist copyright gps altitude" -- "$current")
                    return
                    ;;
            esac
            if [[ $current == -* ]]; then
                local own="--set"
                [ "$command" = strip ] && own="--location --keep --check"
                mapfile -t COMPREPLY < <(compgen -W "$own --if --output --in-place --backup --dry-run --force --keep-dates --recursive --help" -- "$current")
            else
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
            fi
            ;;
        thumb)
            case $previous in
                --size | --quality) return ;;
                --format)
                    mapfile -t COMPREPLY < <(compgen -W "jpg png" -- "$current")
                    return
                    ;;
            esac
            if [[ $current == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W "--output --size --quality --format --force --recursive --help" -- "$current")
            else
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
            fi
            ;;
        library) _tessaly_library "$current" "$previous" ;;
        settings)
            if [ "$COMP_CWORD" -eq 2 ]; then
                mapfile -t COMPREPLY < <(compgen -W "list get set reset --help" -- "$current")
            elif [ "$COMP_CWORD" -eq 3 ] || [ "${COMP_WORDS[2]}" = reset ]; then
                mapfile -t COMPREPLY < <(compgen -W "$(tessaly settings list 2>/dev/null | awk '{print $1}')" -- "$current")
            elif [ "${COMP_WORDS[2]}" = set ]; then
                mapfile -t COMPREPLY < <(compgen -W "true false" -- "$current")
            fi
            ;;
        keys)
            if [ "$COMP_CWORD" -eq 2 ]; then
                mapfile -t COMPREPLY < <(compgen -W "$lists --help" -- "$current")
            elif [ "$COMP_CWORD" -eq 3 ]; then
                mapfile -t COMPREPLY < <(compgen -W "show hide unhide move reset --help" -- "$current")
            else
                keys=$(tessaly keys "${COMP_WORDS[2]}" show 2>/dev/null | awk '{print $2}')
                mapfile -t COMPREPLY < <(compgen -W "$keys" -- "$current")
            fi
            ;;
        share)
            if [[ $current == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W "--precise --help" -- "$current")
            else
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
            fi
            ;;
        help) mapfile -t COMPREPLY < <(compgen -W "show share scan strip edit thumb library settings keys" -- "$current") ;;
        *)
            if [ "$previous" = --keys ]; then
                keys=$(tessaly keys photo show 2>/dev/null | awk '{print $2}')
                mapfile -t COMPREPLY < <(compgen -W "$keys" -- "$current")
            elif [[ $current == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W "--if --keys --all --precise --raw --recursive --json --ndjson --csv --help" -- "$current")
            else
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
            fi
            ;;
    esac
}
complete -o filenames -F _tessaly tessaly
