# fish completion for korvane-sync

# Prints the guids and titles of the chats in the database or backup that the command line names.
# Only reads it, gives up after 2 seconds, and asks for no password. Disables D-Bus, because titles
# without names from the desktop's contacts will do.
function __korvane_sync_guids
    set -l words (commandline -opc)
    set -l database
    for option in --database --backup
        set -l at (contains -i -- $option $words)
        and set database $option (string replace -r '^~/' $HOME/ -- $words[(math $at + 1)])
    end
    DBUS_SESSION_BUS_ADDRESS=disabled: timeout 2 korvane-sync chats $database \
        </dev/null 2>/dev/null \
        | string replace -f -r '^(.*?)  .* (?:group|person) +(.*)$' '$2\t$1'
end

set -l commands chats export check read transfer receive backups sample
complete -c korvane-sync -f
complete -c korvane-sync -s h -l help -d 'Print help'
complete -c korvane-sync -l version -d 'Print the version'

set -l first "not __fish_seen_subcommand_from $commands"
complete -c korvane-sync -n $first -a chats -d 'List the chats, newest first'
complete -c korvane-sync -n $first -a export -d 'Bring the export files of chats up to date'
complete -c korvane-sync -n $first -a check -d 'Compare the export files with the database'
complete -c korvane-sync -n $first -a read -d 'Show the conversations in export files'
complete -c korvane-sync -n $first -a transfer -d 'Hand one chat to a phone or another machine'
complete -c korvane-sync -n $first -a receive -d 'Fetch the chat that a link stands for'
complete -c korvane-sync -n $first -a backups -d 'List the backups of phones, newest first'
complete -c korvane-sync -n $first -a sample -d 'Write an invented Messages database'

set -l sources '__fish_seen_subcommand_from chats export check transfer'
complete -c korvane-sync -n $sources -l database -rF -d 'The Messages database to read'
complete -c korvane-sync -n $sources -l backup -xa '(__fish_complete_directories)' \
    -d 'Read a phone\'s backup instead'
complete -c korvane-sync -n $sources -l password-file -rF \
    -d 'The file whose first line is the backup\'s password'
complete -c korvane-sync -n $sources -l password-fd -x -d 'The descriptor to read that line from'
complete -c korvane-sync -n $sources -l contacts -rF -a none -d 'A vCard file, or a folder of them'

set -l exporting '__fish_seen_subcommand_from export check transfer'
set -l folders '__fish_seen_subcommand_from export check read transfer'
complete -c korvane-sync -n $folders -l folder -xa '(__fish_complete_directories)' \
    -d 'Where the files go'
complete -c korvane-sync -n $exporting -l chat -xka '(__korvane_sync_guids)' -d 'This chat'

complete -c korvane-sync -n '__fish_seen_subcommand_from chats export check read backups' -l json \
    -d 'Print JSON'
complete -c korvane-sync -n '__fish_seen_subcommand_from export' -l all -d 'Every chat'
complete -c korvane-sync -n '__fish_seen_subcommand_from export' -l every -x \
    -d 'Again every so many seconds'

set -l check '__fish_seen_subcommand_from check'
complete -c korvane-sync -n $check -l all -d 'Also chats that were never exported'
complete -c korvane-sync -n $check -l repair -d 'Export again the chats that are not intact'
complete -c korvane-sync -n $check -l yes -d 'Repair also files from a different database'

set -l read '__fish_seen_subcommand_from read'
complete -c korvane-sync -n $read -F
complete -c korvane-sync -n $read -l since -x -d 'From this date on'
complete -c korvane-sync -n $read -l until -x -d 'Up to the end of this date'
complete -c korvane-sync -n $read -l from -x -d 'From this sender'
complete -c korvane-sync -n $read -l search -x -d 'With this text'
complete -c korvane-sync -n $read -l text -d 'Print text for people'
complete -c korvane-sync -n $read -l csv -d 'Print comma-separated values'
complete -c korvane-sync -n $read -l sqlite -rF -d 'Write tables of a new SQLite database'
complete -c korvane-sync -n $read -l html -rF -d 'Write a page for a browser'
complete -c korvane-sync -n $read -l force -d 'Overwrite an earlier file of this command'

set -l transfer '__fish_seen_subcommand_from transfer'
complete -c korvane-sync -n $transfer -l host -x -d 'The address of this machine for the link'
complete -c korvane-sync -n $transfer -l port -x -d 'The port to listen on'

complete -c korvane-sync -n '__fish_seen_subcommand_from receive' -l output -rF \
    -d 'The file to write'

complete -c korvane-sync -n '__fish_seen_subcommand_from backups' \
    -a '(__fish_complete_directories)'

set -l sample '__fish_seen_subcommand_from sample'
complete -c korvane-sync -n $sample -F
complete -c korvane-sync -n $sample -l messages -x -d 'How many messages'
complete -c korvane-sync -n $sample -l chats -x -d 'How many chats'
complete -c korvane-sync -n $sample -l seed -x -d 'Another seed, another sample'
complete -c korvane-sync -n $sample -l contacts -rF -d 'Also write its people as vCards'
complete -c korvane-sync -n $sample -l force -d 'Overwrite what is there'
