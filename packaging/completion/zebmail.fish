# zebmail.fish - completion of zebmail for fish
#
# The program itself says what a command line can go on with. What it prints is taken as words, and
# nothing of it is evaluated.

function __zebmail_complete
    set -l words (commandline -opc)
    set -l program $words[1]
    set -e words[1]
    set -l typed (commandline -ct)
    set -l before (string match -r '^.*=' -- $typed)
    set -l value (string replace -r '^.*=' '' -- $typed)
    for line in ($program __complete $words "$typed" 2>/dev/null)
        switch $line
            case '<files>'
                for path in (__fish_complete_path "$value")
                    echo "$before$path"
                end
            case '<folders>'
                for path in (__fish_complete_directories "$value")
                    echo "$before$path"
                end
            case '*'
                echo $line
        end
    end
end

complete -c zebmail -f -a '(__zebmail_complete)'
