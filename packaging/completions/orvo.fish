# Fish completion for orvo. The program itself provides the candidates.

function __orvo_complete
    set -l words (commandline -opc)[2..-1] (commandline -ct)
    for line in (orvo --complete $words 2>/dev/null)
        switch $line
            case ':files'
                __fish_complete_path (commandline -ct)
            case ':folders'
                __fish_complete_directories (commandline -ct)
            case '*'
                echo $line
        end
    end
end

complete -c orvo -f -a '(__orvo_complete)'
