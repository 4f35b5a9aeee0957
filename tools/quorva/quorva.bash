# bash completion for quorva

_quorva() {
   local cur prev words cword split
   _init_completion -s || return
   local command=${words[1]:-}

   if ((cword == 1)); then
      COMPREPLY=($(compgen -W 'decode encode diff cdr types sample explain status --help --version' -- "$cur"))
      return
   fi
   case $command:$prev in
      *:--binary | *:--keys | *:--html | *:--annotate-html)
         _filedir
         return
         ;;
      *:--type | explain:* | sample:* | types:*)
         [[ $cur == -* ]] || COMPREPLY=($(compgen -W '$("${words[0]}" types 2>/dev/null)' -- "$cur"))
         ;;
      status:*)
         COMPREPLY=($(compgen -W '$("${words[0]}" status 2>/dev/null | grep -oE "RTX_[A-Z0-9_]+")' -- "$cur"))
         return
         ;;
      *:--frames | *:--link | *:--get | *:--[en][ie]a[123] | *:--count | *:--bearer | *:--release)
         return
         ;;
   esac
   ((${#COMPREPLY[@]} == 0)) || return
   if [[ $cur == -* ]]; then
      # The program tells its options itself.
      COMPREPLY=($(compgen -W '$("${words[0]}" "$command" --help 2>/dev/null | grep -oE -- "--[a-z0-9]+" | sort -u)' \
         -- "$cur"))
   elif [[ $command == decode || $command == encode || $command == diff || $command == cdr ]]; then
      _filedir
   fi
} &&
   complete -F _quorva quorva
