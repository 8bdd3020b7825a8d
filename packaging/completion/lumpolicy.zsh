#compdef lumpolicy lumsettings lumtrust lumevents lumclusterinfo lumappinstance lumcluster lumconfd
# Completion for zsh: what is offered comes from the completion for bash, run as a program; here it is shown.

local file=${_lum_completion:-${${(%):-%x}:A:h}/../../bash-completion/completions/lumpolicy}
# Of the command that the cursor stands in; its assignments and what is before it are no words of it.
local line="${(j: :)words[1,CURRENT-1]} $QIPREFIX$IPREFIX$PREFIX"
local -a offers=("${(@f)$(bash "$file" "$line" 2>/dev/null)}")
local -a open=("${(@M)offers:#*[/=]}") whole=("${(@)offers:#*[/=]}")
# Behind a folder's name and behind "NAME=" more is to come.
compadd -U -S '' -- "${(@)open:#}"
compadd -U -- "${(@)whole:#}"
