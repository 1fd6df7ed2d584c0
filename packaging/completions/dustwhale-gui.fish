# fish completion for dustwhale-gui, the Dustwhale desktop app: its options, the values of
# --layout and --appearance, and folders for --root, --home and --screenshot.

complete -c dustwhale-gui -f
complete -c dustwhale-gui -l root -x -a '(__fish_complete_directories)' \
    -d 'Scan a tree shaped like a whole disk'
complete -c dustwhale-gui -l home -x -a '(__fish_complete_directories)' -d 'The home folder'
complete -c dustwhale-gui -l layout -x -a 'linux macos' -d 'The places to read'
complete -c dustwhale-gui -l appearance -x -a 'light dark' -d 'Draw light or dark'
complete -c dustwhale-gui -l screenshot -x -a '(__fish_complete_directories)' \
    -d 'Render every page to PNG files in a folder'
complete -c dustwhale-gui -s h -l help -d 'Print the options'
complete -c dustwhale-gui -l help-all -d "Print the options, with the toolkit's"
complete -c dustwhale-gui -s v -l version -d 'Print the version'
