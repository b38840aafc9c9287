# fish completion for tallymoor
set -l commands search census trash copy
complete -c tallymoor -f
complete -c tallymoor -n "not __fish_seen_subcommand_from $commands" -a search -d 'print the paths found'
complete -c tallymoor -n "not __fish_seen_subcommand_from $commands" -a census -d 'count the results by type'
complete -c tallymoor -n "not __fish_seen_subcommand_from $commands" -a trash -d 'send the results to the trash'
complete -c tallymoor -n "not __fish_seen_subcommand_from $commands" -a copy -d 'copy the result files into a folder'
complete -c tallymoor -n "not __fish_seen_subcommand_from $commands" -a '(__fish_complete_directories)'
complete -c tallymoor -n "not __fish_seen_subcommand_from $commands" -l settings -r -F -d 'the settings file to use'
complete -c tallymoor -n "not __fish_seen_subcommand_from $commands" -l version -d 'print the version'
complete -c tallymoor -s h -l help -d 'print the usage'

# After a command: ROOT (and copy's DEST) are folders; MASK is typed.
complete -c tallymoor -n "__fish_seen_subcommand_from $commands" -a '(__fish_complete_directories)'
complete -c tallymoor -n "__fish_seen_subcommand_from $commands" -l except -d 'list every file that matches none of the patterns'
complete -c tallymoor -n "__fish_seen_subcommand_from $commands" -l no-recurse -d "examine ROOT's own entries only"
complete -c tallymoor -n "__fish_seen_subcommand_from $commands" -l threads -x -d 'read folders on N threads'
complete -c tallymoor -n "__fish_seen_subcommand_from $commands" -s q -l quiet -d 'leave out the closing counts'
complete -c tallymoor -n "__fish_seen_subcommand_from search census trash" -l folders-only -d 'list folders instead of files'
complete -c tallymoor -n "__fish_seen_subcommand_from search trash copy" -s 0 -l print0 -d 'end each path with a NUL'
complete -c tallymoor -n "__fish_seen_subcommand_from search" -l times -d "print each path's modification time"
complete -c tallymoor -n "__fish_seen_subcommand_from census" -l sizes -d "print each type's total size in bytes"
complete -c tallymoor -n "__fish_seen_subcommand_from census" -l filter -x -a '0 2 3 4 5 6 7 8 9 10' -d 'only the types of count range N'
complete -c tallymoor -n "__fish_seen_subcommand_from census" -l report -r -F -d 'also write the census report to a new file'
complete -c tallymoor -n "__fish_seen_subcommand_from trash" -l yes -d 'trash without asking'
