#!/bin/bash
# Lines that are not blank: of code, of tests, and their ratio.
set -euo pipefail
cd "$(dirname "$0")/.."

lines() {  # lines FOLDER PATTERN...
  local folder=$1 names=()
  shift
  for pattern in "$@"; do names+=(-o -name "$pattern"); done
  find "$folder" -maxdepth "${depth:-9}" \( "${names[@]:1}" \) -type f -print0 | xargs -0 -r cat | grep -c '[^[:space:]]' || true
}

total=0
# Each room by itself, as opal/layers.txt lists them; those inside a room are its own.
for folder in $(awk '!/^#/ { print $2 }' opal/layers.txt); do
  n=$(depth=1 lines $folder '*.h' '*.cpp')
  printf '%-19s %7d\n' "$folder" "$n"
  total=$((total + n))
done
for folder in checkers python/opal; do
  n=$(lines $folder '*.py')
  printf '%-19s %7d\n' $folder "$n"
  total=$((total + n))
done
# python/opal_lab serves tests first, the measurements second.
programs=$(($(lines tests '*.h' '*.cpp' '*.c' '*.py') + $(lines python/opal_lab '*.py')))
scripts=$(lines tests '*.smt2' '*.expect')
tests=$((programs + scripts))
printf '%-19s %7d\n' code $total
printf '%-19s %7d  (%d of them in .smt2 and .expect)\n' tests $tests "$scripts"
awk -v t=$tests -v c=$total 'BEGIN { if (c) printf "%-19s %7.2f\n", "tests / code", t / c }'
