# Bash completion for orvo. The program itself provides the candidates.

_orvo() {
  local line word=${COMP_WORDS[COMP_CWORD]}
  COMPREPLY=()
  while IFS= read -r line; do
    case $line in
      :files) compopt -o filenames; mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$word") ;;
      :folders) compopt -o filenames; mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -d -- "$word") ;;
      *) COMPREPLY+=("${line%%$'\t'*}") ;;
    esac
  done < <("${COMP_WORDS[0]}" --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
}

complete -F _orvo orvo
