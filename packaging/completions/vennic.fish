# fish completion for vennic

set -l verbs status pair token sign-out share shares unshare bridge search ask open photos doctor quit
complete -c vennic -f
complete -c vennic -l help -d 'Expliquer l’usage'
complete -c vennic -n "not __fish_seen_subcommand_from $verbs" -l version -d 'Afficher la version'
complete -c vennic -n "not __fish_seen_subcommand_from $verbs" -a status -d 'Où en sont le compte, le pont et l’index'
complete -c vennic -n "not __fish_seen_subcommand_from $verbs" -a pair -d 'Appairer avec un code'
complete -c vennic -n "not __fish_seen_subcommand_from $verbs" -a token -d 'Ranger un jeton lu sur l’entrée standard'
complete -c vennic -n "not __fish_seen_subcommand_from $verbs" -a sign-out -d 'Fermer la session'
complete -c vennic -n "not __fish_seen_subcommand_from $verbs" -a share -d 'Partager des dossiers'
complete -c vennic -n "not __fish_seen_subcommand_from $verbs" -a shares -d 'Lister les dossiers partagés'
complete -c vennic -n "not __fish_seen_subcommand_from $verbs" -a unshare -d 'Retirer un partage'
complete -c vennic -n "not __fish_seen_subcommand_from $verbs" -a bridge -d 'Ouvrir ou fermer le pont'
complete -c vennic -n "not __fish_seen_subcommand_from $verbs" -a search -d 'Chercher dans les dossiers partagés'
complete -c vennic -n "not __fish_seen_subcommand_from $verbs" -a ask -d 'Poser une question'
complete -c vennic -n "not __fish_seen_subcommand_from $verbs" -a open -d 'Ouvrir un document trouvé ou une photo'
complete -c vennic -n "not __fish_seen_subcommand_from $verbs" -a photos -d 'Autoriser ou refuser l’accès aux photos'
complete -c vennic -n "not __fish_seen_subcommand_from $verbs" -a doctor -d 'Examiner l’installation'
complete -c vennic -n "not __fish_seen_subcommand_from $verbs" -a quit -d 'Arrêter Vennic'
complete -c vennic -n '__fish_seen_subcommand_from share' -a '(__fish_complete_directories)'
complete -c vennic -n '__fish_seen_subcommand_from bridge' -a 'on off'
complete -c vennic -n '__fish_seen_subcommand_from photos' -a 'allow deny status'
complete -c vennic -n '__fish_seen_subcommand_from status shares search ask photos doctor' -l json -d 'Données en JSON'
