# SPDX-License-Identifier: Apache-2.0
# Completion of zorva, zorva-sim, zorva-notify, zorva-redact and zorva-report for bash.

_zorva() {
  COMPREPLY=($(compgen -W "-B -d -h -p -q" -- "${COMP_WORDS[COMP_CWORD]}"))
}

_zorva_sim() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} i
  for ((i = 1; i < COMP_CWORD; i++)); do
    if [[ ${COMP_WORDS[i]} == -- ]]; then
      COMPREPLY=($(compgen -W "-B -d -h -p -q" -- "$word"))
      return
    fi
  done
  if [[ $previous == --root ]]; then
    COMPREPLY=($(compgen -d -- "$word"))
  elif [[ $previous == --truth ]]; then
    COMPREPLY=($(compgen -f -- "$word"))
  elif [[ $word == -* ]]; then
    COMPREPLY=($(compgen -W "--root --truth -h --help --version --" -- "$word"))
  else
    COMPREPLY=($(compgen -f -X '!*.yaml' -- "$word") $(compgen -d -- "$word"))
  fi
}

_zorva_notify() {
  local word=${COMP_WORDS[COMP_CWORD]}
  case $word in
    -*) COMPREPLY=($(compgen -W "--own --state -h --help --version" -- "$word")) ;;
    *) COMPREPLY=($(compgen -W "com.vennor.zorva.exit" -- "$word")) ;;
  esac
}

_zorva_redact() {
  local word=${COMP_WORDS[COMP_CWORD]}
  case $word in
    -*) COMPREPLY=($(compgen -W "--keep-programs -o --output --force -h --help --version" -- "$word")) ;;
    *) COMPREPLY=($(compgen -f -- "$word")) ;;
  esac
}

_zorva_report() {
  local word=${COMP_WORDS[COMP_CWORD]}
  case $word in
    -*) COMPREPLY=($(compgen -W "--since --until --last-night --json --device --follow --compare --why -o --output --trace --metrics --force -h --help --version" -- "$word")) ;;
    *) COMPREPLY=($(compgen -f -- "$word")) ;;
  esac
}

complete -F _zorva zorva
complete -o filenames -F _zorva_redact zorva-redact
complete -o filenames -F _zorva_report zorva-report
complete -o filenames -F _zorva_sim zorva-sim
complete -F _zorva_notify zorva-notify
