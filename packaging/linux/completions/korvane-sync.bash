# bash completion for korvane-sync

# Prints the guids of the chats in the database or backup that the command line names. Only reads
# it, gives up after 2 seconds, and asks for no password. Disables D-Bus, because contact names are
# not needed here.
_korvane_sync_guids()
{
    local i database=()
    for ((i = 1; i < ${#words[@]} - 1; ++i)); do
        [[ ${words[i]} == --database || ${words[i]} == --backup ]] \
            && database=("${words[i]}" "${words[i + 1]/#\~\//$HOME/}")
    done
    DBUS_SESSION_BUS_ADDRESS=disabled: timeout 2 korvane-sync chats "${database[@]}" \
        </dev/null 2>/dev/null \
        | sed -n '2,$s/^.* \(group\|person\)  *//p'
}

_korvane_sync_names()
{
    local name
    while IFS= read -r name; do
        [[ $name == "$current"* ]] && COMPREPLY+=("$name")
    done
    compopt -o filenames # so that what a shell reads otherwise is quoted
}

_korvane_sync()
{
    local i words=() command=
    # COMP_WORDS splits "--option=value" into three words. Drop the "=".
    for ((i = 0; i <= COMP_CWORD; ++i)); do
        [[ ${COMP_WORDS[i]} == = && i -lt COMP_CWORD ]] || words+=("${COMP_WORDS[i]}")
    done
    local current=${words[-1]} previous=${words[-2]}
    [[ $current == = ]] && current=
    current=${current#[\"\']}
    current=${current//\\/}
    COMPREPLY=()
    [[ ${#words[@]} -gt 2 ]] && command=${words[1]}

    case $previous in
        --contacts)
            _korvane_sync_names < <(compgen -f -- "$current"
                [[ $command == sample ]] || compgen -W none -- "$current")
            return ;;
        --database | --html | --output | --password-file | --sqlite)
            _korvane_sync_names < <(compgen -f -- "$current")
            return ;;
        --folder | --backup)
            _korvane_sync_names < <(compgen -d -- "$current")
            return ;;
        --chat)
            _korvane_sync_names < <(_korvane_sync_guids)
            return ;;
        --every | --password-fd | --host | --port | --messages | --chats | --seed | --since | --until \
            | --from | --search)
            return ;;
    esac

    local options= sources='--database --backup --password-file --password-fd --contacts'
    case $command in
        '') options='chats export check read transfer receive backups sample --help --version' ;;
        chats) options="$sources --json --help --version" ;;
        export) options="--all --chat $sources --folder --every --json --help --version" ;;
        check) options="--all --chat $sources --folder --json --repair --yes --help --version" ;;
        read)
            options='--folder --since --until --from --search --text --json --csv --sqlite --html --force'
            options+=' --help --version'
            [[ $current != -* ]] && _korvane_sync_names < <(compgen -f -- "$current")
            ;;
        transfer) options="--chat --host --port $sources --folder --help --version" ;;
        backups)
            options='--json --help --version'
            [[ $current != -* ]] && _korvane_sync_names < <(compgen -d -- "$current")
            ;;
        receive) options='--output --help --version' ;;
        sample)
            options='--messages --chats --seed --contacts --force --help --version'
            [[ $current != -* ]] && _korvane_sync_names < <(compgen -f -- "$current")
            ;;
    esac
    if [[ $command == '' || $current == -* ]]; then
        mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -W "$options" -- "$current")
    fi
}

complete -F _korvane_sync korvane-sync
