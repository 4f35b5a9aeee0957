# bash completion for quorva

_quorva() {
   local cur prev words cword split
   _init_completion -s || return
   local command=${words[1]:-}

   if ((cword == 1)); then
      COMPREPLY=($(compgen -W 'decode cdr types sample explain --help --version' -- "$cur"))
      return
   fi
   case $command:$prev in
      decode:--binary | decode:--keys | decode:--html)
         _filedir
         return
         ;;
      decode:--type | explain:* | sample:* | types:*)
         [[ $cur == -* ]] || COMPREPLY=($(compgen -W '$("${words[0]}" types 2>/dev/null)' -- "$cur"))
         ;;
      decode:--frames | decode:--link | decode:--eia2 | decode:--nia2 | decode:--eea2 | decode:--nea2 | \
         decode:--count | decode:--bearer)
         return
         ;;
   esac
   ((${#COMPREPLY[@]} == 0)) || return
   if [[ $cur == -* ]]; then
      # The program tells its options itself.
      COMPREPLY=($(compgen -W '$("${words[0]}" "$command" --help 2>/dev/null | grep -oE -- "--[a-z0-9]+" | sort -u)' \
         -- "$cur"))
   elif [[ $command == decode || $command == cdr ]]; then
      _filedir
   fi
} &&
   complete -F _quorva quorva
