# SPDX-License-Identifier: BSL-1.0
# bash completion for regexclass. The names come from the tool's own help.
_regexclass() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} help words=
  if ((COMP_CWORD == 1)); then
    words=$("$1" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z-]*\) .*/\1/p')
    words+=" --help --version"
  else
    help=$("$1" "${COMP_WORDS[1]}" --help 2>/dev/null) || return
    if [[ $current == -* ]]; then
      words=$(grep -oE -- '--[a-z-]+' <<<"$help")
    elif [[ $previous =~ ^-[a-z-]+$ ]]; then
      words=$(sed -n "s/^ .*$previous\(, *[^ ]*\)\{0,1\} [A-Z]*:{\([^}]*\)}.*/\2/p" <<<"$help" | tr , ' ')
    fi
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -o default -F _regexclass regexclass
