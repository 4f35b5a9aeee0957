# bash completion for quorva

# The program tells its commands, its options and what each takes itself; so completion follows it.
_quorva() {
   local cur prev words cword split help takes
   _init_completion -s || return
   local program=${words[0]} command=${words[1]:-}

   if ((cword == 1)); then
      help=$("$program" --help 2>/dev/null | sed -n '/^Subcommands:/,$ s/^  \([a-z][a-z0-9]*\) .*/\1/p')
      COMPREPLY=($(compgen -W "--help --version $help" -- "$cur"))
      return
   fi
   help=$("$program" "$command" --help 2>/dev/null) || return
   if [[ $prev == -* ]]; then # "  --eia2,--nia2 KEY ...": what the option takes is in capitals
      takes=$(awk -v option="$prev" '/^ +-/ { count = split($1, names, ",")
         for (i = 1; i <= count; ++i) if (names[i] == option && $2 ~ /^([A-Z][A-Z]|N:)/) print $2 }' <<<"$help")
   fi
   if [[ -z ${takes:-} && $cur == -* ]]; then
      COMPREPLY=($(compgen -W "$(grep -oE -- '--[a-z0-9][a-z0-9-]*' <<<"$help" | sort -u)" -- "$cur"))
      return
   fi
   : "${takes:=$(sed -n '/^Positionals:/,/^$/ s/^  [a-z]* \([A-Z][^ ]*\).*/\1/p' <<<"$help" | head -n 1)}"
   case $takes in
      'N|NAME')
         COMPREPLY=($(compgen -W "$("$program" status 2>/dev/null | grep -oE 'RTX_[A-Z0-9_]+')" -- "$cur"))
         ;;
      *FILE*)
         _filedir
         ;;
      NAME | TYPE | PATTERN)
         COMPREPLY=($(compgen -W "$("$program" types 2>/dev/null)" -- "$cur"))
         ;;
   esac
} &&
   complete -F _quorva quorva
