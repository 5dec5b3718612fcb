#!/bin/bash
# Installs the Debian packages that a purpose needs and that are not there yet.
#
#   scripts/deps.sh build|demo|check|coverage|lint|bench|pictures|package|fuzz|docs
#
# Does nothing, quickly, when all are there. Uses sudo when not root; where it cannot
# install, it names what is missing and fails.
set -euo pipefail

build=(g++ cmake ninja-build libgmp-dev libcli11-dev nlohmann-json3-dev python3)
solvers=(z3 cvc5)
test=(clang libclang-rt-14-dev clang-format-14 libgtest-dev libgmock-dev valgrind graphviz
  pkgconf bash-completion zsh doxygen minisat cadical)
lint=(clang-tidy)
package=(dpkg-dev file)
bench=(libgtest-dev libbenchmark-dev libflint-dev libabsl-dev minisat)

case "${1:-}" in
  build) wanted=("${build[@]}") ;;
  demo) wanted=("${build[@]}" "${solvers[@]}") ;;
  check) wanted=("${build[@]}" "${solvers[@]}" "${test[@]}" "${package[@]}") ;;
  coverage) wanted=("${build[@]}" "${solvers[@]}" "${test[@]}" gcovr) ;;
  lint) wanted=("${build[@]}" "${test[@]}" "${lint[@]}") ;;
  bench) wanted=("${build[@]}" "${solvers[@]}" "${bench[@]}") ;;
  package) wanted=("${build[@]}" "${package[@]}") ;;
  docs) wanted=(doxygen) ;;
  fuzz) wanted=("${build[@]}" clang libclang-rt-14-dev libgtest-dev) ;;
  pictures) wanted=("${build[@]}" graphviz) ;;
  *)
    echo "usage: $0 build|demo|check|coverage|lint|bench|pictures|package|fuzz|docs" >&2
    exit 2
    ;;
esac

if ! command -v dpkg-query >/dev/null; then
  echo "$0: not a Debian system; needed are the counterparts of: ${wanted[*]}" >&2
  exit 0
fi

missing=()
for package in "${wanted[@]}"; do
  state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [[ $state == installed ]] || missing+=("$package")
done
((${#missing[@]})) || exit 0

as_root=()
if ((EUID != 0)); then
  if ! command -v sudo >/dev/null; then
    echo "$0: missing packages, and neither root nor sudo to install them:" >&2
    echo "  apt-get install ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi

echo "installing: ${missing[*]}"
install() {
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq "$@" </dev/null >/dev/null
}
if ! install update ||
   ! install install -y --no-install-recommends "${missing[@]}"; then
  echo "$0: could not install; missing are: ${missing[*]}" >&2
  exit 1
fi
