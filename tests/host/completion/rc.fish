function fish_prompt; echo -n 'ready> '; end
for file in $COMPLETIONS/fish/*; source $file; end
bind \ct 'echo; echo "<<"(commandline)">>"'
