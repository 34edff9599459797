PS1='ready> '
fpath=("$COMPLETIONS/zsh" $fpath)
autoload -U compinit
compinit -u -D
show() { print; print "<<$BUFFER>>" }
zle -N show
bindkey '^T' show
bindkey '^U' kill-whole-line
