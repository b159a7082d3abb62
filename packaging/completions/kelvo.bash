# bash completion for kelvo(1)

_kelvo()
{
    # shellcheck disable=SC2034  # set and used by _init_completion
    local cur prev words cword
    _init_completion || return
    case $prev in
        --color-scheme)
            mapfile -t COMPREPLY < <(compgen -W "light dark system" -- "$cur")
            return
            ;;
    esac
    if [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "--color-scheme --reverse --help --version" -- "$cur")
    else
        _filedir '@(iso|img|raw|dmg|vm)'
    fi
}

complete -F _kelvo kelvo
