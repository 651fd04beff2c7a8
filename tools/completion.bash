# shellcheck shell=bash
# Completion of vycam and vyhost in bash. Commands and options are those of the help texts, anything else is a file.
_vy_complete() {
  local word=${COMP_WORDS[COMP_CWORD]} words=
  if [ "$COMP_CWORD" -eq 1 ]; then
    words="$("$1" --help 2>/dev/null | awk '/^[A-Za-z]+:/ { on = /^Subcommands:/ } on && /^  [a-z]/ { print $1 }') --help"
  elif [[ $word == -* ]]; then
    words=$("$1" "${COMP_WORDS[1]}" --help 2>/dev/null | grep -o -- '--[a-z0-9-]*')
    # Options of vycam itself may stand behind its commands.
    [[ $1 != *vycam ]] || words+=" --library --version"
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}
complete -o default -F _vy_complete vycam vyhost
