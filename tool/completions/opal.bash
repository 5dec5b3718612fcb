# Completion of opal's options for bash.

_opal() {
  local cur prev words cword split
  _init_completion -s || return  # takes --mode=sum for --mode sum, and says so in split
  case $prev in
    --mode) COMPREPLY=($(compgen -W "sum conj dual auto" -- "$cur")); return ;;
    --cuts) COMPREPLY=($(compgen -W "modular floor auto" -- "$cur")); return ;;
    --strength) COMPREPLY=($(compgen -W "strong middle weak auto" -- "$cur")); return ;;
    --unmentioned) COMPREPLY=($(compgen -W "background B error" -- "$cur")); return ;;
    --proof-format) COMPREPLY=($(compgen -W "sexp json dot" -- "$cur")); return ;;
    --on-error) COMPREPLY=($(compgen -W "auto stop continue" -- "$cur")); return ;;
    --dot | --svg) _filedir; return ;;
    --check-files) _filedir -d; return ;;
    --verify-with) COMPREPLY=($(compgen -c -- "$cur")); return ;;
    --timeout | --memory) return ;;
  esac
  if $split; then
    case $prev in
      --stats) COMPREPLY=($(compgen -W "text json" -- "$cur")) ;;
      --progress) COMPREPLY=($(compgen -W "terminal always" -- "$cur")) ;;
    esac
    return
  fi
  if [[ $cur == -* ]]; then
    COMPREPLY=($(compgen -W "-h --help --version --mode --cuts --strength --raw --verify --verify-with
      --timeout --memory --unmentioned --dot --svg --proof-format --explain --dump-proof
      --check-files --on-error --stats --stats= --progress --progress=" -- "$cur"))
    [[ ${COMPREPLY[0]-} == *= ]] && compopt -o nospace
    return
  fi
  _filedir smt2
}

complete -F _opal opal
