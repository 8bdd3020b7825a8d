# Completion for fish of each program whose name this file bears: what is offered comes from the completion for bash, run
# as a program; here it is shown.

set -q __lum_completion; or set -g __lum_completion (status dirname)/../../bash-completion/completions/lumpolicy

function __lum_offers
    bash $__lum_completion (commandline --cut-at-cursor --current-process | string collect | string trim --left) 2>/dev/null
end

complete --command (status basename | string replace .fish '') --no-files --arguments '(__lum_offers)'
