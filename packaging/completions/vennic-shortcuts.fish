# fish completion for vennic-shortcuts

complete -c vennic-shortcuts -f
complete -c vennic-shortcuts -n __fish_is_first_arg -a list -d 'Lister les automatisations'
complete -c vennic-shortcuts -n __fish_is_first_arg -a run -d 'En lancer une'
complete -c vennic-shortcuts -n __fish_is_first_arg -l help -d 'Expliquer l’usage'
complete -c vennic-shortcuts -n __fish_is_first_arg -l version -d 'Afficher la version'
complete -c vennic-shortcuts -n '__fish_prev_arg_in run' -k -a '(vennic-shortcuts list 2>/dev/null)'
