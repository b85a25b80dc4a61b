# Completion of tmxact for fish. Options come from the help texts and names from the catalogue, both
# at the time of completion.

# The command of the line so far; fails if there is none yet. The commands of events are two words.
function __tmxact_command
    set -l command
    for word in (commandline -opc)[2..-1]
        string match -q -- '-*' $word; and continue
        set -a command $word
        test "$command" = events; or break
    end
    test -n "$command"; and string join ' ' $command
end

# Whether the command is one of these.
function __tmxact_uses
    set -l used (__tmxact_command)
    and contains -- $used $argv
end

function __tmxact_commands
    tmxact $argv --help 2>/dev/null | sed -n '/^Subcommands:/,$s/^  \([a-z][a-z]*\)  */\1\t/p'
end

function __tmxact_options
    for line in (tmxact (__tmxact_command | string split ' ') --help 2>/dev/null | string match -r '^  +-.*')
        set -l parts (string match -r '^ +(\S+).*?  +(.*)$' -- $line)
        for name in (string split , -- $parts[2])
            printf '%s\t%s\n' $name $parts[3]
        end
    end
end

complete -c tmxact -f -n 'not __tmxact_command >/dev/null' -a '(__tmxact_commands)'
complete -c tmxact -n 'string match -q -- "-*" (commandline -ct)' -a '(__tmxact_options)'
complete -c tmxact -f -n '__tmxact_uses catalogue' -a '(tmxact catalogue --names)'
set -l reading convert check match template make rules
set -l writing convert match template make rules
complete -c tmxact -n "__tmxact_uses $reading" -F
complete -c tmxact -n "__tmxact_uses $reading" -l from -x -a 'auto text bin'
complete -c tmxact -n "__tmxact_uses $reading" -l max-size -x
complete -c tmxact -n "__tmxact_uses $writing" -l to -x -a 'text bin display json'
complete -c tmxact -n "__tmxact_uses $writing" -l int64 -x -a 'number string'
complete -c tmxact -n "__tmxact_uses $writing" -s o -l output -r -F
complete -c tmxact -n '__tmxact_uses match make' -l template -x
complete -c tmxact -n '__tmxact_uses match make' -l templates -r -F
complete -c tmxact -n '__tmxact_uses make' -l source -x
complete -c tmxact -n '__tmxact_uses template' -l comment -x
complete -c tmxact -f -n '__tmxact_uses events' -a '(__tmxact_commands events)'
complete -c tmxact -n '__tmxact_uses "events import"' -F
complete -c tmxact -n '__tmxact_uses "events import"' -l from -x -a 'auto text bin'
complete -c tmxact -n '__tmxact_uses "events import"' -l bytes -x -a 'incomplete lossy all'
complete -c tmxact -n '__tmxact_uses "events export"' -l to -x -a 'text bin json'
complete -c tmxact -n '__tmxact_uses "events export"' -l int64 -x -a 'number string'
complete -c tmxact -n '__tmxact_uses "events export"' -s o -l output -r -F
complete -c tmxact -n '__tmxact_uses "events stats"' -l svg -r -F
complete -c tmxact -n 'string match -q "events *" (__tmxact_command)' -l db -r -F
for option in code class
    complete -c tmxact -n '__tmxact_uses "events list" "events export" "events stats"' -l $option \
        -x -a '(tmxact catalogue --names)'
end
complete -c tmxact -n '__tmxact_command >/dev/null' -l color -x -a 'auto always never'
