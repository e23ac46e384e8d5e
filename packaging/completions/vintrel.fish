# fish completion for vintrel(1)

# What is on the list can be ended; the first line of it is a heading.
function __vintrel_processes
    vintrel list 2>/dev/null | awk 'NR > 1 { pid = $1; sub(/^[^ ]+ +/, ""); print pid "\t" $0 }'
end

function __vintrel_is_first
    test (count (commandline -opc)) -eq 1
end

function __vintrel_follows
    set -l words (commandline -opc)
    test (count $words) -eq 2; and test "$words[2]" = $argv[1]
end

complete -c vintrel -f
complete -c vintrel -n __vintrel_is_first -a list -d 'Scan and print stray processes'
complete -c vintrel -n __vintrel_is_first -a clean -d 'End every safe process outside protected projects'
complete -c vintrel -n __vintrel_is_first -a kill -d 'End one process of the list'
complete -c vintrel -n __vintrel_is_first -a help -d 'Show the help'
complete -c vintrel -n __vintrel_is_first -s h -l help -d 'Show the help'
complete -c vintrel -n __vintrel_is_first -l version -d 'Print the version'
complete -c vintrel -n '__vintrel_follows list' -l safe -d 'Only what is safe to clean'
complete -c vintrel -n '__vintrel_follows kill' -a '(__vintrel_processes)'
