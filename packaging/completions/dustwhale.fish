# fish completion for dustwhale (dustwhale-gui.fish completes the desktop app)
#
# Commands, their options, the values of --layout, --kind, --scope, --depth and --appearance,
# folders for --root, --home and --screenshot, files for measure, and for put-back the ids of
# the Recently Cleared items still in the Trash, each with the item's name.

# The ids of the Recently Cleared items still in the Trash, read from the log of the places the
# command line names (its --root, --home and --layout), by the program typed.
function __dustwhale_cleared_ids
    set -l tokens (commandline -opc)
    set -l program (string replace -r '^~(?=/|$)' -- $HOME $tokens[1])
    command -q $program; or return
    set -l places
    set -l i 2
    while test $i -le (count $tokens)
        switch $tokens[$i]
            case --root --home --layout
                set -l next (math $i + 1)
                if test $next -le (count $tokens)
                    set -a places $tokens[$i] (string replace -r '^~(?=/|$)' -- $HOME $tokens[$next])
                end
            case '--root=*' '--home=*' '--layout=*'
                set -l parts (string split -m 1 = -- $tokens[$i])
                set -a places $parts[1] (string replace -r '^~(?=/|$)' -- $HOME $parts[2])
        end
        set i (math $i + 1)
    end
    # The program prints one key per line; an entry's id and name come before its status.
    $program history $places --json 2>/dev/null | awk -F'"' '
        $2 == "id" { id = $4 }
        $2 == "name" { name = $4 }
        $2 == "status" && $4 == "In the Trash" { print id "\t" name }'
end

# Each command with what it does.
set -l described \
    'scan:Find caches, leftovers of removed apps and large files (reads only)' \
    'clear:Move findings to the Trash' \
    'history:Recently Cleared: every move to the Trash' \
    'put-back:Move cleared items back from the Trash' \
    'measure:Allocated size of each folder tree' \
    'duplicates:Find byte-identical copies in the media folders' \
    'space-map:Where the space goes in the home folder' \
    'apps:The installed apps with the data they keep' \
    'uninstall:Move an app and its data to the Trash'
set -l commands (string replace -r ':.*' '' -- $described)
set -l with_places (string match -v measure -- $commands)

complete -c dustwhale -f
for entry in $described
    set -l parts (string split -m 1 : -- $entry)
    complete -c dustwhale -n "not __fish_seen_subcommand_from $commands" -a $parts[1] -d $parts[2]
end
complete -c dustwhale -n "not __fish_seen_subcommand_from $commands" -l version \
    -d 'Print the version'
complete -c dustwhale -s h -l help -d 'Print the help'

complete -c dustwhale -n "__fish_seen_subcommand_from $with_places" -l root -x \
    -a '(__fish_complete_directories)' -d 'Scan a tree shaped like a whole disk'
complete -c dustwhale -n "__fish_seen_subcommand_from $with_places" -l home -x \
    -a '(__fish_complete_directories)' -d 'The home folder'
complete -c dustwhale -n "__fish_seen_subcommand_from $with_places" -l layout -x \
    -a 'linux macos' -d 'The places to read'
complete -c dustwhale -n '__fish_seen_subcommand_from scan history measure duplicates space-map apps' \
    -l json -d 'Print JSON'
complete -c dustwhale -n '__fish_seen_subcommand_from clear uninstall duplicates' -l dry-run \
    -d 'List what would move; move nothing'
complete -c dustwhale -n '__fish_seen_subcommand_from clear uninstall duplicates' -l yes \
    -d 'Do not ask'

complete -c dustwhale -n '__fish_seen_subcommand_from clear' -l kind -x \
    -a 'cache file leftover' -d 'Only this kind'
complete -c dustwhale -n '__fish_seen_subcommand_from clear' -l suggested \
    -d 'The findings a scan suggests'
complete -c dustwhale -n '__fish_seen_subcommand_from clear' -l id -r -F \
    -d 'A finding: a path, ~/path or leftover:ID'

complete -c dustwhale -n '__fish_seen_subcommand_from put-back' -a '(__dustwhale_cleared_ids)'
complete -c dustwhale -n '__fish_seen_subcommand_from put-back' -l clear -x \
    -d 'Every item of one clear still in the Trash'
complete -c dustwhale -n '__fish_seen_subcommand_from put-back' -l last \
    -d 'Every item of the most recent clear still in the Trash'

complete -c dustwhale -n '__fish_seen_subcommand_from measure uninstall' -F

complete -c dustwhale -n '__fish_seen_subcommand_from duplicates' -l scope -x \
    -a '(__fish_append , downloads movies videos music pictures)' -d 'Folders to search'
complete -c dustwhale -n '__fish_seen_subcommand_from duplicates' -l clear \
    -d 'Move every extra copy to the Trash'
complete -c dustwhale -n '__fish_seen_subcommand_from duplicates' -l share \
    -d "Make every extra copy use its kept copy's blocks"
complete -c dustwhale -n '__fish_seen_subcommand_from duplicates' -l keep -x \
    -a 'newest oldest downloads movies music pictures (__fish_complete_directories)' \
    -d 'Which copy of each group stays'

complete -c dustwhale -n '__fish_seen_subcommand_from space-map' -l depth -x -a '0 1 2 3' \
    -d 'Levels below the home folder'
complete -c dustwhale -n '__fish_seen_subcommand_from space-map' -l full \
    -d 'Complete sizes: walk the whole home folder'
