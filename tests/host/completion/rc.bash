PS1='ready> '
for file in "$COMPLETIONS"/bash/*; do . "$file"; done
bind -x '"\C-t": echo "<<$READLINE_LINE>>"'
