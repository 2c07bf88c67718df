# bash completion for korvane-sync-app

_korvane_sync_app()
{
    local current=${COMP_WORDS[COMP_CWORD]}
    if [[ ${COMP_WORDS[COMP_CWORD - 1]} == --snapshot ]]; then
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -W --snapshot -- "$current")
    fi
}

complete -F _korvane_sync_app korvane-sync-app
