#!/bin/bash
# Lines that are not blank: of code, of tests, and their ratio.
set -euo pipefail
cd "$(dirname "$0")/.."

lines() {  # lines FOLDER PATTERN...
  local folder=$1 names=()
  shift
  for pattern in "$@"; do names+=(-o -name "$pattern"); done
  find "$folder" \( "${names[@]:1}" \) -type f -print0 | xargs -0 -r cat | grep -c '[^[:space:]]' || true
}

total=0
for folder in opal/utils opal/interfaces opal/la opal/host opal/proofs opal/sat opal/checker opal/capi opal/smtlib tool; do
  n=$(lines $folder '*.h' '*.cpp')
  printf '%-16s %7d\n' "$folder" "$n"
  total=$((total + n))
done
for folder in tools python; do
  n=$(lines $folder '*.py')
  printf '%-16s %7d\n' $folder "$n"
  total=$((total + n))
done
programs=$(lines tests '*.h' '*.cpp' '*.c' '*.py')
scripts=$(lines tests '*.smt2' '*.expect')
tests=$((programs + scripts))
printf '%-16s %7d\n' code $total
printf '%-16s %7d  (%d of them in .smt2 and .expect)\n' tests $tests "$scripts"
awk -v t=$tests -v c=$total 'BEGIN { if (c) printf "%-16s %7.2f\n", "tests / code", t / c }'
