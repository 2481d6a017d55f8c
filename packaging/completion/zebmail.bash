# zebmail.bash - completion of zebmail for bash
#
# The program itself says what a command line can go on with. What it prints is taken as words, and
# nothing of it is evaluated.
# shellcheck shell=bash

# Bash breaks words at "@", ":" and "=" too, and wants what stands behind the last of these only, with
# the sign itself where it is an "@".
_zebmail() {
  local line=${COMP_LINE:0:COMP_POINT} part index words=()
  for ((index = 0; index <= COMP_CWORD; index++)); do
    part=${COMP_WORDS[index]}
    ((index < COMP_CWORD)) || part=${line#"${line%%[![:blank:]]*}"}
    if ((index == 0)) || [[ "$line" == [[:blank:]]* ]]; then
      words+=("$part")
    else
      words[-1]+=$part
    fi
    line=${line#*"$part"}
  done

  local typed=${words[-1]} breaks=${COMP_WORDBREAKS//[^@:=]/} before=
  if [[ -n "$breaks" && "$typed" == *["$breaks"]* && "$typed" != [\"\']* ]]; then
    before=${typed%"${typed##*["$breaks"]}"}
    before=${before%@}
  fi

  words=("${words[@]//[\"\'\\]/}")
  local word
  COMPREPLY=()
  while IFS=$'\t' read -r word _; do
    case $word in
      '<files>') compopt -o default ;;
      '<folders>') compopt -o dirnames ;;
      *=) compopt -o nospace && COMPREPLY+=("${word#"$before"}") ;;
      *) COMPREPLY+=("${word#"$before"}") ;;
    esac
  done < <("${words[0]}" __complete "${words[@]:1}" 2>/dev/null)
}

complete -F _zebmail zebmail
