# fish completion for korvane-sync-app

complete -c korvane-sync-app -f
complete -c korvane-sync-app -l snapshot -xa '(__fish_complete_directories)' \
    -d 'Write pictures of the window'
